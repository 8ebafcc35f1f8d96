#include <tools/SvgPlot.h>
#include <tools/SvgText.h>

#include <algorithm>
#include <cmath>

/*
 * Lines over a common scale.
 *
 * Of a million points a few hundred can be seen. Points that follow each other within one column of
 * the picture, a unit wide, become four at most: the first, the lowest, the highest and the last,
 * in their order. The line drawn through these covers what the line through all would cover: no
 * peak is lost.
 *
 * A line's name stands at its end. Names that would overlap are moved apart, in the order of the
 * lines' ends.
 */

namespace LpmTools {

namespace {

constexpr double nameHeight = 14;

/** The points of one column, as they come. */
class Column {
public:
    void add(SvgPoint point) {
        if (count_ == 0 || point.y < lowest_.point.y) {
            lowest_ = {point, count_};
        }
        if (count_ == 0 || point.y > highest_.point.y) {
            highest_ = {point, count_};
        }
        if (count_ == 0) {
            first_ = {point, 0};
        }
        last_ = {point, count_++};
    }
    void moveTo(std::vector<SvgPoint>& points) {
        bool const lowestFirst = lowest_.number < highest_.number;
        std::size_t next = 0;
        for (Numbered const& each :
             {first_, lowestFirst ? lowest_ : highest_, lowestFirst ? highest_ : lowest_, last_}) {
            if (count_ > 0 && each.number >= next) {
                points.push_back(each.point);
                next = each.number + 1;
            }
        }
        count_ = 0;
    }

private:
    struct Numbered {
        SvgPoint point;
        std::size_t number = 0;
    };
    Numbered first_;
    Numbered lowest_;
    Numbered highest_;
    Numbered last_;
    std::size_t count_ = 0;
};

std::vector<SvgPoint> thinned(SvgPlot const& plot, std::vector<SvgPoint> const& points) {
    std::vector<SvgPoint> kept;
    Column column;
    double at = 0;
    for (SvgPoint const& point : points) {
        if (!std::isfinite(point.x) || !std::isfinite(point.y)) {
            continue;
        }
        SvgPoint const placed = plot.at(point);
        if (std::floor(placed.x) != at) {
            column.moveTo(kept);
            at = std::floor(placed.x);
        }
        column.add(placed);
    }
    column.moveTo(kept);
    return kept;
}

std::string commandsOf(std::vector<SvgPoint> const& points) {
    std::string text;
    for (SvgPoint const& point : points) {
        text += (text.empty() ? "M" : " L") + coordinate(point.x) + " " + coordinate(point.y);
    }
    return text;
}

/** A name beside the place where its line ends. */
struct EndLabel {
    std::string_view name;
    double y = 0;
};

/** Moves names apart from the top down, then back up as far as the last one stands too low. */
void separate(std::vector<EndLabel>& labels, double lowest) {
    std::stable_sort(labels.begin(), labels.end(),
                     [](EndLabel const& a, EndLabel const& b) { return a.y < b.y; });
    for (std::size_t next = 1; next < labels.size(); ++next) {
        labels[next].y = std::max(labels[next].y, labels[next - 1].y + nameHeight);
    }
    double most = lowest;
    for (std::size_t next = labels.size(); next-- > 0; most = labels[next].y - nameHeight) {
        labels[next].y = std::min(labels[next].y, most);
    }
}

/** All coordinates of one kind. */
std::vector<double> values(SvgLineChart const& chart, double SvgPoint::*part) {
    std::vector<double> all;
    for (SvgLine const& line : chart.lines) {
        for (SvgPoint const& point : line.points) {
            if (std::isfinite(point.x) && std::isfinite(point.y)) {
                all.push_back(point.*part);
            }
        }
    }
    return all;
}

double widestName(SvgLineChart const& chart) {
    double width = 0;
    for (SvgLine const& line : chart.lines) {
        width = std::max(width, widthOfText(line.name, svgFontSize));
    }
    return std::min(width + 8, chart.look.width / 3);
}

void drawDot(SvgCanvas& canvas, SvgPoint at, std::size_t style) {
    std::string const x = coordinate(at.x - 3.5);
    canvas.path("M" + x + " " + coordinate(at.y) + " a3.5 3.5 0 1 0 7 0 a3.5 3.5 0 1 0 -7 0Z",
                styleClass("mark fill", style));
}

}  // namespace

std::string svgLineChart(SvgLineChart const& chart) {
    SvgCanvas canvas(chart.look);
    auto const xValues = rangeOf(values(chart, &SvgPoint::x));
    auto const yValues = rangeOf(values(chart, &SvgPoint::y));
    if (!xValues || !yValues) {
        canvas.nothing();
        return canvas.finished();
    }
    SvgPlot const plot(canvas, chart.x, chart.y, *xValues, *yValues, {0, widestName(chart), false});
    plot.drawAxes();
    std::vector<EndLabel> labels;
    for (SvgLine const& line : chart.lines) {
        std::vector<SvgPoint> const points = thinned(plot, line.points);
        if (points.empty()) {
            continue;
        }
        if (points.size() == 1) {
            drawDot(canvas, points.front(), line.style);
        } else {
            canvas.path(commandsOf(points), styleClass("line line", line.style), line.name);
        }
        labels.push_back({line.name, points.back().y + 4});
    }
    separate(labels, plot.bottom() + 4);
    for (EndLabel const& label : labels) {
        canvas.text({plot.right() + 8, label.y}, label.name, "ink");
    }
    return canvas.finished();
}

}  // namespace LpmTools
