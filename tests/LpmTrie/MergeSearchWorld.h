#pragma once

#include <tests/LpmTrie/PartitionWorld.h>

#include <array>

namespace LpmTrieTest {

/**
 * A partition of two routes with three internal nodes between it and the partition above, all of
 * table 1 and with nothing pending:
 *
 *     source     10.0.0.0/8     partition 1
 *     highest      10.0.0.0/9     3 routes of partition 1 in all
 *     middle         10.0.0.0/10    2
 *     lowest           10.0.0.0/11    1
 *     candidate          10.0.0.0/24    partition 2, with the routes 10.0.0.0/26 and 10.0.0.64/26
 *                        10.16.0.0/16   route, 1
 *                      10.32.0.0/16   route, 1
 *                    10.64.0.0/16   route, 1
 */
class MergeSearchWorld : public PartitionWorld {
protected:
    MergeSearchWorld() {
        partition("10.0.0.0/8", 1);
        partition("10.0.0.0/24", 2);
        route("10.0.0.0/26", 2);
        route("10.0.0.64/26", 2);
        route("10.64.0.0/16", 1);
        route("10.32.0.0/16", 1);
        route("10.16.0.0/16", 1);
        settle();
    }
    Node* source() const { return at("10.0.0.0/8"); }
    Node* highest() const { return at("10.0.0.0/9"); }
    Node* middle() const { return at("10.0.0.0/10"); }
    Node* lowest() const { return at("10.0.0.0/11"); }
    Node* candidate() const { return at("10.0.0.0/24"); }

    /** Counts that no set of routes need give. */
    void countsAre(U32 lowestCount, U32 middleCount, U32 highestCount) {
        lowest()->partitionRouteCountIs(lowestCount);
        middle()->partitionRouteCountIs(middleCount);
        highest()->partitionRouteCountIs(highestCount);
    }
    void pendingIs(Node* node, unsigned flags) { node->pendingStateIs(pending(flags)); }
    /** No partition any more, but still pending removal. */
    void dissolve(Node* node) {
        node->partitionNodeIs(false);
        node->pendingStateIs(PendingState::removePartition_());
    }
    static constexpr std::array<unsigned, 5> someFlags_{1, 2, 4, 8, 15};
};

}  // namespace LpmTrieTest
