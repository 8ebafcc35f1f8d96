#pragma once

#include <Vexo/Types.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

namespace Vexo {

/**
 * Hash map of entries that hold their own key.
 *
 * `Policy` names the `Key` type and offers `U32 hash(Key const&)`, `bool matches(Entry const&,
 * Key const&)` and `key(Entry const&)`, the key in an entry. Entries lie side by side in the order
 * of their insertion, save that an erased entry's place is taken by the last one; a table of cells,
 * addressed openly, finds them. The order carries no meaning. Any insertion or erasure ends all
 * iterators and references to entries.
 *
 * Growth: the table doubles when more than three quarters of its cells would be in use, so an
 * insertion costs a constant on average, as looking up and erasing do. It shrinks only by `clear`.
 * Strong guarantee: an insertion that throws changes nothing; after `reserve(n)` the next n
 * insertions do not allocate. What the policy throws, an operation throws. Not locked.
 */
template <class Entry, class Policy>
class HashMap {
public:
    /** @{ Types as of the standard containers. */
    using Key = typename Policy::Key;
    using iterator = typename std::vector<Entry>::iterator;
    using const_iterator = typename std::vector<Entry>::const_iterator;
    /** @} */

    /** @{ How many entries there are. */
    std::size_t size() const noexcept { return entries_.size(); }
    bool empty() const noexcept { return entries_.empty(); }
    /** @} */
    /** Entries that fit before the table grows. */
    std::size_t capacity() const noexcept { return cells_.size() / 4 * 3; }
    /** @{ All entries. */
    const_iterator begin() const noexcept { return entries_.begin(); }
    const_iterator end() const noexcept { return entries_.end(); }
    /** @} */

    /** @{ The entry of that key, or null. Its key must stay what it is. */
    Entry const* find(Key const& key) const {
        std::size_t const cell = findCell(key, Policy::hash(key));
        return cell == none ? nullptr : &entries_[cells_[cell].entry];
    }
    Entry* find(Key const& key) { return const_cast<Entry*>(std::as_const(*this).find(key)); }
    /** @} */

    /** Adds an entry; the caller has made sure that `find` of its key gives null. */
    Entry& insert(Key const& key, Entry entry) { return add(Policy::hash(key), std::move(entry)); }

    /** The entry of that key, and whether it is a new one: then it has been made by `make()`. */
    template <class Make>
    std::pair<Entry*, bool> findOrInsert(Key const& key, Make const& make) {
        U32 const hash = Policy::hash(key);
        if (std::size_t const cell = findCell(key, hash); cell != none) {
            return {&entries_[cells_[cell].entry], false};
        }
        return {&add(hash, make()), true};
    }

    /** True when there was such an entry. */
    bool erase(Key const& key) {
        std::size_t const cell = findCell(key, Policy::hash(key));
        if (cell == none) {
            return false;
        }
        U32 const hole = cells_[cell].entry;
        closeGap(cell);
        auto const last = static_cast<U32>(entries_.size() - 1);
        if (hole != last) {
            cells_[cellOf(last)].entry = hole;
            entries_[hole] = std::move(entries_[last]);
        }
        entries_.pop_back();
        return true;
    }

    /** Takes all entries out and gives the memory back. */
    void clear() noexcept {
        std::vector<Entry>().swap(entries_);
        std::vector<Cell>().swap(cells_);
    }

    /** Makes room for `more` entries beside those that are there. Throws std::bad_alloc. */
    void reserve(std::size_t more) {
        if (more > mostEntries - entries_.size()) {
            throw std::bad_alloc();
        }
        std::size_t const wanted = entries_.size() + more;
        if (wanted > entries_.capacity()) {
            entries_.reserve(std::max(wanted, entries_.capacity() * 2));
        }
        if (wanted > capacity()) {
            rebuild(std::max(smallestTable, std::bit_ceil((wanted * 4 + 2) / 3)));
        }
    }

private:
    static constexpr std::size_t none = ~std::size_t{0};
    static constexpr std::size_t smallestTable = 8;
    static constexpr U32 emptyCell = ~U32{0};

    struct Cell {
        U32 hash = 0;
        U32 entry = emptyCell;
    };

    // What a cell can number, or where sizes have 32 bits, what vectors that have doubled can hold.
    static constexpr std::size_t mostEntries =
        std::min<std::size_t>(emptyCell, PTRDIFF_MAX / (4 * std::max(sizeof(Entry), sizeof(Cell))));

    std::size_t home(U32 hash) const noexcept { return hash & (cells_.size() - 1); }
    std::size_t after(std::size_t cell) const noexcept { return (cell + 1) & (cells_.size() - 1); }

    Entry& add(U32 hash, Entry entry) {
        reserve(1);
        entries_.push_back(std::move(entry));
        place(Cell{hash, static_cast<U32>(entries_.size() - 1)});
        return entries_.back();
    }

    std::size_t findCell(Key const& key, U32 hash) const {
        if (cells_.empty()) {
            return none;
        }
        for (std::size_t at = home(hash); cells_[at].entry != emptyCell; at = after(at)) {
            if (cells_[at].hash == hash && Policy::matches(entries_[cells_[at].entry], key)) {
                return at;
            }
        }
        return none;
    }

    /** The cell that refers to entry number `entry`. */
    std::size_t cellOf(U32 entry) const {
        std::size_t at = home(Policy::hash(Policy::key(entries_[entry])));
        while (cells_[at].entry != entry) {
            at = after(at);
        }
        return at;
    }

    void place(Cell cell) noexcept {
        std::size_t at = home(cell.hash);
        while (cells_[at].entry != emptyCell) {
            at = after(at);
        }
        cells_[at] = cell;
    }

    /**
     * Empties a cell and moves up those behind it that would be cut off from their home by the gap.
     */
    void closeGap(std::size_t gap) noexcept {
        for (std::size_t at = after(gap); cells_[at].entry != emptyCell; at = after(at)) {
            std::size_t const mask = cells_.size() - 1;
            std::size_t const distanceFromHome = (at - home(cells_[at].hash)) & mask;
            if (distanceFromHome >= ((at - gap) & mask)) {
                cells_[gap] = cells_[at];
                gap = at;
            }
        }
        cells_[gap] = Cell{};
    }

    void rebuild(std::size_t cells) {
        std::vector<Cell> old(cells);
        old.swap(cells_);
        for (Cell const& cell : old) {
            if (cell.entry != emptyCell) {
                place(cell);
            }
        }
    }

    std::vector<Entry> entries_;
    std::vector<Cell> cells_;
};

}  // namespace Vexo
