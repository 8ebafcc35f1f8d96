#include <tools/Plan.h>

#include <gtest/gtest.h>

namespace LpmTools {
namespace {

using LpmClient::Route;
using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;

/** A chain of nested routes of each family, and as many beside each other. */
std::vector<Route> manyRoutes() {
    std::vector<Route> routes;
    for (U32 len = 1; len <= 32; ++len) {
        routes.push_back({IpGenPrefix(AddressFamily::ipv4, {}, len), len});
        routes.push_back({IpGenPrefix(AddressFamily::ipv6, {}, len), len});
        std::array<Vexo::U8, 2> const bytes{128, static_cast<Vexo::U8>(len)};
        routes.push_back({IpGenPrefix(AddressFamily::ipv4, bytes, 16), len});
        routes.push_back({IpGenPrefix(AddressFamily::ipv6, bytes, 16), len});
    }
    return routes;
}

TEST(PlanTest, bucketsEnoughTakeInAnyTableAtAnyBound) {
    auto const routes = manyRoutes();
    for (bool const oneByOne : {false, true}) {
        for (U32 const bound : {1U, 2U, 3U, 7U}) {
            PlanOptions options;
            options.bucketRoutes = bound;
            options.buckets = 3;
            options.bindings = 3;
            options.oneByOne = oneByOne;
            options.checkedAddresses = 100;
            giveBucketsEnough(options, routes.size());
            Plan plan(options);
            plan.takeTable(routes);
            PlanReport report;
            plan.finish(report);
            EXPECT_TRUE(allRight(report)) << bound;
            EXPECT_TRUE(plan.troubles().empty()) << bound;
        }
    }
}

TEST(PlanTest, bucketsEnoughAreNeverFewerThanAskedForNorTooManyToCount) {
    PlanOptions options;
    giveBucketsEnough(options, 5);
    EXPECT_EQ(options.buckets, PlanOptions().buckets);
    giveBucketsEnough(options, U64{1} << 40);
    EXPECT_EQ(options.buckets, ~U32{0});
    EXPECT_EQ(options.bindings, ~U32{0});
}

TEST(PlanTest, troublesNameWhatIsOwed) {
    PlanOptions options;
    options.bucketRoutes = 1;
    options.buckets = 2;
    Plan plan(options);
    plan.takeTable(manyRoutes());
    PlanReport report;
    plan.finish(report);
    EXPECT_FALSE(allRight(report));
    EXPECT_EQ(plan.troubles().size(), 2U);
}

}  // namespace
}  // namespace LpmTools
