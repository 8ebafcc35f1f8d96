/*
 * The dumps of small tables to the letter. The table that most cases draw, with partitions of at
 * most two routes:
 *
 *     0.0.0.0/0            the default partition, number 0
 *       10.0.0.0/14        internal
 *         10.0.0.0/15      internal
 *           10.0.0.0/16
 *           10.1.0.0/16    cut out as partition 1
 *         10.2.0.0/16      whose insertion brought the cut
 */

#include <tests/tools/RunCommand.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ToolsTest {
namespace {

std::string const table = "10.0.0.0/16\n10.1.0.0/16\n10.2.0.0/16\n";

std::string const wholeBanner = "\n ----------------------- \n"
                                " Dumping Trie 0\n"
                                " ----------------------- \n";
std::string const partitionBanner = "\n ----------------------- \n"
                                    " Dumping Trie 0 Partitions\n"
                                    " ----------------------- \n";

std::string prefixBanner(std::string const& prefix) {
    return "\n ------------------------------ \n"
           " Dumping Trie 0 Prefix " +
           prefix + "\n ------------------------------ \n";
}

std::string dumpOf(std::vector<std::string> const& arguments, std::string_view in) {
    Ended const ended = run(arguments, {.in = in});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.err, "");
    return ended.out;
}

std::string dumpOfPrefix(std::string const& prefix) {
    return dumpOf({"dump-prefix", prefix, "--bucket", "2"}, table);
}

TEST(CommandDumpTest, wholeTrieIsDrawn) {
    EXPECT_EQ(dumpOf({"dump", "--bucket", "2"}, table),
              wholeBanner + "|-root [Partition,0.0.0.0/0,3,2,0x0,hw:1]\n"
                            "| |-bit0 [Int,10.0.0.0/14,3,2,nil,hw:1]\n"
                            "| | |-bit0 [Int,10.0.0.0/15,2,1,nil,hw:1]\n"
                            "| | | |-bit0 [Fib,10.0.0.0/16,1,1,0x0,hw:1]\n"
                            "| | | |-bit1 [Partition,Fib,10.1.0.0/16,1,1,0x1,hw:1]\n"
                            "| | |-bit1 [Fib,10.2.0.0/16,1,1,0x0,hw:1]\n");
}

TEST(CommandDumpTest, limitEndsTheDrawing) {
    std::string const root = "|-root [Partition,0.0.0.0/0,2,2,0x0,hw:1]\n";
    std::string const first = "| |-bit0 [Fib,10.0.0.0/8,2,2,0x0,hw:1]\n";
    std::string const second = "| | |-bit0 [Fib,10.1.0.0/16,1,1,0x0,hw:1]\n";
    auto const limited = [](char const* limit) {
        return dumpOf({"dump", "--limit", limit}, "10.0.0.0/8\n10.1.0.0/16\n");
    };
    EXPECT_EQ(limited("0"), wholeBanner + " Trie has greater than 0 nodes, ending output\n");
    EXPECT_EQ(limited("2"),
              wholeBanner + root + first + " Trie has greater than 2 nodes, ending output\n");
    EXPECT_EQ(limited("3"), wholeBanner + root + first + second +
                                " Trie has greater than 3 nodes, ending output\n");
    EXPECT_EQ(limited("4"), wholeBanner + root + first + second);
}

TEST(CommandDumpTest, bothFamiliesAreDrawnBehindEachOther) {
    EXPECT_EQ(dumpOf({"dump"}, "2001:db8::/32\n::/0\n10.0.0.0/8\n"),
              wholeBanner +
                  "|-root [Partition,0.0.0.0/0,1,1,0x0,hw:1]\n"
                  "| |-bit0 [Fib,10.0.0.0/8,1,1,0x0,hw:1]\n" +
                  wholeBanner +
                  "|-root [Partition,Fib,::/0,2,2,0x0,hw:1]\n"
                  "| |-bit0 [Fib,2001:db8::/32,1,1,0x0,hw:1]\n");
    EXPECT_EQ(dumpOf({"dump-partition"}, "::/0\n10.0.0.0/8\n"),
              partitionBanner + "|-root [Partition,0.0.0.0/0,1,1,0x0,hw:1]\n" + partitionBanner +
                  "|-root [Partition,Fib,::/0,1,1,0x0,hw:1]\n");
}

TEST(CommandDumpTest, emptyTableHasNoTrieToDraw) {
    EXPECT_EQ(dumpOf({"dump"}, ""), "");
    EXPECT_EQ(dumpOf({"dump-partition"}, "# nothing\n"), "");
}

TEST(CommandDumpTest, partitionNodesKeepTheirPlacesInTheDrawing) {
    EXPECT_EQ(dumpOf({"dump-partition", "--bucket", "2"}, table),
              partitionBanner + "|-root [Partition,0.0.0.0/0,3,2,0x0,hw:1]\n"
                                "| | | |-bit1 [Partition,Fib,10.1.0.0/16,1,1,0x1,hw:1]\n");
}

TEST(CommandDumpTest, prefixIsDrawnWithAllBranchesUnderIt) {
    EXPECT_EQ(dumpOfPrefix("10.0.0.0/15"), prefixBanner("10.0.0.0/15") +
                                               "bit0 [Int,10.0.0.0/15,2,1,nil,hw:1]\n"
                                               "|-bit0 [Fib,10.0.0.0/16,1,1,0x0,hw:1]\n"
                                               "|-bit1 [Partition,Fib,10.1.0.0/16,1,1,0x1,hw:1]\n");
}

