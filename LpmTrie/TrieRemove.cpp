/*
 * Removal. The counters go first, then the flags, then the shape: from the node upwards every node
 * that is no route, no partition node, not pending removal of its partition and has fewer than two
 * children leaves the trie, its only child, if any, taking its place. Counters do not change in
 * that: a node that leaves carries no route. The partition id is released only for the node named;
 * the others keep theirs until they are freed.
 */

#include <LpmTrie/Module.h>
#include <LpmTrie/Trie.h>
#include <LpmTrie/TrieNodes.h>

namespace LpmTrie {

namespace {
constexpr char const* removeNodeSignature =
    "LpmTrie::TrieNodeReturnCode LpmTrie::Trie::removeNode(LpmTrie::Node*, bool)";
}

/** Fetches what the removal of the node found last will touch into the cache, side by side. */
inline void Trie::fetchForRemoval(Node const* node) const noexcept {
    if (indexInUse() == nullptr) {
        return;
    }
    if (Node const* const parent = node->parent_; parent != nullptr) {
        Vexo::prefetch(parent->prefixRef_.get());
        prefetchWholeNode(parent->bitNode_[parent->bitNode_[0] == node ? 1 : 0]);
    }
}

/** The node's prefix is this very one, host bits and family included. */
inline bool Trie::hasPrefix(Node const* node, Nimbal::IpGenPrefix const& prefix) const noexcept {
    TrieIndex const* const index = indexInUse();
    return index != nullptr && index->entered(node) && prefix.af() == af()
               ? index->hasPrefix(node, prefix)
               : node->prefixRef()->prefix() == prefix;
}

TrieNodeReturnCode Trie::remove(Nimbal::IpGenPrefix const& prefix) {
    return Detail::trace.mayBeOn(7, 8) ? takeOut<true>(prefix) : takeOut<false>(prefix);
}

TrieNodeReturnCode Trie::removeNode(Node* node, bool removePartition) {
    return Detail::trace.mayBeOn(7, 8) ? takeOut<true>(node, removePartition)
                                       : takeOut<false>(node, removePartition);
}

template <bool traced>
TrieNodeReturnCode Trie::takeOut(Nimbal::IpGenPrefix const& prefix) {
    static constexpr char const* signature =
        "LpmTrie::TrieNodeReturnCode LpmTrie::Trie::remove(const Nimbal::IpGenPrefix&)";
    LPM_TRACE_IF(traced, 8, signature, " prefix:", prefix);
    LPM_ASSERT_NOT_IN_HOOK();
    if (root_ == nullptr) {
        LPM_TRACE_IF(traced, 7, "no root");
        return {};
    }
    Node* const node = findPartitionNode(prefix, true).node();
    if (node == nullptr) {
        return {};
    }
    fetchForRemoval(node);
    return hasPrefix(node, prefix) ? takeOut<traced>(node, false) : TrieNodeReturnCode();
}

template <bool traced>
TrieNodeReturnCode Trie::takeOut(Node* node, bool removePartition) {
    static constexpr char const* signature = removeNodeSignature;
    LPM_TRACE_IF(traced, 8, signature, " node:", node, " removePartition:", removePartition);
    LPM_ASSERT_NOT_IN_HOOK();
    if (node->fibRoute()) {
        if constexpr (traced) {
            decRouteCounters(node);
        } else {
            countRouteOut(node);
        }
        node->fibRouteIs(false);
    }
    if (node->partitionNode()) {
        if (!removePartition) {
            return {node, false};
        }
        LPM_TRACE_IF(traced, 7, "removing partition flag of node:", node);
        node->partitionNodeIs(false);
        node->pendingStateIs(PendingState());
    }
    if (node->pendingState().removePartition()) {
        return {node, false};
    }
    node->partitionIdIs(nullptr);
    compact<traced>(node);
    return {nullptr, true};
}

template <bool traced>
void Trie::compact(Node* node) {
    static constexpr char const* signature = removeNodeSignature;
    while (node->internal() && !node->pendingState().removePartition()) {
        if (node->bitNode(0) != nullptr && node->bitNode(1) != nullptr) {
            return;
        }
        Node* const parent = node->parent();
        U32 const childBit = node->bitNode(0) != nullptr ? 0 : 1;
        Node* const child = node->bitNode(childBit);
        if (child != nullptr) {
            LPM_TRACE_IF(traced, 7, " reparent child ", child, " from node ", node, ", bit ",
                         childBit, " to ", parent);
            child->linkParent(parent);
        }
        U32 parentBit = 0;
        if (parent != nullptr) {
            parentBit = parent->bitNode(0) == node ? 0 : 1;
            LPM_TRACE_IF(traced, 7, " parent bit ", parentBit, " new child", child);
            LPM_SASSERT(parent->bitNode( parentBit ) == node, " node:", node, " parent:", parent);
        }
        TrieIndex::linkedBy(index_.get(), parent, child);
        childIs(parent, parentBit, child);
        indexDel(node);
        freeNode(node);
        if (parent == nullptr) {
            return;
        }
        node = parent;
    }
}

}  // namespace LpmTrie
