/*
 * Lookup. The descent along a prefix stops in one of four ways: the trie is empty; the root does
 * not cover the prefix; a covering node is the exact match or has no child in the prefix's
 * direction; the next node diverges from the prefix or is longer than it. The deepest partition
 * node passed is the candidate; the node at which the walk stops counts only when it covers the
 * prefix.
 *
 * With an index, the descent begins at the deepest node that the index knows to cover the prefix;
 * those above are looked at side by side, and a broken one sends the search back to the root.
 */

#include <LpmTrie/Module.h>
#include <LpmTrie/Trie.h>
#include <LpmTrie/TrieIndex.h>
#include <LpmTrie/TrieNodes.h>

namespace LpmTrie {

namespace {

bool isCandidate(Node const* node, bool includePendingRmPartition) {
    return node->partitionNode() ||
           (includePendingRmPartition && node->pendingState().removePartition());
}

}  // namespace

TrieReturnCode Trie::setTrieRc(Node* node, Node* partitionNode) {
    return Detail::trace.mayBeOn(7, 8) ? resultOf<true>(node, partitionNode)
                                       : resultOf<false>(node, partitionNode);
}

template <bool traced>
TrieReturnCode Trie::resultOf(Node* node, Node* partitionNode) {
    Node* const coveringPrefixNode =
        partitionNode != nullptr ? closestFibRouteNode<traced>(partitionNode) : nullptr;
    return {node, partitionNode, coveringPrefixNode, false};
}

Node* Trie::getClosestFibRouteNode(Node* node) const {
    return Detail::trace.mayBeOn(7, 8) ? closestFibRouteNode<true>(node)
                                       : closestFibRouteNode<false>(node);
}

template <bool traced>
Node* Trie::closestFibRouteNode(Node* node) {
    static constexpr char const* signature =
        "LpmTrie::Node* LpmTrie::Trie::getClosestFibRouteNode(LpmTrie::Node*) const";
    LPM_TRACE_IF(traced, 8, signature, " node:", node);
    Node* fibRouteNode = node;
    if (!node->fibRoute()) {
        do {
            fibRouteNode = fibRouteNode->parent();
            if (fibRouteNode == nullptr) {
                break;
            }
            LPM_TRACE_IF(traced, 7, "checking parent:", fibRouteNode);
        } while (!fibRouteNode->fibRoute());
        if (fibRouteNode != nullptr) {
            LPM_TRACE_IF(traced, 7, "found fibRoute ", fibRouteNode);
        }
    }
    LPM_TRACE_IF(traced, 8, signature, " fibRouteNode:", fibRouteNode);
    return fibRouteNode;
}

/** Where an untraced search goes on, and the candidate met before that, by the index; else null. */
Node* Trie::skipDown(Nimbal::IpGenPrefix const& prefix, bool includePendingRmPartition,
                     Node*& candidate) const {
    TrieIndex const* const index = settled(indexInUse());
    if (index == nullptr) {
        return nullptr;
    }
    auto const [deepest, marked] = index->findAlive(prefix);
    if (deepest == nullptr) {
        return nullptr;
    }
    if (deepest->headLen_ == prefix.len()) {
        Vexo::prefetch(deepest->prefixRef_.get());  // a removal will release it
    }
    candidate = marked;
    while (candidate != nullptr && !isCandidate(candidate, includePendingRmPartition)) {
        candidate = candidate->parent();
    }
    if (candidate != nullptr) {
        Vexo::prefetch(candidate->partitionId_.get());  // a route that is inserted there takes it
    }
    return deepest;
}

TrieReturnCode Trie::findPartitionNode(Nimbal::IpGenPrefix const& prefix,
                                       bool includePendingRmPartition) {
    return Detail::trace.mayBeOn(7, 8) ? search<true>(prefix, includePendingRmPartition)
                                       : search<false>(prefix, includePendingRmPartition);
}

template <bool traced>
TrieReturnCode Trie::search(Nimbal::IpGenPrefix const& prefix, bool includePendingRmPartition) {
    static constexpr char const* signature =
        "virtual LpmTrie::TrieReturnCode LpmTrie::Trie::findPartitionNode(const "
        "Nimbal::IpGenPrefix&, bool)";
    LPM_TRACE_IF(traced, 8, signature, " prefix:", prefix,
                 " includePendingRmPartition:", includePendingRmPartition);
    if (root_ == nullptr) {
        return {};
    }
    Node* candidate = nullptr;
    Node* current = traced ? nullptr : skipDown(prefix, includePendingRmPartition, candidate);
    current = current != nullptr ? current : root_;
    U32 commonLen = current->commonLen(prefix);
    if (commonLen != current->len()) {
        return {current, nullptr, nullptr, false};
    }
    for (;;) {
        if (isCandidate(current, includePendingRmPartition)) {
            candidate = current;
        }
        if (commonLen == prefix.len()) {
            return resultOf<traced>(current, candidate);
        }
        U32 const bit = prefix.bit(commonLen);
        Node* const child = current->bitNode(bit);
        if (child == nullptr) {
            return resultOf<traced>(current, candidate);
        }
        LPM_TRACE_IF(traced, 7, " bit ", bit, " current:", child);
        commonLen = child->commonLen(prefix);
        if (commonLen != child->len()) {
            return resultOf<traced>(child, candidate);
        }
        current = child;
    }
}

void Trie::findPartitionNodes(std::span<Nimbal::IpGenPrefix const> prefixes,
                              bool includePendingRmPartition, std::span<TrieReturnCode> results) {
    static constexpr char const* signature =
        "void LpmTrie::Trie::findPartitionNodes(std::span<const Nimbal::IpGenPrefix>, bool, "
        "std::span<LpmTrie::TrieReturnCode>)";
    LPM_SASSERT(prefixes.size() == results.size(), "prefixes:", prefixes.size(),
                " results:", results.size());
    for (std::size_t first = 0; first < prefixes.size(); first += TrieIndex::mostTogether) {
        std::size_t const end = std::min(first + TrieIndex::mostTogether, prefixes.size());
        if (TrieIndex const* const index = usableIndex()) {
            index->fetchFor(prefixes.subspan(first, end - first));
        }
        for (std::size_t i = first; i < end; ++i) {
            results[i] = findPartitionNode(prefixes[i], includePendingRmPartition);
        }
    }
}

}  // namespace LpmTrie
