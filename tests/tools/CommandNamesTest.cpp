#include <tests/tools/RunCommand.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

/*
 * What one call names: no input is written over or read twice, no output written twice, and no
 * empty text taken for a name. What is refused leaves all files as they were.
 */

namespace ToolsTest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class CommandNamesTest : public testing::Test {
protected:
    /** What is told when the call is refused; fails the test when it is not, or touches a file. */
    std::string refusalOf(std::vector<std::string> const& arguments,
                          Streams const& streams = {}) const {
        auto const before = contents();
        Ended const ended = run(arguments, streams);
        EXPECT_EQ(ended.status, 2);
        EXPECT_EQ(ended.out, "");
        EXPECT_EQ(contents(), before);
        return ended.err;
    }
    /** All files there, by name. */
    std::map<std::string, std::string> contents() const {
        std::map<std::string, std::string> all;
        for (auto const& entry : std::filesystem::directory_iterator(files_.path(""))) {
            all[entry.path().filename().string()] = contentOf(entry.path().string());
        }
        return all;
    }
    static std::string contentOf(std::string const& path) {
        std::ifstream const file(path, std::ios::binary);
        std::ostringstream content;
        content << file.rdbuf();
        return content.str();
    }

    TemporaryDirectory const files_;
    std::string const table_ = files_.write("table", "10.0.0.0/8\n");
    std::string const other_ = files_.write("other", "11.0.0.0/8\n");
};

TEST_F(CommandNamesTest, outputThatIsAnInputIsRefusedWhateverItsName) {
    std::filesystem::create_symlink(table_, files_.path("link"));
    std::filesystem::create_hard_link(table_, files_.path("hard"));
    for (char const* const option : {"--html", "--dot"}) {
        for (char const* const name : {"table", "./table", "link", "hard", "/table"}) {
            std::string const path = files_.path(name);
            std::string const why =
                std::string("lpmtrie: ") + option + ": " + path + " is also an input\n";
            EXPECT_EQ(refusalOf({"plan", other_, table_, option, path}), why);
            EXPECT_EQ(refusalOf({"plan", "--updates", other_, table_, option, path}), why);
            EXPECT_EQ(refusalOf({"plan", path, option, table_}),
                      std::string("lpmtrie: ") + option + ": " + table_ + " is also an input\n");
        }
    }
}

TEST_F(CommandNamesTest, outputThatIsStandardInputIsRefused) {
    Ended const ended = runProgram(
        {"/bin/sh", "-c", "exec \"$0\" plan --html \"$1\" <\"$1\"", commandPath, table_});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.err, "lpmtrie: --html: " + table_ + " is also an input\n");
    EXPECT_EQ(contentOf(table_), "10.0.0.0/8\n");
}

