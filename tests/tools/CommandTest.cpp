#include <tests/tools/GoodRun.h>
#include <tests/tools/Packing.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

namespace ToolsTest {
namespace {

using Json = nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/** The figures that differ from run to run and machine to machine made equal. */
std::string comparable(std::string const& report) {
    static std::regex const memory("( memory) +[0-9.]+");
    static std::regex const time(
        "( time) +[0-9.]+  seconds: insert [0-9.]+, verify [0-9.]+, look up [0-9.]+, "
        "remove [0-9.]+");
    return std::regex_replace(std::regex_replace(report, memory, "$1 M"), time, "$1 T");
}

constexpr char const* inputLine =
    "input: 4 lines, 0 prefixes read again, 0 with host bits cleared, 0 bad lines skipped\n";

// 0.0.0.0/0 over 10.0.0.0/14 over 10.0.0.0/15 and 10.2.0.0/16; 10.1.0.0/16 gets cut out.
std::string const smallReport = R"(ipv4
  routes                    3
  nodes                     6  2.00 a route, 2 of them internal
  depth                   3.7  nodes on the way to a route on average, 4 at most
  partitions                2  75.0 % full on average; at most 2 of 2 routes, 0 without any
  moved routes              1  0.33 a route
  memory M  bytes a route in nodes, prefixes and partition ids
  time T
  partitions by fill
  0-10 %                    0
  10-20 %                   0
  20-30 %                   0
  30-40 %                   0
  40-50 %                   1  ########################################
  50-60 %                   0
  60-70 %                   0
  70-80 %                   0
  80-90 %                   0
  90-100 %                  1  ########################################
  every invariant verified, every route found in its partition, all removed, nothing left allocated

ipv6
  routes                    1
  nodes                     2  2.00 a route, 0 of them internal
  depth                   2.0  nodes on the way to a route on average, 2 at most
  partitions                1  50.0 % full on average; at most 1 of 2 routes, 0 without any
  moved routes              0  0.00 a route
  memory M  bytes a route in nodes, prefixes and partition ids
  time T
  partitions by fill
  0-10 %                    0
  10-20 %                   0
  20-30 %                   0
  30-40 %                   0
  40-50 %                   1  ########################################
  50-60 %                   0
  60-70 %                   0
  70-80 %                   0
  80-90 %                   0
  90-100 %                  0
  every invariant verified, every route found in its partition, all removed, nothing left allocated

)" + std::string(inputLine);

class CommandTest : public testing::Test {
protected:
    /** A family's figures but for times. */
    static Json figuresOf(Json family) {
        family.erase("seconds");
        return family;
    }

