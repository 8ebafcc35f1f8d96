#include <tests/tools/MrtBytes.h>
#include <tests/tools/MrtDamage.h>
#include <tests/tools/Seed.h>

#include <gtest/gtest.h>

#include <random>

namespace LpmTools {
namespace {

using namespace ToolsTest;

/** A table and updates with a bit of everything. */
std::string sampleStream() {
    std::string const hop6 = address("2001:db8::9");
    std::string const hop = nextHop("192.0.2.9");
    std::string const reach6 = reach(2, 1, hop6, routes({"2001:db8::/32", "2001:db8:1::/48"}));
    std::string const session = Session().longAs();
    Session const second{.peer = "2001:db8::1", .peerAs = 70000, .local = "2001:db8::2"};
    std::string const withIds = u32(1) + routes({"10.0.0.0/8"}) + u32(2) + routes({"10.0.0.0/8"});
    return join(
        {peerTable({{"192.0.2.1", 65001}, {"2001:db8::1", 70000}}),
         record(13, 2, rib("10.0.0.0/8", {ribEntry(0, origin() + hop), ribEntry(1, hop)})),
         record(13, 6, "generic"),
         record(13, 4, rib("2001:db8::/32", {ribEntry(1, attribute(14, u8(16) + hop6))})),
         record(13, 8, rib("10.9.0.0/16", {ribEntryWithId(0, 1, hop), ribEntryWithId(0, 2, hop)})),
         updateRecord(routes({"10.1.0.0/16"}), origin() + hop,
                      routes({"10.2.0.0/16", "0.0.0.0/0"})),
         updateRecord({}, reach6 + unreach(2, 1, routes({"2001:db8:2::/48"})), {}, second),
         record(16, 5, session + u32(0x30006)), record(11, 0, ""),
         record(17, 4, u32(5) + session + message(4, {})),
         record(16, 9, session + update(withIds, hop, withIds)),
         record(12, 1,
                join({u32(0), address("10.0.0.0"), u8(8), u8(1), u32(1), address("192.0.2.1"),
                      u16(65001), sized(hop)}))});
}

TEST(MrtDamageTest, everyCutAndEveryFlipIsFoundOrReadsAsItStands) {
    MrtDamage damage(sampleStream());
    damage.checkEverywhere();
}

TEST(MrtDamageTest, anyByteMayStandAnywhere) {
    std::string const stream = sampleStream();
    MrtDamage damage(stream);
    for (std::size_t at = 0; at < stream.size() && !HasFatalFailure(); ++at) {
        for (char const mask : {'\x02', '\x04', '\x08', '\x10', '\x20', '\x40', '\x80', '\x7f'}) {
            damage.checkFlip(at, mask);
        }
    }
}

TEST(MrtDamageTest, noiseBehindAGoodBeginningIsSurvived) {
    unsigned const seed = ToolsTest::newSeed();
    SCOPED_TRACE(ToolsTest::traceOf(seed));
    std::mt19937 random(seed);
    std::string const good = sampleStream();
    Reading const whole = readMrt(good);
    for (int i = 0; i < 2'000; ++i) {
        std::string bad = good;
        int const changes = std::uniform_int_distribution(1, 30)(random);
        for (int change = 0; change < changes; ++change) {
            auto const at = std::uniform_int_distribution<std::size_t>(0, bad.size() - 1)(random);
            bad[at] = static_cast<char>(random());
        }
        Reading const reading = readMrt(bad, i % 2 == 0);
        ASSERT_EQ(reading.badRecord != 0, !reading.error.empty());
        ASSERT_EQ(reading.counts.dumpEntries + reading.counts.announcements +
                      reading.counts.withdrawals,
                  reading.events.size());
        for (MrtEvent const& event : reading.events) {
            ASSERT_LE(event.prefix.len(), Nimbal::maxPrefixLen(event.prefix.af()));
            ASSERT_EQ(event.prefix, event.prefix.hostBitsCleared());
        }
    }
    EXPECT_EQ(whole.error, "");
}

}  // namespace
}  // namespace LpmTools
