#include <tests/client/UndisturbedRun.h>

/*
 * A run that is cut off before each of its writes in turn: the chip stays as it is, the manager and
 * all that it knew are gone. A new one takes over what the chip holds, is given the interrupted
 * update again, and goes on.
 */

namespace ClientTest {
namespace {

class RestartTest : public UndisturbedRun {
protected:
    RestartTest() : UndisturbedRun(13) {}

    void interrupt(ClientWorld& world, std::size_t step, U64 write);
    Table tableAfter(ClientWorld const& world, std::size_t step) const;
    void restart(ClientWorld& world, std::size_t step, U64 writeOfRestart);
    void goOn(ClientWorld& world, std::size_t step);
};

/** Runs up to the write of that step, which and after which nothing reaches the chip. */
void RestartTest::interrupt(ClientWorld& world, std::size_t step, U64 write) {
    world.watch(false);
    for (std::size_t i = 0; i < step; ++i) {
        world.update(steps_[i].update);
    }
    world.watched.countAnew();
    world.watched.refuse = refusalFrom(write);
    giveTo(world.manager(), steps_[step].update);
    world.newManager();
    world.watched.refuse = nullptr;
}

Table RestartTest::tableAfter(ClientWorld const& world, std::size_t step) const {
    Table after = world.table;
    takeInto(after, steps_[step].update);
    return after;
}

/**
 * A restart, cut off in turn before one of its own writes, and then another one: by a new manager,
 * or by the same one again.
 */
void RestartTest::restart(ClientWorld& world, std::size_t step, U64 writeOfRestart) {
    Table const before = world.table;
    Table const after = tableAfter(world, step);
    world.expectAnswers(before, after);
    world.watch(true);
    world.watched.countAnew();
    world.watched.refuse = refusalFrom(writeOfRestart);
    bool const good = world.manager().restart();
    ASSERT_EQ(good, world.watched.writes() <= writeOfRestart);
    world.watched.refuse = nullptr;
    if (!good) {
        if (writeOfRestart % 2 == 0) {
            world.newManager();
        }
        ASSERT_TRUE(world.manager().restart());
    }
    ASSERT_NO_FATAL_FAILURE(world.tableIsOneOf(before, after));
    ASSERT_NO_FATAL_FAILURE(world.check());
}

void RestartTest::goOn(ClientWorld& world, std::size_t step) {
    ASSERT_NE(world.update(steps_[step].update), Outcome::refused);
    ASSERT_NO_FATAL_FAILURE(world.check());
    if (steps_[step].sameCut) {
        ASSERT_EQ(world.state(), steps_[step].state);
    }
    for (std::size_t i = step + 1; i < steps_.size(); ++i) {
        world.watch(i < step + 5);
        Outcome const outcome = world.update(steps_[i].update);
        ASSERT_TRUE(outcome == Outcome::done || outcome == Outcome::unchanged);
        if (i < step + 5) {
            ASSERT_NO_FATAL_FAILURE(world.check());
        }
    }
    ASSERT_EQ(world.chip.bucketsUsed() + world.chip.bindingsUsed() + world.numbers().count(), 0U);
}

TEST_P(RestartTest, afterEveryWriteOfARunTakesUpWhereItEnded) {
    for (std::size_t step = 0; step < steps_.size(); ++step) {
        for (U64 write = 0; write <= steps_[step].writes; ++write) {
            SCOPED_TRACE("update " + std::to_string(step) + ", write " + std::to_string(write));
            ClientWorld world(space_, policy_, size_);
            interrupt(world, step, write);
            U64 const writeOfRestart = (step + write) % 8;
            ASSERT_NO_FATAL_FAILURE(
                restart(world, step, writeOfRestart == 0 ? 999 : writeOfRestart - 1));
            ASSERT_NO_FATAL_FAILURE(goOn(world, step));
            ASSERT_FALSE(world.failed());
        }
    }
}

TEST_P(RestartTest, fromAnUndisturbedChipWritesNothing) {
    ClientWorld world(space_, policy_, size_);
    for (Step const& step : steps_) {
        world.update(step.update);
        world.newManager();
        world.watched.countAnew();
        ASSERT_TRUE(world.quietly([&] { return world.manager().restart(); }));
        ASSERT_EQ(world.watched.writes(), 0U);
        ASSERT_NO_FATAL_FAILURE(world.check());
    }
    EXPECT_FALSE(world.failed());
}

/** Each question to the chip unanswered in turn. */
TEST_P(RestartTest, fromAChipThatCannotBeReadTakesNothingOver) {
    U64 thrown = 0;
    for (std::size_t step = 0; step < steps_.size(); step += 3) {
        for (U64 number = 0;; ++number) {
            SCOPED_TRACE("update " + std::to_string(step) + ", read " + std::to_string(number));
            ClientWorld world(space_, policy_, size_);
            interrupt(world, step, steps_[step].writes / 2);
            Table const before = world.table;
            Table const after = tableAfter(world, step);
            world.watched.asked = unreadableAt(number);
            try {
                ASSERT_TRUE(world.manager().restart());
                break;
            } catch (Unreadable const&) {
            }
            ++thrown;
            world.watched.asked = nullptr;
            ASSERT_EQ(world.manager().trie().root(), nullptr);
            ASSERT_FALSE(world.manager().settled());
            ASSERT_TRUE(world.manager().restart());
            ASSERT_NO_FATAL_FAILURE(world.tableIsOneOf(before, after));
            ASSERT_NO_FATAL_FAILURE(world.check());
        }
    }
    EXPECT_GT(thrown, steps_.size());
}

/** Each write of the restart refused in turn, until there is one that all are taken of. */
TEST_P(RestartTest, failedOneCanBeCalledAgainOnTheSameManager) {
    U64 failed = 0;
    for (std::size_t step = 0; step < steps_.size(); step += 3) {
        for (U64 write = 0; write <= steps_[step].writes; ++write) {
            SCOPED_TRACE("update " + std::to_string(step) + ", write " + std::to_string(write));
            ClientWorld world(space_, policy_, size_);
            interrupt(world, step, write);
            Table const before = world.table;
            Table const after = tableAfter(world, step);
            for (U64 number = 0;; ++number) {
                world.watched.countAnew();
                world.watched.refuse = refusalFrom(number);
                if (world.manager().restart()) {
                    break;
                }
                ++failed;
                ASSERT_TRUE(world.manager().lastRefusal());
                ASSERT_EQ(world.manager().trie().root(), nullptr);
                ASSERT_FALSE(world.manager().settled());
                ASSERT_EQ(giveTo(world.manager(), {space_.at(1), 1}), Outcome::refused);
                ASSERT_EQ(giveTo(world.manager(), {space_.at(1), {}}), Outcome::refused);
                ASSERT_FALSE(world.manager().retry());
                world.watched.countAnew();
                world.watched.refuse = nullptr;
                ASSERT_EQ(world.manager().repair().empty(), world.chip.bucketsUsed() == 0);
                ASSERT_EQ(world.watched.writes(), 0U);
            }
            ASSERT_NO_FATAL_FAILURE(world.tableIsOneOf(before, after));
            ASSERT_NO_FATAL_FAILURE(world.check());
        }
    }
    EXPECT_GT(failed, 5U);
}

INSTANTIATE_TEST_SUITE_P(All, RestartTest, testing::ValuesIn(allCases()), caseName);

}  // namespace
}  // namespace ClientTest
