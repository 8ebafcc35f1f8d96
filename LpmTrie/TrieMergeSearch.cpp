/*
 * Advice on partitions: where to split one that is too full, what to merge one that is too small
 * into. The searches read the counters and labels and change nothing.
 *
 *   split count     from the source down the child with more routes, until the count has fallen to
 *                   the wanted one; then that node or its parent, whichever is nearer
 *   merge to        from a nested partition up to the highest node below the source whose routes
 *                   fit together with the nested ones; nodes without routes are passed over
 *   redistribution  the first nested partition, in pre-order, that can be merged; never one that
 *                   is nested in another
 *   parent merge    the nearest partition above, or else the highest node without a route, that
 *                   still fits
 *
 * Counts and bounds are compared unsigned, save the two distances of the split.
 */

#include <LpmTrie/Module.h>
#include <LpmTrie/Trie.h>

namespace LpmTrie {

bool Trie::isPartitionNode(Node* node) {
    static constexpr char const* signature = "bool LpmTrie::Trie::isPartitionNode(LpmTrie::Node*)";
    LPM_SASSERT(node, " node:", node);
    return node->partitionNode() || node->pendingState().removePartition();
}

bool Trie::checkValidPartitionMergeNode(Node* candidateNode, U32 sHwTable, U32 maxPartitionCount) {
    static constexpr char const* signature =
        "bool LpmTrie::Trie::checkValidPartitionMergeNode(LpmTrie::Node*, U32, U32)";
    LPM_SASSERT(isPartitionNode( candidateNode), candidateNode);
    LPM_TRACE(7, "Testing candidate partitionNode:", candidateNode, " sHwTable:", sHwTable,
              " maxPartitionCount:", maxPartitionCount);
    return candidateNode->hwTable() == sHwTable &&
           candidateNode->partitionRouteCount() <= maxPartitionCount;
}

TrieFindMergeReturnCode Trie::findMergeToNode(Node* candidatePartitionNode, Node* srcPartitionNode,
                                              U32 maxPartitionCount) {
    static constexpr char const* signature =
        "LpmTrie::TrieFindMergeReturnCode LpmTrie::Trie::findMergeToNode(LpmTrie::Node*, "
        "LpmTrie::Node*, U32)";
    LPM_TRACE(8, signature, " candidatePartitionNode:", candidatePartitionNode,
              " srcPartitionNode:", srcPartitionNode, " maxPartitionCount:", maxPartitionCount);
    Node* toNode = nullptr;
    for (Node* current = candidatePartitionNode->parent();
         current != nullptr && current != srcPartitionNode; current = current->parent()) {
        LPM_TRACE(7, "upwards walk node:", current);
        if (isPartitionNode(current)) {
            break;
        }
        U32 const count = current->partitionRouteCount();
        if (count == 0) {
            continue;
        }
        if (maxPartitionCount < count + candidatePartitionNode->partitionRouteCount()) {
            break;
        }
        toNode = current;
    }
    TrieFindMergeReturnCode result;
    if (toNode != nullptr) {
        LPM_TRACE(7, "merge from:", candidatePartitionNode, " to:", toNode);
        result.fromNodeIs(candidatePartitionNode);
        result.toNodeIs(toNode);
        result.dirty = candidatePartitionNode->pendingState() || toNode->pendingState();
    }
    return result;
}

TrieFindMergeReturnCode Trie::findMergeNodeViaPartitionRedistribution(Node* srcPartitionNode,
                                                                      U32 maxPartitionCount,
                                                                      bool toSrcPartition) {
    static constexpr char const* signature =
        "LpmTrie::TrieFindMergeReturnCode "
        "LpmTrie::Trie::findMergeNodeViaPartitionRedistribution(LpmTrie::Node*, U32, bool)";
    LPM_SASSERT(srcPartitionNode, " srcPartitionNode:", srcPartitionNode);
    LPM_SASSERT(srcPartitionNode->partitionNode(), " srcPartitionNode:", srcPartitionNode);
    LPM_TRACE(8, signature, " srcPartitionNode:", srcPartitionNode,
              " maxPartitionCount:", maxPartitionCount, " toSrcPartition:", toSrcPartition);
    Node* const stopNode = srcPartitionNode->parent();
    auto step = preorderNextNode(stopNode, srcPartitionNode, 1, false, false);
    while (step.node() != nullptr) {
        Node* const node = step.node();
        if (!isPartitionNode(node)) {
            step = preorderNextNode(stopNode, node, step.level, false, false);
            continue;
        }
        auto const result = redistribute(node, srcPartitionNode, maxPartitionCount, toSrcPartition);
        if (result.toNode() != nullptr) {
            return result;
        }
        step.nodeIs(findNextRightNode(node, srcPartitionNode).node());
    }
    return {};
}

/** The merge of one nested partition that the redistribution may propose, or nothing. */
TrieFindMergeReturnCode Trie::redistribute(Node* node, Node* srcPartitionNode,
                                           U32 maxPartitionCount, bool toSrcPartition) {
    if (!checkValidPartitionMergeNode(node, srcPartitionNode->hwTable(), maxPartitionCount)) {
        return {};
    }
    if (!toSrcPartition) {
        return findMergeToNode(node, srcPartitionNode, maxPartitionCount);
    }
    TrieFindMergeReturnCode result;
    if (node->partitionRouteCount() + srcPartitionNode->partitionRouteCount() <=
        maxPartitionCount) {
        result.fromNodeIs(node);
        result.toNodeIs(srcPartitionNode);
        // Deliberate: the source's own pending state is not looked at here.
        result.dirty = static_cast<bool>(node->pendingState());
    }
    return result;
}

TrieReturnCode Trie::findMergeNodeViaSplitCount(Node* srcPartitionNode, U32 splitCount,
                                                bool disallowSplitOnParent) {
    static constexpr char const* signature =
        "LpmTrie::TrieReturnCode LpmTrie::Trie::findMergeNodeViaSplitCount(LpmTrie::Node*, U32, "
        "bool)";
    LPM_TRACE(8, signature, " srcPartitionNode:", srcPartitionNode, " splitCount:", splitCount,
              " disallowSplitOnParent :", disallowSplitOnParent);
    LPM_SASSERT(srcPartitionNode, " srcPartitionNode:", srcPartitionNode);
    LPM_SASSERT(srcPartitionNode->partitionNode(),
                "is partitionNode srcPartitionNode:", srcPartitionNode);
    LPM_SASSERT(srcPartitionNode->partitionRouteCount() > splitCount,
                "route count in srcPartitionNode:", srcPartitionNode);
    U32 parentPartitionRouteCount = 0;
    Node* current = srcPartitionNode;
    for (;;) {
        LPM_TRACE(7, "current:", current, " parentPartitionRouteCount:", parentPartitionRouteCount);
        if (current->partitionRouteCount() <= splitCount) {
            break;
        }
        parentPartitionRouteCount = current->partitionRouteCount();
        current = childWithMoreRoutes(current);
    }
    Node* parent = current->parent();
    auto const parentPartitionRouteCountDelta =
        static_cast<int>(parentPartitionRouteCount - splitCount);
    auto const currentPartitionRouteCountDelta =
        static_cast<int>(splitCount - current->partitionRouteCount());
    LPM_SASSERT(( parentPartitionRouteCountDelta >= 0 ) && ( currentPartitionRouteCountDelta >= 0 ),
                " current: ", current, " parent ", parent);
    if (parentPartitionRouteCountDelta > currentPartitionRouteCountDelta || disallowSplitOnParent) {
        LPM_TRACE(7, " split@byCount current ", current, " parent ", parent);
        return {current, nullptr, nullptr, false};
    }
    LPM_SASSERT(parent, "Parent:", parent);
    LPM_TRACE(7, " split@byCount parent ", parent);
    return {parent, nullptr, nullptr, false};
}

/** One step down of the split search. Deliberate: a tie goes to child 1, none against none too. */
Node* Trie::childWithMoreRoutes(Node* node) {
    static constexpr char const* signature =
        "LpmTrie::TrieReturnCode LpmTrie::Trie::findMergeNodeViaSplitCount(LpmTrie::Node*, U32, "
        "bool)";
    auto const count = [&](U32 bit) {
        Node const* const child = node->bitNode(bit);
        return child != nullptr && !child->partitionNode() ? child->partitionRouteCount() : 0;
    };
    LPM_TRACE(7, " bit0 ", node->bitNode(0), ", bit1 ", node->bitNode(1));
    Node* const child = node->bitNode(count(0) > count(1) ? 0 : 1);
    if (child == nullptr || child->partitionNode()) {
        LPM_SASSERT(false, " split error ", node);
    }
    return child;
}

TrieReturnCode Trie::findParentNodeToMerge(Node* srcNode, U32 maxEntries) {
    static constexpr char const* signature =
        "LpmTrie::TrieReturnCode LpmTrie::Trie::findParentNodeToMerge(LpmTrie::Node*, U32)";
    LPM_TRACE(8, signature, " srcNode:", srcNode, " maxEntries:", maxEntries);
    LPM_SASSERT(srcNode, "! srcNode ");
    Node* const mergeNode = parentMergeNode(srcNode, maxEntries);
    if (mergeNode == nullptr) {
        return {};
    }
    Node* const partitionNode =
        findPartitionNode(mergeNode->prefixRef()->prefix(), true).partitionNode();
    LPM_TRACE(7, "partitionNode:", partitionNode);
    if (partitionNode == nullptr || partitionNode->hwTable() != srcNode->hwTable()) {
        return {};
    }
    return {mergeNode, partitionNode, nullptr, static_cast<bool>(partitionNode->pendingState())};
}

/**
 * The node above `srcNode` to merge into: a partition node, else the highest node without a route.
 */
Node* Trie::parentMergeNode(Node* srcNode, U32 maxEntries) {
    Node* candidate = nullptr;
    for (Node* current = srcNode->parent(); current != nullptr; current = current->parent()) {
        if (current->hwTable() != srcNode->hwTable()) {
            LPM_TRACE(7, "different hwTable. current:", current, " src:", srcNode);
            break;
        }
        // Deliberate: a route that is no partition node is passed over, untested.
        if (current->fibRoute() && !current->partitionNode()) {
            continue;
        }
        if (current->partitionRouteCount() + srcNode->partitionRouteCount() > maxEntries) {
            LPM_TRACE(7, "current has enough fibRoutes:", current);
            break;
        }
        if (current->partitionNode()) {
            LPM_TRACE(7, "Found mergeNode:", current);
            return current;
        }
        candidate = current;
    }
    if (candidate != nullptr && candidate->parent() == nullptr) {
        candidate = nullptr;
    }
    LPM_TRACE(7, "Merging to:", candidate);
    return candidate;
}

}  // namespace LpmTrie
