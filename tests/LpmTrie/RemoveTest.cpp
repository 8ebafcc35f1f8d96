#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using namespace TrieTests;
using testing::ElementsAre;

TrieNodeReturnCode const gone(nullptr, true);
TrieNodeReturnCode const missing(nullptr, false);
TrieNodeReturnCode stays(Node* node) {
    return {node, false};
}

class RemoveTest : public TrieFixture {
protected:
    TrieNodeReturnCode remove(std::string_view text) const { return trie().remove(prefix(text)); }
};

TEST_F(RemoveTest, theOnlyRouteLeavesAnEmptyTrie) {
    route("10.0.0.0/8");
    EXPECT_EQ(remove("10.0.0.0/8"), gone);
    EXPECT_EQ(trie().root(), nullptr);
}

TEST_F(RemoveTest, aRootThatIsAPartitionTooStays) {
    Node* const root = routeAndPartition("10.0.0.0/8", partitionId(5), 1);
    EXPECT_EQ(remove("10.0.0.0/8"), stays(root));
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,10.0.0.0/8,0,0,0x5,hw:1,cp"));
}

TEST_F(RemoveTest, aRouteThatIsAPartitionTooLeavesTheCountersAndStays) {
    PartitionId::Ptr const id = partitionId(5);
    routeAndPartition("0.0.0.0/0", partitionId(1));
    Node* const node = routeAndPartition("10.0.0.0/8", id);
    routeFrom(node, "10.1.0.0/16");
    EXPECT_EQ(remove("10.0.0.0/8"), stays(node));
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,Fib,0.0.0.0/0,2,1,0x1,hw:0,cp",   //
                                             "  0 Partition,10.0.0.0/8,1,1,0x5,hw:0,cp",  //
                                             "    0 Fib,10.1.0.0/16,1,1,0x5,hw:0"));
}

TEST_F(RemoveTest, aRouteWhosePartitionIsPendingRemovalLeavesTheCountersAndStays) {
    route("0.0.0.0/0");
    Node* const node = route("10.0.0.0/8", partitionId(5));
    node->pendingStateIs(PendingState::removePartition_());
    EXPECT_EQ(remove("10.0.0.0/8"), stays(node));
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,1,1,nil,hw:0",  //
                                             "  0 Int,10.0.0.0/8,0,0,0x5,hw:0,dp"));
    EXPECT_EQ(trie().removeNode(node, true), stays(node)) << "it is no partition node any more";
    EXPECT_TRUE(bitmap().isSet(5));
}

TEST_F(RemoveTest, noOtherPendingStateKeepsANode) {
    for (PendingState const pending :
         {PendingState::createPartition_(), PendingState::splittingPartition_(),
          PendingState::maxPendingState_()}) {
        route("10.0.0.0/8")->pendingStateIs(pending);
        EXPECT_EQ(remove("10.0.0.0/8"), gone);
        EXPECT_EQ(trie().root(), nullptr) << pending;
    }
}

TEST_F(RemoveTest, aLeafTakesItsInternalParentAlong) {
    route("0.0.0.0/0");
    Node* const other = route("10.0.0.0/8");
    route("11.0.0.0/8");
    EXPECT_EQ(remove("11.0.0.0/8"), gone);
    EXPECT_EQ(trie().root()->bitNode(0), other);
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,2,2,nil,hw:0",  //
                                             "  0 Fib,10.0.0.0/8,1,1,nil,hw:0"));
}

TEST_F(RemoveTest, anInternalRootIsReplacedByItsLastChild) {
    route("10.0.0.0/8");
    Node* const other = route("11.0.0.0/8");
    EXPECT_EQ(remove("10.0.0.0/8"), gone);
    EXPECT_EQ(trie().root(), other);
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,11.0.0.0/8,1,1,nil,hw:0"));
}

TEST_F(RemoveTest, aRouteWithTwoChildrenStaysAsAnInternalNodeWithoutAnId) {
    route("10.0.0.0/8", partitionId(5), 1);
    route("10.0.0.0/9");
    route("10.128.0.0/9");
    EXPECT_TRUE(bitmap().isSet(5));
    EXPECT_EQ(remove("10.0.0.0/8"), gone);
    EXPECT_FALSE(bitmap().isSet(5));
    EXPECT_THAT(drawing(trie()), ElementsAre("Int,10.0.0.0/8,2,2,nil,hw:1",      //
                                             "  0 Fib,10.0.0.0/9,1,1,nil,hw:0",  //
                                             "  1 Fib,10.128.0.0/9,1,1,nil,hw:0"));
}

TEST_F(RemoveTest, aRouteWithOneChildIsReplacedByIt) {
    route("0.0.0.0/0");
    route("10.0.0.0/8");
    route("10.128.0.0/9");
    EXPECT_EQ(remove("10.0.0.0/8"), gone);
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,2,2,nil,hw:0",  //
                                             "  0 Fib,10.128.0.0/9,1,1,nil,hw:0"));
}

TEST_F(RemoveTest, whatIsNotInTheTrieIsMissingAndNothingChanges) {
    EXPECT_EQ(remove("10.0.0.0/8"), missing);
    route("10.0.0.0/8");
    route("10.1.1.0/24");
    std::vector<NodeState> const before = snapshot(trie());
    for (char const* text : {"0.0.0.0/0", "10.0.0.0/7", "10.0.0.0/9", "10.1.0.0/16", "10.1.1.0/25",
                             "10.1.1.1/32", "11.0.0.0/8", "0.0.0.0/8"}) {
        EXPECT_EQ(remove(text), missing) << text;
    }
    EXPECT_EQ(snapshot(trie()), before);
}

