#include <client/RecutChip.h>

#include <tests/Support/LeakCheck.h>
#include <tests/client/ClientWorld.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

/*
 * Recuts that no policy would propose: all partitions anew, with roots at random nodes. No
 * address's answer changes at any write, no bucket is ever too full, and a recut that is refused at
 * any write goes back.
 */

namespace ClientTest {
namespace {

using LpmClient::ChipWriter;
using LpmClient::ClientTrie;
using LpmClient::Cut;
using LpmClient::Recut;
using LpmClient::RecutChip;
using LpmClient::RouteNode;
using LpmTrie::Node;

constexpr U32 bound = 5;

/** A downloaded table whose manager stands aside. */
class RecutTest : public TestSupport::LeakChecked<testing::TestWithParam<AddressFamily>> {
protected:
    RecutTest() { std::cout << "LPMTRIE_CLIENT_SEED=" << seed_ << '\n'; }

    void download(std::vector<IpGenPrefix> const& prefixes) {
        std::vector<Route> routes;
        for (auto const& prefix : prefixes) {
            routes.push_back({prefix, random_.below(1000)});
        }
        ASSERT_EQ(world_.download(routes), Outcome::done);
        for (auto const& binding : world_.chip.bindings(ClientWorld::vrfId, space_.af())) {
            writer_.learnBinding(binding.prefix, binding.bucket);
            writer_.learnCover(binding.bucket, world_.chip.contents(binding.bucket)->cover);
        }
    }

    std::vector<RouteNode*> nodes();
    std::vector<RouteNode*> present();
    std::vector<RouteNode*> randomRoots();
    Recut plan(std::vector<RouteNode*> const& newRoots);
    void recut(std::vector<RouteNode*> const& newRoots);
    void check();

