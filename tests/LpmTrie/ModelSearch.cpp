#include <tests/LpmTrie/Model.h>

/*
 * The searches, each answered from the list of all nodes. In pre-order, of the nodes that cover a
 * prefix the deepest is the last.
 */

namespace TrieModel {

std::size_t Model::deepestCovering(Prefix const& prefix) const {
    std::size_t deepest = none;
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        if (covers(nodes_[i].prefix, prefix)) {
            deepest = i;
        }
    }
    return deepest;
}

MaybePrefix Model::longestMatch(Prefix const& prefix) const {
    MaybePrefix longest;
    for (Node const& node : nodes_) {
        if (node.route && covers(node.prefix, prefix)) {
            longest = node.prefix;
        }
    }
    return longest;
}

MaybePrefix Model::closestFibRoute(Prefix const& node) const {
    return longestMatch(node);
}

/** The child of the node in the direction of a longer prefix. */
std::size_t Model::childTowards(std::size_t index, Prefix const& prefix) const {
    return nodes_[index].child[bitAt(prefix, nodes_[index].prefix.len)];
}

Found Model::findPartitionNode(Prefix const& prefix, bool includePendingRmPartition) const {
    std::size_t const deepest = deepestCovering(prefix);
    if (deepest == none) {
        return {nodes_.empty() ? MaybePrefix{} : nodes_.front().prefix, {}, {}, false};
    }
    std::size_t stop = deepest;
    if (nodes_[deepest].prefix != prefix && childTowards(deepest, prefix) != none) {
        stop = childTowards(deepest, prefix);
    }
    MaybePrefix partition;
    for (Node const& node : nodes_) {
        bool const counts = includePendingRmPartition ? node.countsAsPartition() : node.partition;
        if (counts && covers(node.prefix, prefix)) {
            partition = node.prefix;
        }
    }
    return {prefixAt(stop), partition, partition ? closestFibRoute(*partition) : MaybePrefix{},
            false};
}

FoundMerge Model::findMergeToNode(Prefix const& candidate, Prefix const& source, U32 most) const {
    Node const& from = nodes_[at(candidate)];
    Node const* best = nullptr;
    for (std::size_t i = from.parent; i != none && nodes_[i].prefix != source;
         i = nodes_[i].parent) {
        U32 const count = nodes_[i].partitionRouteCount;
        if (nodes_[i].countsAsPartition() ||
            (count != 0 && count + from.partitionRouteCount > most)) {
            break;
        }
        if (count != 0) {
            best = &nodes_[i];
        }
    }
    if (best == nullptr) {
        return {};
    }
    return {candidate, best->prefix, from.pending != 0 || best->pending != 0};
}

FoundMerge Model::findRedistribution(Prefix const& source, U32 most, bool toSource) const {
    std::size_t const top = at(source);
    Node const& into = nodes_[top];
    std::size_t skipUntil = top + 1;
    for (std::size_t i = top + 1; i < into.end; ++i) {
        Node const& nested = nodes_[i];
        if (i < skipUntil || !nested.countsAsPartition()) {
            continue;
        }
        skipUntil = nested.end;
        if (nested.table != into.table || nested.partitionRouteCount > most) {
            continue;
        }
        if (!toSource) {
            FoundMerge const found = findMergeToNode(nested.prefix, source, most);
            if (found.toNode) {
                return found;
            }
        } else if (nested.partitionRouteCount + into.partitionRouteCount <= most) {
            return {nested.prefix, source, nested.pending != 0};
        }
    }
    return {};
}

/** Routes of the node that hangs there, as far as they are in the partition above it. */
U32 Model::ownPartitionCount(std::size_t child) const {
    return child == none || nodes_[child].partition ? 0 : nodes_[child].partitionRouteCount;
}

MaybePrefix Model::findSplit(Prefix const& source, U32 splitCount,
                             bool disallowSplitOnParent) const {
    std::size_t current = at(source);
    while (nodes_[current].partitionRouteCount > splitCount) {
        auto const& child = nodes_[current].child;
        current = ownPartitionCount(child[0]) > ownPartitionCount(child[1]) ? child[0] : child[1];
        if (current == none || nodes_[current].partition) {
            return {};
        }
    }
    U32 const below = nodes_[current].partitionRouteCount;
    U32 const above = nodes_[nodes_[current].parent].partitionRouteCount;
    bool const currentIsCloser = above - splitCount > splitCount - below;
    return prefixAt(currentIsCloser || disallowSplitOnParent ? current : nodes_[current].parent);
}

Found Model::findParentToMerge(Prefix const& source, U32 most) const {
    Node const& from = nodes_[at(source)];
    std::size_t candidate = none;
    std::size_t merge = none;
    for (std::size_t i = from.parent; i != none && merge == none; i = nodes_[i].parent) {
        Node const& node = nodes_[i];
        if (node.table != from.table) {
            break;
        }
        if (node.route && !node.partition) {
            continue;
        }
        if (node.partitionRouteCount + from.partitionRouteCount > most) {
            break;
        }
        (node.partition ? merge : candidate) = i;
    }
    if (merge == none && (candidate == none || nodes_[candidate].parent == none)) {
        return {};
    }
    Prefix const target = nodes_[merge == none ? candidate : merge].prefix;
    MaybePrefix const covering = findPartitionNode(target, true).partitionNode;
    if (!covering || find(*covering)->table != from.table) {
        return {};
    }
    return {target, covering, {}, find(*covering)->pending != 0};
}

}  // namespace TrieModel
