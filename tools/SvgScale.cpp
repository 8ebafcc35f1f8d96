#include <tools/SvgScale.h>
#include <tools/SvgText.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace LpmTools {

double roundStep(double least) noexcept {
    double const power = std::pow(10, std::floor(std::log10(least)));
    for (double const factor : {1.0, 2.0, 5.0}) {
        // A hair's breadth for what the division has lost.
        if (factor * power >= least * (1 - 1e-9)) {
            return factor * power;
        }
    }
    return 10 * power;
}

SvgRange axisRange(SvgRange values, bool fromZero) noexcept {
    SvgRange range = values;
    if (fromZero) {
        range.from = std::min(range.from, 0.0);
        range.to = std::max(range.to, 0.0);
    }
    double const size = std::max(std::abs(range.from), std::abs(range.to));
    if (size == 0) {
        return {0, 1};
    }
    // Ticks closer than a number's precision could not be told apart.
    if (range.to - range.from < size * 1e-9) {
        return {range.from - size / 20, range.to + size / 20};
    }
    return range;
}

double stepOf(SvgRange range, unsigned most, bool whole) noexcept {
    double const step = roundStep((range.to - range.from) / std::max(most, 1U));
    return whole ? std::max(step, 1.0) : step;
}

SvgRange widened(SvgRange range, double step) noexcept {
    return {std::floor(range.from / step + 1e-9) * step, std::ceil(range.to / step - 1e-9) * step};
}

std::vector<double> ticksOf(SvgRange range, double step) {
    std::vector<double> ticks;
    double const first = std::ceil(range.from / step - 1e-9);
    double const last = std::floor(range.to / step + 1e-9);
    auto const count = static_cast<std::size_t>(std::max(0.0, last - first + 1));
    for (std::size_t i = 0; i < count; ++i) {
        ticks.push_back((first + static_cast<double>(i)) * step);
    }
    return ticks;
}

std::string tickText(double value, double step) {
    struct Unit {
        double size;
        char const* name;
    };
    constexpr std::array<Unit, 3> units{{{1e18, "E"}, {1e15, "P"}, {1e12, "T"}}};
    auto const* const unit = std::find_if(units.begin(), units.end(),
                                          [&](Unit const& u) { return step * 10 >= u.size; });
    double const size = unit == units.end() ? 1 : unit->size;
    double const digits = -std::floor(std::log10(step / size) + 1e-9);
    std::string const text =
        decimalNumber(value / size, static_cast<int>(std::clamp(digits, 0.0, 12.0)));
    return unit == units.end() || value == 0 ? text : text + std::string(thinSpace) + unit->name;
}

}  // namespace LpmTools
