#include <client/Window.h>

#include <tests/Support/LeakCheck.h>
#include <tests/client/ClientWorld.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

/*
 * Plans and windows over random tries, compared with what walking over every route gives.
 */

namespace ClientTest {
namespace {

using LpmClient::Cut;
using LpmClient::Cutter;
using LpmClient::noPiece;
using LpmClient::planRecut;
using LpmClient::Recut;
using LpmClient::RouteNode;
using LpmClient::Window;
using LpmTrie::Node;

/** Index of the deepest root at or above the node. */
std::size_t pieceOf(Node const* node, std::vector<RouteNode*> const& roots) {
    for (;; node = node->parent()) {
        auto const at = std::find(roots.begin(), roots.end(), node);
        if (at != roots.end()) {
            return static_cast<std::size_t>(at - roots.begin());
        }
    }
}

/** A table in partitions of at most four routes. */
class RecutPlanTest : public TestSupport::LeakCheck {
protected:
    RecutPlanTest() { std::cout << "LPMTRIE_CLIENT_SEED=" << seed_ << '\n'; }

    void fill(ClientWorld& world) {
        world.watch(false);
        for (auto const& prefix : randomPrefixes(space_, Order::random, 40, random_)) {
            ASSERT_EQ(world.update({prefix, random_.below(1000)}), Outcome::done);
        }
    }
    static std::vector<RouteNode*> rootsOf(ClientWorld& world) {
        std::vector<RouteNode*> roots;
        for (auto const& [prefix, root] : world.manager().roots()) {
            roots.push_back(root);
        }
        return roots;
    }
    /** The top and about one in `share` of the other nodes, in pre-order. */
    std::vector<RouteNode*> randomRoots(ClientWorld& world, U32 share) {
        auto& trie = world.manager().trie();
        std::vector<RouteNode*> roots;
        for (auto step = trie.preorderNextNode(nullptr, nullptr, 0, false, false);
             step.node() != nullptr;
             step = trie.preorderNextNode(nullptr, step.node(), step.level, false, false)) {
            if (roots.empty() || random_.below(share) == 0) {
                roots.push_back(LpmClient::routeNode(step.node()));
            }
        }
        return roots;
    }

