#pragma once

#include <string>
#include <vector>

/*
 * The scale of an axis and its round ticks: 1, 2 or 5 times a power of ten apart.
 */

namespace LpmTools {

struct SvgRange {
    double from = 0;
    double to = 1;
};

/** The smallest round number that is not below `least`, which is above 0. */
double roundStep(double least) noexcept;

/**
 * The range of an axis for values between `values.from` and `values.to`: never empty, and from zero
 * on where asked for.
 */
SvgRange axisRange(SvgRange values, bool fromZero) noexcept;

/** A step that divides the range by at most `most` ticks; a whole one where asked for. */
double stepOf(SvgRange range, unsigned most, bool whole) noexcept;

/** The range, widened to multiples of the step. */
SvgRange widened(SvgRange range, double step) noexcept;

/** The multiples of the step in the range. */
std::vector<double> ticksOf(SvgRange range, double step);

/** A tick's number with as many decimals as its step needs; millions of millions are shortened. */
std::string tickText(double value, double step);

}  // namespace LpmTools
