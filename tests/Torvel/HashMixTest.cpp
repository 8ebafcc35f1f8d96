#include <Torvel/HashMix.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <numeric>
#include <set>
#include <span>
#include <vector>

namespace {

using Torvel::HashMix;
using Torvel::U32;
using Vexo::U8;

U32 hashOf(std::span<U8 const> bytes, U32 start = 0) {
    HashMix mix(start);
    mix.mix(bytes.data(), bytes.size());
    return static_cast<U32>(mix);
}

/** The size of an address prefix, which is what gets hashed most. */
using Bytes = std::array<U8, 24>;

Bytes counting(U8 first) {
    Bytes bytes{};
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

TEST(HashMixTest, equalBytesGiveEqualHashesWhereverTheyStand) {
    Bytes const bytes = counting(1);
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        U32 const expected = hashOf(std::span(bytes).first(size));
        for (std::size_t shift = 0; shift < 8; ++shift) {
            std::vector<U8> elsewhere(shift, 0xee);
            elsewhere.insert(elsewhere.end(), bytes.begin(),
                             bytes.begin() + static_cast<std::ptrdiff_t>(size));
            elsewhere.shrink_to_fit();
            EXPECT_EQ(hashOf(std::span(elsewhere).subspan(shift)), expected)
                << size << ' ' << shift;
        }
    }
}

TEST(HashMixTest, theSameStepsGiveTheSameHash) {
    Bytes const bytes = counting(7);
    HashMix first(5);
    HashMix second(5);
    for (std::size_t size : {3U, 8U, 1U, 24U}) {
        first.mix(bytes.data(), size);
        second.mix(bytes.data(), size);
    }
    EXPECT_EQ(static_cast<U32>(first), static_cast<U32>(second));
}

TEST(HashMixTest, readingTheHashDoesNotChangeIt) {
    HashMix mix(0);
    Bytes const bytes = counting(1);
    mix.mix(bytes.data(), bytes.size());
    U32 const once = static_cast<U32>(mix);
    EXPECT_EQ(static_cast<U32>(mix), once);
    mix.mix(bytes.data(), bytes.size());
    EXPECT_NE(static_cast<U32>(mix), once);
}

TEST(HashMixTest, noBytesAtAllCanBeMixed) {
    HashMix mix(0);
    mix.mix(nullptr, 0);
    HashMix other(0);
    other.mix(nullptr, 0);
    EXPECT_EQ(static_cast<U32>(mix), static_cast<U32>(other));
}

TEST(HashMixTest, runsOfZeroBytesDifferByTheirLength) {
    std::vector<U8> const zeros(64);
    std::set<U32> hashes;
    for (std::size_t size = 0; size <= zeros.size(); ++size) {
        hashes.insert(hashOf(std::span(zeros).first(size)));
    }
    EXPECT_EQ(hashes.size(), zeros.size() + 1);
}

TEST(HashMixTest, aTrailingZeroByteMakesADifference) {
    for (std::size_t size = 0; size < 32; ++size) {
        std::vector<U8> bytes(size);
        std::iota(bytes.begin(), bytes.end(), U8{1});
        U32 const shorter = hashOf(bytes);
        bytes.push_back(0);
        EXPECT_NE(hashOf(bytes), shorter) << size;
    }
}

TEST(HashMixTest, theStartTakesPart) {
    Bytes const bytes = counting(1);
    std::set<U32> hashes;
    for (U32 start = 0; start < 100; ++start) {
        hashes.insert(hashOf(bytes, start));
    }
    EXPECT_EQ(hashes.size(), 100U);
}

TEST(HashMixTest, theOrderOfBytesAndOfWordsTakesPart) {
    Bytes const bytes = counting(1);
    for (std::size_t width : {1U, 4U, 8U}) {
        Bytes swapped = bytes;
        std::rotate(swapped.begin(), swapped.begin() + static_cast<std::ptrdiff_t>(width),
                    swapped.begin() + static_cast<std::ptrdiff_t>(2 * width));
        EXPECT_NE(hashOf(swapped), hashOf(bytes)) << width;
    }
}

void flip(Bytes& bytes, std::size_t bit) {
    bytes[bit / 8] ^= static_cast<U8>(1U << (bit % 8));
}

TEST(HashMixTest, changesOfOneAndTwoBitsAllGiveHashesOfTheirOwn) {
    // 18529 values: by chance two of them would share a hash in one of 25 such tests.
    Bytes bytes = counting(1);
    std::set<U32> hashes{hashOf(bytes)};
    std::size_t values = 1;
    for (std::size_t first = 0; first < 8 * bytes.size(); ++first) {
        flip(bytes, first);
        hashes.insert(hashOf(bytes));
        ++values;
        for (std::size_t second = 0; second < first; ++second) {
            flip(bytes, second);
            hashes.insert(hashOf(bytes));
            ++values;
            flip(bytes, second);
        }
        flip(bytes, first);
    }
    EXPECT_EQ(hashes.size(), values);
}

TEST(HashMixTest, runsOfUpToTwoBytesHardlyShareHashes) {
    std::set<U32> hashes{hashOf({})};
    for (U32 i = 0; i < 0x10000; ++i) {
        std::array<U8, 2> const bytes{static_cast<U8>(i >> 8), static_cast<U8>(i)};
        hashes.insert(hashOf(bytes));
        if (i < 0x100) {
            hashes.insert(hashOf(std::span(bytes).last(1)));
        }
    }
    // By chance half a pair would share one.
    EXPECT_GE(hashes.size(), 1U + 0x100 + 0x10000 - 5);
}

TEST(HashMixTest, oneChangedBitChangesAboutHalfOfTheHash) {
    Bytes bytes = counting(1);
    U32 const base = hashOf(bytes);
    std::array<int, 32> flips{};
    int all = 0;
    for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
        flip(bytes, bit);
        U32 const changed = base ^ hashOf(bytes);
        flip(bytes, bit);
        all += std::popcount(changed);
        for (std::size_t i = 0; i < flips.size(); ++i) {
            flips[i] += static_cast<int>((changed >> i) & 1U);
        }
    }
    // 192 changes: an average of 96 flips for each bit of the hash.
    EXPECT_GT(all, 32 * 96 * 9 / 10);
    EXPECT_LT(all, 32 * 96 * 11 / 10);
    for (int const flipsOfBit : flips) {
        EXPECT_GT(flipsOfBit, 60);
        EXPECT_LT(flipsOfBit, 132);
    }
}

TEST(HashMixTest, consecutiveAddressesSpreadOverAPowerOfTwo) {
    // Tables take the low bits of a hash. 4096 balls in 1024 bins: 18 or more in one is next to
    // none.
    std::array<int, 1024> bins{};
    for (U32 i = 0; i < 4096; ++i) {
        Bytes bytes{1, 0, 0, 0, 10, 0, static_cast<U8>(i >> 8), static_cast<U8>(i)};
        bytes[20] = 32;
        ++bins.at(hashOf(bytes) % bins.size());
    }
    EXPECT_LT(*std::max_element(bins.begin(), bins.end()), 18);
}

}  // namespace
