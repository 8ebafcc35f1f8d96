#include <Vexo/Strep.h>

#include <tests/Support/AttributeRequests.h>
#include <tests/Vexo/StrepChecks.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <vector>

namespace {

using namespace std::string_literals;
using Vexo::CharRange;
using Vexo::RangeException;
using Vexo::strepToValue;
using Vexo::String;
using Vexo::U16;
using Vexo::U32;
using Vexo::U64;
using Vexo::U8;
using Vexo::valueToStrep;
using VexoTest::expectNothingAround;
using VexoTest::expectRefused;
using VexoTest::expectRoundTrip;
using VexoTest::expectTruncationsRefused;

TEST(StrepTest, booleansAreTrueAndFalse) {
    expectRoundTrip(true, "True");
    expectRoundTrip(false, "False");
}

TEST(StrepTest, aBooleanIsReadOverWhateverWasThere) {
    for (bool const before : {false, true}) {
        bool value = before;
        CharRange no("False");
        sequenceToValue(no, &value);
        EXPECT_FALSE(value);
        value = before;
        CharRange yes("True");
        sequenceToValue(yes, &value);
        EXPECT_TRUE(value);
    }
}

TEST(StrepTest, nothingElseIsABoolean) {
    for (char const* text : {"true", "TRUE", "1", "0", "None", "'True'", "FalsE", "TrueFalse"}) {
        expectRefused<bool>(text);
    }
    for (char const* text : {"True", "False"}) {
        expectTruncationsRefused<bool>(text);
        expectNothingAround<bool>(text);
    }
    expectRefused<bool>("Tr\0ue"s);
}

template <class T>
class StrepNumberTest : public testing::Test {};
using NumberTypes = testing::Types<U8, U16, U32, U64, unsigned long, unsigned long long>;
TYPED_TEST_SUITE(StrepNumberTest, NumberTypes);

TYPED_TEST(StrepNumberTest, areWrittenAndReadInDecimal) {
    for (TypeParam const value : {TypeParam{0}, TypeParam{1}, TypeParam{9}, TypeParam{10},
                                  TypeParam{100}, std::numeric_limits<TypeParam>::max()}) {
        expectRoundTrip(value, std::to_string(value));
    }
}

/** The decimal text of `number` + 1, without regard to any width. */
String plusOne(String number) {
    auto digit = number.rbegin();
    for (; digit != number.rend() && *digit == '9'; ++digit) {
        *digit = '0';
    }
    if (digit == number.rend()) {
        return "1" + number;
    }
    ++*digit;
    return number;
}

TYPED_TEST(StrepNumberTest, areRefusedBeyondTheirWidth) {
    String const largest = std::to_string(std::numeric_limits<TypeParam>::max());
    expectRefused<TypeParam>(plusOne(largest));
    expectRefused<TypeParam>(largest + "0");
    expectRefused<TypeParam>("18446744073709551616");
    expectRefused<TypeParam>("36893488147419103232");
    expectRefused<TypeParam>("340282366920938463463374607431768211456");
    expectRefused<TypeParam>(String(100'000, '9'));
    expectRefused<TypeParam>("1" + String(100'000, '0'));
}

TYPED_TEST(StrepNumberTest, areDigitsAndNothingElse) {
    for (char const* text : {"", "-1", "+1", "0x1", "1.0", "1e2", "None", "True", "'1'", "a", "1a",
                             "1 2", "1_0", "\xd9\xa1"}) {
        expectRefused<TypeParam>(text);
    }
    expectNothingAround<TypeParam>("17");
    expectRefused<TypeParam>("1\0007"s);
    expectRefused<TypeParam>("\0"s);
}

TYPED_TEST(StrepNumberTest, haveOneTextEach) {
    for (char const* text : {"00", "01", "007", "00000000000000000000000000000001"}) {
        expectRefused<TypeParam>(text);
    }
}

TEST(SequenceToNumberTest, keepsToTheLimit) {
    struct Case {
        U64 largest;
        char const* text;
        std::optional<U64> value;
    };
    for (Case const& c : std::vector<Case>{
             {0, "0", 0},
             {0, "1", {}},
             {9, "9", 9},
             {9, "10", {}},
             {128, "128", 128},
             {128, "129", {}},
             {128, "1280", {}},
             {~U64{0}, "18446744073709551615", ~U64{0}},
             {~U64{0}, "18446744073709551616", {}},
             {~U64{0}, "99999999999999999999", {}},
         }) {
        SCOPED_TRACE(c.text);
        CharRange range(c.text);
        if (c.value) {
            EXPECT_EQ(Vexo::sequenceToNumber(range, c.largest), *c.value);
            EXPECT_TRUE(range.empty());
        } else {
            EXPECT_THROW(Vexo::sequenceToNumber(range, c.largest), RangeException);
        }
    }
}

TEST(SequenceToNumberTest, leavesWhatFollowsTheDigits) {
    CharRange range("12, 'bit'");
    EXPECT_EQ(Vexo::sequenceToNumber(range, 100), 12U);
    EXPECT_EQ(range.rest(), ", 'bit'");
}

TEST(StrepStringTest, standsInQuotesWithEscapes) {
    expectRoundTrip(""s, "''");
    expectRoundTrip("Some::Type"s, "'Some::Type'");
    expectRoundTrip("it's"s, "'it\\'s'");
    expectRoundTrip("back\\slash"s, "'back\\\\slash'");
    expectRoundTrip("\"double\""s, "'\"double\"'");
    expectRoundTrip("a\0b\n\x7f\xff"s, "'a\\x00b\\x0a\\x7f\\xff'");
    expectRoundTrip("\\x41"s, "'\\\\x41'");
}

TEST(StrepStringTest, anyBytesSurvive) {
    String all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
        expectRoundTrip(String(1, static_cast<char>(byte)),
                        valueToStrep(String(1, static_cast<char>(byte))));
    }
    EXPECT_EQ(strepToValue<String>(valueToStrep(all)), all);
    EXPECT_EQ(strepToValue<String>(valueToStrep(valueToStrep(all))), valueToStrep(all));
    String const large(100'000, '\'');
    EXPECT_EQ(strepToValue<String>(valueToStrep(large)), large);
}

TEST(StrepStringTest, randomBytesSurvive) {
    U32 const seed = std::random_device{}();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 500; ++round) {
        String value;
        for (U32 left = static_cast<U32>(random() % 40); left > 0; --left) {
            value += static_cast<char>(random());
        }
        ASSERT_EQ(strepToValue<String>(valueToStrep(value)), value);
    }
}

TEST(StrepStringTest, isRefusedWhenItIsCutShort) {
    expectTruncationsRefused<String>("'it\\'s \\\\ a \\x00 text'");
}

TEST(StrepStringTest, isRefusedInAnyOtherForm) {
    for (char const* text : {"text", "\"text\"", "'a'b'", "'\\n'", "'\\q'", "'\\x4'", "'\\xg0'",
                             "'\\x0g'", "'\\xFF'", "'\\X00'", "None", "''''"}) {
        expectRefused<String>(text);
    }
    expectNothingAround<String>("'text'");
}

TEST(StrepStringTest, isRefusedInATextThatNoWriterProduces) {
    expectRefused<String>("'a\0b'"s);
    expectRefused<String>("'a\nb'");
    expectRefused<String>("'\xc3\xa4'");
    expectRefused<String>("'\\x41'");
    expectRefused<String>("'\\x27'");
}

TEST(StrepStringTest, aRefusalTellsWhatIsMissingWhere) {
    auto const told = [](String const& text) {
        return TestSupport::messageOf<RangeException>([&text] { strepToValue<String>(text); });
    };
    EXPECT_EQ(told("'ab"),
              "''ab': expected a closing quote at offset 3, found the end of the text");
    EXPECT_EQ(told("'a\nb'"), "''a\\x0ab'': expected a byte that prints, or its code at offset 2, "
                              "found '\\x0ab''");
    EXPECT_EQ(told("'\\xg0'"),
              "''\\xg0'': expected two hexadecimal digits at offset 3, found 'g0''");
    EXPECT_EQ(told("'\\x0g'"),
              "''\\x0g'': expected two hexadecimal digits at offset 4, found 'g''");
}

}  // namespace
