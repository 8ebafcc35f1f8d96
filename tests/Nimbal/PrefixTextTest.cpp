#include <tests/Nimbal/Parsing.h>
#include <tests/Nimbal/RandomPrefixes.h>

#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace NimbalTest;
using Nimbal::AddressFamily;
using Nimbal::Ip6Addr;
using Nimbal::Ip6Prefix;
using Nimbal::IpAddr;
using Nimbal::IpGenPrefix;
using Nimbal::IpPrefix;
using Nimbal::U32;

auto const readAny = [](std::string_view text) { return IpGenPrefix::fromString(text); };
auto const readIpv4 = [](std::string_view text) { return IpPrefix::fromString(text); };
auto const readIpv6 = [](std::string_view text) { return Ip6Prefix::fromString(text); };

template <class Value>
String printed(Value const& value) {
    std::ostringstream out;
    out << std::hex << std::showbase << value;
    EXPECT_EQ(out.str(), value.stringValue());
    return out.str();
}

TEST(PrefixTextTest, ipv4IsAddressSlashLength) {
    for (char const* text : {"0.0.0.0/0", "10.0.0.0/8", "10.128.0.0/9", "192.168.1.0/24",
                             "255.255.255.255/32", "128.0.0.0/1", "0.0.0.0/32"}) {
        EXPECT_EQ(printed(IpGenPrefix::fromString(text)), text);
        EXPECT_EQ(printed(IpPrefix::fromString(text)), text);
    }
    EXPECT_EQ(IpGenPrefix::fromString("10.128.0.0/9"), IpGenPrefix(IpAddr(0x0a800000), 9));
    EXPECT_EQ(IpPrefix::fromString("10.128.0.0/9"), IpPrefix(IpAddr(0x0a800000), 9));
}

TEST(PrefixTextTest, ipv6IsCanonicalAddressSlashLength) {
    struct Form {
        char const* read;
        char const* printed;
    };
    for (auto const& [read, text] :
         {Form{"::/0", "::/0"}, Form{"::/128", "::/128"}, Form{"8000::/1", "8000::/1"},
          Form{"2001:DB8::/32", "2001:db8::/32"},
          // The three legal spellings of one prefix in RFC 4291, 2.3.
          Form{"2001:0DB8:0000:CD30:0000:0000:0000:0000/60", "2001:db8:0:cd30::/60"},
          Form{"2001:0DB8::CD30:0:0:0:0/60", "2001:db8:0:cd30::/60"},
          Form{"2001:0DB8:0:CD30::/60", "2001:db8:0:cd30::/60"},
          Form{"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128",
               "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/128"}}) {
        EXPECT_EQ(printed(IpGenPrefix::fromString(read)), text);
        EXPECT_EQ(printed(Ip6Prefix::fromString(read)), text);
        EXPECT_EQ(IpGenPrefix::fromString(read), IpGenPrefix::fromString(text));
    }
    EXPECT_EQ(IpGenPrefix::fromString("2001:db8::/32"),
              IpGenPrefix(Ip6Addr::fromWords({0x20010db8, 0, 0, 0}), 32));
}

TEST(PrefixTextTest, mixedNotationIsPrintedFromLength96OfTheMappedAddressesOn) {
    Ip6Addr const mapped = Ip6Addr::fromString("::ffff:1.2.3.4");
    for (U32 len = 0; len <= 130; ++len) {
        String const text =
            (len < 96 ? "::ffff:102:304/" : "::ffff:1.2.3.4/") + std::to_string(len);
        EXPECT_EQ(IpGenPrefix(mapped, len).stringValue(), text);
        EXPECT_EQ(Ip6Prefix(mapped, len).stringValue(), text);
    }
    EXPECT_EQ(printed(IpGenPrefix::fromString("::ffff:0:0/96")), "::ffff:0.0.0.0/96");
    EXPECT_EQ(printed(IpGenPrefix::fromString("::ffff:a00:0/104")), "::ffff:10.0.0.0/104");
    EXPECT_EQ(printed(IpGenPrefix::fromString("::fffe:0:0/95")), "::fffe:0:0/95");
    EXPECT_EQ(printed(IpGenPrefix(Ip6Addr::fromString("::ffff:0:0"), 90)), "::ffff:0:0/90");
}

