#include <tests/tools/MrtBytes.h>
#include <tests/tools/MrtReading.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace LpmTools {
namespace {

using namespace ToolsTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string const hop6 = address("2001:db8::9");

std::string errorOf(std::string const& stream, bool strict = false) {
    return readMrt(stream, strict).error;
}
std::string recordOf(std::string const& content) {
    return record(16, 4, Session().longAs() + message(2, content));
}

TEST(MrtMessageTest, withdrawalsComeBeforeAnnouncementsOfBothFamilies) {
    Reading const reading = readMrt(updateRecord(
        routes({"10.1.0.0/16", "0.0.0.0/0"}),
        join({origin(), reach(2, 1, hop6, routes({"2001:db8::/32"})), nextHop("192.0.2.9"),
              unreach(2, 1, routes({"2001:db8::/32", "2001:db8::1/128"}))}),
        routes({"10.2.3.0/24"})));
    EXPECT_EQ(reading.error, "");
    EXPECT_THAT(told(reading),
                ElementsAre("W 10.1.0.0/16 peer 0", "W 0.0.0.0/0 peer 0", "W 2001:db8::/32 peer 0",
                            "W 2001:db8::1/128 peer 0",
                            "A 2001:db8::/32 peer 0 via 20010db8000000000000000000000009",
                            "A 10.2.3.0/24 peer 0 via c0000209"));
    EXPECT_EQ(reading.counts.withdrawals, 4U);
    EXPECT_EQ(reading.counts.announcements, 2U);
    EXPECT_EQ(reading.counts.endOfRibMarkers, 0U);
}

TEST(MrtMessageTest, everySubtypeHasItsFormAndItsPeer) {
    std::string const plain = update(routes({"10.0.0.0/8"}), {}, {});
    std::string const withId = update(u32(7) + routes({"10.0.0.0/8"}), {}, {});
    Session const session;
    std::string const as2 = session.shortAs();
    std::string const as4 = session.longAs();
    MrtPeers peers;
    Reading const reading = readMrt(
        record(16, 1, as2 + plain) + record(16, 4, as4 + plain) + record(16, 6, as2 + plain) +
            record(16, 7, as4 + plain) + record(16, 8, as2 + withId) + record(16, 9, as4 + withId) +
            record(16, 10, as2 + withId) + record(16, 11, as4 + withId) +
            record(17, 9, u32(1) + as4 + withId),
        peers);
    EXPECT_EQ(reading.error, "");
    EXPECT_THAT(told(reading),
                ElementsAre("W 10.0.0.0/8 peer 0", "W 10.0.0.0/8 peer 0", "W 10.0.0.0/8 peer 1",
                            "W 10.0.0.0/8 peer 1", "W 10.0.0.0/8 peer 0 path 7",
                            "W 10.0.0.0/8 peer 0 path 7", "W 10.0.0.0/8 peer 1 path 7",
                            "W 10.0.0.0/8 peer 1 path 7", "W 10.0.0.0/8 peer 0 path 7"));
    ASSERT_EQ(peers.size(), 2U);
    EXPECT_FALSE(peers[0].isLocal);
    EXPECT_TRUE(peers[1].isLocal);
    EXPECT_EQ(peers[0].as, 65001U);
    EXPECT_EQ(peers[1].address, Nimbal::IpGenPrefix::fromString("192.0.2.1/32"));
}

TEST(MrtMessageTest, pathIdentifiersStandBeforeRoutesInAttributesToo) {
    std::string const attributes =
        reach(2, 1, hop6, u32(1) + routes({"2001:db8::/32"}) + u32(2) + routes({"2001:db8::/32"})) +
        unreach(1, 1, u32(3) + routes({"10.0.0.0/8"}));
    Reading const reading = readMrt(record(16, 9, Session().longAs() + update({}, attributes, {})));
    EXPECT_THAT(told(reading),
                ElementsAre("W 10.0.0.0/8 peer 0 path 3",
                            "A 2001:db8::/32 peer 0 path 1 via 20010db8000000000000000000000009",
                            "A 2001:db8::/32 peer 0 path 2 via 20010db8000000000000000000000009"));
}

TEST(MrtMessageTest, ipv4RoutesMayHaveIpv6NextHopsAndPairsOfThem) {
    Reading const reading = readMrt(
        updateRecord({}, reach(1, 1, hop6 + address("fe80::1"), routes({"10.0.0.0/8"})), {}));
    EXPECT_THAT(told(reading),
                ElementsAre("A 10.0.0.0/8 peer 0 via 20010db8000000000000000000000009"
                            "fe800000000000000000000000000001"));
}

TEST(MrtMessageTest, otherFamiliesAreCountedAndSkipped) {
    Reading const reading = readMrt(updateRecord(
        {}, join({reach(1, 128, std::string(12, 'x'), "what"), unreach(25, 70, "ever")}), {}));
    EXPECT_EQ(reading.error, "");
    EXPECT_THAT(reading.events, IsEmpty());
    EXPECT_EQ(reading.counts.otherFamilies, 2U);
    EXPECT_EQ(reading.counts.endOfRibMarkers, 0U);
}

TEST(MrtMessageTest, recordOfAPeerWithAnUnknownAddressIsSkipped) {
    Reading const reading =
        readMrt(record(16, 4, join({u32(1), u32(2), u16(0), u16(0), "whatever"})));
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.counts.otherFamilies, 1U);
    EXPECT_EQ(reading.counts.recordsWithMore, 0U);
}

