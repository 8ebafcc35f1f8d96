#include <tests/client/UndisturbedRun.h>

/*
 * The counters that a caller can read, after every update of a run in which the chip refuses some
 * writes, against what the test has counted itself.
 */

namespace ClientTest {
namespace {

class TelemetryTest : public UndisturbedRun {
protected:
    TelemetryTest() : UndisturbedRun(24) {}

    /** Writes by kind, as they go by; some are refused. */
    void countAt(WatchedChip& chip) {
        chip.refuse = [this](U64 number, WatchedChip::Write const& write) {
            auto const kind = static_cast<std::size_t>(write.kind);
            bool const refused = number % 17 == 5;
            ++(refused ? refused_ : done_)[kind];
            return refused ? std::optional(WriteStatus::transientError) : std::nullopt;
        };
    }

    std::array<U64, LpmClient::writeKinds> done_{};
    std::array<U64, LpmClient::writeKinds> refused_{};
};

TEST_P(TelemetryTest, everyCounterTellsWhatHasHappened) {
    ClientWorld world(space_, policy_, size_);
    world.watch(false);
    countAt(world.watched);
    auto& manager = world.manager();
    U64 notDone = 0;
    for (Step const& step : steps_) {
        Outcome const outcome = giveTo(manager, step.update);
        notDone += outcome == Outcome::refused || outcome == Outcome::noRoom ? 1U : 0U;
        auto const& counts = manager.counts();
        ASSERT_EQ(counts.notDone, notDone);
        ASSERT_EQ(manager.buckets(), manager.roots().size());
        ASSERT_EQ(manager.freeBuckets(), size_.buckets - world.numbers().count());
        ASSERT_EQ(world.chip.bucketsUsed(), world.numbers().count());
        auto const writes = world.watched.counts();
        ASSERT_EQ(writes.done, done_);
        ASSERT_EQ(writes.refused, refused_);
        ASSERT_EQ(counts.added - counts.withdrawn, manager.routes());
    }
    EXPECT_GT(notDone, 0U);
    auto const& counts = manager.counts();
    EXPECT_GT(counts.splits, 0U);
    EXPECT_GT(counts.merges + counts.shifts, 0U);
    EXPECT_GT(world.watched.counts().totalRefused(), 5U);
}

/** Splits in half add a bucket each, and their merges take one away. */
TEST(TelemetryOfHalvingTest, splitsAndMergesAccountForTheBucketsAndMovesForTheWrites) {
    for (AddressFamily const af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
        Space const space(af, 5);
        Random random(fromEnvironment("LPMTRIE_CLIENT_SEED", 1));
        ClientWorld world(space, "half", {40, 3, 40});
        world.watch(false);
        auto const& counts = world.manager().counts();
        for (Update const& update : history(space, Order::random, 24, random)) {
            world.update(update);
            ASSERT_EQ(counts.shifts, 0U);
            ASSERT_EQ(world.manager().buckets() + counts.merges,
                      counts.splits + (world.table.empty() ? 0 : 1));
            ASSERT_EQ(world.chip.counts().of(LpmClient::WriteKind::writeRoute),
                      counts.added + counts.changed + counts.moves);
        }
        EXPECT_GT(counts.splits, 5U);
        EXPECT_GT(counts.moves, 5U);
    }
}

INSTANTIATE_TEST_SUITE_P(All, TelemetryTest, testing::ValuesIn(allCases()), caseName);

}  // namespace
}  // namespace ClientTest
