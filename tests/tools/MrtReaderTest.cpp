#include <tools/MrtReader.h>

#include <tests/tools/MrtBytes.h>
#include <tests/tools/MrtDamage.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace LpmTools {
namespace {

using namespace ToolsTest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::string goodRecord() {
    return updateRecord({}, nextHop("192.0.2.9"), routes({"10.0.0.0/8"}));
}

TEST(MrtReaderTest, emptyFileHoldsNothing) {
    Reading const reading = readMrt("");
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.counts, MrtCounts());
    EXPECT_THAT(reading.events, IsEmpty());
}

TEST(MrtReaderTest, recordsComeInTheirOrder) {
    Reading const reading = readMrt(goodRecord() + updateRecord(routes({"10.0.0.0/8"}), {}, {}));
    EXPECT_THAT(told(reading),
                ElementsAre("A 10.0.0.0/8 peer 0 via c0000209", "W 10.0.0.0/8 peer 0"));
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.counts.records, 2U);
    EXPECT_EQ(reading.counts.updates, 2U);
    EXPECT_EQ(reading.counts.announcements, 1U);
    EXPECT_EQ(reading.counts.withdrawals, 1U);
}

TEST(MrtReaderTest, sourceMayHandOutBytesOneByOne) {
    std::string const stream = goodRecord() + goodRecord();
    MrtPeers peers;
    Reading const reading = readMrt(std::make_unique<MemorySource>(stream, 1), peers);
    EXPECT_EQ(reading.events, readMrt(stream).events);
    EXPECT_EQ(reading.counts.records, 2U);
}

TEST(MrtReaderTest, timeIsTheRecordsWithMicrosecondsWhereItHasThem) {
    std::string const body = Session().longAs() + update(routes({"10.0.0.0/8"}), {}, {});
    Reading const reading =
        readMrt(record(16, 4, body, 0xfedcba98) + record(17, 4, u32(123456) + body, 7));
    ASSERT_EQ(reading.events.size(), 2U);
    EXPECT_EQ(reading.events[0].seconds, 0xfedcba98U);
    EXPECT_EQ(reading.events[0].microseconds, 0U);
    EXPECT_EQ(reading.events[1].seconds, 7U);
    EXPECT_EQ(reading.events[1].microseconds, 123456U);
}

TEST(MrtReaderTest, unknownRecordsAreCountedByKindAndSkipped) {
    Reading const reading =
        readMrt(record(11, 0, "ospf") + record(13, 6, "x") + goodRecord() + record(13, 6, "") +
                record(13, 3, "x") + record(16, 2, "x") + record(999, 3, "x") + record(12, 7, ""));
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.events.size(), 1U);
    EXPECT_EQ(reading.counts.records, 8U);
    EXPECT_EQ(reading.counts.unknownRecords, 7U);
    EXPECT_THAT(reading.unknown, ElementsAre(Pair(MrtKind{11, 0}, 1), Pair(MrtKind{12, 7}, 1),
                                             Pair(MrtKind{13, 3}, 1), Pair(MrtKind{13, 6}, 2),
                                             Pair(MrtKind{16, 2}, 1), Pair(MrtKind{999, 3}, 1)));
}

TEST(MrtReaderTest, kindsOfUnknownRecordsAreKeptUpToABound) {
    std::string stream;
    for (U32 i = 0; i < MrtReader::mostUnknownKinds + 5; ++i) {
        stream += record(100, i, "") + record(100, 0, "");
    }
    Reading const reading = readMrt(stream);
    EXPECT_EQ(reading.unknown.size(), MrtReader::mostUnknownKinds);
    EXPECT_EQ(reading.unknown.at({100, 0}), MrtReader::mostUnknownKinds + 6);
    EXPECT_EQ(reading.counts.unknownRecords, 2 * (MrtReader::mostUnknownKinds + 5));
}

