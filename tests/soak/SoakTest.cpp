#include <tests/soak/Memory.h>
#include <tests/soak/RouteWeather.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

/* What a soak takes for granted: updates that make sense, and a table that is whole in the end. */

namespace Soak {
namespace {

using LpmTools::RouteChange;

constexpr U32 tableSize = 1000;

std::vector<LpmClient::Route> table() {
    std::vector<LpmClient::Route> routes;
    for (U32 i = 0; i < tableSize; ++i) {
        std::string const text = "10." + std::to_string(i / 256) + "." + std::to_string(i % 256);
        routes.push_back({Nimbal::IpGenPrefix::fromString((text + ".0/24").c_str()), 1 + i % 64});
    }
    return routes;
}

/** The routes that are there, as updates say. */
class Routes {
public:
    Routes() {
        for (LpmClient::Route const& route : table()) {
            nextHops_.emplace(route.prefix, route.nextHop);
        }
    }

    void take(LpmTools::RouteEvent const& event) {
        bool const isThere = nextHops_.contains(event.route.prefix);
        ASSERT_EQ(isThere, event.change != RouteChange::added);
        if (event.change == RouteChange::removed) {
            nextHops_.erase(event.route.prefix);
            return;
        }
        if (event.change == RouteChange::nextHopChanged) {
            ASSERT_NE(nextHops_[event.route.prefix], event.route.nextHop);
        }
        nextHops_[event.route.prefix] = event.route.nextHop;
        fewest_ = std::min(fewest_, nextHops_.size());
    }
    std::size_t size() const { return nextHops_.size(); }
    std::size_t fewest() const { return fewest_; }

private:
    std::map<Nimbal::IpGenPrefix, LpmClient::NextHop> nextHops_;
    std::size_t fewest_ = tableSize;
};

TEST(RouteWeatherTest, everyUpdateChangesSomethingAndTheTableIsWholeInTheEnd) {
    for (U64 const updates : {1U, 2U, 3U, 10U, 57U, 5000U}) {
        for (U64 seed = 1; seed < 20; ++seed) {
            RouteWeather weather(table(), seed);
            Routes routes;
            for (U64 left = updates; left > 0; --left) {
                if (left == updates / 2) {
                    weather.storm();
                }
                ASSERT_NO_FATAL_FAILURE(routes.take(weather.next(left)));
            }
            EXPECT_EQ(routes.size(), tableSize) << updates << " updates, seed " << seed;
            // A storm takes away 20 routes.
            EXPECT_TRUE(updates < 5000 || routes.fewest() <= tableSize - 20);
        }
    }
}

TEST(RouteWeatherTest, sameSeedGivesTheSameUpdates) {
    RouteWeather one(table(), 7);
    RouteWeather same(table(), 7);
    RouteWeather other(table(), 8);
    bool differs = false;
    for (U64 left = 2000; left > 0; --left) {
        auto const event = one.next(left);
        auto const again = same.next(left);
        ASSERT_EQ(event.route, again.route);
        ASSERT_EQ(event.change, again.change);
        differs = differs || !(other.next(left).route == event.route);
    }
    EXPECT_TRUE(differs);
}

TEST(DriftTest, onePercentUpOrDownIsFlatAndMoreIsNot) {
    for (U64 const value : {990'000U, 1'010'000U}) {
        Drift drift(1'000'000);
        drift.read(value);
        EXPECT_TRUE(drift.isFlat(0)) << value;
        EXPECT_DOUBLE_EQ(drift.percent(), 1.0);
    }
    for (U64 const value : {989'999U, 1'010'001U}) {
        Drift drift(1'000'000);
        drift.read(value);
        drift.read(1'000'000);
        EXPECT_FALSE(drift.isFlat(0)) << value;
        EXPECT_TRUE(drift.isFlat(10'001)) << value;
        EXPECT_EQ(drift.last(), 1'000'000U);
    }
}

TEST(MemoryTest, readingsGrowWithWhatIsTaken) {
    Memory const before = Memory::now();
    std::vector<char> const block(64 << 20, 'x');
    auto const moved = LpmTrie::trieNodesInfoFactory();
    Memory const after = Memory::now();
    EXPECT_GT(after.resident, before.resident + block.size() / 2);
    EXPECT_GT(after.tracked, before.tracked);
}

}  // namespace
}  // namespace Soak
