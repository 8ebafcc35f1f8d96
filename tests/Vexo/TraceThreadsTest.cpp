#include <Vexo/Trace.h>

#include <tests/Support/Threads.h>
#include <tests/Support/TraceCapture.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>
#include <vector>

namespace {

using TestSupport::inThreads;
using TestSupport::TraceCapture;
using Vexo::String;
using Vexo::TraceHandle;
using Vexo::TraceLine;

constexpr std::size_t threads = 4;
constexpr std::size_t rounds = 1000;

constinit TraceHandle busy("Busy");

class TraceThreadsTest : public testing::Test {
protected:
    ~TraceThreadsTest() override {
        Vexo::traceLevelsIs("*/off");
        Vexo::traceSinkIs({});
    }
};

TEST_F(TraceThreadsTest, allLinesArriveWhole) {
    TraceCapture const capture("Busy/7");
    inThreads(threads, [](std::size_t index) {
        for (std::size_t round = 0; round < rounds; ++round) {
            VEXO_TRACE_LINE(busy, 7, "s", index, ":", round);
        }
    });
    std::vector<String> expected;
    for (std::size_t index = 0; index < threads; ++index) {
        for (std::size_t round = 0; round < rounds; ++round) {
            expected.push_back(std::to_string(index) + ":" + std::to_string(round));
        }
    }
    std::vector<String> texts = capture.texts();
    EXPECT_EQ(texts.size(), expected.size());
    std::sort(texts.begin(), texts.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_TRUE(texts == expected);
}

TEST_F(TraceThreadsTest, theSinkReceivesOneLineAtATime) {
    busy.levelIs(7, true);
    std::size_t lines = 0;  // not atomic: the sink is not called twice at once
    bool isInside = false;
    Vexo::traceSinkIs([&](TraceLine const&) {
        EXPECT_FALSE(isInside);
        isInside = true;
        ++lines;
        std::this_thread::yield();  // so that another thread meets this call
        isInside = false;
    });
    inThreads(threads, [](std::size_t) {
        for (std::size_t round = 0; round < rounds; ++round) {
            VEXO_TRACE_LINE(busy, 7, "s", "x");
        }
    });
    EXPECT_EQ(lines, threads * rounds);
}

TEST_F(TraceThreadsTest, aSinkThatHasBeenReplacedIsNotCalledAnyMore) {
    busy.levelIs(7, true);
    Vexo::traceSinkIs([](TraceLine const&) {});
    std::atomic<bool> done{false};
    inThreads(threads, [&](std::size_t index) {
        if (index != 0) {
            while (!done) {
                VEXO_TRACE_LINE(busy, 7, "s", "x");
            }
            return;
        }
        for (std::size_t round = 0; round < rounds; ++round) {
            std::vector<String> lines;
            Vexo::traceSinkIs([&](TraceLine const& line) { lines.emplace_back(line.text); });
            Vexo::traceSinkIs([](TraceLine const&) {});
            // A line that came now would be written to a vector that is gone.
            EXPECT_EQ(std::count(lines.begin(), lines.end(), "x"),
                      static_cast<std::ptrdiff_t>(lines.size()));
        }
        done = true;
    });
}

TEST_F(TraceThreadsTest, levelsMayBeSwitchedWhileOthersTrace) {
    TraceCapture const capture("Busy/7");
    static constinit TraceHandle steady("Steady");
    Vexo::traceLevelsIs("Steady/7");
    inThreads(threads, [](std::size_t index) {
        for (std::size_t round = 0; round < rounds; ++round) {
            if (index == 0) {
                busy.levelIs(7, round % 2 == 0);
                Vexo::traceLevelsIs(round % 2 == 0 ? "Busy/8" : "Busy/off");
            } else {
                VEXO_TRACE_LINE(busy, 7, "s", "busy");
                VEXO_TRACE_LINE(steady, 7, "s", "steady");
            }
        }
    });
    EXPECT_EQ(capture.texts("Steady", 7).size(), (threads - 1) * rounds);
    EXPECT_FALSE(busy.levelOn(7));
    EXPECT_FALSE(busy.levelOn(8));
}

TEST_F(TraceThreadsTest, noThreadMissesALineAtAHandlesFirstUse) {
    TraceCapture const capture("New/7");
    for (std::size_t round = 0; round < 300; ++round) {
        // Never deleted: it stays in the process's list of handles.
        TraceHandle& fresh = *new TraceHandle("New");
        inThreads(threads, [&](std::size_t) { VEXO_TRACE_LINE(fresh, 7, "s", "x"); });
    }
    EXPECT_EQ(capture.lines().size(), 300 * threads);
}

}  // namespace
