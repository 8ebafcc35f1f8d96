#include <tools/TableReader.h>

#include <tests/tools/Packing.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace LpmTools {
namespace {

using Nimbal::IpGenPrefix;
using testing::HasSubstr;
using testing::StartsWith;
using namespace std::string_literals;

std::vector<std::string> texts(std::vector<IpGenPrefix> const& prefixes) {
    std::vector<std::string> texts;
    for (IpGenPrefix const& prefix : prefixes) {
        texts.push_back(prefix.stringValue());
    }
    return texts;
}

using Texts = std::vector<std::string>;

constexpr TableOptions strict{.strict = true, .keepGoing = false};
constexpr TableOptions keepGoing{.strict = false, .keepGoing = true};

class TableReaderTest : public testing::Test {
protected:
    Table read(std::string_view text, TableOptions const& options = {}) const {
        return readTables({files_.write("table", text)}, options);
    }
    std::string errorOf(std::string_view text, TableOptions const& options = {}) const {
        try {
            read(text, options);
        } catch (BadLine const& error) {
            return error.what();
        }
        return "no error";
    }
    /** Where `errorOf` finds a line. */
    std::string at(unsigned line) const {
        return files_.path("table") + ":" + std::to_string(line) + ": ";
    }

    ToolsTest::TemporaryDirectory const files_;
};

TEST_F(TableReaderTest, emptyFileIsAnEmptyTable) {
    EXPECT_EQ(read(""), Table());
}

TEST_F(TableReaderTest, familiesAreSplitInTheOrderOfReading) {
    Table const table = read("192.0.2.0/24\n2001:db8::/32\n10.0.0.0/8\n::/0\n0.0.0.0/0\n");
    EXPECT_EQ(texts(table.ipv4), Texts({"192.0.2.0/24", "10.0.0.0/8", "0.0.0.0/0"}));
    EXPECT_EQ(texts(table.ipv6), Texts({"2001:db8::/32", "::/0"}));
    EXPECT_EQ(table.lines, 5U);
    EXPECT_EQ(sumOf(table.omissions).badLines, 0U);
    EXPECT_EQ(table.seed, std::nullopt);
}

TEST_F(TableReaderTest, mappedPrefixesStayInTheirFamily) {
    Table const table = read("::ffff:10.0.0.0/104\n10.0.0.0/8\n");
    EXPECT_EQ(texts(table.ipv4), Texts({"10.0.0.0/8"}));
    EXPECT_EQ(texts(table.ipv6), Texts({"::ffff:10.0.0.0/104"}));
}

TEST_F(TableReaderTest, commentsAndBlankLinesAreSkippedAndCountedAsLines) {
    Table const table = read("# a table\n\n   \t \n10.0.0.0/8 # one\n10.1.0.0/16#two\n #\n#");
    EXPECT_EQ(texts(table.ipv4), Texts({"10.0.0.0/8", "10.1.0.0/16"}));
    EXPECT_EQ(table.lines, 7U);
}

TEST_F(TableReaderTest, blanksAroundAPrefixAndCarriageReturnsAreNoPartOfIt) {
    Table const table = read("  10.0.0.0/8\t\r\n\v10.1.0.0/16\f\r\n\r\n10.2.0.0/16 \r");
    EXPECT_EQ(texts(table.ipv4), Texts({"10.0.0.0/8", "10.1.0.0/16", "10.2.0.0/16"}));
    EXPECT_EQ(table.lines, 4U);
}

TEST_F(TableReaderTest, lastLineNeedsNoLineFeed) {
    EXPECT_EQ(texts(read("10.0.0.0/8\n10.1.0.0/16").ipv4), Texts({"10.0.0.0/8", "10.1.0.0/16"}));
    EXPECT_EQ(errorOf("10.0.0.0/8\nx"), at(2) + "'x': a part of the IPv4 address is missing "
                                                "before 'x'");
}

TEST_F(TableReaderTest, prefixReadAgainIsCountedAndKeptOnce) {
    Table const table =
        read("10.0.0.0/8\n10.0.0.0/9\n10.0.0.0/8\n2001:DB8::/32\n2001:db8:0::/32\n");
    EXPECT_EQ(texts(table.ipv4), Texts({"10.0.0.0/8", "10.0.0.0/9"}));
    EXPECT_EQ(texts(table.ipv6), Texts({"2001:db8::/32"}));
    EXPECT_EQ(table.duplicates, 2U);
}

TEST_F(TableReaderTest, prefixesOfSeveralFilesAreOneTable) {
    std::string const first = files_.write("first", "10.0.0.0/8\n::/0");
    std::string const second =
        files_.write("second", ToolsTest::gzipped("10.0.0.0/8\n10.1.0.0/16\n"));
    Table const table = readTables({first, second, first}, {});
    EXPECT_EQ(texts(table.ipv4), Texts({"10.0.0.0/8", "10.1.0.0/16"}));
    EXPECT_EQ(texts(table.ipv6), Texts({"::/0"}));
    EXPECT_EQ(table.lines, 6U);
    EXPECT_EQ(table.duplicates, 3U);
}

TEST_F(TableReaderTest, hostBitsAreClearedAndCounted) {
    Table const table = read("10.1.2.3/8\n10.0.0.0/8\n10.0.0.1/32\n2001:db8::1/32\n1.2.3.4/0\n");
    EXPECT_EQ(texts(table.ipv4), Texts({"10.0.0.0/8", "10.0.0.1/32", "0.0.0.0/0"}));
    EXPECT_EQ(texts(table.ipv6), Texts({"2001:db8::/32"}));
    EXPECT_EQ(sumOf(table.omissions).hostBitsCleared, 3U);
    EXPECT_EQ(table.duplicates, 1U);
}

TEST_F(TableReaderTest, strictReadingRefusesHostBits) {
    EXPECT_EQ(errorOf("10.0.0.0/8\n10.1.2.3/8\n", strict),
              at(2) + "'10.1.2.3/8': a bit is set past the prefix length");
    EXPECT_THAT(errorOf("2001:db8::1/127\n", strict), StartsWith(at(1)));
    EXPECT_EQ(errorOf("10.0.0.0/8\n2001:db8::/32\n10.0.0.1/32\n", strict), "no error");
}

TEST_F(TableReaderTest, badLineIsNamedWithFileAndNumber) {
    for (char const* const bad :
         {"x", "10.0.0.0", "10.0.0.0/33", "10.0.0/8", "10.0.0.0/8 10.1.0.0/16", "10.0.0.0/8,",
          "2001:db8::/129", "2001:db8::", ":", "/", "/8", "10.0.0.0/", "10.0.0.0/-1", "10.0.0.0 /8",
          "256.0.0.0/8", "010.0.0.0/8", "10.0.0.0/08", "1:2:3:4:5:6:7:8:9/64",
          "\xef\xbb\xbf::/0"}) {
        EXPECT_THAT(errorOf("# first\n\n"s + bad + "\n10.0.0.0/8\n"), StartsWith(at(3))) << bad;
    }
}

TEST_F(TableReaderTest, linesAreNumberedInEachFileAnew) {
    std::string const good = files_.write("good", "10.0.0.0/8\n10.1.0.0/16\n");
    try {
        readTables({good, files_.write("table", "::/0\nx\n")}, {});
        FAIL() << "a bad line was taken";
    } catch (BadLine const& error) {
        EXPECT_THAT(error.what(), StartsWith(at(2)));
    }
}

TEST_F(TableReaderTest, keepingGoingSkipsBadLinesAndTellsTheFirst) {
    Table const table = read("10.0.0.0/8\nx\n10.1.0.0/16\n10.0.0.0/99\n", keepGoing);
    EXPECT_EQ(texts(table.ipv4), Texts({"10.0.0.0/8", "10.1.0.0/16"}));
    EXPECT_EQ(table.lines, 4U);
    EXPECT_EQ(sumOf(table.omissions).badLines, 2U);
    EXPECT_EQ(sumOf(table.omissions).firstBadLine, errorOf("10.0.0.0/8\nx\n"));
}

TEST_F(TableReaderTest, keepingGoingStrictlySkipsHostBits) {
    Table const table = read("10.1.0.0/8\n10.0.0.0/8\n", {.strict = true, .keepGoing = true});
    EXPECT_EQ(texts(table.ipv4), Texts({"10.0.0.0/8"}));
    EXPECT_EQ(sumOf(table.omissions).badLines, 1U);
    EXPECT_EQ(sumOf(table.omissions).hostBitsCleared, 0U);
}

TEST_F(TableReaderTest, overLongLineIsBadWhateverItBeginsWith) {
    std::string const blanks(600, ' ');
    for (std::string const& line : {std::string(600, 'x'), "10.0.0.0/8" + blanks + "x",
                                    blanks + "10.0.0.0/8", "10.0.0.0/8" + blanks + "# far away"}) {
        EXPECT_THAT(errorOf("::/0\n" + line + "\n10.0.0.0/8\n"),
                    testing::AllOf(StartsWith(at(2)),
                                   HasSubstr(": the line is longer than 512 characters")));
        Table const table = read("::/0\n" + line + "\n10.1.0.0/16\n", keepGoing);
        EXPECT_EQ(texts(table.ipv4), Texts({"10.1.0.0/16"}));
        EXPECT_EQ(sumOf(table.omissions).badLines, 1U);
    }
}

TEST_F(TableReaderTest, longestLineIsRead) {
    std::string const prefix = "10.0.0.0/8";
    std::string const blanks(512 - prefix.size(), ' ');
    EXPECT_EQ(texts(read(prefix + blanks + "\n").ipv4), Texts({prefix}));
    EXPECT_EQ(texts(read(blanks + prefix).ipv4), Texts({prefix}));
    EXPECT_THAT(errorOf(prefix + blanks + " \n"), StartsWith(at(1)));
}

TEST_F(TableReaderTest, longCommentIsSkipped) {
    std::string const comment(1'000'000, '#');
    EXPECT_EQ(texts(read(comment + "\n10.0.0.0/8 " + comment + "\n::/0\n").ipv4),
              Texts({"10.0.0.0/8"}));
}

TEST_F(TableReaderTest, zeroBytesAreNoBlanks) {
    EXPECT_EQ(errorOf("10.0.0.0/8\0\n"s),
              at(1) + R"('10.0.0.0/8\x00': unexpected text '\x00' at the end)");
    EXPECT_THAT(errorOf("10.0.0.0/8\n\0"s), StartsWith(at(2)));
    EXPECT_THAT(errorOf("10.\0.0.0.0/8\n"s), StartsWith(at(1)));
}

TEST_F(TableReaderTest, unreadableInputEndsEvenWhenKeepingGoing) {
    EXPECT_THROW(readTables({files_.path("missing")}, keepGoing), InputError);
    EXPECT_THROW(read(ToolsTest::gzipped("10.0.0.0/8\n").substr(0, 15), keepGoing), InputError);
}

}  // namespace
}  // namespace LpmTools
