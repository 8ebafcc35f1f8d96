#include <tests/LpmTrie/PartitionWorld.h>
#include <tests/Support/AllocationFailure.h>
#include <tests/Support/AssertionText.h>

#include <gmock/gmock.h>

namespace {

using namespace LpmTrieTest;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char const* addSignature =
    "bool LpmTrie::Trie::addMovedNode(LpmTrie::Node*, const Ptr&, const Ptr&)";
constexpr char const* hookSignature =
    "virtual void LpmTrie::Trie::movedNode(LpmTrie::Node*, const Ptr&, U32)";

class MovedNodeTest : public PartitionWorld {
protected:
    TrieNodesInfo::Ptr const moved_ = LpmTrie::trieNodesInfoFactory();
};

TEST_F(MovedNodeTest, aRouteIsRecordedWithItsHolderItsOldAndItsPresentId) {
    Node* const node = route("10.0.0.0/8", 2);
    EXPECT_TRUE(trie_->addMovedNode(node, id(1), moved_));
    ASSERT_EQ(moved_->nodeInfo().size(), 1U);
    TrieNodeInfo const& info = moved_->nodeInfo().begin()->key();
    EXPECT_EQ(info.prefixRef(), node->prefixRef());
    EXPECT_EQ(info.oldPartitionId(), id(1));
    EXPECT_EQ(info.newPartitionId(), id(2));
    EXPECT_TRUE(moved_->nodeInfo().begin()->value());
    EXPECT_THAT(trie_->reports, IsEmpty()) << "the hook is not for what a collection takes";
}

TEST_F(MovedNodeTest, aRouteThatRootsAPartitionIsRecorded) {
    Node* const node = routeAndPartition("10.0.0.0/8", 2);
    EXPECT_TRUE(trie_->addMovedNode(node, id(1), moved_));
    EXPECT_TRUE(moved_->nodeInfo(record(node, id(1))));
}

TEST_F(MovedNodeTest, aNodeWithoutARouteIsNotRecorded) {
    Node* const root = partition("10.0.0.0/8", 1);
    route("10.0.0.0/16", 1);
    route("10.128.0.0/16", 1);
    route("10.192.0.0/16", 1);
    Node* const internal = at("10.128.0.0/9");
    ASSERT_TRUE(internal->internal());
    moved_->nodeInfoIs(record(at("10.0.0.0/16"), nullptr), false);
    EXPECT_FALSE(trie_->addMovedNode(internal, id(1), moved_));
    EXPECT_FALSE(trie_->addMovedNode(root, id(2), moved_));
    EXPECT_EQ(moved_->nodeInfo().size(), 1U);
    EXPECT_FALSE(moved_->nodeInfo().begin()->value());
    EXPECT_THAT(trie_->reports, IsEmpty());
}

TEST_F(MovedNodeTest, eitherIdMayBeNull) {
    Node* const unlabelled = route("10.0.0.0/8", 0);
    Node* const labelled = route("11.0.0.0/8", 1);
    EXPECT_TRUE(trie_->addMovedNode(unlabelled, id(1), moved_));
    EXPECT_TRUE(trie_->addMovedNode(unlabelled, nullptr, moved_));
    EXPECT_TRUE(trie_->addMovedNode(labelled, nullptr, moved_));
    EXPECT_EQ(moved_->nodeInfo().size(), 3U);
    EXPECT_TRUE(moved_->nodeInfo(TrieNodeInfo(unlabelled->prefixRef(), id(1), nullptr)));
    EXPECT_TRUE(moved_->nodeInfo(TrieNodeInfo(unlabelled->prefixRef(), nullptr, nullptr)));
    EXPECT_TRUE(moved_->nodeInfo(TrieNodeInfo(labelled->prefixRef(), nullptr, id(1))));
}

TEST_F(MovedNodeTest, theSameMoveAgainSetsItsValueToTrueAgain) {
    Node* const node = route("10.0.0.0/8", 2);
    EXPECT_TRUE(trie_->addMovedNode(node, id(1), moved_));
    moved_->nodeInfoIs(record(node, id(1)), false);
    EXPECT_TRUE(trie_->addMovedNode(node, id(1), moved_));
    EXPECT_EQ(moved_->nodeInfo().size(), 1U);
    EXPECT_TRUE(moved_->nodeInfo(record(node, id(1))));
}

TEST_F(MovedNodeTest, aMoveFromAnotherIdObjectIsAnotherEntry) {
    Node* const node = route("10.0.0.0/8", 2);
    PartitionId::Ptr const sameNumber = newId(1);
    trie_->addMovedNode(node, id(1), moved_);
    trie_->addMovedNode(node, sameNumber, moved_);
    EXPECT_EQ(moved_->nodeInfo().size(), 2U);
    EXPECT_TRUE(moved_->nodeInfo(record(node, id(1))));
    EXPECT_TRUE(moved_->nodeInfo(record(node, sameNumber)));
}

TEST_F(MovedNodeTest, aMoveThatChangesNothingIsRecordedAllTheSame) {
    Node* const node = route("10.0.0.0/8", 2);
    EXPECT_TRUE(trie_->addMovedNode(node, id(2), moved_));
    EXPECT_TRUE(moved_->nodeInfo(record(node, id(2))));
}

TEST_F(MovedNodeTest, entriesOutliveTheirNodes) {
    trie_->insertFromRoot(prefix("10.0.0.0/8"), true, false, newId(2), 1);
    trie_->addMovedNode(at("10.0.0.0/8"), newId(1), moved_);
    trie_->remove(prefix("10.0.0.0/8"));
    ASSERT_EQ(trie_->root(), nullptr);
    TrieNodeInfo const& info = moved_->nodeInfo().begin()->key();
    EXPECT_EQ(info.prefixRef()->prefix(), prefix("10.0.0.0/8"));
    EXPECT_EQ(info.prefixRef()->references(), 1U);
    EXPECT_EQ(info.oldPartitionId()->id().value(), 1U);
    EXPECT_EQ(info.newPartitionId()->id().value(), 2U);
    EXPECT_EQ(info.newPartitionId()->references(), 1U);
}

TEST_F(MovedNodeTest, withoutACollectionTheHookHearsOfARoute) {
    Node* const node = route("10.0.0.0/8", 2, 7);
    EXPECT_TRUE(trie_->addMovedNode(node, id(1), nullptr));
    EXPECT_THAT(trie_->reports, ElementsAre(Report{node, id(1), 7, id(2), 7}));
    EXPECT_TRUE(trie_->addMovedNode(node, nullptr, nullptr));
    ASSERT_EQ(trie_->reports.size(), 2U);
    EXPECT_EQ(trie_->reports[1], (Report{node, nullptr, 7, id(2), 7}));
}

TEST_F(MovedNodeTest, withoutACollectionANodeWithoutARouteIsNotReported) {
    Node* const root = partition("10.0.0.0/8", 1);
    route("10.0.0.0/16", 1);
    route("10.1.0.0/16", 1);
    trie_->reports.clear();
    EXPECT_FALSE(trie_->addMovedNode(root, id(2), nullptr));
    EXPECT_FALSE(trie_->addMovedNode(at("10.0.0.0/15"), id(2), nullptr));
    EXPECT_THAT(trie_->reports, IsEmpty());
}

TEST_F(MovedNodeTest, recordingWithoutMemoryChangesNothing) {
    for (char const* const text : {"10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8", "13.0.0.0/8"}) {
        route(text, 2);
    }
    for (Node* const node : nodes()) {
        std::size_t const size = moved_->nodeInfo().size();
        std::vector<String> const before = state();
        bool recorded = false;
        TestSupport::failEachAllocation(
            [&] { recorded = trie_->addMovedNode(node, id(1), moved_); },
            [&] {
                EXPECT_EQ(moved_->nodeInfo().size(), size);
                EXPECT_EQ(state(), before);
            });
        EXPECT_EQ(recorded, node->fibRoute());
    }
    EXPECT_EQ(moved_->nodeInfo().size(), 4U);
}

TEST_F(MovedNodeTest, recordingIsTraced) {
    Node* const node = route("10.0.0.0/8", 2);
    String const address = addressText(moved_);
    TraceCapture const capture;
    trie_->addMovedNode(node, id(1), moved_);
    // Id 1 is now held by the entry too, and id 2, the null one apart, takes no part.
    trie_->addMovedNode(node, id(1), moved_);
    trie_->addMovedNode(node, nullptr, moved_);
    String const entry = "8 " + String(addSignature) + " node:Fib,10.0.0.0/8,1,1,0x2,hw:1";
    EXPECT_THAT(
        traced(capture),
        ElementsAre(entry + " oldPartitionId:PartitionId:1 references:1 movedNodes:" + address,
                    "7 movedNodes:" + address,
                    entry + " oldPartitionId:PartitionId:1 references:2 movedNodes:" + address,
                    "7 movedNodes:" + address,
                    entry + " oldPartitionId:PartitionId null movedNodes:" + address,
                    "7 movedNodes:" + address));
}

TEST_F(MovedNodeTest, aNodeWithoutARouteIsTracedInTheSameWay) {
    Node* const node = partition("10.0.0.0/8", 2);
    TraceCapture const capture;
    trie_->addMovedNode(node, id(1), moved_);
    EXPECT_THAT(traced(capture),
                ElementsAre("8 " + String(addSignature) +
                                " node:Partition,10.0.0.0/8,0,0,0x2,hw:1,cp oldPartitionId:"
                                "PartitionId:1 references:1 movedNodes:" +
                                addressText(moved_),
                            "7 movedNodes:" + addressText(moved_)));
}

TEST_F(MovedNodeTest, theHooksCallIsTracedBetweenTheLinesOfTheRecording) {
    Node* const node = route("10.0.0.0/8", 2, 7);
    trie_->keeping = false;
    TraceCapture const capture;
    trie_->addMovedNode(node, id(1), nullptr);
    EXPECT_THAT(traced(capture),
                ElementsAre("8 " + String(addSignature) +
                                " node:Fib,10.0.0.0/8,1,1,0x2,hw:7 oldPartitionId:PartitionId:1 "
                                "references:1 movedNodes:" +
                                addressText(nullptr),
                            "8 " + String(hookSignature) +
                                " Node:Fib,10.0.0.0/8,1,1,0x2,hw:7 oldPartitionId:PartitionId:1 "
                                "references:1 oldHwTable:7",
                            "7 movedNodes:" + addressText(nullptr)));
}

TEST_F(MovedNodeTest, theBaseHookWritesOneLineAndChangesNothing) {
    LpmTrie::Trie::Ptr const plain = LpmTrie::trieFactory(1);
    Node* const node = routeAndPartition("10.0.0.0/8", 2);
    PartitionId::Ptr const second = id(2);
    std::vector<String> const before = state();
    TraceCapture const capture;
    plain->movedNode(node, id(2), 4294967295U);
    plain->movedNode(node, nullptr, 0);
    plain->movedNode(nullptr, id(5), 3);
    String const start = "8 " + String(hookSignature);
    // The node, the world and the copy of this test: three references.
    EXPECT_THAT(traced(capture),
                ElementsAre(start + " Node:Partition,Fib,10.0.0.0/8,1,1,0x2,hw:1,cp oldPartitionId:"
                                    "PartitionId:2 references:3 oldHwTable:4294967295",
                            start + " Node:Partition,Fib,10.0.0.0/8,1,1,0x2,hw:1,cp oldPartitionId:"
                                    "PartitionId null oldHwTable:0",
                            start + " Node:(nil) oldPartitionId:PartitionId:5 references:1 "
                                    "oldHwTable:3"));
    EXPECT_EQ(state(), before);
}

}  // namespace
