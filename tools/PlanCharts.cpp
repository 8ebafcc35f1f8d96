#include <tools/HtmlParts.h>
#include <tools/PlanPage.h>
#include <tools/Svg.h>
#include <tools/SvgText.h>

#include <algorithm>
#include <numeric>

/*
 * The charts of one family. Each is drawn twice, since a picture that is shrunk to a telephone's
 * width cannot be read; the page shows the one that fits. What a chart shows stands above it in a
 * sentence, and below it as numbers.
 */

namespace LpmTools {

namespace {

template <typename Chart>
HtmlFigure drawn(Chart chart, std::string (*draw)(Chart const&), std::string const& sentence,
                 HtmlTable table) {
    HtmlFigure figure{chart.look.title, sentence, {}, {}, std::move(table)};
    chart.look.description = sentence;
    chart.look.standalone = false;
    chart.look.width = wideChart.width;
    chart.look.height = wideChart.height;
    figure.wideSvg = draw(chart);
    chart.look.width = narrowChart.width;
    chart.look.height = narrowChart.height;
    figure.narrowSvg = draw(chart);
    return figure;
}

SvgLine lineOf(std::vector<PlanSample> const& samples, std::string name, std::size_t style,
               U64 PlanSample::*value) {
    SvgLine line{std::move(name), {}, style};
    line.points.reserve(samples.size());
    for (PlanSample const& sample : samples) {
        line.points.push_back(
            {static_cast<double>(sample.update), static_cast<double>(sample.*value)});
    }
    return line;
}

SvgLine optimumLine(std::vector<PlanSample> const& samples) {
    SvgLine line{"optimum", {}, 4};
    for (PlanSample const& sample : samples) {
        if (sample.optimum) {
            line.points.push_back(
                {static_cast<double>(sample.update), static_cast<double>(*sample.optimum)});
        }
    }
    return line;
}

/** The samples, or so many of them, evenly chosen, that a reader may still look through. */
HtmlTable sampleTable(FamilyPlan const& plan, std::string const& what) {
    std::size_t const count = plan.samples.size();
    std::size_t const rows = std::min(count, planSampleRows);
    HtmlTable table{what + " of " + familyName(plan.af) + " over time", {}, {}, true};
    if (rows < count) {
        table.caption += ", " + groupedNumber(rows) + " of " + groupedNumber(count) + " samples";
    }
    table.heads = {"Update", "Routes", "Buckets", "Optimum", "Fill", "Writes", "Moves"};
    for (std::size_t row = 0; row < rows; ++row) {
        PlanSample const& sample =
            plan.samples[rows < count ? row * (count - 1) / (rows - 1) : row];
        table.rows.push_back({groupedNumber(sample.update), groupedNumber(sample.routes),
                              groupedNumber(sample.buckets),
                              sample.optimum ? groupedNumber(*sample.optimum) : "\u2013",
                              percentText(sample.fill), groupedNumber(sample.writes),
                              groupedNumber(sample.moves)});
    }
    return table;
}

HtmlFigure bucketsFigure(FamilyPlan const& plan) {
    std::string sentence = groupedNumber(plan.buckets) + " buckets at the end";
    if (plan.optimum && *plan.optimum > 0) {
        double const more = perEach(plan.buckets, *plan.optimum) - 1;
        sentence += ", " + percentText(more) + " more than the fewest possible";
    }
    SvgLineChart chart;
    chart.look.title = "Buckets over time";
    chart.x = {"announcements and withdrawals", true, true, {}};
    chart.y = {"buckets", true, true, {}};
    chart.lines = {lineOf(plan.samples, "buckets", 0, &PlanSample::buckets)};
    SvgLine optimum = optimumLine(plan.samples);
    if (!optimum.points.empty()) {
        chart.lines.push_back(std::move(optimum));
    }
    return drawn(chart, svgLineChart, sentence + ".", sampleTable(plan, "Buckets"));
}

HtmlFigure movesFigure(FamilyPlan const& plan) {
    SvgLineChart chart;
    chart.look.title = "Moves and writes over time";
    chart.x = {"announcements and withdrawals", true, true, {}};
    chart.y = {"in all, since the beginning", true, true, {}};
    chart.lines = {lineOf(plan.samples, "moves", 0, &PlanSample::moves),
                   lineOf(plan.samples, "writes", 4, &PlanSample::writes)};
    return drawn(chart, svgLineChart,
                 groupedNumber(plan.counts.moves) + " moves among " +
                     groupedNumber(plan.writes.total()) + " writes.",
                 sampleTable(plan, "Moves and writes"));
}

HtmlFigure fillFigure(FamilyPlan const& plan) {
    SvgHistogram chart;
    HtmlTable table{"Buckets of " + familyName(plan.af) + " by fill", {"Fill", "Buckets"}, {}};
    U64 wellFilled = 0;
    for (std::size_t bin = 0; bin < plan.fillHistogram.size(); ++bin) {
        U64 const buckets = plan.fillHistogram[bin];
        chart.values.push_back(static_cast<double>(buckets));
        wellFilled += bin >= 15 ? buckets : 0;
        table.rows.push_back(
            {Vexo::formatString("%zu\u2013%zu %%", bin * 5, bin * 5 + 5), groupedNumber(buckets)});
    }
    chart.look.title = "Fill of the buckets";
    chart.x = {"routes in a bucket, as a part of its bound", true, true, " %"};
    chart.y = {"buckets", true, true, {}};
    chart.step = 5;
    return drawn(chart, svgHistogram,
                 percentText(plan.fill) + " full on average; " + groupedNumber(wellFilled) +
                     " buckets are at least three quarters full.",
                 table);
}

HtmlFigure writesFigure(FamilyPlan const& plan) {
    SvgBarChart chart;
    HtmlTable table{
        "Writes of " + familyName(plan.af) + " by kind", {"Kind", "Done", "Refused"}, {}};
    for (std::size_t kind = 0; kind < LpmClient::writeKinds; ++kind) {
        std::string const name(text(static_cast<LpmClient::WriteKind>(kind)));
        U64 const done = plan.writes.done[kind];
        chart.bars.push_back({name, static_cast<double>(done), groupedNumber(done)});
        table.rows.push_back({name, groupedNumber(done), groupedNumber(plan.writes.refused[kind])});
    }
    chart.look.title = "Writes by kind";
    return drawn(chart, svgBarChart,
                 groupedNumber(plan.writes.total()) + " hardware writes done, " +
                     groupedNumber(plan.writes.totalRefused()) + " refused.",
                 table);
}

/** A histogram of counts by a whole number, from the first to the last that has any. */
HtmlFigure countsFigure(SvgHistogram chart, HtmlTable table, std::vector<U64> const& counts,
                        std::string const& sentence) {
    auto const isAny = [](U64 count) { return count > 0; };
    auto const first = std::find_if(counts.begin(), counts.end(), isAny);
    auto const last = std::find_if(counts.rbegin(), counts.rend(), isAny).base();
    U64 const all = std::accumulate(counts.begin(), counts.end(), U64{0});
    for (auto count = first; count < last; ++count) {
        chart.values.push_back(static_cast<double>(*count));
        if (*count > 0) {
            table.rows.push_back({chart.labelBefore + std::to_string(count - counts.begin()),
                                  groupedNumber(*count), percentText(perEach(*count, all))});
        }
    }
    chart.first = static_cast<double>(first - counts.begin());
    chart.centred = true;
    return drawn(chart, svgHistogram, sentence, table);
}

HtmlFigure lengthsFigure(FamilyPlan const& plan) {
    std::vector<U64> const counts(plan.lengths.begin(), plan.lengths.end());
    auto const most = std::max_element(counts.begin(), counts.end());
    U64 const all = std::accumulate(counts.begin(), counts.end(), U64{0});
    SvgHistogram chart;
    chart.look.title = "Prefix lengths";
    chart.x = {"prefix length, bits", false, true, {}};
    chart.y = {"routes", true, true, {}};
    chart.labelBefore = "/";
    return countsFigure(chart,
                        {"Routes of " + familyName(plan.af) + " by prefix length",
                         {"Length", "Routes", "Share"},
                         {}},
                        counts,
                        all == 0 ? "No routes."
                                 : percentText(perEach(*most, all)) + " of the routes are /" +
                                       std::to_string(most - counts.begin()) + ".");
}

HtmlFigure depthsFigure(FamilyPlan const& plan) {
    double nodes = 0;
    U64 routes = 0;
    std::size_t deepest = 0;
    for (std::size_t depth = 0; depth < plan.depths.size(); ++depth) {
        nodes += static_cast<double>(depth) * static_cast<double>(plan.depths[depth]);
        routes += plan.depths[depth];
        deepest = plan.depths[depth] > 0 ? depth : deepest;
    }
    SvgHistogram chart;
    chart.look.title = "Depth in the trie";
    chart.x = {"nodes above a route", false, true, {}};
    chart.y = {"routes", true, true, {}};
    double const mean = routes == 0 ? 0 : nodes / static_cast<double>(routes);
    return countsFigure(
        chart, {"Routes of " + familyName(plan.af) + " by depth", {"Depth", "Routes", "Share"}, {}},
        plan.depths,
        routes == 0 ? "No routes."
                    : decimalNumber(mean, 1) + " nodes above a route on average, " +
                          groupedNumber(deepest) + " at most.");
}

}  // namespace

std::string planCharts(FamilyPlan const& plan) {
    std::string text = "<div class=\"charts\">\n";
    for (auto* const figure :
         {bucketsFigure, movesFigure, fillFigure, writesFigure, lengthsFigure, depthsFigure}) {
        text += htmlFigure(figure(plan));
    }
    return text + "</div>\n";
}

}  // namespace LpmTools
