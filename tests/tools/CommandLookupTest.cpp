#include <tools/Lookup.h>

#include <tests/tools/Packing.h>
#include <tests/tools/RunCommand.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace ToolsTest {
namespace {

using Json = nlohmann::json;
using Nimbal::IpGenPrefix;
using testing::HasSubstr;
using testing::StartsWith;

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

TEST_F(CommandLookupTest, linesSkippedAreToldBesideTheJson) {
    Ended const ended =
        run({"lookup", "10.0.0.1", "--keep-going", "--json"}, {.in = "10.0.0.1/8\n10.0.0.0/33\n"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(Json::parse(ended.out).at(0).at("longestMatch").at("prefix"), "10.0.0.0/8");
    EXPECT_EQ(ended.err,
              "lpmtrie: standard input: host bits cleared in 1 prefix; 1 bad line skipped, the "
              "first: standard input:2: '10.0.0.0/33': the prefix length is over 32\n");
}

TEST_F(CommandLookupTest, familyWithoutRoutesHasNoAnswer) {
    Ended const ended = run({"lookup", "::1"}, {.in = "10.0.0.0/8\n"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "::1\n  longest match   none\n  partition       none\n"
                         "  bucket          none\n  covering route  none\n");
}

TEST_F(CommandLookupTest, misuseIsRefused) {
    EXPECT_EQ(run({"lookup"}).err, "lpmtrie: address is required (see lpmtrie lookup --help)\n");
    Ended const noAddress = run({"lookup", "10.0.0", "--table", table_});
    EXPECT_EQ(noAddress.status, 2);
    EXPECT_THAT(noAddress.err, StartsWith("lpmtrie: '10.0.0': "));
    EXPECT_EQ(run({"lookup", "10.0.0.0", table_}).err,
              "lpmtrie: '" + table_ + "' is a file, no address: tables are named behind --table\n");
    Ended const noTable = run({"lookup", "10.0.0.0", "--table", files_.path("no")});
    EXPECT_EQ(noTable.status, 1);
    EXPECT_THAT(noTable.err, HasSubstr("cannot open: No such file or directory"));
    EXPECT_EQ(run({"lookup", "10.0.0.0", "--builtin", "--table", table_}).status, 2);
}

TEST_F(CommandLookupTest, tableThatCannotBeReadToItsEndIsAFailure) {
    std::string const packed = gzipped("10.0.0.0/8\n");
    std::string const cut = files_.write("cut", packed.substr(0, packed.size() - 5));
    Ended const ended = run({"lookup", "10.0.0.1", "--table", cut});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.err, "lpmtrie: " + cut + ": gzip data ends too early\n");
    Ended const bad = run({"lookup", "10.0.0.1"}, {.in = "10.0.0.0/33\n"});
    EXPECT_EQ(bad.status, 2);
    EXPECT_THAT(bad.err, StartsWith("lpmtrie: standard input:1: "));
}

/** A plan that has no room for all routes: what is owed is told, and the lookup fails. */
TEST(LookupTest, planThatWentWrongIsAFailureWhateverTheAnswers) {
    LpmTools::PlanOptions options;
    options.bucketRoutes = 1;
    for (Vexo::U32 const buckets : {2U, 1U}) {
        options.buckets = buckets;
        LpmTools::Plan plan(options);
        plan.takeTable({{IpGenPrefix::fromString("10.0.0.0/8"), 1},
                        {IpGenPrefix::fromString("11.0.0.0/8"), 2}});
        IpGenPrefix const address = IpGenPrefix::fromString("10.0.0.1/32");
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        int const status = lookUp(plan, {&address, 1}, {}, false);
        std::string const out = testing::internal::GetCapturedStdout();
        std::string const err = testing::internal::GetCapturedStderr();
        EXPECT_EQ(status, buckets == 2 ? 0 : 1);
        EXPECT_THAT(out, StartsWith("10.0.0.1\n  longest match   10.0.0.0/8, next hop 1\n"));
        EXPECT_EQ(err, buckets == 2 ? ""
                                    : "lpmtrie: ipv4: 1 updates are owed for want of room or "
                                      "refused: + 11.0.0.0/8\n");
    }
}

}  // namespace
}  // namespace ToolsTest
