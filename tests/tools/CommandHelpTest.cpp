#include <LpmTrie/Version.h>
#include <client/Policy.h>
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

std::string manPage() {
    std::ifstream const file(sources + "/docs/lpmtrie.1");
    std::ostringstream page;
    page << file.rdbuf();
    return page.str();
}

std::set<std::string> policies() {
    std::set<std::string> names;
    for (LpmClient::PolicyDescription const& policy : LpmClient::policies()) {
        names.insert(std::string(policy.name));
    }
    return names;
}

/** One option's part of the man page, the first if there are several. */
std::string manOf(std::string const& option) {
    std::string const page = manPage();
    std::smatch item;
    EXPECT_TRUE(
        std::regex_search(page, item, std::regex("\\n\\.It [^\\n]*Fl -" + option + "[ \\n]")))
        << option;
    auto const at = static_cast<std::size_t>(item.position());
    return page.substr(at, std::min(page.find("\n.It ", at + 1), page.find("\n.El", at)) - at);
}

TEST(CommandHelpTest, manPageTellsEveryOptionAndCommand) {
    std::string const page = manPage();
    std::string const help = run({"--help-all"}).out;
    std::set<std::string> const options = optionsOf(help);
    EXPECT_GE(options.size(), 25U);
    for (std::string const& option : options) {
        EXPECT_TRUE(std::regex_search(page, std::regex("[.,].*-" + option + "( |\\n)"))) << option;
    }
    for (char const* const command :
         {"plan", "diff", "lookup", "load", "generate", "dump", "dump-partition", "dump-prefix"}) {
        EXPECT_THAT(page, testing::HasSubstr(std::string("\n.It Cm ") + command + "\n"));
        EXPECT_THAT(help, testing::HasSubstr(std::string("\n") + command + "\n"));
    }
}

TEST(CommandHelpTest, policiesAndTheDefaultOneAreNamedInHelpAndManPage) {
    std::string const help = run({"plan", "--help"}).out;
    std::string const first(LpmClient::policies().front().name);
    EXPECT_THAT(std::regex_replace(help, std::regex("\\s+"), " "),
                testing::HasSubstr("cut, by default as " + first + "; " + first + ": "));
    EXPECT_THAT(manOf("policy"), testing::HasSubstr("\n.Cm " + first + " ,\nthe default,\n"));
    for (std::string const& policy : policies()) {
        EXPECT_THAT(help, testing::HasSubstr(policy + ": "));
        EXPECT_THAT(manOf("policy"), testing::ContainsRegex(" " + policy + "[ \n]"));
    }
}

/** What one option needs or excludes, as the help tells it, the man page tells at one of the two.
 */
TEST(CommandHelpTest, manPageTellsWhichOptionsNeedOrExcludeEachOther) {
    static std::regex const relation("\\n +--([a-z0-9-]+)[^\\n]* (N|E)(eeds|xcludes): --([a-z-]+)");
    std::string const help = run({"--help-all"}).out;
    std::size_t relations = 0;
    for (std::sregex_iterator at(help.begin(), help.end(), relation), end; at != end; ++at) {
        auto const tells = [&](std::string const& one, std::string const& other) {
            std::string const told = manOf(one);
            return told.find((*at)[3].str().substr(0, 3)) != std::string::npos &&
                   std::regex_search(told, std::regex("\\.Fl -" + other + "[ \\n]"));
        };
        EXPECT_TRUE(tells((*at)[1], (*at)[4]) || ((*at)[2] == "E" && tells((*at)[4], (*at)[1])))
            << (*at)[1] << " and " << (*at)[4];
        ++relations;
    }
    EXPECT_GE(relations, 15U);
}

TEST(CommandHelpTest, versionIsThatOfTheLibrary) {
    Ended const ended = run({"--version"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "lpmtrie " LPMTRIE_VERSION_TEXT "\n");
    EXPECT_EQ(ended.err, "");
    EXPECT_EQ(run({"plan", "--version"}).status, 2);
}

TEST(CommandHelpTest, bashCompletesCommandsOptionsAndPolicies) {
    EXPECT_EQ(completionsOf({"lpmtrie", "d"}),
              (std::set<std::string>{"diff", "dump", "dump-partition", "dump-prefix"}));
    EXPECT_EQ(completionsOf({"lpmtrie", "--v"}), (std::set<std::string>{"--version"}));
    EXPECT_EQ(completionsOf({"lpmtrie", "plan", "--do"}),
              (std::set<std::string>{"--dot", "--dot-prefix", "--download"}));
    EXPECT_EQ(completionsOf({"lpmtrie", "plan", "--policy", "window-"}),
              (std::set<std::string>{"window-calm", "window-tight"}));
    EXPECT_EQ(completionsOf({"lpmtrie", "plan", "--policy", ""}), policies());
    EXPECT_EQ(completionsOf({"lpmtrie", "lookup", "/dev/nul"}),
              (std::set<std::string>{"/dev/null"}));
    EXPECT_EQ(completionsOf({"lpmtrie", "generate", "/dev/nul"}), (std::set<std::string>{""}));
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
