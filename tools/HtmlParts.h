#pragma once

#include <string>
#include <string_view>
#include <vector>

/*
 * What a page is made of. Texts that are handed in are escaped here, unless a name tells that they
 * are markup already.
 */

namespace LpmTools {

/** The size of a chart's two drawings: one for wide screens, one for narrow ones and for paper. */
struct HtmlChartSize {
    double width;
    double height;
};
constexpr HtmlChartSize wideChart{560, 290};
constexpr HtmlChartSize narrowChart{328, 232};

struct HtmlTable {
    std::string caption = {};
    std::vector<std::string> heads = {};
    std::vector<std::vector<std::string>> rows = {};  // the first of each row names it
    bool numbered = false;  // the names are numbers, and aligned like those
};

struct HtmlFigure {
    std::string heading = {};
    std::string sentence = {};  // what there is to see
    std::string wideSvg = {};
    std::string narrowSvg = {};
    HtmlTable table = {};
};

struct HtmlTile {
    std::string label = {};
    std::string value = {};
    std::string note = {};
    bool bad = false;
};

/** <tag class="...">text</tag>; no class attribute where there is no class. */
std::string htmlElement(std::string_view tag, std::string_view classes, std::string_view text);
/** A name that came from elsewhere, which keeps its direction of writing to itself. */
std::string htmlName(std::string_view name);
std::string htmlTiles(std::string_view classes, std::vector<HtmlTile> const& tiles);
/**
 * Closed at first; where it is too wide for the screen, it scrolls by itself. Nothing where there
 * are no rows.
 */
std::string htmlTable(HtmlTable const& table);
std::string htmlFigure(HtmlFigure const& figure);

}  // namespace LpmTools
