#pragma once

#include <client/Hardware.h>

#include <LpmTrie/LpmTrie.h>

namespace LpmClient {

/**
 * A node with what the client must know about its route: where packets go, and which bucket of the
 * chip holds it. Both mean something only while the node is a FIB route.
 */
class RouteNode : public LpmTrie::Node {
public:
    using Node::Node;

    /** Where packets that meet the route go. */
    NextHop nextHop = 0;
    /** The bucket that the chip holds this route in; `noBucket`: not written yet. */
    Bucket bucket = noBucket;
    /** What the search that has marked the node last got from `ClientTrie::nextMark`. */
    U64 mark = 0;
};

/** @{ The client's nodes are all of one class, since they all come from `ClientTrie`. */
inline RouteNode* routeNode(LpmTrie::Node* node) noexcept {
    return static_cast<RouteNode*>(node);
}
inline RouteNode const* routeNode(LpmTrie::Node const* node) noexcept {
    return static_cast<RouteNode const*>(node);
}
/** @} */

/** The number of the partition that a route or a partition's root belongs to is its bucket's. */
inline Bucket bucketOf(LpmTrie::Node const* node) noexcept {
    return node->partitionId()->id().value();
}

/** The route at a node, as the chip is to hold it. */
inline Route routeAt(LpmTrie::Node const* node) noexcept {
    return {node->prefixRef()->prefix(), routeNode(node)->nextHop};
}

/** The root of the partition that `node` belongs to, itself included. Takes O(d) time. */
RouteNode* partitionRootOf(LpmTrie::Node* node) noexcept;
/** The nearest FIB route strictly above `node`, or null. Takes O(d) time. */
RouteNode const* nearestRouteAbove(LpmTrie::Node const* node) noexcept;

/**
 * A trie of the client's nodes, all of them RouteNodes, that keeps what its hook is told until the
 * client asks. Its destructor frees no nodes, as Trie's.
 */
class ClientTrie : public LpmTrie::Trie {
public:
    using Ptr = Vexo::Ptr<ClientTrie>;
    using Trie::Trie;

    /** A new, empty trie with notification on. */
    static Ptr ClientTrieIs(U32 vrfId, Nimbal::AddressFamily af);

    LpmTrie::Node* allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                                bool partitionNode, LpmTrie::PartitionId::Ptr const& partitionId,
                                U32 hwTable) override;
    void deallocateNode(LpmTrie::Node* node) override;
    void movedNode(LpmTrie::Node* node, LpmTrie::PartitionId::Ptr const& oldPartitionId,
                   U32 oldHwTable) override;

    /**
     * The routes whose label has changed since the last `clearMoved`, in the order of the reports;
     * one that has changed twice stands there twice.
     */
    std::vector<RouteNode*> const& moved() const noexcept { return moved_; }
    /** Forgets the reports, and keeps their room. */
    void clearMoved() noexcept { moved_.clear(); }
    /** Makes room for `reports`, so that none of them throws. Throws std::bad_alloc. */
    void reserveMoved(std::size_t reports) { moved_.reserve(moved_.size() + reports); }

    /** A mark that no node of this trie has yet. */
    U64 nextMark() noexcept { return ++lastMark_; }

private:
    U64 lastMark_ = 0;
    std::vector<RouteNode*> moved_;
};

}  // namespace LpmClient
