#include <LpmTrie/RouteQueries.h>

namespace LpmTrie {

namespace {

constexpr U32 addressBits = 128;

/** Where a descent along a prefix has come to: a node, and how many bits the two share. */
struct Place {
    Node* node;
    U32 commonLen;

    bool covers() const { return commonLen == node->len(); }
};

/** The child of a covering node in the prefix's direction; null when there is none. */
Place childTowards(Place const& place, Nimbal::IpGenPrefix const& prefix) {
    Node* const child =
        place.commonLen < addressBits ? place.node->bitNode(prefix.bit(place.commonLen)) : nullptr;
    return {child, child != nullptr ? child->commonLen(prefix) : 0};
}

/**
 * The first node on the way down that is not shorter than the prefix or parts from it, or the last
 * one.
 */
Place descend(Node* start, Nimbal::IpGenPrefix const& prefix) {
    Place place{start, start->commonLen(prefix)};
    while (place.covers() && place.commonLen < prefix.len()) {
        Place const next = childTowards(place, prefix);
        if (next.node == nullptr) {
            break;
        }
        place = next;
    }
    return place;
}

Node* nextBelow(Node* top, Node* node) noexcept {
    for (U32 bit = 0; bit <= 1; ++bit) {
        if (node->bitNode(bit) != nullptr) {
            return node->bitNode(bit);
        }
    }
    for (; node != top; node = node->parent()) {
        Node* const parent = node->parent();
        if (node == parent->bitNode(0) && parent->bitNode(1) != nullptr) {
            return parent->bitNode(1);
        }
    }
    return nullptr;
}

/** The node itself when it is a FIB route, else the first route after it below `top`. */
Node* routeFrom(Node* top, Node* node) noexcept {
    while (node != nullptr && !node->fibRoute()) {
        node = nextBelow(top, node);
    }
    return node;
}

}  // namespace

Node* longestMatch(Trie const& trie, Nimbal::IpGenPrefix const& prefix) noexcept {
    Node* longest = nullptr;
    if (trie.root() == nullptr || prefix.af() != trie.af()) {
        return nullptr;
    }
    Place place{trie.root(), trie.root()->commonLen(prefix)};
    while (place.node != nullptr && place.covers()) {
        if (place.node->fibRoute()) {
            longest = place.node;
        }
        if (place.commonLen == prefix.len()) {
            break;
        }
        place = childTowards(place, prefix);
    }
    return longest;
}

Node* longestMatch(Trie const& trie, Nimbal::IpAddr const& address) noexcept {
    return longestMatch(trie, Nimbal::IpGenPrefix(address, 32));
}

Node* longestMatch(Trie const& trie, Nimbal::Ip6Addr const& address) noexcept {
    return longestMatch(trie, Nimbal::IpGenPrefix(address, 128));
}

Node* findExact(Trie const& trie, Nimbal::IpGenPrefix const& prefix) noexcept {
    if (trie.root() == nullptr) {
        return nullptr;
    }
    Node* const node = descend(trie.root(), prefix).node;
    return node->prefixRef()->prefix() == prefix ? node : nullptr;
}

RoutesUnder::Iterator& RoutesUnder::Iterator::operator++() noexcept {
    node_ = routeFrom(top_, nextBelow(top_, node_));
    return *this;
}

RoutesUnder::Iterator RoutesUnder::begin() const noexcept {
    return {top_, routeFrom(top_, top_)};
}

RoutesUnder routesUnder(Trie const& trie, Nimbal::IpGenPrefix const& prefix) noexcept {
    if (trie.root() == nullptr || prefix.af() != trie.af()) {
        return RoutesUnder(nullptr);
    }
    Place const place = descend(trie.root(), prefix);
    return RoutesUnder(place.commonLen == prefix.len() ? place.node : nullptr);
}

RoutesUnder allRoutes(Trie const& trie) noexcept {
    return RoutesUnder(trie.root());
}

void removeAll(Trie& trie) noexcept {
    Node* node = trie.root();
    while (node != nullptr) {
        if (node->bitNode(0) != nullptr || node->bitNode(1) != nullptr) {
            node = node->bitNode(node->bitNode(0) != nullptr ? 0 : 1);
            continue;
        }
        Node* const parent = node->parent();
        if (parent != nullptr) {
            parent->bitNodeIs(parent->bitNode(0) == node ? 0 : 1, nullptr);
        }
        node->fibRouteIs(false);
        node->partitionNodeIs(false);
        trie.deallocateNode(node);
        node = parent;
    }
    trie.rootIs(nullptr);
}

namespace {

/** Why the start node's own label and the new route's do not go together; empty when they do. */
std::optional<String> labelRefusal(Node const& start, PartitionId::Ptr const& partitionId,
                                   U32 hwTable) {
    if (start.hwTable() != hwTable) {
        return Vexo::formatString("the start node is in hardware table %u, the route in %u",
                                  start.hwTable(), hwTable);
    }
    if (start.partitionId() != partitionId) {
        return "the route carries another partition id object than the start node";
    }
    return std::nullopt;
}

/** Why a node that holds the prefix cannot take the role; empty when it can. */
std::optional<String> roleRefusal(Node const& node, bool fibRoute, bool partitionNode) {
    if (fibRoute && node.fibRoute()) {
        return "the prefix is a FIB route already";
    }
    if (partitionNode && node.partitionNode()) {
        return "the prefix is a partition node already";
    }
    if (partitionNode && node.pendingState()) {
        return "the prefix's node still has a pending state";
    }
    return std::nullopt;
}

}  // namespace

std::optional<String> insertionRefusal(Trie const& trie, Nimbal::IpGenPrefix const& newPrefix,
                                       Node const* fromPartitionNode, bool fibRoute,
                                       bool partitionNode, PartitionId::Ptr const& partitionId,
                                       U32 hwTable) {
    if (newPrefix.af() != trie.af()) {
        return "the prefix is not of the trie's address family";
    }
    if (!fibRoute && !partitionNode) {
        return "the prefix is to be neither a FIB route nor a partition node";
    }
    if (trie.root() == nullptr) {
        return fromPartitionNode != nullptr
                   ? std::optional<String>("there is a start node, but the trie is empty")
                   : std::nullopt;
    }
    Node* const start =
        fromPartitionNode != nullptr ? const_cast<Node*>(fromPartitionNode) : trie.root();
    Place const place = descend(start, newPrefix);
    if (fromPartitionNode != nullptr && place.node == start && !place.covers()) {
        return "the start node does not cover the prefix";
    }
    bool const again = place.covers() && place.commonLen == newPrefix.len();
    if (!again && place.commonLen >= addressBits) {
        return "the prefix is longer than any address";
    }
    if (auto refusal = again ? roleRefusal(*place.node, fibRoute, partitionNode) : std::nullopt) {
        return refusal;
    }
    // An insertion at the start node's own prefix gives that node the new label before the two are
    // compared.
    bool const atStart = again && place.node == start;
    return fromPartitionNode != nullptr && fibRoute && !atStart
               ? labelRefusal(*start, partitionId, hwTable)
               : std::nullopt;
}

}  // namespace LpmTrie
