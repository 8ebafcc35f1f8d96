#include <tests/LpmTrie/AbortedTrie.h>
#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

namespace {

using namespace TrieTests;
using testing::ElementsAre;

/** A route, three internal nodes with one child each, and a route, as no operation leaves them. */
class CompactionTest : public TrieFixture {
protected:
    CompactionTest() {
        trie().rootIs(top_);
        hang(top_, 0, high_);
        hang(high_, 0, middle_);
        hang(middle_, 1, low_);
        hang(low_, 0, leaf_);
        count(top_, 2, 2);
        for (Node* const node : {high_, middle_, low_, leaf_}) {
            count(node, 1, 1);
        }
    }

    Node* const top_ = makeRoute("0.0.0.0/0");
    Node* const high_ = make("10.0.0.0/8");
    Node* const middle_ = make("10.0.0.0/9");
    Node* const low_ = make("10.64.0.0/10");
    Node* const leaf_ = makeRoute("10.64.0.0/16");
};

TEST_F(CompactionTest, aWholeChainGoesUpToTheNextRoute) {
    EXPECT_EQ(trie().removeNode(leaf_, false), TrieNodeReturnCode(nullptr, true));
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,1,1,nil,hw:0"));
}

TEST_F(CompactionTest, aWholeChainGoesUpToAPartitionNode) {
    middle_->partitionNodeIs(true);
    EXPECT_EQ(trie().removeNode(leaf_, false), TrieNodeReturnCode(nullptr, true));
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,1,2,nil,hw:0",       //
                                             "  0 Int,10.0.0.0/8,0,1,nil,hw:0",  //
                                             "    0 Partition,10.0.0.0/9,0,0,nil,hw:0,cp"));
}

TEST_F(CompactionTest, aWholeChainGoesUpToANodeThatIsPendingRemoval) {
    middle_->pendingStateIs(PendingState::removePartition_());
    EXPECT_EQ(trie().removeNode(leaf_, false), TrieNodeReturnCode(nullptr, true));
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,1,1,nil,hw:0",       //
                                             "  0 Int,10.0.0.0/8,0,0,nil,hw:0",  //
                                             "    0 Int,10.0.0.0/9,0,0,nil,hw:0,dp"));
}

TEST_F(CompactionTest, aChainEndsWhereASecondChildHangs) {
    Node* const other = makeRoute("10.128.0.0/9");
    count(other, 1, 1);
    hang(high_, 1, other);
    EXPECT_EQ(trie().removeNode(leaf_, false), TrieNodeReturnCode(nullptr, true));
    // The branch has lost one side, and a node with one child goes as well.
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,1,1,nil,hw:0",  //
                                             "  0 Fib,10.128.0.0/9,1,1,nil,hw:0"));
    EXPECT_EQ(trie().root()->bitNode(0), other);
}

TEST_F(CompactionTest, aNodeWithTwoChildrenEndsTheWayUp) {
    Node* const zero = makeRoute("10.64.0.0/17");
    Node* const one = makeRoute("10.64.128.0/17");
    hang(leaf_, 0, zero);
    hang(leaf_, 1, one);
    EXPECT_EQ(trie().removeNode(leaf_, false), TrieNodeReturnCode(nullptr, true));
    EXPECT_EQ(low_->bitNode(0), leaf_);
    EXPECT_TRUE(leaf_->internal());
    EXPECT_EQ(trie().root(), top_);
    EXPECT_EQ(placedNodes(top_).size(), 7U);
}

TEST_F(CompactionTest, aChainUpToTheRootLeavesNothing) {
    top_->fibRouteIs(false);
    EXPECT_EQ(trie().removeNode(leaf_, false), TrieNodeReturnCode(nullptr, true));
    EXPECT_EQ(trie().root(), nullptr);
}

TEST_F(CompactionTest, aChainInTheMiddleIsClosedByTheChildBelowIt) {
    EXPECT_EQ(trie().removeNode(middle_, false), TrieNodeReturnCode(nullptr, true));
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,2,2,nil,hw:0",  //
                                             "  0 Int,10.64.0.0/10,1,1,nil,hw:0",
                                             "    0 Fib,10.64.0.0/16,1,1,nil,hw:0"));
}

TEST_F(CompactionTest, onlyTheNodeThatWasNamedGivesItsIdBackWhenItStays) {
    middle_->partitionIdIs(partitionId(5));
    middle_->pendingStateIs(PendingState::removePartition_());
    low_->partitionIdIs(partitionId(6));
    leaf_->partitionIdIs(partitionId(7));
    trie().removeNode(leaf_, false);
    EXPECT_TRUE(bitmap().isSet(5));
    EXPECT_FALSE(bitmap().isSet(6)) << "it has left with its node";
    EXPECT_FALSE(bitmap().isSet(7));
}

using CompactionDeathTest = CompactionTest;

TEST_F(CompactionDeathTest, aParentThatDoesNotPointBackIsFatal) {
    high_->bitNodeIs(0, nullptr);
    // The counters above have already let the route go.
    EXPECT_EXIT(
        trie().removeNode(middle_, false), aborts,
        trieAssertion("parent->bitNode( parentBit ) == node",
                      " node:Int,10.0.0.0/9,1,1,nil,hw:0 parent:Int,10.0.0.0/8,1,1,nil,hw:0",
                      Signature::removeNode));
    EXPECT_EXIT(
        trie().removeNode(leaf_, false), aborts,
        trieAssertion("parent->bitNode( parentBit ) == node",
                      " node:Int,10.0.0.0/9,0,0,nil,hw:0 parent:Int,10.0.0.0/8,0,0,nil,hw:0",
                      Signature::removeNode));
    high_->bitNodeIs(0, middle_);
}

TEST_F(CompactionDeathTest, aRouteThatIsNotCountedCannotGo) {
    middle_->routeCountDec(1);
    EXPECT_EXIT(trie().remove(prefix("10.64.0.0/16")), aborts,
                nodeAssertion("routeCount_ >= decr",
                              " routeCount_:0 decr:1 node Int,10.0.0.0/9,0,0,nil,hw:0",
                              Signature::nodeRouteCountDec));
    EXPECT_THAT(drawingAfterAssertion(trie(), [this] { trie().remove(prefix("10.64.0.0/16")); }),
                ElementsAre("Fib,0.0.0.0/0,2,2,nil,hw:0",             //
                            "  0 Int,10.0.0.0/8,1,1,nil,hw:0",        //
                            "    0 Int,10.0.0.0/9,0,0,nil,hw:0",      //
                            "      1 Int,10.64.0.0/10,0,0,nil,hw:0",  //
                            "        0 Fib,10.64.0.0/16,0,0,nil,hw:0"));
}

TEST_F(CompactionDeathTest, aBrokenNodeIsNotRemoved) {
    auto const removeBroken = [this](Node* broken, Node* removed) {
        breakEyeCatcher(broken);
        trie().removeNode(removed, false);
    };
    EXPECT_EXIT(removeBroken(leaf_, leaf_), aborts,
                brokenEyeCatcher(leaf_, Signature::nodePartitionRouteCountDec));
    EXPECT_EXIT(removeBroken(top_, leaf_), aborts,
                brokenEyeCatcher(top_, Signature::nodePartitionRouteCountDec));
    EXPECT_EXIT(removeBroken(low_, middle_), aborts,
                brokenEyeCatcher(low_, "void LpmTrie::Node::parentIs(LpmTrie::Node*)"));
    EXPECT_EXIT(removeBroken(middle_, middle_), aborts,
                brokenEyeCatcher(middle_, "void LpmTrie::Node::partitionIdIs(const Ptr&)"));
}

}  // namespace
