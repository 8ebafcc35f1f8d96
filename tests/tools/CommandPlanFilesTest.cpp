#include <tests/tools/GoodRun.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace ToolsTest {
namespace {

using testing::StartsWith;

std::string contents(std::string const& path) {
    std::ifstream const file(path, std::ios::binary);
    std::ostringstream all;
    all << file.rdbuf();
    return all.str();
}

class CommandPlanFilesTest : public testing::Test {
protected:
    /** A run that must go well. */
    static void plan(std::vector<std::string> const& options) { outputOf(callOf("plan", options)); }

    TemporaryDirectory const files_;
    std::string const table_ = files_.write("table", "10.0.0.0/8\n2001:db8::/32\n");
};

TEST_F(CommandPlanFilesTest, dotDrawsThePartitionsOrWhatLiesAroundAPrefix) {
    std::string const dot = files_.path("dot");
    plan({files_.write("nested", "10.0.0.0/8\n10.1.0.0/16\n"), "--bucket=1", "--dot", dot});
    EXPECT_EQ(contents(dot), R"(digraph partitions {
  rankdir=LR;
  node [shape=box, style=filled];
  "0.0.0.0/0" [label="0.0.0.0/0\nbucket 1: 1 of 1 routes\nno covering route", fillcolor="0.380 0.500 0.95"];
  "10.1.0.0/16" [label="10.1.0.0/16\nbucket 0: 1 of 1 routes\ncovered by 10.0.0.0/8", fillcolor="0.380 0.500 0.95"];
  "0.0.0.0/0" -> "10.1.0.0/16";
}
)");
    plan({files_.path("nested"), "--bucket=1", "--dot", dot, "--dot-prefix=10.1.0.0/16"});
    EXPECT_EQ(contents(dot), R"(digraph neighbourhood {
  node [style=filled, fillcolor=white];
  subgraph "cluster 0.0.0.0/0" {
    label="0.0.0.0/0, bucket 1: 1 routes";
    "0.0.0.0/0" [shape=ellipse];
    "10.0.0.0/8" [shape=box, fillcolor="0.13 0.2 0.95"];
  }
  subgraph "cluster 10.1.0.0/16" {
    label="10.1.0.0/16, bucket 0: 1 routes";
    "10.1.0.0/16" [shape=box, penwidth=3, fillcolor="0.13 0.2 0.95"];
  }
  "0.0.0.0/0" -> "10.0.0.0/8" [label=0];
  "10.0.0.0/8" -> "10.1.0.0/16" [label=0];
}
)");
}

TEST_F(CommandPlanFilesTest, filesAreWrittenWholeOrNotAtAll) {
    std::string const html = files_.write("html", "before");
    EXPECT_EQ(run({"plan", files_.path("no"), "--html", html, "--policy=no"}).status, 2);
    EXPECT_EQ(contents(html), "before");
    plan({table_, "--html", html});
    EXPECT_THAT(contents(html), StartsWith("<!DOCTYPE html>"));
    std::string const nowhere = files_.path("no/html");
    Ended const ended = run({"plan", table_, "--html", nowhere});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.err, "lpmtrie: " + nowhere + ": cannot write: No such file or directory\n");
    std::set<std::string> left;
    for (auto const& entry : std::filesystem::directory_iterator(files_.path(""))) {
        left.insert(entry.path().filename().string());
    }
    EXPECT_EQ(left, (std::set<std::string>{"html", "table"}));
}

}  // namespace
}  // namespace ToolsTest
