#include <client/HalvingPolicy.h>

#include <tests/client/ClientWorld.h>

#include <gtest/gtest.h>

/*
 * What a split in half takes, and what is taken where routes come in order: what is cut off then
 * lies behind them, and will not grow.
 */

namespace ClientTest {
namespace {

using LpmClient::HalvingPolicy;

TEST(HalvingPolicyTest, splitCountIsChosenWithTheOrderInMindInWhichRoutesCome) {
    Space const space(AddressFamily::ipv4);
    auto const bucketsOf = [&](bool descending, auto const&... shares) {
        ClientWorld world(space, "half", {200, 32, 200});
        world.watch(false);
        world.newManager(std::make_unique<HalvingPolicy>(false, shares...));
        for (U32 low = 0; low < 2000; ++low) {
            EXPECT_EQ(world.update({space.at(descending ? 1999 - low : low), low}), Outcome::done);
        }
        world.check();
        return std::pair(world.manager().buckets(), world.manager().counts().moves);
    };
    for (bool const descending : {false, true}) {
        auto const [buckets, moves] = bucketsOf(descending);
        auto const [bucketsByHalf, movesByHalf] = bucketsOf(descending, 50U);
        EXPECT_LT(buckets, bucketsByHalf);
        EXPECT_LT(moves, movesByHalf);
    }
}

}  // namespace
}  // namespace ClientTest
