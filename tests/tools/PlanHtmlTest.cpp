#include <tools/PlanReport.h>
#include <tools/SvgText.h>

#include <tests/tools/PageForm.h>
#include <tests/tools/PlanFixture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace LpmTools {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using ToolsTest::expectGoodForm;
using ToolsTest::madeUpReport;
using ToolsTest::occurrences;

/** What stands between the tags of the page's body, the texts apart by line feeds. */
std::string textOf(std::string const& page) {
    std::string text;
    bool inTag = false;
    for (std::size_t at = page.find("<body>"); at < page.size(); ++at) {
        inTag = page[at] == '<' || (inTag && page[at] != '>');
        text += inTag || page[at] == '>' ? '\n' : page[at];
    }
    return text;
}

/** Whether a number stands there by itself and not as a part of a longer one. */
bool holdsNumber(std::string const& text, std::string const& number) {
    auto const isPart = [&](std::size_t at) {
        return at < text.size() && (std::isdigit(static_cast<unsigned char>(text[at])) != 0);
    };
    for (std::size_t at = text.find(number); at != std::string::npos;
         at = text.find(number, at + 1)) {
        std::size_t const end = at + number.size();
        bool const followed =
            isPart(end) || (text.compare(end, 3, thinSpace) == 0 && isPart(end + 3));
        bool const preceded =
            at > 0 && (isPart(at - 1) ||
                       (at > 3 && text.compare(at - 3, 3, thinSpace) == 0 && isPart(at - 4)));
        if (!followed && !preceded) {
            return true;
        }
    }
    return false;
}

template <typename Numbers>
void expectAll(std::string const& text, Numbers const& numbers, char const* what) {
    for (U64 const number : numbers) {
        EXPECT_TRUE(holdsNumber(text, groupedNumber(number))) << what << ": " << number;
    }
}

/** Those that are not 0: lengths and depths without routes have no line. */
std::vector<U64> present(auto const& numbers) {
    std::vector<U64> some;
    std::copy_if(numbers.begin(), numbers.end(), std::back_inserter(some),
                 [](U64 number) { return number > 0; });
    return some;
}

TEST(PlanHtmlTest, ThePageIsWellFormedAndRefersToNothing) {
    expectGoodForm("plan.html", planHtml(madeUpReport()));
}

TEST(PlanHtmlTest, EveryNumberOfAFamilyIsOnThePage) {
    PlanReport const report = madeUpReport(40);
    std::string const text = textOf(planHtml(report));
    for (FamilyPlan const& plan : report.families) {
        LpmClient::ManagerCounts const& c = plan.counts;
        expectAll(text,
                  std::vector<U64>{plan.routes, plan.buckets, *plan.optimum, plan.owed,
                                   plan.differences, plan.answers.addresses, plan.answers.wrong,
                                   plan.writes.total(), plan.writes.totalRefused()},
                  "sum");
        expectAll(text,
                  std::vector<U64>{c.added, c.changed, c.withdrawn, c.notDone, c.splits, c.merges,
                                   c.shifts, c.moves},
                  "count");
        expectAll(text, plan.writes.done, "writes");
        expectAll(text, plan.writes.refused, "refused writes");
        expectAll(text, plan.fillHistogram, "fill");
        expectAll(text, present(plan.lengths), "routes of a length");
        expectAll(text, present(plan.depths), "routes at a depth");
        for (PlanSample const& sample : plan.samples) {
            expectAll(text,
                      std::vector<U64>{sample.update, sample.routes, sample.buckets,
                                       *sample.optimum, sample.writes, sample.moves},
                      "sample");
            EXPECT_THAT(text, HasSubstr(decimalNumber(sample.fill * 100, 1) + "\u202f%"));
        }
        EXPECT_THAT(text, AllOf(HasSubstr(decimalNumber(plan.seconds, 2) + " s"),
                                HasSubstr(decimalNumber(plan.fill * 100, 1) + "\u202f%")));
    }
}

TEST(PlanHtmlTest, InputsAndSettingsAreOnThePage) {
    PlanReport const report = madeUpReport(40);
    std::string const text = textOf(planHtml(report));
    for (InputReport const& input : report.inputs) {
        expectAll(text,
                  std::vector<U64>{input.records, input.announced, input.withdrawn,
                                   input.hostBitsCleared},
                  "input");
        EXPECT_THAT(text,
                    AllOf(HasSubstr(input.name), HasSubstr(input.format), HasSubstr(input.error)));
        for (auto const& [name, count] : input.skipped) {
            EXPECT_THAT(text, AllOf(HasSubstr(name), HasSubstr(groupedNumber(count) + " \u00d7")));
        }
    }
    expectAll(text, std::vector<U64>{report.bucketRoutes, report.bucketLimit}, "setting");
    EXPECT_THAT(text, AllOf(HasSubstr("window"), HasSubstr("one by one"), HasSubstr("20260118")));
}

