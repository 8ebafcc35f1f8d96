#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

namespace {

using namespace TrieTests;
using testing::ElementsAre;

/* A client may set links and flags itself; the trie's operations go by what they find there. */

class HandBuiltTrieTest : public TrieFixture {};

TEST_F(HandBuiltTrieTest, isLikeOneThatInsertionsHaveMade) {
    PartitionId::Ptr const id = partitionId(5);
    Node* const top = make("0.0.0.0/0", false, true, id, 1);
    Node* const joint = make("10.0.0.0/7", false, false, {}, 1);
    Node* const left = make("10.0.0.0/8", true, false, id, 1);
    Node* const right = make("11.0.0.0/8", true, false, id, 1);
    trie().rootIs(top);
    hang(top, 0, joint);
    hang(joint, 0, left);
    hang(joint, 1, right);
    count(top, 2, 2);
    count(joint, 2, 2);
    count(left, 1, 1);
    count(right, 1, 1);
    trie().verify();

    EXPECT_EQ(trie().findPartitionNode(prefix("11.1.0.0/16"), false),
              TrieReturnCode(right, top, nullptr, false));
    routeFrom(top, "11.1.0.0/16");
    routeFrom(top, "8.0.0.0/6");
    EXPECT_EQ(trie().remove(prefix("11.0.0.0/8")), TrieNodeReturnCode(nullptr, true));
    trie().verify();
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,0.0.0.0/0,3,3,0x5,hw:1",     //
                                             "  0 Fib,8.0.0.0/6,3,3,0x5,hw:1",       //
                                             "    1 Int,10.0.0.0/7,2,2,nil,hw:1",    //
                                             "      0 Fib,10.0.0.0/8,1,1,0x5,hw:1",  //
                                             "      1 Fib,11.1.0.0/16,1,1,0x5,hw:1"));
}

TEST_F(HandBuiltTrieTest, theRootIsWhereEverythingStarts) {
    Node* const first = route("10.0.0.0/8");
    Node* const second = makeRoute("20.0.0.0/8");
    count(second, 1, 1);
    trie().rootIs(second);
    route("20.1.0.0/16");
    EXPECT_EQ(trie().findPartitionNode(prefix("10.0.0.0/8"), false).node(), second);
    EXPECT_FALSE(trie().remove(prefix("10.0.0.0/8")).success);
    route("21.0.0.0/8");
    EXPECT_THAT(drawing(trie()), ElementsAre("Int,20.0.0.0/7,3,3,nil,hw:0",      //
                                             "  0 Fib,20.0.0.0/8,2,2,nil,hw:0",  //
                                             "    0 Fib,20.1.0.0/16,1,1,nil,hw:0",
                                             "  1 Fib,21.0.0.0/8,1,1,nil,hw:0"));
    EXPECT_EQ(first->stringValue(), "Fib,10.0.0.0/8,1,1,nil,hw:0");
    removeAll(trie());
    trie().rootIs(first);
}

TEST_F(HandBuiltTrieTest, withoutARootTheTrieIsEmpty) {
    Node* const first = route("10.0.0.0/8");
    trie().rootIs(nullptr);
    EXPECT_EQ(trie().findPartitionNode(prefix("10.0.0.0/8"), false), TrieReturnCode());
    EXPECT_EQ(trie().remove(prefix("10.0.0.0/8")), TrieNodeReturnCode(nullptr, false));
    Node* const second = route("10.0.0.0/8");
    EXPECT_EQ(trie().root(), second);
    EXPECT_NE(second, first);
    hang(second, 0, first);  // only so that it is freed
}

TEST_F(HandBuiltTrieTest, aSlotThatWasEmptiedIsFree) {
    Node* const root = route("10.0.0.0/8");
    Node* const old = route("10.1.0.0/16");
    root->bitNodeIs(0, nullptr);
    EXPECT_EQ(trie().findPartitionNode(prefix("10.1.0.0/16"), false).node(), root);
    Node* const young = route("10.1.0.0/16");
    EXPECT_NE(young, old);
    EXPECT_EQ(root->bitNode(0), young);
    EXPECT_EQ(young->parent(), root);
    hang(young, 0, old);  // only so that it is freed
}

