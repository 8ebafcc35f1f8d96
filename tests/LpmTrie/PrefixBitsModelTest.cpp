#include <LpmTrie/PrefixBits.h>

#include <Nimbal/IpGenPrefix.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <vector>

namespace {

using LpmTrie::commonPrefixLen;
using LpmTrie::prefixFromLen;
using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;
using Vexo::U32;
using Vexo::U8;

/** About each word's and each family's end, and far beyond. */
constexpr std::array<U32, 23> lengths{0,   1,   7,   8,   16,          24,          31,         32,
                                      33,  40,  63,  64,  65,          96,          97,         127,
                                      128, 129, 160, 200, 0x7fffffffU, 0x80000020U, 0xffffffffU};

U32 bitOf(std::array<U8, 16> const& address, U32 position) {
    return (address[position / 8] >> (7 - position % 8)) & 1U;
}

void bitIs(std::array<U8, 16>& address, U32 position, U32 bit) {
    U8 const mask = static_cast<U8>(0x80U >> position % 8);
    U8& byte = address[position / 8];
    byte = static_cast<U8>(bit != 0 ? byte | mask : byte & ~mask);
}

/** Bit by bit. An address has 128 of them, those that IPv4 does not use being zero. */
U32 commonByBits(IpGenPrefix const& a, IpGenPrefix const& b) {
    U32 common = 0;
    while (common < 128 && common < a.len() && common < b.len() &&
           bitOf(a.address(), common) == bitOf(b.address(), common)) {
        ++common;
    }
    return common;
}

std::array<U8, 16> truncatedByBits(IpGenPrefix const& prefix, U32 len) {
    std::array<U8, 16> address{};
    for (U32 position = 0; position < 128 && position < len; ++position) {
        bitIs(address, position, bitOf(prefix.address(), position));
    }
    return address;
}

class PrefixBitsModelTest : public testing::TestWithParam<AddressFamily> {
protected:
    /**
     * A random address and, for every position, one that is the same up to there, differs there
     * and goes on at random.
     */
    std::vector<std::array<U8, 16>> addresses() {
        std::vector<std::array<U8, 16>> all{randomAddress()};
        for (U32 position = 0; position < Nimbal::maxPrefixLen(GetParam()); ++position) {
            std::array<U8, 16> address = randomAddress();
            for (U32 bit = 0; bit <= position; ++bit) {
                bitIs(address, bit, bitOf(all.front(), bit) ^ (bit == position ? 1U : 0U));
            }
            all.push_back(address);
        }
        return all;
    }
    static IpGenPrefix prefix(std::array<U8, 16> const& address, U32 len) {
        return {GetParam(), address, len};
    }

private:
    std::array<U8, 16> randomAddress() {
        std::array<U8, 16> address{};
        std::generate(address.begin(), address.end(),
                      [this] { return static_cast<U8>(random_()); });
        return address;
    }

    std::mt19937 random_{20240229};
};

INSTANTIATE_TEST_SUITE_P(Families, PrefixBitsModelTest,
                         testing::Values(AddressFamily::ipv4, AddressFamily::ipv6),
                         [](auto const& family) {
                             return family.param == AddressFamily::ipv4 ? "ipv4" : "ipv6";
                         });

TEST_P(PrefixBitsModelTest, commonPrefixLenIsWhatCountingBitByBitGives) {
    auto const all = addresses();
    for (auto const& other : all) {
        for (U32 const aLen : lengths) {
            for (U32 const bLen : lengths) {
                IpGenPrefix const a = prefix(all.front(), aLen);
                IpGenPrefix const b = prefix(other, bLen);
                ASSERT_EQ(commonPrefixLen(a, b), commonByBits(a, b)) << a << " and " << b;
                ASSERT_EQ(commonPrefixLen(b, a), commonByBits(a, b)) << b << " and " << a;
            }
        }
    }
}

TEST_P(PrefixBitsModelTest, prefixFromLenIsWhatClearingBitByBitGives) {
    for (auto const& address : addresses()) {
        for (U32 const ownLen : {U32{0}, U32{8}, U32{128}}) {
            IpGenPrefix const whole = prefix(address, ownLen);
            for (U32 len = 0; len <= 140; ++len) {
                IpGenPrefix const expected = prefix(truncatedByBits(whole, len), len);
                ASSERT_EQ(prefixFromLen(whole, len), expected) << whole << " to " << len;
            }
        }
    }
}

}  // namespace