TEST(PrefixTextTest, everyOtherPrefixIsPrintedHexadecimal) {
    EXPECT_EQ(printed(IpGenPrefix::fromString("::1.2.3.4/128")), "::102:304/128");
    EXPECT_EQ(printed(IpGenPrefix::fromString("::10.0.0.0/104")), "::a00:0/104");
    EXPECT_EQ(printed(IpGenPrefix::fromString("64:ff9b::192.0.2.0/120")), "64:ff9b::c000:200/120");
    EXPECT_EQ(printed(IpGenPrefix::fromString("::fffe:1.2.3.4/128")), "::fffe:102:304/128");
}

TEST(PrefixTextTest, valuesThatNoTextGivesPrintAsTheyAre) {
    EXPECT_EQ(printed(IpGenPrefix(IpAddr(0x0a010203), 8)), "10.1.2.3/8");
    EXPECT_EQ(printed(IpGenPrefix(IpAddr(0x0a010203), 4294967295U)), "10.1.2.3/4294967295");
    EXPECT_EQ(printed(IpPrefix(IpAddr(0x0a010203), 33)), "10.1.2.3/33");
    EXPECT_EQ(printed(IpGenPrefix(Ip6Addr::fromString("1::1"), 129)), "1::1/129");
    EXPECT_EQ(printed(IpGenPrefix(AddressFamily{9}, Ip6Addr::fromString("a01:203::").bytes(), 8)),
              "10.1.2.3/8");
}

TEST(PrefixTextTest, whatIsPrintedOfAnyRegularPrefixReadsBackAsTheSame) {
    RandomPrefixes random(11);
    for (int i = 0; i < 2000 && !HasFailure(); ++i) {
        for (auto const af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
            BitsPrefix model = random.any(af);
            model.len = model.reach();
            IpGenPrefix const prefix = model.hostBitsCleared().prefix();
            EXPECT_EQ(IpGenPrefix::fromString(prefix.stringValue()), prefix);
        }
    }
}

TEST(PrefixTextTest, aLengthThatIsMissingOrMalformedIsRefused) {
    expectRefused(readAny, {{"10.0.0.0", "the prefix length is missing"},
                            {"10.0.0.0/", "the prefix length is missing"},
                            {"2001:db8::", "the prefix length is missing"},
                            {"2001:db8::/", "the prefix length is missing"},
                            {"10.0.0.0/ 8", "the prefix length is missing before ' 8'"},
                            {"10.0.0.0/+8", "the prefix length is missing before '+8'"},
                            {"10.0.0.0/-8", "the prefix length is missing before '-8'"},
                            {"10.0.0.0//8", "the prefix length is missing before '/8'"},
                            {"::/x", "the prefix length is missing before 'x'"},
                            {"10.0.0.0/08", "the prefix length has a leading zero"},
                            {"0.0.0.0/00", "the prefix length has a leading zero"},
                            {"2001:db8::/032", "the prefix length has a leading zero"},
                            {"10.0.0.0/255.0.0.0", "the prefix length is over 32"},
                            {"10.0.0.0/8x", "unexpected text 'x' at the end"},
                            {"10.0.0.0/0x8", "unexpected text 'x8' at the end"}});
}

TEST(PrefixTextTest, aLengthOverTheFamilysLimitIsRefused) {
    expectRefused(readAny, {{"10.0.0.0/33", "the prefix length is over 32"},
                            {"10.0.0.0/128", "the prefix length is over 32"},
                            {"10.0.0.0/264", "the prefix length is over 32"},
                            {"10.0.0.0/4294967304", "the prefix length is over 32"},
                            {"10.0.0.0/18446744073709551624", "the prefix length is over 32"},
                            {"2001:db8::/129", "the prefix length is over 128"},
                            {"2001:db8::/288", "the prefix length is over 128"},
                            {"2001:db8::/4294967328", "the prefix length is over 128"},
                            {"::ffff:1.2.3.4/129", "the prefix length is over 128"}});
}

TEST(PrefixTextTest, aHostBitIsRefused) {
    expectRefused(readAny, {{"10.0.0.1/8", "a bit is set past the prefix length"},
                            {"0.0.0.1/0", "a bit is set past the prefix length"},
                            {"128.0.0.0/0", "a bit is set past the prefix length"},
                            {"10.128.0.0/8", "a bit is set past the prefix length"},
                            {"1.2.3.5/31", "a bit is set past the prefix length"},
                            {"2001:db8::1/32", "a bit is set past the prefix length"},
                            {"::1/127", "a bit is set past the prefix length"},
                            {"8000::/0", "a bit is set past the prefix length"},
                            {"::ffff:0:0/95", "a bit is set past the prefix length"},
                            {"2001:0DB8::CD30/60", "a bit is set past the prefix length"}});
    for (U32 len = 0; len < 128; ++len) {
        BitsPrefix model{AddressFamily::ipv6, {}, len};
        model.bits[len] = true;
        EXPECT_FALSE(accepts(readAny, model.prefix().stringValue())) << len;
    }
}

