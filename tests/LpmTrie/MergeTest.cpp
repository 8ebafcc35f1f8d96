#include <tests/LpmTrie/MergeWorld.h>
#include <tests/Support/AllocationFailure.h>

#include <gmock/gmock.h>

namespace {

using namespace LpmTrieTest;
using testing::ElementsAre;
using testing::IsEmpty;

class MergeTest : public MergeWorld {};

TEST_F(MergeTest, theRoutesOfTheDissolvedPartitionGoOverToTheTarget) {
    merge(top(), 1);
    EXPECT_EQ(idNumbers(), "1 1 - 1 1 - 1 3 3 1");
    EXPECT_EQ(top()->partitionRouteCount(), 4U);
    EXPECT_EQ(between()->partitionRouteCount(), 3U) << "on the way to the target";
    EXPECT_EQ(from()->partitionRouteCount(), 2U) << "keeps its own count";
    EXPECT_EQ(at("10.208.0.0/12")->partitionRouteCount(), 2U);
    EXPECT_EQ(top()->routeCount(), 6U);
    trie_->verify();
}

TEST_F(MergeTest, theRoutesThatMovedAreRecordedAndNoOthers) {
    merge(top(), 1);
    EXPECT_EQ(moved_->nodeInfo().size(), 2U);
    EXPECT_TRUE(moved_->nodeInfo(record(at("10.192.0.0/16"), id(2))));
    EXPECT_TRUE(moved_->nodeInfo(record(at("10.224.0.0/16"), id(2))));
    EXPECT_EQ(at("10.224.0.0/16")->partitionId(), id(1));
    EXPECT_THAT(trie_->reports, IsEmpty()) << "the hook is not for what a collection takes";
}

TEST_F(MergeTest, aDissolvedNodeThatIsARouteIsRecordedToo) {
    route("10.192.0.0/10", 2);
    merge(top(), 1);
    EXPECT_EQ(moved_->nodeInfo().size(), 3U);
    EXPECT_TRUE(moved_->nodeInfo(record(from(), id(2))));
    EXPECT_EQ(top()->partitionRouteCount(), 5U);
    trie_->verify();
}

TEST_F(MergeTest, theDissolvedNodeStaysAsPendingRemovalWithTheTargetsId) {
    merge(top(), 1);
    EXPECT_FALSE(from()->partitionNode());
    EXPECT_EQ(from()->pendingState(), PendingState::removePartition_());
    EXPECT_EQ(from()->partitionId(), id(1));
    EXPECT_TRUE(top()->partitionNode());
    EXPECT_EQ(top()->pendingState(), PendingState());
    EXPECT_EQ(top()->partitionId(), id(1));
}

TEST_F(MergeTest, whateverWasPendingOnTheDissolvedNodeIsDropped) {
    for (unsigned const flags : {0U, 1U, 2U, 4U, 5U, 8U, 15U}) {
        LpmTrie::removeAll(*trie_);
        build();
        from()->pendingStateIs(pending(flags));
        merge(top(), 1);
        EXPECT_EQ(from()->pendingState().value(), 2U) << flags;
    }
}

TEST_F(MergeTest, whatIsPendingOnAnExistingTargetStays) {
    for (unsigned const flags : {1U, 2U, 4U, 13U}) {
        LpmTrie::removeAll(*trie_);
        build();
        top()->pendingStateIs(pending(flags));
        merge(top(), 1);
        EXPECT_EQ(top()->pendingState().value(), flags);
        EXPECT_TRUE(top()->partitionNode());
    }
}

TEST_F(MergeTest, aNewPartitionAskedForWhereThereIsOneIsAPlainMerge) {
    merge(top(), 1);
    std::vector<String> const plain = state();
    moved_->nodeInfoDelAll();
    LpmTrie::removeAll(*trie_);
    build();
    trie_->mergePartition(from(), top(), id(1), true, moved_);
    EXPECT_EQ(state(), plain);
    EXPECT_EQ(moved_->nodeInfo().size(), 2U);
    EXPECT_TRUE(moved_->nodeInfo(record(at("10.192.0.0/16"), id(2))));
    EXPECT_TRUE(moved_->nodeInfo(record(at("10.224.0.0/16"), id(2))));
}

TEST_F(MergeTest, anInternalNodeBecomesTheRootOfANewPartition) {
    create(between(), 5);
    EXPECT_TRUE(between()->partitionNode());
    EXPECT_EQ(between()->pendingState(), PendingState::createPartition_());
    EXPECT_EQ(between()->partitionId(), id(5));
    EXPECT_FALSE(from()->partitionNode());
    EXPECT_EQ(from()->pendingState(), PendingState::removePartition_());
    EXPECT_EQ(from()->partitionId(), id(5));
    EXPECT_EQ(idNumbers(), "1 1 5 5 5 - 5 3 3 5");
    EXPECT_EQ(between()->partitionRouteCount(), 3U);
    EXPECT_EQ(top()->partitionRouteCount(), 1U);
    EXPECT_EQ(from()->partitionRouteCount(), 2U);
    EXPECT_EQ(moved_->nodeInfo().size(), 3U);
    EXPECT_TRUE(moved_->nodeInfo(record(at("10.128.0.0/16"), id(1))));
    EXPECT_TRUE(moved_->nodeInfo(record(at("10.192.0.0/16"), id(2))));
    EXPECT_TRUE(moved_->nodeInfo(record(at("10.224.0.0/16"), id(2))));
    trie_->verify();
}

TEST_F(MergeTest, aRouteThatBecomesTheRootOfANewPartitionCountsAndMoves) {
    route("10.128.0.0/9", 1);
    create(between(), 5);
    EXPECT_EQ(between()->partitionRouteCount(), 4U);
    EXPECT_EQ(top()->partitionRouteCount(), 1U);
    EXPECT_EQ(moved_->nodeInfo().size(), 4U);
    EXPECT_TRUE(moved_->nodeInfo(record(between(), id(1))));
    trie_->verify();
}

TEST_F(MergeTest, theNewPartitionLeavesOutOtherNestedPartitions) {
    routeAndPartition("10.128.0.0/12", 7);
    settle();
    create(between(), 5);
    EXPECT_EQ(at("10.128.0.0/12")->partitionId(), id(7));
    EXPECT_EQ(at("10.128.0.0/16")->partitionId(), id(7));
    EXPECT_EQ(between()->partitionRouteCount(), 2U) << "what was dissolved";
    trie_->verify();
}

TEST_F(MergeTest, routesOfAnotherTableKeepTheirIds) {
    at("10.128.0.0/16")->hwTableIs(2);
    at("10.224.0.0/16")->hwTableIs(2);
    create(between(), 5);
    EXPECT_EQ(idNumbers(), "1 1 5 1 5 - 5 3 3 2");
    EXPECT_EQ(moved_->nodeInfo().size(), 1U);
}

TEST_F(MergeTest, withoutACollectionTheHookHearsOfEveryRouteInOrder) {
    route("10.128.0.0/9", 1);
    route("10.192.0.0/10", 2);
    trie_->mergePartition(from(), between(), id(5), true, nullptr);
    EXPECT_THAT(trie_->reports,
                ElementsAre(moved(between(), id(1)), moved(at("10.128.0.0/16"), id(1)),
                            moved(from(), id(2)), moved(at("10.192.0.0/16"), id(2)),
                            moved(at("10.224.0.0/16"), id(2))));
    EXPECT_EQ(trie_->reports[0].newId, id(5));
}

TEST_F(MergeTest, withoutACollectionNodesWithoutARouteAreNotReported) {
    trie_->mergePartition(from(), between(), id(5), true, nullptr);
    EXPECT_THAT(reportTexts(),
                ElementsAre("10.128.0.0/16: 1/hw:1 -> 5/hw:1", "10.192.0.0/16: 2/hw:1 -> 5/hw:1",
                            "10.224.0.0/16: 2/hw:1 -> 5/hw:1"));
}

TEST_F(MergeTest, theCountGoesToThePartitionAboveTheDissolvedNodeWhateverTheTarget) {
    Node* const aside = partition("10.64.0.0/10", 8);
    settle();
    merge(aside, 8);
    EXPECT_EQ(aside->partitionRouteCount(), 0U);
    EXPECT_EQ(top()->partitionRouteCount(), 4U);
    EXPECT_EQ(at("10.192.0.0/16")->partitionId(), id(8));
}

TEST_F(MergeTest, noNodeIsMadeFreedOrHungElsewhere) {
    for (bool const creating : {false, true}) {
        LpmTrie::removeAll(*trie_);
        build();
        std::vector<Node*> const before = nodes();
        Vexo::AllocationCounts const counts = Vexo::allocationCounts("LpmTrie::Node");
        creating ? create(between(), 5) : merge(top(), 1);
        EXPECT_EQ(nodes(), before);
        EXPECT_EQ(Vexo::allocationCounts("LpmTrie::Node"), counts);
        for (Node const* const node : before) {
            for (U32 const bit : {0U, 1U}) {
                if (node->bitNode(bit) != nullptr) {
                    EXPECT_EQ(node->bitNode(bit)->parent(), node);
                }
            }
        }
    }
}

TEST_F(MergeTest, anIdMayBeNullOnBothSides) {
    top()->partitionIdIs(nullptr);
    trie_->mergePartition(from(), top(), nullptr, false, moved_);
    EXPECT_EQ(from()->partitionId(), nullptr);
    EXPECT_EQ(at("10.192.0.0/16")->partitionId(), nullptr);
    EXPECT_TRUE(moved_->nodeInfo(TrieNodeInfo(at("10.192.0.0/16")->prefixRef(), id(2), nullptr)));
}

TEST_F(MergeTest, theDissolvedPartitionsNumberIsFreeWhenItsLastRecordHasGone) {
    Torvel::Bitmap::Ptr const bitmap = Torvel::Bitmap::BitmapIs();
    PartitionId::Ptr own = PartitionId::PartitionIdIs(PartitionIdValue(6), ~0U, bitmap);
    for (char const* const text : {"10.192.0.0/10", "10.192.0.0/16", "10.224.0.0/16"}) {
        at(text)->partitionIdIs(own);
    }
    own = nullptr;
    merge(top(), 1);
    EXPECT_TRUE(bitmap->isSet(6)) << "the records hold it";
    moved_->nodeInfoDelAll();
    EXPECT_FALSE(bitmap->isSet(6));
}

TEST_F(MergeTest, aMergeWithoutMemoryForItsRecordsChangesNothing) {
    route("10.192.0.0/10", 2);
    for (bool const creating : {false, true}) {
        LpmTrie::removeAll(*trie_);
        build();
        moved_ = LpmTrie::trieNodesInfoFactory();
        id(5);
        std::vector<String> const before = state();
        EXPECT_GE(TestSupport::failEachAllocation(
                      [&] { creating ? create(between(), 5) : merge(top(), 1); },
                      [&] {
                          EXPECT_EQ(state(), before);
                          EXPECT_TRUE(moved_->nodeInfo().empty());
                      }),
                  1U);
        EXPECT_EQ(moved_->nodeInfo().size(), creating ? 3U : 2U);
    }
}

}  // namespace
