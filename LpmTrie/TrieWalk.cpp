/*
 * Stateless steps through the trie. Pre-order: the node, its child-0 subtree, its child-1 subtree.
 * From a node without an eligible child the step climbs to the first ancestor, itself included,
 * that is a child 0 with an eligible sibling. The test for the walk's end comes before the
 * sibling's, so a walk that starts at a node whose parent is the stop node never strays into that
 * node's sibling.
 */

#include <LpmTrie/Module.h>
#include <LpmTrie/Trie.h>
#include <LpmTrie/TrieNodes.h>

namespace LpmTrie {

namespace {
constexpr U32 noBit = 3;
}

TrieTraversalReturnCode Trie::preorderNextNode(Node* stopNode, Node* startNode, U32 level,
                                               bool stopAtPartitionNode, bool stopAtFibRoute) {
    return Detail::trace.mayBeOn(8, 9)
               ? nextNode<true>(stopNode, startNode, level, stopAtPartitionNode, stopAtFibRoute)
               : nextNode<false>(stopNode, startNode, level, stopAtPartitionNode, stopAtFibRoute);
}

template <bool traced>
TrieTraversalReturnCode Trie::nextNode(Node* stopNode, Node* startNode, U32 level,
                                       bool stopAtPartitionNode, bool stopAtFibRoute) {
    static constexpr char const* signature =
        "LpmTrie::TrieTraversalReturnCode LpmTrie::Trie::preorderNextNode(LpmTrie::Node*, "
        "LpmTrie::Node*, U32, bool, bool)";
    LPM_TRACE_IF(traced, 8, signature, " stopNode:", stopNode, " startNode:", startNode,
                 " level:", level, " stopAtFibRoute", stopAtFibRoute,
                 " stopAtPartitionNode:", stopAtPartitionNode);
    if (startNode == nullptr) {
        LPM_TRACE_IF(traced, 9, "Starting from root ", root_);
        return {root_, noBit, 0};
    }
    auto const eligible = [&](Node const* child) {
        return child != nullptr && !(stopAtPartitionNode && child->partitionNode()) &&
               !(stopAtFibRoute && child->fibRoute());
    };
    auto const stepTo = [&](Node* next, U32 bit, U32 stepLevel) -> TrieTraversalReturnCode {
        if constexpr (!traced) {
            if (TrieIndex const* const index = settled(indexInUse())) {
                index->fetchAhead(next);
            }
        }
        return {next, bit, stepLevel};
    };
    for (U32 bit = 0; bit <= 1; ++bit) {
        if (eligible(startNode->bitNode(bit))) {
            return stepTo(startNode->bitNode(bit), bit, level + 1);
        }
    }
    Node* current = startNode;
    for (Node* parent = current->parent(); parent != stopNode; parent = current->parent()) {
        LPM_TRACE_IF(traced, 9, "Current ", current, " parent", parent);
        if (parent == nullptr) {
            return {nullptr, noBit, level - 1};
        }
        if (current == parent->bitNode(0) && eligible(parent->bitNode(1))) {
            return stepTo(parent->bitNode(1), 1, level);
        }
        current = parent;
        --level;
    }
    return {nullptr, noBit, level};
}

TrieReturnCode Trie::findNextRightNode(Node* startNode, Node* stopNode) {
    static constexpr char const* signature =
        "LpmTrie::TrieReturnCode LpmTrie::Trie::findNextRightNode(LpmTrie::Node*, LpmTrie::Node*)";
    LPM_TRACE(8, signature, " startNode:", startNode, " stopNode:", stopNode);
    LPM_SASSERT(startNode, "no startNode");
    LPM_SASSERT(stopNode, "no stopNode");
    Node* rightNode = nullptr;
    for (Node* current = startNode; current != stopNode && rightNode == nullptr;) {
        Node* const parent = current->parent();
        if (current == parent->bitNode(0) && parent->bitNode(1) != nullptr) {
            rightNode = parent->bitNode(1);
            LPM_TRACE(7, "found right node:", rightNode);
        }
        current = parent;
    }
    LPM_TRACE(8, signature, " node:", rightNode);
    return {rightNode, nullptr, nullptr, false};
}

}  // namespace LpmTrie
