#pragma once

#include <Vexo/Strep.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
#include <string_view>
#include <vector>

/* What the parsers of this folder's values are put through. */

namespace LpmTrieTest {

/** The error that reading the whole text as a T ends in; none when it is read. */
template <class T>
std::optional<Vexo::RangeException> refusalOf(std::string_view text) {
    // Storage of the text's size and no NUL after it: an address sanitizer sees reads past it.
    std::vector<char> const exact(text.begin(), text.end());
    Vexo::CharRange range({exact.data(), exact.size()});
    try {
        static_cast<void>(T(range));
        range.checkAllDataConsumed();
        return std::nullopt;
    } catch (Vexo::RangeException const& error) {
        return error;
    }
}

/** The text is refused with an error that names `attribute`, or none when that is empty. */
template <class T>
void expectRefused(std::string_view text, std::string_view attribute) {
    auto const refusal = refusalOf<T>(text);
    ASSERT_TRUE(refusal.has_value()) << text;
    EXPECT_EQ(refusal->attribute(), attribute) << text << '\n' << refusal->what();
    EXPECT_STRNE(refusal->what(), "") << text;
    EXPECT_THROW(Vexo::strepToValue<T>(Vexo::String(text)), Vexo::RangeException) << text;
}

/** The text is read, and none of its beginnings is. */
template <class T>
void expectTruncationsRefused(std::string_view text) {
    EXPECT_FALSE(refusalOf<T>(text).has_value()) << text;
    for (std::size_t size = 0; size < text.size(); ++size) {
        EXPECT_TRUE(refusalOf<T>(text.substr(0, size)).has_value()) << text.substr(0, size);
    }
}

/** The text is read; no byte that no value is made of may stand before, in or after it. */
template <class T>
void expectForeignBytesRefused(std::string_view text) {
    EXPECT_FALSE(refusalOf<T>(text).has_value()) << text;
    for (char const foreign : std::string_view("\0 \t\n\r+-.;*%\"\\_\x7f\x80\xff", 17)) {
        for (std::size_t at = 0; at <= text.size(); ++at) {
            Vexo::String changed(text);
            changed.insert(at, 1, foreign);
            EXPECT_TRUE(refusalOf<T>(changed).has_value()) << Vexo::quotedForMessage(changed);
            if (at < text.size() && text[at] != foreign) {
                changed = text;
                changed[at] = foreign;
                EXPECT_TRUE(refusalOf<T>(changed).has_value()) << Vexo::quotedForMessage(changed);
            }
        }
    }
}

/** Where `old` stands in the text, each of `values` is refused by the attribute's name. */
template <class T>
void expectValuesRefused(std::string_view text, std::string_view attribute, std::string_view old,
                         std::initializer_list<std::string_view> values) {
    std::size_t const at = text.find(old);
    ASSERT_NE(at, text.npos) << old;
    for (std::string_view const value : values) {
        Vexo::String changed(text);
        changed.replace(at, old.size(), value);
        expectRefused<T>(changed, attribute);
    }
}

}  // namespace LpmTrieTest
