#include <benchmarks/LimitReport.h>
#include <benchmarks/Markdown.h>

namespace LpmBenchmarks {

namespace {

struct Row {
    char const* simulated;
    Work work;
};
constexpr std::array<Row, 3> rows{
    {{"find", Work::find}, {"insert", Work::buildRandom}, {"remove", Work::remove}}};

char const* explanation() {
    return "## The limit\n\nWhat an operation would take if it did nothing but wait for memory: its "
           "misses times the latency of as much\nmemory as the library's objects take, on pages of 2 "
           "MiB. This processor's counters are not read: misses, of\nreads and writes alike, come "
           "from a simulation of caches by callgrind (32 KiB, and ";
}

void addRows(MarkdownTable& table, FamilyResult const& family, TableResult const& measured) {
    for (Limit const& limit : *family.limits) {
        PeerFigures const* const figures = figuresOf(measured.peers, limit.peer);
        for (Row const& row : rows) {
            if (figures == nullptr || limit.work != row.simulated) {
                continue;
            }
            double const time = figures->of(row.work);
            double const waiting = limit.misses * family.latency.alone;
            table.add({std::string(nameOf(family.af)) + ", " + nameOf(row.work), limit.peer,
                       number(limit.misses, 2), number(waiting, 0),
                       number(limit.misses * family.latency.eight, 0), number(time, 0),
                       number(time / waiting, 2)});
        }
    }
}

}  // namespace

std::string limitText(Results const& results) {
    MarkdownTable table({"Work", "table", "misses", "each waits for the last, ns",
                         "eight side by side, ns", "measured, ns", "measured to waiting"});
    std::string latencies;
    for (FamilyResult const& family : results.families) {
        TableResult const* const measured = mainTable(results, family.af);
        if (!family.limits || measured == nullptr) {
            continue;
        }
        addRows(table, family, *measured);
        latencies += std::string(latencies.empty() ? "" : "; ") + nameOf(family.af) + ": " +
                     std::to_string(family.latency.bytes >> 20) + " MiB, " +
                     number(family.latency.alone, 0) + " ns, eight side by side " +
                     number(family.latency.eight, 0) + " ns";
    }
    if (latencies.empty()) {
        return "";
    }
    return '\n' + std::string(explanation()) + std::to_string(simulatedCache >> 20) +
           " MiB with 16 ways),\nwhich knows no prefetching: what a table asks for side by side "
           "counts as if each waited for the last. So\nthe first limit is what a table that only "
           "follows pointers can reach, and the last column falls below 1\nwhere misses overlap. " +
           latencies + ".\n\n" + table.text();
}

}  // namespace LpmBenchmarks
