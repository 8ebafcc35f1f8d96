#include <tests/Nimbal/Parsing.h>

#include <Nimbal/Ip6Addr.h>

#include <gtest/gtest.h>

#include <array>

namespace {

using namespace NimbalTest;
using Nimbal::Ip6Addr;
using Nimbal::U32;

auto const parser = [](std::string_view text) { return Ip6Addr::fromString(text); };

struct Form {
    char const* read;
    char const* printed;
};

/** The read form is printed in the canonical one, and that reads back into the same address. */
void expectForms(std::initializer_list<Form> forms) {
    for (auto const& [read, printed] : forms) {
        Ip6Addr const address = Ip6Addr::fromString(read);
        EXPECT_EQ(address.stringValue(), printed) << read;
        EXPECT_EQ(Ip6Addr::fromString(printed), address) << read;
    }
}

TEST(Ip6AddrTextTest, readsIntoTheWordsThatTheGroupsSpell) {
    using Words = std::array<U32, 4>;
    EXPECT_EQ(Ip6Addr::fromString("1:2:3:4:5:6:7:8"),
              Ip6Addr::fromWords(Words{0x00010002, 0x00030004, 0x00050006, 0x00070008}));
    EXPECT_EQ(Ip6Addr::fromString("fedc:ba98::3210"),
              Ip6Addr::fromWords(Words{0xfedcba98, 0, 0, 0x00003210}));
    EXPECT_EQ(Ip6Addr::fromString("::ffff:1.2.3.4"),
              Ip6Addr::fromWords(Words{0, 0, 0x0000ffff, 0x01020304}));
    EXPECT_EQ(Ip6Addr::fromString("::"), Ip6Addr());
}

TEST(Ip6AddrTextTest, leadingZerosAreDropped) {  // RFC 5952, 4.1
    expectForms({
        {"2001:0db8::0001", "2001:db8::1"},
        {"2001:0db8:0001:0002:0003:0004:0005:0006", "2001:db8:1:2:3:4:5:6"},
        {"0000:0001:0020:0300:4000:0500:0060:0007", "0:1:20:300:4000:500:60:7"},
        {"1:0000:1:1:1:1:1:1", "1:0:1:1:1:1:1:1"},
    });
}

TEST(Ip6AddrTextTest, theDoubleColonShortensAsMuchAsItCan) {  // RFC 5952, 4.2.1
    expectForms({
        {"2001:db8:0:0:0:0:2:1", "2001:db8::2:1"},
        {"2001:db8::0:1", "2001:db8::1"},
        {"2001:db8:0::0:1", "2001:db8::1"},
        {"0::", "::"},
        {"::0", "::"},
        {"0::0", "::"},
        {"0:0:0:0:0:0:0:0", "::"},
        {"0:0:0:0:0:0:0:1", "::1"},
        {"1:0:0:0:0:0:0:0", "1::"},
        {"1:0:0:0:0:0:0:2", "1::2"},
    });
}

TEST(Ip6AddrTextTest, aSingleZeroGroupIsNotShortened) {  // RFC 5952, 4.2.2
    expectForms({
        {"2001:db8::1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
        {"2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
        {"::2:3:4:5:6:7:8", "0:2:3:4:5:6:7:8"},
        {"1:2:3:4:5:6:7::", "1:2:3:4:5:6:7:0"},
        {"0:1:0:1:0:1:0:1", "0:1:0:1:0:1:0:1"},
        {"1:0:1:0:1:0:1:0", "1:0:1:0:1:0:1:0"},
    });
}

TEST(Ip6AddrTextTest, theLongestRunIsShortenedAndOfEqualOnesTheFirst) {  // RFC 5952, 4.2.3
    expectForms({
        {"2001:0:0:1:0:0:0:1", "2001:0:0:1::1"},
        {"2001:0:0:0:1:0:0:1", "2001::1:0:0:1"},
        {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
        {"0:0:1:0:0:1:0:0", "::1:0:0:1:0:0"},
        {"1:0:0:1:0:0:1:1", "1::1:0:0:1:1"},
        {"0:0:1:1:1:1:0:0", "::1:1:1:1:0:0"},
        {"0:0:1:1:1:0:0:0", "0:0:1:1:1::"},
        {"1:0:0:1:0:0:0:0", "1:0:0:1::"},
        {"0:0:0:1:0:0:0:1", "::1:0:0:0:1"},
        {"0:0:0:0:1:0:0:0", "::1:0:0:0"},
        {"0:1:0:0:1:0:0:0", "0:1:0:0:1::"},
    });
}

TEST(Ip6AddrTextTest, lettersAreLowerCase) {  // RFC 5952, 4.3
    expectForms({
        {"2001:DB8::ABCD:EF", "2001:db8::abcd:ef"},
        {"FE80::AaBb", "fe80::aabb"},
        {"ABCD:EF01:2345:6789:ABCD:EF01:2345:6789", "abcd:ef01:2345:6789:abcd:ef01:2345:6789"},
    });
}

TEST(Ip6AddrTextTest, everyKindOfAddressHasItsUsualText) {  // RFC 4291, 2.2
    expectForms({
        {"2001:DB8:0:0:8:800:200C:417A", "2001:db8::8:800:200c:417a"},
        {"FF01:0:0:0:0:0:0:101", "ff01::101"},
        {"2001:db8:0:0:1:0:0:0", "2001:db8:0:0:1::"},
        {"fe80:0:0:0:0:0:0:1", "fe80::1"},
        {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
    });
}

TEST(Ip6AddrTextTest, mixedNotationIsPrintedForMappedAddressesOnly) {  // RFC 5952, 5
    expectForms({
        {"0:0:0:0:0:FFFF:129.144.52.38", "::ffff:129.144.52.38"},
        {"::ffff:8190:3426", "::ffff:129.144.52.38"},
        {"::ffff:0:0", "::ffff:0.0.0.0"},
        {"::ffff:255.255.255.255", "::ffff:255.255.255.255"},
        {"0:0:0:0:0:0:13.1.68.3", "::d01:4403"},
        {"::1.2.3.4", "::102:304"},
        {"::0.0.0.1", "::1"},
        {"::0.0.0.0", "::"},
        {"::fffe:1.2.3.4", "::fffe:102:304"},
        {"::ffff:0:1.2.3.4", "::ffff:0:102:304"},
        {"64:ff9b::192.0.2.33", "64:ff9b::c000:221"},
        {"1:2:3:4:5:6:10.20.30.40", "1:2:3:4:5:6:a14:1e28"},
        {"1:2:3:4:5::10.20.30.40", "1:2:3:4:5:0:a14:1e28"},
        {"fe80::5efe:10.0.0.1", "fe80::5efe:a00:1"},
        {"1::ffff:1.2.3.4", "1::ffff:102:304"},
    });
}

TEST(Ip6AddrTextTest, theHexadecimalFormHasNoMixedNotation) {
    EXPECT_EQ(Ip6Addr::fromString("::ffff:1.2.3.4").hexStringValue(), "::ffff:102:304");
    EXPECT_EQ(Ip6Addr::fromString("::ffff:0.0.0.0").hexStringValue(), "::ffff:0:0");
    EXPECT_EQ(Ip6Addr::fromString("2001:DB8::1").hexStringValue(), "2001:db8::1");
}

TEST(Ip6AddrTextTest, refusesMalformedTextAndSaysWhatIsWrong) {
    expectRefused(
        parser,
        {
            {"", "a group of the IPv6 address is missing"},
            {":", "a group of the IPv6 address is missing before ':'"},
            {"1:", "a group of the IPv6 address is missing"},
            {"::1:", "a group of the IPv6 address is missing"},
            {":1:2:3:4:5:6:7", "a group of the IPv6 address is missing before ':1:2:3:4:5:6:7'"},
            {" ::", "a group of the IPv6 address is missing before ' ::'"},
            {"g::", "a group of the IPv6 address is missing before 'g::'"},
            {"[::1]", "a group of the IPv6 address is missing before '[::1]'"},
            {"1:-2::", "a group of the IPv6 address is missing before '-2::'"},
            {":::", "unexpected text ':' at the end"},
            {"1:::2", "unexpected text ':2' at the end"},
            {"::1 ", "unexpected text ' ' at the end"},
            {"::1/64", "unexpected text '/64' at the end"},
            {"fe80::1%eth0", "unexpected text '%eth0' at the end"},
            {"::g", "unexpected text 'g' at the end"},
            {"1::2::3", "an IPv6 address has \"::\" twice"},
            {"::1::", "an IPv6 address has \"::\" twice"},
            {"12345::", "a group of the IPv6 address has more than four digits"},
            {"::00001", "a group of the IPv6 address has more than four digits"},
            {"::10000000000000001", "a group of the IPv6 address has more than four digits"},
        });
}

TEST(Ip6AddrTextTest, refusesAWrongNumberOfGroups) {
    char const* const few = "an IPv6 address has eight groups, or a \"::\"";
    char const* const many = "an IPv6 address has more than eight groups";
    char const* const none = "\"::\" stands for no group";
    expectRefused(parser, {
                              {"1", few},
                              {"1:2:3:4:5:6:7", few},
                              {"1:2:3:4:5:1.2.3.4", few},
                              {"1.2.3.4", few},
                              {"1:2:3:4:5:6:7:8:9", many},
                              {"1:2:3:4:5:6:7:8:", many},
                              {"1:2:3:4:5:6:7:8::", none},
                              {"::1:2:3:4:5:6:7:8", none},
                              {"1:2:3:4::5:6:7:8", none},
                              {"1::2:3:4:5:6:1.2.3.4", none},
                          });
}

TEST(Ip6AddrTextTest, refusesAnIpv4AddressThatIsMalformedOrNotAtTheEnd) {
    char const* const parts = "an IPv4 address has four parts with dots between them";
    expectRefused(parser, {
                              {"::1.2.3", parts},
                              {"::1.2", parts},
                              {"::1.2.3:4", parts},
                              {"::1.", "a part of the IPv4 address is missing"},
                              {"::1.2.3.4.5", "unexpected text '.5' at the end"},
                              {"::1.2.3.4:5", "unexpected text ':5' at the end"},
                              {"::1.2.3.4::", "unexpected text '::' at the end"},
                              {"1:2:3:4:5:6:7:1.2.3.4", "unexpected text '.2.3.4' at the end"},
                              {"::256.1.1.1", "a part of the IPv4 address is over 255"},
                              {"::1.2.3.1000", "a part of the IPv4 address is over 255"},
                              {"::01.1.1.1", "a part of the IPv4 address has a leading zero"},
                              {"::ffff:1.2.3.04", "a part of the IPv4 address has a leading zero"},
                          });
}

TEST(Ip6AddrTextTest, refusesAnEmbeddedNulAndShowsIt) {
    using namespace std::string_view_literals;
    expectRefused(parser,
                  {
                      {"::1\0"sv, "unexpected text '\\x00' at the end"},
                      {"::\0"sv, "unexpected text '\\x00' at the end"},
                      {"::ffff:1.2.3.4\0"sv, "unexpected text '\\x00' at the end"},
                      {"\0::"sv, "a group of the IPv6 address is missing before '\\x00::'"},
                      {"1:\0002::"sv, "a group of the IPv6 address is missing before '\\x002::'"},
                  });
}

TEST(Ip6AddrTextTest, refusesEveryTruncation) {
    expectTruncationsRefused(parser, "1:2:3:4:5:6:7:8");
    expectTruncationsRefused(parser, "2001:db8::1:23",
                             {"2001:db8::", "2001:db8::1", "2001:db8::1:2"});
    expectTruncationsRefused(parser, "::ffff:1.2.3.4",
                             {"::", "::f", "::ff", "::fff", "::ffff", "::ffff:1"});
    expectTruncationsRefused(parser, "1:2:3:4:5:6:1.2.3.45", {"1:2:3:4:5:6:1.2.3.4"});
}

TEST(Ip6AddrTextTest, refusesForeignBytesEverywhere) {
    expectForeignBytesRefused(parser, "::");
    expectForeignBytesRefused(parser, "1:2:3:4:5:6:7:8");
    expectForeignBytesRefused(parser, "2001:db8::1:23");
    expectForeignBytesRefused(parser, "::ffff:192.168.10.1");
}

TEST(Ip6AddrTextTest, refusesALongTextBriefly) {
    expectRefusedBriefly(parser, String(1000000, ':'));
    expectRefusedBriefly(parser, String(1000000, '0'));
    expectRefusedBriefly(parser, "::" + String(1000000, '9') + ".1.1.1");
    expectRefusedBriefly(parser, "::1" + String(1000000, '\xff'));
}

}  // namespace
