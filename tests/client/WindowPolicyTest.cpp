#include <client/PartitionManager.h>
#include <client/SimulatedChip.h>
#include <client/WindowPolicy.h>

#include <gtest/gtest.h>

#include <random>
#include <set>

/*
 * What the moves that a window policy may make depend on.
 */

namespace ClientTest {
namespace {

using LpmClient::U32;
using LpmClient::U64;
using LpmClient::WindowPolicy;
using LpmClient::WindowWeights;

constexpr U32 bucketRoutes = 16;

/** Different prefixes of 24 bits, in random order. */
std::vector<Nimbal::IpGenPrefix> randomPrefixes(std::size_t count) {
    std::mt19937 random(1);
    std::set<U32> networks;
    std::vector<Nimbal::IpGenPrefix> prefixes;
    while (prefixes.size() < count) {
        U32 const network = static_cast<U32>(random()) >> 18;
        if (networks.insert(network).second) {
            prefixes.emplace_back(Nimbal::IpAddr(0x0a000000U | network << 8), 24);
        }
    }
    return prefixes;
}

struct Spent {
    U64 moves;
    U64 buckets;
};

Spent spentOn(std::size_t routes, WindowWeights const& weights) {
    LpmClient::SimulatedChip chip({400, bucketRoutes, 400});
    LpmClient::ManagerOptions options;
    LpmClient::PartitionManager manager(chip, Torvel::Bitmap::BitmapIs(400), options,
                                        std::make_unique<WindowPolicy>(weights));
    for (auto const& prefix : randomPrefixes(routes)) {
        EXPECT_EQ(manager.announce({prefix, 1}), LpmClient::Outcome::done);
    }
    EXPECT_TRUE(manager.audit().empty());
    return {manager.counts().moves, manager.buckets()};
}

WindowWeights weightsOf(U32 budget, U32 advance) {
    WindowWeights weights;
    weights.ample = {8, 0};
    weights.scarce = {1, 500};
    weights.budget = budget;
    weights.advance = advance;
    weights.firstFit = false;
    return weights;
}

TEST(WindowPolicyTest, movesAllowedForEachRouteAreWhatIsSpent) {
    Spent const few = spentOn(600, weightsOf(20, 0));
    Spent const many = spentOn(600, weightsOf(100, 0));
    EXPECT_LT(few.moves, many.moves);
    EXPECT_GT(few.buckets, many.buckets);
}

TEST(WindowPolicyTest, movesAllowedFromTheStartAreSpentBesides) {
    Spent const none = spentOn(250, weightsOf(20, 0));
    Spent const some = spentOn(250, weightsOf(20, 15));  // 240 moves
    EXPECT_LT(none.moves, some.moves);
    EXPECT_GT(none.buckets, some.buckets);
}

}  // namespace
}  // namespace ClientTest