    TemporaryDirectory const files_;
};

TEST_F(CommandTest, loadReportsOnEachFamily) {
    std::string const file = files_.write("table", smallTable);
    EXPECT_EQ(comparable(outputOf({"load", "--bucket", "2", file})), smallReport);
}

TEST_F(CommandTest, loadReadsStandardInput) {
    EXPECT_EQ(comparable(outputOf({"load", "--bucket=2"}, smallTable)), smallReport);
    EXPECT_EQ(comparable(outputOf({"load", "--bucket=2", "-"}, smallTable)), smallReport);
    EXPECT_EQ(comparable(outputOf({"load", "--bucket=2"}, gzipped(smallTable))), smallReport);
}

TEST_F(CommandTest, loadReadsPackedFiles) {
    for (std::string const& packed : {gzipped(smallTable), bzip2ed(smallTable)}) {
        std::string const file = files_.write("table", packed);
        EXPECT_EQ(comparable(outputOf({"load", file, "--bucket", "2"})), smallReport);
    }
}

TEST_F(CommandTest, loadReadsSeveralFilesAsOneTable) {
    std::string const first = files_.write("first", "10.0.0.0/16\n");
    std::string const second = files_.write("second", bzip2ed("10.1.0.0/16\n2001:db8::/32\n"));
    EXPECT_EQ(comparable(outputOf({"load", first, "-", second, "--bucket", "2"}, "10.2.0.0/16\n")),
              smallReport);
}

TEST_F(CommandTest, emptyInputIsAnEmptyTable) {
    constexpr char const* report =
        "input: 0 lines, 0 prefixes read again, 0 with host bits cleared, 0 bad lines skipped\n";
    EXPECT_EQ(outputOf({"load"}), report);
    EXPECT_EQ(outputOf({"load", files_.write("table", "")}), report);
    EXPECT_EQ(jsonOf({"load"}).at("families"), Json::array());
}

TEST_F(CommandTest, jsonHoldsTheFiguresOfTheText) {
    Json const report = jsonOf({"load", "--bucket", "2"}, smallTable);
    EXPECT_EQ(report.at("input"), Json::parse(R"({"seed": null, "lines": 4, "duplicates": 0,
        "hostBitsCleared": 0, "badLines": 0, "firstBadLine": ""})"));
    ASSERT_EQ(report.at("families").size(), 2U);
    Json ipv4 = report.at("families").at(0);
    for (char const* const phase : {"insert", "verify", "lookUp", "remove"}) {
        EXPECT_GE(ipv4.at("seconds").at(phase).get<double>(), 0);
    }
    EXPECT_EQ(ipv4.at("seconds").size(), 4U);
    EXPECT_GT(ipv4.at("bytesPerRoute").get<double>(), 0);
    ipv4.erase("bytesPerRoute");
    Json const expected = Json::parse(R"({"family": "ipv4", "routes": 3, "nodes": 6,
        "internalNodes": 2, "depth": {"mean": 0, "max": 4},
        "partitions": {"count": 2, "bucket": 2, "meanFill": 0.75, "largest": 2, "empty": 0,
                       "fillTenths": [0, 0, 0, 0, 1, 0, 0, 0, 0, 1]},
        "movedRoutes": 1, "notFound": 0, "leftObjects": 0})");
    EXPECT_DOUBLE_EQ(ipv4.at("depth").at("mean").get<double>(), (4 + 4 + 3) / 3.0);
    ipv4.at("depth").at("mean") = 0;
    EXPECT_EQ(figuresOf(ipv4), expected);
    EXPECT_EQ(report.at("families").at(1).at("family"), "ipv6");
}

TEST_F(CommandTest, ownDefaultRoutesAreRoutesOfTheDefaultPartition) {
    Json const families = jsonOf({"load"}, "0.0.0.0/0\n::/0\n").at("families");
    for (Json const& family : families) {
        EXPECT_EQ(family.at("routes"), 1);
        EXPECT_EQ(family.at("nodes"), 1);
        EXPECT_EQ(family.at("partitions").at("count"), 1);
    }
    EXPECT_EQ(families.size(), 2U);
}

TEST_F(CommandTest, whatWasReadAmissIsCounted) {
    std::string const table = "10.0.0.1/8\n10.0.0.0/8\nx\n::/0 # all\n\ny\n";
    EXPECT_THAT(outputOf({"load", "--keep-going"}, table),
                EndsWith("\n\ninput: 6 lines, 1 prefixes read again, 1 with host bits cleared, "
                         "2 bad lines skipped\nfirst bad line: standard input:3: 'x': a part of "
                         "the IPv4 address is missing before 'x'\n"));
    Json const input = jsonOf({"load", "--strict", "--keep-going"}, table).at("input");
    EXPECT_EQ(input.at("badLines"), 3);
    EXPECT_EQ(input.at("duplicates"), 0);
    EXPECT_EQ(input.at("hostBitsCleared"), 0);
    EXPECT_EQ(input.at("firstBadLine"),
              "standard input:1: '10.0.0.1/8': a bit is set past the prefix length");
}

TEST_F(CommandTest, everyBucketBoundIsKept) {
    for (char const* const bucket : {"1", "7", "512", "4294967295"}) {
        Json const report =
            jsonOf({"load", "--builtin", "--ipv4=3000", "--ipv6=1000", "--bucket", bucket});
        ASSERT_EQ(report.at("families").size(), 2U);
        for (Json const& family : report.at("families")) {
            Json const& partitions = family.at("partitions");
            EXPECT_EQ(partitions.at("bucket"), std::stoul(bucket));
            EXPECT_LE(partitions.at("largest"), partitions.at("bucket"));
            EXPECT_EQ(partitions.at("count") == 1, std::stoul(bucket) > 5000);
        }
    }
}

