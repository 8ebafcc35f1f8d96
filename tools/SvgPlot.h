#pragma once

#include <tools/Svg.h>
#include <tools/SvgScale.h>

#include <optional>

/*
 * What the charts have in common: the picture that is drawn on, and the area between two axes.
 */

namespace LpmTools {

constexpr double svgFontSize = 12;

/** A picture in the making. Coordinates grow to the right and down. */
class SvgCanvas {
public:
    explicit SvgCanvas(SvgLook const& look);

    /** Where the chart may begin: below the title, where that is drawn. */
    double top() const noexcept { return top_; }
    double width() const noexcept { return look_.width - 2 * margin_; }
    double height() const noexcept { return look_.height - 2 * margin_; }

    void line(SvgPoint from, SvgPoint to, std::string_view classes);
    void text(SvgPoint at, std::string_view text, std::string_view classes);
    /** `tip`, where not empty, is shown under the pointer. */
    void box(SvgPoint corner, double width, double height, std::string_view classes,
             std::string_view tip = {});
    void path(std::string_view commands, std::string_view classes, std::string_view tip = {});
    /** What stands in the place of a chart without numbers. */
    void nothing();

    std::string finished() const { return text_ + "</svg>\n"; }

private:
    void end(std::string_view tip, std::string_view element);

    SvgLook const& look_;
    double margin_ = 0;  // around a picture of its own
    double top_ = 0;
    std::string text_;
};

/** The least range that holds all values, finite ones alone; none where there are none. */
std::optional<SvgRange> rangeOf(std::vector<double> const& values);

/** How a plot is laid out, beside what its axes tell. */
struct SvgLayout {
    double head = 0;      // room between the top and the area, for a legend
    double right = 0;     // room for labels beside the area
    bool widenX = false;  // the x axis reaches to the next ticks
};

/** The area between two axes. */
class SvgPlot {
public:
    SvgPlot(SvgCanvas& canvas, SvgAxis const& xAxis, SvgAxis const& yAxis, SvgRange xValues,
            SvgRange yValues, SvgLayout const& layout);

    double left() const noexcept { return left_; }
    double right() const noexcept { return right_; }
    double top() const noexcept { return top_; }
    double bottom() const noexcept { return bottom_; }
    double x(double value) const noexcept;
    double y(double value) const noexcept;
    SvgPoint at(SvgPoint point) const noexcept { return {x(point.x), y(point.y)}; }

    /** Grid, ticks and labels; before what stands on them. */
    void drawAxes() const;

private:
    void chooseX(SvgRange values, SvgLayout const& layout);
    double widestLabel(SvgRange range, double step, SvgAxis const& axis) const;

    SvgCanvas& canvas_;
    SvgAxis const& xAxis_;
    SvgAxis const& yAxis_;
    SvgRange xRange_;
    SvgRange yRange_;
    double xStep_ = 1;
    double yStep_ = 1;
    double left_ = 0;
    double right_ = 0;
    double top_ = 0;
    double bottom_ = 0;
};

/** "line0" and so on. */
std::string styleClass(std::string_view kind, std::size_t style);

}  // namespace LpmTools
