#include <Vexo/Trace.h>

#include <Vexo/RangeException.h>

#include <tests/Support/AllocationFailure.h>
#include <tests/Vexo/QuietTrace.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string_view>
#include <vector>

namespace {

using namespace std::string_literals;
using Vexo::RangeException;
using Vexo::String;
using Vexo::TraceHandle;
using Vexo::traceLevelsIs;
using Vexo::U32;

// Handles stay in the process's list, so that none may ever end.
constinit TraceHandle alpha("Alpha");
constinit TraceHandle beta("Beta");

/** The levels that are on, as in "789". */
String levelsOf(TraceHandle& handle) {
    String levels;
    for (U32 level = 0; level <= TraceHandle::highestLevel_; ++level) {
        if (handle.levelOn(level)) {
            levels += static_cast<char>('0' + level);
        }
    }
    return levels;
}

class TraceLevelsTest : public VexoTest::QuietTrace {};

TEST_F(TraceLevelsTest, aHandleHasItsNameAndNoLevelOn) {
    EXPECT_STREQ(alpha.name(), "Alpha");
    EXPECT_EQ(TraceHandle::highestLevel_, 9U);
    EXPECT_EQ(levelsOf(alpha), "");
}

TEST_F(TraceLevelsTest, levelsAreSwitchedOneByOne) {
    alpha.levelIs(7, true);
    alpha.levelIs(0, true);
    EXPECT_EQ(levelsOf(alpha), "07");
    EXPECT_EQ(levelsOf(beta), "");
    alpha.levelIs(7, true);
    alpha.levelIs(9, true);
    alpha.levelIs(0, false);
    EXPECT_EQ(levelsOf(alpha), "79");
    alpha.levelIs(7, false);
    alpha.levelIs(7, false);
    alpha.levelIs(9, false);
    EXPECT_EQ(levelsOf(alpha), "");
}

TEST_F(TraceLevelsTest, aLevelAboveTheHighestIsIgnored) {
    for (U32 const level : {10U, 31U, 32U, 39U, ~0U}) {
        alpha.levelIs(level, true);
        EXPECT_EQ(levelsOf(alpha), "") << level;
    }
    alpha.levelIs(3, true);
    for (U32 const level : {10U, 31U, 32U, 35U, ~0U}) {
        alpha.levelIs(level, false);
        EXPECT_EQ(levelsOf(alpha), "3") << level;
    }
}

TEST_F(TraceLevelsTest, levelMayBeOnUntilItsHandleIsListedAndWhileItIsOn) {
    static constinit TraceHandle fresh("Either");
    EXPECT_TRUE(fresh.mayBeOn(4, 7)) << "before it is listed";
    EXPECT_FALSE(fresh.levelOn(4));
    EXPECT_FALSE(fresh.mayBeOn(4, 7));
    fresh.levelIs(4, true);
    EXPECT_TRUE(fresh.mayBeOn(4, 7));
    EXPECT_TRUE(fresh.mayBeOn(7, 4));
    EXPECT_FALSE(fresh.mayBeOn(3, 7));
}

TEST_F(TraceLevelsTest, aLevelSetOnAHandleBeforeItsFirstUseStays) {
    static constinit TraceHandle fresh("Fresh");
    fresh.levelIs(4, true);
    EXPECT_EQ(levelsOf(fresh), "4");
    static constinit TraceHandle wanted("Wanted");
    traceLevelsIs("Wanted/1-5");
    wanted.levelIs(4, false);
    EXPECT_EQ(levelsOf(wanted), "1235");
}

TEST_F(TraceLevelsTest, levelsAreSwitchedByText) {
    struct Case {
        char const* settings;
        char const* alphaLevels;
        char const* betaLevels;
    };
    for (Case const& c : std::vector<Case>{
             {"Alpha/7", "7", ""},
             {"Alpha/0", "0", ""},
             {"Alpha/7-9", "789", ""},
             {"Alpha/0-9", "0123456789", ""},
             {"Alpha/3-3", "3", ""},
             {"Alpha/7-9,Beta/9", "789", "9"},
             {"Alpha/1,Alpha/3", "13", ""},
             {"Alpha/1-5,Alpha/3-7", "1234567", ""},
             {"*/5", "5", "5"},
             {"*/8-9", "89", "89"},
             {"*/5,Beta/6", "5", "56"},
             {"*/5,Beta/off", "5", ""},
             {"Beta/off,*/5", "5", "5"},
             {"Alpha/7-9,Alpha/off", "", ""},
             {"Alpha/7-9,Alpha/off,Alpha/2", "2", ""},
             {"Alpha/7,Alpha/off,Alpha/7", "7", ""},
             {"*/0-9,*/off", "", ""},
             {"alpha/7,Alph/7,Alphas/7,Gamma/7", "", ""},
             {"", "", ""},
         }) {
        SCOPED_TRACE(c.settings);
        traceLevelsIs("*/off");
        traceLevelsIs(c.settings);
        EXPECT_EQ(levelsOf(alpha), c.alphaLevels);
        EXPECT_EQ(levelsOf(beta), c.betaLevels);
    }
}

TEST_F(TraceLevelsTest, settingsAddUp) {
    traceLevelsIs("Alpha/7");
    traceLevelsIs("Alpha/9,Beta/1");
    traceLevelsIs("Beta/2");
    EXPECT_EQ(levelsOf(alpha), "79");
    EXPECT_EQ(levelsOf(beta), "12");
    traceLevelsIs("Alpha/off");
    EXPECT_EQ(levelsOf(alpha), "");
    EXPECT_EQ(levelsOf(beta), "12");
}

TEST_F(TraceLevelsTest, aTextThatIsNotRightSwitchesNothing) {
    traceLevelsIs("Alpha/3");
    for (String const& wrong : std::vector<String>{
             "Alpha",
             "Alpha/",
             "/7",
             "/",
             "Alpha7",
             "Alpha/x",
             "Alpha/10",
             "Alpha/99",
             "Alpha/7-",
             "Alpha/-7",
             "Alpha/7-10",
             "Alpha/9-7",
             "Alpha/7-8-9",
             "Alpha/7 ",
             "Alpha/ 7",
             "Alpha/+7",
             "Alpha/07",
             "Alpha/7.0",
             "Alpha//7",
             "Alpha/7/8",
             "Alpha/OFF",
             "Alpha/offx",
             "Alpha/of",
             "Alpha/on",
             "Alpha/*",
             "*",
             "*/",
             "*/x",
             ",",
             ",Alpha/7",
             "Alpha/7,",
             "Alpha/7,,Beta/7",
             "Alpha/7;Beta/7",
             "Alpha/7 Beta/7",
             "Alpha,Beta/7",
             " Alpha/7",
             "Alpha /7",
             "Alpha/7, Beta/7",
             "Alpha/7\n",
             "Alpha/7\0"s,
             "Alph\x7f/7",
             "Alph\xe9/7",
             "Alp\0ha/7"s,
             "Alpha/4294967303",
             "Alpha/18446744073709551623",
             "Alpha/" + String(100'000, '7'),
             String(100'000, 'x'),
         }) {
        SCOPED_TRACE(wrong.substr(0, 100));
        EXPECT_THROW(traceLevelsIs(wrong), RangeException);
        EXPECT_THROW(traceLevelsIs("Alpha/7,Beta/5," + wrong), RangeException);
        EXPECT_EQ(levelsOf(alpha), "3");
        EXPECT_EQ(levelsOf(beta), "");
    }
}

TEST_F(TraceLevelsTest, theErrorQuotesTheText) {
    try {
        traceLevelsIs("Alpha/7,Beta/x");
        FAIL();
    } catch (RangeException const& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("'Alpha/7,Beta/x'"));
        EXPECT_THAT(error.what(), testing::HasSubstr("offset 13"));
    }
}

TEST_F(TraceLevelsTest, aHandleThatComesLaterFindsItsLevels) {
    static constinit TraceHandle late("Late");
    static constinit TraceHandle other("Other");
    traceLevelsIs("Late/7-9");
    traceLevelsIs("*/5,Other/off");
    EXPECT_TRUE(late.levelOn(7)) << "the first thing it is asked";
    EXPECT_EQ(levelsOf(late), "5789");
    EXPECT_EQ(levelsOf(other), "");
}

TEST_F(TraceLevelsTest, ofTwoSettingsForALaterHandleTheLastHolds) {
    static constinit TraceHandle lateOn("LateOn");
    static constinit TraceHandle lateOff("LateOff");
    traceLevelsIs("LateOn/7,LateOff/7");
    traceLevelsIs("LateOn/off,LateOff/off");
    traceLevelsIs("LateOn/7");
    EXPECT_EQ(levelsOf(lateOn), "7");
    EXPECT_EQ(levelsOf(lateOff), "");
}

TEST_F(TraceLevelsTest, settingsAreMadeOrNotWhenMemoryEnds) {
    TestSupport::failEachAllocation(
        [] { traceLevelsIs("Alpha/7,AHandleWhoseNameIsLongEnoughToAllocate/8"); },
        [] { EXPECT_EQ(levelsOf(alpha), ""); });
    EXPECT_EQ(levelsOf(alpha), "7");
}

}  // namespace
