#include <stdexcept>

#include <tests/client/UndisturbedRun.h>

/*
 * Each write of a run refused in turn. One world a number n: write n of every update is refused,
 * and once the chip takes writes again, `retry` must lead to the very state that a run without
 * refusals has after that update, bucket numbers included. The next update then starts from there.
 * What the chip gives as its reason makes no difference.
 */

namespace ClientTest {
namespace {

enum class Fault : U8 {
    once,        // write n only
    thrown,      // the same, by an exception out of the chip
    untilRetry,  // write n and all that follow, those that take the change back included
    everySecond  // write n, n + 2 and so on, also in the first retries
};

/** What a chip refuses a write for that tries the same again and again. */
WriteStatus lastingRefusal(LpmClient::WriteKind kind) {
    using enum LpmClient::WriteKind;
    switch (kind) {
    case allocate:
        return WriteStatus::noBuckets;
    case writeRoute:
        return WriteStatus::bucketFull;
    case eraseRoute:
        return WriteStatus::unknownRoute;
    case writeCover:
        return WriteStatus::unknownBucket;
    case bind:
        return WriteStatus::tableFull;
    case unbind:
        return WriteStatus::unknownBinding;
    case free:
        return WriteStatus::bucketInUse;
    }
    return WriteStatus::transientError;
}

class RefusalTest : public UndisturbedRun {
protected:
    RefusalTest() : UndisturbedRun(16) {}

    void run(Fault fault, U64 number);
    static void refuse(WatchedChip& chip, Fault fault, U64 number);
    static void heal(ClientWorld& world, Fault fault);

