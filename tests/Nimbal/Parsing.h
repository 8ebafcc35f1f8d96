#pragma once

#include <Vexo/CharRange.h>
#include <Vexo/RangeException.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <vector>

/*
 * What every parser of this folder is put through. A parser is called with a string_view and throws
 * a RangeException or answers a value.
 */

namespace NimbalTest {

using Vexo::String;

/** What is wrong with the text; none when it is accepted. */
template <class Parser>
std::optional<String> refusalOf(Parser const& parser, std::string_view text) {
    // Storage of the text's size and no NUL after it, so that an address sanitizer sees reads past
    // it.
    std::vector<char> const exact(text.begin(), text.end());
    try {
        parser(std::string_view(exact.data(), exact.size()));
        return std::nullopt;
    } catch (Vexo::RangeException const& error) {
        return error.what();
    }
}

template <class Parser>
bool accepts(Parser const& parser, std::string_view text) {
    return !refusalOf(parser, text).has_value();
}

struct Refused {
    std::string_view text;
    std::string_view wrong;
};

/** The message is the quoted text, a colon and what is wrong. */
template <class Parser>
void expectRefused(Parser const& parser, std::initializer_list<Refused> cases) {
    for (auto const& [text, wrong] : cases) {
        String const quoted = Vexo::quotedForMessage(text);
        EXPECT_EQ(refusalOf(parser, text).value_or(quoted + " is accepted"),
                  quoted + ": " + String(wrong));
    }
}

/** Of the text's beginnings, short of the whole, only `valid` are accepted. */
template <class Parser>
void expectTruncationsRefused(Parser const& parser, std::string_view text,
                              std::initializer_list<std::string_view> valid = {}) {
    EXPECT_TRUE(accepts(parser, text)) << text;
    for (std::size_t size = 0; size < text.size(); ++size) {
        std::string_view const cut = text.substr(0, size);
        bool const isValid = std::find(valid.begin(), valid.end(), cut) != valid.end();
        EXPECT_EQ(accepts(parser, cut), isValid) << cut;
    }
}

/** Bytes that do not belong there, put before, between, after and in place of others, are refused.
 */
template <class Parser>
void expectForeignBytesRefused(Parser const& parser, std::string_view text) {
    EXPECT_TRUE(accepts(parser, text)) << text;
    for (char const foreign : std::string_view("\0 \t\n\v\f\r+-*xXgGoO%,;\x7f\x80\xb9\xff", 23)) {
        for (std::size_t at = 0; at <= text.size(); ++at) {
            String changed(text);
            changed.insert(at, 1, foreign);
            EXPECT_FALSE(accepts(parser, changed)) << Vexo::quotedForMessage(changed);
            if (at < text.size() && text[at] != foreign) {
                changed = text;
                changed[at] = foreign;
                EXPECT_FALSE(accepts(parser, changed)) << Vexo::quotedForMessage(changed);
            }
        }
    }
}

/** However long the text, it is refused, and the message stays of a size to be read. */
template <class Parser>
void expectRefusedBriefly(Parser const& parser, String const& text) {
    auto const refusal = refusalOf(parser, text);
    ASSERT_TRUE(refusal.has_value());
    EXPECT_LT(refusal->size(), 1200U);
}

}  // namespace NimbalTest
