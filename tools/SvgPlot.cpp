#include <tools/SvgPlot.h>
#include <tools/SvgText.h>

#include <algorithm>
#include <cmath>

namespace LpmTools {

namespace {

/** Between a label and what stands beside it. */
constexpr double gap = 8;
/** Below the area: the ticks' numbers and the axis' label. */
constexpr double foot = 40;

std::string attribute(std::string_view name, double value) {
    return " " + std::string(name) + "=\"" + coordinate(value) + "\"";
}
std::string classAttribute(std::string_view classes) {
    return " class=\"" + std::string(classes) + "\"";
}

}  // namespace

SvgCanvas::SvgCanvas(SvgLook const& look) : look_(look) {
    margin_ = look.standalone ? 16 : 0;
    std::string const corner = coordinate(-margin_) + " " + coordinate(-margin_);
    std::string const size = coordinate(look.width) + " " + coordinate(look.height);
    text_ = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"" + corner + " " + size + "\"" +
            attribute("width", look.width) + attribute("height", look.height) + " role=\"img\">";
    text_ += "<title>" + escapedMarkup(look.title) + "</title>";
    text_ += "<desc>" + escapedMarkup(look.description) + "</desc>\n";
    if (look.standalone) {
        text_ += "<style>" + svgRules() + "</style>\n";
        box({-margin_, -margin_}, look.width, look.height, "paper");
        text({0, 12}, look.title, "ink strong");
        top_ = 28;
    }
}

void SvgCanvas::end(std::string_view tip, std::string_view element) {
    text_ += tip.empty()
                 ? "/>\n"
                 : "><title>" + escapedMarkup(tip) + "</title></" + std::string(element) + ">\n";
}

void SvgCanvas::line(SvgPoint from, SvgPoint to, std::string_view classes) {
    text_ += "<line" + attribute("x1", from.x) + attribute("y1", from.y) + attribute("x2", to.x) +
             attribute("y2", to.y) + classAttribute(classes) + "/>\n";
}

void SvgCanvas::text(SvgPoint at, std::string_view text, std::string_view classes) {
    text_ += "<text" + attribute("x", at.x) + attribute("y", at.y) + classAttribute(classes) + ">" +
             escapedMarkup(text) + "</text>\n";
}

void SvgCanvas::box(SvgPoint corner, double width, double height, std::string_view classes,
                    std::string_view tip) {
    text_ += "<rect" + attribute("x", corner.x) + attribute("y", corner.y) +
             attribute("width", width) + attribute("height", height) + classAttribute(classes);
    end(tip, "rect");
}

void SvgCanvas::path(std::string_view commands, std::string_view classes, std::string_view tip) {
    text_ += "<path d=\"" + std::string(commands) + "\"" + classAttribute(classes);
    end(tip, "path");
}

void SvgCanvas::nothing() {
    line({0, height() - 1}, {width(), height() - 1}, "axis");
    text({width() / 2, (top_ + height()) / 2}, "no data", "quiet middle");
}

std::optional<SvgRange> rangeOf(std::vector<double> const& values) {
    std::optional<SvgRange> range;
    for (double const value : values) {
        if (!std::isfinite(value)) {
            continue;
        }
        range = range ? SvgRange{std::min(range->from, value), std::max(range->to, value)}
                      : SvgRange{value, value};
    }
    return range;
}

std::string styleClass(std::string_view kind, std::size_t style) {
    return std::string(kind) + std::to_string(style % svgStyles);
}

namespace {

std::string labelOf(double tick, double step, SvgAxis const& axis) {
    std::string const number =
        axis.powersOfTen ? decimalNumber(std::pow(10, tick), 0) : tickText(tick, step);
    return number + axis.unit;
}

}  // namespace

SvgPlot::SvgPlot(SvgCanvas& canvas, SvgAxis const& xAxis, SvgAxis const& yAxis, SvgRange xValues,
                 SvgRange yValues, SvgLayout const& layout)
    : canvas_(canvas), xAxis_(xAxis), yAxis_(yAxis) {
    double const labelRow = yAxis.label.empty() ? gap : 30;
    top_ = canvas.top() + labelRow + layout.head;
    bottom_ = std::max(canvas.height() - foot, top_ + 1);
    yRange_ = axisRange(yValues, yAxis.fromZero);
    yStep_ =
        stepOf(yRange_, static_cast<unsigned>(std::max((bottom_ - top_) / 32, 2.0)), yAxis.whole);
    yRange_ = widened(yRange_, yStep_);
    left_ = widestLabel(yRange_, yStep_, yAxis) + gap;
    chooseX(xValues, layout);
}

/** As many ticks as there is room for their numbers. */
void SvgPlot::chooseX(SvgRange values, SvgLayout const& layout) {
    SvgRange const range = axisRange(values, xAxis_.fromZero);
    for (unsigned most = 10; most > 0; --most) {
        xStep_ = stepOf(range, most, xAxis_.whole || xAxis_.powersOfTen);
        xRange_ = layout.widenX ? widened(range, xStep_) : range;
        double const label = widestLabel(xRange_, xStep_, xAxis_);
        right_ = std::max(canvas_.width() - std::max(layout.right, label / 2 + 1), left_ + 1);
        if (x(xRange_.from + xStep_) - left_ >= label + 1.5 * gap) {
            return;
        }
    }
}

double SvgPlot::widestLabel(SvgRange range, double step, SvgAxis const& axis) const {
    double width = 0;
    for (double const tick : ticksOf(range, step)) {
        width = std::max(width, widthOfText(labelOf(tick, step, axis), svgFontSize));
    }
    return width;
}

double SvgPlot::x(double value) const noexcept {
    return left_ + (value - xRange_.from) / (xRange_.to - xRange_.from) * (right_ - left_);
}

double SvgPlot::y(double value) const noexcept {
    return bottom_ - (value - yRange_.from) / (yRange_.to - yRange_.from) * (bottom_ - top_);
}

void SvgPlot::drawAxes() const {
    canvas_.text({0, top_ - 18}, yAxis_.label, "quiet");
    for (double const tick : ticksOf(yRange_, yStep_)) {
        // The axis itself stands in the place of the lowest line of the grid.
        if (tick > yRange_.from + yStep_ / 2) {
            canvas_.line({left_, y(tick)}, {right_, y(tick)}, "grid");
        }
        canvas_.text({left_ - gap, y(tick) + 4}, labelOf(tick, yStep_, yAxis_), "quiet end");
    }
    canvas_.line({left_, bottom_}, {right_, bottom_}, "axis");
    for (double const tick : ticksOf(xRange_, xStep_)) {
        canvas_.line({x(tick), bottom_}, {x(tick), bottom_ + 4}, "axis");
        canvas_.text({x(tick), bottom_ + 17}, labelOf(tick, xStep_, xAxis_), "quiet middle");
    }
    canvas_.text({right_, bottom_ + 34}, xAxis_.label, "quiet end");
}

}  // namespace LpmTools
