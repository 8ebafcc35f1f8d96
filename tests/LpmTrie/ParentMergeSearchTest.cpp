#include <tests/LpmTrie/MergeSearchWorld.h>

#include <gmock/gmock.h>

namespace {

using namespace LpmTrieTest;
using LpmTrie::TrieReturnCode;
using testing::ElementsAre;

class ParentMergeSearchTest : public MergeSearchWorld {
protected:
    TrieReturnCode search(U32 maxEntries) {
        return trie_->findParentNodeToMerge(candidate(), maxEntries);
    }
    TrieReturnCode into(Node* node, Node* partition, bool dirty = false) {
        return {node, partition, nullptr, dirty};
    }
    TrieReturnCode nothing() { return {}; }
};

TEST_F(ParentMergeSearchTest, thePartitionAboveIsTheTargetWhenItHasRoom) {
    EXPECT_EQ(search(5), into(source(), source())) << "2 and 3 routes are as many as fit";
    EXPECT_EQ(search(0xffffffffU), into(source(), source()));
}

TEST_F(ParentMergeSearchTest, otherwiseItIsTheHighestNodeWithoutARouteThatFits) {
    source()->partitionRouteCountIs(100);
    EXPECT_EQ(search(101), into(highest(), source()));
    EXPECT_EQ(search(5), into(highest(), source()));
    EXPECT_EQ(search(4), into(middle(), source()));
    EXPECT_EQ(search(3), into(lowest(), source()));
    EXPECT_EQ(search(2), nothing());
    EXPECT_EQ(search(0), nothing());
}

TEST_F(ParentMergeSearchTest, aNodeThatIsTooFullStopsTheWalkThoughAHigherOneFits) {
    countsAre(1, 9, 1);
    source()->partitionRouteCountIs(1);
    EXPECT_EQ(search(5), into(lowest(), source()));
    countsAre(9, 1, 1);
    EXPECT_EQ(search(5), nothing());
}

TEST_F(ParentMergeSearchTest, nodesWithoutAnyRouteBelowAreCandidatesToo) {
    countsAre(0, 0, 0);
    source()->partitionRouteCountIs(100);
    EXPECT_EQ(search(2), into(highest(), source()));
}

TEST_F(ParentMergeSearchTest, countsAreComparedUnsigned) {
    countsAre(1, 0x80000000U, 1);
    EXPECT_EQ(search(9), into(lowest(), source()));
    EXPECT_EQ(search(0x80000002U), into(source(), source()));
}

TEST_F(ParentMergeSearchTest, anotherTableStopsTheWalk) {
    lowest()->hwTableIs(2);
    EXPECT_EQ(search(9), nothing());
    lowest()->hwTableIs(1);
    highest()->hwTableIs(2);
    EXPECT_EQ(search(9), into(middle(), source()));
    highest()->hwTableIs(1);
    source()->hwTableIs(2);
    EXPECT_EQ(search(9), nothing()) << "the partition that covers the target is of another table";
}

TEST_F(ParentMergeSearchTest, aRouteThatIsNoPartitionIsPassedOverUntested) {
    route("10.0.0.0/9", 1);
    highest()->partitionRouteCountIs(1000);
    EXPECT_EQ(search(6), into(source(), source()));
    source()->partitionRouteCountIs(100);
    highest()->partitionRouteCountIs(0);
    EXPECT_EQ(search(9), into(middle(), source())) << "never the target";
    highest()->hwTableIs(2);
    EXPECT_EQ(search(99999), into(middle(), source())) << "but its table stops the walk";
}

TEST_F(ParentMergeSearchTest, aRouteThatIsAPartitionIsTestedLikeAnyPartition) {
    routeAndPartition("10.0.0.0/9", 3);
    settle();
    ASSERT_EQ(highest()->partitionRouteCount(), 4U);
    EXPECT_EQ(search(6), into(highest(), highest()));
    EXPECT_EQ(search(5), into(middle(), highest())) << "too full, and its own partition covers";
}

TEST_F(ParentMergeSearchTest, theLowestPartitionAboveIsTheTarget) {
    partition("10.0.0.0/10", 3);
    settle();
    EXPECT_EQ(search(9), into(middle(), middle()));
    EXPECT_EQ(search(3), into(lowest(), middle()));
}

TEST_F(ParentMergeSearchTest, aNodePendingRemovalIsNoPartitionOnTheWayButCovers) {
    partition("10.0.0.0/9", 3);
    settle();
    dissolve(highest());
    EXPECT_EQ(search(5), into(source(), source()));
    source()->partitionRouteCountIs(100);
    EXPECT_EQ(search(5), into(highest(), highest(), true));
    EXPECT_EQ(search(4), into(middle(), highest(), true));
    highest()->hwTableIs(2);
    EXPECT_EQ(search(4), nothing()) << "it covers the target and is of another table";
}

TEST_F(ParentMergeSearchTest, theAnswerIsDirtyWhenTheCoveringPartitionIsPending) {
    for (unsigned const flags : someFlags_) {
        pendingIs(source(), flags);
        EXPECT_EQ(search(9), into(source(), source(), true)) << flags;
    }
    source()->partitionRouteCountIs(100);
    EXPECT_EQ(search(4), into(middle(), source(), true));
    pendingIs(source(), 0);
    pendingIs(candidate(), 15);
    pendingIs(middle(), 13);
    pendingIs(lowest(), 13);
    EXPECT_EQ(search(4), into(middle(), source(), false));
}

TEST_F(ParentMergeSearchTest, theCoveringRouteIsNotTold) {
    route("10.0.0.0/8", 1);
    ASSERT_TRUE(source()->fibRoute());
    EXPECT_EQ(search(9).coveringPrefixNode(), nullptr);
    EXPECT_EQ(search(9), into(source(), source()));
}

TEST_F(ParentMergeSearchTest, anyNodeMayAsk) {
    EXPECT_EQ(trie_->findParentNodeToMerge(at("10.0.0.0/26"), 3), into(candidate(), candidate()));
    EXPECT_EQ(trie_->findParentNodeToMerge(middle(), 5), into(source(), source()));
}

TEST_F(ParentMergeSearchTest, theRootHasNoTarget) {
    EXPECT_EQ(trie_->findParentNodeToMerge(source(), 99), nothing());
}

TEST_F(ParentMergeSearchTest, theRootIsATargetAsAPartitionOnly) {
    source()->partitionNodeIs(false);
    EXPECT_EQ(search(9), nothing()) << "the root is the highest that fits";
    countsAre(1, 2, 9);
    EXPECT_EQ(search(5), nothing()) << "no partition covers the target";
    dissolve(source());
    EXPECT_EQ(search(5), into(middle(), source(), true));
    countsAre(1, 2, 3);
    EXPECT_EQ(search(9), nothing()) << "though the root itself covers the root";
}

class AskedTrie : public LpmTrie::Trie {
public:
    using Trie::Trie;
    TrieReturnCode findPartitionNode(IpGenPrefix const& asked, bool includePending) override {
        EXPECT_TRUE(includePending);
        prefixes.push_back(asked);
        return Trie::findPartitionNode(asked, includePending);
    }
    std::vector<IpGenPrefix> prefixes;
};

TEST_F(ParentMergeSearchTest, theCoveringPartitionIsAskedOfTheClientsLookup) {
    Vexo::Ptr<AskedTrie> const trie(new AskedTrie(2));
    trie->afIs(Nimbal::AddressFamily::ipv4);
    Node* const top = trie->insertFromRoot(prefix("10.0.0.0/8"), false, true, id(1), 1).node();
    Node* const nested = trie->insertFromRoot(prefix("10.0.0.0/16"), true, true, id(2), 1).node();
    EXPECT_EQ(trie->findParentNodeToMerge(nested, 1).node(), top);
    EXPECT_THAT(trie->prefixes, ElementsAre(prefix("10.0.0.0/8")));
    EXPECT_EQ(trie->findParentNodeToMerge(nested, 0).node(), nullptr);
    EXPECT_EQ(trie->prefixes.size(), 1U) << "without a target nothing is asked";
    LpmTrie::removeAll(*trie);
}

}  // namespace