TEST_F(RemoveTest, aPrefixOfTheOtherFamilyOrWithOtherHostBitsIsMissing) {
    route("0.0.0.0/0");
    trie().insertFromRoot(IpGenPrefix(Nimbal::IpAddr(0x0a0000ff), 8), true, false, {}, 0);
    std::vector<NodeState> const before = snapshot(trie());
    EXPECT_EQ(remove("::/0"), missing);
    EXPECT_EQ(remove("10.0.0.0/8"), missing);
    EXPECT_EQ(snapshot(trie()), before);
    EXPECT_EQ(trie().remove(IpGenPrefix(Nimbal::IpAddr(0x0a0000ff), 8)), gone);
}

TEST_F(RemoveTest, aPartitionWithoutARouteStaysAsItIs) {
    Node* const node = partition("10.0.0.0/8", partitionId(5), 1);
    std::vector<NodeState> const before = snapshot(trie());
    EXPECT_EQ(remove("10.0.0.0/8"), stays(node));
    EXPECT_EQ(snapshot(trie()), before);
}

TEST_F(RemoveTest, anInternalNodeLosesNothingButItsId) {
    route("10.0.0.0/8");
    route("11.0.0.0/8");
    trie().root()->partitionIdIs(partitionId(5));
    EXPECT_EQ(remove("10.0.0.0/7"), gone);
    EXPECT_THAT(drawing(trie()), ElementsAre("Int,10.0.0.0/7,2,2,nil,hw:0",      //
                                             "  0 Fib,10.0.0.0/8,1,1,nil,hw:0",  //
                                             "  1 Fib,11.0.0.0/8,1,1,nil,hw:0"));
}

TEST_F(RemoveTest, theIdOfARouteThatLeavesIsGivenBack) {
    route("0.0.0.0/0");
    route("10.0.0.0/8", partitionId(5));
    EXPECT_TRUE(bitmap().isSet(5));
    remove("10.0.0.0/8");
    EXPECT_FALSE(bitmap().isSet(5));
}

TEST_F(RemoveTest, aPartitionFlagGoesOnRequestAndNoCounterIsFolded) {
    partition("0.0.0.0/0", partitionId(1));
    Node* const node = partition("10.0.0.0/8", partitionId(5));
    routeFrom(node, "10.0.0.0/9");
    routeFrom(node, "10.128.0.0/9");
    EXPECT_EQ(trie().removeNode(node, true), gone);
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,0.0.0.0/0,2,0,0x1,hw:0,cp",  //
                                             "  0 Int,10.0.0.0/8,2,2,nil,hw:0",      //
                                             "    0 Fib,10.0.0.0/9,1,1,0x5,hw:0",    //
                                             "    1 Fib,10.128.0.0/9,1,1,0x5,hw:0"));
}

TEST_F(RemoveTest, routeAndPartitionFlagGoTogetherOnRequest) {
    route("0.0.0.0/0");
    Node* const node = routeAndPartition("10.0.0.0/8", partitionId(5));
    EXPECT_EQ(trie().removeNode(node, true), gone);
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,1,1,nil,hw:0"));
    EXPECT_FALSE(bitmap().isSet(5));
}

TEST_F(RemoveTest, takingThePartitionFlagAwayEndsEverythingPending) {
    Node* const node = partition("10.0.0.0/8");
    route("10.0.0.0/9");
    route("10.128.0.0/9");
    node->pendingStateIs(~PendingState());
    EXPECT_EQ(trie().removeNode(node, true), gone);
    EXPECT_EQ(trie().root(), node);
    EXPECT_EQ(node->pendingState(), PendingState());
}

TEST_F(RemoveTest, theFlagThatIsNotThereIsNoObstacle) {
    route("0.0.0.0/0");
    EXPECT_EQ(trie().removeNode(route("10.0.0.0/8"), true), gone);
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,1,1,nil,hw:0"));
}

TEST_F(RemoveTest, everyOrderOfRemovalPassesThroughTheTriesOfWhatIsLeft) {
    std::vector<String> order{"0.0.0.0/0",   "10.0.0.0/8",   "10.1.0.0/16",
                              "10.1.2.3/32", "10.128.0.0/9", "11.0.0.0/8"};
    Trie::Ptr const rebuilt = LpmTrie::trieFactory(2);
    rebuilt->afIs(AddressFamily::ipv4);
    do {
        for (String const& text : order) {
            route(text);
        }
        for (auto removed = order.begin(); removed != order.end(); ++removed) {
            ASSERT_EQ(remove(*removed), gone);
            std::for_each(removed + 1, order.end(), [&](String const& text) {
                rebuilt->insertFromRoot(prefix(text), true, false, {}, 0);
            });
            ASSERT_EQ(drawing(trie()), drawing(*rebuilt)) << testing::PrintToString(order);
            removeAll(*rebuilt);
        }
        ASSERT_EQ(trie().root(), nullptr);
    } while (std::next_permutation(order.begin(), order.end()));
}

}  // namespace
