#include <tools/PlanReport.h>
#include <tools/Texts.h>

#include <algorithm>

namespace LpmTools {

namespace {

std::string byKind(std::array<U64, LpmClient::writeKinds> const& writes) {
    std::string text;
    for (std::size_t kind = 0; kind < LpmClient::writeKinds; ++kind) {
        if (writes[kind] > 0) {
            text += (text.empty() ? "" : ", ") +
                    std::string(LpmClient::text(static_cast<LpmClient::WriteKind>(kind))) + " " +
                    grouped(writes[kind]);
        }
    }
    return text;
}

/** "ratio to the best" and so on, where the fewest buckets possible are known. */
std::string againstOptimum(FamilyPlan const& plan) {
    if (!plan.optimum) {
        return {};
    }
    return "; " + decimal(ratio(plan.buckets, *plan.optimum), 3) + " of the fewest possible, " +
           grouped(*plan.optimum);
}

/** One bar a tenth, the longest of 40 characters. */
void addFill(std::string& text, FamilyPlan const& plan) {
    std::array<U64, 10> tenths{};
    for (std::size_t bar = 0; bar < plan.fillHistogram.size(); ++bar) {
        tenths[bar / 2] += plan.fillHistogram[bar];
    }
    U64 const most = std::max(*std::max_element(tenths.begin(), tenths.end()), U64{1});
    text += "  buckets by fill\n";
    for (std::size_t tenth = 0; tenth < tenths.size(); ++tenth) {
        std::string const label = Vexo::formatString("%zu-%zu %%", tenth * 10, tenth * 10 + 10);
        addLine(text, label.c_str(), grouped(tenths[tenth]),
                std::string(tenths[tenth] * 40 / most, '#'));
    }
}

void addVerdict(std::string& text, FamilyPlan const& plan) {
    if (plan.answers.wrong > 0) {
        text += "  FAILED: " + grouped(plan.answers.wrong) + " wrong answers; " +
                plan.answers.firstWrong + "\n";
    }
    if (plan.differences > 0) {
        text += "  FAILED: " + grouped(plan.differences) +
                " differences between the trie and the chip\n";
    }
    if (plan.owed > 0) {
        text += "  OWED: " + grouped(plan.owed) + " updates found no room or were refused\n";
    }
    if (plan.answers.wrong == 0 && plan.differences == 0) {
        text += std::string("  every answer of the chip right") +
                (plan.owed > 0 ? " for the routes that found room" : "") +
                ", every invariant verified, chip and trie agree\n";
    }
}

std::string familyText(FamilyPlan const& plan) {
    std::string text = familyCode(plan.af) + "\n";
    U64 const updates = updatesOf(plan);
    if (plan.tableRoutes > 0) {
        addLine(text, "table", grouped(plan.tableRoutes),
                std::string("routes, ") + (plan.downloaded ? "downloaded" : "one by one"));
    }
    addLine(text, "routes", grouped(plan.routes), "");
    addLine(text, "buckets", grouped(plan.buckets),
            decimal(plan.fill * 100, 1) + " % full" + againstOptimum(plan));
    addLine(text, "updates", grouped(updates),
            grouped(plan.counts.added) + " routes added, " + grouped(plan.counts.changed) +
                " next hops changed, " + grouped(plan.counts.withdrawn) + " routes withdrawn");
    addLine(text, "writes", grouped(plan.writes.total()), byKind(plan.writes.done));
    if (plan.writes.totalRefused() > 0) {
        addLine(text, "refused writes", grouped(plan.writes.totalRefused()),
                byKind(plan.writes.refused));
    }
    addLine(text, "moved routes", grouped(plan.counts.moves),
            decimal(ratio(plan.counts.moves, updates), 3) + " an update, in " +
                grouped(plan.counts.splits) + " splits, " + grouped(plan.counts.merges) +
                " merges, " + grouped(plan.counts.shifts) + " shifts");
    addLine(text, "answers", grouped(plan.answers.addresses),
            "compared with a brute-force longest match, " + grouped(plan.answers.wrong) + " wrong");
    addLine(text, "time", decimal(plan.seconds, 2), "seconds in the partition manager");
    addFill(text, plan);
    addVerdict(text, plan);
    return text;
}

std::string inputText(InputReport const& input) {
    std::string text = input.name + ": " + input.format + ", " + grouped(input.records) +
                       (input.format == "text" ? " lines, " : " records, ") +
                       grouped(input.announced) + " announcements, " + grouped(input.withdrawn) +
                       " withdrawals, " + grouped(input.hostBitsCleared) +
                       " with host bits cleared\n";
    for (auto const& [what, count] : input.skipped) {
        text += "  skipped: " + grouped(count) + " " + what + "\n";
    }
    if (!input.error.empty()) {
        text += "  ended early: " + input.error + "\n";
    }
    return text;
}

}  // namespace

std::string planText(PlanReport const& report) {
    std::string text;
    for (FamilyPlan const& plan : report.families) {
        text += familyText(plan) + "\n";
    }
    text += "buckets of " + grouped(report.bucketRoutes) + " routes, " +
            grouped(report.bucketsUsed) + " in use, " + grouped(freeBuckets(report)) +
            " free; policy " + report.policy + "; table: " + report.start + "\n";
    for (InputReport const& input : report.inputs) {
        text += inputText(input);
    }
    return text +
           (report.isGenerated ? "generated from the seed " : "addresses drawn from the seed ") +
           std::to_string(report.seed) + "\n";
}

}  // namespace LpmTools
