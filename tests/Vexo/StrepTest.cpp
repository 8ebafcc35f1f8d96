#include <Vexo/Strep.h>

#include <gmock/gmock.h>
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

/** The text must be refused as a whole, with an error that names no attribute. */
template <class T>
void expectRefused(String const& text) {
    SCOPED_TRACE(Vexo::quotedForMessage(text));
    try {
        strepToValue<T>(text);
        ADD_FAILURE() << "has been read";
    } catch (RangeException const& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr(Vexo::quotedForMessage(text)));
        EXPECT_EQ(error.attribute(), "");
    }
}

template <class T>
void expectRoundTrip(T const& value, String const& text) {
    EXPECT_EQ(valueToStrep(value), text);
    EXPECT_EQ(strepToValue<T>(text), value) << text;
}

/** Blanks around a text, a NUL or anything else behind it: none of it belongs to the value. */
template <class T>
void expectNothingAround(String const& text) {
    for (char const c : {' ', '\t', '\n', '\0', ',', '}', 'x', '\xff'}) {
        expectRefused<T>(text + c);
        expectRefused<T>(c + text);
    }
}

template <class T>
void expectTruncationsRefused(String const& text) {
    for (std::size_t length = 0; length < text.size(); ++length) {
        expectRefused<T>(text.substr(0, length));
    }
}

TEST(StrepTest, booleansAreTrueAndFalse) {
    expectRoundTrip(true, "True");
    expectRoundTrip(false, "False");
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

TEST(StrepPointerTest, isANumberOrNone) {
    expectRoundTrip<void*>(nullptr, "None");
    int object = 0;
    void* const pointer = &object;
    EXPECT_EQ(valueToStrep(pointer), Vexo::formatString("%p", pointer));
    EXPECT_EQ(strepToValue<void*>(valueToStrep(pointer)), pointer);
    expectRoundTrip(reinterpret_cast<void*>(std::uintptr_t{0xabcdef}), "0xabcdef");
    expectRoundTrip(reinterpret_cast<void*>(UINTPTR_MAX), "0x" + String(2 * sizeof(void*), 'f'));
}

TEST(StrepPointerTest, anyClassOfObjectIsWrittenSo) {
    class Unknown;
    auto* const object = reinterpret_cast<Unknown*>(std::uintptr_t{0x40});
    EXPECT_EQ(valueToStrep(object), "0x40");
}

TEST(StrepPointerTest, mayBePaddedToItsFullWidth) {
    String const digits = "000000000000abcd";
    EXPECT_EQ(strepToValue<void*>("0x" + digits.substr(16 - 2 * sizeof(void*))),
              reinterpret_cast<void*>(std::uintptr_t{0xabcd}));
    EXPECT_EQ(strepToValue<void*>("0x0"), nullptr);
}

TEST(StrepPointerTest, isRefusedWithMoreDigitsThanAPointerHas) {
    std::size_t const digits = 2 * sizeof(void*);
    expectRefused<void*>("0x1" + String(digits, '0'));
    expectRefused<void*>("0x" + String(digits + 1, 'f'));
    expectRefused<void*>("0x" + String(digits, '0') + "1");
    expectRefused<void*>("0x" + String(100'000, '0'));
    expectRefused<void*>("0x" + String(100'000, 'f'));
}

TEST(StrepPointerTest, isRefusedInAnyOtherForm) {
    for (char const* text : {"", "0x", "0", "12", "abcd", "0Xab", "0xAB", "0xg", "x1", "none",
                             "null", "(nil)", "True", "'0x1'", "0x-1", "0x 1", "None0x1"}) {
        expectRefused<void*>(text);
    }
    expectTruncationsRefused<void*>("None");
    expectNothingAround<void*>("None");
    expectNothingAround<void*>("0x12");
    expectRefused<void*>("0x\0001"s);
}

/** Reads itself, two letters. */
struct Code {
    explicit Code(CharRange& range) {
        if (range.rest().size() < 2) {
            range.fail("two letters");
        }
        letters_ = range.rest().substr(0, 2);
        range.advance(2);
    }
    String letters_;
};

TEST(StrepClassTest, readsItselfByItsConstructor) {
    EXPECT_EQ(strepToValue<Code>("ab").letters_, "ab");
    EXPECT_THROW(strepToValue<Code>("a"), RangeException);
    EXPECT_THROW(strepToValue<Code>("abc"), RangeException);
}

template <class T>
void expectFailureOf(String const& attribute, String const& text) {
    CharRange range(text);
    try {
        Vexo::deserializeAttr<T>(range, attribute.c_str());
        ADD_FAILURE() << text << " has been read";
    } catch (RangeException const& error) {
        EXPECT_EQ(error.attribute(), attribute);
        EXPECT_THAT(error.what(), testing::HasSubstr("'" + attribute + "'"));
        EXPECT_THAT(error.what(), testing::HasSubstr(Vexo::quotedForMessage(text)));
    }
}

TEST(DeserializeAttrTest, anErrorNamesTheAttribute) {
    expectFailureOf<bool>("dirty", "dirty");
    expectFailureOf<U32>("level", "4294967296");
    expectFailureOf<String>("name", "name");
    expectFailureOf<void*>("node", "0xzz");
    expectFailureOf<Code>("code", "a");
}

TEST(DeserializeAttrTest, readsOneValueAndLeavesTheRest) {
    String const text = "True17'x'0xa0ab!";
    CharRange range(text);
    EXPECT_TRUE(Vexo::deserializeAttr<bool>(range, "a"));
    EXPECT_EQ(Vexo::deserializeAttr<unsigned int>(range, "b"), 17U);
    EXPECT_EQ(Vexo::deserializeAttr<String>(range, "c"), "x");
    EXPECT_EQ(Vexo::deserializeAttr<void*>(range, "d"),
              reinterpret_cast<void*>(std::uintptr_t{0xa0ab}));
    EXPECT_EQ(range.rest(), "!");
}

struct Throwing {
    explicit Throwing(CharRange&) { throw std::bad_alloc(); }
};

TEST(DeserializeAttrTest, otherExceptionsPassUntouched) {
    CharRange range("x");
    EXPECT_THROW(Vexo::deserializeAttr<Throwing>(range, "a"), std::bad_alloc);
}

}  // namespace
