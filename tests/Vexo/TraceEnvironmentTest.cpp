#include <Vexo/RangeException.h>
#include <Vexo/Trace.h>
#include <tests/Support/AllocationFailure.h>
#include <tests/Support/Instrumented.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>
#include <cstdlib>
#include <string>
#include <vector>

/*
 * The environment is read once in a process, so that each case runs in a process of its own. They
 * begin anew ("threadsafe") instead of going on from a copy of this one, where it may have been
 * read already.
 */

namespace {

using testing::Eq;
using testing::ExitedWithCode;
using Vexo::TraceHandle;

constinit TraceHandle early("Early");
constinit TraceHandle other("Other");

class TraceEnvironmentDeathTest : public testing::Test {
protected:
    TraceEnvironmentDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    ~TraceEnvironmentDeathTest() override { ::unsetenv("VEXO_TRACE"); }

    void SetUp() override {
        if (LPMTRIE_EMULATED != 0) {
            GTEST_SKIP() << "in emulation no process begins anew";
        }
    }
};

void environmentIs(std::string const& settings) {
    ::setenv("VEXO_TRACE", settings.c_str(), 1);
}

/** Lines of both handles and all levels, to standard error. */
[[noreturn]] void traceAllAndExit() {
    for (TraceHandle* handle : {&early, &other}) {
        for (Vexo::U32 level = 0; level <= TraceHandle::highestLevel_; ++level) {
            VEXO_TRACE_LINE(*handle, level, "Some/Module", "line ", level);
        }
    }
    ::_exit(0);
}

TEST_F(TraceEnvironmentDeathTest, nothingIsOnWithoutTheVariable) {
    ::unsetenv("VEXO_TRACE");
    EXPECT_EXIT(traceAllAndExit(), ExitedWithCode(0), Eq(""));
    environmentIs("");
    EXPECT_EXIT(traceAllAndExit(), ExitedWithCode(0), Eq(""));
}

TEST_F(TraceEnvironmentDeathTest, levelsAreSwitchedBeforeTheFirstLine) {
    environmentIs("Early/7-9,Other/9");
    EXPECT_EXIT(traceAllAndExit(), ExitedWithCode(0),
                Eq("Some/Module Early/7: line 7\n"
                   "Some/Module Early/8: line 8\n"
                   "Some/Module Early/9: line 9\n"
                   "Some/Module Other/9: line 9\n"));
}

TEST_F(TraceEnvironmentDeathTest, allHandlesMayBeNamedAtOnce) {
    environmentIs("*/3,Early/off,Early/0");
    EXPECT_EXIT(traceAllAndExit(), ExitedWithCode(0),
                Eq("Some/Module Early/0: line 0\n"
                   "Some/Module Other/3: line 3\n"));
}

TEST_F(TraceEnvironmentDeathTest, aTextThatIsNotRightIsToldAndIgnored) {
    for (char const* wrong : {"Early", "Early/7,Other/10", "Early/9-7", "Early/7,"}) {
        environmentIs(wrong);
        EXPECT_EXIT(traceAllAndExit(), ExitedWithCode(0),
                    testing::AllOf(
                        testing::StartsWith(std::string("VEXO_TRACE: '") + wrong + "': "),
                        testing::EndsWith("\n"), testing::Not(testing::HasSubstr("Some/Module"))))
            << wrong;
    }
}

TEST_F(TraceEnvironmentDeathTest, aTextThatIsNotRightIsToldOnceOnOneLine) {
    environmentIs("Early/7\nx");
    EXPECT_EXIT(traceAllAndExit(), ExitedWithCode(0),
                testing::MatchesRegex("VEXO_TRACE: 'Early/7\\\\x0ax': [^\n]*\n"));
}

TEST_F(TraceEnvironmentDeathTest, levelsMayBeSwitchedOtherwiseLater) {
    environmentIs("Early/7,Other/7");
    auto const switchAndTrace = [] {
        Vexo::traceLevelsIs("Other/off,Early/8");
        traceAllAndExit();
    };
    EXPECT_EXIT(switchAndTrace(), ExitedWithCode(0),
                Eq("Some/Module Early/7: line 7\n"
                   "Some/Module Early/8: line 8\n"));
}

TEST_F(TraceEnvironmentDeathTest, aLevelSetOnTheHandleComesAfterTheEnvironment) {
    environmentIs("Early/7-8");
    auto const switchAndTrace = [] {
        early.levelIs(7, false);
        traceAllAndExit();
    };
    EXPECT_EXIT(switchAndTrace(), ExitedWithCode(0), Eq("Some/Module Early/8: line 8\n"));
}

TEST_F(TraceEnvironmentDeathTest, withoutMemoryForTheSettingsNothingIsTracedYet) {
    environmentIs("Early/7");
    auto const askWithoutMemory = [](Vexo::U64 site) {
        {
            TestSupport::AllocationFailure const failure(site, TestSupport::AfterFailure::fail);
            if (early.levelOn(7) || !failure.hasHappened()) {
                ::_exit(1);
            }
        }
        traceAllAndExit();
    };
    for (Vexo::U64 site = 1; site <= 3; ++site) {
        EXPECT_EXIT(askWithoutMemory(site), ExitedWithCode(0), Eq("Some/Module Early/7: line 7\n"))
            << site;
    }
}

TEST_F(TraceEnvironmentDeathTest, aSinkSetFirstReceivesTheFirstLine) {
    environmentIs("Early/7");
    auto const replaceAndTrace = [] {
        Vexo::traceSinkIs([](Vexo::TraceLine const& line) {
            std::string const text = "<" + std::string(line.text) + ">";
            EXPECT_EQ(::write(STDERR_FILENO, text.data(), text.size()),
                      static_cast<ssize_t>(text.size()));
        });
        traceAllAndExit();
    };
    EXPECT_EXIT(replaceAndTrace(), ExitedWithCode(0), Eq("<line 7>"));
}

}  // namespace
