#include <LpmTrie/Version.h>
#include <tests/tools/RunCommand.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

namespace ToolsTest {
namespace {

std::string const sources = TestSupport::testsDirectory() + "/..";

/** All options that `help` tells, as "--seed". */
std::set<std::string> optionsOf(std::string const& help) {
    static std::regex const option("\\n +(?:-[a-z],)?--([a-z][a-z0-9-]*)");
    std::set<std::string> options;
    for (std::sregex_iterator at(help.begin(), help.end(), option), end; at != end; ++at) {
        options.insert((*at)[1]);
    }
    return options;
}

/** What bash offers behind the words of a command line. */
std::set<std::string> completionsOf(std::vector<std::string> const& words) {
    std::string line = ". " + sources + "/tools/lpmtrie.bash-completion; COMP_WORDS=(";
    for (std::string const& word : words) {
        line += "'" + word + "' ";
    }
    line += "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); "
            "_lpmtrie '" +
            commandPath +
            "' \"${COMP_WORDS[-1]}\" \"${COMP_WORDS[-2]}\"; "
            "printf '%s\\n' \"${COMPREPLY[@]}\"";
    Ended const ended = runProgram({"/bin/bash", "-euc", line});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.err, "");
    std::istringstream lines(ended.out);
    std::set<std::string> completions;
    for (std::string completion; std::getline(lines, completion);) {
        completions.insert(completion);
    }
    return completions;
}

TEST(CommandHelpTest, manPageTellsEveryOptionAndCommand) {
    std::ifstream file(sources + "/docs/lpmtrie.1");
    std::ostringstream page;
    page << file.rdbuf();
    std::string const help = run({"--help-all"}).out;
    std::set<std::string> const options = optionsOf(help);
    EXPECT_GE(options.size(), 25U);
    for (std::string const& option : options) {
        EXPECT_TRUE(std::regex_search(page.str(), std::regex("[.,].*-" + option + "( |\\n)")))
            << option;
    }
    for (char const* const command :
         {"plan", "diff", "lookup", "load", "generate", "dump", "dump-partition", "dump-prefix"}) {
        EXPECT_THAT(page.str(), testing::HasSubstr(std::string("\n.It Cm ") + command + "\n"));
        EXPECT_THAT(help, testing::HasSubstr(std::string("\n") + command + "\n"));
    }
}

TEST(CommandHelpTest, versionIsThatOfTheLibrary) {
    Ended const ended = run({"--version"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "lpmtrie " LPMTRIE_VERSION_TEXT "\n");
    EXPECT_EQ(ended.err, "");
}

TEST(CommandHelpTest, bashCompletesCommandsOptionsAndPolicies) {
    EXPECT_EQ(completionsOf({"lpmtrie", "d"}),
              (std::set<std::string>{"diff", "dump", "dump-partition", "dump-prefix"}));
    EXPECT_EQ(completionsOf({"lpmtrie", "--v"}), (std::set<std::string>{"--version"}));
    EXPECT_EQ(completionsOf({"lpmtrie", "plan", "--do"}),
              (std::set<std::string>{"--dot", "--dot-prefix", "--download"}));
    EXPECT_EQ(completionsOf({"lpmtrie", "plan", "--policy", "window-"}),
              (std::set<std::string>{"window-calm", "window-tight"}));
    EXPECT_EQ(completionsOf({"lpmtrie", "lookup", "/dev/nul"}),
              (std::set<std::string>{"/dev/null"}));
    for (char const* const command : {"plan", "diff", "lookup", "load", "generate", "dump"}) {
        std::set<std::string> options;
        for (std::string const& option : optionsOf(run({command, "--help"}).out)) {
            options.insert("--" + option);
        }
        EXPECT_EQ(completionsOf({"lpmtrie", command, "--"}), options);
    }
}

}  // namespace
}  // namespace ToolsTest
