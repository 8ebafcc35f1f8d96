#include <tests/tools/MrtBytes.h>
#include <tests/tools/RunCommand.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ToolsTest {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class CommandDiffTest : public testing::Test {
protected:
    Ended diff(std::string_view before, std::string_view after,
               std::vector<std::string> const& more = {}) const {
        std::vector<std::string> arguments{"diff", files_.write("before", before),
                                           files_.write("after", after)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run(arguments);
    }

    TemporaryDirectory const files_;
};

TEST_F(CommandDiffTest, differencesAreListedAndTheirCostIsTold) {
    Ended const ended = diff("10.0.0.0/16\n10.1.0.0/16\n10.2.0.0/16\n2001:db8::/32\n",
                             "2001:db8::/32\n10.1.0.0/16\n10.0.0.0/8\n", {"--list", "--bucket=2"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.err, "");
    EXPECT_EQ(ended.out, R"(+ 10.0.0.0/8
- 10.0.0.0/16
- 10.2.0.0/16
ipv4
  to add                    1
  to withdraw               2
  to rewrite                0
  buckets                   2  before: 2
  writes                    4
    write route             1
    erase route             2
    write cover             1
  moved routes              0
ipv6
  to add                    0
  to withdraw               0
  to rewrite                0
  buckets                   1  before: 1
  writes                    0
  moved routes              0
)");
}

TEST_F(CommandDiffTest, equalTablesEndWithStatusZero) {
    Ended const ended = diff("10.0.0.0/8\n10.1.0.0/16\n", "10.1.0.0/16\n10.0.0.0/8 # the same\n");
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("  writes                    0\n"));
    EXPECT_EQ(diff("", "").status, 0);
    EXPECT_THAT(ended.out, EndsWith("\nequal\n"));
    EXPECT_EQ(diff("", "").out, "equal\n");
}

TEST_F(CommandDiffTest, nextHopsAreComparedWhereBothTablesTellThem) {
    std::string const before = "A 10.0.0.0/8 192.0.2.1\nA 11.0.0.0/8 192.0.2.1\nA 12.0.0.0/8\n";
    Ended const ended =
        diff(before, "A 10.0.0.0/8 192.0.2.7\nA 12.0.0.0/8 192.0.2.1\nA 11.0.0.0/8 192.0.2.1\n",
             {"--list"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.out, StartsWith("~ 10.0.0.0/8\nipv4\n"));
    EXPECT_THAT(ended.out, HasSubstr("  to rewrite                1\n"));
    EXPECT_THAT(ended.out, HasSubstr("    write route             1\n"));
}

TEST_F(CommandDiffTest, mrtAndTextAreComparedAlike) {
    std::string const mrt =
        updateRecord("", origin() + nextHop("192.0.2.1"), routes({"10.0.0.0/8", "11.0.0.0/8"}));
    EXPECT_EQ(diff(mrt, "11.0.0.0/8\n10.0.0.0/8\n").status, 0);
    EXPECT_THAT(diff(mrt, "11.0.0.0/8\n", {"--list"}).out, StartsWith("- 10.0.0.0/8\n"));
}

TEST_F(CommandDiffTest, orderOfTheRecordsIsNoDifference) {
    auto const told = [](char const* peer, char const* hop) {
        return updateRecord("", origin() + nextHop(hop), routes({"10.0.0.0/8"}), {.peer = peer});
    };
    std::string const one = told("192.0.2.1", "192.0.2.1");
    std::string const other = told("192.0.2.2", "192.0.2.2");
    EXPECT_EQ(diff(one + other, other + one).status, 0);
    EXPECT_EQ(diff(other + one, one + other).status, 0);
    Ended const changed = diff(other + one, told("192.0.2.1", "192.0.2.3") + other, {"--list"});
    EXPECT_EQ(changed.status, 1);
    EXPECT_THAT(changed.out, StartsWith("~ 10.0.0.0/8\n"));
}

TEST_F(CommandDiffTest, tablesAreNotCalledEqualInSilenceWhenLinesWereSkipped) {
    Ended const ended = diff("10.0.0.0/8\nx\n", "10.1.0.0/8\ny\nz\n", {"--keep-going"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, EndsWith("\nequal\n"));
    EXPECT_EQ(ended.err, "lpmtrie: " + files_.path("before") +
                             ": 1 bad line skipped, the first: " + files_.path("before") +
                             ":2: 'x': a part of the IPv4 address is missing before 'x'\n"
                             "lpmtrie: " +
                             files_.path("after") +
                             ": host bits cleared in 1 prefix; 2 bad lines skipped, the first: " +
                             files_.path("after") +
                             ":2: 'y': a part of the IPv4 address is missing before 'y'\n");
}

TEST_F(CommandDiffTest, hostBitsClearedInMrtAreTold) {
    std::string const mrt =
        updateRecord("", origin() + nextHop("192.0.2.1"), u8(8) + "\x0a" + u8(7) + "\x0b");
    Ended const ended = diff(mrt, "10.0.0.0/7\n10.0.0.0/8\n");
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.err, "lpmtrie: " + files_.path("before") + ": host bits cleared in 1 prefix\n");
}

TEST_F(CommandDiffTest, whatCannotBeComparedIsNoDifference) {
    for (auto const& arguments : std::vector<std::vector<std::string>>{
             {"diff"},
             {"diff", "one"},
             {"diff", "one", files_.path("no")},
             {"diff", "-", "-"},
             {"diff", files_.write("bad", "x\n"), files_.path("bad")}}) {
        Ended const ended = run(arguments);
        EXPECT_EQ(ended.status, 2);
        EXPECT_EQ(ended.out, "");
        EXPECT_THAT(ended.err, StartsWith("lpmtrie: "));
    }
}

}  // namespace
}  // namespace ToolsTest
