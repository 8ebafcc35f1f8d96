#include <tools/Svg.h>
#include <tools/SvgText.h>

#include <tests/tools/PageForm.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace LpmTools {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using ToolsTest::expectGoodForm;
using ToolsTest::occurrences;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

SvgLook look() {
    return {"A <title>", "What it & others show"};
}

SvgLineChart lines(std::vector<SvgPoint> const& points) {
    return {look(), {"updates"}, {"buckets"}, {{"ours", points}, {"optimum", {{0, 1}, {9, 2}}, 4}}};
}

SvgHistogram histogram(std::vector<double> const& values) {
    SvgHistogram chart;
    chart.look = look();
    chart.x = {"length"};
    chart.y = {"routes"};
    chart.values = values;
    return chart;
}

SvgScatter scatter() {
    SvgScatter chart{look(), {"moves a route", false}, {"ratio", false}, {}, {}};
    chart.groups = {"512 routes", "64 routes"};
    chart.marks = {{{0.69, 1.126}, "fixed <root>"},
                   {{0.92, 1.074}, "window"},
                   {{0.93, 1.075}, "window", 1},
                   {{1.18, 1.052}, "wide window"},
                   {{1.22, 1.048}, "wide window", 1}};
    return chart;
}

/** The commands of the first line. */
std::string firstLine(std::string const& svg) {
    std::size_t const at = svg.find("class=\"line line0\"");
    std::size_t const begin = svg.rfind("d=\"", at);
    return svg.substr(begin, at - begin);
}

TEST(SvgTest, ChartsAreWellFormedAndTellWhatTheyShow) {
    for (std::string const& svg :
         {svgLineChart(lines({{0, 1}, {5, 3}, {9, 3}})), svgHistogram(histogram({1, 2, 3})),
          svgBarChart({look(), {{"a <b>", 3, "3 & more"}, {"c", 0, {}}}}), svgScatter(scatter())}) {
        expectGoodForm("chart.svg", svg);
        EXPECT_THAT(svg,
                    AllOf(HasSubstr("<title>A &lt;title&gt;</title>"),
                          HasSubstr("<desc>What it &amp; others show</desc>"),
                          HasSubstr("prefers-color-scheme:dark"), HasSubstr("class=\"paper\"")));
    }
}

TEST(SvgTest, APartOfAPageBringsNoStylesOfItsOwn) {
    SvgLineChart chart = lines({{0, 1}, {5, 3}});
    chart.look.standalone = false;
    EXPECT_THAT(svgLineChart(chart), AllOf(Not(HasSubstr("<style")), Not(HasSubstr("\"paper\""))));
}

TEST(SvgTest, LinesAndTheirNamesAndAxesAreDrawn) {
    std::string const svg = svgLineChart(lines({{0, 1}, {5, 3}, {9, 3}}));
    EXPECT_THAT(svg, AllOf(HasSubstr(">ours</text>"), HasSubstr(">optimum</text>"),
                           HasSubstr(">updates</text>"), HasSubstr(">buckets</text>"),
                           HasSubstr("\"line line4\"")));
    EXPECT_EQ(occurrences(firstLine(svg), "L"), 2U);
}

