#pragma once

#include <Vexo/Types.h>

#include <string>
#include <string_view>

/*
 * Texts and numbers as they stand in a page or a picture.
 */

namespace LpmTools {

/** Between groups of three digits: narrow, and no line breaks there (U+202F). */
constexpr std::string_view thinSpace = "\u202f";

/**
 * Safe as text and in a quoted attribute, in HTML and in XML, whatever the bytes: markup as
 * entities, bytes that are no UTF-8 as U+FFFD, and what would be invisible or turn the line around
 * as "\x1b" or "\u202e".
 */
std::string escapedMarkup(std::string_view bytes);

/** 1234567 as "1 234 567", with thin spaces. */
std::string groupedNumber(Vexo::U64 number);

/** The number with so many decimals, grouped likewise; a dash when it is not finite. */
std::string decimalNumber(double number, int places);

/** A coordinate, to a tenth: "12.5", "3". */
std::string coordinate(double number);

/** How wide a text is at most, roughly, in a font of that size. */
double widthOfText(std::string_view text, double fontSize) noexcept;

}  // namespace LpmTools
