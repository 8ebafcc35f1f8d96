/*
 * The role of a node: the last step of every insertion. Flags only go from false to true here. A
 * new partition is always born pending creation and labels its routes before its own route is
 * counted; no record of moves is kept for an insertion, each goes to the hook.
 */

#include <LpmTrie/Module.h>
#include <LpmTrie/Trie.h>
#include <LpmTrie/TrieHooks.h>

namespace LpmTrie {

namespace {
constexpr char const* signature =
    "void LpmTrie::Trie::updateNode(LpmTrie::Node*, bool, LpmTrie::Node*, bool, bool)";
}

void Trie::updateNode(Node* node, bool fibRoute, Node* fromPartitionNode, bool partitionNode,
                      bool newNode) {
    LPM_ASSERT_NOT_IN_HOOK();
    HookErrors errors;
    giveRole<true>(node, fibRoute, fromPartitionNode, partitionNode, newNode, errors);
    errors.rethrow();
}

void assertSameLabels(Node* fromPartitionNode, Node* node) {
    // Deliberate: the table first, so that it is the mismatch named when both differ.
    LPM_SASSERT(fromPartitionNode->hwTable() == node->hwTable(), "unmatched hwTable. Node:", node,
                " partition:", fromPartitionNode);
    LPM_SASSERT(fromPartitionNode->partitionId() == node->partitionId(),
                "unmatched partitionId. Node:", node, " partition:", fromPartitionNode);
}

template <bool traced>
void Trie::giveRole(Node* node, bool fibRoute, Node* fromPartitionNode, bool partitionNode,
                    bool newNode, HookErrors& errors) {
    LPM_TRACE_IF(traced, 8, signature, node, "fibRoute:", fibRoute,
                 " fromPartitionNode:", fromPartitionNode, " partitionNode:", partitionNode);
    if (partitionNode) {
        node->partitionNodeIs(true);
        startPartition(node, nullptr, newNode, errors);
    }
    if (!fibRoute) {
        return;
    }
    node->fibRouteIs(true);
    if (fromPartitionNode != nullptr) {
        updateParentRouteCount(fromPartitionNode, true);
        assertSameLabels(fromPartitionNode, node);
    }
    changePartitionRouteCount<traced>(node, true, 1);
    node->routeCountInc(1);
}

template void Trie::giveRole<true>(Node*, bool, Node*, bool, bool, HookErrors&);
template void Trie::giveRole<false>(Node*, bool, Node*, bool, bool, HookErrors&);

}  // namespace LpmTrie
