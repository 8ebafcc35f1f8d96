#include <tests/Nimbal/Parsing.h>

#include <Nimbal/Ip6Addr.h>
#include <Nimbal/IpAddr.h>

#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <array>
#include <random>
#include <type_traits>

/*
 * Printing and reading against the C library's inet_ntop and inet_pton. They agree but for one
 * thing: the C library prints ::/96 with a set bit in the seventh group in mixed notation
 * ("::1.2.3.4", the deprecated IPv4-compatible form), where the canonical form is hexadecimal.
 */

namespace {

using namespace NimbalTest;
using Nimbal::Ip6Addr;
using Nimbal::IpAddr;
using Nimbal::U32;
using Nimbal::U8;

String libcText(int family, void const* bytes) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    EXPECT_NE(inet_ntop(family, bytes, text.data(), text.size()), nullptr);
    return text.data();
}

template <std::size_t Size>
std::optional<std::array<U8, Size>> libcBytes(int family, String const& text) {
    std::array<U8, Size> bytes{};
    return inet_pton(family, text.c_str(), bytes.data()) == 1 ? std::optional(bytes) : std::nullopt;
}

template <class Address>
std::optional<std::remove_cvref_t<decltype(Address().bytes())>> ownBytes(String const& text) {
    try {
        return Address::fromString(text).bytes();
    } catch (Vexo::RangeException const&) {
        return std::nullopt;
    }
}

bool isIpv4Compatible(Ip6Addr const& address) {
    return address.u32(0) == 0 && address.u32(1) == 0 && address.u32(2) == 0 &&
           (address.u32(3) >> 16) != 0;
}

void expectSameText(Ip6Addr const& address) {
    String const theirs = libcText(AF_INET6, address.bytes().data());
    String const ours = address.stringValue();
    if (isIpv4Compatible(address)) {
        EXPECT_EQ(theirs, "::" + IpAddr(address.u32(3)).stringValue());
        EXPECT_EQ(ours,
                  Vexo::formatString("::%x:%x", address.u32(3) >> 16, address.u32(3) & 0xffffU));
    } else {
        EXPECT_EQ(ours, theirs);
    }
    for (String const& text : {ours, theirs, address.hexStringValue()}) {
        EXPECT_EQ(ownBytes<Ip6Addr>(text), address.bytes()) << text;
        EXPECT_EQ(libcBytes<16>(AF_INET6, text), address.bytes()) << text;
    }
}

class InetCrossCheckTest : public testing::TestWithParam<U32> {
protected:
    U32 below(U32 limit) { return static_cast<U32>(random_() % limit); }

    U32 group() {
        switch (below(8)) {
        case 0:
            return 0xffff;
        case 1:
            return below(16);
        case 2:
            return below(0x100);
        case 3:
            return below(0x10000);
        default:
            return 0;
        }
    }

    Ip6Addr ip6Addr() {
        Ip6Addr::Bytes bytes{};
        for (std::size_t at = 0; at < bytes.size(); at += 2) {
            U32 const value = group();
            bytes[at] = static_cast<U8>(value >> 8);
            bytes[at + 1] = static_cast<U8>(value);
        }
        return Ip6Addr(bytes);
    }

    /** The text with up to three bytes changed, taken out or put in. */
    String mutated(String text, std::string_view alphabet) {
        for (U32 changes = below(4); changes > 0; --changes) {
            std::size_t const at = below(static_cast<U32>(text.size()) + 1);
            char const byte = alphabet[below(static_cast<U32>(alphabet.size()))];
            if (at == text.size() || below(3) == 0) {
                text.insert(at, 1, byte);
            } else if (below(2) == 0) {
                text.erase(at, 1);
            } else {
                text[at] = byte;
            }
        }
        return text;
    }

    std::mt19937_64 random_{GetParam()};
};

TEST_P(InetCrossCheckTest, printsAndReadsIpv6AsTheCLibraryDoes) {
    for (int i = 0; i < 5000 && !HasFailure(); ++i) {
        expectSameText(ip6Addr());
    }
}

TEST_P(InetCrossCheckTest, printsAndReadsIpv4AsTheCLibraryDoes) {
    for (int i = 0; i < 5000 && !HasFailure(); ++i) {
        IpAddr const address(static_cast<U32>(random_()));
        String const text = address.stringValue();
        EXPECT_EQ(text, libcText(AF_INET, address.bytes().data()));
        EXPECT_EQ(libcBytes<4>(AF_INET, text), address.bytes());
        EXPECT_EQ(IpAddr::fromString(text), address);
    }
}

TEST_P(InetCrossCheckTest, acceptsTheIpv6TextsThatTheCLibraryAccepts) {
    int accepted = 0;
    int refused = 0;
    for (int i = 0; i < 20000 && !HasFailure(); ++i) {
        Ip6Addr const address = ip6Addr();
        String const text =
            mutated(below(2) == 0 ? libcText(AF_INET6, address.bytes().data())
                                  : address.hexStringValue() + (below(4) == 0 ? ":1.20.33.4" : ""),
                    "0123456789abcdefABCDEF:::::....g /%");
        auto const theirs = libcBytes<16>(AF_INET6, text);
        EXPECT_EQ(ownBytes<Ip6Addr>(text), theirs) << text;
        ++(theirs ? accepted : refused);
    }
    EXPECT_GT(accepted, 1000);
    EXPECT_GT(refused, 1000);
}

TEST_P(InetCrossCheckTest, acceptsTheIpv4TextsThatTheCLibraryAccepts) {
    int accepted = 0;
    int refused = 0;
    for (int i = 0; i < 20000 && !HasFailure(); ++i) {
        U32 const value = static_cast<U32>(random_()) & (below(2) == 0 ? 0xffffffffU : 0x0f0f0f0fU);
        String const text = mutated(IpAddr(value).stringValue(), "0123456789....x -");
        auto const theirs = libcBytes<4>(AF_INET, text);
        EXPECT_EQ(ownBytes<IpAddr>(text), theirs) << text;
        ++(theirs ? accepted : refused);
    }
    EXPECT_GT(accepted, 1000);
    EXPECT_GT(refused, 1000);
}

INSTANTIATE_TEST_SUITE_P(Seed, InetCrossCheckTest, testing::Range(1U, 5U));

TEST(InetZeroRunsTest, everyPatternOfZeroGroupsPrintsAsInTheCLibrary) {
    for (U32 pattern = 0; pattern < 256; ++pattern) {
        for (U32 const value : {1U, 0x20U, 0x300U, 0xabcdU, 0xffffU}) {
            Ip6Addr::Bytes bytes{};
            for (std::size_t group = 0; group < 8; ++group) {
                U32 const set = (pattern >> group) & 1U;
                bytes[2 * group] = static_cast<U8>(set * (value >> 8));
                bytes[2 * group + 1] = static_cast<U8>(set * (value & 0xffU));
            }
            expectSameText(Ip6Addr(bytes));
        }
    }
}

}  // namespace