TEST(MrtReaderTest, namesAreThoseOfTheStandards) {
    EXPECT_EQ(mrtName({11, 0}), "OSPFv2");
    EXPECT_EQ(mrtName({11, 1}), "OSPFv2/1");
    EXPECT_EQ(mrtName({13, 6}), "TABLE_DUMP_V2/RIB_GENERIC");
    EXPECT_EQ(mrtName({13, 12}), "TABLE_DUMP_V2/RIB_GENERIC_ADDPATH");
    EXPECT_EQ(mrtName({13, 3}), "TABLE_DUMP_V2/RIB_IPV4_MULTICAST");
    EXPECT_EQ(mrtName({13, 0}), "TABLE_DUMP_V2/0");
    EXPECT_EQ(mrtName({13, 13}), "TABLE_DUMP_V2/13");
    EXPECT_EQ(mrtName({12, 2}), "TABLE_DUMP/AFI_IPv6");
    EXPECT_EQ(mrtName({16, 0}), "BGP4MP/BGP4MP_STATE_CHANGE");
    EXPECT_EQ(mrtName({17, 11}), "BGP4MP_ET/BGP4MP_MESSAGE_AS4_LOCAL_ADDPATH");
    EXPECT_EQ(mrtName({32, 0}), "ISIS");
    EXPECT_EQ(mrtName({48, 0}), "OSPFv3");
    EXPECT_EQ(mrtName({49, 0}), "OSPFv3_ET");
    EXPECT_EQ(mrtName({14, 0}), "type 14/0");
    EXPECT_EQ(mrtName({65535, 65535}), "type 65535/65535");
}

TEST(MrtReaderTest, errorNamesFileRecordPlaceAndFaultAndEndsTheReading) {
    std::string const good = goodRecord();
    std::string const bad = record(16, 4, Session().longAs() + "short");
    std::string const stream = good + record(11, 0, "") + bad + good;
    MrtPeers peers;
    MrtReader reader(std::make_unique<MemorySource>(stream), "routes.mrt", peers);
    MrtEvent event;
    ASSERT_TRUE(reader.next(event));
    try {
        reader.next(event);
        FAIL() << "no error";
    } catch (InputError const& error) {
        EXPECT_EQ(error.what(), "routes.mrt: record 3 at byte " + std::to_string(good.size() + 12) +
                                    ": the marker of a message runs past the end of the record");
    }
    EXPECT_FALSE(reader.next(event));
    EXPECT_EQ(reader.counts().records, 2U);
    EXPECT_EQ(reader.counts().announcements, 1U);
}

TEST(MrtReaderTest, recordCountsWholeOrNotAtAll) {
    std::string const body =
        rib("10.0.0.0/8", {ribEntry(0, nextHop("192.0.2.9")), ribEntry(1, {})});
    Reading const reading = readMrt(peerTable({{"192.0.2.1", 1}}) + record(13, 2, body));
    EXPECT_EQ(reading.badRecord, 2U);
    EXPECT_THAT(reading.events, IsEmpty());
    EXPECT_EQ(reading.counts.dumpEntries, 0U);
    EXPECT_EQ(reading.counts.records, 1U);
}

TEST(MrtReaderTest, damagedPackingIsToldAsItIs) {
    class Broken final : public ByteSource {
    public:
        std::size_t read(std::span<char>) override { throw InputError("broken"); }
    };
    MrtPeers peers;
    MrtReader reader(std::make_unique<Broken>(), "file", peers);
    MrtEvent event;
    EXPECT_THROW(reader.next(event), InputError);
    EXPECT_FALSE(reader.next(event));
}

/** Zeros without end, counted. */
class Zeros final : public ByteSource {
public:
    Zeros(std::string head, U64 size, U64& given)
        : head_(std::move(head)), size_(size), given_(given) {}
    std::size_t read(std::span<char> buffer) override {
        auto const count = static_cast<std::size_t>(std::min<U64>(buffer.size(), size_ - given_));
        std::fill_n(buffer.begin(), count, '\0');
        std::copy_n(head_.begin(), std::min(count, head_.size()), buffer.begin());
        head_.clear();
        given_ += count;
        return count;
    }

private:
    std::string head_;
    U64 size_;
    U64& given_;
};

