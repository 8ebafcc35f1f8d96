#include <tools/SvgText.h>

#include <array>
#include <charconv>
#include <cmath>

namespace LpmTools {

using Vexo::U32;
using Vexo::U64;

namespace {

/** One character of a text; a length of 1 and `good` false for a byte that is none. */
struct Character {
    U32 code = 0;
    std::size_t length = 1;
    bool good = false;
};

U32 byteAt(std::string_view bytes, std::size_t at) noexcept {
    return static_cast<unsigned char>(bytes[at]);
}

/** Reads UTF-8 (RFC 3629): no overlong forms, no surrogates, nothing beyond U+10FFFF. */
Character characterAt(std::string_view bytes, std::size_t at) noexcept {
    U32 const head = byteAt(bytes, at);
    if (head < 0x80) {
        return {head, 1, true};
    }
    std::size_t const length = head < 0xc2 ? 0 : head < 0xe0 ? 2 : head < 0xf0 ? 3 : 4;
    if (length == 0 || head > 0xf4 || bytes.size() - at < length) {
        return {};
    }
    U32 code = head & (0x7fU >> length);
    for (std::size_t next = 1; next < length; ++next) {
        U32 const byte = byteAt(bytes, at + next);
        if ((byte & 0xc0U) != 0x80) {
            return {};
        }
        code = code << 6U | (byte & 0x3fU);
    }
    constexpr std::array<U32, 5> least{0, 0, 0x80, 0x800, 0x10000};
    bool const good = code >= least[length] && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff);
    return good ? Character{code, length, true} : Character{};
}

/** Characters that a reader would not see, or that reorder those around them. */
bool isHidden(U32 code) noexcept {
    return code < 0x20 || (code >= 0x7f && code < 0xa0) || code == 0xad || code == 0x61c ||
           (code >= 0x200b && code <= 0x200f) || (code >= 0x2028 && code <= 0x202e) ||
           (code >= 0x2060 && code <= 0x206f) || code == 0xfeff || (code & 0xfffeU) == 0xfffe;
}

std::string_view entityOf(U32 code) noexcept {
    switch (code) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\'':
        return "&#39;";
    default:
        return {};
    }
}

/** Puts thin spaces between the groups of three of the digits that end at `end`. */
void group(std::string& text, std::size_t begin, std::size_t end) {
    for (std::size_t at = end; at > begin + 3; at -= 3) {
        text.insert(at - 3, thinSpace);
    }
}

/** The decimals of a finite number, whatever the locale. */
std::string fixedText(double number, int places) {
    std::array<char, 400> digits{};
    auto const end = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                   std::chars_format::fixed, places);
    std::string text(digits.data(), end.ptr);
    bool const isZero = text.find_first_not_of("-0.") == std::string::npos;
    return isZero && text.front() == '-' ? text.substr(1) : text;
}

}  // namespace

std::string escapedMarkup(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size();) {
        Character const character = characterAt(bytes, at);
        std::string_view const entity = entityOf(character.code);
        if (!character.good) {
            text += "\ufffd";
        } else if (!entity.empty()) {
            text += entity;
        } else if (isHidden(character.code)) {
            text +=
                Vexo::formatString(character.code < 0x100 ? "\\x%02x" : "\\u%04x", character.code);
        } else {
            text += bytes.substr(at, character.length);
        }
        at += character.length;
    }
    return text;
}

std::string groupedNumber(U64 number) {
    std::string text = std::to_string(number);
    group(text, 0, text.size());
    return text;
}

std::string decimalNumber(double number, int places) {
    if (!std::isfinite(number)) {
        return "\u2013";
    }
    std::string text = fixedText(number, places);
    std::size_t const begin = text.front() == '-' ? 1 : 0;
    group(text, begin, std::min(text.find('.'), text.size()));
    return begin == 0 ? text : "\u2212" + text.substr(1);
}

std::string coordinate(double number) {
    std::string text = fixedText(std::isfinite(number) ? number : 0, 1);
    return text.ends_with(".0") ? text.substr(0, text.size() - 2) : text;
}

double widthOfText(std::string_view text, double fontSize) noexcept {
    double ems = 0;
    for (std::size_t at = 0; at < text.size();) {
        Character const character = characterAt(text, at);
        bool const narrow = character.code == 0x202f || character.code == '.' ||
                            character.code == ' ' || character.code == '/';
        ems += narrow ? 0.34 : 0.64;
        at += character.length;
    }
    return ems * fontSize;
}

}  // namespace LpmTools
