#include <tests/Support/AllocationFailure.h>
#include <tests/tools/Seed.h>
#include <tools/PathTable.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <utility>

namespace LpmTools {
namespace {

using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;
using Vexo::U8;

NextHop hop(U8 number) {
    return NextHop(std::array<U8, 4>{192, 0, 2, number});
}
IpGenPrefix prefix(std::string_view text) {
    return IpGenPrefix::fromString(text);
}

/** Peers whose order is that of their numbers, as the tests below have it. */
MrtPeers const ascendingPeers = [] {
    MrtPeers peers;
    for (U32 number = 0; number < 200; ++number) {
        peers.number({.address = IpGenPrefix(Nimbal::IpAddr(number), 32)});
    }
    return peers;
}();

IpGenPrefix const ten = prefix("10.0.0.0/8");

TEST(PathTableTest, routeLivesAsLongAsAnyPeerAnnouncesIt) {
    PathTable table(ascendingPeers);
    EXPECT_EQ(table.announce(1, 0, ten, hop(1)), RouteChange::added);
    EXPECT_EQ(table.announce(2, 0, ten, hop(2)), RouteChange::none);
    EXPECT_EQ(table.routes(), 1U);
    EXPECT_EQ(table.paths(), 2U);
    EXPECT_EQ(table.withdraw(2, 0, ten), RouteChange::none);
    EXPECT_EQ(table.withdraw(1, 0, ten), RouteChange::removed);
    EXPECT_EQ(table.routes(), 0U);
    EXPECT_EQ(table.paths(), 0U);
    EXPECT_EQ(table.nextHops(), 0U);
    EXPECT_EQ(table.nextHop(ten), nullptr);
}

TEST(PathTableTest, nextHopIsThatOfTheLowestPeerAndIdentifier) {
    PathTable table(ascendingPeers);
    table.announce(5, 7, ten, hop(1));
    EXPECT_EQ(table.announce(5, 8, ten, hop(2)), RouteChange::none);
    EXPECT_EQ(*table.nextHop(ten), hop(1));
    EXPECT_EQ(table.announce(5, 6, ten, hop(3)), RouteChange::nextHopChanged);
    EXPECT_EQ(*table.nextHop(ten), hop(3));
    EXPECT_EQ(table.announce(4, 9, ten, hop(4)), RouteChange::nextHopChanged);
    EXPECT_EQ(*table.nextHop(ten), hop(4));
    EXPECT_EQ(table.withdraw(4, 9, ten), RouteChange::nextHopChanged);
    EXPECT_EQ(*table.nextHop(ten), hop(3));
    EXPECT_EQ(table.withdraw(5, 7, ten), RouteChange::none);
    EXPECT_EQ(*table.nextHop(ten), hop(3));
}

TEST(PathTableTest, newPathToTheSameNextHopChangesNothing) {
    PathTable table(ascendingPeers);
    table.announce(5, 0, ten, hop(1));
    EXPECT_EQ(table.announce(4, 0, ten, hop(1)), RouteChange::none);
    EXPECT_EQ(table.withdraw(4, 0, ten), RouteChange::none);
    EXPECT_EQ(table.nextHops(), 1U);
}

TEST(PathTableTest, announcementReplacesThePathOfItsPeerAndIdentifier) {
    PathTable table(ascendingPeers);
    table.announce(1, 0, ten, hop(1));
    EXPECT_EQ(table.announce(1, 0, ten, hop(1)), RouteChange::none);
    EXPECT_EQ(table.announce(1, 0, ten, hop(2)), RouteChange::nextHopChanged);
    EXPECT_EQ(table.paths(), 1U);
    EXPECT_EQ(table.nextHops(), 1U);
    EXPECT_EQ(*table.nextHop(ten), hop(2));
}

TEST(PathTableTest, withdrawalOfWhatIsNotThereDoesNothing) {
    PathTable table(ascendingPeers);
    EXPECT_EQ(table.withdraw(1, 0, ten), RouteChange::none);
    table.announce(1, 1, ten, hop(1));
    EXPECT_EQ(table.withdraw(1, 0, ten), RouteChange::none);
    EXPECT_EQ(table.withdraw(1, 2, ten), RouteChange::none);
    EXPECT_EQ(table.withdraw(2, 1, ten), RouteChange::none);
    EXPECT_EQ(table.withdraw(1, 1, prefix("10.0.0.0/9")), RouteChange::none);
    EXPECT_EQ(table.withdraw(1, 1, prefix("a00::/8")), RouteChange::none);
    EXPECT_EQ(table.paths(), 1U);
}

TEST(PathTableTest, nextHopsOfDifferentLengthsAreDifferent) {
    PathTable table(ascendingPeers);
    table.announce(1, 0, ten, NextHop());
    EXPECT_EQ(table.announce(1, 0, ten, NextHop(std::array<U8, 4>{})), RouteChange::nextHopChanged);
    EXPECT_EQ(table.announce(1, 0, ten, NextHop(std::array<U8, 16>{})),
              RouteChange::nextHopChanged);
}

TEST(PathTableTest, nextHopDoesNotDependOnTheOrderInWhichPeersAreMet) {
    std::vector<MrtPeer> all{{.address = prefix("192.0.2.1/32"), .as = 1},
                             {.address = prefix("192.0.2.1/32"), .as = 1, .isLocal = true},
                             {.address = prefix("192.0.2.1/32"), .as = 2},
                             {.address = prefix("192.0.2.2/32"), .as = 0},
                             {.address = prefix("2001:db8::1/128"), .as = 0}};
    auto const lowest = all.front();
    do {
        MrtPeers peers;
        PathTable table(peers);
        for (MrtPeer const& peer : all) {
            table.announce(peers.number(peer), 0, ten, hop(peer == lowest ? 7 : 8));
        }
        EXPECT_EQ(*table.nextHop(ten), hop(7));
        EXPECT_EQ(table.withdraw(peers.number(lowest), 0, ten), RouteChange::nextHopChanged);
    } while (std::ranges::next_permutation(all).found);
}

/** The same, in the plainest way. */
class Model {
public:
    RouteChange announce(U32 peer, U32 pathId, IpGenPrefix const& to, NextHop const& nextHop) {
        return change(to, [&] { paths_[{to, peer, pathId}] = nextHop; });
    }
    RouteChange withdraw(U32 peer, U32 pathId, IpGenPrefix const& to) {
        return change(to, [&] { paths_.erase({to, peer, pathId}); });
    }
    NextHop const* nextHop(IpGenPrefix const& to) const {
        auto const first = paths_.lower_bound({to, 0, 0});
        return first != paths_.end() && std::get<0>(first->first) == to ? &first->second : nullptr;
    }
    std::map<IpGenPrefix, NextHop> routes() const {
        std::map<IpGenPrefix, NextHop> routes;
        for (auto const& [path, nextHop] : paths_) {
            routes.emplace(std::get<0>(path), nextHop);
        }
        return routes;
    }
    std::size_t size() const { return paths_.size(); }

private:
    template <class Change>
    RouteChange change(IpGenPrefix const& to, Change&& change) {
        auto const now = [&] {
            NextHop const* const hop = nextHop(to);
            return std::pair(hop != nullptr, hop != nullptr ? *hop : NextHop());
        };
        auto const before = now();
        change();
        auto const after = now();
        if (before.first != after.first) {
            return after.first ? RouteChange::added : RouteChange::removed;
        }
        return before == after ? RouteChange::none : RouteChange::nextHopChanged;
    }