TEST_F(CommandNamesTest, outputsInOneFileAreRefused) {
    std::string const file = files_.path("file");
    std::string const told = " is also the file of --html\n";
    EXPECT_EQ(refusalOf({"plan", table_, "--html", file, "--dot", file}),
              "lpmtrie: --dot: " + file + told);
    EXPECT_EQ(refusalOf({"plan", table_, "--html", files_.path("./file"), "--dot", file}),
              "lpmtrie: --dot: " + file + told);
    std::filesystem::create_hard_link(other_, files_.path("hard"));
    EXPECT_EQ(refusalOf({"plan", table_, "--dot", files_.path("hard"), "--html", other_}),
              "lpmtrie: --dot: " + files_.path("hard") + told);
    EXPECT_EQ(run({"plan", table_, "--html", file, "--dot", file + "2"}).status, 0);
    EXPECT_THAT(contentOf(file), StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(contentOf(file + "2"), StartsWith("digraph "));
}

TEST_F(CommandNamesTest, outputWhereTheReportGoesIsRefused) {
    std::string const report = files_.path("report");
    Descriptor const out = openForWriting(report);
    EXPECT_EQ(refusalOf({"plan", table_, "--html", report}, {.out = out.number()}),
              "lpmtrie: --html: " + report + " is where standard output goes\n");
}

TEST_F(CommandNamesTest, devicesMayBeNamedAgainAndAgain) {
    EXPECT_EQ(run({"plan", table_, "--html", "/dev/null", "--dot", "/dev/null"}).status, 0);
    EXPECT_EQ(run({"plan", "/dev/null", "--html", "/dev/null"}).status, 0);
    std::string const all = run({"plan", table_, "--html=/dev/stdout", "--dot=/dev/stdout"}).out;
    EXPECT_THAT(all, StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(all, HasSubstr("\ndigraph partitions {"));
    EXPECT_THAT(all, HasSubstr("\naddresses drawn from the seed 1\n"));
}

// Behind each other, as in a pipe, and not over each other.
TEST_F(CommandNamesTest, standardOutputLedToAFileTakesAll) {
    std::string const file = files_.path("all");
    Descriptor const out = openForWriting(file);
    Ended const ended = run({"plan", table_, "--dot=/dev/stdout"}, {.out = out.number()});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(contentOf(file), StartsWith("digraph partitions {"));
    EXPECT_THAT(contentOf(file), HasSubstr("\n}\nipv4\n"));
    EXPECT_EQ(contents().size(), 3U);
}

TEST_F(CommandNamesTest, dashIsNoFileToWrite) {
    for (char const* const option : {"--html", "--dot"}) {
        EXPECT_EQ(refusalOf({"plan", table_, option, "-"}),
                  std::string("lpmtrie: ") + option +
                      ": - is no name of a file; /dev/stdout is standard output\n");
    }
    EXPECT_FALSE(std::filesystem::exists("-"));
}

TEST_F(CommandNamesTest, standardInputIsReadOnce) {
    for (auto const& arguments :
         std::vector<std::vector<std::string>>{{"plan", "-", "-"},
                                               {"plan", "-", "--updates", "-"},
                                               {"plan", "--updates", "-", "-"},
                                               {"plan", "-", table_, "--updates", other_, "-"},
                                               {"diff", "-", "-"},
                                               {"lookup", "10.0.0.1", "--table", "-", "-"},
                                               {"load", "-", "-"},
                                               {"dump", "-", table_, "-"},
                                               {"dump-partition", "-", "-"},
                                               {"dump-prefix", "0.0.0.0/0", "-", "-"}}) {
        EXPECT_EQ(refusalOf(arguments, {.in = "10.0.0.0/8\n"}),
                  "lpmtrie: standard input, -, is named more than once\n");
    }
    EXPECT_EQ(run({"diff", table_, "-"}, {.in = "10.0.0.0/8\n"}).status, 0);
    EXPECT_EQ(run({"plan", table_, "--updates", "-"}, {.in = "W 10.0.0.0/8\n"}).status, 0);
}

TEST_F(CommandNamesTest, emptyTextsAreRefused) {
    for (char const* const option :
         {"--html", "--dot", "--policy", "--updates", "--dot-prefix=", "--html=", "--policy="}) {
        std::string const name = std::string(option).substr(0, std::string(option).find('='));
        std::vector<std::string> arguments{"plan", table_, "--dot=/dev/null", option};
        if (name == "--dot") {
            arguments[2] = "--json";
        }
        if (name == option) {
            arguments.emplace_back("");
        }
        EXPECT_THAT(refusalOf(arguments), StartsWith("lpmtrie: " + name + ": ")) << option;
    }
    EXPECT_EQ(refusalOf({"plan", other_, "--html=", table_}),
              "lpmtrie: --html: it must not be empty\n");
    EXPECT_THAT(refusalOf({"plan", ""}), StartsWith("lpmtrie: table: "));
    EXPECT_THAT(refusalOf({"load", ""}), StartsWith("lpmtrie: file: "));
    EXPECT_THAT(refusalOf({"diff", "", table_}), StartsWith("lpmtrie: before: "));
    EXPECT_THAT(refusalOf({"lookup", "", "--table", table_}), StartsWith("lpmtrie: address: "));
    EXPECT_THAT(refusalOf({"lookup", "::1", "--table", ""}), StartsWith("lpmtrie: --table: "));
    EXPECT_THAT(refusalOf({"dump-prefix", ""}), StartsWith("lpmtrie: prefix: "));
}

}  // namespace
}  // namespace ToolsTest
