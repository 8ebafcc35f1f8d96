#include <tools/GrowthPlan.h>
#include <tools/TableShape.h>
#include <tools/Xoshiro.h>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>

namespace LpmTools {
namespace {

using Nimbal::AddressFamily;

TEST(XoshiroTest, seedsLikeThePublishedSplitmix64) {
    EXPECT_EQ(mixedBits(1234567 + 0x9e3779b97f4a7c15), 6457827717110365317U);
}

TEST(XoshiroTest, drawsThePublishedNumbersForSeedZero) {
    EXPECT_EQ(Xoshiro(0).next(), 0x99ec5f36cb75f2b4U);
}

TEST(XoshiroTest, boundedNumbersReachBothEndsAndNothingElse) {
    Xoshiro random(7);
    std::array<U32, 3> seen{};
    for (int i = 0; i < 3000; ++i) {
        ++seen.at(random.below(3));
    }
    for (U32 const count : seen) {
        EXPECT_NEAR(count, 1000, 150);
    }
    EXPECT_EQ(random.below(1), 0U);
    EXPECT_EQ(random.below(0), 0U);
}

class GrowthPlanTest : public testing::TestWithParam<AddressFamily> {};

INSTANTIATE_TEST_SUITE_P(Families, GrowthPlanTest,
                         testing::Values(AddressFamily::ipv4, AddressFamily::ipv6));

TEST_P(GrowthPlanTest, reachesTheMaximum) {
    TableShape const& shape = tableShape(GetParam());
    for (U64 seed = 0; seed < 5; ++seed) {
        U64 const routes = GrowthPlan::forRoutes(shape, shape.maximum, seed).routes();
        EXPECT_GE(routes, shape.maximum);
        EXPECT_LE(routes, shape.maximum + shape.maximum / 100);
    }
    EXPECT_GE(shape.maximum, 10'000'000U);
}

TEST_P(GrowthPlanTest, plansLittleMoreThanIsWanted) {
    TableShape const& shape = tableShape(GetParam());
    for (U32 count = 10'000; count <= 10'000'000; count += count / 5) {
        U64 const routes = GrowthPlan::forRoutes(shape, count, count).routes();
        EXPECT_GE(routes, count);
        EXPECT_LE(routes, count + count / 20 + 100) << count;
    }
}

TEST_P(GrowthPlanTest, measuredSizeRepeatsTheMeasuredCounts) {
    TableShape const& shape = tableShape(GetParam());
    GrowthPlan const plan(shape, {shape.startBlocks, shape.routes, 4096}, 3);
    EXPECT_NEAR(static_cast<double>(plan.routes()), shape.routes, shape.routes * 0.001);
    for (U32 len = shape.firstLen; len <= shape.lastLen; ++len) {
        for (std::size_t i = 0; i < blockStates * outcomes; ++i) {
            double const measured = shape.level(len)[i];
            double const planned = static_cast<double>(
                plan.levels()[len - shape.firstLen][i / outcomes][i % outcomes]);
            EXPECT_NEAR(planned, measured, 40 + measured * 0.005) << "/" << len << " " << i;
        }
    }
}

// Every block of a length is an occupied half of one of the length before.
TEST_P(GrowthPlanTest, blocksOfALengthAreTheHalvesOfTheLengthBefore) {
    TableShape const& shape = tableShape(GetParam());
    for (U32 const count : {1U, 30U, 7000U, 500'000U, 3'000'000U}) {
        GrowthPlan const plan = GrowthPlan::forRoutes(shape, count, 9);
        U64 halves = plan.startBlocks();
        for (LevelQuotas const& quotas : plan.levels()) {
            U64 blocks = 0;
            U64 next = 0;
            for (auto const& state : quotas) {
                for (std::size_t i = 0; i < outcomes; ++i) {
                    blocks += state[i];
                    next += occupiedHalves(static_cast<Outcome>(i)) * state[i];
                }
            }
            EXPECT_EQ(blocks, halves) << count;
            halves = next;
        }
        EXPECT_EQ(halves, 0U) << count;
    }
}

}  // namespace
}  // namespace LpmTools
