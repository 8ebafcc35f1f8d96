#include <tests/tools/GoodRun.h>
#include <tests/tools/MrtBytes.h>
#include <tests/tools/MrtReading.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace ToolsTest {
namespace {

using Json = nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

std::string const updates = "A 10.0.0.0/8 192.0.2.1\nW 10.1.0.0/16\nA 10.0.0.0/8 192.0.2.2\n";

/** An update of one peer, with as many attributes as its routes need. */
std::string message4(char const* peer, std::string_view withdrawn, std::string_view nlri) {
    std::string const attributes = nlri.empty() ? "" : origin() + nextHop("192.0.2.9");
    return updateRecord(withdrawn, attributes, nlri, {.peer = peer});
}

class CommandPlanTest : public testing::Test {
protected:
    /** Runs that must go well. */
    static std::string planOf(std::vector<std::string> const& arguments) {
        return outputOf(callOf("plan", arguments));
    }
    static Json planJsonOf(std::vector<std::string> const& arguments) {
        return jsonOf(callOf("plan", arguments));
    }

    TemporaryDirectory const files_;
    std::string const table_ = files_.write("table", smallTable);
    std::string const updates_ = files_.write("updates", updates);
};

// 10.0.0.0/8 comes above the three, 10.1.0.0/16 goes, 10.0.0.0/8 gets another next hop.
TEST_F(CommandPlanTest, summaryTellsWhatTheTableAndTheUpdatesCost) {
    std::string const out =
        planOf({table_, "--updates", updates_, "--bucket", "2", "--check", "10", "--optimum"});
    std::string const ipv4 =
        std::regex_replace(out.substr(0, out.find("\n\n")), std::regex("( time) +[0-9.]+"), "$1 T");
    EXPECT_EQ(ipv4, R"(ipv4
  table                     3  routes, downloaded
  routes                    3
  buckets                   2  75.0 % full; 1.000 of the fewest possible, 2
  updates                   3  4 routes added, 1 next hops changed, 1 routes withdrawn
  writes                   12  allocate 2, write route 5, erase route 1, write cover 2, bind 2
  moved routes              0  0.000 an update, in 0 splits, 0 merges, 0 shifts
  answers                  32  compared with a brute-force longest match, 0 wrong
  time T  seconds in the partition manager
  buckets by fill
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
  every answer of the chip right, every invariant verified, chip and trie agree)");
    EXPECT_THAT(out, EndsWith("\nbuckets of 2 routes, 3 in use, 1,048,573 free; policy window; "
                              "table: download\n" +
                              table_ +
                              ": text, 4 lines, 4 announcements, 0 withdrawals, 0 with host bits "
                              "cleared\n" +
                              updates_ +
                              ": text, 3 lines, 2 announcements, 1 withdrawals, 0 with host bits "
                              "cleared\naddresses drawn from the seed 1\n"));
}

TEST_F(CommandPlanTest, timeLineHasASampleAfterTheTableAndAtEveryStep) {
    EXPECT_EQ(
        planOf({table_, "--updates", updates_, "--bucket=2", "--csv", "--check=9", "--optimum"}),
        "family,update,routes,buckets,fill,writes,moves,optimum\n"
        "ipv4,0,3,2,0.750000,7,0,2\n"
        "ipv4,1,4,2,1.000000,9,0,2\n"
        "ipv4,2,3,2,0.750000,10,0,2\n"
        "ipv4,3,3,2,0.750000,12,0,2\n"
        "ipv6,0,1,1,0.500000,3,0,1\n");
}

TEST_F(CommandPlanTest, oneByOneCountsTheTableAsAnnouncementsAndSamplesEveryTenth) {
    std::string const out = planOf({"--builtin", "--ipv4=2000", "--ipv6=0", "--one-by-one",
                                    "--check=9", "--replacements=0", "--csv", "--bucket=64"});
    std::vector<std::string> begins;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        begins.push_back(line.substr(0, line.find(',', 10)));
    }
    EXPECT_EQ(begins, (std::vector<std::string>{
                          "family,update", "ipv4,200,200", "ipv4,400,400", "ipv4,600,600",
                          "ipv4,800,800", "ipv4,1000,1000", "ipv4,1200,1200", "ipv4,1400,1400",
                          "ipv4,1600,1600", "ipv4,1800,1800", "ipv4,2000,2000"}));
}

