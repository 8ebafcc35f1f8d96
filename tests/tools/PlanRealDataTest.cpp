#include <tests/tools/MrtRealData.h>
#include <tests/tools/RunCommand.h>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <iostream>

namespace ToolsTest {
namespace {

using Json = nlohmann::json;

/** A plan of real files, and the routes that are left according to bgpdump. */
struct RealPlan {
    char const* name;
    char const* table;  // null: none
    char const* updates;
    /**
     * Prefixes of each family that a peer still announces: `bgpdump -m` of the files in this order,
     * its lines taken as paths by prefix, peer and AS.
     */
    U64 routes4;
    U64 routes6;
};

class PlanRealDataTest : public testing::TestWithParam<RealPlan> {};

INSTANTIATE_TEST_SUITE_P(
    Files, PlanRealDataTest,
    testing::Values(RealPlan{"TableAndUpdates", "rib.route-views.jinx.2014.mrt.bz2",
                             "updates.route-views.jinx.2014.mrt.bz2", 497'337, 83},
                    RealPlan{"UpdatesAlone", nullptr, "updates.rrc.2016.mrt.gz", 1'595, 91}),
    [](auto const& plan) { return plan.param.name; });

TEST_P(PlanRealDataTest, chipHoldsTheRoutesOfAnIndependentReaderAndAnswersRight) {
    if (std::getenv("LPMTRIE_DATA") == nullptr) {
        GTEST_SKIP() << "LPMTRIE_DATA names no directory with real data";
    }
    RealPlan const& plan = GetParam();
    std::vector<std::string> arguments{"plan", "--json", "--optimum"};
    if (plan.table != nullptr) {
        arguments.push_back(realDataPath(plan.table));
    }
    arguments.insert(arguments.end(), {"--updates", realDataPath(plan.updates)});
    Ended const ended = run(arguments);
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.err, "");
    Json const families = Json::parse(ended.out).at("families");
    ASSERT_EQ(families.size(), 2U);
    EXPECT_EQ(families.at(0).at("routes"), plan.routes4);
    EXPECT_EQ(families.at(1).at("routes"), plan.routes6);
    for (Json const& family : families) {
        EXPECT_EQ(family.at("answers").at("wrong"), 0);
        EXPECT_GE(family.at("answers").at("addresses").get<U64>(), 200'000U);
        EXPECT_EQ(family.at("differences"), 0);
        EXPECT_EQ(family.at("owed"), 0);
        std::cout << family.at("family") << ": " << family.at("routes") << " routes in "
                  << family.at("buckets") << " buckets, " << family.at("seconds") << " s\n";
    }
}

}  // namespace
}  // namespace ToolsTest
