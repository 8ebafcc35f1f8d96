#include <tests/Support/LeakCheck.h>
#include <tests/client/Cases.h>
#include <tests/client/ClientWorld.h>

#include <gtest/gtest.h>

#include <iostream>

/*
 * A run that is cut off before each of its writes in turn: the chip stays as it is, the manager and
 * all that it knew are gone. A new one takes over what the chip holds, is given the interrupted
 * update again, and goes on.
 */

namespace ClientTest {
namespace {

U64 recutsOf(PartitionManager const& manager) {
    auto const& counts = manager.counts();
    return counts.splits + counts.merges + counts.shifts;
}

class RestartTest : public TestSupport::LeakChecked<testing::TestWithParam<Case>> {
protected:
    RestartTest() {
        std::cout << "LPMTRIE_CLIENT_SEED=" << seed_ << '\n';
        Random random(seed_);
        updates_ = history(space_, Order::random, 13, random);
        ClientWorld world(space_, policy_, size_);
        world.watch(false);
        for (Update const& update : updates_) {
            U64 const recuts = recutsOf(world.manager());
            bool const wasEmpty = world.table.empty();
            world.watched.countAnew();
            world.update(update);
            steps_.push_back(
                {world.watched.writes(), world.state(),
                 recuts == recutsOf(world.manager()) && !wasEmpty && !world.table.empty()});
        }
    }

    void interrupt(ClientWorld& world, std::size_t step, U64 write);
    void restart(ClientWorld& world, std::size_t step, U64 writeOfRestart);
    void goOn(ClientWorld& world, std::size_t step);

    /** What the run that is not disturbed does at an update. */
    struct Step {
        U64 writes;
        std::string state;  // afterwards
        bool sameCut;
    };

    std::string const policy_ = std::get<0>(GetParam());
    Space const space_{std::get<1>(GetParam()), 5};
    U64 const seed_ = fromEnvironment("LPMTRIE_CLIENT_SEED", 1);
    ChipSize const size_{40, 3, 40};
    std::vector<Update> updates_;
    std::vector<Step> steps_;
};

/** Runs up to the write of that step, which and after which nothing reaches the chip. */
void RestartTest::interrupt(ClientWorld& world, std::size_t step, U64 write) {
    world.watch(false);
    for (std::size_t i = 0; i < step; ++i) {
        world.update(updates_[i]);
    }
    world.watched.countAnew();
    world.watched.refuse = [write](U64 n, WatchedChip::Write const&) {
        return n >= write ? std::optional(WriteStatus::transientError) : std::nullopt;
    };
    if (updates_[step].nextHop) {
        world.manager().announce({updates_[step].prefix, *updates_[step].nextHop});
    } else {
        world.manager().withdraw(updates_[step].prefix);
    }
    world.newManager();
    world.watched.refuse = nullptr;
}

/** A restart, cut off in turn before one of its own writes, and then another one. */
void RestartTest::restart(ClientWorld& world, std::size_t step, U64 writeOfRestart) {
    Table after = world.table;
    takeInto(after, updates_[step]);
    world.expectAnswers(world.table, after);
    world.watch(true);
    world.watched.countAnew();
    world.watched.refuse = [=](U64 n, WatchedChip::Write const&) {
        return n >= writeOfRestart ? std::optional(WriteStatus::transientError) : std::nullopt;
    };
    bool const good = world.manager().restart();
    ASSERT_EQ(good, world.watched.writes() <= writeOfRestart);
    world.watched.refuse = nullptr;
    if (!good) {
        world.newManager();
        ASSERT_TRUE(world.manager().restart());
    }
    if (world.manager().routes() == after.size() && after.size() != world.table.size()) {
        world.table = after;
    } else if (auto const* node = LpmTrie::findExact(world.manager().trie(), updates_[step].prefix);
               node != nullptr && updates_[step].nextHop &&
               LpmClient::routeNode(node)->nextHop == *updates_[step].nextHop) {
        world.table = after;
    }
    ASSERT_NO_FATAL_FAILURE(world.check());
}

void RestartTest::goOn(ClientWorld& world, std::size_t step) {
    ASSERT_NE(world.update(updates_[step]), Outcome::refused);
    ASSERT_NO_FATAL_FAILURE(world.check());
    if (steps_[step].sameCut) {
        ASSERT_EQ(world.state(), steps_[step].state);
    }
    for (std::size_t i = step + 1; i < updates_.size(); ++i) {
        world.watch(i < step + 5);
        Outcome const outcome = world.update(updates_[i]);
        ASSERT_TRUE(outcome == Outcome::done || outcome == Outcome::unchanged);
        if (i < step + 5) {
            ASSERT_NO_FATAL_FAILURE(world.check());
        }
    }
    ASSERT_EQ(world.chip.bucketsUsed() + world.chip.bindingsUsed() + world.numbers().count(), 0U);
}

TEST_P(RestartTest, afterEveryWriteOfARunTakesUpWhereItEnded) {
    for (std::size_t step = 0; step < updates_.size(); ++step) {
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

INSTANTIATE_TEST_SUITE_P(All, RestartTest, testing::ValuesIn(allCases()), caseName);

}  // namespace
}  // namespace ClientTest