TEST(PrefixTextTest, aMalformedAddressOrTextLeftOverIsRefused) {
    using namespace std::string_view_literals;
    expectRefused(readAny,
                  {{"", "a part of the IPv4 address is missing"},
                   {"/", "a part of the IPv4 address is missing before '/'"},
                   {"/8", "a part of the IPv4 address is missing before '/8'"},
                   {" 10.0.0.0/8", "a part of the IPv4 address is missing before ' 10.0.0.0/8'"},
                   {"default", "a part of the IPv4 address is missing before 'default'"},
                   {"10/8", "an IPv4 address has four parts with dots between them"},
                   {"10.0.0/8", "an IPv4 address has four parts with dots between them"},
                   {"256.0.0.0/8", "a part of the IPv4 address is over 255"},
                   {"010.0.0.0/8", "a part of the IPv4 address has a leading zero"},
                   {"10.0.0.0.0/8", "unexpected text '.0/8' after the address"},
                   {"10.0.0.0 /8", "unexpected text ' /8' after the address"},
                   {"10.0.0.0\0/8"sv, "unexpected text '\\x00/8' after the address"},
                   {"10.0.0.0 255.0.0.0", "unexpected text ' 255.0.0.0' after the address"},
                   {"2001:db8::g/32", "unexpected text 'g/32' after the address"},
                   {"fe80::%1/64", "unexpected text '%1/64' after the address"},
                   {"2001:0DB8:0:CD3/60", "an IPv6 address has eight groups, or a \"::\""},
                   {"10.0.0.0/8 ", "unexpected text ' ' at the end"},
                   {"10.0.0.0/8/8", "unexpected text '/8' at the end"},
                   {"10.0.0.0/8\0"sv, "unexpected text '\\x00' at the end"},
                   {"::/0\n", "unexpected text '\\x0a' at the end"}});
}

TEST(PrefixTextTest, theTypesOfOneFamilyReadItAlone) {
    expectRefused(readIpv4, {{"::/0", "a part of the IPv4 address is missing before '::/0'"},
                             {"10.0.0.0", "the prefix length is missing"},
                             {"10.0.0.0/33", "the prefix length is over 32"},
                             {"10.0.0.1/8", "a bit is set past the prefix length"},
                             {"10.0.0.0/8 ", "unexpected text ' ' at the end"}});
    expectRefused(readIpv6, {{"10.0.0.0/8", "an IPv6 address has eight groups, or a \"::\""},
                             {"::", "the prefix length is missing"},
                             {"::/129", "the prefix length is over 128"},
                             {"::1/8", "a bit is set past the prefix length"},
                             {"::/0 ", "unexpected text ' ' at the end"}});
}

template <class Parser>
void expectIpv4Strict(Parser const& parser) {
    expectTruncationsRefused(parser, "10.0.0.0/8");
    expectTruncationsRefused(parser, "10.20.30.0/24");
    expectTruncationsRefused(parser, "0.0.0.0/32", {"0.0.0.0/3"});
    expectForeignBytesRefused(parser, "10.0.0.0/8");
    expectForeignBytesRefused(parser, "192.168.1.0/24");
    expectRefusedBriefly(parser, "10.0.0.0/" + String(1000000, '1'));
    expectRefusedBriefly(parser, "10.0.0.0/8" + String(1000000, ' '));
}

template <class Parser>
void expectIpv6Strict(Parser const& parser) {
    expectTruncationsRefused(parser, "2001:db8::/32");
    expectTruncationsRefused(parser, "::/128", {"::/1", "::/12"});
    expectTruncationsRefused(parser, "::ffff:1.2.3.0/120");
    expectForeignBytesRefused(parser, "::/0");
    expectForeignBytesRefused(parser, "2001:db8:0:cd30::/60");
    expectForeignBytesRefused(parser, "::ffff:1.2.3.0/120");
    expectRefusedBriefly(parser, "::/" + String(1000000, '1'));
}

TEST(PrefixTextTest, everyParserRefusesTruncationsAndForeignBytes) {
    expectIpv4Strict(readAny);
    expectIpv6Strict(readAny);
    expectIpv4Strict(readIpv4);
    expectIpv6Strict(readIpv6);
}

}  // namespace
