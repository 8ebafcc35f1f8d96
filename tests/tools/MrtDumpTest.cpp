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
char const* const hop6Text = "20010db8000000000000000000000009";

std::string peers() {
    return peerTable({{"192.0.2.1", 65001}, {"2001:db8::1", 70000}});
}
/** What tables hold of MP_REACH_NLRI. */
std::string shortReach(std::string const& hop) {
    return attribute(14, u8(static_cast<U32>(hop.size())) + hop);
}
std::string errorOf(std::string const& stream, bool strict = false) {
    return readMrt(stream, strict).error;
}

TEST(MrtDumpTest, entriesOfATableArePathsOfItsPeers) {
    Reading const reading =
        readMrt(peers() +
                record(13, 2,
                       rib("10.0.0.0/8", {ribEntry(0, origin() + nextHop("192.0.2.9")),
                                          ribEntry(1, shortReach(hop6))})) +
                record(13, 4, rib("2001:db8::/32", {ribEntry(1, shortReach(hop6))})) +
                record(13, 2, rib("0.0.0.0/0", {})));
    EXPECT_EQ(reading.error, "");
    EXPECT_THAT(told(reading), ElementsAre("D 10.0.0.0/8 peer 0 via c0000209",
                                           std::string("D 10.0.0.0/8 peer 1 via ") + hop6Text,
                                           std::string("D 2001:db8::/32 peer 1 via ") + hop6Text));
    EXPECT_EQ(reading.counts.dumpEntries, 3U);
    EXPECT_EQ(reading.counts.announcements, 0U);
    EXPECT_EQ(reading.counts.peerTables, 1U);
    EXPECT_EQ(reading.counts.records, 4U);
    EXPECT_EQ(reading.counts.recordsWithMore, 0U);
}

TEST(MrtDumpTest, entriesMayHavePathIdentifiers) {
    Reading const reading =
        readMrt(peers() +
                record(13, 8,
                       rib("10.0.0.0/8", {ribEntryWithId(0, 1, nextHop("192.0.2.9")),
                                          ribEntryWithId(0, 0xffffffff, {})})) +
                record(13, 10, rib("2001:db8::/32", {ribEntryWithId(1, 5, shortReach(hop6))})));
    EXPECT_EQ(reading.error, "");
    EXPECT_THAT(told(reading),
                ElementsAre("D 10.0.0.0/8 peer 0 path 1 via c0000209",
                            "D 10.0.0.0/8 peer 0 path 4294967295",
                            std::string("D 2001:db8::/32 peer 1 path 5 via ") + hop6Text));
}

TEST(MrtDumpTest, peersMayHaveShortNumbersAndTwoEntriesBeTheSameOne) {
    std::string const body =
        join({u32(1), sized(""), u16(3), u8(0), u32(1), address("192.0.2.1"), u16(65001), u8(2),
              u32(2), address("192.0.2.1"), u32(65001), u8(1), u32(3), address("::1"), u16(1)});
    MrtPeers numbers;
    Reading const reading = readMrt(
        record(13, 1, body) +
            record(13, 2, rib("10.0.0.0/8", {ribEntry(0, {}), ribEntry(1, {}), ribEntry(2, {})})),
        numbers);
    EXPECT_EQ(reading.error, "");
    EXPECT_THAT(told(reading),
                ElementsAre("D 10.0.0.0/8 peer 0", "D 10.0.0.0/8 peer 0", "D 10.0.0.0/8 peer 1"));
    EXPECT_EQ(numbers.size(), 2U);
}

TEST(MrtDumpTest, wholeAttributesOfUpdatesAreTakenToo) {
    Reading const reading = readMrt(
        peers() + record(13, 4, rib("::/0", {ribEntry(0, reach(2, 1, hop6, routes({"::/0"})))})));
    EXPECT_EQ(reading.error, "");
    EXPECT_THAT(told(reading), ElementsAre(std::string("D ::/0 peer 0 via ") + hop6Text));
    EXPECT_EQ(reading.counts.recordsWithMore, 0U);
}

TEST(MrtDumpTest, newTableOfPeersReplacesTheOld) {
    std::string const entry = record(13, 2, rib("10.0.0.0/8", {ribEntry(0, {})}));
    Reading const reading = readMrt(peers() + entry + peerTable({{"192.0.2.7", 7}}) + entry);
    EXPECT_THAT(told(reading), ElementsAre("D 10.0.0.0/8 peer 0", "D 10.0.0.0/8 peer 2"));
}

