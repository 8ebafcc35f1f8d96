#pragma once

/* What an insertion carries on its way down. Private to this folder's sources. */

#include <LpmTrie/Trie.h>

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
        if (complete_) {
            takeBack(last_, nullptr);
            return;
        }
        for (Node* node = last_; node != nullptr;
             node = node == start_ ? nullptr : node->parent()) {
            node->routeCountDec(1);
        }
    }

    void passed(Node* node) {
        if (counting_ && !complete_) {
            node->routeCountInc(1);
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
    bool ownPartition_ = false;
    Node* last_ = nullptr;

    void takeBack(Node* lowest, Node const* end) const noexcept;
};

}  // namespace LpmTrie
