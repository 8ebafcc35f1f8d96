#include <tests/Nimbal/Parsing.h>
#include <tests/Nimbal/RandomPrefixes.h>

#include <gtest/gtest.h>

namespace {

using namespace NimbalTest;
using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;

auto const parser = [](std::string_view text) {
    return IpGenPrefix::fromStringClearingHostBits(text);
};

struct Form {
    char const* read;
    char const* printed;
    bool cleared;
};

TEST(PrefixClearingTest, clearsHostBitsAndTellsWhetherThereWereAny) {
    for (auto const& [read, printed, expected] :
         {Form{"10.1.2.3/8", "10.0.0.0/8", true}, Form{"10.0.0.0/8", "10.0.0.0/8", false},
          Form{"255.255.255.255/0", "0.0.0.0/0", true}, Form{"1.2.3.5/31", "1.2.3.4/31", true},
          Form{"1.2.3.5/32", "1.2.3.5/32", false}, Form{"2001:db8::1/32", "2001:db8::/32", true},
          Form{"2001:db8::/32", "2001:db8::/32", false}, Form{"::1/127", "::/127", true},
          Form{"::1/128", "::1/128", false}, Form{"ffff::/1", "8000::/1", true},
          Form{"::ffff:1.2.3.4/95", "::fffe:0:0/95", true}}) {
        for (bool cleared : {false, true}) {
            EXPECT_EQ(IpGenPrefix::fromStringClearingHostBits(read, &cleared).stringValue(),
                      printed);
            EXPECT_EQ(cleared, expected) << read;
        }
        EXPECT_EQ(IpGenPrefix::fromStringClearingHostBits(read).stringValue(), printed);
    }
}

TEST(PrefixClearingTest, answersWhatClearingBitByBitDoes) {
    RandomPrefixes random(21);
    for (int i = 0; i < 2000 && !HasFailure(); ++i) {
        for (auto const af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
            BitsPrefix model = random.any(af);
            model.len = model.reach();
            bool cleared = false;
            IpGenPrefix const read =
                IpGenPrefix::fromStringClearingHostBits(model.prefix().stringValue(), &cleared);
            EXPECT_EQ(read, model.hostBitsCleared().prefix());
            EXPECT_EQ(cleared, model.bits != model.hostBitsCleared().bits);
        }
    }
}

TEST(PrefixClearingTest, isAsStrictInAllElse) {
    expectRefused(parser, {{"10.0.0.0", "the prefix length is missing"},
                           {"10.0.0.1/33", "the prefix length is over 32"},
                           {"10.0.0.1/08", "the prefix length has a leading zero"},
                           {"::1/129", "the prefix length is over 128"},
                           {"256.0.0.1/8", "a part of the IPv4 address is over 255"},
                           {"1::2::/8", "an IPv6 address has \"::\" twice"},
                           {"10.0.0.1/8 ", "unexpected text ' ' at the end"}});
    expectTruncationsRefused(parser, "10.0.0.1/24", {"10.0.0.1/2"});
    expectTruncationsRefused(parser, "2001:db8::1/128", {"2001:db8::1/1", "2001:db8::1/12"});
    expectForeignBytesRefused(parser, "10.1.2.3/24");
    expectForeignBytesRefused(parser, "2001:db8::1/32");
}

}  // namespace
