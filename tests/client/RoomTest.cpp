#include <tests/Support/LeakCheck.h>
#include <tests/client/Cases.h>
#include <tests/client/ClientWorld.h>

#include <gtest/gtest.h>

#include <iostream>
#include <stdexcept>

/*
 * Chips that are too small for what they are asked to hold. That is an answer: nothing changes, the
 * update is owed, and finds its place once others have gone.
 */

namespace ClientTest {
namespace {

class RoomTest : public TestSupport::LeakChecked<testing::TestWithParam<Case>> {
protected:
    RoomTest() { std::cout << "LPMTRIE_CLIENT_SEED=" << seed_ << '\n'; }

    void fillAndMakeRoom(ChipSize const& size, Outcome due);

    std::string const policy_ = std::get<0>(GetParam());
    Space const space_{std::get<1>(GetParam()), 5};
    U64 const seed_ = fromEnvironment("LPMTRIE_CLIENT_SEED", 1);
    Random random_{seed_};
};

/** Announces until most is refused, then withdraws until all that is owed finds its place. */
void RoomTest::fillAndMakeRoom(ChipSize const& size, Outcome due) {
    ClientWorld world(space_, policy_, size);
    auto const prefixes = randomPrefixes(space_, Order::random, 30, random_);
    std::map<IpGenPrefix, std::optional<NextHop>> owed;
    for (auto const& prefix : prefixes) {
        NextHop const nextHop = random_.below(1000);
        Outcome const outcome = world.update({prefix, nextHop});
        if (outcome != Outcome::done) {
            ASSERT_EQ(outcome, due);
            owed[prefix] = nextHop;
        }
        ASSERT_EQ(world.manager().owed(), owed);
        ASSERT_NO_FATAL_FAILURE(world.check());
    }
    ASSERT_FALSE(owed.empty());
    ASSERT_FALSE(world.table.empty());
    ASSERT_EQ(world.manager().counts().notDone, owed.size());
    Table const placed = world.table;
    for (auto const& [prefix, nextHop] : placed) {
        Outcome const outcome = world.update({prefix, {}});
        ASSERT_EQ(outcome, Outcome::done);
        ASSERT_NO_FATAL_FAILURE(world.check());
        world.watch(false);  // several updates at once
        bool const done = world.manager().retry();
        for (auto const& [late, lateHop] : owed) {
            if (!world.manager().owed().contains(late)) {
                world.table[late] = *lateHop;
            }
        }
        world.watch(true);
        ASSERT_EQ(done, world.manager().owed().empty());
        ASSERT_NO_FATAL_FAILURE(world.check());
    }
    ASSERT_LT(world.manager().owed().size(), owed.size());
}

TEST_P(RoomTest, noBucketLeftIsAnAnswer) {
    fillAndMakeRoom({5, 3, 40}, Outcome::noRoom);
}

TEST_P(RoomTest, noBindingLeftIsARefusal) {
    fillAndMakeRoom({40, 3, 5}, Outcome::refused);
}

TEST_P(RoomTest, chipWithoutBucketsOwesEverything) {
    ClientWorld world(space_, policy_, {0, 3, 0});
    EXPECT_EQ(world.update({space_.at(1), 1}), Outcome::noRoom);
    EXPECT_EQ(world.manager().trie().root(), nullptr);
    EXPECT_EQ(world.manager().owed().size(), 1U);
    EXPECT_FALSE(world.manager().retry());
    world.check();
    EXPECT_EQ(world.update({space_.at(1), {}}), Outcome::unchanged);
    EXPECT_TRUE(world.manager().owed().empty());
    EXPECT_TRUE(world.manager().retry());
}

TEST_P(RoomTest, laterUpdateOfAnOwedPrefixTakesItsPlace) {
    ClientWorld world(space_, policy_, {1, 2, 1});
    ASSERT_EQ(world.update({space_.at(1), 1}), Outcome::done);
    ASSERT_EQ(world.update({space_.at(2), 2}), Outcome::done);
    ASSERT_EQ(world.update({space_.at(3), 3}), Outcome::noRoom);
    ASSERT_EQ(world.update({space_.at(3), 4}), Outcome::noRoom);
    EXPECT_EQ(world.manager().owed().at(space_.at(3)), 4U);
    ASSERT_EQ(world.update({space_.at(1), {}}), Outcome::done);
    world.table[space_.at(3)] = 4;
    world.watch(false);
    EXPECT_TRUE(world.manager().retry());
    world.check();
}

TEST_P(RoomTest, updateWithoutRoomStaysOwedAndDoesNotStopARestart) {
    ClientWorld world(space_, policy_, {1, 2, 1});
    world.watch(false);
    ASSERT_EQ(world.update({space_.at(1), 1}), Outcome::done);
    world.watched.countAnew();
    world.watched.refuse = [](U64 number, WatchedChip::Write const&) {
        return number > 0 ? std::optional(WriteStatus::transientError) : std::nullopt;
    };
    world.manager().withdraw(space_.at(1));  // cut off after the route, before its bucket
    world.newManager();
    world.watched.refuse = [](U64, WatchedChip::Write const&) {
        return std::optional(WriteStatus::transientError);
    };
    ASSERT_FALSE(world.manager().restart());
    for (U32 i = 1; i <= 3; ++i) {
        ASSERT_EQ(world.manager().announce({space_.at(i), i}), Outcome::refused);
    }
    world.watched.refuse = nullptr;
    EXPECT_TRUE(world.manager().restart());
    EXPECT_EQ(world.manager().routes(), 2U);
    EXPECT_EQ(world.manager().owed().size(), 1U);
    EXPECT_FALSE(world.manager().retry());
    world.table = world.heldByTrie();
    world.check();
}

/** A restart after each write of a run in a chip that has no bucket and no binding to spare. */
TEST_P(RoomTest, restartNeedsNoBucketThatTheRunDidNotNeed) {
    auto const updates = history(space_, Order::random, 12, random_);
    ClientWorld first(space_, policy_, {40, 3, 40});
    U32 most = 0;
    first.watched.written = [&](WatchedChip::Write const&) {
        most = std::max({most, first.chip.bucketsUsed(), first.chip.bindingsUsed()});
    };
    first.watch(false);
    U64 writes = 0;
    for (Update const& update : updates) {
        first.update(update);
    }
    writes = first.watched.writes();
    for (U64 number = 0; number < writes; ++number) {
        SCOPED_TRACE("write " + std::to_string(number));
        ClientWorld world(space_, policy_, {most, 3, most});
        world.watch(false);
        world.watched.refuse = refusalFrom(number);
        std::size_t at = 0;
        for (; at < updates.size() && world.watched.writes() <= number; ++at) {
            Table const before = world.table;
            world.update(updates[at]);
            if (world.watched.writes() > number) {
                Table after = before;
                takeInto(after, updates[at]);
                world.newManager();
                world.watched.refuse = nullptr;
                world.watch(true);
                world.expectAnswers(before, after);
                ASSERT_TRUE(world.manager().restart());
                ASSERT_NO_FATAL_FAILURE(world.tableIsOneOf(before, after));
                ASSERT_NO_FATAL_FAILURE(world.check());
                ASSERT_FALSE(world.failed());
                break;
            }
        }
    }
}

TEST(ManagerOptionsTest, refusesABoundThatTheChipCannotHoldAndAnUnknownPolicy) {
    SimulatedChip chip({4, 4, 4});
    auto const numbers = Torvel::Bitmap::BitmapIs(4);
    auto const make = [&](U32 bound, std::string const& policy) {
        PartitionManager const manager(chip, numbers, {0, AddressFamily::ipv4, bound, policy, 1});
        return manager.bucketRoutes();
    };
    EXPECT_EQ(make(0, ""), 4U);
    EXPECT_EQ(make(3, ""), 3U);
    EXPECT_THROW(make(5, ""), std::invalid_argument);
    EXPECT_THROW(make(4, "none"), std::invalid_argument);
}

/** Its policies cut what is one route too large, not what is many times too large. */
TEST_P(RoomTest, restartLeavesAChipAloneThatWasFilledForLargerBuckets) {
    Space const space(std::get<1>(GetParam()), 5);
    ClientWorld world(space, std::get<0>(GetParam()), {20, 8, 20});
    for (U32 low = 0; low < 8; ++low) {
        ASSERT_EQ(world.update({space.at(low), low}), Outcome::done);
    }
    auto const restart = [&](U32 bound) {
        auto const numbers = Torvel::Bitmap::BitmapIs(20);
        PartitionManager manager(
            world.watched, numbers,
            {ClientWorld::vrfId, space.af(), bound, std::get<0>(GetParam()), 1});
        world.watched.countAnew();
        bool const taken = manager.restart();
        EXPECT_EQ(manager.settled(), taken);
        EXPECT_EQ(manager.routes(), taken ? 8U : 0U);
        EXPECT_EQ(numbers->count(), taken ? 1U : 0U);
        return taken;
    };
    EXPECT_FALSE(restart(7));
    EXPECT_EQ(world.watched.writes(), 0U);
    world.checkAnswers();
    EXPECT_TRUE(restart(8));
}

TEST(ManagerOptionsTest, refusesPrefixesOfTheOtherFamilyTooLongOnesAndHostBits) {
    Space const space(AddressFamily::ipv4);
    ClientWorld world(space, "", {4, 4, 4});
    auto& manager = world.manager();
    EXPECT_THROW(manager.announce({IpGenPrefix::fromString("::/0"), 1}), std::invalid_argument);
    EXPECT_THROW(manager.withdraw(IpGenPrefix::fromString("::/0")), std::invalid_argument);
    IpGenPrefix const hostBits(Nimbal::IpAddr(0x0a000001U), 8);
    EXPECT_THROW(manager.announce({hostBits, 1}), std::invalid_argument);
    EXPECT_THROW(manager.download(std::vector<Route>{{hostBits, 1}}), std::invalid_argument);
    for (U32 const len : {33U, 128U, 200U}) {
        IpGenPrefix const tooLong(AddressFamily::ipv4, {}, len);
        EXPECT_THROW(manager.announce({tooLong, 1}), std::invalid_argument) << len;
        EXPECT_THROW(manager.withdraw(tooLong), std::invalid_argument) << len;
        EXPECT_THROW(manager.download(std::vector<Route>{{tooLong, 1}}), std::invalid_argument);
    }
    EXPECT_EQ(world.watched.writes(), 0U);
    world.check();
}

INSTANTIATE_TEST_SUITE_P(All, RoomTest, testing::ValuesIn(allCases()), caseName);

}  // namespace
}  // namespace ClientTest
