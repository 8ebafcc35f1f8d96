#include <tests/Nimbal/RandomPrefixes.h>

#include <Vexo/RangeException.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <unordered_set>
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
using Nimbal::U8;
using Vexo::String;

using Bytes = std::array<U8, 16>;
constexpr Bytes counting{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr Bytes firstFour{0, 1, 2, 3};

static_assert(sizeof(IpGenPrefix) == 24);
static_assert(std::is_trivially_copyable_v<IpGenPrefix> && std::is_standard_layout_v<IpGenPrefix>);
static_assert(std::has_unique_object_representations_v<IpGenPrefix>);
static_assert(IpGenPrefix(IpAddr(0x0a000001), 8).word(0) == 0x0a000001);
static_assert(IpGenPrefix(Ip6Addr(counting), 64).bit(15) == 1);

String refusalOfBit(IpGenPrefix const& prefix, U32 position) {
    try {
        prefix.bit(position);
    } catch (Vexo::RangeException const& error) {
        return error.what();
    }
    return "(not refused)";
}

TEST(IpGenPrefixTest, byDefaultIsOfNoFamily) {
    IpGenPrefix const prefix;
    EXPECT_EQ(prefix.af(), AddressFamily::none);
    EXPECT_EQ(prefix.len(), 0U);
    EXPECT_EQ(prefix.address(), Bytes{});
    EXPECT_EQ(prefix.stringValue(), "0.0.0.0/0");
}

TEST(IpGenPrefixTest, standsInMemoryAsFamilyAddressInNetworkOrderAndLength) {
    for (auto const& prefix :
         {IpGenPrefix(IpAddr(0x00010203), 24), IpGenPrefix(Ip6Addr(counting), 0x89abcdef)}) {
        std::array<U8, 24> memory{};
        std::memcpy(memory.data(), &prefix, sizeof prefix);
        U32 family = 0;
        U32 len = 0;
        Bytes address{};
        std::memcpy(&family, memory.data(), 4);
        std::memcpy(address.data(), memory.data() + 4, 16);
        std::memcpy(&len, memory.data() + 20, 4);
        EXPECT_EQ(family, static_cast<U32>(prefix.af()));
        EXPECT_EQ(address, prefix.af() == AddressFamily::ipv6 ? counting : firstFour);
        EXPECT_EQ(len, prefix.len());
    }
}

TEST(IpGenPrefixTest, constructorsKeepAddressAndLengthAsGiven) {
    for (U32 const len : {0U, 8U, 32U, 33U, 128U, 129U, 0xffffffffU}) {
        IpGenPrefix const four(IpAddr(0xffffffff), len);
        EXPECT_EQ(four.af(), AddressFamily::ipv4);
        EXPECT_EQ(four.len(), len);
        EXPECT_EQ(four.address(), (Bytes{0xff, 0xff, 0xff, 0xff}));
        EXPECT_EQ(four.v4Prefix(), IpPrefix(IpAddr(0xffffffff), len));

        IpGenPrefix const six(Ip6Addr(counting), len);
        EXPECT_EQ(six.af(), AddressFamily::ipv6);
        EXPECT_EQ(six.len(), len);
        EXPECT_EQ(six.address(), counting);
        EXPECT_EQ(six.v6Prefix(), Ip6Prefix(Ip6Addr(counting), len));
    }
}

TEST(IpGenPrefixTest, takesRawBytesAndZerosForThoseThatAreMissing) {
    std::array<U8, 20> bytes{};
    bytes.fill(0xff);
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        std::vector<U8> const given(bytes.begin(),
                                    bytes.begin() + static_cast<std::ptrdiff_t>(size));
        Bytes expected{};
        std::fill_n(expected.begin(), std::min<std::size_t>(size, 16), U8{0xff});
        EXPECT_EQ(IpGenPrefix(AddressFamily::ipv6, given, 9).address(), expected) << size;
        std::fill(expected.begin() + 4, expected.end(), U8{0});
        for (U32 const code : {0U, 1U, 3U, 0xffffffffU}) {
            IpGenPrefix const prefix(AddressFamily{code}, given, 77);
            EXPECT_EQ(prefix.address(), expected) << size << ' ' << code;
            EXPECT_EQ(prefix.af(), AddressFamily{code});
            EXPECT_EQ(prefix.len(), 77U);
        }
    }
}

TEST(IpGenPrefixTest, theUnusedBytesOfIpv4AreZeroWhateverWasGiven) {
    Bytes garbage = counting;
    garbage.fill(0xee);
    IpGenPrefix const prefix(AddressFamily::ipv4, garbage, 32);
    EXPECT_EQ(prefix, IpGenPrefix(IpAddr(0xeeeeeeee), 32));
    EXPECT_EQ(std::hash<IpGenPrefix>()(prefix),
              std::hash<IpGenPrefix>()(IpGenPrefix(IpAddr(0xeeeeeeee), 32)));
    EXPECT_EQ(prefix.word(1) | prefix.word(2) | prefix.word(3), 0U);
}

TEST(IpGenPrefixTest, bitsAndWordsAreThoseOfTheAddress) {
    RandomPrefixes random(1);
    for (int i = 0; i < 200; ++i) {
        for (auto const af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
            BitsPrefix const model = random.any(af);
            IpGenPrefix const prefix = model.prefix();
            for (U32 word = 0; word < 4; ++word) {
                U32 expected = 0;
                for (std::size_t bit = 0; bit < 32; ++bit) {
                    bool const set = model.bits[32 * std::size_t{word} + bit];
                    EXPECT_EQ(prefix.bit(32 * word + static_cast<U32>(bit)), set ? 1U : 0U);
                    expected = 2 * expected + (set ? 1 : 0);
                }
                EXPECT_EQ(prefix.word(word), expected);
            }
        }
    }
}

