#include <Vexo/Types.h>

#include <tests/Support/AllocationFailure.h>

#include <gtest/gtest.h>

#include <new>
#include <type_traits>

namespace {

using Vexo::formatString;
using Vexo::String;

TEST(TypesTest, numbersHaveTheWidthOfTheirName) {
    EXPECT_TRUE((std::is_same_v<Vexo::U8, std::uint8_t>));
    EXPECT_TRUE((std::is_same_v<Vexo::U16, std::uint16_t>));
    EXPECT_TRUE((std::is_same_v<Vexo::U32, std::uint32_t>));
    EXPECT_TRUE((std::is_same_v<Vexo::U64, std::uint64_t>));
}

TEST(FormatStringTest, formatsAsPrintf) {
    EXPECT_EQ(formatString("plain"), "plain");
    EXPECT_EQ(formatString("%u of %s, %5.2f%%", 7U, "nine", 1.5), "7 of nine,  1.50%");
    EXPECT_EQ(formatString("%#x", 0xabcU), "0xabc");
    EXPECT_EQ(formatString("%s", ""), "");
}

TEST(FormatStringTest, keepsAnEmbeddedNul) {
    EXPECT_EQ(formatString("a%cb", 0), String("a\0b", 3));
}

TEST(FormatStringTest, hasNoLimitOfLength) {
    String const large(100'000, 'x');
    EXPECT_EQ(formatString("<%s>", large.c_str()), "<" + large + ">");
}

TEST(FormatStringTest, throwsWhenMemoryEnds) {
    String const large(1000, 'x');
    String text = "before";
    Vexo::U64 const sites = TestSupport::failEachAllocation(
        [&] { text = formatString("%s", large.c_str()); }, [&] { EXPECT_EQ(text, "before"); });
    EXPECT_EQ(sites, 1U);
    EXPECT_EQ(text, large);
}

}  // namespace
