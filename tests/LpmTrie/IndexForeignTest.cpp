#include <tests/LpmTrie/IndexFrom.h>
#include <tests/LpmTrie/TrieFixture.h>
#include <tests/Support/AssertionText.h>
#include <tests/Support/LeakCheck.h>

#include <LpmTrie/RouteQueries.h>

#include <gmock/gmock.h>

#include <functional>

/* An index gives up where another trie changes its nodes, and hooks cannot slip labels or flags
 * past it. */

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

/** Has something done to each node that it makes, before the trie gets it. */
class MeddlingTrie : public Trie {
public:
    using Trie::Trie;
    Node* allocateNode(Nimbal::IpGenPrefixRef::Ptr const& prefixRef, bool fibRoute,
                       bool partitionNode, PartitionId::Ptr const& partitionId,
                       U32 hwTable) override {
        Node* const node =
            Trie::allocateNode(prefixRef, fibRoute, partitionNode, partitionId, hwTable);
        if (meddle) {
            meddle(node);
        }
        return node;
    }
    std::function<void(Node*)> meddle;
};

class IndexHookTest : public TestSupport::LeakChecked<testing::TestWithParam<U32>> {
protected:
    IndexHookTest() {
        trie_->afIs(AddressFamily::ipv4);
        trie_->insertFromRoot(prefix("10.0.0.0/8"), true, true, id_, 1);
        for (auto const* text : {"10.1.0.0/16", "10.1.2.0/24", "10.1.2.128/26"}) {
            route(text);
        }
    }
    ~IndexHookTest() override {
        trie_->meddle = nullptr;
        removeAll(*trie_);
    }

    Node* route(std::string_view text) const {
        return trie_->insert(prefix(text), trie_->root(), true, false, id_, 1).node();
    }
    std::vector<String> lines() const { return drawing(*trie_); }

    IndexFrom const from_{GetParam()};
    PartitionId::Ptr const id_ = PartitionId::PartitionIdIs(PartitionIdValue(3), ~0U, nullptr);
    Vexo::Ptr<MeddlingTrie> const trie_{new MeddlingTrie(1)};
};

TEST_P(IndexHookTest, routeThatAHookMakesAPartitionIsCountedInThatAlone) {
    for (auto const* text : {"10.1.2.0/28", "10.1.2.64/26"}) {
        IpGenPrefix const own = prefix(text);
        trie_->meddle = [&](Node* node) {
            if (node->prefixRef()->prefix() == own) {
                node->partitionNodeIs(true);
            }
        };
        bool const fromRoot = own.len() == 28;
        Node* const node =
            fromRoot ? trie_->insertFromRoot(own, true, false, id_, 1).node() : route(text);
        EXPECT_EQ(node->partitionRouteCount(), 1U);
        trie_->verify();
    }
    EXPECT_THAT(lines(),
                testing::ElementsAre(
                    "Partition,Fib,10.0.0.0/8,6,4,0x3,hw:1,cp", "  0 Fib,10.1.0.0/16,5,3,0x3,hw:1",
                    "    0 Fib,10.1.2.0/24,4,2,0x3,hw:1", "      0 Int,10.1.2.0/25,2,0,nil,hw:1",
                    "        0 Partition,Fib,10.1.2.0/28,1,1,0x3,hw:1,cp",
                    "        1 Partition,Fib,10.1.2.64/26,1,1,0x3,hw:1,cp",
                    "      1 Fib,10.1.2.128/26,1,1,0x3,hw:1"));
}

TEST_P(IndexHookTest, flagThatAHookSetsBeforeItThrowsDoesNotMislead) {
    std::vector<String> expected = lines();
    trie_->meddle = [&](Node* node) {
        LpmTrie::findExact(*trie_, prefix("10.1.0.0/16"))->partitionNodeIs(true);
        node->fibRouteIs(false);
        trie_->deallocateNode(node);
        throw std::bad_alloc();
    };
    EXPECT_THROW(route("10.1.2.0/28"), std::bad_alloc);
    Node* const flagged = LpmTrie::findExact(*trie_, prefix("10.1.0.0/16"));
    EXPECT_TRUE(flagged->partitionNode());
    flagged->partitionNodeIs(false);
    flagged->pendingStateIs(PendingState());
    EXPECT_EQ(lines(), expected);
    trie_->verify();
}

INSTANTIATE_TEST_SUITE_P(WithAndWithout, IndexHookTest, testing::Values(U32{0}, never),
                         [](testing::TestParamInfo<U32> const& kind) {
                             return String(kind.param == never ? "plain" : "indexed");
                         });

}  // namespace
