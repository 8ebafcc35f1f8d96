#include <tools/SvgPlot.h>
#include <tools/SvgText.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

/*
 * Labelled points. Each label takes the first of some places around its mark where it neither
 * leaves the area nor touches a mark or a label that stands already; where all are taken, the one
 * to the right, moved into the picture, since a name that is crowded tells more than none.
 */

namespace LpmTools {

namespace {

constexpr double legendHeight = 20;
constexpr double markRadius = 4.5;

struct Box {
    double left, top, right, bottom;

    bool touches(Box const& other) const noexcept {
        return left < other.right && other.left < right && top < other.bottom && other.top < bottom;
    }
};

/** Disc, square, triangle, diamond, triangle on its tip: told apart without their colours. */
std::string shapeOf(SvgPoint at, std::size_t group) {
    constexpr std::array<std::string_view, svgStyles> shapes{
        "m-4.5 0 a4.5 4.5 0 1 0 9 0 a4.5 4.5 0 1 0 -9 0Z", "m-4 -4 h8 v8 h-8Z", "m0 -5 l5 9 h-10Z",
        "m0 -5.5 l5.5 5.5 l-5.5 5.5 l-5.5 -5.5Z", "m0 5 l5 -9 h-10Z"};
    return "M" + coordinate(at.x) + " " + coordinate(at.y) + std::string(shapes[group % svgStyles]);
}

std::vector<SvgMark> finiteMarks(SvgScatter const& chart) {
    std::vector<SvgMark> marks;
    std::copy_if(
        chart.marks.begin(), chart.marks.end(), std::back_inserter(marks),
        [](SvgMark const& mark) { return std::isfinite(mark.at.x) && std::isfinite(mark.at.y); });
    return marks;
}

/** The names of the groups in rows, each with its mark; draws where asked, answers the height. */
double legend(SvgCanvas& canvas, SvgScatter const& chart, double top, bool draws) {
    double x = markRadius + 1;
    double rows = chart.groups.empty() ? 0 : 1;
    for (std::size_t group = 0; group < chart.groups.size(); ++group) {
        double const width = 28 + widthOfText(chart.groups[group], svgFontSize);
        if (x > 10 && x + width > canvas.width()) {
            x = markRadius + 1;
            ++rows;
        }
        double const y = top + rows * legendHeight - 8;
        if (draws) {
            canvas.path(shapeOf({x, y - 4}, group), styleClass("mark fill", group));
            canvas.text({x + 10, y}, chart.groups[group], "ink");
        }
        x += width;
    }
    return rows * legendHeight;
}

void joinGroups(SvgCanvas& canvas, SvgPlot const& plot, std::vector<SvgMark> marks) {
    std::stable_sort(marks.begin(), marks.end(),
                     [](SvgMark const& a, SvgMark const& b) { return a.at.x < b.at.x; });
    std::map<std::size_t, std::string> paths;
    for (SvgMark const& mark : marks) {
        SvgPoint const at = plot.at(mark.at);
        std::string& path = paths[mark.group];
        path += (path.empty() ? "M" : " L") + coordinate(at.x) + " " + coordinate(at.y);
    }
    for (auto const& [group, path] : paths) {
        canvas.path(path, styleClass("join line", group));
    }
}

Box boxAround(SvgPoint at, double dx, double dy, double width) noexcept {
    double const left = dx > 0 ? at.x + dx : dx < 0 ? at.x + dx - width : at.x - width / 2;
    return {left, at.y + dy - 7, left + width, at.y + dy + 7};
}

/** The labels' places, found one after the other. */
class Labels {
public:
    Labels(SvgCanvas& canvas, SvgPlot const& plot, std::vector<SvgMark> const& marks)
        : canvas_(canvas), plot_(plot) {
        for (SvgMark const& mark : marks) {
            taken_.push_back(boxAround(plot.at(mark.at), 0, 0, 2 * markRadius));
        }
    }
    void place(SvgMark const& mark) {
        SvgPoint const at = plot_.at(mark.at);
        double const width = widthOfText(mark.label, svgFontSize);
        constexpr std::array<SvgPoint, 12> places{{{9, 0},
                                                   {0, -14},
                                                   {-9, 0},
                                                   {0, 14},
                                                   {7, -11},
                                                   {7, 11},
                                                   {-7, -11},
                                                   {-7, 11},
                                                   {7, -26},
                                                   {-7, -26},
                                                   {7, 26},
                                                   {-7, 26}}};
        Box chosen = boxAround(at, places[0].x, places[0].y, width);
        chosen.left = std::max(std::min(chosen.left, canvas_.width() - width), 0.0);
        chosen.right = chosen.left + width;
        for (SvgPoint const& place : places) {
            Box const box = boxAround(at, place.x, place.y, width);
            if (isFree(box)) {
                chosen = box;
                drawLeader(at, place);
                break;
            }
        }
        taken_.push_back(chosen);
        canvas_.text({chosen.left, chosen.bottom - 3}, mark.label, "ink halo");
    }

private:
    /** From a mark to a label that stands too far from it to be its own at a glance. */
    void drawLeader(SvgPoint at, SvgPoint place) {
        if (std::abs(place.y) > 20) {
            double const side = place.y < 0 ? -1 : 1;
            canvas_.line({at.x, at.y + side * 6}, {at.x + place.x, at.y + place.y - side * 6},
                         "leader");
        }
    }
    bool isFree(Box const& box) const {
        return box.left >= plot_.left() && box.right <= canvas_.width() &&
               box.top >= plot_.top() - 8 && box.bottom <= plot_.bottom() &&
               std::none_of(taken_.begin(), taken_.end(),
                            [&](Box const& other) { return box.touches(other); });
    }

    SvgCanvas& canvas_;
    SvgPlot const& plot_;
    std::vector<Box> taken_;
};

}  // namespace

std::string svgScatter(SvgScatter const& chart) {
    SvgCanvas canvas(chart.look);
    std::vector<SvgMark> const marks = finiteMarks(chart);
    if (marks.empty()) {
        canvas.nothing();
        return canvas.finished();
    }
    std::vector<double> xs;
    std::vector<double> ys;
    double name = 0;
    for (SvgMark const& mark : marks) {
        xs.push_back(mark.at.x);
        ys.push_back(mark.at.y);
        name = std::max(name, widthOfText(mark.label, svgFontSize));
    }
    SvgPlot const plot(canvas, chart.x, chart.y, *rangeOf(xs), *rangeOf(ys),
                       {legend(canvas, chart, 0, false), std::min(name, canvas.width() / 8), true});
    legend(canvas, chart, canvas.top(), true);
    plot.drawAxes();
    if (chart.joined) {
        joinGroups(canvas, plot, marks);
    }
    for (SvgMark const& mark : marks) {
        canvas.path(shapeOf(plot.at(mark.at), mark.group), styleClass("mark fill", mark.group),
                    mark.label);
    }
    Labels labels(canvas, plot, marks);
    for (SvgMark const& mark : marks) {
        labels.place(mark);
    }
    return canvas.finished();
}

}  // namespace LpmTools
