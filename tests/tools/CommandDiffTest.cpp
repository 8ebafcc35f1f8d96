#include <tests/Support/AllocationFailure.h>
#include <tests/tools/MrtBytes.h>
#include <tests/tools/RunCommand.h>
#include <tests/tools/TemporaryFiles.h>
#include <tools/Command.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace ToolsTest {
namespace {

using Json = nlohmann::json;
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

TEST_F(CommandDiffTest, whatCannotBeComparedIsNoDifference) {
    for (auto const& arguments : std::vector<std::vector<std::string>>{
             {"diff"},
             {"diff", "one"},
             {"diff", "one", files_.path("no")},
             {"diff", files_.write("bad", "x\n"), files_.path("bad")}}) {
        Ended const ended = run(arguments);
        EXPECT_EQ(ended.status, 2);
        EXPECT_EQ(ended.out, "");
        EXPECT_THAT(ended.err, StartsWith("lpmtrie: "));
    }
}

TEST_F(CommandDiffTest, outputThatCannotBeWrittenIsNoDifference) {
    Descriptor const full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    std::string const one = files_.write("one", "10.0.0.0/8\n");
    std::string const other = files_.write("other", "11.0.0.0/8\n");
    Ended const ended = run({"diff", one, other}, {.out = full.number()});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.err, "lpmtrie: cannot write standard output: No space left on device\n");
}

TEST_F(CommandDiffTest, wantOfMemoryIsNoDifference) {
    std::string const one = files_.write("one", "10.0.0.0/8\n");
    std::string const other = files_.write("other", "11.0.0.0/8\n");
    std::array<char const*, 4> const arguments{"lpmtrie", "diff", one.c_str(), other.c_str()};
    Descriptor const nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    bool failed = false;
    auto const endWithout = [&](Vexo::U64 site) {
        testing::internal::CaptureStderr();
        Redirection const output(1, nowhere.number());
        TestSupport::AllocationFailure const failure(site);
        int const status =
            LpmTools::runCommand(static_cast<int>(arguments.size()), arguments.data());
        failed = failure.hasHappened();
        return status;
    };
    EXPECT_EQ(endWithout(~Vexo::U64{0}), 1);  // after it, all is there that is made but once
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    Vexo::U64 site = 0;
    do {
        int const status = endWithout(++site);
        std::string const told = testing::internal::GetCapturedStderr();
        // The chip's want of memory is a refused write, which is tried again and then good.
        bool const gotOver = told.empty();
        ASSERT_EQ(status, gotOver ? 1 : 2) << "failing allocation number " << site;
        ASSERT_TRUE(gotOver || told.find("out of memory") != std::string::npos) << site << told;
    } while (failed);
    EXPECT_GT(site, 100U);
}

class CommandLookupTest : public testing::Test {
protected:
    TemporaryDirectory const files_;
    std::string const table_ =
        files_.write("table", "A 10.0.0.0/8 192.0.2.1\n10.1.0.0/16\n2001:db8::/32\n");
};

TEST_F(CommandLookupTest, addressIsFollowedToItsBucket) {
    Ended const ended =
        run({"lookup", "10.1.2.3", "11.0.0.0", "2001:db8::1", "--table", table_, "--bucket=1"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.err, "");
    EXPECT_EQ(ended.out, R"(10.1.2.3
  longest match   10.1.0.0/16
  partition       10.1.0.0/16
  bucket          0
  covering route  10.0.0.0/8, next hop 192.0.2.1
  path            Partition,0.0.0.0/0,2,1,0x1,hw:1
                  Fib,10.0.0.0/8,2,1,0x1,hw:1
                  Partition,Fib,10.1.0.0/16,1,1,0x0,hw:1
11.0.0.0
  longest match   none
  partition       0.0.0.0/0
  bucket          1
  covering route  none
  path            Partition,0.0.0.0/0,2,1,0x1,hw:1
2001:db8::1
  longest match   2001:db8::/32
  partition       ::/0
  bucket          2
  covering route  none
  path            Partition,::/0,1,1,0x2,hw:1
                  Fib,2001:db8::/32,1,1,0x2,hw:1
)");
}

TEST_F(CommandLookupTest, jsonTellsTheSame) {
    Ended const ended = run({"lookup", "10.1.2.3", "--table", table_, "--bucket=1", "--json"});
    EXPECT_EQ(Json::parse(ended.out), Json::parse(R"([{"address": "10.1.2.3",
        "longestMatch": {"prefix": "10.1.0.0/16", "nextHop": 0, "nextHopAddress": null},
        "partition": "10.1.0.0/16", "bucket": 0,
        "coveringRoute": {"prefix": "10.0.0.0/8", "nextHop": 1,
                          "nextHopAddress": "192.0.2.1"},
        "answeredByCoveringRoute": false, "chipAgrees": true,
        "path": ["Partition,0.0.0.0/0,2,1,0x1,hw:1", "Fib,10.0.0.0/8,2,1,0x1,hw:1",
                 "Partition,Fib,10.1.0.0/16,1,1,0x0,hw:1"]}])"));
}

TEST_F(CommandLookupTest, familyWithoutRoutesHasNoAnswer) {
    Ended const ended = run({"lookup", "::1"}, {.in = "10.0.0.0/8\n"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "::1\n  longest match   none\n  partition       none\n"
                         "  bucket          none\n  covering route  none\n");
}

TEST_F(CommandLookupTest, misuseIsRefused) {
    EXPECT_EQ(run({"lookup"}).err, "lpmtrie: address is required (see lpmtrie --help)\n");
    Ended const noAddress = run({"lookup", "10.0.0", "--table", table_});
    EXPECT_EQ(noAddress.status, 2);
    EXPECT_THAT(noAddress.err, StartsWith("lpmtrie: '10.0.0': "));
    Ended const noTable = run({"lookup", "10.0.0.0", "--table", files_.path("no")});
    EXPECT_EQ(noTable.status, 1);
    EXPECT_THAT(noTable.err, HasSubstr("cannot open: No such file or directory"));
    EXPECT_EQ(run({"lookup", "10.0.0.0", "--builtin", "--table", table_}).status, 2);
}

}  // namespace
}  // namespace ToolsTest