// The drawing begins with the node above all that lies there.
TEST(CommandDumpTest, prefixWithoutANodeIsDrawnAsWhatLiesUnderIt) {
    std::string const all = "bit0 [Int,10.0.0.0/14,3,2,nil,hw:1]\n"
                            "|-bit0 [Int,10.0.0.0/15,2,1,nil,hw:1]\n"
                            "| |-bit0 [Fib,10.0.0.0/16,1,1,0x0,hw:1]\n"
                            "| |-bit1 [Partition,Fib,10.1.0.0/16,1,1,0x1,hw:1]\n"
                            "|-bit1 [Fib,10.2.0.0/16,1,1,0x0,hw:1]\n";
    EXPECT_EQ(dumpOfPrefix("8.0.0.0/6"), prefixBanner("8.0.0.0/6") + all);
    EXPECT_EQ(dumpOfPrefix("10.0.0.0/14"), prefixBanner("10.0.0.0/14") + all);
}

TEST(CommandDumpTest, neighboursOfAPrefixAreNotDrawn) {
    for (char const* const prefix : {"10.0.0.0/16", "10.2.0.0/16", "10.2.0.0/15"}) {
        std::string const node = std::string(prefix).substr(0, 7) + "0/16";
        EXPECT_EQ(dumpOfPrefix(prefix),
                  prefixBanner(prefix) + "bit0 [Fib," + node + ",1,1,0x0,hw:1]\n");
    }
}

TEST(CommandDumpTest, nothingAtOrUnderAPrefixIsToldAndNothingIsDrawn) {
    auto const failureOf = [](char const* prefix, std::string_view in) {
        Ended const ended = run({"dump-prefix", prefix, "--bucket=2"}, {.in = in});
        EXPECT_EQ(ended.status, 1);
        EXPECT_EQ(ended.out, "");
        return ended.err;
    };
    for (char const* const prefix :
         {"12.0.0.0/8", "10.2.3.0/24", "10.3.0.0/16", "128.0.0.0/1", "2001::/16", "::/0"}) {
        EXPECT_EQ(failureOf(prefix, table),
                  std::string("lpmtrie: nothing at or under ") + prefix + "\n");
    }
    EXPECT_EQ(failureOf("0.0.0.0/0", ""), "lpmtrie: nothing at or under 0.0.0.0/0\n");
}

// The default partition is there, though no route leads to it.
TEST(CommandDumpTest, shortestPrefixIsDrawnAsTheWholeFamily) {
    EXPECT_EQ(dumpOf({"dump-prefix", "0.0.0.0/0"}, "10.0.0.0/8\n::/0\n"),
              prefixBanner("0.0.0.0/0") + "bit0 [Partition,0.0.0.0/0,1,1,0x0,hw:1]\n"
                                          "|-bit0 [Fib,10.0.0.0/8,1,1,0x0,hw:1]\n");
}

TEST(CommandDumpTest, whatWasNotTakenAsItStandsIsTold) {
    TemporaryDirectory const files;
    std::string const first = files.write("first", "x\n10.0.0.1/8\n10.0.0.0/8\ny\n");
    std::string const second = files.write("second", "10.0.0.2/8\n10.0.0.3/8\n");
    for (auto const& command : std::vector<std::vector<std::string>>{
             {"dump"}, {"dump-partition"}, {"dump-prefix", "0.0.0.0/0"}}) {
        auto arguments = command;
        arguments.insert(arguments.end(), {"--keep-going", first, second, "-"});
        Ended const ended = run(arguments, {.in = "z\n"});
        EXPECT_EQ(ended.status, 0);
        EXPECT_THAT(ended.out, testing::HasSubstr(" [Partition,0.0.0.0/0,1,1,"));
        EXPECT_EQ(ended.err,
                  "lpmtrie: " + first +
                      ": host bits cleared in 1 prefix; 2 bad lines skipped, the first: " + first +
                      ":1: 'x': a part of the IPv4 address is missing before 'x'\n"
                      "lpmtrie: " +
                      second +
                      ": host bits cleared in 2 prefixes\n"
                      "lpmtrie: standard input: 1 bad line skipped, the first: standard "
                      "input:1: 'z': a part of the IPv4 address is missing before 'z'\n");
    }
}

TEST(CommandDumpTest, prefixIsFollowedByFiles) {
    TemporaryDirectory const files;
    EXPECT_EQ(dumpOf({"dump-prefix", "10.0.0.0/8", files.write("one", "10.0.0.0/8\n"), "-"},
                     "10.1.0.0/16\n"),
              prefixBanner("10.0.0.0/8") + "bit0 [Fib,10.0.0.0/8,2,2,0x0,hw:1]\n"
                                           "|-bit0 [Fib,10.1.0.0/16,1,1,0x0,hw:1]\n");
}

TEST(CommandDumpTest, generatedTableIsDrawn) {
    std::string const drawn = dumpOf({"dump", "--builtin", "--ipv4=5000", "--ipv6=0"}, "");
    EXPECT_THAT(drawn, testing::StartsWith(wholeBanner + "|-root [Partition,0.0.0.0/0,5000,"));
    EXPECT_GT(std::ranges::count(drawn, '\n'), 5000);
}

// The deepest trie there is.
TEST(CommandDumpTest, chainOfAllLengthsIsDrawn) {
    std::string chain;
    std::string expected = wholeBanner + "|-root [Partition,Fib,::/0,129,129,0x0,hw:1]\n";
    for (int len = 1; len <= 128; ++len) {
        std::string const prefix = "::/" + std::to_string(len);
        std::string const count = std::to_string(129 - len);
        std::string bars = "| ";
        for (int level = 1; level < len; ++level) {
            bars += "| ";
        }
        chain += prefix + "\n";
        expected += bars + "|-bit0 [Fib," + prefix + "," + count + "," + count + ",0x0,hw:1]\n";
    }
    EXPECT_EQ(dumpOf({"dump"}, chain + "::/0\n"), expected);
}

}  // namespace
}  // namespace ToolsTest
