#include <tools/Progress.h>

#include <tests/tools/Descriptors.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>

namespace LpmTools {
namespace {

using testing::EndsWith;
using testing::StartsWith;

void steps(Progress& progress, int count) {
    for (int i = 0; i < count; ++i) {
        progress.step();
    }
}

/** What `work` writes to standard error when that is a terminal. */
std::string shownOnTerminal(std::function<void()> const& work) {
    ToolsTest::PseudoTerminal pty;
    {
        ToolsTest::Redirection const error(2, pty.terminal.number());
        work();
        std::fflush(stderr);
    }
    pty.terminal.close();
    return pty.master.readAll();
}

TEST(ProgressTest, isShownOnATerminalAndWipedAtTheEnd) {
    std::string const shown = shownOnTerminal([] {
        Progress progress("ipv4: insert", 10'000);
        steps(progress, 10'000);
    });
    EXPECT_THAT(shown, StartsWith("\r\033[Kipv4: insert: 40 %"));
    EXPECT_THAT(shown, EndsWith(" %\r\033[K"));
}

TEST(ProgressTest, fewStepsAreNotWorthALine) {
    EXPECT_EQ(shownOnTerminal([] {
                  Progress progress("ipv4: insert", 1000);
                  steps(progress, 1000);
              }),
              "");
}

TEST(ProgressTest, workWithoutAnyStepsIsNoDivisionByZero) {
    EXPECT_EQ(shownOnTerminal([] { Progress const progress("nothing", 0); }), "");
}

TEST(ProgressTest, isSilentInAPipe) {
    ToolsTest::PipeEnds pipe;
    {
        ToolsTest::Redirection const error(2, pipe.writing.number());
        {
            Progress progress("ipv4: insert", 10'000);
            steps(progress, 10'000);
        }
        std::fflush(stderr);
    }
    pipe.writing.close();
    EXPECT_EQ(pipe.reading.readAll(), "");
}

}  // namespace
}  // namespace LpmTools
