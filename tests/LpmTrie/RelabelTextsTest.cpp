#include <tests/LpmTrie/PartitionWorld.h>
#include <tests/Support/AssertionText.h>

#include <gmock/gmock.h>

namespace {

using namespace LpmTrieTest;
using testing::ElementsAre;

String const addEntry =
    "8 bool LpmTrie::Trie::addMovedNode(LpmTrie::Node*, const Ptr&, const Ptr&) node:";
String const hookEntry =
    "8 virtual void LpmTrie::Trie::movedNode(LpmTrie::Node*, const Ptr&, U32) Node:";
String const relabelEntry =
    "8 void LpmTrie::Trie::updatePartitionId(LpmTrie::Node*, const Ptr&) fromNode:";
String const countEntry =
    "8 void LpmTrie::Trie::updateNewPartition(LpmTrie::Node*, const Ptr&, bool) partitionNode:";

/** A partition 1 at 10.0.0.0/8 with two routes, joined by an internal node, and another beside. */
class RelabelTextsTest : public PartitionWorld {
protected:
    RelabelTextsTest() {
        partition("10.0.0.0/8", 1);
        route("10.128.0.0/16", 1);
        route("10.192.0.0/16", 1);
        settle();
        trie_->keeping = false;
    }
    Node* cut() {
        Node* const node = at("10.128.0.0/9");
        node->partitionNodeIs(true);
        node->partitionIdIs(id(2));
        return node;
    }

    TrieNodesInfo::Ptr const moved_ = LpmTrie::trieNodesInfoFactory();
    String const address_ = addressText(moved_);
};

TEST_F(RelabelTextsTest, eachNodeVisitedIsTraced) {
    route("10.192.0.0/24", 1, 2);
    partition("10.192.128.0/24", 3);
    at("10.0.0.0/8")->partitionIdIs(id(4));
    settle();
    TraceCapture const capture;
    trie_->updatePartitionId(at("10.0.0.0/8"), moved_);
    // Id 1: the world, the two routes and the one of another table. An old id is held while it is
    // reported, then by its record.
    EXPECT_THAT(
        traced(capture),
        ElementsAre(relabelEntry + "Partition,10.0.0.0/8,3,3,0x4,hw:1 movedNodes:" + address_,
                    "7  node Int,10.128.0.0/9,3,3,nil,hw:1",
                    "7  node Fib,10.128.0.0/16,1,1,0x1,hw:1",
                    addEntry +
                        "Fib,10.128.0.0/16,1,1,0x4,hw:1 oldPartitionId:PartitionId:1 "
                        "references:4 movedNodes:" +
                        address_,
                    "7 movedNodes:" + address_, "7  node Fib,10.192.0.0/16,2,2,0x1,hw:1",
                    addEntry +
                        "Fib,10.192.0.0/16,2,2,0x4,hw:1 oldPartitionId:PartitionId:1 "
                        "references:4 movedNodes:" +
                        address_,
                    "7 movedNodes:" + address_, "7  node Fib,10.192.0.0/24,1,1,0x1,hw:2"));
}

TEST_F(RelabelTextsTest, withoutACollectionTheHookAloneIsCalled) {
    at("10.0.0.0/8")->partitionIdIs(nullptr);
    TraceCapture const capture;
    trie_->updatePartitionId(at("10.0.0.0/8"), nullptr);
    // The world, the route that is reported, by its old id, and the one that is not yet.
    EXPECT_THAT(
        traced(capture),
        ElementsAre(
            relabelEntry + "Partition,10.0.0.0/8,2,2,nil,hw:1 movedNodes:" + addressText(nullptr),
            "7  node Int,10.128.0.0/9,2,2,nil,hw:1", "7  node Fib,10.128.0.0/16,1,1,0x1,hw:1",
            hookEntry + "Fib,10.128.0.0/16,1,1,nil,hw:1 oldPartitionId:PartitionId:1 "
                        "references:3 oldHwTable:1",
            "7  node Fib,10.192.0.0/16,1,1,0x1,hw:1",
            hookEntry + "Fib,10.192.0.0/16,1,1,nil,hw:1 oldPartitionId:PartitionId:1 "
                        "references:2 oldHwTable:1"));
}

TEST_F(RelabelTextsTest, aNewPartitionIsTracedWithItsOldCountAndThenRelabelled) {
    Node* const node = cut();
    TraceCapture const capture;
    trie_->updateNewPartition(node, moved_, false);
    // Id 1: the world, its partition, the route reported, by its old id, and the other one, which
    // then lets go, but its record does not.
    EXPECT_THAT(
        traced(capture),
        ElementsAre(countEntry + "Partition,10.128.0.0/9,2,2,0x2,hw:1,cp movedNodes:" + address_ +
                        " newNode:0",
                    "7 decrementing partitionCount for node:Partition,10.0.0.0/8,2,2,0x1,hw:1 "
                    "value:2",
                    relabelEntry + "Partition,10.128.0.0/9,2,2,0x2,hw:1,cp movedNodes:" + address_,
                    "7  node Fib,10.128.0.0/16,1,1,0x1,hw:1",
                    addEntry +
                        "Fib,10.128.0.0/16,1,1,0x2,hw:1 oldPartitionId:PartitionId:1 "
                        "references:4 movedNodes:" +
                        address_,
                    "7 movedNodes:" + address_, "7  node Fib,10.192.0.0/16,1,1,0x1,hw:1",
                    addEntry +
                        "Fib,10.192.0.0/16,1,1,0x2,hw:1 oldPartitionId:PartitionId:1 "
                        "references:4 movedNodes:" +
                        address_,
                    "7 movedNodes:" + address_));
}

TEST_F(RelabelTextsTest, aNewPartitionWithoutRoutesIsTraced) {
    Node* const node = partition("10.160.0.0/16", 2);
    TraceCapture const capture;
    trie_->updateNewPartition(node, nullptr, true);
    EXPECT_THAT(traced(capture),
                ElementsAre(countEntry + "Partition,10.160.0.0/16,0,0,0x2,hw:1,cp movedNodes:" +
                                addressText(nullptr) + " newNode:1",
                            "7 nothing to be done",
                            relabelEntry + "Partition,10.160.0.0/16,0,0,0x2,hw:1,cp movedNodes:" +
                                addressText(nullptr)));
}

TEST_F(RelabelTextsTest, theCountIsAUnsigned32BitSum) {
    Node* const node = cut();
    node->fibRouteIs(true);
    at("10.128.0.0/16")->partitionRouteCountIs(0x80000000U);
    at("10.192.0.0/16")->partitionRouteCountIs(0x80000001U);
    trie_->updateNewPartition(node, moved_, false);
    EXPECT_EQ(node->partitionRouteCount(), 2U);
    EXPECT_EQ(at("10.0.0.0/8")->partitionRouteCount(), 0U);
}

TEST_F(RelabelTextsTest, aPartitionAboveThatHasFewerRoutesIsFatal) {
    Node* const node = cut();
    at("10.0.0.0/8")->partitionRouteCountIs(1);
    EXPECT_EXIT(trie_->updateNewPartition(node, moved_, false), testing::KilledBySignal(SIGABRT),
                TestSupport::assertionText(
                    "partitionRouteCount_ >= decr",
                    " partitionRouteCount_:1 decr:2 node Partition,10.0.0.0/8,2,1,0x1,hw:1",
                    "LpmTrie/LpmTrieNode", "void LpmTrie::Node::partitionRouteCountDec(U32)"));
}

}  // namespace