TEST(MrtMessageTest, endOfRibMarkersAreCounted) {
    Reading const reading =
        readMrt(updateRecord({}, {}, {}) + updateRecord({}, unreach(2, 1, {}), {}) +
                updateRecord({}, origin(), {}) + updateRecord({}, unreach(1, 128, {}), {}));
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.counts.updates, 4U);
    EXPECT_EQ(reading.counts.endOfRibMarkers, 2U);
}

TEST(MrtMessageTest, otherMessagesAndStateChangesAreCounted) {
    std::string const session = Session().longAs();
    std::string const states = u16(3) + u16(6);
    Reading const reading = readMrt(
        record(16, 4, session + message(1, "open")) + record(16, 4, session + message(3, "no")) +
        record(16, 4, session + message(4, "")) + record(16, 4, session + message(4, "")) +
        record(16, 4, session + message(5, "r")) + record(16, 4, session + message(9, "")) +
        record(16, 5, session + states) + record(16, 0, Session().shortAs() + states));
    EXPECT_EQ(reading.error, "");
    EXPECT_THAT(reading.counts.otherMessages, ElementsAre(1, 1, 0, 1, 2, 1));
    EXPECT_EQ(reading.counts.stateChanges, 2U);
    EXPECT_EQ(reading.counts.records, 8U);
    EXPECT_EQ(reading.counts.recordsWithMore, 0U);
}

TEST(MrtMessageTest, bytesBehindTheMessageAreIgnoredAndCounted) {
    std::string const body = Session().longAs() + update(routes({"10.0.0.0/8"}), {}, {});
    Reading const reading = readMrt(record(16, 4, body + "x") + record(16, 4, body));
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.counts.recordsWithMore, 1U);
    EXPECT_EQ(reading.counts.withdrawals, 2U);
}

TEST(MrtMessageTest, hostBitsAreClearedAndCountedOrRefused) {
    std::string const stream =
        updateRecord(u8(13) + "\x0b\x0d", {}, {}) + updateRecord(u8(7) + "\xff", {}, {});
    Reading const reading = readMrt(stream);
    EXPECT_THAT(told(reading), ElementsAre("W 11.8.0.0/13 peer 0", "W 254.0.0.0/7 peer 0"));
    EXPECT_EQ(reading.counts.hostBitsCleared, 2U);
    EXPECT_THAT(errorOf(stream, true),
                HasSubstr("record 1 at byte 0: host bits are set in 11.13."));
    EXPECT_EQ(errorOf(updateRecord(routes({"11.8.0.0/13"}), {}, {}), true), "");
}

