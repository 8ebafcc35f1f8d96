#include <LpmTrie/Trie.h>

#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>
#include <tests/Support/AllocationFailure.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Support/TraceCapture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

/* The two operations by which a trie makes and frees its nodes, and a client's own in their place.
 */

namespace {

using LpmTrie::Node;
using LpmTrie::PartitionId;
using LpmTrie::Trie;
using LpmTrie::trieFactory;
using Nimbal::IpGenPrefixRef;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using TestSupport::TraceCapture;
using TrieTests::aborts;
using TrieTests::line;
using TrieTests::prefix;
using TrieTests::trieAssertion;
using Vexo::String;
using Vexo::U64;
namespace Signature = TrieTests::Signature;

U64 liveNodes() {
    return Vexo::allocationCounts("LpmTrie::Node").live();
}

class TrieNodeHooksTest : public TestSupport::LeakCheck {
protected:
    Trie::Ptr const trie_ = trieFactory(1);
    IpGenPrefixRef::Ptr const holder_ = IpGenPrefixRef::IpGenPrefixRefIs(prefix("10.0.0.0/8"));
    PartitionId::Ptr const id_ =
        PartitionId::PartitionIdIs(LpmTrie::PartitionIdValue(5), 0xffff, {});
};

TEST_F(TrieNodeHooksTest, aNodeIsMadeOfTheArgumentsAndLinkedToNothing) {
    for (bool const fibRoute : {false, true}) {
        for (bool const partitionNode : {false, true}) {
            Node* const node = trie_->allocateNode(holder_, fibRoute, partitionNode, id_, 3);
            EXPECT_EQ(liveNodes(), 1U);
            TrieTests::NodeState expected(node);
            expected.parent = expected.child0 = expected.child1 = nullptr;
            expected.prefixRef = holder_.get();
            expected.fibRoute = fibRoute;
            expected.partitionNode = partitionNode;
            expected.partitionId = id_.get();
            expected.hwTable = 3;
            expected.routeCount = expected.partitionRouteCount = 0;
            expected.pendingState = LpmTrie::PendingState();
            EXPECT_EQ(TrieTests::NodeState(node), expected);
            EXPECT_EQ(holder_->references(), 2U);
            EXPECT_EQ(id_->references(), 2U);
            EXPECT_EQ(trie_->root(), nullptr);
            node->fibRouteIs(false);
            node->partitionNodeIs(false);
            trie_->deallocateNode(node);
            EXPECT_EQ(liveNodes(), 0U);
            EXPECT_EQ(holder_->references(), 1U);
            EXPECT_EQ(id_->references(), 1U);
        }
    }
}

TEST_F(TrieNodeHooksTest, aNodeNeedsNoPartitionId) {
    Node* const node = trie_->allocateNode(holder_, false, false, {}, 0);
    EXPECT_EQ(node->partitionId(), nullptr);
    trie_->deallocateNode(node);
}

TEST_F(TrieNodeHooksTest, nothingButTheFlagsStopsANodeFromBeingFreed) {
    Node* const node = trie_->allocateNode(holder_, false, false, id_, 3);
    node->parentIs(node);
    node->bitNodeIs(0, node);
    node->bitNodeIs(1, node);
    node->routeCountInc(1);
    node->partitionRouteCountIs(1);
    node->pendingStateIs(~LpmTrie::PendingState());
    trie_->deallocateNode(node);
    EXPECT_EQ(liveNodes(), 0U);
}

TEST_F(TrieNodeHooksTest, nothingIsLeftBehindWhenMemoryRunsOut) {
    Node* node = nullptr;
    auto const sites = TestSupport::failEachAllocation(
        [&] { node = trie_->allocateNode(holder_, false, false, id_, 0); },
        [&] {
            EXPECT_EQ(node, nullptr);
            EXPECT_EQ(liveNodes(), 0U);
            EXPECT_EQ(holder_->references(), 1U);
            EXPECT_EQ(id_->references(), 1U);
        });
    EXPECT_GE(sites, 1U);
    trie_->deallocateNode(node);
}

TEST_F(TrieNodeHooksTest, tracesAreALineBeforeAndOneAfterTheNodeIsMadeAndOneBeforeItIsFreed) {
    TraceCapture capture;
    Node* const node = trie_->allocateNode(holder_, true, false, id_, 3);
    EXPECT_THAT(
        capture.lines(),
        ElementsAre(
            line(8, Signature::allocateNode + " prefix:10.0.0.0/8 fibRoute:1" +
                        " partitionNode:0 partitionid:PartitionId:5 references:1 hwTable:3"),
            line(8, Signature::allocateNode + "node:Fib,10.0.0.0/8,0,0,0x5,hw:3")));
    node->fibRouteIs(false);
    capture.clear();
    trie_->deallocateNode(node);
    EXPECT_THAT(capture.lines(),
                ElementsAre(line(8, Signature::deallocateNode + "Int,10.0.0.0/8,0,0,0x5,hw:3")));
}

TEST_F(TrieNodeHooksTest, tracesTellOfAMissingIdAndOfEveryFlag) {
    TraceCapture const capture;
    Node* const node = trie_->allocateNode(holder_, false, true, {}, 0xffffffffU);
    EXPECT_THAT(
        capture.lines(),
        ElementsAre(line(8, Signature::allocateNode + " prefix:10.0.0.0/8 fibRoute:0" +
                                " partitionNode:1 partitionid:PartitionId null" +
                                " hwTable:4294967295"),
                    line(8, Signature::allocateNode + "node:Partition,10.0.0.0/8,0,0,nil,hw:-1")));
    delete node;
}

TEST_F(TrieNodeHooksTest, tracesTellTheIdsReferencesAsTheCallerHoldsThem) {
    PartitionId::Ptr const another = id_;
    TraceCapture const capture;
    Node* const node = trie_->allocateNode(holder_, false, false, id_, 0);
    EXPECT_THAT(capture.texts()[0], HasSubstr(" partitionid:PartitionId:5 references:2 hwTable:0"));
    trie_->deallocateNode(node);
}

TEST_F(TrieNodeHooksTest, tracesTellOfAMissingPrefix) {
    TraceCapture const capture;
    Node* const node = trie_->allocateNode({}, true, false, id_, 3);
    ASSERT_FALSE(capture.lines().empty());
    EXPECT_EQ(capture.lines()[0],
              line(8, Signature::allocateNode + " prefix:prefixRef null fibRoute:1" +
                          " partitionNode:0 partitionid:PartitionId:5 references:1 hwTable:3"));
    EXPECT_EQ(node->prefixRef(), nullptr);
    delete node;
}

TEST_F(TrieNodeHooksTest, tracesStandAtLevelEightAlone) {
    TraceCapture const capture("LpmTrie/0-7,LpmTrie/9");
    trie_->deallocateNode(trie_->allocateNode(holder_, false, false, id_, 3));
    EXPECT_THAT(capture.texts("LpmTrie"), IsEmpty());
}

class TrieNodeHooksDeathTest : public TrieNodeHooksTest {
protected:
    static auto refusal(String const& nodeText) {
        return trieAssertion("!node->partitionNode() && !node->fibRoute()", " node " + nodeText,
                             Signature::deallocateNode);
    }
};

TEST_F(TrieNodeHooksDeathTest, onlyAnInternalNodeMayBeFreed) {
    Node fib(holder_, true, false, id_, 3);
    EXPECT_EXIT(trie_->deallocateNode(&fib), aborts, refusal("Fib,10.0.0.0/8,0,0,0x5,hw:3"));
    Node partition(holder_, false, true, id_, 3);
    EXPECT_EXIT(trie_->deallocateNode(&partition), aborts,
                refusal("Partition,10.0.0.0/8,0,0,0x5,hw:3"));
    Node both(holder_, true, true, id_, 3);
    EXPECT_EXIT(trie_->deallocateNode(&both), aborts,
                refusal("Partition,Fib,10.0.0.0/8,0,0,0x5,hw:3"));
}

TEST_F(TrieNodeHooksDeathTest, aBrokenNodeIsNotFreed) {
    Node node(holder_, false, false, id_, 3);
    EXPECT_EXIT((TrieTests::breakEyeCatcher(&node), trie_->deallocateNode(&node)), aborts,
                TrieTests::nodeAssertion("eyeCatcher_ == TRIE_NODE_EYECATCHER",
                                         "Freeing invalid node:" + TrieTests::address(&node),
                                         "virtual LpmTrie::Node::~Node()"));
}

}  // namespace
