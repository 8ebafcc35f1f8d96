#pragma once

#include <client/ClientTrie.h>

#include <tests/Support/LeakCheck.h>
#include <tests/client/Space.h>

#include <gtest/gtest.h>

namespace ClientTest {

using LpmClient::ClientTrie;
using LpmClient::RouteNode;
using LpmClient::routeNode;
using LpmTrie::Node;
using LpmTrie::PartitionId;
using LpmTrie::PendingState;

inline IpGenPrefix prefix(char const* text) {
    return IpGenPrefix::fromString(text);
}

/** A client's trie made by hand: one partition at the top, in hardware table 1. */
class HandmadeTrie : public TestSupport::LeakCheck {
protected:
    ~HandmadeTrie() override { LpmTrie::removeAll(*trie_); }

    PartitionId::Ptr newId() {
        return PartitionId::PartitionIdIs(LpmTrie::PartitionIdValue(numbers_->takeNextFree()),
                                          ~U32{0}, numbers_);
    }
    /** A partition nested in what is there. */
    RouteNode* nest(char const* text, U32 hwTable = 1) {
        Node* const node =
            trie_->insertFromRoot(prefix(text), false, true, newId(), hwTable).node();
        node->pendingStateIs(PendingState());
        return routeNode(node);
    }
    RouteNode* add(char const* text) {
        Node* const partition = trie_->findPartitionNode(prefix(text), false).partitionNode();
        return routeNode(trie_
                             ->insert(prefix(text), partition, true, false,
                                      partition->partitionId(), partition->hwTable())
                             .node());
    }
    RouteNode* at(char const* text) { return routeNode(LpmTrie::findExact(*trie_, prefix(text))); }

    Torvel::Bitmap::Ptr const numbers_ = Torvel::Bitmap::BitmapIs(20);
    ClientTrie::Ptr const trie_ = ClientTrie::ClientTrieIs(1, AddressFamily::ipv4);
    RouteNode* const top_ = nest("0.0.0.0/0");
};

}  // namespace ClientTest