    U64 const mostWrites_ = mostWrites();
};

void RefusalTest::refuse(WatchedChip& chip, Fault fault, U64 number) {
    chip.countAnew();
    chip.refuse = [fault, number](U64 n, WatchedChip::Write const& write) {
        if (fault == Fault::thrown && n == number) {
            throw std::runtime_error("chip gone");
        }
        bool const refused = fault == Fault::once         ? n == number
                             : fault == Fault::thrown     ? false
                             : fault == Fault::untilRetry ? n >= number
                                                          : n >= number && (n - number) % 2 == 0;
        WriteStatus const status =
            number % 2 == 0 ? WriteStatus::transientError : lastingRefusal(write.kind);
        return refused ? std::optional(status) : std::nullopt;
    };
}

void RefusalTest::heal(ClientWorld& world, Fault fault) {
    if (fault == Fault::everySecond) {
        for (int tries = 0; tries < 5; ++tries) {
            world.manager().retry();
            ASSERT_FALSE(world.failed());
        }
    }
    world.watched.refuse = nullptr;
    ASSERT_TRUE(world.manager().retry());
    ASSERT_TRUE(world.manager().owed().empty());
}

void RefusalTest::run(Fault fault, U64 number) {
    ClientWorld world(space_, policy_, size_);
    for (std::size_t i = 0; i < steps_.size(); ++i) {
        Update const& update = steps_[i].update;
        SCOPED_TRACE("update " + std::to_string(i) + ", write " + std::to_string(number));
        refuse(world.watched, fault, number);
        Outcome const outcome = world.update(update);
        if (outcome == Outcome::refused) {
            std::map<IpGenPrefix, std::optional<NextHop>> const due{
                {update.prefix, update.nextHop}};
            ASSERT_EQ(world.manager().owed(), due);
            ASSERT_TRUE(world.manager().lastRefusal());
        } else {
            ASSERT_TRUE(world.manager().owed().empty());
        }
        if (fault == Fault::once || fault == Fault::thrown) {
            ASSERT_NO_FATAL_FAILURE(world.checkAnswers());
            for (auto const& difference : world.manager().audit()) {
                ASSERT_EQ(difference.kind, LpmClient::DifferenceKind::bucketStray) << difference;
            }
        }
        ASSERT_NO_FATAL_FAILURE(heal(world, fault));
        if (outcome == Outcome::refused) {
            takeInto(world.table, update);
        }
        ASSERT_FALSE(world.failed());
        ASSERT_NO_FATAL_FAILURE(world.check());
        ASSERT_EQ(world.state(), steps_[i].state);
    }
    ASSERT_GT(world.watched.counts().totalRefused(), 0U);
}

TEST_P(RefusalTest, oneRefusedWriteIsMadeGoodByRetry) {
    for (U64 number = 0; number < mostWrites_ && !HasFatalFailure(); ++number) {
        run(Fault::once, number);
    }
}

TEST_P(RefusalTest, writeThatThrowsIsRefusedAndMadeGoodByRetry) {
    for (U64 number = 0; number < mostWrites_ && !HasFatalFailure(); ++number) {
        run(Fault::thrown, number);
    }
}

TEST_P(RefusalTest, chipThatTakesNothingForAWhileIsMadeGoodByRetry) {
    for (U64 number = 0; number < mostWrites_ && !HasFatalFailure(); ++number) {
        run(Fault::untilRetry, number);
    }
}

TEST_P(RefusalTest, retriesThatAreRefusedInTurnLoseNothing) {
    for (U64 number = 0; number < mostWrites_ && !HasFatalFailure(); ++number) {
        run(Fault::everySecond, number);
    }
}

TEST_P(RefusalTest, updatesGoOnWhileOthersAreOwed) {
    for (U64 number = 0; number < 12 && !HasFatalFailure(); ++number) {
        SCOPED_TRACE("of 12 writes, the one with number " + std::to_string(number));
        ClientWorld world(space_, policy_, size_);
        auto const refusal = [number](U64 n, WatchedChip::Write const&) {
            return n % 12 == number ? std::optional(WriteStatus::transientError) : std::nullopt;
        };
        world.watched.refuse = refusal;
        Table due;
        for (Step const& step : steps_) {
            takeInto(due, step.update);
            world.watch(false);  // an update that was owed may be settled by a later one
            giveTo(world.manager(), step.update);
            for (auto const& [prefix, nextHop] : world.manager().owed()) {
                ASSERT_EQ(nextHop, due.contains(prefix) ? std::optional(due[prefix]) : std::nullopt)
                    << prefix;
            }
            if (due.size() == 10) {
                world.watched.refuse = nullptr;
                ASSERT_TRUE(world.manager().retry());
                world.table = due;
                ASSERT_NO_FATAL_FAILURE(world.check());
                world.watched.refuse = refusal;
            }
        }
    }
}

/** All writes of a kind, whatever they are to do, taking back included. */
TEST_P(RefusalTest, writesRefusedForGoodStayOwedUntilTheChipTakesThem) {
    for (std::size_t kind = 0; kind < LpmClient::writeKinds && !HasFatalFailure(); ++kind) {
        SCOPED_TRACE(LpmClient::text(static_cast<LpmClient::WriteKind>(kind)));
        ClientWorld world(space_, policy_, size_);
        world.watch(false);
        Table due;
        for (std::size_t i = 0; i < 40; ++i) {
            bool const refuses = i >= 10 && i < 35;
            world.watched.refuse = [=](U64, WatchedChip::Write const& write) {
                bool const refused = refuses && static_cast<std::size_t>(write.kind) == kind;
                return refused ? std::optional(lastingRefusal(write.kind)) : std::nullopt;
            };
            takeInto(due, steps_[i].update);
            giveTo(world.manager(), steps_[i].update);
            bool const isPlaced = world.manager().retry();
            ASSERT_EQ(isPlaced, world.manager().settled());
            ASSERT_TRUE(isPlaced || refuses);
            Table told = world.heldByTrie();
            for (auto const& [prefix, nextHop] : world.manager().owed()) {
                takeInto(told, {prefix, nextHop});
            }
            ASSERT_EQ(told, due) << "update " << i;
            if (isPlaced) {
                world.table = due;
                ASSERT_NO_FATAL_FAILURE(world.check());
            }
        }
        ASSERT_GT(world.watched.counts().refused[kind], 0U);
    }
}

/** Several partitions to be merged, whose first merge is taken back only in part. */
TEST_P(RefusalTest, mergesTakenUpTogetherAreRefusedOneByOne) {
    U64 interrupted = 0;
    for (std::size_t last = 20; last < steps_.size() && !HasFatalFailure(); last += 4) {
        for (U64 number = 0; number < 12; ++number) {
            SCOPED_TRACE("update " + std::to_string(last) + ", write " + std::to_string(number));
            ClientWorld world(space_, policy_, size_);
            world.watch(false);
            for (std::size_t i = 0; i < last; ++i) {
                bool const withdrawal = !steps_[i].update.nextHop;
                world.watched.refuse = [=](U64, WatchedChip::Write const& write) {
                    bool const isMove = write.kind == LpmClient::WriteKind::writeRoute ||
                                        write.kind == LpmClient::WriteKind::bind ||
                                        write.kind == LpmClient::WriteKind::unbind;
                    return withdrawal && isMove ? std::optional(WriteStatus::transientError)
                                                : std::nullopt;
                };
                ASSERT_NE(world.update(steps_[i].update), Outcome::refused);
            }
            world.watched.countAnew();
            world.watched.refuse = [number](U64 n, WatchedChip::Write const&) {
                bool const refused = n == number || n == number + 1;
                return refused ? std::optional(WriteStatus::transientError) : std::nullopt;
            };
            world.watch(true);
            interrupted += world.quietly([&] { return world.manager().retry(); }) ? 0U : 1U;
            world.watched.refuse = nullptr;
            ASSERT_TRUE(world.quietly([&] { return world.manager().retry(); }));
            ASSERT_FALSE(world.failed());
            ASSERT_NO_FATAL_FAILURE(world.check());
        }
    }
    EXPECT_GT(interrupted, 10U);
}

INSTANTIATE_TEST_SUITE_P(All, RefusalTest, testing::ValuesIn(allCases()), caseName);

}  // namespace
}  // namespace ClientTest
