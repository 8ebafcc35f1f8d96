#include <tools/InputKind.h>
#include <tools/PathTable.h>

#include <tests/tools/MrtReading.h>
#include <tests/tools/MrtRealData.h>

#include <gtest/gtest.h>

#include <iostream>

namespace LpmTools {
namespace {

using Nimbal::AddressFamily;
using ToolsTest::MrtFile;
using ToolsTest::Reading;
using ToolsTest::realDataPath;

U64 count(Reading const& reading, AddressFamily af, bool isFromDump, bool isWithdrawal) {
    return static_cast<U64>(std::ranges::count_if(reading.events, [&](MrtEvent const& event) {
        return event.prefix.af() == af && event.isFromDump == isFromDump &&
               event.isWithdrawal == isWithdrawal;
    }));
}

class MrtRealDataTest : public ToolsTest::RealDataTest {};

INSTANTIATE_TEST_SUITE_P(Files, MrtRealDataTest, testing::ValuesIn(ToolsTest::mrtFiles),
                         ToolsTest::mrtFileName);

TEST_P(MrtRealDataTest, countsAreThoseOfAnIndependentReader) {
    MrtFile const& file = GetParam();
    MrtPeers peers;
    auto source = std::make_unique<PeekedSource>(openInput(realDataPath(file.name)));
    EXPECT_TRUE(looksLikeMrt(source->head()));
    Reading const reading = ToolsTest::readMrt(std::move(source), peers);
    EXPECT_EQ(reading.error, "");
    EXPECT_EQ(count(reading, AddressFamily::ipv4, true, false), file.dumpEntries4);
    EXPECT_EQ(count(reading, AddressFamily::ipv6, true, false), file.dumpEntries6);
    EXPECT_EQ(count(reading, AddressFamily::ipv4, false, false), file.announcements4);
    EXPECT_EQ(count(reading, AddressFamily::ipv6, false, false), file.announcements6);
    EXPECT_EQ(count(reading, AddressFamily::ipv4, false, true), file.withdrawals4);
    EXPECT_EQ(count(reading, AddressFamily::ipv6, false, true), file.withdrawals6);
    EXPECT_EQ(reading.counts.stateChanges, file.stateChanges);
    EXPECT_EQ(reading.counts.unknownRecords, 0U);
    auto const& counts = reading.counts;
    std::cout << file.name << ": " << counts.records << " records, " << peers.size() << " peers, "
              << counts.updates << " updates, " << counts.endOfRibMarkers << " end-of-RIB, "
              << counts.otherFamilies << " of other families, " << counts.hostBitsCleared
              << " with host bits, " << counts.recordsWithMore << " with bytes left over, messages";
    for (U64 const others : counts.otherMessages) {
        std::cout << ' ' << others;
    }
    std::cout << '\n';
}

class MrtRealTableTest : public ToolsTest::RealDataTest {};

INSTANTIATE_TEST_SUITE_P(Files, MrtRealTableTest, testing::Values(ToolsTest::mrtFiles[3]),
                         ToolsTest::mrtFileName);

TEST_P(MrtRealTableTest, pathsOfATableAndItsUpdatesAreHeldCompactly) {
    MrtPeers peers;
    PathTable table(peers);
    for (char const* const name :
         {"rib.route-views.jinx.2014.mrt.bz2", "updates.route-views.jinx.2014.mrt.bz2"}) {
        std::array<U64, 4> changes{};
        MrtReader reader(openInput(realDataPath(name)), name, peers);
        for (MrtEvent event; reader.next(event);) {
            auto const change =
                event.isWithdrawal
                    ? table.withdraw(event.peer, event.pathId, event.prefix)
                    : table.announce(event.peer, event.pathId, event.prefix, event.nextHop);
            ++changes[static_cast<std::size_t>(change)];
        }
        std::cout << name << ": " << changes[1] << " routes added, " << changes[2] << " removed, "
                  << changes[3] << " changed, " << changes[0] << " events without effect; "
                  << table.paths() << " paths, " << table.routes() << " routes, "
                  << table.nextHops() << " next hops, " << table.memory() << " bytes, "
                  << peers.size() << " peers\n";
    }
    EXPECT_LE(table.memory(), 60 * table.paths());
}

}  // namespace
}  // namespace LpmTools