    U64 const seed_ = fromEnvironment("LPMTRIE_CLIENT_SEED", 1);
    Random random_{seed_};
    Space const space_{GetParam(), 5};
    ClientWorld world_{space_, "window", {80, bound, 80}};
    ClientTrie& trie_ = world_.manager().trie();
    ChipWriter writer_{world_.watched, ClientWorld::vrfId, space_.af()};
};

/** In pre-order. */
std::vector<RouteNode*> RecutTest::nodes() {
    std::vector<RouteNode*> found;
    for (auto step = trie_.preorderNextNode(nullptr, nullptr, 0, false, false);
         step.node() != nullptr;
         step = trie_.preorderNextNode(nullptr, step.node(), step.level, false, false)) {
        found.push_back(LpmClient::routeNode(step.node()));
    }
    return found;
}

std::vector<RouteNode*> RecutTest::present() {
    auto roots = nodes();
    std::erase_if(roots, [](RouteNode const* node) { return !node->partitionNode(); });
    return roots;
}

/** Random nodes, and more of them until all pieces fit. In pre-order. */
std::vector<RouteNode*> RecutTest::randomRoots() {
    auto const all = nodes();
    std::vector<bool> chosen(all.size());
    U32 const share = 3 + random_.below(12);
    for (std::size_t i = 0; i < all.size(); ++i) {
        chosen[i] = i == 0 || random_.below(share) == 0;
    }
    for (bool fits = false; !fits;) {
        fits = true;
        std::map<Node const*, std::vector<std::size_t>> pieces;
        for (std::size_t i = 0; i < all.size(); ++i) {
            Node const* root = all[i];
            while (!chosen[static_cast<std::size_t>(std::find(all.begin(), all.end(), root) -
                                                    all.begin())]) {
                root = root->parent();
            }
            if (all[i]->fibRoute()) {
                pieces[root].push_back(i);
            }
        }
        for (auto const& [root, routes] : pieces) {
            if (routes.size() > bound) {
                chosen[routes[random_.below(static_cast<U32>(routes.size()))]] = true;
                fits = false;
            }
        }
    }
    std::vector<RouteNode*> roots;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (chosen[i]) {
            roots.push_back(all[i]);
        }
    }
    return roots;
}

Recut RecutTest::plan(std::vector<RouteNode*> const& newRoots) {
    Recut recut = LpmClient::planRecut({present(), newRoots}, bound, nullptr);
    std::vector<LpmTrie::PartitionId::Ptr> fresh;
    Torvel::Bitmap::Ptr const numbers = &world_.numbers();
    while (fresh.size() < recut.freshBuckets) {
        LpmTrie::PartitionIdValue const number(numbers->takeNextFree());
        fresh.push_back(LpmTrie::PartitionId::PartitionIdIs(number, ~U32{0}, numbers));
    }
    assignFresh(recut, fresh);
    return recut;
}

void RecutTest::check() {
    ASSERT_FALSE(world_.failed());
    trie_.verify();
    LpmClient::Roots roots;
    for (RouteNode* const root : present()) {
        roots[root->prefixRef()->prefix()] = root;
        ASSERT_LE(root->partitionRouteCount(), bound);
    }
    for (RouteNode const* const node : nodes()) {
        ASSERT_EQ(node->pendingState().value(), 0U);
        ASSERT_TRUE(!node->fibRoute() || node->bucket == LpmClient::bucketOf(node));
    }
    auto const differences =
        LpmClient::auditChip(world_.watched, ClientWorld::vrfId, space_.af(), roots);
    ASSERT_TRUE(differences.empty()) << differences.front();
    ASSERT_EQ(world_.chip.bucketsUsed(), roots.size());
    ASSERT_EQ(world_.numbers().count(), roots.size());
}

/** From the present cut to that one; no answer may change. */
void RecutTest::recut(std::vector<RouteNode*> const& newRoots) {
    world_.expectAnswers(world_.table, world_.table);
    {
        Recut const planned = plan(newRoots);
        U64 const before = world_.chip.counts().of(LpmClient::WriteKind::writeRoute);
        LpmClient::recutTrie(trie_, planned);
        RecutChip chip(writer_, planned, trie_.moved());
        ASSERT_NO_THROW(chip.run());
        writer_.commit();
        ASSERT_EQ(chip.moves(), planned.moves);
        ASSERT_EQ(world_.chip.counts().of(LpmClient::WriteKind::writeRoute),
                  before + planned.moves);
        trie_.clearMoved();
        LpmClient::completeRecut(trie_, planned);
    }
    ASSERT_NO_FATAL_FAILURE(check());
}

TEST_P(RecutTest, randomCutsChangeNoAnswerAtAnyWrite) {
    download(randomPrefixes(space_, Order::random, 32, random_));
    for (U32 i = 0; i < 100; ++i) {
        SCOPED_TRACE("recut " + std::to_string(i));
        ASSERT_NO_FATAL_FAILURE(recut(randomRoots()));
    }
    EXPECT_EQ(world_.chip.counts().totalRefused(), 0U);
}

/**
 * The deepest piece keeps the bucket. The route around it that covers it has gone to a piece of its
 * own by then, but must leave the bucket after the shorter one, which goes last to its own.
 */
TEST_P(RecutTest, coveringRouteLeavesAKeptBucketAfterShorterOnes) {
    download({space_.at(0, 5), space_.at(0, 4), space_.at(1), space_.at(2), space_.at(4)});
    ASSERT_EQ(present().size(), 1U);
    auto* const middle = LpmClient::routeNode(LpmTrie::findExact(trie_, space_.at(0, 4)));
    auto* const deepest = LpmClient::routeNode(LpmTrie::findExact(trie_, space_.at(0, 3)));
    ASSERT_TRUE(middle != nullptr && deepest != nullptr && deepest->internal());
    ASSERT_NO_FATAL_FAILURE(recut({present().front(), middle, deepest}));
    EXPECT_EQ(world_.chip.counts().of(LpmClient::WriteKind::writeRoute), 7U);
}

TEST_P(RecutTest, refusedAtAnyWriteGoesBack) {
    download(randomPrefixes(space_, Order::random, 32, random_));
    for (U32 i = 0; i < 120; ++i) {
        SCOPED_TRACE("recut " + std::to_string(i));
        world_.expectAnswers(world_.table, world_.table);
        std::string const before = world_.state();
        bool refused = false;
        {
            Recut const planned = plan(randomRoots());
            LpmClient::recutTrie(trie_, planned);
            RecutChip chip(writer_, planned, trie_.moved());
            world_.watched.countAnew();
            world_.watched.refuse = [i](U64 n, WatchedChip::Write const&) {
                return n == i % 40 ? std::optional(WriteStatus::transientError) : std::nullopt;
            };
            try {
                chip.run();
                world_.watched.refuse = nullptr;
                writer_.commit();
                trie_.clearMoved();
                LpmClient::completeRecut(trie_, planned);
            } catch (LpmClient::RefusedWrite const&) {
                refused = true;
                world_.watched.refuse = nullptr;
                writer_.undo();
                chip.forgetMoves();
                LpmClient::revertTrie(trie_, planned);
            }
        }
        ASSERT_TRUE(writer_.settled());
        ASSERT_NO_FATAL_FAILURE(check());
        if (refused) {
            ASSERT_EQ(world_.state(), before);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Both, RecutTest,
                         testing::Values(AddressFamily::ipv4, AddressFamily::ipv6));

}  // namespace
}  // namespace ClientTest
