#include <client/Recut.h>

#include <tests/client/ClientWorld.h>
#include <tests/client/HandmadeTrie.h>

/*
 * What must be done by hand around the trie's operations when partitions are cut anew, so that no
 * route is lost, no label is stale, nothing stays pending and no dead node is left.
 */

namespace ClientTest {
namespace {

using LpmClient::Cut;
using LpmClient::Recut;

class RecutTrieTest : public HandmadeTrie {
protected:
    RecutTrieTest() {
        for (char const* const text : {"10.1.0.0/16", "10.1.1.0/24", "10.1.2.0/24", "20.0.0.0/8",
                                       "30.0.0.0/8", "40.0.0.0/8", "50.0.0.0/8"}) {
            add(text);
        }
    }

    /** The nodes at these prefixes. */
    Cut cut(std::vector<char const*> const& olds, std::vector<char const*> const& news) {
        Cut cut;
        for (char const* const root : olds) {
            cut.oldRoots.push_back(at(root));
        }
        for (char const* const root : news) {
            cut.newRoots.push_back(at(root));
        }
        return cut;
    }
    /** In the trie, up to the point where the chip would have been written. */
    Recut recut(Cut const& cut) {
        Recut planned = LpmClient::planRecut(cut, 8, nullptr);
        std::vector<PartitionId::Ptr> fresh;
        while (fresh.size() < planned.freshBuckets) {
            fresh.push_back(newId());
        }
        assignFresh(planned, fresh);
        LpmClient::recutTrie(*trie_, planned);
        return planned;
    }
};

TEST_F(RecutTrieTest, newRootReportsItsOwnRouteAndTakesTheOthersAlong) {
    auto const old = top_->partitionId();
    Recut const planned = recut(cut({"0.0.0.0/0"}, {"0.0.0.0/0", "10.1.0.0/16"}));
    RouteNode* const root = at("10.1.0.0/16");
    EXPECT_TRUE(root->partitionNode());
    EXPECT_TRUE(root->pendingState().createPartition());
    EXPECT_EQ(trie_->moved(),
              (std::vector<RouteNode*>{root, at("10.1.1.0/24"), at("10.1.2.0/24")}));
    EXPECT_NE(root->partitionId(), old);
    EXPECT_EQ(at("10.1.2.0/24")->partitionId(), root->partitionId());
    EXPECT_EQ(root->partitionRouteCount(), 3U);
    EXPECT_EQ(top_->partitionRouteCount(), 4U);
    completeRecut(*trie_, planned);
    EXPECT_EQ(root->pendingState(), PendingState());
    trie_->verify();
}

TEST_F(RecutTrieTest, internalNodeWithAStaleTableTakesThatOfThePartitionAround) {
    auto* const node = routeNode(at("10.1.1.0/24")->parent());
    ASSERT_TRUE(node->internal());
    node->hwTableIs(9);
    Cut wanted = cut({"0.0.0.0/0"}, {"0.0.0.0/0"});
    wanted.newRoots.push_back(node);
    Recut const planned = recut(wanted);
    EXPECT_EQ(node->hwTable(), 1U);
    EXPECT_EQ(at("10.1.1.0/24")->partitionId(), node->partitionId());
    EXPECT_EQ(at("10.1.2.0/24")->partitionId(), node->partitionId());
    completeRecut(*trie_, planned);
    trie_->verify();
}

TEST_F(RecutTrieTest, otherPendingFlagsOfANewRootAreCleared) {
    at("10.1.0.0/16")->pendingStateIs(PendingState::splittingPartition_());
    Recut const planned = recut(cut({"0.0.0.0/0"}, {"0.0.0.0/0", "10.1.0.0/16"}));
    EXPECT_EQ(at("10.1.0.0/16")->pendingState(), PendingState::createPartition_());
    completeRecut(*trie_, planned);
    EXPECT_EQ(at("10.1.0.0/16")->pendingState(), PendingState());
}

TEST_F(RecutTrieTest, routeOfARootWhoseRemovalCompletesStays) {
    completeRecut(*trie_, recut(cut({"0.0.0.0/0"}, {"0.0.0.0/0", "10.1.0.0/16"})));
    RouteNode* const root = at("10.1.0.0/16");
    Recut const planned = recut(cut({"0.0.0.0/0", "10.1.0.0/16"}, {"0.0.0.0/0"}));
    EXPECT_TRUE(root->pendingState().removePartition());
    EXPECT_EQ(trie_->moved().front(), root);
    completeRecut(*trie_, planned);
    ASSERT_EQ(at("10.1.0.0/16"), root);
    EXPECT_TRUE(root->fibRoute());
    EXPECT_EQ(root->pendingState(), PendingState());
    EXPECT_EQ(root->partitionId(), top_->partitionId());
    EXPECT_EQ(top_->partitionRouteCount(), 7U);
    trie_->verify();
}

TEST_F(RecutTrieTest, rootWithoutARoleLeavesTheTrieWhenItsRemovalCompletes) {
    RouteNode* const nested = nest("20.1.0.0/16");
    add("20.1.1.0/24");
    Recut const planned = recut(cut({"0.0.0.0/0", "20.1.0.0/16"}, {"0.0.0.0/0"}));
    EXPECT_EQ(at("20.1.0.0/16"), nested);
    EXPECT_TRUE(nested->pendingState().removePartition());
    completeRecut(*trie_, planned);
    EXPECT_EQ(at("20.1.0.0/16"), nullptr);
    EXPECT_EQ(at("20.1.1.0/24")->partitionId(), top_->partitionId());
    EXPECT_EQ(top_->partitionRouteCount(), 8U);
    trie_->verify();
}

TEST_F(RecutTrieTest, recutThatIsTakenBackLeavesNothingPendingAndNoDeadNode) {
    auto const id = top_->partitionId();
    auto* const node = routeNode(at("10.1.1.0/24")->parent());
    Cut wanted = cut({"0.0.0.0/0"}, {"0.0.0.0/0"});
    wanted.newRoots.push_back(node);
    revertTrie(*trie_, recut(wanted));
    EXPECT_FALSE(node->partitionNode());
    EXPECT_EQ(node->pendingState(), PendingState());
    EXPECT_EQ(at("10.1.1.0/24")->partitionId(), id);
    EXPECT_EQ(top_->partitionRouteCount(), 7U);
    EXPECT_TRUE(trie_->moved().empty());
    trie_->verify();
}

/** Such a route replaces the id and the table of the node before they are compared. */
TEST(RouteAtARootTest, partitionKeepsItsIdAndTableWhenARouteComesAtItsOwnPrefix) {
    Space const space(AddressFamily::ipv4, 5);
    ClientWorld world(space, "half", {8, 2, 8});
    for (U32 const low : {0U, 1U, 2U, 3U}) {
        ASSERT_EQ(world.update({space.at(low), low}), Outcome::done);
    }
    ASSERT_GT(world.manager().buckets(), 1U);
    std::vector<IpGenPrefix> prefixes;
    for (auto const& [prefix, root] : world.manager().roots()) {
        prefixes.push_back(prefix);
    }
    for (IpGenPrefix const& prefix : prefixes) {
        ASSERT_EQ(world.update({prefix, 77}), Outcome::done) << prefix;
        auto const* const node = LpmTrie::findExact(world.manager().trie(), prefix);
        EXPECT_TRUE(node->fibRoute());
        EXPECT_EQ(node->hwTable(), 1U);
        ASSERT_NO_FATAL_FAILURE(world.check());
        ASSERT_EQ(world.update({prefix, {}}), Outcome::done);
        ASSERT_NO_FATAL_FAILURE(world.check());
    }
}

}  // namespace
}  // namespace ClientTest
