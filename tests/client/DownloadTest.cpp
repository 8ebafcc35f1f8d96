#include <tests/Support/LeakCheck.h>
#include <tests/client/Cases.h>
#include <tests/client/ClientWorld.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <iostream>
#include <stdexcept>

/*
 * Whole tables at once. That the pieces are the fewest possible is shown by trying every set of
 * nodes as roots, in tries so small that this can be done.
 */

namespace ClientTest {
namespace {

using LpmClient::RouteNode;
using LpmClient::WriteKind;

std::vector<Route> randomRoutes(Space const& space, U32 count, Random& random) {
    std::vector<Route> routes;
    for (auto const& prefix : randomPrefixes(space, Order::random, count, random)) {
        routes.push_back({prefix, random.below(1000)});
    }
    return routes;
}

/**
 * The prefixes of a binary trie over the routes: each route's, that of length 0, and, of each pair,
 * what they have in common.
 */
std::vector<IpGenPrefix> nodesOf(std::vector<Route> const& routes) {
    std::vector<IpGenPrefix> nodes{IpGenPrefix(routes.front().prefix.af(), {}, 0)};
    for (Route const& a : routes) {
        for (Route const& b : routes) {
            U32 len = std::min(a.prefix.len(), b.prefix.len());
            IpGenPrefix const whole(b.prefix.af(), b.prefix.address(), a.prefix.len());
            while (!IpGenPrefix(whole.af(), a.prefix.address(), len)
                        .overlaps(IpGenPrefix(whole.af(), whole.address(), len))) {
                --len;
            }
            nodes.push_back(IpGenPrefix(whole.af(), a.prefix.address(), len).hostBitsCleared());
        }
    }
    std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    return nodes;
}

/** Whether no piece has more routes than the bound when the nodes of the set are the roots. */
bool fits(std::vector<Route> const& routes, std::vector<IpGenPrefix> const& nodes, U32 set,
          U32 bound) {
    std::vector<U32> sizes(nodes.size());
    for (Route const& route : routes) {
        std::size_t deepest = 0;
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            if (((set >> i) & 1U) != 0 && nodes[i].len() <= route.prefix.len() &&
                nodes[i].overlaps(route.prefix) && nodes[i].len() >= nodes[deepest].len()) {
                deepest = i;
            }
        }
        if (++sizes[deepest] > bound) {
            return false;
        }
    }
    return true;
}

/** The least number of pieces over all sets of roots; the top is always one. */
U32 fewestPieces(std::vector<Route> const& routes, U32 bound) {
    auto const nodes = nodesOf(routes);
    auto fewest = static_cast<U32>(nodes.size());
    for (U32 set = 1; set < (1U << nodes.size()); set += 2) {
        auto const pieces = static_cast<U32>(std::popcount(set));
        if (pieces < fewest && fits(routes, nodes, set, bound)) {
            fewest = pieces;
        }
    }
    return fewest;
}

TEST(DownloadOptimumTest, takesTheFewestPiecesThatAnyChoiceOfRootsGives) {
    U64 const seed = fromEnvironment("LPMTRIE_CLIENT_SEED", 1);
    std::cout << "LPMTRIE_CLIENT_SEED=" << seed << '\n';
    Random random(seed);
    for (U32 i = 0; i < 300; ++i) {
        SCOPED_TRACE("table " + std::to_string(i));
        Space const space(i % 2 == 0 ? AddressFamily::ipv4 : AddressFamily::ipv6, 4);
        auto const routes = randomRoutes(space, 2 + random.below(7), random);
        if (nodesOf(routes).size() > 14) {
            continue;
        }
        U32 const bound = 1 + random.below(4);
        ClientWorld world(space, "window", {40, bound, 40});
        ASSERT_EQ(world.download(routes), Outcome::done);
        ASSERT_EQ(world.manager().buckets(), fewestPieces(routes, bound));
        ASSERT_NO_FATAL_FAILURE(world.check());
    }
}

class DownloadTest : public TestSupport::LeakChecked<testing::TestWithParam<Case>> {
protected:
    DownloadTest() { std::cout << "LPMTRIE_CLIENT_SEED=" << seed_ << '\n'; }

