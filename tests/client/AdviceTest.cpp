#include <client/HalvingPolicy.h>

#include <tests/client/HandmadeTrie.h>

#include <algorithm>

/*
 * What must be asked before the trie's advice is followed: each case is one in which the advice
 * alone, followed blindly, would end in a fatal assertion or a cut that is none.
 */

namespace ClientTest {
namespace {

using LpmClient::Cut;
using LpmClient::HalvingPolicy;
using LpmClient::Room;

class AdviceTest : public HandmadeTrie {
protected:
    static constexpr Room room{8, 8};
    // Half in any order, so that it makes no difference which route has come.
    HalvingPolicy half_{false, 50};
    HalvingPolicy redistribute_{true, 50};
};

class MergeAdviceTest : public AdviceTest {
protected:
    RouteNode* small(U32 hwTable) {
        RouteNode* const root = nest("10.1.0.0/16", hwTable);
        add("10.1.1.0/24");
        return root;
    }
};

TEST_F(MergeAdviceTest, targetInTheSameTableIsTakenIn) {
    RouteNode* const root = small(1);
    auto const cut = half_.shrink(*trie_, root, room);
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->oldRoots, (std::vector<RouteNode*>{top_, root}));
    EXPECT_EQ(cut->newRoots, std::vector<RouteNode*>{top_});
}

TEST_F(MergeAdviceTest, targetInAnotherTableIsLeftAlone) {
    EXPECT_FALSE(half_.shrink(*trie_, small(2), room));
}

TEST_F(MergeAdviceTest, targetThatIsPendingIsLeftAlone) {
    RouteNode* const root = small(1);
    top_->pendingStateIs(PendingState::splittingPartition_());
    EXPECT_FALSE(half_.shrink(*trie_, root, room));
    top_->pendingStateIs(PendingState());
}

TEST_F(MergeAdviceTest, targetThatIsNoPartitionIsLeftAlone) {
    // The top has no room, so that the advice is a node in between.
    for (char const* const text : {"20.0.0.0/8", "21.0.0.0/8", "22.0.0.0/8", "23.0.0.0/8",
                                   "24.0.0.0/8", "25.0.0.0/8", "10.2.0.0/16"}) {
        add(text);
    }
    RouteNode* const root = small(1);
    auto const advice = trie_->findParentNodeToMerge(root, 6);
    ASSERT_NE(advice.node(), nullptr);
    ASSERT_FALSE(advice.node()->partitionNode());
    EXPECT_FALSE(half_.shrink(*trie_, root, room));
}

class SplitAdviceTest : public AdviceTest {};

TEST_F(SplitAdviceTest, countOfZeroIsNotAskedFor) {
    EXPECT_FALSE(half_.makeRoom(*trie_, top_, add("10.0.0.0/8"), {0, 8}));
    EXPECT_FALSE(half_.makeRoom(*trie_, nest("11.0.0.0/8"), top_, {0, 8}));
}

TEST_F(SplitAdviceTest, shareOfLessThanARouteIsARoute) {
    HalvingPolicy fifth(false, 20);
    for (char const* const text : {"10.0.0.0/8", "11.0.0.0/8", "11.1.0.0/16", "11.1.1.0/24"}) {
        add(text);
        U32 const routes = top_->partitionRouteCount();
        auto const cut = fifth.makeRoom(*trie_, top_, top_, {std::max(routes - 1, 1U), 8});
        ASSERT_EQ(cut.has_value(), routes > 1) << text;
        if (cut) {
            EXPECT_GT(cut->newRoots.back()->partitionRouteCount(), 0U);
        }
    }
}

TEST_F(SplitAdviceTest, sourceItselfIsNeverTheCut) {
    U32 routes = 0;
    for (char const* const text : {"0.0.0.0/0", "10.0.0.0/8", "200.0.0.0/8", "200.1.0.0/16",
                                   "200.1.1.0/24", "200.1.1.1/32", "11.0.0.0/8", "10.1.0.0/16"}) {
        add(text);
        if (++routes == 3) {
            // Asked for two of the three, the search answers the source.
            ASSERT_EQ(trie_->findMergeNodeViaSplitCount(top_, 2, false).node(), top_);
        }
        auto const cut = half_.makeRoom(*trie_, top_, top_, {std::max(routes - 1, 1U), 8});
        ASSERT_EQ(cut.has_value(), routes > 1) << text;
        if (cut) {
            EXPECT_EQ(cut->newRoots.front(), top_);
            EXPECT_NE(cut->newRoots.back(), top_);
            EXPECT_GT(cut->newRoots.back()->partitionRouteCount(), 0U);
        }
    }
}

TEST_F(SplitAdviceTest, pendingNodeIsNoCut) {
    add("10.0.0.0/8");
    RouteNode* const node = add("11.0.0.0/8");
    add("11.1.0.0/16");
    RouteNode* const chosen = routeNode(trie_->findMergeNodeViaSplitCount(top_, 1, false).node());
    ASSERT_TRUE(chosen == node || chosen->parent() == node);
    ASSERT_TRUE(half_.makeRoom(*trie_, top_, top_, {2, 8}));
    chosen->pendingStateIs(PendingState::removePartition_());
    EXPECT_FALSE(half_.makeRoom(*trie_, top_, top_, {2, 8}));
    chosen->pendingStateIs(PendingState());
}

class RedistributionAdviceTest : public AdviceTest {
protected:
    /** A nested partition that can take a part of the top in. */
    RedistributionAdviceTest() {
        for (char const* const text : {"10.1.0.0/16", "10.2.0.0/16", "10.4.0.0/16", "20.0.0.0/8"}) {
            add(text);
        }
        nested_ = nest("10.3.0.0/16");
        add("10.3.1.0/24");
    }
    std::optional<Cut> proposed() { return redistribute_.makeRoom(*trie_, top_, top_, {5, 0}); }

    RouteNode* nested_ = nullptr;
};

TEST_F(RedistributionAdviceTest, nestedPartitionTakesAPartIn) {
    auto const cut = proposed();
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->oldRoots, (std::vector<RouteNode*>{top_, nested_}));
    EXPECT_EQ(cut->newRoots.size(), 2U);
}

TEST_F(RedistributionAdviceTest, partitionOnlyPendingRemovalIsLeftAlone) {
    trie_->mergePartition(nested_, top_, top_->partitionId(), false, nullptr);
    ASSERT_TRUE(nested_->pendingState().removePartition());
    trie_->clearMoved();
    EXPECT_FALSE(proposed());
    nested_->pendingStateIs(PendingState());
}

TEST_F(RedistributionAdviceTest, pendingPartitionIsLeftAlone) {
    nested_->pendingStateIs(PendingState::createPartition_());
    EXPECT_FALSE(proposed());
    nested_->pendingStateIs(PendingState());
}

}  // namespace
}  // namespace ClientTest
