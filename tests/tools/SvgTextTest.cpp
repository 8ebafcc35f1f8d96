#include <tools/SvgScale.h>
#include <tools/SvgText.h>

#include <tests/tools/Seed.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace LpmTools {
namespace {

using testing::ElementsAre;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

struct Escape {
    std::string_view bytes;
    std::string_view text;
};

class SvgEscapeTest : public testing::TestWithParam<Escape> {};

TEST_P(SvgEscapeTest, NoBytesActAsMarkupOrHide) {
    EXPECT_EQ(escapedMarkup(GetParam().bytes), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    All, SvgEscapeTest,
    testing::Values(
        Escape{"", ""}, Escape{"rib 1.txt", "rib 1.txt"},
        Escape{"<b a=\"1\" c='2'>&", "&lt;b a=&quot;1&quot; c=&#39;2&#39;&gt;&amp;"},
        Escape{"a\x1b[1m\n\t\x7f", "a\\x1b[1m\\x0a\\x09\\x7f"},
        Escape{std::string_view("a\0b", 3), "a\\x00b"},
        Escape{"\u00e9 \u4e2d \U0001f600", "\u00e9 \u4e2d \U0001f600"},
        Escape{"\u202etxt.exe\u2066\u200b\ufeff", "\\u202etxt.exe\\u2066\\u200b\\ufeff"},
        Escape{"\xc2\x85|\xc2\xad", "\\x85|\\xad"},
        // Not UTF-8: a lone byte, a cut and an overlong form, a surrogate, too large.
        Escape{"\xff|\x80", "\ufffd|\ufffd"}, Escape{"\xe4\xb8", "\ufffd\ufffd"},
        Escape{"\xc0\xbc", "\ufffd\ufffd"}, Escape{"\xe0\x80\xbc", "\ufffd\ufffd\ufffd"},
        Escape{"\xed\xa0\x80", "\ufffd\ufffd\ufffd"},
        Escape{"\xf4\x90\x80\x80", "\ufffd\ufffd\ufffd\ufffd"}, Escape{"\xef\xbf\xbf", "\\uffff"}));

TEST(SvgTextTest, NumbersAreGroupedByThinSpaces) {
    EXPECT_EQ(groupedNumber(0), "0");
    EXPECT_EQ(groupedNumber(999), "999");
    EXPECT_EQ(groupedNumber(1000), "1\u202f000");
    EXPECT_EQ(groupedNumber(~Vexo::U64{0}),
              "18\u202f446\u202f744\u202f073\u202f709\u202f551\u202f615");
}

TEST(SvgTextTest, DecimalsAreRoundedAndGrouped) {
    EXPECT_EQ(decimalNumber(1.0654, 3), "1.065");
    EXPECT_EQ(decimalNumber(-1234.56, 1), "\u22121\u202f234.6");
    EXPECT_EQ(decimalNumber(-0.001, 2), "0.00");
    EXPECT_EQ(decimalNumber(1234567, 0), "1\u202f234\u202f567");
    EXPECT_EQ(decimalNumber(notANumber, 2), "\u2013");
    EXPECT_EQ(decimalNumber(infinity, 2), "\u2013");
}

TEST(SvgTextTest, CoordinatesAreShort) {
    EXPECT_EQ(coordinate(3), "3");
    EXPECT_EQ(coordinate(-0.04), "0");
    EXPECT_EQ(coordinate(12.46), "12.5");
    EXPECT_EQ(coordinate(notANumber), "0");
}

TEST(SvgTextTest, WiderTextsAreWider) {
    EXPECT_EQ(widthOfText("", 12), 0);
    EXPECT_LT(widthOfText("100", 12), widthOfText("1000", 12));
    EXPECT_LT(widthOfText("1\u202f000", 12), widthOfText("10000", 12));
}

TEST(SvgScaleTest, StepsAreOneTwoOrFiveTimesAPowerOfTen) {
    EXPECT_DOUBLE_EQ(roundStep(1), 1);
    EXPECT_DOUBLE_EQ(roundStep(1.01), 2);
    EXPECT_DOUBLE_EQ(roundStep(23), 50);
    EXPECT_DOUBLE_EQ(roundStep(51), 100);
    EXPECT_DOUBLE_EQ(roundStep(0.03), 0.05);
    EXPECT_DOUBLE_EQ(stepOf({0, 3}, 10, true), 1);
    EXPECT_DOUBLE_EQ(stepOf({0, 3}, 10, false), 0.5);
}

TEST(SvgScaleTest, ARangeIsNeverEmpty) {
    for (SvgRange const values : {SvgRange{0, 0}, SvgRange{7, 7}, SvgRange{-3, -3},
                                  SvgRange{1e15, 1e15 + 1}, SvgRange{1e-9, 1e-9}}) {
        for (bool const fromZero : {true, false}) {
            SvgRange const range = axisRange(values, fromZero);
            EXPECT_LT(range.from, range.to) << values.from;
            EXPECT_LE(range.from, values.from);
            EXPECT_GE(range.to, values.to);
            EXPECT_TRUE(!fromZero || (range.from <= 0 && range.to >= 0)) << values.from;
        }
    }
}

TEST(SvgScaleTest, TicksTellTheirNumbers) {
    EXPECT_THAT(ticksOf({0, 1}, 0.5), ElementsAre(0, 0.5, 1));
    EXPECT_THAT(ticksOf({0.7, 3.2}, 1), ElementsAre(1, 2, 3));
    EXPECT_EQ(tickText(0.3, 0.1), "0.3");
    EXPECT_EQ(tickText(1, 0.05), "1.00");
    EXPECT_EQ(tickText(1500, 500), "1\u202f500");
    EXPECT_EQ(tickText(3e18, 1e18), "3\u202fE");
    EXPECT_EQ(tickText(0, 1e18), "0");
}

TEST(SvgScaleTest, AnyRangeHasAFewDifferentTicksAroundItsValues) {
    unsigned const seed = ToolsTest::newSeed();
    SCOPED_TRACE(ToolsTest::traceOf(seed));
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> exponent(-6, 19);
    for (int round = 0; round < 2000; ++round) {
        double const one = std::pow(10, exponent(random));
        double const other = std::pow(10, exponent(random));
        SvgRange const values{std::min(one, other), std::max(one, other)};
        SvgRange const range = axisRange(values, round % 2 == 0);
        double const step = stepOf(range, 6, false);
        SvgRange const wide = widened(range, step);
        std::vector<double> const ticks = ticksOf(wide, step);
        EXPECT_LE(wide.from, values.from + step * 1e-6);
        EXPECT_GE(wide.to, values.to - step * 1e-6);
        EXPECT_GE(ticks.size(), 2U);
        EXPECT_LE(ticks.size(), 8U);
        for (std::size_t next = 1; next < ticks.size(); ++next) {
            EXPECT_NE(tickText(ticks[next], step), tickText(ticks[next - 1], step)) << step;
        }
    }
}

}  // namespace
}  // namespace LpmTools
