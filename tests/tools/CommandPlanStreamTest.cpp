#include <tests/Support/Instrumented.h>
#include <tests/tools/GoodRun.h>
#include <tests/tools/MrtBytes.h>
#include <tests/tools/Packing.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ToolsTest {
namespace {

using Json = nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class CommandPlanStreamTest : public testing::Test {
protected:
    TemporaryDirectory const files_;
};

// A route comes and goes 1,050 times: the samples are every 2nd, 4th, ... 32nd, and the last one.
TEST_F(CommandPlanStreamTest, timeLineOfALongStreamIsThinned) {
    std::string stream;
    for (int i = 0; i < 1'050; ++i) {
        stream += "A 10.0.0.0/8\nW 10.0.0.0/8\n";
    }
    Json const report = jsonOf({"plan", "--updates", files_.write("stream", stream), "--check=7"});
    Json const& ipv4 = report.at("families").at(0);
    Json const& samples = ipv4.at("samples");
    ASSERT_EQ(samples.size(), 1 + 2'100 / 32 + 1U);
    for (std::size_t i = 0; i + 1 < samples.size(); ++i) {
        EXPECT_EQ(samples.at(i).at("update"), 32 * i);
    }
    EXPECT_EQ(samples.back().at("update"), 2'100);
    // Nothing is asked before there is a family, then after 1,000, when no route lives, and in the
    // end.
    EXPECT_EQ(ipv4.at("answers").at("addresses"), 2 * 7);
}

// The other reports have a place for them.
TEST_F(CommandPlanStreamTest, linesSkippedAreToldBesideTheTimeLine) {
    Ended const ended =
        run({"plan", "--updates", "-", "--keep-going", "--csv"}, {.in = "x\n10.0.0.0/8\n"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("ipv4,1,1,1,"));
    EXPECT_THAT(ended.err,
                StartsWith("lpmtrie: standard input: 1 bad line skipped, the first: standard "
                           "input:1: 'x': "));
    EXPECT_EQ(run({"plan", "--keep-going"}, {.in = "x\n10.0.0.0/8\n"}).err, "");
}

TEST_F(CommandPlanStreamTest, seedOfTheAddressesIsTold) {
    std::string const table = files_.write("table", "10.0.0.0/8\n");
    EXPECT_EQ(jsonOf({"plan", table, "--seed=5"}).at("seed"), 5);
    EXPECT_THAT(outputOf({"plan", table, "--seed=5"}),
                EndsWith("\naddresses drawn from the seed 5\n"));
    EXPECT_THAT(outputOf({"plan", "--builtin", "--ipv4=9", "--ipv6=0", "--seed=5"}),
                EndsWith("\ngenerated from the seed 5\n"));
}

TEST_F(CommandPlanStreamTest, flappingTakesNoMemory) {
    if (LPMTRIE_INSTRUMENTED != 0) {
        GTEST_SKIP() << "sanitizers take memory of their own";
    }
    std::string stream;
    for (int i = 0; i < 500'000; ++i) {
        stream += "A 10.0.0.0/8\nW 10.0.0.0/8\n";
    }
    stream += "10.0.0.0/8\n11.0.0.0/8\n10.0.0.0/8\n";
    std::string const file = files_.write("stream", stream);
    // A million events, or half a million prefixes that have come, would not fit.
    for (std::string const option : {"", " --updates"}) {
        Ended const ended = runProgram(
            {"/bin/sh", "-c", "ulimit -v 22000; exec \"$0\" plan" + option + " \"$1\" --csv",
             commandPath, file});
        EXPECT_EQ(ended.status, 0);
        EXPECT_EQ(ended.err, "");
        EXPECT_THAT(ended.out, HasSubstr(option.empty() ? "ipv4,0,2,1," : "ipv4,1000003,2,1,"));
    }
}

/** What a file claims, and what it unpacks to, is not what is kept of it. */
TEST_F(CommandPlanStreamTest, filesThatClaimOrUnpackToMuchTakeNoMemory) {
    if (LPMTRIE_INSTRUMENTED != 0) {
        GTEST_SKIP() << "sanitizers take memory of their own";
    }
    std::string const hundredMegabytes(100'000'000, '\0');
    std::string const good =
        updateRecord("", origin() + nextHop("192.0.2.9"), routes({"10.0.0.0/8"}));
    std::string const claim = u32(0) + u16(16) + u16(4) + u32(0xffffffff);
    std::string const unknown =
        u32(0) + u16(64) + u16(0) + u32(1'000'000) + hundredMegabytes.substr(0, 1'000'000);
    std::string many;
    for (int i = 0; i < 100; ++i) {
        many += unknown;
    }
    auto const plan = [&](std::string const& bytes) {
        return runProgram({"/bin/sh", "-c",
                           "ulimit -v 26000; exec \"$0\" plan --updates \"$1\" --csv", commandPath,
                           files_.write("stream", bytes)});
    };
    Ended const claimed = plan(gzipped(good + claim + hundredMegabytes));
    EXPECT_EQ(claimed.status, 1);
    EXPECT_THAT(claimed.err, HasSubstr(": record 2 at byte "));
    EXPECT_THAT(claimed.out, HasSubstr("ipv4,1,1,1,"));
    for (std::string const& packed : {gzipped(good + many), bzip2ed(good + many)}) {
        Ended const skipped = plan(packed);
        EXPECT_EQ(skipped.status, 0);
        EXPECT_EQ(skipped.err, "");
        EXPECT_THAT(skipped.out, HasSubstr("ipv4,1,1,1,"));
    }
    Ended const lines = plan(gzipped("A 10.0.0.0/8\n" + std::string(100'000'000, '#')));
    EXPECT_EQ(lines.status, 0);
    EXPECT_THAT(lines.out, HasSubstr("ipv4,1,1,1,"));
}

TEST_F(CommandPlanStreamTest, nextHopsOfThePastTakeNoMemory) {
    if (LPMTRIE_INSTRUMENTED != 0) {
        GTEST_SKIP() << "sanitizers take memory of their own";
    }
    std::string stream;
    for (unsigned i = 0; i < 300'000; ++i) {
        stream += "A 10.0.0.0/8 192." + std::to_string(i >> 16) + "." +
                  std::to_string(i >> 8 & 255) + "." + std::to_string(i & 255) + "\n";
    }
    Ended const ended =
        runProgram({"/bin/sh", "-c", "ulimit -v 22000; exec \"$0\" plan --updates \"$1\" --csv",
                    commandPath, files_.write("stream", stream)});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.err, "");
    EXPECT_THAT(ended.out, HasSubstr("ipv4,300000,1,1,"));
}

}  // namespace
}  // namespace ToolsTest
