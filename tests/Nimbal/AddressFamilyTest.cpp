#include <Nimbal/AddressFamily.h>

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

namespace {

using Nimbal::AddressFamily;
using Nimbal::maxPrefixLen;
using Nimbal::U32;

static_assert(sizeof(AddressFamily) == 4);
static_assert(static_cast<U32>(AddressFamily::none) == 0);
static_assert(static_cast<U32>(AddressFamily::ipv4) == 1);
static_assert(static_cast<U32>(AddressFamily::ipv6) == 2);
static_assert(AddressFamily{} == AddressFamily::none);

template <class... Pieces>
std::string printed(Pieces const&... pieces) {
    std::ostringstream out;
    (out << ... << pieces);
    return out.str();
}

TEST(AddressFamilyTest, printsItsName) {
    EXPECT_EQ(printed(AddressFamily::none), "none");
    EXPECT_EQ(printed(AddressFamily::ipv4), "ipv4");
    EXPECT_EQ(printed(AddressFamily::ipv6), "ipv6");
}

TEST(AddressFamilyTest, printsACodeWithoutNameInDecimal) {
    EXPECT_EQ(printed(AddressFamily{3}), "3");
    EXPECT_EQ(printed(AddressFamily{10}), "10");
    EXPECT_EQ(printed(AddressFamily{0xffffffffU}), "4294967295");
}

TEST(AddressFamilyTest, printsInDecimalOnAHexadecimalStreamAndLeavesThatSo) {
    EXPECT_EQ(printed(std::hex, std::showbase, AddressFamily{300}, ' ', 300), "300 0x12c");
}

TEST(AddressFamilyTest, onlyCode2HasTheLengthsOfIpv6) {
    for (U32 const code : {0U, 1U, 3U, 10U, 0x02000000U, 0xffffffffU}) {
        EXPECT_EQ(maxPrefixLen(AddressFamily{code}), 32U) << code;
    }
    EXPECT_EQ(maxPrefixLen(AddressFamily::ipv6), 128U);
}

TEST(AddressFamilyTest, theModuleNamesItself) {
    EXPECT_STREQ(Nimbal::nimbalModule.name(), "Nimbal");
}

}  // namespace