TEST_F(CommandPlanTest, jsonHoldsEverything) {
    Json const report = planJsonOf({table_, "--updates", updates_, "--bucket=2", "--check=10"});
    EXPECT_EQ(report.at("policy"), "window");
    EXPECT_EQ(report.at("start"), "download");
    EXPECT_EQ(report.at("seed"), 1);
    EXPECT_EQ(report.at("bucketsUsed"), 3);
    EXPECT_EQ(report.at("bucketsFree"), (1U << 20) - 3);
    EXPECT_EQ(report.at("inputs").at(1), (Json{{"name", updates_},
                                               {"format", "text"},
                                               {"records", 3},
                                               {"announced", 2},
                                               {"withdrawn", 1},
                                               {"hostBitsCleared", 0},
                                               {"skipped", Json::object()},
                                               {"error", nullptr}}));
    ASSERT_EQ(report.at("families").size(), 2U);
    Json const& ipv4 = report.at("families").at(0);
    EXPECT_EQ(ipv4.at("lengths"), (Json{{"8", 1}, {"16", 2}}));
    EXPECT_EQ(ipv4.at("optimum"), nullptr);
    EXPECT_EQ(ipv4.at("writes").at("write route"), 5);
    EXPECT_EQ(ipv4.at("answers"), Json::parse(R"({"addresses": 32, "wrong": 0, "firstWrong": "",
        "rounds": [{"update": 0, "routes": 3, "addresses": 16},
                   {"update": 3, "routes": 3, "addresses": 16}]})"));
    int routes = 0;
    for (Json const& count : ipv4.at("depths")) {
        routes += count.get<int>();
    }
    EXPECT_EQ(routes, 3);
    EXPECT_EQ(ipv4.at("samples").size(), 4U);
}

TEST_F(CommandPlanTest, everyPolicyGivesRightAnswersUnderReplacements) {
    for (char const* const policy :
         {"window", "window-tight", "window-calm", "redistribute", "half"}) {
        Json const report = planJsonOf({"--builtin", "--ipv4=3000", "--ipv6=1000",
                                        "--replacements=2000", "--bucket=32", "--check=500",
                                        "--one-by-one", "--optimum", "--policy", policy});
        EXPECT_EQ(report.at("policy"), policy);
        EXPECT_EQ(report.at("seed"), 1);
        for (Json const& family : report.at("families")) {
            EXPECT_EQ(family.at("answers").at("wrong"), 0);
            EXPECT_EQ(family.at("differences"), 0);
            EXPECT_GE(family.at("buckets"), family.at("optimum"));
            EXPECT_GT(family.at("counts").at("withdrawn"), 0);
        }
    }
}

TEST_F(CommandPlanTest, sameSeedGivesTheSamePlan) {
    auto const planned = [](char const* seed) {
        return planOf({"--builtin", "--ipv4=1000", "--ipv6=300", "--replacements=500",
                       "--bucket=16", "--csv", "--check=9", "--seed", seed});
    };
    EXPECT_EQ(planned("4"), planned("4"));
    EXPECT_NE(planned("4"), planned("5"));
}

TEST_F(CommandPlanTest, pathsOfSeveralPeersAreOneRoute) {
    std::string const both = message4("192.0.2.1", "", routes({"10.0.0.0/8"})) +
                             message4("192.0.2.2", "", routes({"10.0.0.0/8", "10.1.0.0/16"}));
    std::string const one = message4("192.0.2.1", routes({"10.0.0.0/8"}), "");
    std::string const all = message4("192.0.2.2", routes({"10.0.0.0/8"}), "");
    auto const count = [&](std::string const& bytes) {
        return planJsonOf({"--updates", files_.write("mrt", bytes)})
            .at("families")
            .at(0)
            .at("routes");
    };
    EXPECT_EQ(count(both), 2);
    EXPECT_EQ(count(both + one), 2);
    EXPECT_EQ(count(both + one + all), 1);
}

