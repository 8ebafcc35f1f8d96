#include <Vexo/CharRange.h>

#include <tests/Vexo/CountedTypes.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using Vexo::CharRange;
using Vexo::quotedForMessage;
using Vexo::RangeException;
using Vexo::String;

/** The message of the RangeException that the call throws. */
template <class Call>
String messageOf(Call const& call) {
    try {
        call();
    } catch (RangeException const& error) {
        EXPECT_EQ(error.attribute(), "");
        return error.what();
    }
    ADD_FAILURE() << "no RangeException";
    return {};
}

TEST(CharRangeTest, beginsAtTheBeginning) {
    CharRange const range("abc");
    EXPECT_FALSE(range.empty());
    EXPECT_EQ(range.front(), 'a');
    EXPECT_EQ(range.rest(), "abc");
    EXPECT_EQ(range.text(), "abc");
    EXPECT_EQ(range.offset(), 0U);
}

TEST(CharRangeTest, anEmptyTextIsAllConsumed) {
    CharRange const range("");
    EXPECT_TRUE(range.empty());
    EXPECT_EQ(range.front(), '\0');
    EXPECT_EQ(range.rest(), "");
    EXPECT_NO_THROW(range.checkAllDataConsumed());
}

TEST(CharRangeTest, advancesToTheEndAndNoFurther) {
    CharRange range("abc");
    range.advance(2);
    EXPECT_EQ(range.rest(), "c");
    EXPECT_EQ(range.offset(), 2U);
    range.advance(0);
    EXPECT_EQ(range.offset(), 2U);
    range.advance(~std::size_t{0});
    EXPECT_TRUE(range.empty());
    EXPECT_EQ(range.offset(), 3U);
    EXPECT_EQ(range.front(), '\0');
    EXPECT_EQ(range.text(), "abc");
}

TEST(CharRangeTest, consumesALiteralOrNothing) {
    CharRange range("Value('x')");
    EXPECT_TRUE(range.consume("Value("));
    EXPECT_FALSE(range.consume("'y"));
    EXPECT_EQ(range.offset(), 6U);
    EXPECT_TRUE(range.consume(""));
    EXPECT_EQ(range.offset(), 6U);
    EXPECT_FALSE(range.consume("'x')+"));
    EXPECT_TRUE(range.consume("'x')"));
    EXPECT_TRUE(range.empty());
    EXPECT_FALSE(range.consume("x"));
}

TEST(CharRangeTest, skipsNoWhiteSpaceBeforeALiteral) {
    for (char const* text : {" x", "\tx", "\nx", "X", ""}) {
        CharRange range(text);
        EXPECT_FALSE(range.consume("x")) << text;
        EXPECT_THROW(range.needString("x"), RangeException) << text;
        EXPECT_EQ(range.offset(), 0U);
    }
}

TEST(CharRangeTest, needsEveryByteOfALiteral) {
    String const literal = "Value('Some::Type', ** {";
    for (std::size_t length = 0; length < literal.size(); ++length) {
        String const text = literal.substr(0, length);
        CharRange range(text);
        EXPECT_THROW(range.needString(literal), RangeException) << text;
        EXPECT_EQ(range.offset(), 0U);
        String wrong = literal;
        wrong[length] ^= 1;
        CharRange wrongRange(wrong);
        EXPECT_THROW(wrongRange.needString(literal), RangeException) << wrong;
    }
    CharRange range(literal);
    EXPECT_NO_THROW(range.needString(literal));
    EXPECT_TRUE(range.empty());
}

TEST(CharRangeTest, aNulIsAByteLikeOthers) {
    String const text("a\0b", 3);
    CharRange range(text);
    range.needString("a");
    EXPECT_FALSE(range.empty());
    EXPECT_EQ(range.front(), '\0');
    EXPECT_THROW(range.checkAllDataConsumed(), RangeException);
    range.needString(String(1, '\0'));
    EXPECT_EQ(range.rest(), "b");
    EXPECT_EQ(messageOf([&] { range.checkAllDataConsumed(); }),
              "'a\\x00b': expected the end of the text at offset 2, found 'b'");
}

TEST(CharRangeTest, anErrorQuotesTheTextAndTellsTheOffset) {
    CharRange range("bits 12");
    range.needString("bits ");
    EXPECT_EQ(messageOf([&] { range.needString("13"); }),
              "'bits 12': expected '13' at offset 5, found '12'");
    EXPECT_EQ(messageOf([&] { range.fail("a colour"); }),
              "'bits 12': expected a colour at offset 5, found '12'");
    EXPECT_EQ(messageOf([&] { range.checkAllDataConsumed(); }),
              "'bits 12': expected the end of the text at offset 5, found '12'");
    range.advance(2);
    EXPECT_EQ(messageOf([&] { range.needString("x"); }),
              "'bits 12': expected 'x' at offset 7, found the end of the text");
}

TEST(CharRangeTest, whatIsNoValueOfATypeIsToldWithTheTypesName) {
    CharRange range("Object('A', 0x1), more");
    range.needString("Object('A', 0x1)");
    String const message =
        messageOf([&] { CharRange::cannotConvert(range, VexoTest::Body::fwkType_); });
    EXPECT_THAT(message, HasSubstr("Object('A', 0x1)"));
    EXPECT_THAT(message, HasSubstr("VexoTest::Body"));
}

TEST(QuotedForMessageTest, standsInSingleQuotesWithBytesThatDoNotPrintEscaped) {
    EXPECT_EQ(quotedForMessage(""), "''");
    EXPECT_EQ(quotedForMessage("10.0.0.0/8"), "'10.0.0.0/8'");
    EXPECT_EQ(quotedForMessage(String("\0\t\n\x1b\x7f\x80\xff", 7)),
              "'\\x00\\x09\\x0a\\x1b\\x7f\\x80\\xff'");
    EXPECT_EQ(quotedForMessage(" ~"), "' ~'");
}

TEST(QuotedForMessageTest, aLongTextIsCut) {
    String const enormous(1'000'000, 'x');
    String const quoted = quotedForMessage(enormous);
    EXPECT_LT(quoted.size(), 1000U);
    EXPECT_THAT(quoted, testing::StartsWith("'xxxxxxxxxx"));
    EXPECT_THAT(quoted, testing::EndsWith("..."));
}

TEST(QuotedForMessageTest, theMessageOfALongTextIsNotLongEither) {
    String const enormous(1'000'000, '\0');
    CharRange const range(enormous);
    EXPECT_LT(messageOf([&] { range.checkAllDataConsumed(); }).size(), 2000U);
}

}  // namespace
