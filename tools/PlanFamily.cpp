#include <tools/HtmlParts.h>
#include <tools/PlanPage.h>
#include <tools/SvgText.h>

#include <sstream>

namespace LpmTools {

namespace {

std::string optimumNote(FamilyPlan const& plan) {
    return plan.optimum ? "optimum " + groupedNumber(*plan.optimum) + " buckets" : "not computed";
}

/** What a customer asks first. */
std::vector<HtmlTile> mainTiles(PlanReport const& report, FamilyPlan const& plan) {
    bool const hasRatio = plan.optimum && *plan.optimum > 0;
    AnswerCheck const& answers = plan.answers;
    return {
        {"Routes", groupedNumber(plan.routes), ""},
        {"Buckets", groupedNumber(plan.buckets),
         "of " + groupedNumber(report.bucketLimit) + ", " + groupedNumber(report.bucketRoutes) +
             " routes each"},
        {"Fill", percentText(plan.fill), "on average"},
        {"Ratio to the optimum",
         hasRatio ? decimalNumber(perEach(plan.buckets, *plan.optimum), 3) : "\u2013",
         optimumNote(plan)},
        {"Moves a route", decimalNumber(perEach(plan.counts.moves, plan.routes), 3),
         groupedNumber(plan.counts.moves) + " moves"},
        {"Writes", groupedNumber(plan.writes.total()),
         decimalNumber(perEach(plan.writes.total(), plan.routes), 2) + " a route"},
        {"Wrong answers", groupedNumber(answers.wrong),
         answers.addresses == 0 ? "not checked"
                                : "of " + groupedNumber(answers.addresses) + " addresses asked",
         answers.wrong > 0},
        {"Differences", groupedNumber(plan.differences), "between trie and chip",
         plan.differences > 0},
    };
}

/** What the partition manager has done. */
std::vector<HtmlTile> workTiles(FamilyPlan const& plan) {
    LpmClient::ManagerCounts const& counts = plan.counts;
    U64 const done = counts.added + counts.changed + counts.withdrawn;
    return {
        {"Routes added", groupedNumber(counts.added), ""},
        {"Next hops changed", groupedNumber(counts.changed), ""},
        {"Routes withdrawn", groupedNumber(counts.withdrawn), ""},
        {"Updates not done", groupedNumber(counts.notDone), "refused, or without room"},
        {"Updates owed", groupedNumber(plan.owed), "at the end", plan.owed > 0},
        {"Recuts", groupedNumber(counts.splits + counts.merges + counts.shifts),
         groupedNumber(counts.splits) + " into more buckets, " + groupedNumber(counts.merges) +
             " into fewer, " + groupedNumber(counts.shifts) + " into as many"},
        {"Moves an update", decimalNumber(perEach(counts.moves, updatesOf(plan)), 3),
         "of " + groupedNumber(updatesOf(plan)) + " updates"},
        {"Time in it", decimalNumber(plan.seconds, 2) + " s",
         decimalNumber(done == 0 ? 0 : plan.seconds / static_cast<double>(done) * 1e6, 2) +
             " \u00b5s a route added, changed or withdrawn"},
    };
}

std::string classOf(Nimbal::AddressFamily af) {
    return af == Nimbal::AddressFamily::ipv6 ? "family ipv6" : "family ipv4";
}

}  // namespace

std::string familyName(Nimbal::AddressFamily af) {
    if (af == Nimbal::AddressFamily::ipv4 || af == Nimbal::AddressFamily::ipv6) {
        return af == Nimbal::AddressFamily::ipv4 ? "IPv4" : "IPv6";
    }
    std::ostringstream name;
    name << af;
    return name.str();
}

double perEach(U64 number, U64 things) noexcept {
    return things == 0 ? 0 : static_cast<double>(number) / static_cast<double>(things);
}

std::string percentText(double part) {
    return decimalNumber(part * 100, 1) + std::string(thinSpace) + "%";
}

std::string planFamily(PlanReport const& report, FamilyPlan const& plan) {
    std::string text = "<section class=\"" + classOf(plan.af) + "\">\n";
    text += htmlElement("h2", "", familyName(plan.af));
    text += htmlTiles("tiles", mainTiles(report, plan));
    if (!plan.answers.firstWrong.empty()) {
        text += htmlElement("p", "fault", "First wrong answer: " + plan.answers.firstWrong);
    }
    text += planCharts(plan);
    text += htmlElement("h3", "", "Work of the partition manager");
    text += htmlTiles("tiles small", workTiles(plan));
    return text + "</section>\n";
}

}  // namespace LpmTools