TEST_F(CommandPlanTest, whatHasNoRoomIsOwedAndNamed) {
    Ended const ended = run({"plan", table_, "--bucket=1", "--buckets=2", "--check=50"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.out, HasSubstr("  OWED: 1 updates found no room or were refused\n"));
    EXPECT_THAT(ended.out, HasSubstr("  every answer of the chip right for the routes that found "
                                     "room, every invariant verified"));
    EXPECT_THAT(ended.out, HasSubstr("  table                     3  routes, one by one\n"));
    EXPECT_THAT(ended.out, HasSubstr("table: download; one by one where there was no room"));
    EXPECT_EQ(ended.err,
              "lpmtrie: ipv4: 1 updates are owed for want of room or refused: + 10.2.0.0/16\n"
              "lpmtrie: ipv6: 1 updates are owed for want of room or refused: + 2001:db8::/32\n");
}

TEST_F(CommandPlanTest, whatWasReadBeforeAnErrorCounts) {
    std::string const cut = message4("192.0.2.1", "", routes({"10.0.0.0/8"})) + std::string(5, 'x');
    std::string const mrt = files_.write("mrt", cut);
    Ended const ended = run({"plan", mrt, table_, "--json"});
    EXPECT_EQ(ended.status, 1);
    Json const report = Json::parse(ended.out);
    EXPECT_EQ(report.at("families").at(0).at("routes"), 4);
    EXPECT_THAT(report.at("inputs").at(0).at("error").get<std::string>(),
                StartsWith(mrt + ": record 2 at byte "));
    EXPECT_EQ(std::ranges::count(ended.err, '\n'), 1);
}

/** The prefixes that some peer still announces where a reading ends. */
std::size_t routesLeft(Reading const& reading) {
    std::map<Nimbal::IpGenPrefix, std::set<std::pair<U32, U32>>> paths;
    for (LpmTools::MrtEvent const& event : reading.events) {
        std::pair const path(event.peer, event.pathId);
        event.isWithdrawal ? static_cast<void>(paths[event.prefix].erase(path))
                           : static_cast<void>(paths[event.prefix].insert(path));
    }
    return paths.size() - static_cast<std::size_t>(std::ranges::count_if(
                              paths, [](auto const& path) { return path.second.empty(); }));
}

/** Behind the first header, which tells what kind of file it is. */
TEST_F(CommandPlanTest, damagedUpdatesCountAsFarAsTheyMakeSense) {
    std::string const good =
        message4("192.0.2.1", "", routes({"10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24"})) +
        message4("192.0.2.2", "", routes({"10.0.0.0/8", "10.128.0.0/9"})) +
        message4("192.0.2.1", routes({"10.0.0.0/8", "10.1.0.0/16"}), "") +
        message4("192.0.2.2", "", routes({"11.0.0.0/8"}));
    std::size_t errors = 0;
    std::size_t less = 0;
    std::size_t runs = 0;
    for (std::size_t at = 12; at < good.size(); at += 5) {
        for (bool const isCut : {false, true}) {
            SCOPED_TRACE((isCut ? "cut to " : "flipped at ") + std::to_string(at));
            std::string bad = isCut ? good.substr(0, at) : good;
            if (!isCut) {
                bad[at] = static_cast<char>(~bad[at]);
            }
            Reading const reading = readMrt(bad);
            std::string const file = files_.write("mrt", bad);
            Ended const ended =
                run({"plan", "--updates", file, "--bucket=1", "--check=20", "--json"});
            ++runs;
            ASSERT_EQ(ended.status, reading.error.empty() ? 0 : 1);
            ASSERT_EQ(ended.err, reading.error.empty()
                                     ? ""
                                     : "lpmtrie: " + file + reading.error.substr(4) + "\n");
            errors += reading.error.empty() ? 0U : 1U;
            less += routesLeft(reading) < routesLeft(readMrt(good)) ? 1U : 0U;
            Json const families = Json::parse(ended.out).at("families");
            ASSERT_EQ(families.empty(), reading.events.empty());
            if (families.empty()) {
                continue;
            }
            Json const& family = families.at(0);
            ASSERT_EQ(family.at("routes"), routesLeft(reading));
            ASSERT_EQ(family.at("answers").at("wrong"), 0);
            ASSERT_EQ(family.at("differences"), 0);
            ASSERT_EQ(family.at("owed"), 0);
        }
    }
    EXPECT_GT(errors, runs / 2);
    EXPECT_LT(errors, runs);
    EXPECT_GT(less, runs / 3);
}

TEST_F(CommandPlanTest, fileThatCannotBeOpenedIsToldBeforeAnyWork) {
    std::string const why =
        "lpmtrie: " + files_.path("no") + ": cannot open: No such file or directory\n";
    for (auto const& arguments : std::vector<std::vector<std::string>>{
             {"plan", table_, files_.path("no")},
             {"plan", table_, "--updates", updates_, files_.path("no")}}) {
        Ended const ended = run(arguments);
        EXPECT_EQ(ended.status, 1);
        EXPECT_EQ(ended.out, "");
        EXPECT_EQ(ended.err, why);
    }
}

TEST_F(CommandPlanTest, misuseIsRefused) {
    auto const failureOf = [](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "plan");
        Ended const ended = run(arguments, {.in = smallTable});
        EXPECT_EQ(ended.out, "");
        return std::to_string(ended.status) + " " + ended.err;
    };
    EXPECT_EQ(failureOf({"--policy=no"}),
              "2 lpmtrie: no policy is named no; there are window, window-tight, window-calm, "
              "redistribute, half\n");
    EXPECT_THAT(failureOf({"--json", "--csv"}), StartsWith("2 lpmtrie: --"));
    EXPECT_THAT(failureOf({"--one-by-one", "--download"}), StartsWith("2 lpmtrie: --"));
    EXPECT_THAT(failureOf({"--replacements=3"}),
                StartsWith("2 lpmtrie: --replacements requires --builtin"));
    EXPECT_THAT(failureOf({"--dot-prefix=::/0"}), StartsWith("2 lpmtrie: --dot-prefix requires"));
    EXPECT_EQ(failureOf({"--builtin", "--updates", updates_}),
              "2 lpmtrie: --builtin takes no files\n");
    EXPECT_THAT(failureOf({"--bucket=0"}), StartsWith("2 lpmtrie: --bucket: "));
    EXPECT_THAT(failureOf({files_.write("bad", "10.0.0.0/33\n")}),
                StartsWith("2 lpmtrie: " + files_.path("bad") + ":1: "));
}

}  // namespace
}  // namespace ToolsTest