    U64 const seed_ = fromEnvironment("LPMTRIE_CLIENT_SEED", 1);
    Random random_{seed_};
    Space const space_{AddressFamily::ipv4, 6};
};

TEST_F(RecutPlanTest, overlapsAndMovesAreThoseOfCountingEveryRoute) {
    for (U32 i = 0; i < 100; ++i) {
        SCOPED_TRACE("world " + std::to_string(i));
        ClientWorld world(space_, "half", {60, 4, 60});
        ASSERT_NO_FATAL_FAILURE(fill(world));
        Cut const cut{rootsOf(world), randomRoots(world, 2 + random_.below(8))};
        Recut const recut = planRecut(cut, 4, nullptr);
        std::vector<std::vector<U32>> due(cut.newRoots.size(),
                                          std::vector<U32>(cut.oldRoots.size()));
        for (Node const* const route : LpmTrie::allRoutes(world.manager().trie())) {
            ++due[pieceOf(route, cut.newRoots)][pieceOf(route, cut.oldRoots)];
        }
        U64 kept = 0;
        U32 fresh = 0;
        std::vector<U32> keptFor(cut.oldRoots.size(), noPiece);
        for (std::size_t at = 0; at < recut.news.size(); ++at) {
            auto const& piece = recut.news[at];
            ASSERT_EQ(piece.overlap, due[at]);
            if (piece.from == noPiece) {
                ++fresh;
                continue;
            }
            ASSERT_EQ(keptFor[piece.from], noPiece);
            keptFor[piece.from] = static_cast<U32>(at);
            kept += piece.overlap[piece.from];
        }
        ASSERT_EQ(recut.moves, 40 - kept);
        ASSERT_EQ(recut.freshBuckets, fresh);
        for (std::size_t old = 0; old < recut.olds.size(); ++old) {
            ASSERT_EQ(recut.olds[old].keptFor, keptFor[old]);
            ASSERT_EQ(recut.olds[old].around, pieceOf(cut.oldRoots[old], cut.newRoots));
        }
    }
}

TEST_F(RecutPlanTest, piecesLandOnceAndAfterThoseNestedInThem) {
    for (U32 i = 0; i < 50; ++i) {
        ClientWorld world(space_, "half", {60, 4, 60});
        ASSERT_NO_FATAL_FAILURE(fill(world));
        Cut const cut{rootsOf(world), randomRoots(world, 4)};
        Recut const recut = planRecut(cut, 4, nullptr);
        std::vector<U32> order = recut.order;
        for (std::size_t at = 0; at < order.size(); ++at) {
            U32 const above = recut.news[order[at]].above;
            ASSERT_EQ(above == noPiece, order[at] == 0);
            if (above != noPiece) {
                ASSERT_EQ(above, pieceOf(cut.newRoots[order[at]]->parent(), cut.newRoots));
                ASSERT_NE(
                    std::find(order.begin() + static_cast<std::ptrdiff_t>(at), order.end(), above),
                    order.end());
            }
        }
        std::sort(order.begin(), order.end());
        for (U32 at = 0; at < order.size(); ++at) {
            ASSERT_EQ(order[at], at);
        }
        ASSERT_EQ(order.size(), recut.news.size());
    }
}

TEST_F(RecutPlanTest, cutThatStaysAsItIsMovesNothing) {
    ClientWorld world(space_, "half", {60, 4, 60});
    ASSERT_NO_FATAL_FAILURE(fill(world));
    Recut const recut = planRecut({rootsOf(world), rootsOf(world)}, 4, nullptr);
    EXPECT_EQ(recut.moves, 0U);
    EXPECT_EQ(recut.freshBuckets, 0U);
}

TEST_F(RecutPlanTest, windowHasEachRouteOnceWhateverItsGrain) {
    ClientWorld world(space_, "half", {60, 4, 60});
    ASSERT_NO_FATAL_FAILURE(fill(world));
    std::size_t items = ~std::size_t{0};
    for (U32 grain = 1; grain < 8; ++grain) {
        Window const window(rootsOf(world), grain, grain);
        U32 routes = 0;
        for (std::size_t i = 0; i < window.items().size(); ++i) {
            auto const& item = window.items()[i];
            routes += item.own;
            ASSERT_TRUE(i == 0 ? item.above == noPiece : item.above < i);
            ASSERT_EQ(item.piece, pieceOf(item.node, window.roots()));
            if (grain == 1) {
                ASSERT_EQ(item.own, item.node->fibRoute() ? 1U : 0U);
            }
        }
        ASSERT_EQ(routes, 40U);
        ASSERT_EQ(window.routes(), 40U);
        ASSERT_LE(window.items().size(), items);
        items = window.items().size();
    }
}

TEST_F(RecutPlanTest, cutterKeepsToItsLimitAndTellsTheSizes) {
    ClientWorld world(space_, "half", {60, 4, 60});
    ASSERT_NO_FATAL_FAILURE(fill(world));
    Window const window(rootsOf(world), 1, 1);
    Cutter cutter;
    LpmClient::Trial trial;
    std::size_t before = 41;
    for (U32 limit = 1; limit <= 40; ++limit) {
        ASSERT_TRUE(cutter.cut(window, limit, noPiece, 1000));
        auto const roots = cutter.roots(window);
        cutter.judge(window, trial);
        std::vector<U32> sizes(roots.size());
        for (Node const* const route : LpmTrie::allRoutes(world.manager().trie())) {
            ++sizes[pieceOf(route, roots)];
        }
        ASSERT_EQ(trial.sizes, sizes);
        ASSERT_LE(trial.largest(), limit);
        ASSERT_LE(trial.moves, 40U);
        ASSERT_LE(roots.size(), before);
        before = roots.size();
        ASSERT_TRUE(cutter.cut(window, limit, noPiece, roots.size()));
        ASSERT_TRUE(roots.size() == 1 || !cutter.cut(window, limit, noPiece, roots.size() - 1));
    }
    EXPECT_EQ(before, 1U);
}

TEST_F(RecutPlanTest, cutterKeepsRootsOfPiecesThatAreLargeEnough) {
    ClientWorld world(space_, "half", {60, 4, 60});
    ASSERT_NO_FATAL_FAILURE(fill(world));
    Window const window(rootsOf(world), 1, 1);
    Cutter cutter;
    ASSERT_TRUE(cutter.cut(window, 4, 0, 1000));
    EXPECT_EQ(cutter.roots(window), rootsOf(world));
    LpmClient::Trial trial;
    cutter.judge(window, trial);
    EXPECT_EQ(trial.moves, 0U);
}

}  // namespace
}  // namespace ClientTest
