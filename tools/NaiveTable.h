#pragma once

#include <client/Hardware.h>
#include <tools/IndexedPool.h>

#include <array>
#include <optional>
#include <vector>

namespace LpmTools {

/**
 * Routes of one family in a hash table, and a longest match that tries every length: what a chip's
 * answers are compared with. It shares no code with the trie.
 */
class NaiveTable {
public:
    /** Adds a route or changes its next hop. */
    void announce(LpmClient::Route const& route);
    void withdraw(Nimbal::IpGenPrefix const& prefix);

    /** `address` is a prefix of its family's full length. */
    std::optional<LpmClient::Route> match(Nimbal::IpGenPrefix const& address) const;
    U64 routes() const noexcept { return entries_.size(); }
    /** Routes by prefix length. */
    std::array<U64, 129> const& lengths() const noexcept { return lengths_; }
    /** Calls `visit(route)` for each, in no particular order. */
    template <class Visit>
    void forEachRoute(Visit&& visit) const {
        entries_.forEach([&](Entry const& entry) {
            visit(LpmClient::Route{entry.key, entry.nextHop});
        });
    }

private:
    struct Entry {
        Nimbal::IpGenPrefix key;
        LpmClient::NextHop nextHop = 0;
        U32 link = 0;  // the pool's
    };

    IndexedPool<Entry, std::hash<Nimbal::IpGenPrefix>> entries_;
    static std::size_t markOf(Nimbal::IpGenPrefix const& prefix) noexcept {
        return prefix.hash() % marks;
    }
    static constexpr std::size_t marks = std::size_t{1} << 24;

    std::array<U64, 129> lengths_{};
    /** Set for the hash of every route there ever was: most questions need not ask further. */
    std::vector<bool> seen_ = std::vector<bool>(marks);
};

}  // namespace LpmTools
