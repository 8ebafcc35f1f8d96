/*
 * The two route counters. With f = 1 for a node that is a FIB route and 0 otherwise, at every node
 *
 *   routeCount          = f + the children's routeCount
 *   partitionRouteCount = f + the partitionRouteCount of those children that are no partition nodes
 *
 * A change climbs from the node to the root for the first, and up to and including the nearest
 * partition node for the second. A failed check leaves what was changed below it changed.
 */

#include <LpmTrie/Module.h>
#include <LpmTrie/Trie.h>

namespace LpmTrie {

void Trie::updateParentRouteCount(Node* node, bool incr) {
    static constexpr char const* signature =
        "void LpmTrie::Trie::updateParentRouteCount(LpmTrie::Node*, bool)";
    LPM_TRACE(8, signature, node, " incr:", incr);
    LPM_ASSERT_NOT_IN_HOOK();
    if (node == nullptr) {
        return;
    }
    for (Node* above = node->parent(); above != nullptr; above = above->parent()) {
        if (incr) {
            above->routeCountInc(1);
        } else {
            above->routeCountDec(1);
        }
    }
}

void Trie::updatePartitionRouteCount(Node* node, bool incr, U32 value) {
    if (Detail::trace.mayBeOn(7, 8)) [[unlikely]] {
        changePartitionRouteCount<true>(node, incr, value);
    } else {
        changePartitionRouteCount<false>(node, incr, value);
    }
}

template <bool traced>
void Trie::changePartitionRouteCount(Node* node, bool incr, U32 value) {
    static constexpr char const* signature =
        "void LpmTrie::Trie::updatePartitionRouteCount(LpmTrie::Node*, bool, U32)";
    LPM_TRACE_IF(traced, 8, signature, node);
    LPM_ASSERT_NOT_IN_HOOK();
    if (value == 0) {
        LPM_TRACE_IF(traced, 7, "nothing to be done");
        return;
    }
    for (; node != nullptr; node = node->parent()) {
        if constexpr (!traced) {
            for (; node->ordinary(); node = node->parent()) {
                node->partitionRouteCount_ = incr ? node->partitionRouteCount_ + value
                                                  : node->partitionRouteCountLess(value);
            }
        }
        LPM_TRACE_IF(traced, 7,
                     incr ? "incrementing partitionCount for node:"
                          : "decrementing partitionCount for node:",
                     node, " value:", value);
        if (incr) {
            node->partitionRouteCountInc(value);
        } else {
            node->partitionRouteCountDec(value);
        }
        if (node->partitionNode()) {
            return;
        }
    }
}

template void Trie::changePartitionRouteCount<true>(Node*, bool, U32);
template void Trie::changePartitionRouteCount<false>(Node*, bool, U32);

void Trie::mergePartitionNodeCount(Node* node) {
    static constexpr char const* signature =
        "void LpmTrie::Trie::mergePartitionNodeCount(LpmTrie::Node*)";
    LPM_SASSERT(node->partitionNode(), node);
    LPM_TRACE(8, signature, node);
    LPM_ASSERT_NOT_IN_HOOK();
    U32 const value = node->partitionRouteCount();
    for (Node* above = node->parent(); above != nullptr; above = above->parent()) {
        above->partitionRouteCountInc(value);
        if (above->partitionNode()) {
            return;
        }
    }
}

void Trie::decRouteCounters(Node* node) {
    static constexpr char const* signature = "void LpmTrie::Trie::decRouteCounters(LpmTrie::Node*)";
    LPM_SASSERT(node->fibRoute(), node);
    LPM_TRACE(8, signature, node);
    LPM_ASSERT_NOT_IN_HOOK();
    countRouteOut(node);
}

void Trie::countRouteOut(Node* node) {
    while (node != nullptr) {
        for (; node->ordinary(); node = node->parent()) {
            node->partitionRouteCount_ = node->partitionRouteCountLess(1);
            node->routeCount_ = node->routeCountLess(1);
        }
        Node* const counted = node;
        counted->partitionRouteCountDec(1);
        counted->routeCountDec(1);
        node = counted->parent();
        if (counted->partitionNode()) {
            break;
        }
    }
    for (; node != nullptr; node = node->parent()) {
        node->routeCountDec(1);
    }
}

}  // namespace LpmTrie
