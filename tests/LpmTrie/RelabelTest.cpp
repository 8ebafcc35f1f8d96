#include <tests/LpmTrie/PartitionWorld.h>
#include <tests/Support/AllocationFailure.h>

#include <gmock/gmock.h>

namespace {

using namespace LpmTrieTest;
using testing::ElementsAre;
using testing::IsEmpty;

/**
 * A partition 1 at 10.0.0.0/8 with the routes 10.0.0.0/16 and, joined by internal nodes at
 * 10.128.0.0/9 and 10.128.0.0/10, 10.128.0.0/16, 10.160.0.0/16 and 10.192.0.0/16.
 */
class RelabelTest : public PartitionWorld {
protected:
    RelabelTest() {
        partition("10.0.0.0/8", 1);
        for (char const* const text :
             {"10.0.0.0/16", "10.128.0.0/16", "10.160.0.0/16", "10.192.0.0/16"}) {
            route(text, 1);
        }
        settle();
    }

    /** What whoever cuts a partition does before it is counted and its routes are labelled. */
    Node* cut(char const* text, U32 number) {
        Node* const node = at(text);
        node->partitionNodeIs(true);
        node->partitionIdIs(id(number));
        return node;
    }
    std::vector<String> counters() const {
        std::vector<String> texts;
        for (Node const* const node : nodes()) {
            texts.push_back(
                Vexo::formatString("%u,%u", node->routeCount(), node->partitionRouteCount()));
        }
        return texts;
    }
    U32 idAt(char const* text) const {
        PartitionId::Ptr const& id = at(text)->partitionId();
        return id ? id->id().value() : 0;
    }

