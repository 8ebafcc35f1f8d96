#include <tests/Nimbal/RandomPrefixes.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace NimbalTest;
using Nimbal::AddressFamily;
using Nimbal::Ip6Addr;
using Nimbal::Ip6Prefix;
using Nimbal::IpAddr;
using Nimbal::IpGenPrefix;
using Nimbal::IpPrefix;
using Nimbal::U32;

void expectOverlapsAsBitByBit(BitsPrefix const& a, BitsPrefix const& b) {
    bool const expected = a.overlaps(b);
    IpGenPrefix const one = a.prefix();
    IpGenPrefix const two = b.prefix();
    EXPECT_EQ(one.overlaps(two), expected) << one << ' ' << two;
    EXPECT_EQ(two.overlaps(one), expected) << one << ' ' << two;
    EXPECT_TRUE(one.overlaps(one)) << one;
    if (a.af == AddressFamily::ipv6 && b.af == AddressFamily::ipv6) {
        EXPECT_EQ(one.v6Prefix().overlaps(two.v6Prefix()), expected) << one << ' ' << two;
    } else if (a.af == b.af) {
        EXPECT_EQ(one.v4Prefix().overlaps(two.v4Prefix()), expected) << one << ' ' << two;
    }
}

class PrefixOverlapTest : public testing::TestWithParam<U32> {};

TEST_P(PrefixOverlapTest, comparesTheLeadingBitsOfTheShorterPrefix) {
    RandomPrefixes random(GetParam());
    int overlapping = 0;
    int apart = 0;
    for (int i = 0; i < 3000 && !HasFailure(); ++i) {
        for (auto const af : {AddressFamily::ipv4, AddressFamily::ipv6, AddressFamily{7}}) {
            BitsPrefix const a = random.any(af);
            BitsPrefix const b = random.near(a);
            expectOverlapsAsBitByBit(a, b);
            ++(a.overlaps(b) ? overlapping : apart);
        }
    }
    EXPECT_GT(overlapping, 1000);
    EXPECT_GT(apart, 1000);
}

INSTANTIATE_TEST_SUITE_P(Seed, PrefixOverlapTest, testing::Range(1U, 5U));

TEST(PrefixOverlapPairsTest, allPairsOfAFewLeadingBitsAgreeWithTheModel) {
    for (auto const af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
        std::vector<BitsPrefix> prefixes;
        for (U32 bits = 0; bits < 8; ++bits) {
            for (U32 const len : {0U, 1U, 2U, 3U, 4U}) {
                prefixes.push_back(
                    {af, {(bits & 4U) != 0, (bits & 2U) != 0, (bits & 1U) != 0}, len});
            }
        }
        for (BitsPrefix const& a : prefixes) {
            for (BitsPrefix const& b : prefixes) {
                expectOverlapsAsBitByBit(a, b);
            }
        }
    }
}

TEST(PrefixOverlapPairsTest, theBitAfterTheShorterLengthDoesNotCountAndTheOneBeforeDoes) {
    for (auto const af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
        U32 const size = Nimbal::maxPrefixLen(af);
        for (U32 len = 0; len <= size; ++len) {
            BitsPrefix const base{af, {}, len};
            for (U32 bit = 0; bit < size; ++bit) {
                BitsPrefix other{af, {}, size};
                other.bits[bit] = true;
                EXPECT_EQ(base.prefix().overlaps(other.prefix()), bit >= len) << len << ' ' << bit;
                EXPECT_EQ(other.prefix().overlaps(base.prefix()), bit >= len) << len << ' ' << bit;
            }
        }
    }
}

TEST(PrefixOverlapPairsTest, lengthZeroOverlapsAllOfItsFamilyWhateverItsAddress) {
    IpPrefix const allOfIpv4(IpAddr(0xffffffff), 0);
    EXPECT_TRUE(allOfIpv4.overlaps(IpPrefix(IpAddr(0), 32)));
    EXPECT_TRUE(IpPrefix(IpAddr(0), 32).overlaps(allOfIpv4));
    Ip6Prefix const allOfIpv6(Ip6Addr::fromString("ffff::"), 0);
    EXPECT_TRUE(allOfIpv6.overlaps(Ip6Prefix(Ip6Addr(), 128)));
    EXPECT_TRUE(Ip6Prefix(Ip6Addr(), 128).overlaps(allOfIpv6));
}

TEST(PrefixOverlapPairsTest, aLengthOverTheLimitReachesNoFurtherThanTheLimit) {
    for (U32 const len : {33U, 64U, 0x80000000U, 0xffffffffU}) {
        EXPECT_TRUE(IpPrefix(IpAddr(5), len).overlaps(IpPrefix(IpAddr(5), 32)));
        EXPECT_TRUE(IpPrefix(IpAddr(5), len).overlaps(IpPrefix(IpAddr(5), len)));
        EXPECT_FALSE(IpPrefix(IpAddr(5), len).overlaps(IpPrefix(IpAddr(4), len)));
        EXPECT_TRUE(IpPrefix(IpAddr(5), len).overlaps(IpPrefix(IpAddr(4), 31)));
    }
    for (U32 const len : {129U, 160U, 0x80000000U, 0xffffffffU}) {
        Ip6Addr const one = Ip6Addr::fromString("::1");
        EXPECT_TRUE(Ip6Prefix(one, len).overlaps(Ip6Prefix(one, 128)));
        EXPECT_TRUE(Ip6Prefix(one, len).overlaps(Ip6Prefix(one, len)));
        EXPECT_FALSE(Ip6Prefix(one, len).overlaps(Ip6Prefix(Ip6Addr(), len)));
        EXPECT_TRUE(Ip6Prefix(one, len).overlaps(Ip6Prefix(Ip6Addr(), 127)));
    }
}

TEST(PrefixOverlapPairsTest, prefixesOfDifferentFamiliesNeverOverlap) {
    std::vector<IpGenPrefix> const prefixes{
        IpGenPrefix(IpAddr(), 0),
        IpGenPrefix(Ip6Addr(), 0),
        IpGenPrefix(),
        IpGenPrefix(AddressFamily{3}, {}, 0),
    };
    for (std::size_t i = 0; i < prefixes.size(); ++i) {
        for (std::size_t j = 0; j < prefixes.size(); ++j) {
            EXPECT_EQ(prefixes[i].overlaps(prefixes[j]), i == j) << i << ' ' << j;
        }
    }
}

}  // namespace
