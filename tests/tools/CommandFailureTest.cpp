#include <tests/tools/Packing.h>
#include <tests/tools/RunCommand.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/stat.h>

namespace ToolsTest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::string const table = "10.0.0.0/8\n10.1.0.0/16\n2001:db8::/32\n";

class CommandFailureTest : public testing::Test {
protected:
    /** What the command ends with, as "1 lpmtrie: why"; it must write one line and no more. */
    static std::string failureOf(std::vector<std::string> const& arguments,
                                 Streams const& streams = {}) {
        Ended const ended = run(arguments, streams);
        EXPECT_EQ(ended.out, "");
        EXPECT_EQ(std::ranges::count(ended.err, '\n'), 1) << ended.err;
        EXPECT_THAT(ended.err, testing::EndsWith("\n"));
        return std::to_string(ended.status) + " " + ended.err.substr(0, ended.err.find('\n'));
    }
    std::string failureOfTable(std::string_view bytes) const {
        return failureOf({"load", files_.write("table", bytes)});
    }
    std::string failed(std::string const& name, std::string const& why) const {
        return "1 lpmtrie: " + files_.path(name) + ": " + why;
    }

    TemporaryDirectory const files_;
};

TEST_F(CommandFailureTest, missingCommandIsToldApartFromAnUnknownOne) {
    EXPECT_EQ(failureOf({}), "2 lpmtrie: A subcommand is required (see lpmtrie --help)");
    for (char const* const unknown : {"fly", "--fly", "-f", "lo", "--versions", ""}) {
        EXPECT_EQ(failureOf({unknown, "--seed", "1"}),
                  std::string("2 lpmtrie: The following argument was not expected: ") + unknown +
                      " (see lpmtrie --help)");
    }
}

TEST_F(CommandFailureTest, unknownOptionIsNamed) {
    for (char const* const command : {"load", "generate", "dump", "dump-partition"}) {
        EXPECT_EQ(failureOf({command, "--fly"}),
                  std::string("2 lpmtrie: The following argument was not expected: --fly (see "
                              "lpmtrie ") +
                      command + " --help)");
    }
    EXPECT_EQ(
        failureOf({"generate", "file"}),
        "2 lpmtrie: The following argument was not expected: file (see lpmtrie generate --help)");
    EXPECT_EQ(failureOf({"load", "--f\n\x1b[31m"}),
              R"(2 lpmtrie: The following argument was not expected: --f\x0a\x1b[31m )"
              "(see lpmtrie load --help)");
}

TEST_F(CommandFailureTest, numbersOutsideTheirRangeAreRefused) {
    for (char const* const number : {"-1", "", "x", "1x", "0x10", "010", "1e3", "1.0", " 1", "+1",
                                     "18446744073709551616", "99999999999999999999999"}) {
        for (char const* const option : {"--bucket", "--ipv4", "--ipv6", "--seed"}) {
            EXPECT_THAT(failureOf({"load", "--builtin", std::string(option) + "=" + number}),
                        StartsWith(std::string("2 lpmtrie: ") + option + ": "))
                << number;
        }
    }
    EXPECT_EQ(failureOf({"load", "--bucket", "0"}),
              "2 lpmtrie: --bucket: 0 is no number from 1 to 4294967295 (see lpmtrie load --help)");
    EXPECT_EQ(failureOf({"generate", "--ipv4", "4294967296"}),
              "2 lpmtrie: --ipv4: 4294967296 is no number from 0 to 4294967295 "
              "(see lpmtrie generate --help)");
    EXPECT_EQ(failureOf({"dump", "--limit", "4294967296"}),
              "2 lpmtrie: --limit: 4294967296 is no number from 0 to 4294967295 "
              "(see lpmtrie dump --help)");
    EXPECT_THAT(failureOf({"load", "--bucket", "1", "--bucket", "2"}),
                StartsWith("2 lpmtrie: --bucket: "));
    EXPECT_THAT(failureOf({"load", "--bucket"}), StartsWith("2 lpmtrie: --bucket: "));
}

TEST_F(CommandFailureTest, tablesTooLargeToGenerateAreRefusedAtOnce) {
    EXPECT_EQ(failureOf({"generate", "--ipv4", "4294967295"}),
              "2 lpmtrie: no IPv4 table of 4294967295 prefixes can be generated: the limit is "
              "12000000");
    EXPECT_THAT(failureOf({"load", "--builtin", "--ipv4=0", "--ipv6=4294967295"}),
                StartsWith("2 lpmtrie: no IPv6 table of 4294967295 prefixes can be generated: "));
}

TEST_F(CommandFailureTest, optionsThatWouldHaveNoEffectAreRefused) {
    EXPECT_EQ(failureOf({"load", "--builtin", "table"}), "2 lpmtrie: --builtin takes no files");
    for (char const* const option : {"--ipv4", "--ipv6", "--seed"}) {
        EXPECT_EQ(failureOf({"load", option, "3"}),
                  std::string("2 lpmtrie: ") + option +
                      " requires --builtin (see lpmtrie load --help)");
    }
}

TEST_F(CommandFailureTest, prefixToDumpMustBeOne) {
    EXPECT_EQ(failureOf({"dump-prefix"}),
              "2 lpmtrie: prefix is required (see lpmtrie dump-prefix --help)");
    EXPECT_EQ(failureOf({"dump-prefix", "10.0.0.1/8"}),
              "2 lpmtrie: '10.0.0.1/8': a bit is set past the prefix length");
    EXPECT_THAT(failureOf({"dump-prefix", "table"}), StartsWith("2 lpmtrie: 'table': "));
}

