#include <LpmTrie/LpmTrieTypes.h>

#include <tests/LpmTrie/RecordParsing.h>

#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <string_view>
#include <type_traits>

namespace {

using namespace std::string_view_literals;
using LpmTrie::PartitionIdValue;
using LpmTrieTest::expectRefused;
using LpmTrieTest::refusalOf;
using Vexo::strepToValue;
using Vexo::String;
using Vexo::U32;
using Vexo::valueToStrep;

constexpr std::array<U32, 7> numbers{0, 1, 9, 17, 65541, 0x80000000U, 0xffffffffU};

static_assert(PartitionIdValue() == PartitionIdValue(0));
static_assert(sizeof(PartitionIdValue) == sizeof(U32));
static_assert(!std::is_convertible_v<U32, PartitionIdValue>);
static_assert(!std::is_convertible_v<PartitionIdValue, bool>);

TEST(PartitionIdValueTest, isItsNumber) {
    for (U32 const number : numbers) {
        PartitionIdValue const id(number);
        EXPECT_EQ(id.value(), number);
        EXPECT_EQ(id.hash(), number);
        EXPECT_EQ(static_cast<bool>(id), number != 0) << number;
    }
}

TEST(PartitionIdValueTest, isComparedAsANumber) {
    for (U32 const a : numbers) {
        for (U32 const b : numbers) {
            EXPECT_EQ(PartitionIdValue(a) == PartitionIdValue(b), a == b) << a << ' ' << b;
            EXPECT_EQ(PartitionIdValue(a) < PartitionIdValue(b), a < b) << a << ' ' << b;
        }
    }
}

TEST(PartitionIdValueTest, printsAsABareDecimalThatReadsBack) {
    for (U32 const number : numbers) {
        PartitionIdValue const id(number);
        String const text = std::to_string(number);
        std::ostringstream stream;
        stream << '<' << id << '>';
        EXPECT_EQ(stream.str(), "<" + text + ">");
        EXPECT_EQ(valueToStrep(id), text);
        EXPECT_EQ(strepToValue<PartitionIdValue>(text), id);
    }
}

TEST(PartitionIdValueTest, isReadUpToWhereTheDigitsEnd) {
    Vexo::CharRange range("17, 'more'");
    EXPECT_EQ(PartitionIdValue(range).value(), 17U);
    EXPECT_EQ(range.rest(), ", 'more'");
}

TEST(PartitionIdValueTest, isRefusedByTheNameValueWhenThereIsNoNumberOf32Bits) {
    for (auto const text :
         {""sv, " 17"sv, "-1"sv, "+17"sv, "x"sv, "True"sv, "None"sv, "'17'"sv, "\00017"sv,
          "4294967296"sv, "18446744073709551616"sv, "100000000000000000000000000000017"sv,
          "Value('LpmTrie::PartitionIdValue', ** {'value': 17})"sv}) {
        expectRefused<PartitionIdValue>(text, "value");
    }
}

TEST(PartitionIdValueTest, isRefusedWhenAnythingFollows) {
    for (auto const text : {"17 "sv, "17\n"sv, "17\0"sv, "17.0"sv, "17x"sv, "0x11"sv, "17,"sv}) {
        expectRefused<PartitionIdValue>(text, "");
    }
    EXPECT_FALSE(refusalOf<PartitionIdValue>("17").has_value());
}

}  // namespace