TEST(PlanHtmlTest, RatiosAreThoseOfTheNumbers) {
    PlanReport report = madeUpReport(2);
    report.families.resize(1);
    FamilyPlan& plan = report.families[0];
    plan.routes = 1000;
    plan.buckets = 107;
    plan.optimum = 100;
    plan.counts.moves = 923;
    EXPECT_THAT(
        textOf(planHtml(report)),
        AllOf(HasSubstr("\n1.070\n"), HasSubstr("\n0.923\n"),
              HasSubstr("107 buckets at the end, 7.0\u202f% more than the fewest possible.")));
}

TEST(PlanHtmlTest, NoTextOfAnInputIsMarkup) {
    constexpr std::string_view evil = "</title><script>alert('\"&')</script>\x1b\xff\u202e";
    PlanReport report = madeUpReport(2);
    report.inputs[0].name = report.inputs[0].format = report.inputs[0].error = evil;
    report.inputs[0].skipped = {{std::string(evil), 3}};
    report.families[0].answers.firstWrong = report.policy = report.start = evil;
    std::string const page = planHtml(report);
    expectGoodForm("plan.html", page);
    EXPECT_THAT(page,
                AllOf(Not(HasSubstr("<script")), Not(HasSubstr("\x1b")), Not(HasSubstr("\xff"))));
    EXPECT_EQ(occurrences(page, "&lt;script&gt;alert(&#39;&quot;&amp;&#39;)"), 7U);
}

TEST(PlanHtmlTest, TheVerdictIsTheFamilies) {
    PlanReport report = madeUpReport(2);
    report.inputs[1].error.clear();
    std::string const good = textOf(planHtml(report));
    EXPECT_THAT(good, AllOf(HasSubstr("The chip answered all of 410\u202f034 addresses rightly."),
                            Not(HasSubstr("Not all is right."))));
    report.families[0].answers.wrong = 1;
    report.families[1].differences = 2;
    report.families[1].owed = 3;
    report.inputs[2].error = "cut off";
    EXPECT_THAT(textOf(planHtml(report)),
                AllOf(HasSubstr("Not all is right."), HasSubstr("IPv4: 1 wrong answer\n"),
                      HasSubstr("IPv6: 2 differences between trie and chip\n"),
                      HasSubstr("IPv6: 3 updates owed\n"), HasSubstr("1 input ended early\n"),
                      Not(HasSubstr("rightly"))));
}

TEST(PlanHtmlTest, UncheckedAnswersAreNotCalledRight) {
    PlanReport report = madeUpReport(2);
    report.inputs[1].error.clear();
    for (FamilyPlan& plan : report.families) {
        plan.answers = {};
    }
    EXPECT_THAT(textOf(planHtml(report)),
                AllOf(HasSubstr("No answer of the chip was checked."), HasSubstr("not checked"),
                      Not(HasSubstr("rightly"))));
}

TEST(PlanHtmlTest, ReportsWithLittleInThemArePages) {
    PlanReport const none;
    PlanReport hollow;
    hollow.families.resize(2);
    hollow.families[1].fill = std::numeric_limits<double>::quiet_NaN();
    PlanReport one = madeUpReport(1);
    one.families.resize(1);
    one.families[0].optimum.reset();
    one.families[0].samples[0].optimum.reset();
    PlanReport huge = madeUpReport(2);
    huge.families[0].lengths.fill(~U64{0} / 200);
    huge.families[0].samples[1].writes = ~U64{0};
    for (PlanReport const& report : {none, hollow, one, huge}) {
        expectGoodForm("plan.html", planHtml(report));
    }
    EXPECT_THAT(planHtml(none), HasSubstr("There were no routes to plan for."));
    EXPECT_THAT(planHtml(hollow), HasSubstr(">no data</text>"));
    EXPECT_THAT(planHtml(one), AllOf(HasSubstr("not computed"), Not(HasSubstr(">optimum</text>"))));
}

TEST(PlanHtmlTest, AMillionSamplesMakeAPageThatOpensAtOnce) {
    std::string const page = planHtml(madeUpReport(1'000'000));
    expectGoodForm("plan.html", page);
    EXPECT_LT(page.size(), 1'000'000U);
    EXPECT_THAT(page, HasSubstr("101 of 1\u202f000\u202f000 samples"));
    // The last sample is what the sums are about.
    EXPECT_THAT(page, HasSubstr("<tr><th scope=\"row\">1\u202f803\u202f798</th>"));
}

TEST(PlanHtmlTest, movesAnUpdateAreThoseOfTheSummary) {
    PlanReport report = madeUpReport();
    report.families.resize(1);
    report.families[0].counts.moves = 700;
    report.families[0].samples.resize(1);
    report.families[0].samples[0].update = 2'000;
    EXPECT_THAT(planText(report), HasSubstr("700  0.350 an update, "));
    std::string const page = planHtml(report);
    std::size_t const at = page.find("Moves an update");
    ASSERT_NE(at, std::string::npos);
    EXPECT_THAT(page.substr(at, 120), HasSubstr(">0.350<"));
}

}  // namespace
}  // namespace LpmTools
