#include <tools/OutputFile.h>
#include <tools/Svg.h>
#include <benchmarks/GrowthReport.h>
#include <benchmarks/Markdown.h>

#include <cmath>
#include <filesystem>

namespace LpmBenchmarks {

namespace {

struct Curve {
    Work work;
    char const* file;
};
constexpr std::array<Curve, 3> curves{
    {{Work::buildRandom, "insert"}, {Work::find, "look-up"}, {Work::remove, "remove"}}};

std::vector<std::string> peersOf(GrowthResult const& growth) {
    std::vector<std::string> names;
    for (PeerFigures const& peer : growth.points.front().peers) {
        names.push_back(peer.name);
    }
    return names;
}

std::string chartOf(GrowthResult const& growth, Work work, std::string const& title) {
    LpmTools::SvgLineChart chart;
    chart.look.title = title;
    chart.look.description =
        "Time of one operation against the number of routes in the table, a line for each kind of "
        "table; lower is better.";
    chart.x = {.label = "routes", .fromZero = false, .powersOfTen = true};
    chart.y = {.label = "nanoseconds"};
    for (std::string const& name : peersOf(growth)) {
        LpmTools::SvgLine line{name, {}, chart.lines.size()};
        for (GrowthResult::Point const& point : growth.points) {
            if (PeerFigures const* const figures = figuresOf(point.peers, name)) {
                line.points.push_back({std::log10(point.routes), figures->of(work)});
            }
        }
        chart.lines.push_back(line);
    }
    return LpmTools::svgLineChart(chart);
}

std::string tableOf(GrowthResult const& growth, Work work) {
    std::vector<std::string> heads{std::string(nameOf(growth.af)) + ", " + nameOf(work)};
    for (GrowthResult::Point const& point : growth.points) {
        heads.push_back(std::to_string(point.routes));
    }
    MarkdownTable table(heads);
    for (std::string const& name : peersOf(growth)) {
        std::vector<std::string> cells{name};
        for (GrowthResult::Point const& point : growth.points) {
            PeerFigures const* const figures = figuresOf(point.peers, name);
            cells.push_back(figures == nullptr ? "–" : number(figures->of(work), 0));
        }
        table.add(cells);
    }
    return table.text();
}

}  // namespace

std::string growthText(Results const& results, std::string const& directory) {
    std::string text =
        "## Growth\n\nGenerated tables, pages of 2 MiB, nanoseconds an operation: all routes are "
        "inserted, then come a\nmillion look-ups and a million removals at most. Above a million "
        "routes only the library without\npartitions and `rte_rib` are measured, once.\n";
    for (GrowthResult const& growth : results.growth) {
        if (!growth.failures.empty()) {
            text += "\nNot measured: " + growth.failures;
        }
        if (growth.points.empty()) {
            continue;
        }
        for (Curve const& curve : curves) {
            std::string const title = std::string(nameOf(growth.af)) + ": " + nameOf(curve.work);
            text += '\n' + tableOf(growth, curve.work);
            if (directory.empty()) {
                continue;
            }
            std::string const name = std::string("pictures/performance-") + curve.file + '-' +
                                     nameOf(growth.af) + ".svg";
            std::filesystem::create_directories(directory + "/pictures");
            LpmTools::OutputFile(directory + '/' + name).write(chartOf(growth, curve.work, title));
            text += "\n![" + title + "](" + name + ")\n";
        }
        text += '\n' + tableOf(growth, Work::trackedBytes);
    }
    return text;
}

}  // namespace LpmBenchmarks
