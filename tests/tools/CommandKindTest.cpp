#include <tests/tools/MrtBytes.h>
#include <tests/tools/Packing.h>
#include <tests/tools/RunCommand.h>
#include <tests/tools/TemporaryFiles.h>

#include <gtest/gtest.h>

/*
 * Files of a kind that a command does not read are named as such, not taken for bad lines, and so
 * are lines that belong into another file.
 */

namespace ToolsTest {
namespace {

using namespace std::string_literals;

class CommandKindTest : public testing::Test {
protected:
    /** What is told of a file that cannot be read, behind its name. */
    std::string toldOf(std::vector<std::string> arguments, std::string_view bytes,
                       int status = 1) const {
        std::string const file = files_.write("table", bytes);
        arguments.push_back(file);
        Ended const ended = run(arguments);
        EXPECT_EQ(ended.status, status);
        std::string const begin = "lpmtrie: " + file + ":";
        EXPECT_EQ(ended.err.substr(0, begin.size()), begin);
        return ended.err.substr(std::min(begin.size(), ended.err.size()));
    }

    TemporaryDirectory const files_;
    std::string const mrt_ =
        updateRecord("", origin() + nextHop("192.0.2.1"), routes({"10.0.0.0/8"}));
};

TEST_F(CommandKindTest, commandsThatReadTextAloneTellWhoReadsMrt) {
    for (std::string const& bytes : {mrt_, gzipped(mrt_), bzip2ed(mrt_)}) {
        for (auto const& arguments :
             std::vector<std::vector<std::string>>{{"load"},
                                                   {"load", "--keep-going"},
                                                   {"dump"},
                                                   {"dump-partition"},
                                                   {"dump-prefix", "10.0.0.0/8"}}) {
            EXPECT_EQ(toldOf(arguments, bytes),
                      " is MRT, which the commands plan, diff and lookup read\n");
        }
    }
}

TEST_F(CommandKindTest, otherPackingsAreNamed) {
    std::vector<std::pair<std::string, std::string>> const kinds{
        {"\xfd"
         "7zXZ\0\0\4"s,
         "xz"},
        {"\x28\xb5\x2f\xfd\4\0X\1"s, "zstd"},
        {"PK\3\4\x14\0\0\0"s, "zip"},
        {"7z\xbc\xaf\x27\x1c\0\4"s, "7z"},
        {"\4\x22\x4d\x18\x64\x40\xa7\0"s, "lz4"},
        {"LZIP\1\x0c\0\0"s, "lzip"},
        {"\x1f\x9d\x90\x31\x60\xb8\0\0"s, "compress (.Z)"},
        {"\xff\xfe"
         "1\0000\0.\0"s,
         "UTF-16"},
        {"\xfe\xff\0001\0000\0."s, "UTF-16"}};
    for (auto const& [bytes, name] : kinds) {
        std::string const told = " is " + name + ", which is not supported\n";
        for (std::vector<std::string> const& arguments :
             {std::vector<std::string>{"load"},
              {"load", "--keep-going"},
              {"plan"},
              {"plan", "--keep-going", "--updates"},
              {"lookup", "10.0.0.1", "--keep-going", "--table"}}) {
            EXPECT_EQ(toldOf(arguments, bytes), told);
        }
        EXPECT_EQ(toldOf({"diff", "/dev/null"}, bytes, 2), told);
        EXPECT_EQ(toldOf({"load"}, gzipped(bytes)), told);
    }
}

TEST_F(CommandKindTest, filesPackedTwiceAreNamed) {
    std::string const text = "10.0.0.0/8\n";
    for (auto const& [bytes, inside] :
         {std::pair(gzipped(gzipped(text)), "gzip"), std::pair(bzip2ed(gzipped(text)), "gzip"),
          std::pair(gzipped(bzip2ed(text)), "bzip2"), std::pair(bzip2ed(bzip2ed(text)), "bzip2")}) {
        std::string const told = " is packed twice, inside by "s + inside + "\n";
        EXPECT_EQ(toldOf({"load", "--keep-going"}, bytes), told);
        EXPECT_EQ(toldOf({"plan"}, bytes), told);
    }
}

// The first four bytes of an MRT file are a time, and can be those of a zip file.
TEST_F(CommandKindTest, mrtIsReadWheneverItWasWritten) {
    for (unsigned const seconds : {0x504b0304U, 0x4c5a4950U, 0x28b52ffdU, 0xfffe0000U}) {
        std::string const record = u32(seconds) + mrt_.substr(4);
        Ended const ended = run({"plan", "--csv", files_.write("mrt", record)});
        EXPECT_EQ(ended.status, 0);
        EXPECT_EQ(ended.err, "");
    }
}

TEST_F(CommandKindTest, byteOrderMarkIsSkippedAtTheBeginningAlone) {
    std::string const mark = "\xef\xbb\xbf";
    for (std::string const& text : {mark + "10.0.0.0/8\n", mark + "# a table\n10.0.0.0/8\n",
                                    gzipped(mark + "10.0.0.0/8\n")}) {
        std::string const file = files_.write("table", text);
        for (std::vector<std::string> const& arguments :
             {std::vector<std::string>{"dump", file}, {"plan", "--csv", file}}) {
            Ended const ended = run(arguments);
            EXPECT_EQ(ended.status, 0);
            EXPECT_EQ(ended.err, "");
        }
    }
    EXPECT_EQ(toldOf({"load"}, "10.0.0.0/8\n" + mark + "10.0.0.0/8\n", 2).substr(0, 3), "2: ");
}

TEST_F(CommandKindTest, updatesInATableAreToldWhereTheyBelong) {
    for (char const* const line : {"A 10.0.0.0/8", "W\t10.0.0.0/8", "A 10.0.0.0/8 192.0.2.1"}) {
        std::string const told = toldOf({"load"}, "# updates\n"s + line + " # one\n", 2);
        EXPECT_EQ(told.substr(0, 4), "2: '");
        EXPECT_NE(told.find("' is an update, which the commands plan, diff and lookup read\n"),
                  std::string::npos)
            << told;
    }
    EXPECT_EQ(toldOf({"load"}, "AA::/16\nApril\n", 2).find(" is an update"), std::string::npos);
}

}  // namespace
}  // namespace ToolsTest
