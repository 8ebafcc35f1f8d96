#include <Vexo/Hash.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Vexo::Hash;
using Vexo::hashOf;
using Vexo::U32;

U32 hashOfBytes(std::string_view bytes) {
    Hash hash;
    hash.hashMix(bytes.data(), bytes.size());
    return hash.result();
}

TEST(HashTest, isTheSameOnEveryMachine) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    EXPECT_EQ(Hash().result(), 0x74141c20U);
    EXPECT_EQ(hashOfBytes(std::string_view("\0", 1)), 0x261dd870U);
    EXPECT_EQ(hashOfBytes("a"), 0x6c4e37ebU);
    EXPECT_EQ(hashOfBytes("hello"), 0xeafeff6eU);
    EXPECT_EQ(hashOfBytes(all), 0xae9ca847U);
    EXPECT_EQ(hashOf(0), 0xc8b27205U);
    EXPECT_EQ(hashOf(1), 0x7d96a13fU);
    EXPECT_EQ(hashOf(0x01020304U), 0xc81737acU);
    EXPECT_EQ(hashOf(~0U), 0x77cb8c94U);
}

TEST(HashTest, aNumberIsItsFourBytesFromTheLeastSignificantOn) {
    EXPECT_EQ(hashOf(0x64636261U), hashOfBytes("abcd"));
}

TEST(HashTest, dependsOnAllBytesAndNotOnHowTheyArrive) {
    std::string_view const text = "a run of bytes";
    for (std::size_t cut = 0; cut <= text.size(); ++cut) {
        Hash hash;
        hash.hashMix(text.data(), cut);
        hash.hashMix(text.data() + cut, text.size() - cut);
        EXPECT_EQ(hash.result(), hashOfBytes(text)) << cut;
    }
    EXPECT_NE(hashOfBytes("ab"), hashOfBytes("ba"));
    EXPECT_NE(hashOfBytes(std::string_view("a\0", 2)), hashOfBytes("a"));
}

TEST(HashTest, noBytesChangeNothing) {
    Hash hash;
    hash.hashMix(nullptr, 0);
    EXPECT_EQ(hash.result(), Hash().result());
}

TEST(HashTest, theResultMayBeReadInBetween) {
    Hash hash;
    hash.hashMix("ab", 2);
    EXPECT_EQ(hash.result(), hashOfBytes("ab"));
    EXPECT_EQ(hash.result(), hashOfBytes("ab"));
    hash.hashMix("cd", 2);
    EXPECT_EQ(hash.result(), hashOfBytes("abcd"));
}

TEST(HashTest, everyBitOfANumberReachesEveryBitOfTheHash) {
    constexpr U32 numbers = 2000;
    std::array<std::array<U32, 32>, 32> flips{};
    for (U32 number = 0; number < numbers; ++number) {
        for (std::size_t in = 0; in < 32; ++in) {
            U32 const changed = hashOf(number) ^ hashOf(number ^ (1U << in));
            for (std::size_t out = 0; out < 32; ++out) {
                flips[in][out] += changed >> out & 1;
            }
        }
    }
    for (std::size_t in = 0; in < 32; ++in) {
        for (std::size_t out = 0; out < 32; ++out) {
            EXPECT_GT(flips[in][out], numbers * 3 / 10) << "bit " << in << " to bit " << out;
            EXPECT_LT(flips[in][out], numbers * 7 / 10) << "bit " << in << " to bit " << out;
        }
    }
}

TEST(HashTest, runsOfNumbersSpreadOverATable) {
    constexpr U32 cells = 1024;
    for (U32 const stride : {1U, 2U, 256U, 1024U, 65536U, 1U << 20}) {
        std::vector<U32> used(cells);
        for (U32 number = 0; number < cells; ++number) {
            ++used[hashOf(number * stride) % cells];
        }
        // Thrown at random, 1024 balls leave about 377 of 1024 cells empty and no cell with 12.
        std::size_t empty = 0;
        for (U32 const count : used) {
            empty += count == 0 ? 1 : 0;
            EXPECT_LT(count, 12U) << "stride " << stride;
        }
        EXPECT_LT(empty, 450U) << "stride " << stride;
    }
}

}  // namespace
