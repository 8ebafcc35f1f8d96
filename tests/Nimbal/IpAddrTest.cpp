#include <tests/Nimbal/Parsing.h>

#include <Nimbal/IpAddr.h>

#include <gtest/gtest.h>

#include <array>
#include <sstream>

namespace {

using namespace NimbalTest;
using Nimbal::IpAddr;
using Nimbal::U32;
using Nimbal::U8;

auto const parser = [](std::string_view text) { return IpAddr::fromString(text); };

static_assert(IpAddr().value() == 0);
static_assert(IpAddr(0x0a000001).bytes() == std::array<U8, 4>{10, 0, 0, 1});

TEST(IpAddrTest, bytesAreInNetworkOrder) {
    std::array<U8, 4> const bytes{0xc0, 0xa8, 0x01, 0xfe};
    IpAddr const address{std::span(bytes)};
    EXPECT_EQ(address.value(), 0xc0a801feU);
    EXPECT_EQ(address.bytes(), bytes);
}

TEST(IpAddrTest, printsAndReadsDottedDecimal) {
    struct Case {
        U32 value;
        char const* text;
    };
    for (auto const& [value, text] :
         {Case{0, "0.0.0.0"}, Case{0xffffffff, "255.255.255.255"}, Case{0x0a000001, "10.0.0.1"},
          Case{0x01020304, "1.2.3.4"}, Case{0xc0a80100, "192.168.1.0"},
          Case{0x640a0109, "100.10.1.9"}}) {
        EXPECT_EQ(IpAddr(value).stringValue(), text);
        EXPECT_EQ(IpAddr::fromString(text), IpAddr(value)) << text;
        std::ostringstream out;
        out << std::hex << IpAddr(value);
        EXPECT_EQ(out.str(), text);
    }
}

TEST(IpAddrTest, everyNumberInEveryPartSurvivesPrintingAndReading) {
    for (int part = 0; part < 4; ++part) {
        for (U32 number = 0; number < 256; ++number) {
            IpAddr const address(number << (8 * part));
            EXPECT_EQ(IpAddr::fromString(address.stringValue()), address) << address;
        }
    }
}

TEST(IpAddrTest, isOrderedAsANumber) {
    EXPECT_LT(IpAddr::fromString("9.255.255.255"), IpAddr::fromString("10.0.0.0"));
    EXPECT_LT(IpAddr::fromString("127.255.255.255"), IpAddr::fromString("128.0.0.0"));
    EXPECT_GT(IpAddr::fromString("10.0.0.0"), IpAddr::fromString("9.255.255.255"));
    EXPECT_LE(IpAddr::fromString("10.0.0.0"), IpAddr::fromString("10.0.0.0"));
    EXPECT_GE(IpAddr::fromString("10.0.0.0"), IpAddr::fromString("10.0.0.0"));
    EXPECT_EQ(IpAddr::fromString("1.2.3.4"), IpAddr(0x01020304));
    EXPECT_NE(IpAddr(1), IpAddr(0x01000000));
}

TEST(IpAddrTest, refusesMalformedTextAndSaysWhatIsWrong) {
    expectRefused(parser,
                  {
                      {"", "a part of the IPv4 address is missing"},
                      {"10.", "a part of the IPv4 address is missing"},
                      {"1.2.3.", "a part of the IPv4 address is missing"},
                      {"10", "an IPv4 address has four parts with dots between them"},
                      {"10.0.0", "an IPv4 address has four parts with dots between them"},
                      {"0x1.2.3.4", "an IPv4 address has four parts with dots between them"},
                      {"1 .2.3.4", "an IPv4 address has four parts with dots between them"},
                      {"1..2.3", "a part of the IPv4 address is missing before '.2.3'"},
                      {".1.2.3", "a part of the IPv4 address is missing before '.1.2.3'"},
                      {" 1.2.3.4", "a part of the IPv4 address is missing before ' 1.2.3.4'"},
                      {"\t1.2.3.4", "a part of the IPv4 address is missing before '\\x091.2.3.4'"},
                      {"1. 2.3.4", "a part of the IPv4 address is missing before ' 2.3.4'"},
                      {"-1.2.3.4", "a part of the IPv4 address is missing before '-1.2.3.4'"},
                      {"1.2.3.+4", "a part of the IPv4 address is missing before '+4'"},
                      {"localhost", "a part of the IPv4 address is missing before 'localhost'"},
                      {"::1", "a part of the IPv4 address is missing before '::1'"},
                      {"1.2.3.4 ", "unexpected text ' ' at the end"},
                      {"1.2.3.4.5", "unexpected text '.5' at the end"},
                      {"1.2.3.4.", "unexpected text '.' at the end"},
                      {"1.2.3.4/32", "unexpected text '/32' at the end"},
                      {"1.2.3.4\n", "unexpected text '\\x0a' at the end"},
                  });
}

TEST(IpAddrTest, refusesNumbersThatArePartsOfNoAddress) {
    expectRefused(parser,
                  {
                      {"256.0.0.0", "a part of the IPv4 address is over 255"},
                      {"1.2.3.256", "a part of the IPv4 address is over 255"},
                      {"1.999.3.4", "a part of the IPv4 address is over 255"},
                      {"1.2.4294967297.4", "a part of the IPv4 address is over 255"},
                      {"18446744073709551617.2.3.4", "a part of the IPv4 address is over 255"},
                      {"01.2.3.4", "a part of the IPv4 address has a leading zero"},
                      {"1.2.3.04", "a part of the IPv4 address has a leading zero"},
                      {"1.00.3.4", "a part of the IPv4 address has a leading zero"},
                      {"1.2.000.4", "a part of the IPv4 address has a leading zero"},
                  });
}

TEST(IpAddrTest, refusesAnEmbeddedNulAndShowsIt) {
    using namespace std::string_view_literals;
    expectRefused(
        parser,
        {
            {"1.2.3.4\0"sv, "unexpected text '\\x00' at the end"},
            {"1.2.3.4\0.5"sv, "unexpected text '\\x00.5' at the end"},
            {"\0001.2.3.4"sv, "a part of the IPv4 address is missing before '\\x001.2.3.4'"},
            {"1.2\0.3.4"sv, "an IPv4 address has four parts with dots between them"},
        });
}

TEST(IpAddrTest, theMessageIsQuotedTextColonAndWhatIsWrong) {
    EXPECT_EQ(refusalOf(parser, "300.1.2.3"),
              "'300.1.2.3': a part of the IPv4 address is over 255");
}

TEST(IpAddrTest, refusesEveryTruncation) {
    expectTruncationsRefused(parser, "1.2.3.4");
    expectTruncationsRefused(parser, "192.168.100.254", {"192.168.100.2", "192.168.100.25"});
}

TEST(IpAddrTest, refusesForeignBytesEverywhere) {
    expectForeignBytesRefused(parser, "1.2.3.4");
    expectForeignBytesRefused(parser, "192.168.100.254");
}

TEST(IpAddrTest, refusesALongTextBriefly) {
    expectRefusedBriefly(parser, String(1000000, '1'));
    expectRefusedBriefly(parser, String(1000000, '0'));
    expectRefusedBriefly(parser, "1.2.3.4" + String(1000000, '.'));
    expectRefusedBriefly(parser, String(1000000, '\0'));
}

}  // namespace