    std::map<std::tuple<IpGenPrefix, U32, U32>, NextHop> paths_;
};

TEST(PathTableTest, anyChangesAreThoseOfThePlainModel) {
    unsigned const seed = ToolsTest::newSeed();
    SCOPED_TRACE(ToolsTest::traceOf(seed));
    std::mt19937 random(seed);
    auto const below = [&](U32 bound) { return static_cast<U32>(random() % bound); };
    PathTable table(ascendingPeers);
    Model model;
    for (int i = 0; i < 60'000; ++i) {
        // Fills, empties and fills again.
        bool const isWithdrawal = below(10) < (i / 10'000 % 2 == 0 ? 3U : 8U);
        U32 const peer = below(4);
        U32 const pathId = below(3);
        bool const isIpv6 = below(2) == 0;
        std::array<U8, 2> const bytes{static_cast<U8>(below(3)), static_cast<U8>(below(256))};
        IpGenPrefix const to(isIpv6 ? AddressFamily::ipv6 : AddressFamily::ipv4, bytes, 16);
        NextHop const via = hop(static_cast<U8>(below(20)));
        ASSERT_EQ(isWithdrawal ? table.withdraw(peer, pathId, to)
                               : table.announce(peer, pathId, to, via),
                  isWithdrawal ? model.withdraw(peer, pathId, to)
                               : model.announce(peer, pathId, to, via));
        ASSERT_EQ(table.paths(), model.size());
        NextHop const* const now = table.nextHop(to);
        ASSERT_EQ(now != nullptr, model.nextHop(to) != nullptr);
        ASSERT_TRUE(now == nullptr || *now == *model.nextHop(to));
        if (i % 1'000 == 0) {
            std::map<IpGenPrefix, NextHop> routes;
            table.forEachRoute([&](IpGenPrefix const& each, NextHop const& nextHop) {
                EXPECT_TRUE(routes.emplace(each, nextHop).second);
            });
            ASSERT_EQ(routes, model.routes());
            ASSERT_EQ(table.routes(), routes.size());
        }
    }
}

/** In an order that makes lists long, and trees deep that nothing balances. */
TEST(PathTableTest, routeMayHaveAnyNumberOfPaths) {
    constexpr U32 many = 300'000;
    PathTable table(ascendingPeers);
    for (U32 id = 0; id < many; ++id) {
        ASSERT_EQ(table.announce(3, id, ten, hop(id % 2 == 0 ? 1 : 2)),
                  id == 0 ? RouteChange::added : RouteChange::none);
    }
    ASSERT_EQ(table.paths(), many);
    for (U32 id = 0; id < many; ++id) {
        ASSERT_EQ(*table.nextHop(ten), hop(id % 2 == 0 ? 1 : 2));
        ASSERT_EQ(table.withdraw(3, id, ten),
                  id == many - 1 ? RouteChange::removed : RouteChange::nextHopChanged);
    }
    EXPECT_EQ(table.paths(), 0U);
}

TEST(PathTableTest, memoryIsUsedAgain) {
    PathTable table(ascendingPeers);
    U64 first = 0;
    for (int round = 0; round < 5; ++round) {
        for (U32 i = 0; i < 10'000; ++i) {
            table.announce(i % 3, 0, IpGenPrefix(Nimbal::IpAddr(i << 8), 24), hop(U8(i % 200)));
        }
        first = round == 0 ? table.memory() : first;
        EXPECT_EQ(table.memory(), first);
        for (U32 i = 0; i < 10'000; ++i) {
            EXPECT_EQ(table.withdraw(i % 3, 0, IpGenPrefix(Nimbal::IpAddr(i << 8), 24)),
                      RouteChange::removed);
        }
    }
    EXPECT_EQ(table.nextHops(), 0U);
    // 16 a path, 28 a route, 4 a place of which at least three in eight are taken.
    EXPECT_LE(first, 10'000 * (16 + 28 + 11) + 20'000);
}

TEST(PathTableTest, announcementThatFindsNoMemoryChangesNothing) {
    PathTable table(ascendingPeers);
    Model model;
    for (U32 i = 0; i < 200; ++i) {
        IpGenPrefix const to(Nimbal::IpAddr((i % 150) << 8), 24);
        model.announce(i, 0, to, hop(U8(i)));
        TestSupport::failEachAllocation([&] { table.announce(i, 0, to, hop(U8(i))); },
                                        [&] {
                                            EXPECT_EQ(table.paths(), i);
                                            EXPECT_EQ(table.nextHops(), i);
                                            EXPECT_EQ(table.withdraw(i, 0, to), RouteChange::none);
                                        });
    }
    table.forEachRoute([&](IpGenPrefix const& each, NextHop const& nextHop) {
        EXPECT_EQ(nextHop, *model.nextHop(each));
    });
    EXPECT_EQ(table.routes(), 150U);
    EXPECT_EQ(table.paths(), 200U);
}

}  // namespace
}  // namespace LpmTools
