#include <tools/InputKind.h>

#include <tests/tools/MrtBytes.h>
#include <tests/tools/MrtReading.h>
#include <tests/tools/Seed.h>

#include <gtest/gtest.h>

#include <random>

namespace LpmTools {
namespace {

using ToolsTest::MemorySource;
using ToolsTest::record;
using namespace std::string_literals;

TEST(InputKindTest, recordsOfEveryTypeAreMrt) {
    for (unsigned const type : {11U, 12U, 13U, 16U, 17U, 32U, 33U, 48U, 49U}) {
        for (unsigned const seconds : {0U, 900'000'000U, 1'400'000'000U, 0xffffffffU}) {
            EXPECT_TRUE(looksLikeMrt(record(type, 1, "", seconds))) << type << " at " << seconds;
        }
    }
    EXPECT_FALSE(looksLikeMrt(record(15, 1, "")));
    EXPECT_FALSE(looksLikeMrt(record(256 + 13, 1, "")));
    EXPECT_FALSE(looksLikeMrt(record(13, 200, "")));
}

TEST(InputKindTest, textIsNoMrt) {
    for (std::string const& text :
         {""s, "\n"s, "10.0.0.0/8\n"s, "::/0\n"s, "2001:db8::/32"s, "# a table\n10.0.0.0/8"s,
          "   \t\r\n\n\n\n"s, "::/0#\0\r\0\1"s, "#abc\0\r\0\1xxxx"s, " \t\n#\0\r\0\1xxxx"s,
          "\xff\xfe"
          "1\0"s +
              "0\0.\0"s,
          "\xfe\xff\0001\0000\0."s, "A 10.0.0.0/8\n"s}) {
        EXPECT_FALSE(looksLikeMrt(text)) << text;
    }
}

TEST(InputKindTest, beginningTooShortToTellIsText) {
    std::string const mrt = record(13, 1, "");
    for (std::size_t length = 0; length < inputHeadSize; ++length) {
        EXPECT_FALSE(looksLikeMrt(std::string_view(mrt).substr(0, length)));
    }
    EXPECT_TRUE(looksLikeMrt(std::string_view(mrt).substr(0, inputHeadSize)));
}

/** A line that a text table can begin with, with anything in its comment. */
TEST(InputKindTest, noTextTableIsEverMrt) {
    unsigned const seed = ToolsTest::newSeed();
    SCOPED_TRACE(ToolsTest::traceOf(seed));
    std::mt19937 random(seed);
    for (int i = 0; i < 100'000; ++i) {
        constexpr std::string_view blanks = " \t\r\v\f\n";
        std::string text;
        for (auto count = random() % 5; count > 0; --count) {
            text += blanks[random() % blanks.size()];
        }
        text += random() % 2 == 0 ? "" : "::/0";
        text += '#';
        while (text.size() < 12) {
            // Few different bytes, among them those that a header has.
            text += "\0\0\0\x0c\x0d\x10\x01"[random() % 7];
        }
        ASSERT_FALSE(looksLikeMrt(text)) << testing::PrintToString(text);
    }
}

TEST(InputKindTest, peekedBytesAreNotLost) {
    for (std::size_t size = 0; size < 20; ++size) {
        for (std::size_t const piece : {1U, 3U, 8U, 100U}) {
            std::string const bytes = "0123456789abcdefghij"s.substr(0, size);
            PeekedSource source(std::make_unique<MemorySource>(bytes, piece));
            std::string const head = bytes.substr(0, inputHeadSize);
            EXPECT_EQ(std::string(source.head().begin(), source.head().end()), head);
            std::string all;
            std::array<char, 5> buffer{};
            while (std::size_t const count = source.read(buffer)) {
                all.append(buffer.data(), count);
            }
            EXPECT_EQ(all, bytes);
            EXPECT_EQ(source.read(buffer), 0U);
            EXPECT_EQ(std::string(source.head().begin(), source.head().end()), head);
        }
    }
}

}  // namespace
}  // namespace LpmTools
