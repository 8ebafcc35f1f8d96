#include <client/ClientTrie.h>

namespace LpmClient {

using LpmTrie::PartitionId;

RouteNode* partitionRootOf(LpmTrie::Node* node) noexcept {
    while (!node->partitionNode()) {
        node = node->parent();
    }
    return routeNode(node);
}

RouteNode const* nearestRouteAbove(LpmTrie::Node const* node) noexcept {
    do {
        node = node->parent();
    } while (node != nullptr && !node->fibRoute());
    return routeNode(node);
}

ClientTrie::Ptr ClientTrie::ClientTrieIs(U32 vrfId, Nimbal::AddressFamily af) {
    Ptr trie(new ClientTrie(vrfId));
    trie->hasNotificationActiveIs(true);
    trie->afIs(af);
    return trie;
}

LpmTrie::Node* ClientTrie::allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef,
                                        bool fibRoute, bool partitionNode,
                                        PartitionId::Ptr const& partitionId, U32 hwTable) {
    return new RouteNode(prefixRef, fibRoute, partitionNode, partitionId, hwTable);
}

void ClientTrie::deallocateNode(LpmTrie::Node* node) {
    delete node;
}

void ClientTrie::movedNode(LpmTrie::Node* node, PartitionId::Ptr const& /*oldPartitionId*/,
                           U32 /*oldHwTable*/) {
    moved_.push_back(routeNode(node));
}

}  // namespace LpmClient
