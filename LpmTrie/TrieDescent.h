#pragma once

/*
 * The short way down. In a trie with an index, an insertion does not step from node to node: the
 * index names the last covering node, and one climb from there, over nodes that have been fetched
 * side by side, counts the new route in both counters. When a node is not as it should be, what has
 * been counted is taken back, and the way is gone step by step, which finds what is wrong.
 */

#include <LpmTrie/TrieNodes.h>

namespace LpmTrie {

/** The arguments of one insertion. */
struct Trie::Insertion {
    Nimbal::IpGenPrefix const& newPrefix;
    Node* fromPartitionNode;
    bool fibRoute;
    bool partitionNode;
    PartitionId::Ptr const& partitionId;
    U32 hwTable;
    /** Both counters of all nodes above the new one have the new route. */
    bool counted = false;
};

/** The route counts of the way down, taken back when the insertion fails after all. */
class Trie::DescentCount {
public:
    DescentCount(Node* start, bool counting) noexcept : start_(start), counting_(counting) {}
    DescentCount(DescentCount const&) = delete;
    DescentCount& operator=(DescentCount const&) = delete;
    ~DescentCount() {
        if (last_ != nullptr) [[unlikely]] {
            takeBack();
        }
    }

    /** Whose eye catcher the descent has just looked at. */
    void passed(Node* node) noexcept {
        if (counting_ && !complete_) {
            ++node->routeCount_;
            last_ = node;
        }
    }
    /**
     * Counts a route below `lowest` in both counters of that node and of all above it, beyond the
     * start, which is one of them, as well; in the partition counters not when the route has a
     * partition of its own. False, and nothing counted, when one of them is broken.
     */
    bool countUpwards(Node* lowest, bool ownPartition) noexcept;
    void keep() noexcept { last_ = nullptr; }

private:
    Node* const start_;
    bool const counting_;
    bool complete_ = false;
    Node* last_ = nullptr;
    /** Where `countUpwards` has left the partition counters alone, and in all nodes above. */
    Node const* aboveBorder_ = nullptr;

    [[gnu::cold]] void takeBack() const;
    [[gnu::cold]] void takeBack(Node* lowest, Node const* end) const noexcept;
};

/** The last node that covers the prefix, or null when the index cannot tell it. */
[[gnu::always_inline]] inline Node* Trie::lastCovering(Nimbal::IpGenPrefix const& newPrefix) const {
    TrieIndex* const index = indexInUse();
    if (index == nullptr) {
        return nullptr;
    }
    Node* const near = index->nearLast(newPrefix);
    return near != nullptr ? near : searchedCovering(*index, newPrefix);
}

/**
 * The last covering node on the way from `start`, found by the index, with the new route counted
 * above it. Null, and nothing counted, for all but plain routes and when anything is not as it
 * should be: then the way is to be gone step by step.
 */
[[gnu::always_inline]] inline Node* Trie::skipDown(Insertion& insertion, Node* start,
                                                   DescentCount& count) const {
    Node const* const from = insertion.fromPartitionNode;
    if (index_ == nullptr || insertion.partitionNode ||
        (from != nullptr && (!index_->entered(from) || from->hwTable() != insertion.hwTable ||
                             !(from->partitionId() == insertion.partitionId)))) {
        return nullptr;
    }
    Node* const reached = lastCovering(insertion.newPrefix);
    if (reached == nullptr || reached == start) {
        return nullptr;
    }
    bool const again = reached->len() == insertion.newPrefix.len();
    insertion.counted = again ? count.countUpwards(reached->parent(), reached->partitionNode())
                              : count.countUpwards(reached, false);
    return insertion.counted ? reached : nullptr;
}

}  // namespace LpmTrie