TEST_F(CommandFailureTest, badLineIsNamedWithFileAndNumber) {
    EXPECT_EQ(failureOfTable("10.0.0.0/8\n\n10.0.0.0/33\n"),
              "2 lpmtrie: " + files_.path("table") +
                  ":3: '10.0.0.0/33': the prefix length is over 32");
    EXPECT_THAT(failureOf({"load"}, {.in = "::/0\n10.0.0.0\n"}),
                StartsWith("2 lpmtrie: standard input:2: '10.0.0.0': "));
    EXPECT_EQ(failureOf({"dump", "--strict"}, {.in = "10.0.0.1/8\n"}),
              "2 lpmtrie: standard input:1: '10.0.0.1/8': a bit is set past the prefix length");
}

TEST_F(CommandFailureTest, binaryGarbageIsABadLine) {
    std::string garbage;
    for (unsigned i = 0; i < 100'000; ++i) {
        garbage += static_cast<char>(i * i >> 5U);
    }
    EXPECT_THAT(failureOfTable(garbage), StartsWith("2 lpmtrie: " + files_.path("table") + ":1: "));
    EXPECT_THAT(failureOfTable(gzipped(garbage)),
                StartsWith("2 lpmtrie: " + files_.path("table") + ":1: "));
    EXPECT_THAT(failureOfTable(std::string(100'000, '\0')),
                StartsWith("2 lpmtrie: " + files_.path("table") + ":1: '\\x00"));
}

TEST_F(CommandFailureTest, unreadableFileIsNamed) {
    EXPECT_EQ(failureOf({"load", files_.path("no")}),
              failed("no", "cannot open: No such file or directory"));
    EXPECT_EQ(failureOf({"dump", files_.path("")}), failed("", "cannot read: Is a directory"));
    EXPECT_EQ(failureOf({"load", files_.write("table", table), files_.path("a\nb")}),
              failed("a\\x0ab", "cannot open: No such file or directory"));
}

TEST_F(CommandFailureTest, fileWithoutPermissionIsNamed) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "the superuser may read everything";
    }
    std::string const file = files_.write("table", table);
    ASSERT_EQ(::chmod(file.c_str(), 0), 0);
    EXPECT_EQ(failureOf({"load", file}), failed("table", "cannot open: Permission denied"));
}

TEST_F(CommandFailureTest, damagedFileIsNamedEvenWhenKeepingGoing) {
    for (auto const& [packed, kind] :
         {std::pair(gzipped(table), "gzip"), std::pair(bzip2ed(table), "bzip2")}) {
        EXPECT_EQ(failureOfTable(packed.substr(0, packed.size() - 5)),
                  failed("table", std::string(kind) + " data ends too early"));
        std::string flipped = packed;
        flipped[15] = static_cast<char>(~flipped[15]);
        files_.write("table", flipped);
        EXPECT_EQ(failureOf({"load", "--keep-going", files_.path("table")}),
                  failed("table", std::string("damaged ") + kind + " data"));
    }
}

// Files and pipes opened later must not be taken for the streams that are missing.
TEST_F(CommandFailureTest, closedStreamsStayClosed) {
    EXPECT_EQ(failureOf({"load"}, {.closed = {0}}),
              "1 lpmtrie: standard input: cannot read: Bad file descriptor");
    std::string const file = files_.write("table", table);
    std::string const why = "1 lpmtrie: cannot write standard output: Bad file descriptor";
    EXPECT_EQ(failureOf({"load", file}, {.closed = {1}}), why);
    EXPECT_EQ(failureOf({"dump", file}, {.closed = {0, 1}}), why);
    EXPECT_EQ(failureOf({"dump", "--builtin", "--ipv4=20000", "--ipv6=0"}, {.closed = {0, 1}}),
              why);
    EXPECT_EQ(run({"load", file}, {.closed = {0, 2}}).status, 0);
    EXPECT_EQ(run({"load", file}, {.closed = {0, 1, 2}}).status, 1);
}

TEST_F(CommandFailureTest, whatStandardErrorCannotTakeChangesNeitherReportNorStatus) {
    Descriptor const full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    ASSERT_GE(full.number(), 0);
    std::string const good = files_.write("good", "10.0.0.0/8\n10.1.0.0/16\n");
    std::string const bad = files_.write("bad", "10.0.0.0/8\nx\n10.1.0.1/16\n");
    for (std::vector<std::string> const& arguments :
         {std::vector<std::string>{"dump", "--keep-going", bad},
          {"dump-partition", "--keep-going", bad},
          {"plan", "--csv", "--keep-going", bad},
          {"diff", "--keep-going", good, bad},
          {"lookup", "10.1.2.3", "--json", "--keep-going", "--table", bad},
          {"load", bad},
          {"plan", files_.path("missing")},
          {"lookup", "x"},
          {"plan", "--bucket", "x", good}}) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        Ended const told = run(arguments);
        Ended const untold = run(arguments, {.err = full.number()});
        EXPECT_EQ(untold.out, told.out);
        EXPECT_EQ(untold.status, told.status);
        EXPECT_NE(told.err, "");
    }
}

TEST_F(CommandFailureTest, namesThatAreNoTextReachJsonAsText) {
    std::string const file = files_.write("caf\xe9\n", "10.0.0.0/8\nx\n");
    Ended const ended = run({"load", "--json", "--keep-going", file});
    EXPECT_EQ(ended.status, 0);
    auto const report = nlohmann::json::parse(ended.out);
    EXPECT_THAT(report.at("input").at("firstBadLine").get<std::string>(),
                HasSubstr("/caf\xef\xbf\xbd\\x0a:2: 'x': "));
}

}  // namespace
}  // namespace ToolsTest
