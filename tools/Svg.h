#pragma once

#include <string>
#include <string_view>
#include <vector>

/*
 * Charts as SVG, for the page of a plan and for the documentation: thin axes with round ticks,
 * labels at the lines and points themselves, a title and a description for who cannot see them.
 * Colour never tells anything alone: lines differ in their dashes as well, marks in their shapes.
 *
 * Numbers that are not finite are left out. A chart without any says so.
 */

namespace LpmTools {

struct SvgLook {
    std::string title = {};        // read out, and shown under the pointer
    std::string description = {};  // what the picture shows, in a sentence or two
    double width = 640;
    double height = 320;
    /**
     * A picture of its own, with its colours for light and dark surroundings and its background;
     * otherwise a part of a page that has `svgRules`.
     */
    bool standalone = true;
};

struct SvgAxis {
    std::string label = {};  // what it counts, and in which unit
    bool fromZero = true;
    bool whole = false;        // ticks at whole numbers only
    std::string unit = {};     // put behind each tick's number, as in "50 %"
    bool powersOfTen = false;  // values are logarithms to the base 10: 4 is told as 10,000
};

struct SvgPoint {
    double x = 0;
    double y = 0;
};

/** How many colours, dashes and shapes there are; numbers beyond begin again. */
constexpr std::size_t svgStyles = 5;

struct SvgLine {
    std::string name = {};  // stands at the line's end
    std::vector<SvgPoint> points = {};
    std::size_t style = 0;  // 0 is a full line
};

/** Values over a common scale. Any number of points: more than can be seen are thinned. */
struct SvgLineChart {
    SvgLook look = {};
    SvgAxis x = {};
    SvgAxis y = {};
    std::vector<SvgLine> lines = {};
};

struct SvgBar {
    std::string label = {};
    double value = 0;
    std::string text = {};  // stands at the bar's end; empty: the value
};

/** Named values, one bar below the other. The height follows from their number. */
struct SvgBarChart {
    SvgLook look = {};
    std::vector<SvgBar> bars = {};
    std::size_t style = 0;
};

/** Upright bars over a scale. */
struct SvgHistogram {
    SvgLook look = {};
    SvgAxis x = {};
    SvgAxis y = {};
    double first = 0;  // where the first bar begins
    double step = 1;   // how far the next one is
    std::vector<double> values = {};
    bool centred = false;          // a bar stands on its number instead of reaching to the next one
    std::string labelBefore = {};  // as in "/24", for the label of the highest bar
    std::size_t style = 0;
};

struct SvgMark {
    SvgPoint at = {};
    std::string label = {};
    std::size_t group = 0;
};

/** Labelled points, as those of a frontier: the marks of a group may be joined by a line. */
struct SvgScatter {
    SvgLook look = {};
    SvgAxis x = {};
    SvgAxis y = {};
    std::vector<std::string> groups = {};  // their names; of one group none need be given
    std::vector<SvgMark> marks = {};
    bool joined = false;  // each group's marks, in the order of x
};

/** Each returns one complete <svg>. */
std::string svgLineChart(SvgLineChart const& chart);
std::string svgBarChart(SvgBarChart const& chart);
std::string svgHistogram(SvgHistogram const& chart);
std::string svgScatter(SvgScatter const& chart);

/** The CSS rules of all charts: light, and dark where the reader's screen is. */
std::string svgRules();

/** A colour of the charts, as "#1f5fa8". */
std::string_view svgColour(std::size_t style, bool dark) noexcept;

}  // namespace LpmTools
