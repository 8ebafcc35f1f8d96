#include <tests/tools/MrtDamage.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ToolsTest {

std::vector<std::size_t> recordOffsets(std::string_view stream) {
    std::vector<std::size_t> offsets{0};
    while (offsets.back() + 12 <= stream.size()) {
        std::size_t length = 0;
        for (std::size_t i = 8; i < 12; ++i) {
            length = length * 256 + static_cast<unsigned char>(stream[offsets.back() + i]);
        }
        offsets.push_back(offsets.back() + 12 + length);
    }
    return offsets;
}

MrtDamage::MrtDamage(std::string stream) : stream_(std::move(stream)), whole_(readMrt(stream_)) {
    EXPECT_EQ(whole_.error, "");
    auto const offsets = recordOffsets(stream_);
    EXPECT_EQ(offsets.back(), stream_.size());
    EXPECT_EQ(offsets.size(), whole_.counts.records + 1);
    LpmTools::MrtPeers peers;
    LpmTools::MrtReader reader(std::make_unique<MemorySource>(stream_), "file", peers);
    std::size_t events = 0;
    LpmTools::U64 known = 0;
    for (LpmTools::MrtEvent event; known < whole_.counts.records;) {
        // An event that comes with a new record is the first of that record.
        bool const more = reader.next(event);
        for (; known < (more ? reader.counts().records : whole_.counts.records); ++known) {
            records_.push_back({offsets[known], events});
        }
        events += more ? 1U : 0U;
    }
    records_.push_back({stream_.size(), whole_.events.size()});
}

MrtDamage::Record const& MrtDamage::recordAt(std::size_t at) const {
    auto const next = std::upper_bound(
        records_.begin(), records_.end(), at,
        [](std::size_t offset, Record const& record) { return offset < record.offset; });
    return *(next - 1);
}

bool MrtDamage::beginsLike(Reading const& reading, std::size_t events) const {
    return reading.events.size() >= events &&
           std::equal(whole_.events.begin(),
                      whole_.events.begin() + static_cast<std::ptrdiff_t>(events),
                      reading.events.begin());
}

void MrtDamage::checkCut(std::size_t length) const {
    Record const& record = recordAt(length);
    auto const number = static_cast<LpmTools::U64>(&record - records_.data());
    Reading const reading = readMrt(std::string_view(stream_).substr(0, length));
    bool const isBetween = record.offset == length;
    ASSERT_EQ(reading.counts.records, number) << "cut to " << length;
    ASSERT_EQ(reading.events.size(), record.events) << "cut to " << length;
    ASSERT_TRUE(beginsLike(reading, record.events)) << "cut to " << length;
    ASSERT_EQ(reading.badRecord, isBetween ? 0 : number + 1) << "cut to " << length;
    ASSERT_EQ(reading.badOffset, isBetween ? 0 : record.offset) << "cut to " << length;
    ASSERT_EQ(reading.error.find("the file ends") != std::string::npos, !isBetween)
        << "cut to " << length;
}

void MrtDamage::checkFlip(std::size_t at, char mask) {
    if (at >= stream_.size()) {
        return;
    }
    Record const& record = recordAt(at);
    auto const number = static_cast<LpmTools::U64>(&record - records_.data());
    char const good = stream_[at];
    stream_[at] = static_cast<char>(good ^ mask);
    Reading const reading = readMrt(stream_);
    stream_[at] = good;
    ASSERT_GE(reading.counts.records, number) << "flipped at " << at;
    ASSERT_TRUE(beginsLike(reading, record.events)) << "flipped at " << at;
    ASSERT_EQ(reading.counts.dumpEntries + reading.counts.announcements +
                  reading.counts.withdrawals,
              reading.events.size())
        << "flipped at " << at;
    if (!reading.error.empty()) {
        ASSERT_EQ(reading.badRecord, reading.counts.records + 1) << reading.error;
        ASSERT_GE(reading.badOffset, record.offset) << reading.error;
        ASSERT_THAT(reading.error,
                    testing::StartsWith("file: record " + std::to_string(reading.badRecord) +
                                        " at byte " + std::to_string(reading.badOffset) + ": "));
    }
}

void MrtDamage::checkEverywhere(std::size_t step) {
    for (std::size_t at = 0; at <= size() && !testing::Test::HasFatalFailure(); at += step) {
        check(at);
    }
}

}  // namespace ToolsTest
