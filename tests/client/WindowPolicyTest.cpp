#include <client/PartitionManager.h>
#include <client/SimulatedChip.h>
#include <client/WindowPolicy.h>

#include <tests/client/Space.h>

#include <gtest/gtest.h>

/*
 * What the moves that a window policy may make depend on.
 */

namespace ClientTest {
namespace {

using LpmClient::WindowPolicy;
using LpmClient::WindowWeights;

constexpr U32 bucketRoutes = 16;

struct Spent {
    U64 moves;
    U64 buckets;
};

Spent spentOn(U32 routes, WindowWeights const& weights) {
    LpmClient::SimulatedChip chip({400, bucketRoutes, 400});
    LpmClient::ManagerOptions options;
    LpmClient::PartitionManager manager(chip, Torvel::Bitmap::BitmapIs(400), options,
                                        std::make_unique<WindowPolicy>(weights));
    Random random(1);
    Space const space(AddressFamily::ipv4, 10);
    for (auto const& prefix : randomPrefixes(space, Order::random, routes, random)) {
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