TEST_F(HandBuiltTrieTest, aNodeIsReachedByTheSideItHangsOnAndReplacedThere) {
    Node* const top = makeRoute("0.0.0.0/0");
    Node* const child = makeRoute("10.0.0.0/8");
    trie().rootIs(top);
    hang(top, 1, child);  // the wrong side for a prefix that begins with 0
    count(top, 2, 2);
    count(child, 1, 1);
    EXPECT_EQ(trie().findPartitionNode(prefix("10.0.0.0/8"), false).node(), top);
    EXPECT_EQ(trie().findPartitionNode(prefix("128.0.0.0/8"), false).node(), child);
    route("128.0.0.0/8");
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,3,3,nil,hw:0",         //
                                             "  1 Int,0.0.0.0/0,2,2,nil,hw:0",     //
                                             "    0 Fib,10.0.0.0/8,1,1,nil,hw:0",  //
                                             "    1 Fib,128.0.0.0/8,1,1,nil,hw:0"));
    route("10.0.0.0/8");
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,4,4,nil,hw:0",         //
                                             "  0 Fib,10.0.0.0/8,1,1,nil,hw:0",    //
                                             "  1 Int,0.0.0.0/0,2,2,nil,hw:0",     //
                                             "    0 Fib,10.0.0.0/8,1,1,nil,hw:0",  //
                                             "    1 Fib,128.0.0.0/8,1,1,nil,hw:0"));
}

TEST_F(HandBuiltTrieTest, aPartitionFlagSetByHandIsAPartition) {
    Node* const top = route("0.0.0.0/0");
    Node* const node = route("10.0.0.0/8");
    node->partitionNodeIs(true);
    EXPECT_EQ(trie().findPartitionNode(prefix("10.1.0.0/16"), false),
              TrieReturnCode(node, node, node, false));
    route("10.1.0.0/16");
    EXPECT_EQ(top->partitionRouteCount(), 2U) << "the counting stops at the new partition";
    EXPECT_EQ(node->partitionRouteCount(), 2U);
    EXPECT_EQ(trie().remove(prefix("10.0.0.0/8")), TrieNodeReturnCode(node, false));
}

TEST_F(HandBuiltTrieTest, aPartitionFlagTakenByHandIsNoPartition) {
    Node* const top = routeAndPartition("0.0.0.0/0");
    Node* const node = partition("10.0.0.0/8");
    node->partitionNodeIs(false);
    EXPECT_EQ(trie().findPartitionNode(prefix("10.0.0.0/8"), false),
              TrieReturnCode(node, top, top, false));
    route("10.1.0.0/16");
    EXPECT_EQ(top->partitionRouteCount(), 2U);
    EXPECT_EQ(node->partitionRouteCount(), 1U);
    node->pendingStateIs({});
    EXPECT_EQ(partition("10.0.0.0/8"), node) << "it can become one again";
    EXPECT_EQ(top->partitionRouteCount(), 1U);
}

TEST_F(HandBuiltTrieTest, aRouteFlagTakenByHandIsNoRoute) {
    Node* const top = route("0.0.0.0/0");
    Node* const node = partition("10.0.0.0/8");
    EXPECT_EQ(trie().getClosestFibRouteNode(node), top);
    top->fibRouteIs(false);
    EXPECT_EQ(trie().getClosestFibRouteNode(node), nullptr);
    EXPECT_EQ(route("0.0.0.0/0"), top) << "it can become one again";
    EXPECT_EQ(top->routeCount(), 2U) << "counted as if the first were still there";
}

using HandBuiltTrieDeathTest = HandBuiltTrieTest;

TEST_F(HandBuiltTrieDeathTest, aRouteFlagSetByHandIsARouteThatWasNeverCounted) {
    Node* const node = partition("10.0.0.0/8");
    node->fibRouteIs(true);
    EXPECT_EXIT(route("10.0.0.0/8"), aborts,
                trieAssertion("!current->fibRoute()",
                              " node Partition,Fib,10.0.0.0/8,0,0,nil,hw:0,cp", Signature::insert));
    EXPECT_EXIT(trie().remove(prefix("10.0.0.0/8")), aborts,
                nodeAssertion("partitionRouteCount_ >= decr",
                              " partitionRouteCount_:0 decr:1 node "
                              "Partition,Fib,10.0.0.0/8,0,0,nil,hw:0,cp",
                              Signature::nodePartitionRouteCountDec));
}

TEST_F(HandBuiltTrieDeathTest, whatIsPendingStaysWhenOnlyTheFlagWasTaken) {
    Node* const node = partition("10.0.0.0/8");
    node->partitionNodeIs(false);
    std::ostringstream context;
    context << "node:" << static_cast<void const*>(node)
            << " pendingState:" << PendingState::createPartition_();
    EXPECT_EXIT(
        partition("10.0.0.0/8"), aborts,
        nodeAssertion("pendingState_.value() == 0", context.str(), Signature::nodePartitionNodeIs));
}

}  // namespace
