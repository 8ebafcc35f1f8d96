#include <tools/Load.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace LpmTools {
namespace {

using Json = nlohmann::json;
using Nimbal::AddressFamily;
using testing::HasSubstr;
using testing::Not;

FamilyReport madeUpReport() {
    FamilyReport report;
    report.af = AddressFamily::ipv4;
    report.bucket = 1024;
    report.figures.routes = 1'234'567;
    report.figures.nodes = 2'345'678;
    report.figures.internalNodes = 999;
    report.figures.meanDepth = 22.94;
    report.figures.maxDepth = 33;
    report.figures.partitions = 205;
    report.figures.emptyPartitions = 1;
    report.figures.largestPartition = 1023;
    report.figures.fillTenths = {0, 1, 2, 3, 40, 80, 0, 0, 0, 79};
    report.figures.meanFill = 0.625;
    report.movedRoutes = 1'000'000;
    report.bytesPerRoute = 205.25;
    report.insertSeconds = 1.125;
    report.verifySeconds = 0.5;
    report.lookUpSeconds = 0.25;
    report.removeSeconds = 0.125;
    return report;
}

Table madeUpTable() {
    Table table;
    table.lines = 1'234'600;
    table.duplicates = 21;
    table.omissions = {{"made up", 1000, 0, {}}};
    return table;
}

constexpr char const* madeUpText =
    "ipv4\n"
    "  routes            1,234,567\n"
    "  nodes             2,345,678  1.90 a route, 999 of them internal\n"
    "  depth                  22.9  nodes on the way to a route on average, 33 at most\n"
    "  partitions              205  62.5 % full on average; at most 1,023 of 1,024 routes, "
    "1 without any\n"
    "  moved routes      1,000,000  0.81 a route\n"
    "  memory                205.2  bytes a route in nodes, prefixes and partition ids\n"
    "  time                   2.00  seconds: insert 1.12, verify 0.50, look up 0.25, remove 0.12\n"
    "  partitions by fill\n"
    "  0-10 %                    0\n"
    "  10-20 %                   1\n"
    "  20-30 %                   2  #\n"
    "  30-40 %                   3  #\n"
    "  40-50 %                  40  ####################\n"
    "  50-60 %                  80  ########################################\n"
    "  60-70 %                   0\n"
    "  70-80 %                   0\n"
    "  80-90 %                   0\n"
    "  90-100 %                 79  #######################################\n"
    "  every invariant verified, every route found in its partition, all removed, nothing left "
    "allocated\n";

constexpr char const* madeUpJson = R"({
  "input": {
    "seed": null,
    "lines": 1234600,
    "duplicates": 21,
    "hostBitsCleared": 1000,
    "badLines": 0,
    "firstBadLine": ""
  },
  "families": [
    {
      "family": "ipv4",
      "routes": 1234567,
      "nodes": 2345678,
      "internalNodes": 999,
      "depth": {
        "mean": 22.94,
        "max": 33
      },
      "partitions": {
        "count": 205,
        "bucket": 1024,
        "meanFill": 0.625,
        "largest": 1023,
        "empty": 1,
        "fillTenths": [
          0,
          1,
          2,
          3,
          40,
          80,
          0,
          0,
          0,
          79
        ]
      },
      "movedRoutes": 1000000,
      "bytesPerRoute": 205.25,
      "seconds": {
        "insert": 1.125,
        "verify": 0.5,
        "lookUp": 0.25,
        "remove": 0.125
      },
      "notFound": 0,
      "leftObjects": 0
    }
  ]
}
)";

TEST(ReportTest, textTellsAllFigures) {
    EXPECT_EQ(reportText(madeUpTable(), {madeUpReport()}),
              std::string(madeUpText) +
                  "\ninput: 1,234,600 lines, 21 prefixes read again, 1,000 with host bits "
                  "cleared, 0 bad lines skipped\n");
}

TEST(ReportTest, jsonTellsAllFigures) {
    EXPECT_EQ(reportJson(madeUpTable(), {madeUpReport()}), madeUpJson);
}

TEST(ReportTest, jsonHoldsTheFiguresOfTheReport) {
    FamilyReport const report = madeUpReport();
    Json const family = Json::parse(reportJson(madeUpTable(), {report})).at("families").at(0);
    EXPECT_EQ(family.at("routes").get<U64>(), report.figures.routes);
    EXPECT_EQ(family.at("depth").at("mean").get<double>(), report.figures.meanDepth);
    EXPECT_EQ(family.at("partitions").at("fillTenths").get<std::vector<U64>>(),
              std::vector<U64>(report.figures.fillTenths.begin(), report.figures.fillTenths.end()));
    EXPECT_EQ(family.at("seconds").at("insert").get<double>(), report.insertSeconds);
}

