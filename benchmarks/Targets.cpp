#include <benchmarks/Markdown.h>
#include <benchmarks/Targets.h>

#include <algorithm>

namespace LpmBenchmarks {

namespace {

using Nimbal::AddressFamily;

/** A ratio to rte_rib, smaller is better. */
struct Target {
    char const* text;
    AddressFamily af;
    char const* peer;
    Work work;
    double must;
    double aim;
};

constexpr char const* library = "LpmTrie";
constexpr std::array<Target, 11> targets{{
    {"`findPartitionNode`, random covered addresses", AddressFamily::ipv4, library, Work::find,
     0.55, 0.35},
    {"`insertFromRoot`, both counters kept", AddressFamily::ipv4, library, Work::buildRandom, 0.85,
     0.60},
    {"`remove`", AddressFamily::ipv4, library, Work::remove, 0.75, 0.55},
    {"build in address order", AddressFamily::ipv4, library, Work::buildOrdered, 1.00, 0.85},
    {"pre-order walk", AddressFamily::ipv4, library, Work::walk, 0.45, 0.35},
    {"replay of generated updates", AddressFamily::ipv4, library, Work::replay, 0.65, 0.50},
    {"a route added by the client's path, partitions of 512", AddressFamily::ipv4,
     "LpmTrie in partitions", Work::buildRandom, 1.0, 0.8},
    {"memory, tracked objects", AddressFamily::ipv4, library, Work::trackedBytes, 0.70, 0.60},
    {"`findPartitionNode`, random covered addresses", AddressFamily::ipv6, library, Work::find,
     0.50, 0.35},
    {"`insertFromRoot`, both counters kept", AddressFamily::ipv6, library, Work::buildRandom, 0.45,
     0.33},
    {"`remove`", AddressFamily::ipv6, library, Work::remove, 0.60, 0.45},
}};

/** A look-up among ten million routes to one among a million. */
constexpr double mostGrowth = 2.3;

char const* verdict(double ratio, double must, double aim) {
    // As the report shows it.
    double const shown = static_cast<int>(ratio * 100 + 0.5) / 100.0;
    return shown <= aim ? "aim met" : shown <= must ? "met" : "**missed**";
}

double timeAt(GrowthResult const& growth, U32 routes) {
    for (GrowthResult::Point const& point : growth.points) {
        PeerFigures const* const figures = figuresOf(point.peers, library);
        if (point.routes == routes && figures != nullptr) {
            return figures->of(Work::find);
        }
    }
    return -1;
}

}  // namespace

std::string targetsText(Results const& results) {
    MarkdownTable table({"Work", "", "ratio", "must", "aim", ""});
    for (Target const& target : targets) {
        TableResult const* const measured = mainTable(results, target.af);
        auto const* const ours =
            measured == nullptr ? nullptr : figuresOf(measured->peers, target.peer);
        auto const* const base =
            measured == nullptr ? nullptr : figuresOf(measured->peers, "rte_rib");
        if (ours != nullptr && base != nullptr) {
            double const ratio = ours->of(target.work) / base->of(target.work);
            table.add({target.text, nameOf(target.af), number(ratio, 2), number(target.must, 2),
                       number(target.aim, 2), verdict(ratio, target.must, target.aim)});
        }
    }
    for (GrowthResult const& growth : results.growth) {
        double const ratio = timeAt(growth, 10'000'000) / timeAt(growth, 1'000'000);
        if (ratio > 0 && timeAt(growth, 1'000'000) > 0) {
            table.add({"look-up among 10 million routes, to 1 million", nameOf(growth.af),
                       number(ratio, 2), number(mostGrowth, 2), "", verdict(ratio, mostGrowth, 0)});
        }
    }
    return "## Figures to reach\n\nRatios to `rte_rib` on the first table of each family, pages of "
           "2 MiB; smaller is better.\n\n" +
           table.text();
}

}  // namespace LpmBenchmarks