TEST_F(CommandTest, builtinTableHasTheSizesAskedFor) {
    Json const report =
        jsonOf({"load", "--builtin", "--ipv4", "2000", "--ipv6", "300", "--seed", "9"});
    EXPECT_EQ(report.at("input").at("seed"), 9);
    EXPECT_EQ(report.at("families").at(0).at("routes"), 2000);
    EXPECT_EQ(report.at("families").at(1).at("routes"), 300);
    Json const only = jsonOf({"load", "--builtin", "--ipv4", "0", "--ipv6", "300"});
    ASSERT_EQ(only.at("families").size(), 1U);
    EXPECT_EQ(only.at("families").at(0).at("family"), "ipv6");
    EXPECT_EQ(outputOf({"load", "--builtin", "--ipv4=0", "--ipv6=0", "--seed=7"}),
              "input: generated from the seed 7\n");
}

TEST_F(CommandTest, builtinTableIsTheGeneratedOne) {
    std::vector<std::string> const sizes{"--ipv4=2000", "--ipv6=1500", "--seed=5"};
    std::vector<std::string> builtin{"load", "--builtin"};
    builtin.insert(builtin.end(), sizes.begin(), sizes.end());
    std::vector<std::string> generate{"generate"};
    generate.insert(generate.end(), sizes.begin(), sizes.end());
    Json const direct = jsonOf(builtin).at("families");
    Json const read = jsonOf({"load", files_.write("table", outputOf(generate))}).at("families");
    ASSERT_EQ(direct.size(), 2U);
    ASSERT_EQ(read.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(figuresOf(direct.at(i)), figuresOf(read.at(i)));
    }
}

TEST_F(CommandTest, generatedTableIsTheSameEverywhere) {
    EXPECT_EQ(outputOf({"generate", "--ipv4", "4", "--ipv6", "3", "--seed", "7"}),
              "148.110.89.0/24\n148.119.31.0/24\n22.79.232.0/24\n214.142.24.0/24\n"
              "3fb4:206:1408::/48\n3fb4:a80:2108::/48\n2478:1880:8200::/48\n");
}

TEST_F(CommandTest, generatedTableDependsOnTheSeedAlone) {
    std::vector<std::string> const arguments{"generate", "--ipv4=1000", "--ipv6=1000"};
    auto const withSeed = [&](char const* seed) {
        std::vector<std::string> seeded = arguments;
        seeded.insert(seeded.end(), {"--seed", seed});
        return outputOf(seeded);
    };
    EXPECT_EQ(withSeed("3"), withSeed("3"));
    EXPECT_EQ(withSeed("1"), outputOf(arguments));
    EXPECT_NE(withSeed("3"), withSeed("4"));
    EXPECT_EQ(outputOf({"generate", "--ipv4", "0", "--ipv6", "0"}), "");
}

TEST_F(CommandTest, helpTellsEveryOption) {
    std::string const help = outputOf({"--help"});
    for (char const* const word : {"load", "generate", "dump", "dump-partition", "dump-prefix"}) {
        EXPECT_THAT(help, HasSubstr(std::string("\n  ") + word + " "));
    }
    EXPECT_EQ(outputOf({"-h"}), help);
    std::string const load = outputOf({"load", "--help"});
    EXPECT_THAT(load, StartsWith("Loads tables into partitions, "));
    for (char const* const option : {"--bucket", "--strict", "--keep-going", "--builtin", "--ipv4",
                                     "--ipv6", "--seed", "--json"}) {
        EXPECT_THAT(load, HasSubstr(std::string("\n  ") + option + " "));
    }
    EXPECT_THAT(outputOf({"--help-all"}), HasSubstr("--limit"));
}

TEST_F(CommandTest, progressIsShownOnATerminalAlone) {
    PseudoTerminal pty;
    std::vector<std::string> const arguments{"load", "--builtin", "--ipv4=9000", "--ipv6=0"};
    Ended const ended = run(arguments, {.err = pty.terminal.number()});
    pty.terminal.close();
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(comparable(ended.out), comparable(outputOf(arguments)));
    std::string const shown = pty.master.readAll();
    EXPECT_THAT(shown, StartsWith("\r\033[Kipv4: insert: 45 %"));
    EXPECT_THAT(shown, HasSubstr("\r\033[Kipv4: look up: 45 %"));
    EXPECT_THAT(shown, HasSubstr("\r\033[Kipv4: remove: 45 %"));
    EXPECT_THAT(shown, EndsWith(" %\r\033[K"));
}

}  // namespace
}  // namespace ToolsTest
