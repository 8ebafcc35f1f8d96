#include <tools/HtmlParts.h>
#include <tools/PlanPage.h>
#include <tools/SvgText.h>

/*
 * The page of a plan: one file that needs nothing else, neither a network nor scripts, and whose
 * policy forbids the reader's browser to load anything, so that no name in it can make it do so.
 *
 * First whether all is right, then a section for each family, then where the routes came from, how
 * the run was set up, and what the words mean.
 */

namespace LpmTools {

namespace {

/** All families' faults, in words; empty when there is none. */
std::vector<std::string> faultsOf(PlanReport const& report) {
    std::vector<std::string> faults;
    auto const add = [&](U64 number, std::string const& one, std::string const& more) {
        if (number > 0) {
            faults.push_back(groupedNumber(number) + " " + (number == 1 ? one : more));
        }
    };
    for (FamilyPlan const& plan : report.families) {
        std::string const name = familyName(plan.af) + ": ";
        std::size_t const before = faults.size();
        add(plan.answers.wrong, "wrong answer", "wrong answers");
        add(plan.differences, "difference between trie and chip",
            "differences between trie and chip");
        add(plan.owed, "update owed", "updates owed");
        for (std::size_t next = before; next < faults.size(); ++next) {
            faults[next] = name + faults[next];
        }
    }
    U64 damaged = 0;
    for (InputReport const& input : report.inputs) {
        damaged += input.error.empty() ? 0U : 1U;
    }
    add(damaged, "input ended early", "inputs ended early");
    return faults;
}

std::string verdict(PlanReport const& report) {
    std::vector<std::string> const faults = faultsOf(report);
    if (!faults.empty()) {
        std::string text = "<div class=\"verdict bad\"><p><span aria-hidden=\"true\">\u26a0\ufe0e "
                           "</span>Not all is right.</p>\n<ul>\n";
        for (std::string const& fault : faults) {
            text += htmlElement("li", "", fault);
        }
        return text + "</ul></div>\n";
    }
    U64 asked = 0;
    for (FamilyPlan const& plan : report.families) {
        asked += plan.answers.addresses;
    }
    std::string const answers =
        asked == 0 ? "No answer of the chip was checked."
                   : "The chip answered all of " + groupedNumber(asked) + " addresses rightly.";
    return "<div class=\"verdict\"><p>" +
           std::string(asked == 0 ? "" : "<span aria-hidden=\"true\">\u2713\ufe0e </span>") +
           answers + " Trie and chip agree, and no update is owed.</p></div>\n";
}

std::string inputPart(InputReport const& input) {
    std::string text = "<article>\n<h3>" + htmlName(input.name) + "</h3>\n";
    text +=
        htmlTiles("tiles small five",
                  {{"Format", input.format, ""},
                   {input.format == "text" ? "Lines" : "Records", groupedNumber(input.records), ""},
                   {"Announced", groupedNumber(input.announced), ""},
                   {"Withdrawn", groupedNumber(input.withdrawn), ""},
                   {"Host bits cleared", groupedNumber(input.hostBitsCleared), ""}});
    if (!input.error.empty()) {
        text += "<p class=\"fault\"><span aria-hidden=\"true\">\u26a0\ufe0e </span>Reading "
                "ended early: " +
                htmlName(input.error) + "</p>\n";
    }
    if (!input.skipped.empty()) {
        text += "<p>Skipped:</p>\n<ul>\n";
        for (auto const& [name, count] : input.skipped) {
            text += "<li>" + groupedNumber(count) + " \u00d7 " + htmlName(name) + "</li>\n";
        }
        text += "</ul>\n";
    }
    return text + "</article>\n";
}

std::string inputsPart(PlanReport const& report) {
    std::string text = "<section class=\"inputs\">\n<h2>Inputs</h2>\n";
    if (report.inputs.empty()) {
        text += "<p>No files were read.</p>\n";
    }
    for (InputReport const& input : report.inputs) {
        text += inputPart(input);
    }
    return text + "</section>\n";
}

std::string settingsPart(PlanReport const& report) {
    std::vector<HtmlTile> tiles{{"Policy", report.policy, ""},
                                {"Start", report.start, "how the tables were taken in"},
                                {"Routes a bucket", groupedNumber(report.bucketRoutes), "at most"},
                                {"Buckets of the chip", groupedNumber(report.bucketLimit), ""}};
    tiles.push_back({"Seed", std::to_string(report.seed),
                     report.isGenerated ? "of the generated table" : "of the addresses looked up"});
    return "<section>\n<h2>Settings</h2>\n" + htmlTiles("tiles small five", tiles) + "</section>\n";
}

constexpr std::string_view terms = R"(<section class="terms">
<h2>Terms</h2>
<dl>
<dt>Bucket</dt><dd>A part of the chip's table that holds the routes of one partition.</dd>
<dt>Fill</dt><dd>The routes in a bucket, as a part of the most that it holds.</dd>
<dt>Optimum</dt><dd>The fewest buckets into which the same routes can be divided, if all were
known at once.</dd>
<dt>Move</dt><dd>A route written again into another bucket though it did not change.</dd>
<dt>Write</dt><dd>One change of the hardware, whatever its kind.</dd>
<dt>Wrong answer</dt><dd>An address for which the chip does not find the longest matching
route.</dd>
<dt>Update</dt><dd>The announcement or the withdrawal of one route.</dd>
</dl>
</section>
)";

}  // namespace

std::string planHtml(PlanReport const& report) {
    std::string const title =
        "Routing tables in buckets of " + groupedNumber(report.bucketRoutes) + " routes";
    std::string text = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                       "style-src 'unsafe-inline'; base-uri 'none'; form-action 'none'\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                       "<meta name=\"color-scheme\" content=\"light dark\">\n";
    text += htmlElement("title", "", title) + "<style>\n" + planStyle() + "</style>\n</head>\n";
    text += "<body>\n<header>\n<p class=\"kind\">lpmtrie plan</p>\n" +
            htmlElement("h1", "", title) + verdict(report) + "</header>\n<main>\n";
    for (FamilyPlan const& plan : report.families) {
        text += planFamily(report, plan);
    }
    if (report.families.empty()) {
        text += "<p>There were no routes to plan for.</p>\n";
    }
    text += inputsPart(report) + settingsPart(report) + std::string(terms);
    return text + "</main>\n</body>\n</html>\n";
}

}  // namespace LpmTools
