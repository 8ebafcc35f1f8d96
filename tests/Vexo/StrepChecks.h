#pragma once

#include <Vexo/Strep.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace VexoTest {

/** The text must be refused as a whole, with an error that names no attribute. */
template <class T>
void expectRefused(Vexo::String const& text) {
    SCOPED_TRACE(Vexo::quotedForMessage(text));
    try {
        Vexo::strepToValue<T>(text);
        ADD_FAILURE() << "has been read";
    } catch (Vexo::RangeException const& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr(Vexo::quotedForMessage(text)));
        EXPECT_EQ(error.attribute(), "");
    }
}

template <class T>
void expectRoundTrip(T const& value, Vexo::String const& text) {
    EXPECT_EQ(Vexo::valueToStrep(value), text);
    EXPECT_EQ(Vexo::strepToValue<T>(text), value) << text;
}

/** Blanks around a text, a NUL or anything else behind it: none of it belongs to the value. */
template <class T>
void expectNothingAround(Vexo::String const& text) {
    for (char const c : {' ', '\t', '\n', '\0', ',', '}', 'x', '\xff'}) {
        expectRefused<T>(text + c);
        expectRefused<T>(c + text);
    }
}

template <class T>
void expectTruncationsRefused(Vexo::String const& text) {
    for (std::size_t length = 0; length < text.size(); ++length) {
        expectRefused<T>(text.substr(0, length));
    }
}

}  // namespace VexoTest
