#include <tests/LpmTrie/IndexFrom.h>
#include <tests/LpmTrie/TrieFixture.h>
#include <tests/Support/AssertionText.h>
#include <tests/Support/LeakCheck.h>

#include <LpmTrie/RouteQueries.h>

/* An index gives up where another trie changes its nodes, and hooks cannot slip labels past it. */

namespace {

using namespace TrieTests;

class IndexForeignTest : public TestSupport::LeakCheck {
protected:
    IndexForeignTest() {
        owner_->afIs(AddressFamily::ipv4);
        other_->afIs(AddressFamily::ipv4);
        for (auto const* text : {"10.0.0.0/8", "10.1.0.0/16", "10.1.2.128/25", "11.0.0.0/8"}) {
            owner_->insertFromRoot(prefix(text), true, false, nullptr, 0);
        }
    }
    ~IndexForeignTest() override {
        other_->rootIs(nullptr);
        removeAll(*owner_);
    }

    IndexFrom const from_{0};
    Trie::Ptr const owner_ = LpmTrie::trieFactory(1);
    Trie::Ptr const other_ = LpmTrie::trieFactory(2);
};

TEST_F(IndexForeignTest, partitionInsertedThroughAnotherTrieIsFoundByBoth) {
    other_->rootIs(owner_->root());
    auto const id = PartitionId::PartitionIdIs(PartitionIdValue(3), ~0U, nullptr);
    Node* const partition =
        other_->insertFromRoot(prefix("10.1.2.0/24"), false, true, id, 0).node();
    EXPECT_EQ(owner_->findPartitionNode(prefix("10.1.2.128/25"), false).partitionNode(), partition);
    EXPECT_EQ(other_->findPartitionNode(prefix("10.1.2.128/25"), false).partitionNode(), partition);
    owner_->verify();
    owner_->mergePartitionNodeCount(partition);
    owner_->removeNode(partition, true);
    owner_->updatePartitionId(owner_->root(), nullptr);
    owner_->verify();
}

TEST_F(IndexForeignTest, nodeRemovedThroughAnotherTrieWithAnIndexIsGoneForBoth) {
    for (auto const* text : {"20.0.0.0/8", "20.1.0.0/16", "21.0.0.0/8"}) {
        other_->insertFromRoot(prefix(text), true, false, nullptr, 0);
    }
    Node* const node = LpmTrie::findExact(*owner_, prefix("10.1.2.128/25"));
    other_->removeNode(node, false);
    EXPECT_EQ(LpmTrie::findExact(*owner_, prefix("10.1.2.128/25")), nullptr);
    owner_->verify();
    other_->verify();
    Node* const foreign = LpmTrie::findExact(*owner_, prefix("10.1.0.0/16"));
    EXPECT_EQ(other_->preorderNextNode(nullptr, foreign, 1, false, false).node(),
              LpmTrie::findExact(*owner_, prefix("11.0.0.0/8")));
    removeAll(*other_);
}

TEST_F(IndexForeignTest, routeInsertedAtAnotherTriesNodeIsNoRouteOfTheTriesOwn) {
    for (auto const* text : {"20.0.0.0/8", "21.0.0.0/8"}) {
        other_->insertFromRoot(prefix(text), true, false, nullptr, 0);
    }
    Node* const start = LpmTrie::findExact(*owner_, prefix("10.1.0.0/16"));
    for (bool const searchBetween : {true, false}) {
        auto const route = prefix(searchBetween ? "10.1.7.0/24" : "10.1.8.0/24");
        Node* const foreign = other_->insert(route, start, true, false, nullptr, 0).node();
        EXPECT_EQ(LpmTrie::findExact(*owner_, route), foreign);
        if (searchBetween) {
            EXPECT_EQ(other_->findPartitionNode(route, false).partitionNode(), nullptr);
        }
        Node* const own = other_->insertFromRoot(route, true, false, nullptr, 0).node();
        EXPECT_NE(own, foreign);
        EXPECT_EQ(LpmTrie::findExact(*other_, route), own);
        EXPECT_EQ(LpmTrie::findExact(*owner_, route), foreign);
    }
    owner_->verify();
    other_->verify();
    removeAll(*other_);
}

/** Gives nodes another table or another id than asked for. */
class MislabellingTrie : public Trie {
public:
    using Trie::Trie;
    Node* allocateNode(Nimbal::IpGenPrefixRef::Ptr const& prefixRef, bool fibRoute,
                       bool partitionNode, PartitionId::Ptr const& partitionId,
                       U32 hwTable) override {
        return Trie::allocateNode(prefixRef, fibRoute, partitionNode,
                                  otherId ? otherId : partitionId, hwTable + (otherTable ? 1 : 0));
    }
    bool otherTable = false;
    PartitionId::Ptr otherId;
};

enum class Mislabelled { table, id };

void insertMislabelled(U32 indexFrom, Mislabelled what) {
    IndexFrom const from(indexFrom);
    Vexo::Ptr<MislabellingTrie> const trie(new MislabellingTrie(1));
    trie->afIs(AddressFamily::ipv4);
    auto const id = PartitionId::PartitionIdIs(PartitionIdValue(3), ~0U, nullptr);
    Node* const top = trie->insertFromRoot(prefix("0.0.0.0/0"), false, true, id, 1).node();
    trie->insert(prefix("10.0.0.0/8"), top, true, false, id, 1);
    trie->insert(prefix("10.1.0.0/16"), top, true, false, id, 1);
    if (what == Mislabelled::table) {
        trie->otherTable = true;
    } else {
        trie->otherId = PartitionId::PartitionIdIs(PartitionIdValue(4), ~0U, nullptr);
    }
    trie->insert(prefix("10.1.2.0/24"), top, true, false, id, 1);
}

TEST(IndexHookDeathTest, labelsThatAHookHasChangedAreNamedWithAndWithoutAnIndex) {
    String const signature =
        "void LpmTrie::Trie::updateNode(LpmTrie::Node*, bool, LpmTrie::Node*, bool, bool)";
    for (U32 const indexFrom : {U32{0}, never}) {
        EXPECT_EXIT(insertMislabelled(indexFrom, Mislabelled::table), aborts,
                    trieAssertion("fromPartitionNode->hwTable() == node->hwTable()",
                                  "unmatched hwTable. Node:Fib,10.1.2.0/24,0,0,0x3,hw:2 "
                                  "partition:Partition,0.0.0.0/0,3,2,0x3,hw:1,cp",
                                  signature));
        EXPECT_EXIT(insertMislabelled(indexFrom, Mislabelled::id), aborts,
                    trieAssertion("fromPartitionNode->partitionId() == node->partitionId()",
                                  "unmatched partitionId. Node:Fib,10.1.2.0/24,0,0,0x4,hw:1 "
                                  "partition:Partition,0.0.0.0/0,3,2,0x3,hw:1,cp",
                                  signature));
    }
}

}  // namespace
