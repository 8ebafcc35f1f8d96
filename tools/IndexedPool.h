#pragma once

#include <Vexo/Types.h>

#include <cstddef>
#include <deque>
#include <functional>
#include <utility>
#include <vector>

namespace LpmTools {

using Vexo::U32;
using Vexo::U64;

/**
 * Entries that are named by numbers of 32 bits, half a pointer, and take no more memory than they
 * need: a block of them at a time is allocated, and numbers given back are used again first. An
 * entry has a `U32 link`, the user's while the entry is in use.
 */
template <class Entry>
class Pool {
public:
    static constexpr U32 none = ~U32{0};

    Entry& operator[](U32 number) { return entries_[number]; }
    Entry const& operator[](U32 number) const { return entries_[number]; }
    U32 size() const noexcept { return used_; }
    /** Bytes of entries, in use or not. */
    U64 memory() const noexcept { return entries_.size() * sizeof(Entry); }

    U32 add(Entry const& entry) {
        U32 number = free_;
        if (number == none) {
            number = static_cast<U32>(entries_.size());
            entries_.push_back(entry);
        } else {
            free_ = entries_[number].link;
            entries_[number] = entry;
        }
        ++used_;
        return number;
    }
    void remove(U32 number) noexcept {
        entries_[number].link = std::exchange(free_, number);
        --used_;
    }

private:
    std::deque<Entry> entries_;
    U32 free_ = none;
    U32 used_ = 0;
};

/**
 * The same, with entries found by their `key`, which is hashed by `Hash`. Keys are looked for from
 * the place of their hash on (open addressing with linear probing); three quarters of the places
 * are taken at most, and a removal closes its gap.
 */
template <class Entry, class Hash>
class IndexedPool {
public:
    using Key = decltype(Entry::key);
    static constexpr U32 none = Pool<Entry>::none;

    Entry& operator[](U32 number) { return pool_[number]; }
    Entry const& operator[](U32 number) const { return pool_[number]; }
    U32 size() const noexcept { return pool_.size(); }
    U64 memory() const noexcept { return pool_.memory() + index_.capacity() * sizeof(U32); }

    /** `none` where there is no such entry. */
    U32 find(Key const& key) const { return index_.empty() ? none : index_[placeOf(key)]; }
    /** Its key must be new. Changes nothing when memory is short. */
    U32 add(Entry const& entry) {
        if (4 * (U64{size()} + 1) > 3 * U64{index_.size()}) {
            grow();
        }
        std::size_t const place = placeOf(entry.key);
        return index_[place] = pool_.add(entry);
    }
    void remove(U32 number) {
        std::size_t gap = placeOf(pool_[number].key);
        for (std::size_t at = next(gap); index_[at] != none; at = next(at)) {
            // Whoever is looked for from the gap or before it, going around, moves into the gap.
            std::size_t const home = homeOf(pool_[index_[at]].key);
            if (((at - home) & mask()) >= ((at - gap) & mask())) {
                index_[gap] = index_[at];
                gap = at;
            }
        }
        index_[gap] = none;
        pool_.remove(number);
    }
    /** In no particular order. `visit` must not change the pool. */
    template <class Visit>
    void forEach(Visit&& visit) const {
        for (U32 const number : index_) {
            if (number != none) {
                visit(pool_[number]);
            }
        }
    }

private:
    std::size_t mask() const noexcept { return index_.size() - 1; }
    std::size_t next(std::size_t place) const noexcept { return (place + 1) & mask(); }
    std::size_t homeOf(Key const& key) const { return Hash()(key) & mask(); }
    /** Of the entry with this key, or else where it would go. */
    std::size_t placeOf(Key const& key) const {
        std::size_t place = homeOf(key);
        while (index_[place] != none && pool_[index_[place]].key != key) {
            place = next(place);
        }
        return place;
    }

    void grow() {
        std::vector<U32> old(index_.empty() ? 16 : 2 * index_.size(), none);
        old.swap(index_);
        for (U32 const number : old) {
            if (number != none) {
                index_[placeOf(pool_[number].key)] = number;
            }
        }
    }

    Pool<Entry> pool_;
    std::vector<U32> index_;  // a power of two of places
};

}  // namespace LpmTools
