#include <Nimbal/Ip6Addr.h>
#include <Vexo/RangeException.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <sstream>

namespace {

using Nimbal::Ip6Addr;
using Nimbal::U32;
using Nimbal::U8;
using Vexo::RangeException;
using Vexo::String;

constexpr Ip6Addr::Bytes counting{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
static_assert(Ip6Addr().bytes() == Ip6Addr::Bytes{});
static_assert(Ip6Addr(counting).bytes() == counting);

template <class Operation>
String refusalOf(Operation&& operation) {
    try {
        operation();
    } catch (RangeException const& error) {
        return error.what();
    }
    return "(not refused)";
}

TEST(Ip6AddrTest, bytesAndWordsAreInNetworkOrder) {
    Ip6Addr const address(std::span<U8 const, 16>{counting});
    EXPECT_EQ(address.bytes(), counting);
    EXPECT_EQ(address.u32(0), 0x00010203U);
    EXPECT_EQ(address.u32(1), 0x04050607U);
    EXPECT_EQ(address.u32(2), 0x08090a0bU);
    EXPECT_EQ(address.u32(3), 0x0c0d0e0fU);
    EXPECT_EQ(Ip6Addr::fromWords({0x00010203, 0x04050607, 0x08090a0b, 0x0c0d0e0f}), address);
    EXPECT_EQ(address.stringValue(), "1:203:405:607:809:a0b:c0d:e0f");
}

TEST(Ip6AddrTest, aWordThatIsNotThereIsRefusedByItsIndex) {
    EXPECT_EQ(refusalOf([] { Ip6Addr(counting).u32(4); }),
              "an IPv6 address has no 32-bit word 4, only 0 to 3");
    EXPECT_EQ(refusalOf([] { Ip6Addr(counting).u32(0xffffffff); }),
              "an IPv6 address has no 32-bit word 4294967295, only 0 to 3");
    EXPECT_EQ(refusalOf([] { Nimbal::throwIp6AddrU32(7); }),
              "an IPv6 address has no 32-bit word 7, only 0 to 3");
}

TEST(Ip6AddrTest, isOrderedAsANumber) {
    std::array const ascending{
        Ip6Addr::fromString("::"),           Ip6Addr::fromString("::1"),
        Ip6Addr::fromString("::ff"),         Ip6Addr::fromString("::100"),
        Ip6Addr::fromString("::1:0:0"),      Ip6Addr::fromString("1::"),
        Ip6Addr::fromString("7fff::"),       Ip6Addr::fromString("8000::"),
        Ip6Addr::fromString("8000::8000:0"), Ip6Addr::fromString("ffff::"),
    };
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        for (std::size_t j = 0; j < ascending.size(); ++j) {
            EXPECT_EQ(ascending.at(i) < ascending.at(j), i < j) << i << ' ' << j;
            EXPECT_EQ(ascending.at(i) == ascending.at(j), i == j) << i << ' ' << j;
        }
    }
}

TEST(Ip6AddrTest, ipv4MappedAddressesAreThoseOfOnePrefixOf96Bits) {
    EXPECT_TRUE(Ip6Addr::fromString("::ffff:0:0").isIpv4Mapped());
    EXPECT_TRUE(Ip6Addr::fromString("::ffff:ffff:ffff").isIpv4Mapped());
    auto const mapped = Ip6Addr::fromString("::ffff:102:304").bytes();
    for (std::size_t bit = 0; bit < 128; ++bit) {
        auto bytes = mapped;
        bytes[bit / 8] ^= static_cast<U8>(0x80U >> (bit % 8));
        EXPECT_EQ(Ip6Addr(bytes).isIpv4Mapped(), bit >= 96) << bit;
    }
}

TEST(Ip6AddrTest, printsItselfOnAStreamWhateverItsBase) {
    std::ostringstream out;
    out << std::hex << std::uppercase << Ip6Addr::fromString("2001:DB8::A") << ' '
        << Ip6Addr::fromString("::ffff:10.0.0.1") << ' ' << 10;
    EXPECT_EQ(out.str(), "2001:db8::a ::ffff:10.0.0.1 A");
}

}  // namespace
