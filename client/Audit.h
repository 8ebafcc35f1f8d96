#pragma once

#include <client/ChipWriter.h>
#include <client/ClientTrie.h>

namespace LpmClient {

/** What can be wrong in a chip. */
enum class DifferenceKind : U8 {
    bucketMissing,   // a partition's bucket is not allocated
    bucketStray,     // a bucket is allocated that serves no partition
    bindingMissing,  // a partition's prefix is bound to no bucket
    bindingStray,    // a prefix is bound that is no partition's
    bindingWrong,    // a partition's prefix is bound to another bucket
    routeMissing,    // a bucket lacks a route of its partition
    routeStray,      // a bucket holds a route that is not in its partition
    routeWrong,      // a route has another next hop
    coverWrong       // a bucket's covering route is missing, stray or another one
};
/** As many as there are. */
constexpr std::size_t differenceKinds = 9;

/** Something that the chip should hold and does not, or holds and should not. */
struct Difference {
    DifferenceKind kind = DifferenceKind::bucketMissing;  // what is wrong
    Bucket bucket = noBucket;                             // where it should be, or is
    std::optional<Nimbal::IpGenPrefix> binding;           // of binding differences
    std::optional<Route> expected;                        // of route and covering route differences
    std::optional<Route> found;                           // of the same, and of stray routes

    bool operator==(Difference const&) const noexcept = default;
};

/** One line without a line feed: "bucket 7 lacks the route 10.0.0.0/8 to 3". */
std::ostream& operator<<(std::ostream& out, Difference const& difference);

/** Partitions' roots by their prefixes. */
using Roots = std::map<Nimbal::IpGenPrefix, RouteNode*>;

/**
 * Compares what the chip holds for a table with its trie, partition by partition. Reads only,
 * sorts each bucket, and takes O(d) time for each route of either.
 */
std::vector<Difference> auditChip(Hardware const& hardware, U32 vrfId, Nimbal::AddressFamily af,
                                  Roots const& roots);

/** The routes of the partition at `root`, in order. Takes time in proportion to its nodes. */
std::vector<RouteNode*> routesOfPartition(RouteNode* root);

}  // namespace LpmClient