TEST(MrtMessageTest, listThatEndsWithinARouteIsReadUpToThereOrRefused) {
    std::string const cut = routes({"10.0.0.0/8"}) + u8(24) + "\x0a\x01";
    std::string const stream = updateRecord(cut, nextHop("192.0.2.9"), cut);
    Reading const reading = readMrt(stream);
    EXPECT_EQ(reading.error, "");
    EXPECT_THAT(told(reading),
                ElementsAre("W 10.0.0.0/8 peer 0", "A 10.0.0.0/8 peer 0 via c0000209"));
    EXPECT_EQ(reading.counts.cutRoutes, 2U);
    EXPECT_THAT(errorOf(stream, true),
                HasSubstr("the prefix runs past the end of the list of withdrawn routes"));
    // Within the identifier, and right behind it.
    std::string const session = Session().longAs();
    for (std::size_t const length : {1U, 4U, 5U}) {
        std::string const ids = (u32(7) + u8(8) + "\x0a").substr(0, length);
        Reading const short_ = readMrt(record(16, 9, session + update(ids, {}, {})));
        EXPECT_EQ(short_.error, "");
        EXPECT_EQ(short_.counts.cutRoutes, 1U);
    }
}

TEST(MrtMessageTest, prefixLengthOverTheFamilysLimitIsRefused) {
    EXPECT_THAT(errorOf(updateRecord(u8(33) + "12345", {}, {})),
                HasSubstr("a prefix length of 33 is over the 32 of its family"));
    EXPECT_THAT(errorOf(updateRecord({}, unreach(2, 1, u8(129) + std::string(17, 'x')), {})),
                HasSubstr("a prefix length of 129 is over the 128 of its family"));
    EXPECT_THAT(errorOf(updateRecord(u8(200), {}, {})), HasSubstr("a prefix length of 200"));
}

TEST(MrtMessageTest, lengthsThatLieAreRefused) {
    std::string const session = Session().longAs();
    EXPECT_THAT(errorOf(record(16, 4, session + std::string(16, 'x') + u16(19) + u8(4))),
                HasSubstr("no message begins where one should"));
    EXPECT_THAT(errorOf(record(16, 4, session + std::string(16, '\xff') + u16(18) + u8(4))),
                HasSubstr("a message of 18 bytes is shorter than its header"));
    EXPECT_THAT(errorOf(record(16, 4, session + std::string(16, '\xff') + u16(20) + u8(4))),
                HasSubstr("the message runs past the end of the record"));
    EXPECT_THAT(errorOf(recordOf(u16(1))),
                HasSubstr("the list of withdrawn routes runs past the end of the message"));
    EXPECT_THAT(errorOf(recordOf(u16(0) + u16(5) + "1234")),
                HasSubstr("the list of attributes runs past the end of the message"));
    EXPECT_THAT(errorOf(recordOf(u16(0) + u16(4) + "\x40\x01\x02x")),
                HasSubstr("the value of an attribute runs past the end of the list of attributes"));
    EXPECT_THAT(errorOf(record(16, 5, session + "abc")),
                HasSubstr("the pair of states runs past the end of the record"));
    EXPECT_THAT(errorOf(record(17, 4, "abc")), HasSubstr("the count of microseconds runs past"));
}

TEST(MrtMessageTest, attributesThatCannotBeRightAreRefused) {
    std::string const hop = nextHop("192.0.2.9");
    EXPECT_THAT(errorOf(updateRecord({}, hop + hop, {})),
                HasSubstr("the attribute NEXT_HOP comes twice"));
    EXPECT_THAT(errorOf(updateRecord({}, attribute(3, "12345"), {})),
                HasSubstr("the attribute NEXT_HOP has 5 bytes instead of 4"));
    EXPECT_THAT(errorOf(updateRecord({}, unreach(2, 1, "") + unreach(2, 1, ""), {})),
                HasSubstr("the attribute MP_UNREACH_NLRI comes twice"));
    EXPECT_THAT(errorOf(updateRecord({}, reach(2, 1, "", ""), {})),
                HasSubstr("a next hop of 0 bytes"));
    EXPECT_THAT(errorOf(updateRecord({}, reach(2, 1, std::string(33, 'x'), ""), {})),
                HasSubstr("a next hop of 33 bytes"));
    EXPECT_THAT(errorOf(updateRecord({}, attribute(14, u16(2) + u8(1) + u8(16) + "x"), {})),
                HasSubstr("the next hop runs past the end of the attribute MP_REACH_NLRI"));
}

TEST(MrtMessageTest, attributesMayHaveLongLengths) {
    std::string many;
    for (int i = 0; i < 300; ++i) {
        many += routes({"10.0.0.0/8"});
    }
    Reading const reading = readMrt(updateRecord({}, unreach(1, 1, many), {}));
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.counts.withdrawals, 300U);
}

}  // namespace
}  // namespace LpmTools
