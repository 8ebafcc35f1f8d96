#include <client/HalvingPolicy.h>
#include <client/Window.h>

#include <algorithm>

namespace LpmClient {

namespace {

/** A piece at `to` that takes the nested partition at `from` in. */
Cut takeIn(RouteNode* root, RouteNode* from, RouteNode* to) {
    Cut cut;
    cut.oldRoots = {root, from};
    cut.newRoots = {root};
    if (to != root) {
        cut.newRoots.push_back(to);
    }
    return cut;
}

}  // namespace

std::optional<Cut> HalvingPolicy::makeRoom(ClientTrie& trie, RouteNode* root, RouteNode* incoming,
                                           Room const& room) {
    next_ = arrivals_.after(incoming->prefixRef()->prefix());
    if (redistribute_) {
        if (std::optional<Cut> cut = redistribute(trie, root, room)) {
            return cut;
        }
    }
    U32 const routes = root->partitionRouteCount();
    if (room.freshBuckets == 0 || routes < 2) {
        return std::nullopt;
    }
    U64 const share = next_.inOrder() ? shareInOrder_ : share_;
    U32 const splitCount = std::max(static_cast<U32>(share * routes / 100), U32{1});
    LpmTrie::Node* node = trie.findMergeNodeViaSplitCount(root, splitCount, false).node();
    U32 const cutOff = node->partitionRouteCount();
    if (node == root || routes - cutOff > room.bucketRoutes || cutOff > room.bucketRoutes) {
        // The search may answer the source itself: then the branch below it is the piece.
        node = trie.findMergeNodeViaSplitCount(root, splitCount, true).node();
    }
    U32 const rest = routes - node->partitionRouteCount();
    if (node->pendingState() || rest > room.bucketRoutes ||
        node->partitionRouteCount() > room.bucketRoutes) {
        return std::nullopt;
    }
    Cut cut;
    cut.oldRoots = {root};
    cut.newRoots = {root, routeNode(node)};
    return cut;
}

/** A nested partition grows upwards and takes a part of the full one in. */
std::optional<Cut> HalvingPolicy::redistribute(ClientTrie& trie, RouteNode* root,
                                               Room const& room) const {
    auto const found = trie.findMergeNodeViaPartitionRedistribution(root, room.bucketRoutes, false);
    if (found.fromNode() == nullptr || found.toNode() == nullptr || found.dirty) {
        return std::nullopt;
    }
    RouteNode* const from = routeNode(found.fromNode());
    RouteNode* const to = routeNode(found.toNode());
    U32 const taken = to->partitionRouteCount();
    // The bound must be kept by both, and little room gained would be asked for again soon.
    bool const fits = from->partitionRouteCount() + taken <= room.bucketRoutes &&
                      root->partitionRouteCount() - taken <= room.bucketRoutes &&
                      taken >= std::max(room.bucketRoutes / 16, U32{1});
    return from->partitionNode() && fits ? std::optional(takeIn(root, from, to)) : std::nullopt;
}

std::optional<Cut> HalvingPolicy::shrink(ClientTrie& trie, RouteNode* root, Room const& room) {
    U32 const routes = root->partitionRouteCount();
    if (routes > room.bucketRoutes / 4 || root->parent() == nullptr) {
        return std::nullopt;
    }
    auto const found = trie.findParentNodeToMerge(root, room.bucketRoutes * 3 / 4);
    LpmTrie::Node* const above = found.partitionNode();
    // What the search proposes may be pending, of another table or no partition at all.
    bool const merges = above != nullptr && !found.dirty && found.node() == above &&
                        above->partitionNode() && above->hwTable() == root->hwTable() &&
                        above->partitionRouteCount() + routes <= room.bucketRoutes;
    return merges ? std::optional(takeIn(routeNode(above), root, routeNode(above))) : std::nullopt;
}

}  // namespace LpmClient
