#include <tests/Support/LeakCheck.h>
#include <tests/client/Cases.h>
#include <tests/client/ClientWorld.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

/*
 * Each write of a run refused in turn. One world a number n: write n of every update is refused,
 * and once the chip takes writes again, `retry` must lead to the very state that a run without
 * refusals has after that update, bucket numbers included. The next update then starts from there.
 */

namespace ClientTest {
namespace {

enum class Fault : U8 {
    once,        // write n only
    untilRetry,  // write n and all that follow, those that take the change back included
    everySecond  // write n, n + 2 and so on, also in the first retries
};

class RefusalTest : public TestSupport::LeakChecked<testing::TestWithParam<Case>> {
protected:
    RefusalTest() {
        std::cout << "LPMTRIE_CLIENT_SEED=" << seed_ << '\n';
        Random random(seed_);
        updates_ = history(space_, Order::random, 16, random);
        ClientWorld world(space_, policy_, size_);
        for (Update const& update : updates_) {
            world.watched.countAnew();
            world.update(update);
            mostWrites_ = std::max(mostWrites_, world.watched.writes());
            states_.push_back(world.state());
        }
    }

    void run(Fault fault, U64 number);
    static void refuse(WatchedChip& chip, Fault fault, U64 number);
    static void heal(ClientWorld& world, Fault fault);

    std::string const policy_ = std::get<0>(GetParam());
    Space const space_{std::get<1>(GetParam()), 5};
    U64 const seed_ = fromEnvironment("LPMTRIE_CLIENT_SEED", 1);
    ChipSize const size_{40, 3, 40};
    std::vector<Update> updates_;
    std::vector<std::string> states_;  // after each update
    U64 mostWrites_ = 0;
};

void RefusalTest::refuse(WatchedChip& chip, Fault fault, U64 number) {
    chip.countAnew();
    chip.refuse = [fault, number](U64 n, WatchedChip::Write const&) {
        bool const refused = fault == Fault::once         ? n == number
                             : fault == Fault::untilRetry ? n >= number
                                                          : n >= number && (n - number) % 2 == 0;
        return refused ? std::optional(WriteStatus::transientError) : std::nullopt;
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
    for (std::size_t i = 0; i < updates_.size(); ++i) {
        Update const& update = updates_[i];
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
        if (fault == Fault::once) {
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
        ASSERT_EQ(world.state(), states_[i]);
    }
}

TEST_P(RefusalTest, oneRefusedWriteIsMadeGoodByRetry) {
    for (U64 number = 0; number < mostWrites_ && !HasFatalFailure(); ++number) {
        run(Fault::once, number);
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
        world.watched.refuse = [number](U64 n, WatchedChip::Write const&) {
            return n % 12 == number ? std::optional(WriteStatus::transientError) : std::nullopt;
        };
        Table due;
        for (Update const& update : updates_) {
            takeInto(due, update);
            world.watch(false);  // an update that was owed may be settled by a later one
            if (update.nextHop) {
                world.manager().announce({update.prefix, *update.nextHop});
            } else {
                world.manager().withdraw(update.prefix);
            }
            for (auto const& [prefix, nextHop] : world.manager().owed()) {
                ASSERT_EQ(nextHop, due.contains(prefix) ? std::optional(due[prefix]) : std::nullopt)
                    << prefix;
            }
            if (due.size() == 10) {
                world.watched.refuse = nullptr;
                ASSERT_TRUE(world.manager().retry());
                world.table = due;
                ASSERT_NO_FATAL_FAILURE(world.check());
                world.watched.refuse = [number](U64 n, WatchedChip::Write const&) {
                    return n % 12 == number ? std::optional(WriteStatus::transientError)
                                            : std::nullopt;
                };
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, RefusalTest, testing::ValuesIn(allCases()), caseName);

}  // namespace
}  // namespace ClientTest
