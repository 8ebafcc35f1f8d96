#include <tests/LpmTrie/AbortedTrie.h>
#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

namespace {

using namespace TrieTests;
using testing::ElementsAre;

/** A chain by hand: a partition node, a node, a partition node again, a node, a route; each
 * counted. */
class CountersTest : public TrieFixture {
protected:
    CountersTest() {
        trie().rootIs(top_);
        hang(top_, 0, above_);
        hang(above_, 0, middle_);
        hang(middle_, 0, below_);
        hang(below_, 0, route_);
        U32 value = 50;
        for (Node* const node : {top_, above_, middle_, below_, route_}) {
            count(node, value, value + 1);
            value -= 10;
        }
    }

    Node* const top_ = make("0.0.0.0/0", false, true);
    Node* const above_ = make("0.0.0.0/8");
    Node* const middle_ = make("0.0.0.0/16", false, true);
    Node* const below_ = make("0.0.0.0/24");
    Node* const route_ = makeRoute("0.0.0.0/32");
};

using Counts = std::vector<std::pair<U32, U32>>;

/** Both counters of each node, from the top down. */
Counts countsOf(Trie const& trie) {
    Counts counts;
    for (PlacedNode const& placed : placedNodes(trie.root())) {
        counts.emplace_back(placed.node->routeCount(), placed.node->partitionRouteCount());
    }
    return counts;
}

TEST_F(CountersTest, updateParentRouteCountChangesEveryNodeAboveByOne) {
    trie().updateParentRouteCount(below_, true);
    EXPECT_EQ(countsOf(trie()), (Counts{{51, 51}, {41, 41}, {31, 31}, {20, 21}, {10, 11}}));
    trie().updateParentRouteCount(route_, false);
    EXPECT_EQ(countsOf(trie()), (Counts{{50, 51}, {40, 41}, {30, 31}, {19, 21}, {10, 11}}));
}

TEST_F(CountersTest, updateParentRouteCountOfTheRootOrOfNothingChangesNothing) {
    Counts const before = countsOf(trie());
    trie().updateParentRouteCount(top_, true);
    trie().updateParentRouteCount(top_, false);
    trie().updateParentRouteCount(nullptr, true);
    trie().updateParentRouteCount(nullptr, false);
    EXPECT_EQ(countsOf(trie()), before);
}

TEST_F(CountersTest, updatePartitionRouteCountEndsWithTheNearestPartitionNode) {
    trie().updatePartitionRouteCount(route_, true, 7);
    EXPECT_EQ(countsOf(trie()), (Counts{{50, 51}, {40, 41}, {30, 38}, {20, 28}, {10, 18}}));
    trie().updatePartitionRouteCount(below_, false, 28);
    EXPECT_EQ(countsOf(trie()), (Counts{{50, 51}, {40, 41}, {30, 10}, {20, 0}, {10, 18}}));
}

TEST_F(CountersTest, updatePartitionRouteCountOfAPartitionNodeChangesThatNodeOnly) {
    trie().updatePartitionRouteCount(middle_, true, 7);
    EXPECT_EQ(countsOf(trie()), (Counts{{50, 51}, {40, 41}, {30, 38}, {20, 21}, {10, 11}}));
    trie().updatePartitionRouteCount(middle_, false, 8);
    EXPECT_EQ(countsOf(trie()), (Counts{{50, 51}, {40, 41}, {30, 30}, {20, 21}, {10, 11}}));
}

TEST_F(CountersTest, updatePartitionRouteCountGoesToTheRootWithoutAPartitionNode) {
    top_->partitionNodeIs(false);
    trie().updatePartitionRouteCount(above_, true, 1);
    EXPECT_EQ(countsOf(trie()), (Counts{{50, 52}, {40, 42}, {30, 31}, {20, 21}, {10, 11}}));
}

TEST_F(CountersTest, updatePartitionRouteCountByZeroOrOfNothingChangesNothing) {
    Counts const before = countsOf(trie());
    trie().updatePartitionRouteCount(route_, true, 0);
    trie().updatePartitionRouteCount(route_, false, 0);
    trie().updatePartitionRouteCount(nullptr, true, 0);
    trie().updatePartitionRouteCount(nullptr, false, 0);
    trie().updatePartitionRouteCount(nullptr, true, 5);
    trie().updatePartitionRouteCount(nullptr, false, 5);
    EXPECT_EQ(countsOf(trie()), before);
}

TEST_F(CountersTest, mergePartitionNodeCountAddsToTheNodesUpToTheNextPartitionNode) {
    trie().mergePartitionNodeCount(middle_);
    EXPECT_EQ(countsOf(trie()), (Counts{{50, 82}, {40, 72}, {30, 31}, {20, 21}, {10, 11}}));
    EXPECT_TRUE(middle_->partitionNode());
    below_->partitionNodeIs(true);
    trie().mergePartitionNodeCount(below_);
    EXPECT_EQ(countsOf(trie()), (Counts{{50, 82}, {40, 72}, {30, 52}, {20, 21}, {10, 11}}));
}

TEST_F(CountersTest, mergePartitionNodeCountGoesToTheRootWithoutAPartitionNodeAbove) {
    top_->partitionNodeIs(false);
    trie().mergePartitionNodeCount(middle_);
    EXPECT_EQ(countsOf(trie()), (Counts{{50, 82}, {40, 72}, {30, 31}, {20, 21}, {10, 11}}));
}

TEST_F(CountersTest, mergePartitionNodeCountOfTheRootChangesNothing) {
    Counts const before = countsOf(trie());
    trie().mergePartitionNodeCount(top_);
    EXPECT_EQ(countsOf(trie()), before);
}

TEST_F(CountersTest, decRouteCountersTakesARouteOutOfItsPartitionAndOutOfAllAbove) {
    trie().decRouteCounters(route_);
    EXPECT_EQ(countsOf(trie()), (Counts{{49, 51}, {39, 41}, {29, 30}, {19, 20}, {9, 10}}));
    EXPECT_TRUE(route_->fibRoute());
}

TEST_F(CountersTest, decRouteCountersOfARouteThatIsAPartitionTooStaysInThatPartition) {
    route_->partitionNodeIs(true);
    trie().decRouteCounters(route_);
    EXPECT_EQ(countsOf(trie()), (Counts{{49, 51}, {39, 41}, {29, 31}, {19, 21}, {9, 10}}));
}

TEST_F(CountersTest, decRouteCountersIsTheMirrorOfWhatAnInsertionCounts) {
    Counts const before = countsOf(trie());
    trie().updateParentRouteCount(route_, true);
    route_->routeCountInc(1);
    trie().updatePartitionRouteCount(route_, true, 1);
    EXPECT_NE(countsOf(trie()), before);
    trie().decRouteCounters(route_);
    EXPECT_EQ(countsOf(trie()), before);
}

class CountersInUseTest : public TrieFixture {};

TEST_F(CountersInUseTest, theCountersAreBackWhenTheLastRouteOfASubtreeHasGone) {
    PartitionId::Ptr const id = partitionId(5);
    route("0.0.0.0/0");
    partition("10.0.0.0/8", id, 1);
    routeFrom(find("10.0.0.0/8"), "10.1.0.0/16");
    std::vector<NodeState> const before = snapshot(trie());
    for (char const* text : {"10.1.2.3/32", "10.0.0.0/15", "11.0.0.0/8", "10.2.0.0/16"}) {
        trie().insertFromRoot(prefix(text), true, false, id, 1);
        EXPECT_EQ(trie().root()->routeCount(), 3U);
        trie().remove(prefix(text));
        EXPECT_EQ(snapshot(trie()), before) << text;
    }
}

using CountersDeathTest = CountersTest;

TEST_F(CountersDeathTest, noRouteCountGoesBelowZero) {
    above_->routeCountDec(40);
    String const context = " routeCount_:0 decr:1 node Int,0.0.0.0/8,0,41,nil,hw:0";
    EXPECT_EXIT(trie().updateParentRouteCount(route_, false), aborts,
                nodeAssertion("routeCount_ >= decr", context, Signature::nodeRouteCountDec));
    EXPECT_EXIT(trie().decRouteCounters(route_), aborts,
                nodeAssertion("routeCount_ >= decr", context, Signature::nodeRouteCountDec));
}

TEST_F(CountersDeathTest, noPartitionRouteCountGoesBelowZero) {
    EXPECT_EXIT(trie().updatePartitionRouteCount(below_, false, 22), aborts,
                nodeAssertion("partitionRouteCount_ >= decr",
                              " partitionRouteCount_:21 decr:22 node Int,0.0.0.0/24,20,21,nil,hw:0",
                              Signature::nodePartitionRouteCountDec));
    middle_->partitionRouteCountIs(0);
    EXPECT_EXIT(trie().decRouteCounters(route_), aborts,
                nodeAssertion("partitionRouteCount_ >= decr",
                              " partitionRouteCount_:0 decr:1 node "
                              "Partition,0.0.0.0/16,30,0,nil,hw:0",
                              Signature::nodePartitionRouteCountDec));
}

TEST_F(CountersDeathTest, whatWasCountedBelowAFailedCheckStaysCounted) {
    middle_->partitionRouteCountIs(0);
    EXPECT_THAT(drawingAfterAssertion(trie(), [this] { trie().decRouteCounters(route_); }),
                ElementsAre("Partition,0.0.0.0/0,50,51,nil,hw:0",        //
                            "  0 Int,0.0.0.0/8,40,41,nil,hw:0",          //
                            "    0 Partition,0.0.0.0/16,30,0,nil,hw:0",  //
                            "      0 Int,0.0.0.0/24,19,20,nil,hw:0",     //
                            "        0 Fib,0.0.0.0/32,9,10,nil,hw:0"));
    above_->routeCountDec(40);
    EXPECT_THAT(
        drawingAfterAssertion(trie(), [this] { trie().updateParentRouteCount(route_, false); }),
        ElementsAre("Partition,0.0.0.0/0,50,51,nil,hw:0",        //
                    "  0 Int,0.0.0.0/8,0,41,nil,hw:0",           //
                    "    0 Partition,0.0.0.0/16,29,0,nil,hw:0",  //
                    "      0 Int,0.0.0.0/24,19,21,nil,hw:0",     //
                    "        0 Fib,0.0.0.0/32,10,11,nil,hw:0"));
}

TEST_F(CountersDeathTest, onlyAPartitionNodesCountIsMerged) {
    EXPECT_EXIT(trie().mergePartitionNodeCount(below_), aborts,
                trieAssertion("node->partitionNode()", "Int,0.0.0.0/24,20,21,nil,hw:0",
                              Signature::mergePartitionNodeCount));
    EXPECT_EXIT(trie().mergePartitionNodeCount(route_), aborts,
                trieAssertion("node->partitionNode()", "Fib,0.0.0.0/32,10,11,nil,hw:0",
                              Signature::mergePartitionNodeCount));
}

TEST_F(CountersDeathTest, onlyARouteIsTakenOutOfTheCounters) {
    EXPECT_EXIT(trie().decRouteCounters(middle_), aborts,
                trieAssertion("node->fibRoute()", "Partition,0.0.0.0/16,30,31,nil,hw:0",
                              Signature::decRouteCounters));
}

TEST_F(CountersDeathTest, everyChangeOfACounterChecksTheEyeCatcher) {
    auto const afterBreaking = [](Node* node, auto const& operation) {
        breakEyeCatcher(node);
        operation();
    };
    EXPECT_EXIT(afterBreaking(top_, [&] { trie().updateParentRouteCount(route_, true); }), aborts,
                brokenEyeCatcher(top_, Signature::nodeRouteCountInc));
    EXPECT_EXIT(afterBreaking(top_, [&] { trie().updateParentRouteCount(route_, false); }), aborts,
                brokenEyeCatcher(top_, Signature::nodeRouteCountDec));
    EXPECT_EXIT(afterBreaking(middle_, [&] { trie().updatePartitionRouteCount(route_, true, 1); }),
                aborts, brokenEyeCatcher(middle_, Signature::nodePartitionRouteCountInc));
    EXPECT_EXIT(afterBreaking(middle_, [&] { trie().updatePartitionRouteCount(route_, false, 1); }),
                aborts, brokenEyeCatcher(middle_, Signature::nodePartitionRouteCountDec));
    EXPECT_EXIT(afterBreaking(top_, [&] { trie().mergePartitionNodeCount(middle_); }), aborts,
                brokenEyeCatcher(top_, Signature::nodePartitionRouteCountInc));
    EXPECT_EXIT(afterBreaking(route_, [&] { trie().decRouteCounters(route_); }), aborts,
                brokenEyeCatcher(route_, Signature::nodePartitionRouteCountDec));
    EXPECT_EXIT(afterBreaking(above_, [&] { trie().decRouteCounters(route_); }), aborts,
                brokenEyeCatcher(above_, Signature::nodeRouteCountDec));
}

}  // namespace