TEST(ReportTest, familiesStandBehindEachOther) {
    FamilyReport second = madeUpReport();
    second.af = AddressFamily::ipv6;
    std::string secondText = madeUpText;
    secondText.replace(0, 4, "ipv6");
    EXPECT_THAT(reportText(madeUpTable(), {madeUpReport(), second}),
                testing::StartsWith(std::string(madeUpText) + "\n" + secondText + "\ninput: "));
    Json const families =
        Json::parse(reportJson(madeUpTable(), {madeUpReport(), second})).at("families");
    ASSERT_EQ(families.size(), 2U);
    EXPECT_EQ(families.at(0).at("family"), "ipv4");
    EXPECT_EQ(families.at(1).at("family"), "ipv6");
}

TEST(ReportTest, emptyTableHasNoFamily) {
    EXPECT_EQ(reportText(Table(), {}), "input: 0 lines, 0 prefixes read again, 0 with host bits "
                                       "cleared, 0 bad lines skipped\n");
    EXPECT_EQ(Json::parse(reportJson(Table(), {})).at("families"), Json::array());
}

TEST(ReportTest, generatedTableIsKnownByItsSeed) {
    Table table;
    table.seed = ~U64{0};
    EXPECT_EQ(reportText(table, {}), "input: generated from the seed 18446744073709551615\n");
    EXPECT_EQ(Json::parse(reportJson(table, {})).at("input").at("seed").get<U64>(), ~U64{0});
}

TEST(ReportTest, firstBadLineIsTold) {
    Table table = madeUpTable();
    table.omissions = {{"table", 0, 1233, "table:7: 'x': no prefix"},
                       {"other", 0, 1, "other:1: 'y': no prefix"}};
    EXPECT_THAT(reportText(table, {}),
                testing::EndsWith(", 1,234 bad lines skipped\n"
                                  "first bad line: table:7: 'x': no prefix\n"));
    Json const input = Json::parse(reportJson(table, {})).at("input");
    EXPECT_EQ(input.at("badLines").get<U64>(), 1234U);
    EXPECT_EQ(input.at("firstBadLine"), "table:7: 'x': no prefix");
}

TEST(ReportTest, bytesThatAreNoTextStayOutOfJson) {
    Table table;
    table.omissions = {{"made up", 0, 1, "caf\xe9 \"\\\n:1: caf\xc3\xa9"}};
    Json const input = Json::parse(reportJson(table, {})).at("input");
    EXPECT_EQ(input.at("firstBadLine"), "caf\xef\xbf\xbd \"\\\n:1: caf\xc3\xa9");
}

TEST(ReportTest, failureIsTold) {
    FamilyReport report = madeUpReport();
    EXPECT_TRUE(report.good());
    report.notFound = 1234;
    EXPECT_FALSE(report.good());
    std::string text = reportText(Table(), {report});
    EXPECT_THAT(text, HasSubstr("\n  FAILED: 1,234 routes were not found\n\n"));
    EXPECT_THAT(text, Not(HasSubstr("verified")));
    EXPECT_EQ(Json::parse(reportJson(Table(), {report})).at("families").at(0).at("notFound"), 1234);

    report.notFound = 0;
    report.leftObjects = 2;
    EXPECT_FALSE(report.good());
    text = reportText(Table(), {report});
    EXPECT_THAT(text, HasSubstr("\n  FAILED: 2 objects were not freed\n\n"));
    EXPECT_THAT(text, Not(HasSubstr("verified")));
    EXPECT_EQ(Json::parse(reportJson(Table(), {report})).at("families").at(0).at("leftObjects"), 2);
}

TEST(ReportTest, reportWithoutRoutesDividesByNothing) {
    FamilyReport report;
    report.af = AddressFamily::ipv6;
    report.figures.nodes = 1;
    EXPECT_THAT(reportText(Table(), {report}), HasSubstr("  0.00 a route, 0 of them internal\n"));
    Json const family = Json::parse(reportJson(Table(), {report})).at("families").at(0);
    EXPECT_EQ(family.at("bytesPerRoute"), 0.0);
}

}  // namespace
}  // namespace LpmTools
