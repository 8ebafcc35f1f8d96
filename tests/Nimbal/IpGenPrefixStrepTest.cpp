#include <tests/Nimbal/Parsing.h>
#include <tests/Nimbal/RandomPrefixes.h>
#include <tests/Support/RefusedText.h>

#include <Nimbal/IpGenPrefix.h>
#include <Vexo/Strep.h>

#include <gtest/gtest.h>

namespace {

using namespace NimbalTest;
using Nimbal::AddressFamily;
using Nimbal::Ip6Addr;
using Nimbal::IpAddr;
using Nimbal::IpGenPrefix;
using Nimbal::U32;

auto const parser = [](std::string_view text) {
    return Vexo::strepToValue<IpGenPrefix>(String(text));
};

void expectText(IpGenPrefix const& prefix, char const* text) {
    EXPECT_EQ(valueToStrep(prefix), text);
    EXPECT_EQ(parser(text), prefix) << text;
}

TEST(IpGenPrefixStrepTest, aRegularPrefixIsItsTextInQuotes) {
    expectText(IpGenPrefix(IpAddr(0x0a000000), 8), "'10.0.0.0/8'");
    expectText(IpGenPrefix(IpAddr(), 0), "'0.0.0.0/0'");
    expectText(IpGenPrefix(IpAddr(0xffffffff), 32), "'255.255.255.255/32'");
    expectText(IpGenPrefix(Ip6Addr(), 0), "'::/0'");
    expectText(IpGenPrefix(Ip6Addr::fromString("2001:db8::"), 32), "'2001:db8::/32'");
    expectText(IpGenPrefix(Ip6Addr::fromString("::ffff:1.2.3.4"), 128), "'::ffff:1.2.3.4/128'");
}

TEST(IpGenPrefixStrepTest, onePrefixThatNoStrictTextGivesIsFramed) {
    expectText(IpGenPrefix(),
               "Value('Nimbal::IpGenPrefix', ** {'af': 0, 'address': '0.0.0.0', 'len': 0})");
    expectText(IpGenPrefix(IpAddr(0x0a000001), 8),
               "Value('Nimbal::IpGenPrefix', ** {'af': 1, 'address': '10.0.0.1', 'len': 8})");
    expectText(IpGenPrefix(IpAddr(0x0a000000), 33),
               "Value('Nimbal::IpGenPrefix', ** {'af': 1, 'address': '10.0.0.0', 'len': 33})");
    expectText(IpGenPrefix(Ip6Addr::fromString("1::"), 0xffffffff),
               "Value('Nimbal::IpGenPrefix', ** {'af': 2, 'address': '1::', 'len': 4294967295})");
    expectText(IpGenPrefix(Ip6Addr::fromString("::1"), 0),
               "Value('Nimbal::IpGenPrefix', ** {'af': 2, 'address': '::1', 'len': 0})");
    expectText(
        IpGenPrefix(AddressFamily{0xffffffff}, IpAddr(0x01020304).bytes(), 32),
        "Value('Nimbal::IpGenPrefix', ** {'af': 4294967295, 'address': '1.2.3.4', 'len': 32})");
}

TEST(IpGenPrefixStrepTest, aRegularPrefixIsReadFromAFrameToo) {
    EXPECT_EQ(parser("Value('Nimbal::IpGenPrefix', ** {'af': 1, 'address': '10.0.0.0', 'len': 8})"),
              IpGenPrefix(IpAddr(0x0a000000), 8));
}

TEST(IpGenPrefixStrepTest, withoutMemoryARefusalIsWantOfMemory) {
    TestSupport::expectRefusedOrNoMemory<IpGenPrefix>(
        "Value('Nimbal::IpGenPrefix', ** {'af': 1, 'address': '10.0.0', 'len': 8})");
}

TEST(IpGenPrefixStrepTest, everyValueSurvivesPrintingAndReading) {
    RandomPrefixes random(31);
    for (int i = 0; i < 1000 && !HasFailure(); ++i) {
        for (U32 const code : {0U, 1U, 2U, 3U, 0xffffffffU}) {
            BitsPrefix const model = random.any(AddressFamily{code});
            for (auto const& prefix : {model.prefix(), model.hostBitsCleared().prefix()}) {
                EXPECT_EQ(parser(valueToStrep(prefix)), prefix) << valueToStrep(prefix);
            }
        }
    }
}

TEST(IpGenPrefixStrepTest, isReadFromTheMiddleOfALongerText) {
    String const text = "['10.0.0.0/8', 7]";
    Vexo::CharRange range(text);
    range.needString("[");
    EXPECT_EQ(IpGenPrefix(range), IpGenPrefix(IpAddr(0x0a000000), 8));
    EXPECT_EQ(range.rest(), ", 7]");
}

TEST(IpGenPrefixStrepTest, aQuotedTextIsReadAsStrictlyAsAnyOther) {
    for (auto const& [text, message] :
         {Refused{"'10.0.0.1/8'", "'10.0.0.1/8': a bit is set past the prefix length"},
          Refused{"'10.0.0.0/33'", "'10.0.0.0/33': the prefix length is over 32"},
          Refused{"'::/129'", "'::/129': the prefix length is over 128"},
          Refused{"'10.0.0.0'", "'10.0.0.0': the prefix length is missing"},
          Refused{"''", "'': a part of the IPv4 address is missing"}}) {
        EXPECT_EQ(refusalOf(parser, text), message);
    }
}

TEST(IpGenPrefixStrepTest, aTextOfAnotherKindIsRefused) {
    for (char const* text :
         {"", "None", "10.0.0.0/8", "\"10.0.0.0/8\"", "167772160",
          "Value('Nimbal::IpPrefix', ** {})",
          "Value('Nimbal::IpGenPrefix', ** {'af': None, 'address': '1.2.3.4', 'len': 32})",
          "Value('Nimbal::IpGenPrefix', ** {'af': '1', 'address': '1.2.3.4', 'len': 32})",
          "Value('Nimbal::IpGenPrefix', ** {'af': 1, 'address': 1, 'len': 32})",
          "Value('Nimbal::IpGenPrefix', ** {'af': 1, 'address': '1.2.3.4', 'len': True})",
          "Value('Nimbal::IpGenPrefix', ** {'af': 1, 'len': 32, 'address': '1.2.3.4'})",
          "Value('Nimbal::IpGenPrefix', ** {'af': 1, 'address': '1.2.3.4/32', 'len': 32})",
          "Value('Nimbal::IpGenPrefix', ** {'af': -1, 'address': '1.2.3.4', 'len': 32})"}) {
        auto const refusal = refusalOf(parser, text);
        EXPECT_TRUE(refusal && refusal->find('\'') != String::npos) << text;
    }
}

/** The attribute that a refused text's exception names. */
String attributeRefused(String const& text) {
    try {
        parser(text);
    } catch (Vexo::RangeException const& error) {
        EXPECT_NE(String(error.what()).find(error.attribute()), String::npos);
        return error.attribute();
    }
    return "(not refused)";
}

String framed(String const& af, String const& address, String const& len) {
    return "Value('Nimbal::IpGenPrefix', ** {'af': " + af + ", 'address': " + address +
           ", 'len': " + len + "})";
}

TEST(IpGenPrefixStrepTest, aWrongFieldOfAFrameIsNamed) {
    EXPECT_EQ(attributeRefused(framed("4294967296", "'1.2.3.4'", "32")), "af");
    EXPECT_EQ(attributeRefused(framed("x", "'1.2.3.4'", "32")), "af");
    EXPECT_EQ(attributeRefused(framed("1", "'::1'", "32")), "address");
    EXPECT_EQ(attributeRefused(framed("2", "'1.2.3.4'", "32")), "address");
    EXPECT_EQ(attributeRefused(framed("1", "'1.2.3'", "32")), "address");
    EXPECT_EQ(attributeRefused(framed("1", "None", "32")), "address");
    EXPECT_EQ(attributeRefused(framed("1", "'1.2.3.4'", "4294967296")), "len");
    EXPECT_EQ(attributeRefused(framed("1", "'1.2.3.4'", "99999999999999999999999")), "len");
    EXPECT_EQ(attributeRefused(framed("1", "'1.2.3.4'", "")), "len");
}

TEST(IpGenPrefixStrepTest, refusesTruncationsForeignBytesAndTextLeftOver) {
    for (IpGenPrefix const& prefix :
         {IpGenPrefix(IpAddr(0x0a000000), 8), IpGenPrefix(IpAddr(0x0a000001), 8),
          IpGenPrefix(Ip6Addr::fromString("2001:db8::"), 32),
          IpGenPrefix(Ip6Addr::fromString("::ffff:1.2.3.4"), 300)}) {
        String const text = valueToStrep(prefix);
        expectTruncationsRefused(parser, text);
        expectForeignBytesRefused(parser, text);
        EXPECT_FALSE(accepts(parser, text + text));
        EXPECT_FALSE(accepts(parser, text + "'"));
    }
}

}  // namespace