    TrieNodesInfo::Ptr const moved_ = LpmTrie::trieNodesInfoFactory();
};

TEST_F(RelabelTest, theRoutesBelowTakeTheIdOfTheNode) {
    at("10.128.0.0/9")->partitionIdIs(id(2));
    trie_->updatePartitionId(at("10.128.0.0/9"), moved_);
    for (char const* const text : {"10.128.0.0/16", "10.160.0.0/16", "10.192.0.0/16"}) {
        EXPECT_EQ(at(text)->partitionId(), id(2)) << text;
        EXPECT_TRUE(moved_->nodeInfo(record(at(text), id(1)))) << text;
    }
    EXPECT_EQ(moved_->nodeInfo().size(), 3U);
    EXPECT_EQ(idAt("10.0.0.0/16"), 1U) << "not below the node";
    EXPECT_EQ(idAt("10.0.0.0/8"), 1U);
}

TEST_F(RelabelTest, relabellingStaysOutOfTheRightSibling) {
    at("10.128.0.0/10")->partitionIdIs(id(2));
    trie_->updatePartitionId(at("10.128.0.0/10"), moved_);
    EXPECT_EQ(idAt("10.160.0.0/16"), 2U);
    EXPECT_EQ(idAt("10.192.0.0/16"), 1U);
    EXPECT_EQ(moved_->nodeInfo().size(), 2U);
}

TEST_F(RelabelTest, relabellingTouchesNeitherTheNodeNorAnyCounter) {
    Node* const node = routeAndPartition("10.128.0.0/9", 2);
    settle();
    node->partitionIdIs(id(3));
    std::vector<String> const before = counters();
    trie_->updatePartitionId(node, moved_);
    EXPECT_FALSE(moved_->nodeInfo(record(node, id(3))));
    EXPECT_FALSE(moved_->nodeInfo(record(node, id(2))));
    EXPECT_EQ(moved_->nodeInfo().size(), 3U);
    EXPECT_EQ(node->pendingState(), PendingState());
    EXPECT_EQ(counters(), before);
}

TEST_F(RelabelTest, reportsComeInPreOrderThroughTheHookWithoutACollection) {
    at("10.128.0.0/9")->partitionIdIs(id(2));
    trie_->updatePartitionId(at("10.128.0.0/9"), nullptr);
    EXPECT_THAT(trie_->reports,
                ElementsAre(moved(at("10.128.0.0/16"), id(1)), moved(at("10.160.0.0/16"), id(1)),
                            moved(at("10.192.0.0/16"), id(1))));
    EXPECT_EQ(trie_->reports[0].newId, id(2)) << "labelled before the hook is called";
}

TEST_F(RelabelTest, withACollectionTheHookIsNotCalled) {
    at("10.128.0.0/9")->partitionIdIs(id(2));
    trie_->updatePartitionId(at("10.128.0.0/9"), moved_);
    EXPECT_THAT(trie_->reports, IsEmpty());
}

TEST_F(RelabelTest, aRouteThatHadTheIdAlreadyIsReportedAllTheSame) {
    at("10.128.0.0/9")->partitionIdIs(id(2));
    at("10.160.0.0/16")->partitionIdIs(id(2));
    trie_->updatePartitionId(at("10.128.0.0/9"), moved_);
    EXPECT_EQ(moved_->nodeInfo().size(), 3U);
    EXPECT_TRUE(moved_->nodeInfo(record(at("10.160.0.0/16"), id(2))));
    trie_->updatePartitionId(at("10.128.0.0/9"), nullptr);
    EXPECT_EQ(trie_->reports.size(), 3U);
    EXPECT_EQ(trie_->reports[1], moved(at("10.160.0.0/16"), id(2)));
}

TEST_F(RelabelTest, nullIdsAreTakenAndLeftLikeAnyOther) {
    at("10.128.0.0/16")->partitionIdIs(nullptr);
    Node* const node = at("10.128.0.0/10");
    ASSERT_EQ(node->partitionId(), nullptr);
    trie_->updatePartitionId(node, moved_);
    EXPECT_EQ(at("10.160.0.0/16")->partitionId(), nullptr);
    EXPECT_TRUE(moved_->nodeInfo(TrieNodeInfo(at("10.160.0.0/16")->prefixRef(), id(1), nullptr)));
    EXPECT_TRUE(moved_->nodeInfo(TrieNodeInfo(at("10.128.0.0/16")->prefixRef(), nullptr, nullptr)));
}

TEST_F(RelabelTest, aRouteOfAnotherTableIsLeftAloneButNotThoseBelowIt) {
    at("10.128.0.0/9")->partitionIdIs(id(2));
    at("10.160.0.0/16")->hwTableIs(2);
    trie_->updatePartitionId(at("10.128.0.0/9"), nullptr);
    EXPECT_EQ(idAt("10.160.0.0/16"), 1U);
    EXPECT_EQ(at("10.160.0.0/16")->hwTable(), 2U);
    EXPECT_THAT(reportTexts(),
                ElementsAre("10.128.0.0/16: 1/hw:1 -> 2/hw:1", "10.192.0.0/16: 1/hw:1 -> 2/hw:1"));
}

TEST_F(RelabelTest, internalNodesKeepWhateverLabelTheyHave) {
    at("10.128.0.0/9")->partitionIdIs(id(2));
    at("10.128.0.0/10")->partitionIdIs(id(7));
    trie_->updatePartitionId(at("10.128.0.0/9"), moved_);
    EXPECT_EQ(idAt("10.128.0.0/10"), 7U);
    trie_->updatePartitionId(at("10.0.0.0/8"), moved_);
    EXPECT_EQ(idAt("10.128.0.0/9"), 2U);
    for (TrieNodesInfo::VexoNodeInfo const& entry : moved_->nodeInfo()) {
        EXPECT_EQ(entry.key().prefixRef()->prefix().len(), 16U) << entry.key();
    }
}

TEST_F(RelabelTest, nestedPartitionsAreLeftOut) {
    routeAndPartition("10.128.0.0/10", 5);
    settle();
    Node* const node = cut("10.128.0.0/9", 2);
    trie_->updateNewPartition(node, nullptr, false);
    EXPECT_EQ(node->partitionRouteCount(), 1U) << "10.192.0.0/16 alone";
    EXPECT_EQ(idAt("10.128.0.0/10"), 5U);
    EXPECT_EQ(idAt("10.128.0.0/16"), 5U);
    EXPECT_THAT(reportTexts(), ElementsAre("10.192.0.0/16: 1/hw:1 -> 2/hw:1"));
    trie_->verify();
}

TEST_F(RelabelTest, aPartitionThatIsPendingRemovalIsNoPartitionAnyMore) {
    routeAndPartition("10.128.0.0/10", 5);
    Node* const dissolving = at("10.128.0.0/10");
    dissolving->partitionNodeIs(false);
    dissolving->pendingStateIs(PendingState::removePartition_());
    trie_->reports.clear();
    at("10.128.0.0/9")->partitionIdIs(id(2));
    trie_->updatePartitionId(at("10.128.0.0/9"), nullptr);
    EXPECT_EQ(idAt("10.128.0.0/10"), 2U);
    EXPECT_EQ(trie_->reports.size(), 4U);
}

TEST_F(RelabelTest, atTheRootTheWholeTrieOutsideNestedPartitionsIsRelabelled) {
    partition("10.128.0.0/10", 5);
    settle();
    Node* const root = trie_->root();
    root->partitionIdIs(id(2));
    trie_->updateNewPartition(root, nullptr, false);
    EXPECT_EQ(root->partitionRouteCount(), 2U);
    EXPECT_THAT(reportTexts(),
                ElementsAre("10.0.0.0/16: 1/hw:1 -> 2/hw:1", "10.192.0.0/16: 1/hw:1 -> 2/hw:1"));
    trie_->verify();
}

TEST_F(RelabelTest, aNewPartitionsCountIsTakenOffAllUpToTheNextPartition) {
    routeAndPartition("10.0.0.0/7", 9);
    settle();
    Node* const node = cut("10.128.0.0/10", 2);
    trie_->updateNewPartition(node, moved_, false);
    EXPECT_EQ(node->partitionRouteCount(), 2U);
    EXPECT_EQ(at("10.128.0.0/9")->partitionRouteCount(), 1U);
    EXPECT_EQ(at("10.0.0.0/8")->partitionRouteCount(), 2U);
    EXPECT_EQ(at("10.0.0.0/7")->partitionRouteCount(), 1U) << "above the next partition";
    EXPECT_EQ(node->routeCount(), 2U);
    EXPECT_EQ(at("10.0.0.0/8")->routeCount(), 4U);
    trie_->verify();
}

TEST_F(RelabelTest, aRoutesOwnRouteIsCountedUnlessTheNodeIsNew) {
    Node* const node = cut("10.160.0.0/16", 2);
    trie_->updateNewPartition(node, moved_, true);
    EXPECT_EQ(node->partitionRouteCount(), 0U);
    EXPECT_EQ(at("10.128.0.0/10")->partitionRouteCount(), 2U);
    EXPECT_EQ(at("10.0.0.0/8")->partitionRouteCount(), 4U);

    trie_->updateNewPartition(node, moved_, false);
    EXPECT_EQ(node->partitionRouteCount(), 1U);
    EXPECT_EQ(at("10.128.0.0/10")->partitionRouteCount(), 1U);
    EXPECT_EQ(at("10.0.0.0/8")->partitionRouteCount(), 3U);
    EXPECT_TRUE(moved_->nodeInfo().empty()) << "the node itself is not reported";
}

TEST_F(RelabelTest, aNewPartitionWithoutChildrenAndRouteHasNone) {
    Node* const node = partition("10.64.0.0/16", 2);
    EXPECT_EQ(node->partitionRouteCount(), 0U);
    EXPECT_EQ(at("10.0.0.0/8")->partitionRouteCount(), 4U);
    EXPECT_EQ(at("10.0.0.0/9")->partitionRouteCount(), 1U);
    trie_->updateNewPartition(node, moved_, true);
    EXPECT_EQ(at("10.0.0.0/8")->partitionRouteCount(), 4U);
}

TEST_F(RelabelTest, anInsertedPartitionCountsARouteThatWasThereBefore) {
    partition("10.160.0.0/16", 2);
    EXPECT_EQ(at("10.160.0.0/16")->partitionRouteCount(), 1U);
    EXPECT_EQ(at("10.0.0.0/8")->partitionRouteCount(), 3U);
    EXPECT_THAT(trie_->reports, IsEmpty()) << "whoever cuts reports the cut node";
    trie_->verify();
}

TEST_F(RelabelTest, anInsertedPartitionReportsTheRoutesBelowThroughTheHook) {
    partition("10.128.0.0/9", 2);
    EXPECT_THAT(reportTexts(),
                ElementsAre("10.128.0.0/16: 1/hw:1 -> 2/hw:1", "10.160.0.0/16: 1/hw:1 -> 2/hw:1",
                            "10.192.0.0/16: 1/hw:1 -> 2/hw:1"));
    trie_->verify();
}

TEST_F(RelabelTest, changesWithoutMemoryForTheRecordsChangeNothing) {
    for (bool const counting : {false, true}) {
        Node* const node = cut(counting ? "10.128.0.0/9" : "10.0.0.0/8", counting ? 2 : 3);
        std::vector<String> const before = state();
        moved_->nodeInfoDelAll();
        EXPECT_GE(TestSupport::failEachAllocation(
                      [&] {
                          counting ? trie_->updateNewPartition(node, moved_, false)
                                   : trie_->updatePartitionId(node, moved_);
                      },
                      [&] {
                          EXPECT_EQ(state(), before);
                          EXPECT_TRUE(moved_->nodeInfo().empty());
                      }),
                  1U);
        EXPECT_EQ(moved_->nodeInfo().size(), counting ? 3U : 4U);
        settle();
    }
}

}  // namespace
