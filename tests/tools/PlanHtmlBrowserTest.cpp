/*
 * The page as a reader sees it. Without a browser there is nothing to see, and the test is skipped.
 */

#include <tests/tools/PageForm.h>
#include <tests/tools/PlanFixture.h>

#include <gtest/gtest.h>

namespace LpmTools {
namespace {

using ToolsTest::madeUpReport;

TEST(PlanHtmlBrowserTest, PagesAreReadableOnEveryScreenAndOnPaper) {
    PlanReport bad = madeUpReport(3);
    bad.inputs[0].name = "<script>alert(1)</script> " + std::string(200, 'x');
    bad.families[0].answers.wrong = 3;
    bad.families[0].answers.firstWrong = "10.0.0.1: 7, not 9";
    bad.families[1].differences = 2;
    PlanReport hollow;
    hollow.families.resize(1);
    ToolsTest::TemporaryDirectory const directory;
    ToolsTest::Ended const ended = ToolsTest::runScript(
        "docs/page.py", {directory.write("good.html", planHtml(madeUpReport())),
                         directory.write("bad.html", planHtml(bad)),
                         directory.write("one.html", planHtml(madeUpReport(1))),
                         directory.write("hollow.html", planHtml(hollow)),
                         directory.write("empty.html", planHtml({}))});
    if (ended.status == 77) {
        GTEST_SKIP() << "no chromium";
    }
    EXPECT_EQ(ended.status, 0) << ended.err;
}

}  // namespace
}  // namespace LpmTools
