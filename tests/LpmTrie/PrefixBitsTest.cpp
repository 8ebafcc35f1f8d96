#include <LpmTrie/PrefixBits.h>

#include <Nimbal/IpGenPrefix.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

namespace {

using LpmTrie::commonPrefixLen;
using LpmTrie::prefixFromLen;
using Nimbal::AddressFamily;
using Nimbal::Ip6Addr;
using Nimbal::IpAddr;
using Nimbal::IpGenPrefix;
using Vexo::U32;
using Vexo::U8;

/** Host bits and lengths over the limit are kept, as strict text would not. */
IpGenPrefix v4(char const* address, U32 len) {
    return {IpAddr::fromString(address), len};
}
IpGenPrefix v6(char const* address, U32 len) {
    return {Ip6Addr::fromString(address), len};
}

struct CommonCase {
    IpGenPrefix a;
    IpGenPrefix b;
    U32 common;
};

void expectCommon(std::vector<CommonCase> const& cases) {
    for (CommonCase const& c : cases) {
        EXPECT_EQ(commonPrefixLen(c.a, c.b), c.common) << c.a << " and " << c.b;
        EXPECT_EQ(commonPrefixLen(c.b, c.a), c.common) << c.b << " and " << c.a;
    }
}

TEST(CommonPrefixLenTest, isZeroWhenEitherLengthIsZero) {
    expectCommon({{v4("10.0.0.0", 0), v4("10.0.0.0", 0), 0},
                  {v4("10.0.0.0", 0), v4("10.0.0.0", 32), 0},
                  {v4("0.0.0.0", 0), v4("255.255.255.255", 32), 0},
                  {v6("2001:db8::1", 0), v6("2001:db8::1", 128), 0},
                  {v6("::", 0), v6("::", 0), 0},
                  {v6("::", 0), v6("::", 0xffffffffU), 0}});
}

TEST(CommonPrefixLenTest, isBoundedByTheShorterLength) {
    expectCommon({{v4("10.0.0.0", 8), v4("10.1.0.0", 16), 8},
                  {v4("10.0.0.0", 8), v4("10.0.0.0", 32), 8},
                  {v4("10.0.0.0", 31), v4("10.0.0.0", 32), 31},
                  {v6("2001:db8::", 32), v6("2001:db8::", 127), 32},
                  {v6("2001:db8::", 33), v6("2001:db8::", 64), 33}});
}

TEST(CommonPrefixLenTest, endsAtTheFirstDifference) {
    expectCommon({{v4("10.0.0.0", 8), v4("11.0.0.0", 8), 7},
                  {v4("0.0.0.0", 32), v4("128.0.0.0", 32), 0},
                  {v4("10.0.0.0", 32), v4("10.0.0.1", 32), 31},
                  {v6("2001:db8::", 128), v6("2001:db8::1", 128), 127}});
}

TEST(CommonPrefixLenTest, doesNotLookAtHostBits) {
    expectCommon({{v4("10.255.255.255", 8), v4("10.0.0.0", 8), 8},
                  {v4("10.1.2.3", 15), v4("10.1.255.255", 32), 15},
                  {v6("2001:db8::", 64), v6("2001:db8::ffff:0:0:0", 64), 64},
                  {v6("2001:db8::", 64), v6("2001:db8::8000:0:0:0", 64), 64},
                  {v6("2001:db8::", 65), v6("2001:db8::8000:0:0:0", 65), 64}});
}

TEST(CommonPrefixLenTest, ofTwoEqualHostPrefixesIsTheirWholeLength) {
    expectCommon({{v4("192.0.2.1", 32), v4("192.0.2.1", 32), 32},
                  {v4("0.0.0.0", 32), v4("0.0.0.0", 32), 32},
                  {v6("2001:db8::1", 128), v6("2001:db8::1", 128), 128},
                  {v6("::", 128), v6("::", 128), 128}});
}

TEST(CommonPrefixLenTest, findsADifferenceInTheSecondWordOnlyWhenBothReachIt) {
    IpGenPrefix const a = v6("2001:db8::", 0);
    IpGenPrefix const b = v6("2001:db8:0080::", 0);  // the other way at bit 40
    for (U32 aLen = 0; aLen <= 128; ++aLen) {
        for (U32 bLen = 0; bLen <= 128; ++bLen) {
            U32 const common =
                commonPrefixLen({Ip6Addr(a.address()), aLen}, {Ip6Addr(b.address()), bLen});
            EXPECT_EQ(common, std::min({aLen, bLen, U32{40}})) << aLen << ' ' << bLen;
        }
    }
}

TEST(CommonPrefixLenTest, doesNotCompareFamilies) {
    expectCommon({{v4("10.0.0.0", 8), v6("a00::", 8), 8}, {v4("10.0.0.0", 8), v6("b00::", 8), 7}});
}

TEST(CommonPrefixLenTest, reachesNoFurtherThanTheAddress) {
    expectCommon({{v6("2001:db8::1", 129), v6("2001:db8::1", 0xffffffffU), 128},
                  {v6("2001:db8::", 200), v6("2001:db8::1", 0x80000000U), 127},
                  {v4("10.0.0.1", 0xffffffffU), v4("10.0.0.0", 0xffffffffU), 31}});
}

TEST(PrefixFromLenTest, clearsTheHostBits) {
    IpGenPrefix const host = v4("10.1.2.3", 32);
    EXPECT_EQ(prefixFromLen(host, 8), v4("10.0.0.0", 8));
    EXPECT_EQ(prefixFromLen(host, 0), v4("0.0.0.0", 0));
    EXPECT_EQ(prefixFromLen(host, 1), v4("0.0.0.0", 1));
    EXPECT_EQ(prefixFromLen(host, 31), v4("10.1.2.2", 31));
    EXPECT_EQ(prefixFromLen(host, 32), host);

    IpGenPrefix const host6 = v6("1:2:3:4:5:6:7:89", 128);
    EXPECT_EQ(prefixFromLen(host6, 0), v6("::", 0));
    EXPECT_EQ(prefixFromLen(host6, 48), v6("1:2:3::", 48));
    EXPECT_EQ(prefixFromLen(host6, 96), v6("1:2:3:4:5:6::", 96));
    EXPECT_EQ(prefixFromLen(host6, 127), v6("1:2:3:4:5:6:7:88", 127));
    EXPECT_EQ(prefixFromLen(host6, 128), host6);
}

TEST(PrefixFromLenTest, doesNotMindThePrefixsOwnLength) {
    EXPECT_EQ(prefixFromLen(v4("10.1.2.3", 8), 24), v4("10.1.2.0", 24));
    EXPECT_EQ(prefixFromLen(v4("10.1.2.3", 0), 32), v4("10.1.2.3", 32));
    EXPECT_EQ(prefixFromLen(v6("1:2:3:4:5:6:7:89", 16), 128), v6("1:2:3:4:5:6:7:89", 128));
}

TEST(PrefixFromLenTest, keepsTheLengthAsGivenAndTheWholeAddressBeyondTheFamilysLimit) {
    for (U32 const len : {129U, 160U, 0x10000U, 0x7fffffffU}) {
        EXPECT_EQ(prefixFromLen(v4("10.1.2.3", 32), len), v4("10.1.2.3", len)) << len;
        EXPECT_EQ(prefixFromLen(v6("1:2:3:4:5:6:7:89", 128), len), v6("1:2:3:4:5:6:7:89", len))
            << len;
    }
    for (U32 const len : {33U, 128U, 0x80000000U, 0x80000020U}) {
        EXPECT_EQ(prefixFromLen(v4("10.1.2.3", 8), len), v4("10.1.2.3", len)) << len;
    }
}

TEST(PrefixFromLenTest, countsTheBitsThatAreLeftForAWordOfIpv6AsASignedNumber) {
    IpGenPrefix const host = v6("1:2:3:4:5:6:7:89", 128);
    EXPECT_EQ(prefixFromLen(host, 0x80000000U), v6("0:0:3:4:5:6:7:89", 0x80000000U));
    EXPECT_EQ(prefixFromLen(host, 0x8000003fU), v6("::5:6:7:89", 0x8000003fU));
    EXPECT_EQ(prefixFromLen(host, 0x80000060U), v6("::", 0x80000060U));
    EXPECT_EQ(prefixFromLen(host, 0xffffffffU), v6("::", 0xffffffffU));
}

TEST(PrefixBitsTest, anyFamilyButIpv6IsHandledAsIpv4) {
    std::array<U8, 16> const address{10, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    for (U32 const code : {0U, 1U, 3U, 10U, 0xffffffffU}) {
        IpGenPrefix const odd(AddressFamily{code}, address, 200);
        EXPECT_EQ(commonPrefixLen(odd, v4("10.1.2.3", 32)), 32U) << code;
        EXPECT_EQ(commonPrefixLen(odd, v4("10.1.0.0", 32)), 22U) << code;
        for (U32 const len : {16U, 32U, 96U}) {
            EXPECT_EQ(prefixFromLen(odd, len).v4Prefix(),
                      prefixFromLen(v4("10.1.2.3", 32), len).v4Prefix())
                << code;
        }
    }
}

}  // namespace
