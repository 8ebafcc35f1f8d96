#include <tests/Support/AllocationFailure.h>
#include <tests/Support/LeakCheck.h>
#include <tests/client/ClientWorld.h>

#include <gtest/gtest.h>

#include <iostream>

/*
 * Repairs of damage at random. Where it was one write or two, no right answer turns wrong on the
 * way. What a repair could not mend, since the chip refused or memory ran out, it tells, and
 * `retry` mends it later.
 */

namespace ClientTest {
namespace {

using LpmClient::Write;
using LpmClient::WriteKind;

constexpr U32 vrfId = ClientWorld::vrfId;

/** So many writes that anybody might have done, refused ones among them. */
void damage(SimulatedChip& chip, Space const& space, U32 writes, Random& random) {
    for (U32 i = 0; i < writes; ++i) {
        Write write;
        write.kind = static_cast<WriteKind>(random.below(LpmClient::writeKinds));
        write.vrfId = vrfId;
        write.bucket = random.below(12);
        write.route = {space.randomPrefix(random), random.below(1000)};
        write.empty = random.below(2) == 0;
        auto const bindings = chip.bindings(vrfId, space.af());
        if (write.kind == WriteKind::unbind && !bindings.empty()) {
            write.route.prefix = bindings[random.below(static_cast<U32>(bindings.size()))].prefix;
        }
        auto const contents = chip.contents(write.bucket);
        if (write.kind == WriteKind::eraseRoute && contents && !contents->routes.empty()) {
            write.route = contents->routes[random.below(static_cast<U32>(contents->routes.size()))];
        }
        chip.write(write);
    }
}

/** From now on no answer that is right, now or after a write, may turn wrong. */
void watchRepair(ClientWorld& world, Space const& space) {
    auto const due = space.answers(world.table);
    auto const isRight = [&world, &space, due](std::size_t at) {
        return world.chip.lookup(vrfId, space.addresses()[at]).route == due[at];
    };
    std::vector<bool> right;
    for (std::size_t at = 0; at < due.size(); ++at) {
        right.push_back(isRight(at));
    }
    world.watched.written = [=, &space](Write const& write) mutable {
        for (std::size_t at = 0; at < due.size(); ++at) {
            bool const stillRight = isRight(at);
            ASSERT_TRUE(stillRight || !right[at]) << space.addresses()[at] << " after " << write;
            right[at] = stillRight;
        }
    };
}

class RepairTest : public TestSupport::LeakCheck {
protected:
    RepairTest() { std::cout << "LPMTRIE_CLIENT_SEED=" << seed_ << '\n'; }

    /** A table of 25 routes. */
    static void fill(ClientWorld& world, Space const& space, Random& random) {
        world.watch(false);
        for (auto const& prefix : randomPrefixes(space, Order::random, 25, random)) {
            ASSERT_EQ(world.update({prefix, random.below(1000)}), Outcome::done);
        }
    }

    U64 const seed_ = fromEnvironment("LPMTRIE_CLIENT_SEED", 1);
};

TEST_F(RepairTest, mendsAnyDamageAndASmallOneWithoutTurningRightAnswersWrong) {
    for (U32 i = 0; i < 200 && !HasFatalFailure(); ++i) {
        SCOPED_TRACE("world " + std::to_string(i));
        Random random(seed_ * 1000 + i);
        Space const space(i % 2 == 0 ? AddressFamily::ipv4 : AddressFamily::ipv6, 5);
        ClientWorld world(space, "window", {12, 6, 40});
        ASSERT_NO_FATAL_FAILURE(fill(world, space, random));
        bool const manyWrites = i % 4 == 0;
        damage(world.chip, space, 1 + random.below(manyWrites ? 40 : 2), random);
        if (!manyWrites) {
            watchRepair(world, space);
        }
        auto const left = world.manager().repair();
        ASSERT_TRUE(left.empty()) << left.front();
        ASSERT_NO_FATAL_FAILURE(world.check());
    }
}

/** Damaged worlds, each the same whenever it is made. */
class RefusedRepairTest : public RepairTest {
protected:
    /** Calls `disturb(world, attempt)` for attempts 0, 1 and so on until it answers false. */
    template <class Disturb>
    void mendAfter(Disturb const& disturb) const;
};

template <class Disturb>
void RefusedRepairTest::mendAfter(Disturb const& disturb) const {
    for (U32 i = 0; i < 6 && !HasFatalFailure(); ++i) {
        Space const space(i % 2 == 0 ? AddressFamily::ipv4 : AddressFamily::ipv6, 5);
        bool goesOn = true;
        for (U64 attempt = 0; goesOn; ++attempt) {
            SCOPED_TRACE("world " + std::to_string(i) + ", attempt " + std::to_string(attempt));
            Random random(seed_ * 1000 + i);
            ClientWorld world(space, "window", {12, 6, 40});
            ASSERT_NO_FATAL_FAILURE(fill(world, space, random));
            std::string const state = world.state();
            damage(world.chip, space, 20, random);
            world.watched.countAnew();
            goesOn = disturb(world, attempt);
            world.watched.refuse = nullptr;
            ASSERT_TRUE(world.manager().retry());
            ASSERT_TRUE(world.manager().settled());
            ASSERT_NO_FATAL_FAILURE(world.check());
            ASSERT_EQ(world.state(), state);
        }
    }
}

void repairWithRefusals(ClientWorld& world) {
    auto const left = world.manager().repair();
    ASSERT_EQ(left, world.manager().audit());
    ASSERT_EQ(left.empty(), world.manager().settled());
}

TEST_F(RefusedRepairTest, tellsWhatOneRefusedWriteHasLeft) {
    mendAfter([](ClientWorld& world, U64 number) {
        bool refused = false;
        world.watched.refuse = [&refused, number](U64 n, Write const&) {
            refused = refused || n == number;
            return n == number ? std::optional(WriteStatus::transientError) : std::nullopt;
        };
        repairWithRefusals(world);
        return refused;
    });
}

TEST_F(RefusedRepairTest, tellsWhatAChipHasLeftThatTakesNothingAnyMore) {
    mendAfter([](ClientWorld& world, U64 number) {
        bool refused = false;
        world.watched.refuse = [&refused, number](U64 n, Write const&) {
            refused = n >= number;
            return refused ? std::optional(WriteStatus::transientError) : std::nullopt;
        };
        repairWithRefusals(world);
        EXPECT_NE(refused, world.manager().settled());
        EXPECT_EQ(world.manager().retry(), !refused);
        return refused;
    });
}

TEST_F(RefusedRepairTest, readsNothingAndIsMadeGood) {
    mendAfter([](ClientWorld& world, U64 number) {
        bool thrown = false;
        world.watched.asked = unreadableAt(number);
        try {
            world.manager().repair();
        } catch (Unreadable const&) {
            thrown = true;
            EXPECT_FALSE(world.manager().settled());
        }
        world.watched.asked = nullptr;
        return thrown;
    });
}

TEST_F(RefusedRepairTest, findsNoMemoryAndIsMadeGood) {
    for (auto const after : {TestSupport::AfterFailure::succeed, TestSupport::AfterFailure::fail}) {
        mendAfter([after](ClientWorld& world, U64 site) {
            world.watched.written = nullptr;
            TestSupport::AllocationFailure const failure(site + 1, after);
            try {
                world.manager().repair();
            } catch (std::bad_alloc const&) {
                EXPECT_FALSE(world.manager().settled());
            }
            return failure.hasHappened();
        });
    }
}

}  // namespace
}  // namespace ClientTest
