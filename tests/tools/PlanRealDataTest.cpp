#include <tests/tools/GoodRun.h>
#include <tests/tools/MrtRealData.h>

#include <gtest/gtest.h>

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
    /** After so many updates of the family the answers are compared. */
    std::vector<U64> rounds4;
    std::vector<U64> rounds6;
};

/** Tests that are skipped where there is no real data. */
class WithRealData : public testing::Test {
protected:
    void SetUp() override {
        if (std::getenv("LPMTRIE_DATA") == nullptr) {
            GTEST_SKIP() << "LPMTRIE_DATA names no directory with real data";
        }
    }
    /** The families of a plan in which everything must go right. */
    static Json plan(std::vector<std::string> const& arguments) {
        Json families = jsonOf(callOf("plan", arguments)).at("families");
        for (Json const& family : families) {
            EXPECT_EQ(family.at("answers").at("wrong"), 0);
            EXPECT_EQ(family.at("differences"), 0);
            EXPECT_EQ(family.at("owed"), 0);
            std::cout << family.at("family") << ": " << family.at("routes") << " routes in "
                      << family.at("buckets") << " buckets, " << family.at("seconds") << " s\n";
        }
        return families;
    }
};

class PlanRealDataTest : public WithRealData, public testing::WithParamInterface<RealPlan> {
protected:
    /** The first and the last address of every prefix and 100,000 random ones, each time. */
    static void checkRounds(Json const& family, std::vector<U64> const& updates) {
        std::vector<U64> found;
        for (Json const& round : family.at("answers").at("rounds")) {
            found.push_back(round.at("update"));
            EXPECT_EQ(round.at("addresses"), 100'000 + 2 * round.at("routes").get<U64>());
        }
        EXPECT_EQ(found, updates);
        EXPECT_EQ(family.at("answers").at("rounds").back().at("routes"), family.at("routes"));
    }
};

INSTANTIATE_TEST_SUITE_P(Files, PlanRealDataTest,
                         testing::Values(RealPlan{"TableAndUpdates",
                                                  "rib.route-views.jinx.2014.mrt.bz2",
                                                  "updates.route-views.jinx.2014.mrt.bz2",
                                                  497'337,
                                                  83,
                                                  {0, 1'000, 1'350},
                                                  {0, 0, 4}},
                                         RealPlan{"UpdatesAlone",
                                                  nullptr,
                                                  "updates.rrc.2016.mrt.gz",
                                                  1'595,
                                                  91,
                                                  {894, 8'910, 34'326},
                                                  {106, 1'090, 6'886}}),
                         [](auto const& plan) { return plan.param.name; });

TEST_P(PlanRealDataTest, chipHoldsTheRoutesOfAnIndependentReaderAndAnswersRightAllTheTime) {
    RealPlan const& real = GetParam();
    std::vector<std::string> arguments{"--optimum"};
    if (real.table != nullptr) {
        arguments.push_back(realDataPath(real.table));
    }
    arguments.insert(arguments.end(), {"--updates", realDataPath(real.updates)});
    Json const families = plan(arguments);
    ASSERT_EQ(families.size(), 2U);
    EXPECT_EQ(families.at(0).at("routes"), real.routes4);
    EXPECT_EQ(families.at(1).at("routes"), real.routes6);
    checkRounds(families.at(0), real.rounds4);
    checkRounds(families.at(1), real.rounds6);
}

class InternetTableTest : public WithRealData {};

/** The optimum that is known for this table, reached by a download of it. */
TEST_F(InternetTableTest, downloadTakesTheFewestBucketsPossibleOf512Routes) {
    Json const families = plan(
        {realDataPath("internet-prefixes.txt.gz"), "--optimum", "--bucket=512", "--check=1000"});
    ASSERT_EQ(families.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        Json const& family = families.at(i);
        U64 const fewest = i == 0 ? 2'289 : 395;
        EXPECT_EQ(family.at("optimum"), fewest);
        EXPECT_EQ(family.at("buckets"), fewest);
        EXPECT_EQ(family.at("counts").at("moves"), 0);
        EXPECT_EQ(family.at("writes").at("write route"), family.at("routes"));
    }
    EXPECT_NEAR(families.at(0).at("fill").get<double>(), 0.770, 0.0005);
    EXPECT_NEAR(families.at(1).at("fill").get<double>(), 0.792, 0.0005);
}

}  // namespace
}  // namespace ToolsTest
