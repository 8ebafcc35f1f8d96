#include <tools/Svg.h>

#include <array>

/*
 * Colours and strokes. Every colour of a line or a text has a contrast of at least 4.5 to the
 * background that it stands on. Paper is always white: dark is for screens only.
 */

namespace LpmTools {

namespace {

struct Palette {
    std::string_view paper;
    std::string_view ink;
    std::string_view quiet;
    std::string_view grid;
    std::string_view axis;
    std::array<std::string_view, svgStyles> styles;
};

constexpr Palette light{"#ffffff", "#1b1f23",
                        "#575e66", "#e4e7ea",
                        "#8b929a", {"#1f5fa8", "#a3470f", "#2c7048", "#75489b", "#4d545b"}};
constexpr Palette dark{"#15181b", "#e7e9eb",
                       "#a5adb5", "#2b3137",
                       "#6d757d", {"#7fb5f3", "#f0a36b", "#7fcf9f", "#c5a3ea", "#b9c0c7"}};

constexpr std::array<std::string_view, svgStyles> dashes{"none", "6 4", "2 3", "9 3 2 3", "1 5"};

std::string rule(std::string const& selector, std::string_view property, std::string_view value) {
    return "svg " + selector + "{" + std::string(property) + ":" + std::string(value) + "}";
}

std::string colourRules(Palette const& palette) {
    std::string text =
        rule(".paper", "fill", palette.paper) + rule(".ink", "fill", palette.ink) +
        rule(".quiet", "fill", palette.quiet) + rule(".grid", "stroke", palette.grid) +
        rule(".axis", "stroke", palette.axis) + rule(".leader", "stroke", palette.axis) +
        rule(".mark", "stroke", palette.paper) + rule(".halo", "stroke", palette.paper);
    for (std::size_t style = 0; style < svgStyles; ++style) {
        std::string const number = std::to_string(style);
        text += rule(".line" + number, "stroke", palette.styles[style]) +
                rule(".fill" + number, "fill", palette.styles[style]);
    }
    return text + "\n";
}

}  // namespace

std::string_view svgColour(std::size_t style, bool isDark) noexcept {
    return (isDark ? dark : light).styles[style % svgStyles];
}

std::string svgRules() {
    std::string text =
        "svg text{font:12px system-ui,-apple-system,'Segoe UI','Noto Sans',sans-serif;"
        "font-variant-numeric:tabular-nums lining-nums}\n"
        "svg .middle{text-anchor:middle}svg .end{text-anchor:end}svg .strong{font-weight:600}"
        "svg .halo{paint-order:stroke;stroke-width:3px;stroke-linejoin:round}\n"
        "svg .grid,svg .axis{stroke-width:1;shape-rendering:crispEdges}"
        "svg .mark{stroke-width:1.5}"
        "svg .line{fill:none;stroke-width:1.75;stroke-linejoin:round;stroke-linecap:round}"
        "svg .join{fill:none;stroke-width:1;stroke-opacity:.6}\n";
    for (std::size_t style = 1; style < svgStyles; ++style) {
        text += rule(".line" + std::to_string(style), "stroke-dasharray", dashes[style]);
    }
    text += "\n" + colourRules(light);
    text += "@media screen and (prefers-color-scheme:dark){" + colourRules(dark) + "}\n";
    return text;
}

}  // namespace LpmTools