TEST(SvgTest, AnAxisOfPowersOfTenTellsTheNumbersThemselves) {
    SvgLineChart chart = lines({{4, 1}, {5, 3}, {7, 3}});
    chart.x = {.label = "routes", .fromZero = false, .powersOfTen = true};
    chart.lines.resize(1);
    std::string const svg = svgLineChart(chart);
    expectGoodForm("chart.svg", svg);
    EXPECT_THAT(svg, AllOf(HasSubstr(">" + decimalNumber(10'000, 0) + "</text>"),
                           HasSubstr(">" + decimalNumber(10'000'000, 0) + "</text>"),
                           Not(HasSubstr(">7</text>"))));
}

TEST(SvgTest, ChartsWithoutNumbersSayThatThereIsNoData) {
    SvgScatter none = scatter();
    none.marks = {{{notANumber, 1}, "nowhere"}};
    for (std::string const& svg :
         {svgLineChart({look(), {}, {}, {}}),
          svgLineChart({look(), {}, {}, {{"l", {{notANumber, 1}}}}}), svgHistogram(histogram({})),
          svgHistogram(histogram({0, 0, notANumber})), svgBarChart({look(), {}}),
          svgScatter(none)}) {
        expectGoodForm("chart.svg", svg);
        EXPECT_THAT(svg, AllOf(HasSubstr(">no data</text>"), Not(HasSubstr("line line0"))));
    }
}

TEST(SvgTest, OneSampleIsADot) {
    std::string const svg = svgLineChart({look(), {"x"}, {"y"}, {{"only", {{1000, 7}}}}});
    expectGoodForm("chart.svg", svg);
    EXPECT_THAT(svg, AllOf(HasSubstr("\"mark fill0\""), Not(HasSubstr("\"line line0\"")),
                           HasSubstr(">only</text>")));
}

TEST(SvgTest, AMillionSamplesAreThinnedAndNoPeakIsLost) {
    std::vector<SvgPoint> points;
    for (int number = 0; number < 1'000'000; ++number) {
        points.push_back({static_cast<double>(number), number == 654'321 ? 100.0 : 50.0});
    }
    std::string const thin = svgLineChart({look(), {"x"}, {"y"}, {{"l", points}}});
    EXPECT_LT(thin.size(), 60'000U);
    // The peak is as high as the highest point of the same line with few points.
    std::string const few =
        svgLineChart({look(), {"x"}, {"y"}, {{"l", {points[0], points[654'321], points.back()}}}});
    std::string const peak = firstLine(few).substr(firstLine(few).find(" L") + 2);
    EXPECT_THAT(firstLine(thin), HasSubstr(peak.substr(0, peak.find(" L"))));
}

TEST(SvgTest, ThinningKeepsAllPointsThatCanBeTold) {
    std::vector<SvgPoint> points;
    for (int number = 0; number < 100; ++number) {
        points.push_back({static_cast<double>(number), static_cast<double>(number % 7)});
    }
    EXPECT_EQ(occurrences(firstLine(svgLineChart({look(), {"x"}, {"y"}, {{"l", points}}})), "L"),
              99U);
}

TEST(SvgTest, EveryBarOfAHistogramTellsItsRangeAndNumber) {
    SvgHistogram chart = histogram({4, 0, 12345});
    chart.step = 5;
    chart.x.unit = " %";
    std::string const svg = svgHistogram(chart);
    EXPECT_THAT(svg, AllOf(HasSubstr("<title>0\u20135 %: 4</title>"),
                           HasSubstr("<title>10\u201315 %: 12\u202f345</title>"),
                           HasSubstr(">10\u201315 %: 12\u202f345</text>")));
    EXPECT_EQ(occurrences(svg, "<rect"), 3U);  // the paper and two bars
}

TEST(SvgTest, BarsHaveTheirNamesAndValues) {
    std::string const svg =
        svgBarChart({look(), {{"bind", 2500, {}}, {"free", -1, {}}, {"none", 0, {}}}});
    EXPECT_THAT(svg, AllOf(HasSubstr(">bind</text>"), HasSubstr(">2\u202f500</text>"),
                           HasSubstr(">\u22121</text>"), HasSubstr(">0</text>")));
    EXPECT_EQ(occurrences(svg, "\"fill0\""), 1U);
}

TEST(SvgTest, PointsHaveLabelsAndEachGroupAShape) {
    SvgScatter chart = scatter();
    chart.joined = true;
    std::string const svg = svgScatter(chart);
    EXPECT_EQ(occurrences(svg, "\"mark fill0\""), 4U);  // three, and one in the legend
    EXPECT_EQ(occurrences(svg, "\"mark fill1\""), 3U);
    EXPECT_EQ(occurrences(svg, ">wide window</text>"), 2U);
    EXPECT_EQ(occurrences(svg, "\"join line0\""), 1U);
    EXPECT_THAT(svg,
                AllOf(HasSubstr(">512 routes</text>"), HasSubstr(">fixed &lt;root&gt;</text>")));
}

}  // namespace
}  // namespace LpmTools
