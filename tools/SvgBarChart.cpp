#include <tools/SvgPlot.h>
#include <tools/SvgText.h>

#include <algorithm>
#include <cmath>

/*
 * Lying bars with their names before them and their values behind them, which need no axis, and
 * upright ones over a scale. Bars always begin at zero, or their lengths would lie. A value that is
 * no number, or below zero, has no bar.
 */

namespace LpmTools {

namespace {

constexpr double rowHeight = 26;
constexpr double barHeight = 14;

double lengthOf(double value) noexcept {
    return std::isfinite(value) ? std::max(value, 0.0) : 0;
}

std::string textOf(SvgBar const& bar) {
    return bar.text.empty() ? decimalNumber(bar.value, bar.value == std::floor(bar.value) ? 0 : 2)
                            : bar.text;
}

SvgLook lookOf(SvgBarChart const& chart) {
    SvgLook look = chart.look;
    std::size_t const rows = std::max<std::size_t>(chart.bars.size(), 3);
    look.height = (look.standalone ? 60 : 0) + static_cast<double>(rows) * rowHeight + 8;
    return look;
}

/** What a bar's label tells when the pointer is on it: "24: 530 000". */
std::string tip(SvgHistogram const& chart, std::size_t number) {
    double const begin = chart.first + static_cast<double>(number) * chart.step;
    std::string label = chart.labelBefore + tickText(begin, chart.step);
    if (!chart.centred) {
        label += "\u2013" + tickText(begin + chart.step, chart.step);
    }
    return label + chart.x.unit + ": " + tickText(chart.values[number], 1);
}

/** Names the highest bar, which is what is looked for first. */
void nameHighest(SvgCanvas& canvas, SvgPlot const& plot, SvgHistogram const& chart, double shift) {
    auto const highest = std::max_element(chart.values.begin(), chart.values.end(),
                                          [](auto a, auto b) { return lengthOf(a) < lengthOf(b); });
    auto const number = static_cast<std::size_t>(highest - chart.values.begin());
    std::string const text = tip(chart, number);
    double const half = widthOfText(text, svgFontSize) / 2;
    double const middle =
        plot.x(chart.first + (static_cast<double>(number) + 0.5) * chart.step - shift);
    double const x = std::clamp(middle, half, std::max(half, canvas.width() - half));
    canvas.text({x, plot.y(*highest) - 5}, text, "ink halo middle");
}

}  // namespace

std::string svgBarChart(SvgBarChart const& chart) {
    SvgLook const look = lookOf(chart);
    SvgCanvas canvas(look);
    if (chart.bars.empty()) {
        canvas.nothing();
        return canvas.finished();
    }
    double names = 0;
    double texts = 0;
    double most = 0;
    for (SvgBar const& bar : chart.bars) {
        names = std::max(names, widthOfText(bar.label, svgFontSize));
        texts = std::max(texts, widthOfText(textOf(bar), svgFontSize));
        most = std::max(most, lengthOf(bar.value));
    }
    double const left = std::min(names, canvas.width() / 2) + 8;
    double const room = std::max(canvas.width() - left - texts - 8, 1.0);
    double y = canvas.top() + 4;
    for (SvgBar const& bar : chart.bars) {
        double const length = most > 0 ? lengthOf(bar.value) / most * room : 0;
        canvas.text({left - 8, y + 17}, bar.label, "ink end");
        if (length > 0) {
            // A hairline for the least value: it is there.
            canvas.box({left, y + (rowHeight - barHeight) / 2}, std::max(length, 1.0), barHeight,
                       styleClass("fill", chart.style));
        }
        canvas.text({left + length + 6, y + 17}, textOf(bar), "quiet");
        y += rowHeight;
    }
    canvas.line({left, canvas.top() + 4}, {left, y}, "axis");
    return canvas.finished();
}

std::string svgHistogram(SvgHistogram const& chart) {
    SvgCanvas canvas(chart.look);
    auto const range = rangeOf(chart.values);
    if (!range || range->to <= 0) {
        canvas.nothing();
        return canvas.finished();
    }
    double const shift = chart.centred ? chart.step / 2 : 0;
    double const end = chart.first + static_cast<double>(chart.values.size()) * chart.step;
    SvgAxis xAxis = chart.x;
    xAxis.fromZero = false;
    SvgAxis yAxis = chart.y;
    yAxis.fromZero = true;
    SvgPlot const plot(canvas, xAxis, yAxis, {chart.first - shift, end - shift}, {0, range->to},
                       {});
    plot.drawAxes();
    double const width = plot.x(chart.first + chart.step) - plot.x(chart.first);
    double const between = std::min(width * 0.2, 2.0);
    for (std::size_t number = 0; number < chart.values.size(); ++number) {
        double const value = lengthOf(chart.values[number]);
        if (value == 0) {
            continue;
        }
        double const x = plot.x(chart.first + static_cast<double>(number) * chart.step - shift);
        double const height = std::max(plot.bottom() - plot.y(value), 1.0);
        canvas.box({x + between / 2, plot.bottom() - height}, width - between, height,
                   styleClass("fill", chart.style), tip(chart, number));
    }
    nameHighest(canvas, plot, chart, shift);
    return canvas.finished();
}

}  // namespace LpmTools