TEST(IpGenPrefixTest, aBitPastTheAddressIsRefusedByItsWord) {
    for (auto const& prefix : {IpGenPrefix(Ip6Addr(counting), 128), IpGenPrefix(IpAddr(1), 200)}) {
        EXPECT_EQ(prefix.bit(127), prefix.af() == AddressFamily::ipv6 ? 1U : 0U);
        EXPECT_EQ(refusalOfBit(prefix, 128), "an IPv6 address has no 32-bit word 4, only 0 to 3");
        EXPECT_EQ(refusalOfBit(prefix, 160), "an IPv6 address has no 32-bit word 5, only 0 to 3");
        EXPECT_EQ(refusalOfBit(prefix, 0xffffffff),
                  "an IPv6 address has no 32-bit word 134217727, only 0 to 3");
    }
}

TEST(IpGenPrefixTest, clearsExactlyTheBitsPastItsLength) {
    for (auto const af : {AddressFamily::ipv4, AddressFamily::ipv6, AddressFamily{9}}) {
        BitsPrefix model{af, {}, 0};
        std::fill_n(model.bits.begin(), Nimbal::maxPrefixLen(af), true);
        for (U32 const over : {0U, 1U, 5U, 0xffffffffU - 128}) {
            for (model.len = 0; model.len < Nimbal::maxPrefixLen(af); ++model.len) {
                IpGenPrefix const cleared = model.prefix().hostBitsCleared();
                EXPECT_EQ(cleared, model.hostBitsCleared().prefix()) << model.len;
                EXPECT_EQ(cleared.hostBitsCleared(), cleared) << model.len;
            }
            model.len = Nimbal::maxPrefixLen(af) + over;
            EXPECT_EQ(model.prefix().hostBitsCleared(), model.prefix()) << model.len;
        }
    }
    EXPECT_EQ(IpPrefix(IpAddr(0x0a0102ff), 25).hostBitsCleared(), IpPrefix(IpAddr(0x0a010280), 25));
    EXPECT_EQ(Ip6Prefix(Ip6Addr::fromString("1:2:3::ffff"), 125).hostBitsCleared(),
              Ip6Prefix(Ip6Addr::fromString("1:2:3::fff8"), 125));
}

TEST(IpGenPrefixTest, isOrderedByFamilyThenAddressThenLength) {
    RandomPrefixes random(2);
    auto const key = [](IpGenPrefix const& prefix) {
        return std::tuple(static_cast<U32>(prefix.af()), prefix.address(), prefix.len());
    };
    std::vector<IpGenPrefix> prefixes;
    for (int i = 0; i < 40; ++i) {
        for (U32 const code : {0U, 1U, 2U, 3U}) {
            BitsPrefix const one = random.any(AddressFamily{code});
            prefixes.push_back(one.prefix());
            prefixes.push_back(random.near(one).prefix());
        }
    }
    for (IpGenPrefix const& a : prefixes) {
        for (IpGenPrefix const& b : prefixes) {
            EXPECT_EQ(a < b, key(a) < key(b)) << a << ' ' << b;
            EXPECT_EQ(a == b, key(a) == key(b)) << a << ' ' << b;
        }
    }
}

TEST(IpGenPrefixTest, theOrderOfPrefixesIsThePreOrderOfTheirTree) {
    // In pre-order a prefix stands before those it covers, and those with a 0 next before those
    // with a 1: the order of the texts of their leading bits.
    RandomPrefixes random(3);
    for (auto const af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
        std::vector<BitsPrefix> models;
        for (int i = 0; i < 300; ++i) {
            models.push_back(random.any(af));
            for (int j = 0; j < 3; ++j) {
                models.push_back(random.near(models.back()));
            }
        }
        std::vector<IpGenPrefix> prefixes;
        for (BitsPrefix& model : models) {
            model.len = model.reach();
            model = model.hostBitsCleared();
            prefixes.push_back(model.prefix());
        }
        std::sort(prefixes.begin(), prefixes.end());
        std::sort(models.begin(), models.end(), [](BitsPrefix const& a, BitsPrefix const& b) {
            return a.leadingBits() < b.leadingBits();
        });
        for (std::size_t i = 0; i < models.size(); ++i) {
            EXPECT_EQ(prefixes[i], models[i].prefix()) << i;
        }
    }
}

TEST(IpGenPrefixTest, hashesSpread) {
    std::unordered_set<IpGenPrefix> prefixes;
    std::unordered_set<std::size_t> hashes;
    for (U32 i = 0; i < 1000; ++i) {
        prefixes.insert(IpGenPrefix(IpAddr(0x0a000000 + (i << 8)), 24));
        prefixes.insert(IpGenPrefix(Ip6Addr::fromWords({0x20010db8, i, 0, 0}), 64));
    }
    for (IpGenPrefix const& prefix : prefixes) {
        hashes.insert(std::hash<IpGenPrefix>()(prefix));
    }
    EXPECT_EQ(prefixes.size(), 2000U);
    EXPECT_GE(hashes.size(), 1998U);
}

}  // namespace
