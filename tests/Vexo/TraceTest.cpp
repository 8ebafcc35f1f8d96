#include <Vexo/Trace.h>

#include <Vexo/RangeException.h>

#include <tests/Support/AllocationFailure.h>
#include <tests/Support/TraceCapture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iomanip>
#include <ostream>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::CapturedLine;
using TestSupport::TraceCapture;
using Vexo::RangeException;
using Vexo::String;
using Vexo::TraceHandle;
using Vexo::traceLevelsIs;
using Vexo::TraceLine;
using Vexo::TraceSink;
using Vexo::traceSinkIs;
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

/** Every test begins and ends with all levels off and the writer to standard error in place. */
class TraceTest : public testing::Test {
protected:
    TraceTest() { traceLevelsIs("*/off"); }
    ~TraceTest() override {
        traceLevelsIs("*/off");
        traceSinkIs({});
    }
};

TEST_F(TraceTest, aHandleHasItsNameAndNoLevelOn) {
    EXPECT_STREQ(alpha.name(), "Alpha");
    EXPECT_EQ(TraceHandle::highestLevel_, 9U);
    EXPECT_EQ(levelsOf(alpha), "");
}

TEST_F(TraceTest, levelsAreSwitchedOneByOne) {
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

TEST_F(TraceTest, aLevelAboveTheHighestIsIgnored) {
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

TEST_F(TraceTest, aLevelSetOnAHandleBeforeItsFirstUseStays) {
    static constinit TraceHandle fresh("Fresh");
    fresh.levelIs(4, true);
    EXPECT_EQ(levelsOf(fresh), "4");
    static constinit TraceHandle wanted("Wanted");
    traceLevelsIs("Wanted/1-5");
    wanted.levelIs(4, false);
    EXPECT_EQ(levelsOf(wanted), "1235");
}

TEST_F(TraceTest, levelsAreSwitchedByText) {
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

TEST_F(TraceTest, settingsAddUp) {
    traceLevelsIs("Alpha/7");
    traceLevelsIs("Alpha/9,Beta/1");
    traceLevelsIs("Beta/2");
    EXPECT_EQ(levelsOf(alpha), "79");
    EXPECT_EQ(levelsOf(beta), "12");
    traceLevelsIs("Alpha/off");
    EXPECT_EQ(levelsOf(alpha), "");
    EXPECT_EQ(levelsOf(beta), "12");
}

TEST_F(TraceTest, aTextThatIsNotRightSwitchesNothing) {
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

TEST_F(TraceTest, theErrorQuotesTheText) {
    try {
        traceLevelsIs("Alpha/7,Beta/x");
        FAIL();
    } catch (RangeException const& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("'Alpha/7,Beta/x'"));
        EXPECT_THAT(error.what(), testing::HasSubstr("offset 13"));
    }
}

TEST_F(TraceTest, aHandleThatComesLaterFindsItsLevels) {
    static constinit TraceHandle late("Late");
    static constinit TraceHandle other("Other");
    traceLevelsIs("Late/7-9");
    traceLevelsIs("*/5,Other/off");
    EXPECT_TRUE(late.levelOn(7)) << "the first thing it is asked";
    EXPECT_EQ(levelsOf(late), "5789");
    EXPECT_EQ(levelsOf(other), "");
}

TEST_F(TraceTest, ofTwoSettingsForALaterHandleTheLastHolds) {
    static constinit TraceHandle lateOn("LateOn");
    static constinit TraceHandle lateOff("LateOff");
    traceLevelsIs("LateOn/7,LateOff/7");
    traceLevelsIs("LateOn/off,LateOff/off");
    traceLevelsIs("LateOn/7");
    EXPECT_EQ(levelsOf(lateOn), "7");
    EXPECT_EQ(levelsOf(lateOff), "");
}

TEST_F(TraceTest, settingsAreMadeOrNotWhenMemoryEnds) {
    TestSupport::failEachAllocation(
        [] { traceLevelsIs("Alpha/7,AHandleWhoseNameIsLongEnoughToAllocate/8"); },
        [] { EXPECT_EQ(levelsOf(alpha), ""); });
    EXPECT_EQ(levelsOf(alpha), "7");
}

TEST_F(TraceTest, aLineReachesTheSinkWithItsHandleLevelSourceAndText) {
    alpha.levelIs(7, true);
    std::vector<CapturedLine> lines;
    traceSinkIs([&](TraceLine const& line) {
        lines.push_back({String(line.handle), line.level, String(line.source), String(line.text)});
    });
    VEXO_TRACE_LINE(alpha, 7, "Some/Module", "void f()", " node:", 17U, " flag:", true);
    VEXO_TRACE_LINE(alpha, 8, "Some/Module", "off");
    VEXO_TRACE_LINE(beta, 7, "Some/Module", "off");
    EXPECT_THAT(lines,
                ElementsAre(CapturedLine{"Alpha", 7, "Some/Module", "void f() node:17 flag:1"}));
}

TEST_F(TraceTest, nothingIsEvaluatedWhileTheLevelIsOff) {
    TraceCapture const capture("Alpha/7");
    int evaluated = 0;
    auto const piece = [&] { return ++evaluated; };
    VEXO_TRACE_LINE(alpha, 8, "s", piece());
    VEXO_TRACE_LINE(beta, 7, "s", piece());
    EXPECT_EQ(evaluated, 0);
    VEXO_TRACE_LINE(alpha, 7, "s", piece());
    EXPECT_EQ(evaluated, 1);
    EXPECT_THAT(capture.texts(), ElementsAre("1"));
}

TEST_F(TraceTest, isOneStatement) {
    TraceCapture const capture("Alpha/7");
    int const branch = 1;
    if (branch == 0)
        VEXO_TRACE_LINE(alpha, 7, "s", "then");
    else
        VEXO_TRACE_LINE(alpha, 7, "s", "else");
    EXPECT_THAT(capture.texts(), ElementsAre("else"));
}

TEST_F(TraceTest, thePiecesShareOneStreamAndLinesDoNot) {
    TraceCapture const capture("Alpha/7");
    VEXO_TRACE_LINE(alpha, 7, "s", std::hex, 255, ' ', std::setw(4), 1);
    VEXO_TRACE_LINE(alpha, 7, "s", 255);
    EXPECT_THAT(capture.texts(), ElementsAre("ff    1", "255"));
}

TEST_F(TraceTest, anyByteReachesTheSink) {
    TraceCapture const capture("Alpha/7");
    VEXO_TRACE_LINE(alpha, 7, "s", "a\0b\n\xff"s);
    VEXO_TRACE_LINE(alpha, 7, "s", "");
    EXPECT_THAT(capture.texts(), ElementsAre("a\0b\n\xff"s, ""));
}

TEST_F(TraceTest, theSinkIsReplacedAndGivenBack) {
    alpha.levelIs(7, true);
    std::vector<String> first;
    std::vector<String> second;
    traceSinkIs([&](TraceLine const& line) { first.emplace_back(line.text); });
    VEXO_TRACE_LINE(alpha, 7, "s", "one");
    TraceSink const old =
        traceSinkIs([&](TraceLine const& line) { second.emplace_back(line.text); });
    VEXO_TRACE_LINE(alpha, 7, "s", "two");
    old(TraceLine{"Alpha", 7, "s", "by hand"});
    traceSinkIs(old);
    VEXO_TRACE_LINE(alpha, 7, "s", "three");
    EXPECT_THAT(first, ElementsAre("one", "by hand", "three"));
    EXPECT_THAT(second, ElementsAre("two"));
}

TEST_F(TraceTest, anEmptySinkBringsTheWriterToStandardErrorBack) {
    alpha.levelIs(7, true);
    std::vector<String> lines;
    TraceSink const writer =
        traceSinkIs([&](TraceLine const& line) { lines.emplace_back(line.text); });
    ASSERT_TRUE(writer);
    traceSinkIs({});
    testing::internal::CaptureStderr();
    VEXO_TRACE_LINE(alpha, 7, "Some/Module", "void f()", " n:", 1);
    writer(TraceLine{"Beta", 9, "Other/Module", "by hand"});
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Some/Module Alpha/7: void f() n:1\nOther/Module Beta/9: by hand\n");
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(TraceTest, anExceptionOfTheSinkDoesNotLeaveTheLine) {
    alpha.levelIs(7, true);
    int calls = 0;
    traceSinkIs([&](TraceLine const&) {
        if (++calls == 1) {
            throw std::runtime_error("disk full");
        }
        throw 7;
    });
    EXPECT_NO_THROW(VEXO_TRACE_LINE(alpha, 7, "s", "one"));
    EXPECT_NO_THROW(VEXO_TRACE_LINE(alpha, 7, "s", "two"));
    EXPECT_EQ(calls, 2);
}

struct Throws {};
std::ostream& operator<<(std::ostream&, Throws) {
    throw std::runtime_error("no text");
}

TEST_F(TraceTest, anExceptionOfAPieceDoesNotLeaveTheLine) {
    TraceCapture const capture("Alpha/7");
    EXPECT_NO_THROW(VEXO_TRACE_LINE(alpha, 7, "s", "before", Throws{}, "after"));
    EXPECT_THAT(capture.lines(), IsEmpty());
    VEXO_TRACE_LINE(alpha, 7, "s", "next");
    EXPECT_THAT(capture.texts(), ElementsAre("next"));
}

TEST_F(TraceTest, aLineIsLostQuietlyWhenMemoryEnds) {
    alpha.levelIs(7, true);
    U32 delivered = 0;
    traceSinkIs([&](TraceLine const& line) {
        EXPECT_EQ(line.text.size(), 1000U);
        ++delivered;
    });
    String const text(1000, 'x');
    bool hasFailed = true;
    for (U32 site = 1; hasFailed; ++site) {
        TestSupport::AllocationFailure const failure(site, TestSupport::AfterFailure::fail);
        VEXO_TRACE_LINE(alpha, 7, "s", text);
        hasFailed = failure.hasHappened();
    }
    EXPECT_EQ(delivered, 1U);
}

TEST_F(TraceTest, aSinkMayReplaceItself) {
    alpha.levelIs(7, true);
    std::vector<String> lines;
    traceSinkIs([&](TraceLine const& line) {
        traceSinkIs([&](TraceLine const& next) { lines.emplace_back(next.text); });
        lines.push_back("first " + String(line.text));
    });
    VEXO_TRACE_LINE(alpha, 7, "s", "one");
    VEXO_TRACE_LINE(alpha, 7, "s", "two");
    EXPECT_THAT(lines, ElementsAre("first one", "two"));
}

TEST_F(TraceTest, aSinkMayTraceItself) {
    alpha.levelIs(7, true);
    beta.levelIs(7, true);
    std::vector<String> lines;
    traceSinkIs([&](TraceLine const& line) {
        if (line.handle == "Alpha") {
            VEXO_TRACE_LINE(beta, 7, "s", "inner");
        }
        lines.emplace_back(line.text);
    });
    VEXO_TRACE_LINE(alpha, 7, "s", "outer");
    EXPECT_THAT(lines, ElementsAre("inner", "outer"));
}

}  // namespace
