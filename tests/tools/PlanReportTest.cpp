#include <tests/tools/PlanFixture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace ToolsTest {
namespace {

using Json = nlohmann::json;
using testing::HasSubstr;
using testing::Not;

/*
 * The counters of a made-up report, as the summary and the JSON document tell them.
 */

TEST(PlanReportTest, summaryTellsWritesByKindRefusedOnesAndFreeBuckets) {
    std::string const text = planText(madeUpReport());
    EXPECT_THAT(text, HasSubstr("\n  refused writes          308  allocate 11, write route 22, "
                                "erase route 33, write cover 44, bind 55, unbind 66, free 77\n"));
    EXPECT_THAT(text, HasSubstr("  allocate 5,432, write route 1,893,987, erase route 1,082,278, "
                                "write cover 7,654, bind 6,789, unbind 3,456, free 2,345\n"));
    EXPECT_THAT(text, HasSubstr(" in 4,321 splits, 2,109 merges, 8,765 shifts\n"));
    EXPECT_THAT(text, HasSubstr("\nbuckets of 512 routes, 2,900 in use, 5,292 free; policy "));
}

TEST(PlanReportTest, runWithoutRefusalsSaysNothingOfThem) {
    PlanReport report = madeUpReport();
    for (FamilyPlan& plan : report.families) {
        plan.writes.refused = {};
    }
    EXPECT_THAT(planText(report), Not(HasSubstr("refused writes")));
}

TEST(PlanReportTest, jsonTellsEveryCounter) {
    Json const report = Json::parse(planJson(madeUpReport()));
    EXPECT_EQ(report.at("bucketLimit"), 8192);
    EXPECT_EQ(report.at("bucketsUsed"), 2900);
    EXPECT_EQ(report.at("bucketsFree"), 5292);
    Json const& ipv4 = report.at("families").at(0);
    EXPECT_EQ(ipv4.at("writes"), (Json{{"total", 3'001'941},
                                       {"allocate", 5432},
                                       {"write route", 1'893'987},
                                       {"erase route", 1'082'278},
                                       {"write cover", 7654},
                                       {"bind", 6789},
                                       {"unbind", 3456},
                                       {"free", 2345}}));
    EXPECT_EQ(ipv4.at("refusedWrites"), (Json{{"total", 308},
                                              {"allocate", 11},
                                              {"write route", 22},
                                              {"erase route", 33},
                                              {"write cover", 44},
                                              {"bind", 55},
                                              {"unbind", 66},
                                              {"free", 77}}));
    EXPECT_EQ(ipv4.at("counts"), (Json{{"added", 901'899},
                                       {"changed", 1207},
                                       {"withdrawn", 450'952},
                                       {"notDone", 5},
                                       {"splits", 4321},
                                       {"merges", 2109},
                                       {"shifts", 8765},
                                       {"moves", 874'842}}));
}

}  // namespace
}  // namespace ToolsTest