    std::string const policy_ = std::get<0>(GetParam());
    Space const space_{std::get<1>(GetParam()), 6};
    U64 const seed_ = fromEnvironment("LPMTRIE_CLIENT_SEED", 1);
    Random random_{seed_};
};

TEST_P(DownloadTest, writesEachRouteOnceAndMovesNone) {
    auto const routes = randomRoutes(space_, 100, random_);
    ClientWorld world(space_, policy_, {60, 7, 60});
    ASSERT_EQ(world.download(routes), Outcome::done);
    ASSERT_NO_FATAL_FAILURE(world.check());
    auto const counts = world.chip.counts();
    EXPECT_EQ(counts.of(WriteKind::writeRoute), 100U);
    EXPECT_EQ(counts.of(WriteKind::eraseRoute), 0U);
    EXPECT_EQ(counts.of(WriteKind::allocate), world.manager().buckets());
    EXPECT_EQ(counts.of(WriteKind::bind), world.manager().buckets());
    EXPECT_EQ(counts.of(WriteKind::unbind) + counts.of(WriteKind::free), 0U);
    EXPECT_EQ(counts.totalRefused(), 0U);
    EXPECT_EQ(world.manager().counts().moves, 0U);
    EXPECT_EQ(world.manager().counts().added, 100U);
    EXPECT_FALSE(world.failed());
}

TEST_P(DownloadTest, updatesGoOnAfterwards) {
    auto const routes = randomRoutes(space_, 30, random_);
    ClientWorld world(space_, policy_, {60, 4, 60});
    ASSERT_EQ(world.download(routes), Outcome::done);
    for (Update const& update : history(space_, Order::random, 30, random_)) {
        ASSERT_NE(world.update(update), Outcome::refused);
        ASSERT_NO_FATAL_FAILURE(world.check());
    }
    for (Route const& route : routes) {
        ASSERT_NE(world.update({route.prefix, {}}), Outcome::refused);
        ASSERT_NO_FATAL_FAILURE(world.check());
    }
    EXPECT_EQ(world.manager().trie().root(), nullptr);
    EXPECT_EQ(world.chip.bucketsUsed() + world.chip.bindingsUsed(), 0U);
}

TEST_P(DownloadTest, refusedAtAnyWriteLeavesNothing) {
    auto const routes = randomRoutes(space_, 20, random_);
    ClientWorld whole(space_, policy_, {60, 4, 60});
    ASSERT_EQ(whole.download(routes), Outcome::done);
    for (U64 number = 0; number < whole.watched.writes(); ++number) {
        SCOPED_TRACE("write " + std::to_string(number));
        ClientWorld world(space_, policy_, {60, 4, 60});
        world.watched.refuse = [&](U64 n, WatchedChip::Write const&) {
            return n == number ? std::optional(WriteStatus::transientError) : std::nullopt;
        };
        ASSERT_EQ(world.download(routes), Outcome::refused);
        ASSERT_EQ(world.manager().trie().root(), nullptr);
        ASSERT_TRUE(world.manager().owed().empty());
        ASSERT_NO_FATAL_FAILURE(world.check());
        ASSERT_EQ(world.chip.bucketsUsed() + world.numbers().count(), 0U);
        world.watched.refuse = nullptr;
        ASSERT_EQ(world.download(routes), Outcome::done);
        ASSERT_EQ(world.state(), whole.state());
        ASSERT_FALSE(world.failed());
    }
}

TEST_P(DownloadTest, cutOffAtAnyWriteIsGoneOnWithAfterARestart) {
    auto const routes = randomRoutes(space_, 20, random_);
    ClientWorld whole(space_, policy_, {60, 4, 60});
    ASSERT_EQ(whole.download(routes), Outcome::done);
    for (U64 number = 0; number <= whole.watched.writes(); ++number) {
        SCOPED_TRACE("write " + std::to_string(number));
        ClientWorld world(space_, policy_, {60, 4, 60});
        world.watch(false);
        world.watched.refuse = refusalFrom(number);
        world.manager().download(routes);
        world.newManager();
        world.watched.refuse = nullptr;
        ASSERT_TRUE(world.manager().restart());
        world.table = world.heldByTrie();
        for (auto const& [prefix, nextHop] : world.table) {
            ASSERT_EQ(whole.table.at(prefix), nextHop) << prefix;
        }
        ASSERT_NO_FATAL_FAILURE(world.check());
        world.watch(true);
        for (Route const& route : routes) {
            ASSERT_NE(world.update({route.prefix, route.nextHop}), Outcome::refused);
        }
        ASSERT_EQ(world.table, whole.table);
        ASSERT_NO_FATAL_FAILURE(world.check());
        ASSERT_FALSE(world.failed());
    }
}

TEST_P(DownloadTest, supersedesWhatWasOwedBefore) {
    auto const routes = randomRoutes(space_, 20, random_);
    ClientWorld world(space_, policy_, {60, 4, 60});
    world.watched.refuse = [](U64, WatchedChip::Write const&) {
        return std::optional(WriteStatus::transientError);
    };
    NextHop const stale = 1000;
    ASSERT_EQ(world.manager().announce({routes.front().prefix, stale}), Outcome::refused);
    ASSERT_EQ(world.manager().owed().size(), 1U);
    world.watched.refuse = nullptr;
    ASSERT_EQ(world.download(routes), Outcome::done);
    EXPECT_TRUE(world.manager().owed().empty());
    EXPECT_TRUE(world.manager().retry());
    world.check();
}

TEST_P(DownloadTest, findsNoRoomInAChipThatIsTooSmall) {
    auto const routes = randomRoutes(space_, 40, random_);
    ClientWorld whole(space_, policy_, {60, 4, 60});
    ASSERT_EQ(whole.download(routes), Outcome::done);
    auto const pieces = static_cast<U32>(whole.manager().buckets());
    ClientWorld fewBuckets(space_, policy_, {pieces - 1, 4, 60});
    EXPECT_EQ(fewBuckets.download(routes), Outcome::noRoom);
    fewBuckets.check();
    EXPECT_EQ(fewBuckets.watched.writes(), 0U);
    ClientWorld fewBindings(space_, policy_, {60, 4, pieces - 1});
    EXPECT_EQ(fewBindings.download(routes), Outcome::refused);
    EXPECT_EQ(fewBindings.manager().lastRefusal()->status, WriteStatus::tableFull);
    fewBindings.check();
    ClientWorld exact(space_, policy_, {pieces, 4, pieces});
    EXPECT_EQ(exact.download(routes), Outcome::done);
    exact.check();
}

TEST_P(DownloadTest, lastOfSeveralRoutesOfOnePrefixCounts) {
    ClientWorld world(space_, policy_, {9, 4, 9});
    EXPECT_EQ(world.download({}), Outcome::unchanged);
    EXPECT_EQ(world.download({{space_.at(7), 1}, {space_.at(9), 2}, {space_.at(7), 3}}),
              Outcome::done);
    EXPECT_EQ(world.table, (Table{{space_.at(7), 3}, {space_.at(9), 2}}));
    world.check();
    EXPECT_THROW(world.manager().download(std::vector<Route>{{space_.at(8), 1}}), std::logic_error);
    world.check();
}

INSTANTIATE_TEST_SUITE_P(All, DownloadTest, testing::ValuesIn(allCases()), caseName);

}  // namespace
}  // namespace ClientTest
