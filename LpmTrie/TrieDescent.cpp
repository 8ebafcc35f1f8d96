/*
 * The short way down. In a trie with an index, an insertion does not step from node to node: the
 * index names the last covering node, and one climb from there, over nodes that have been fetched
 * side by side, counts the new route in both counters. Nothing is changed before all that is needed
 * has been seen to be as it should; else the way is gone step by step, and finds what is wrong.
 */

#include <LpmTrie/TrieDescent.h>
#include <LpmTrie/TrieIndex.h>

namespace LpmTrie {

bool Trie::DescentCount::countUpwards(Node* lowest, bool ownPartition) noexcept {
    ownPartition_ = ownPartition;
    Node* node = lowest;
    for (bool inPartition = !ownPartition;
         inPartition && node != nullptr && node->eyeCatcherIntact(); node = node->parent_) {
        ++node->routeCount_;
        ++node->partitionRouteCount_;
        inPartition = !node->partitionNode_;
    }
    for (; node != nullptr && node->eyeCatcherIntact(); node = node->parent_) {
        ++node->routeCount_;
    }
    if (node != nullptr) {
        takeBack(lowest, node);
        return false;
    }
    complete_ = true;
    last_ = lowest;
    return true;
}

/** Undoes `countUpwards`, below `end`. */
void Trie::DescentCount::takeBack(Node* lowest, Node const* end) const noexcept {
    bool inPartition = !ownPartition_;
    for (Node* node = lowest; node != end; node = node->parent_) {
        --node->routeCount_;
        node->partitionRouteCount_ -= inPartition ? 1 : 0;
        inPartition = inPartition && !node->partitionNode_;
    }
}

/** The last node that covers the prefix, or null when the index cannot tell it. */
Node* Trie::lastCovering(Nimbal::IpGenPrefix const& newPrefix) const {
    TrieIndex* const index = unsettledIndex();
    if (index == nullptr) {
        return nullptr;
    }
    if (Node* const near = index->nearLast(newPrefix)) {
        return near;
    }
    index->settle();
    Node* const reached = index->ready() ? index->find(newPrefix).node : nullptr;
    if (reached == nullptr || !reached->covers(newPrefix)) {
        return nullptr;
    }
    if (reached->len() == newPrefix.len()) {
        return reached->fibRoute() ? nullptr : reached;
    }
    Node const* const child = reached->bitNode(newPrefix.bit(reached->len()));
    bool const last = child == nullptr || (child->eyeCatcherIntact() && !child->covers(newPrefix));
    return last ? reached : nullptr;
}

/**
 * The last covering node on the way from `start`, found by the index, with the new route counted
 * above it. Null, and nothing counted, for all but plain routes and when anything is not as it
 * should be: then the way is to be gone step by step.
 */
Node* Trie::skipDown(Insertion& insertion, Node* start, DescentCount& count) const {
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
