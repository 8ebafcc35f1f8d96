#include <Vexo/Trace.h>

#include <tests/Support/AllocationFailure.h>
#include <tests/Support/TraceCapture.h>
#include <tests/Vexo/QuietTrace.h>

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
using Vexo::String;
using Vexo::TraceHandle;
using Vexo::TraceLine;
using Vexo::TraceSink;
using Vexo::traceSinkIs;
using Vexo::U32;

// Handles stay in the process's list, so that none may ever end.
constinit TraceHandle alpha("Alpha");
constinit TraceHandle beta("Beta");

class TraceTest : public VexoTest::QuietTrace {};

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