Reading readClaim(U32 length, U64 size, U64& given) {
    std::string const head = join({u32(0), u16(11), u16(0), u32(length)});
    MrtPeers peers;
    return readMrt(std::make_unique<Zeros>(head, size, given), peers);
}

TEST(MrtReaderTest, recordThatClaimsMoreThanTheBoundIsNotRead) {
    U64 given = 0;
    Reading const reading = readClaim(0xffffffffU, U64{1} << 40, given);
    EXPECT_EQ(reading.error, "file: record 1 at byte 0: it claims 4294967295 bytes, more than the "
                             "16777216 a record may have");
    EXPECT_LE(given, 65536U);
    given = 0;
    EXPECT_NE(readClaim(MrtReader::longestRecord + 1, U64{1} << 40, given).error, "");
    EXPECT_LE(given, 65536U);
}

TEST(MrtReaderTest, longestRecordIsRead) {
    U64 given = 0;
    U64 const size = U64{12} + MrtReader::longestRecord;
    Reading const reading = readClaim(MrtReader::longestRecord, size, given);
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(reading.counts.unknownRecords, 1U);
    EXPECT_EQ(given, size);
}

TEST(MrtReaderTest, recordThatEndsEarlyTellsHowEarly) {
    EXPECT_EQ(readMrt(join({u32(0), u16(11), u16(0), u32(1'000'000), "abc"})).error,
              "file: record 1 at byte 0: the file ends after 3 of its 1000000 bytes");
    EXPECT_EQ(readMrt(join({u32(0), u16(11), u16(0), u32(1'000'000)})).error,
              "file: record 1 at byte 0: the file ends after 0 of its 1000000 bytes");
    EXPECT_EQ(readMrt(goodRecord() + "abc").error,
              "file: record 2 at byte " + std::to_string(goodRecord().size()) +
                  ": the file ends within the record's header");
}

TEST(MrtReaderTest, peersAreTheSameInAllFilesThatShareThem) {
    MrtPeers peers;
    std::string const table = peerTable({{"192.0.2.7", 65007}, {"2001:db8::1", 70000}});
    readMrt(table, peers);
    Session const second{.peer = "2001:db8::1", .peerAs = 70000, .local = "2001:db8::2"};
    Session const other{.peer = "2001:db8::1", .peerAs = 70001, .local = "2001:db8::2"};
    std::string const gone = routes({"10.0.0.0/8"});
    Reading const reading = readMrt(
        updateRecord(gone, {}, {}, other) + updateRecord(gone, {}, {}, second) + table, peers);
    EXPECT_THAT(told(reading), ElementsAre("W 10.0.0.0/8 peer 2", "W 10.0.0.0/8 peer 1"));
    ASSERT_EQ(peers.size(), 3U);
    EXPECT_EQ(peers[0].address, Nimbal::IpGenPrefix::fromString("192.0.2.7/32"));
    EXPECT_EQ(peers[2].address, Nimbal::IpGenPrefix::fromString("2001:db8::1/128"));
    EXPECT_EQ(peers[2].as, 70001U);
}

TEST(MrtReaderTest, peersAreBounded) {
    MrtPeers peers;
    MrtPeer peer;
    for (peer.as = 0; peer.as < MrtPeers::most; ++peer.as) {
        ASSERT_EQ(peers.number(peer), peer.as);
    }
    EXPECT_THROW(peers.number(peer), MrtFault);
    peer.as = 5;
    EXPECT_EQ(peers.number(peer), 5U);
    EXPECT_EQ(peers.size(), MrtPeers::most);
    EXPECT_EQ(readMrt(updateRecord({}, {}, {}), peers).error,
              "file: record 1 at byte 0: more than 1048576 different peers");
}

}  // namespace
}  // namespace LpmTools
