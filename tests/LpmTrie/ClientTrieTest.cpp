#include <LpmTrie/Trie.h>

#include <tests/LpmTrie/TrieFixture.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Support/TraceCapture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using LpmTrie::Node;
using LpmTrie::PartitionId;
using LpmTrie::Trie;
using Nimbal::IpGenPrefixRef;
using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::Not;
using TestSupport::TraceCapture;
using TrieTests::prefix;
using Vexo::String;
using Vexo::U32;

/** A client's node and the trie that makes it. */
class ClientNode final : public Node {
public:
    using Node::Node;
    String getHwTableStr() const override { return "bank" + std::to_string(hwTable()); }
};

class ClientTrie final : public Trie {
public:
    using Trie::Trie;
    Node* allocateNode(IpGenPrefixRef::Ptr const& prefixRef, bool fibRoute, bool partitionNode,
                       PartitionId::Ptr const& partitionId, U32 hwTable) override {
        ++made_;
        return new ClientNode(prefixRef, fibRoute, partitionNode, partitionId, hwTable);
    }
    void deallocateNode(Node* node) override {
        EXPECT_NE(dynamic_cast<ClientNode*>(node), nullptr);
        ++freed_;
        delete node;
    }

    int made_ = 0;
    int freed_ = 0;
};

class ClientTrieTest : public TestSupport::LeakCheck {
protected:
    ClientTrieTest() { trie_->afIs(Nimbal::AddressFamily::ipv4); }

    Vexo::Ptr<ClientTrie> const trie_{new ClientTrie(1)};
    PartitionId::Ptr const id_ =
        PartitionId::PartitionIdIs(LpmTrie::PartitionIdValue(5), 0xffff, {});
};

TEST_F(ClientTrieTest, itsOwnNodesAreMadeAndFreed) {
    trie_->insertFromRoot(prefix("10.0.0.0/8"), true, false, id_, 7);
    trie_->insertFromRoot(prefix("11.0.0.0/8"), true, false, id_, 7);
    EXPECT_EQ(trie_->made_, 3) << "two routes and the node that joins them";
    for (TrieTests::PlacedNode const& placed : TrieTests::placedNodes(trie_->root())) {
        EXPECT_NE(dynamic_cast<ClientNode*>(placed.node), nullptr);
    }
    trie_->remove(prefix("10.0.0.0/8"));
    trie_->remove(prefix("11.0.0.0/8"));
    EXPECT_EQ(trie_->freed_, 3);
    EXPECT_EQ(trie_->root(), nullptr);
}

TEST_F(ClientTrieTest, itsNodesTextStandsInEveryTraceLineThatPrintsANode) {
    TraceCapture const capture("LpmTrie/0-9");
    trie_->insertFromRoot(prefix("10.0.0.0/8"), true, true, id_, 7);
    trie_->insertFromRoot(prefix("10.1.0.0/16"), true, false, id_, 7);
    trie_->insertFromRoot(prefix("11.0.0.0/8"), true, false, id_, 7);
    trie_->movedNode(trie_->root(), id_, 7);
    for (char const* text : {"10.0.0.0/8", "10.1.0.0/16", "11.0.0.0/8"}) {
        trie_->removeNode(trie_->findPartitionNode(prefix(text), false).node(), true);
    }
    std::vector<String> const texts = capture.texts();
    EXPECT_THAT(texts, Each(Not(HasSubstr(",hw:"))));
    EXPECT_THAT(texts, Contains(HasSubstr("Node:Int,10.0.0.0/7,3,1,nil,bank0 oldPartitionId:")));
    auto const withText = std::count_if(texts.begin(), texts.end(), [](String const& text) {
        return text.find(",bank") != String::npos;
    });
    EXPECT_GE(withText, 20);
    EXPECT_EQ(trie_->root(), nullptr);
}

}  // namespace