TEST(MrtDumpTest, leftOverBytesAreIgnoredAndCounted) {
    std::string const entry = rib("10.0.0.0/8", {ribEntry(0, {})});
    Reading const reading =
        readMrt(peers() + record(13, 2, entry + "x") + record(13, 2, entry) +
                record(13, 4, rib("::/0", {ribEntry(0, attribute(14, u8(16) + hop6 + "more"))})));
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.counts.recordsWithMore, 2U);
    EXPECT_EQ(reading.counts.dumpEntries, 3U);
}

std::string oldEntry(U32 afi, std::string const& prefix, U32 len, std::string const& peer,
                     std::string const& attributes) {
    return record(12, afi,
                  join({u16(0), u16(1), address(prefix), u8(len), u8(1), u32(1), address(peer),
                        u16(65001), sized(attributes)}));
}

TEST(MrtDumpTest, oldTablesHoldOnePathARecord) {
    MrtPeers numbers;
    Reading const reading =
        readMrt(oldEntry(1, "10.0.0.0", 8, "192.0.2.1", origin() + nextHop("192.0.2.9")) +
                    oldEntry(2, "2001:db8::", 32, "2001:db8::1", reach(2, 1, hop6, "")) +
                    oldEntry(2, "2001:db8::", 33, "2001:db8::1", shortReach(hop6)),
                numbers);
    EXPECT_EQ(reading.error, "");
    EXPECT_THAT(told(reading), ElementsAre("D 10.0.0.0/8 peer 0 via c0000209",
                                           std::string("D 2001:db8::/32 peer 1 via ") + hop6Text,
                                           std::string("D 2001:db8::/33 peer 1 via ") + hop6Text));
    EXPECT_EQ(numbers[0].as, 65001U);
    EXPECT_EQ(reading.counts.recordsWithMore, 0U);
}

TEST(MrtDumpTest, hostBitsAreClearedAndCountedOrRefused) {
    std::string const stream = oldEntry(1, "10.1.0.0", 8, "192.0.2.1", {});
    Reading const reading = readMrt(stream);
    EXPECT_THAT(told(reading), ElementsAre("D 10.0.0.0/8 peer 0"));
    EXPECT_EQ(reading.counts.hostBitsCleared, 1U);
    EXPECT_THAT(errorOf(stream, true), HasSubstr("host bits are set in 10.1.0.0/8"));
}

TEST(MrtDumpTest, entriesThatLieAreRefused) {
    EXPECT_THAT(errorOf(record(13, 2, rib("10.0.0.0/8", {}))),
                HasSubstr("a table's entries come before the table of peers"));
    EXPECT_THAT(errorOf(peers() + record(13, 2, rib("10.0.0.0/8", {ribEntry(2, {})}))),
                HasSubstr("an entry names peer 2 of 2"));
    EXPECT_THAT(errorOf(peers() + record(13, 2, u32(1) + u8(33) + "123456")),
                HasSubstr("a prefix length of 33 is over the 32 of its family"));
    EXPECT_THAT(errorOf(peers() + record(13, 2, u32(1) + u8(32) + "123")),
                HasSubstr("the prefix runs past the end of the record"));
    EXPECT_THAT(errorOf(peers() + record(13, 2, u32(1) + u8(0) + u16(65535))),
                HasSubstr("the peer of an entry runs past the end of the record"));
    EXPECT_THAT(errorOf(peers() + record(13, 2, rib("::/0", {u16(0) + u32(0) + u16(9)}))),
                HasSubstr("the list of attributes runs past the end of the record"));
    EXPECT_THAT(errorOf(peers() + record(13, 4, rib("::/0", {ribEntry(0, attribute(14, ""))}))),
                HasSubstr("the next hop's length runs past the end of the attribute"));
    EXPECT_THAT(errorOf(record(13, 1, u32(1) + sized("") + u16(65535))),
                HasSubstr("the type of a peer runs past the end of the record"));
    EXPECT_THAT(errorOf(record(13, 1, u32(1) + u16(9) + "view")),
                HasSubstr("the view name runs past the end of the record"));
    EXPECT_THAT(errorOf(oldEntry(1, "10.0.0.0", 33, "192.0.2.1", {})),
                HasSubstr("a prefix length of 33"));
    EXPECT_THAT(errorOf(record(12, 1, "123")), HasSubstr("runs past the end of the record"));
}

}  // namespace
}  // namespace LpmTools
