#include <tests/Support/LeakCheck.h>
#include <tests/client/Cases.h>
#include <tests/client/ClientWorld.h>

#include <gtest/gtest.h>

#include <iostream>

/*
 * No packet ever meets an answer that is neither the one from before the update in hand nor the one
 * after it: small worlds, every write, every address, every policy. LPMTRIE_CLIENT_SEED repeats a
 * run whose seed has been printed, LPMTRIE_CLIENT_WORLDS sets how many each case gets.
 */

namespace ClientTest {
namespace {

class HitlessTest : public TestSupport::LeakChecked<testing::TestWithParam<Case>> {
protected:
    std::string const policy_ = std::get<0>(GetParam());
    Space const space_{std::get<1>(GetParam())};
    Space const smallSpace_{std::get<1>(GetParam()), 5};
    Space const wholeSpace_{std::get<1>(GetParam()), Space::allUpTo};
};

void run(ClientWorld& world, std::vector<Update> const& updates) {
    for (Update const& update : updates) {
        Outcome const outcome = world.update(update);
        ASSERT_TRUE(outcome == Outcome::done || outcome == Outcome::unchanged) << text(outcome);
        ASSERT_NO_FATAL_FAILURE(world.check()) << update.prefix << '\n' << world.state();
        ASSERT_FALSE(world.failed());
        auto const& counts = world.manager().counts();
        ASSERT_EQ(world.chip.counts().of(LpmClient::WriteKind::writeRoute),
                  counts.added + counts.changed + counts.moves);
    }
}

TEST_P(HitlessTest, everyAddressGetsTheOldOrTheNewAnswerAfterEveryWrite) {
    U64 const seed = fromEnvironment("LPMTRIE_CLIENT_SEED", 1);
    U64 const worlds = fromEnvironment("LPMTRIE_CLIENT_WORLDS", 9);
    std::cout << "LPMTRIE_CLIENT_SEED=" << seed << " LPMTRIE_CLIENT_WORLDS=" << worlds << '\n';
    for (U64 i = 0; i < worlds && !HasFatalFailure(); ++i) {
        SCOPED_TRACE("world " + std::to_string(i));
        Random random(seed * 1'000'003 + i);
        Space const& space = *std::array{&space_, &smallSpace_, &wholeSpace_}[i % 3];
        U32 const bound = i < 2 ? 2 + static_cast<U32>(i) : 2 + random.below(15);
        U32 const routes = space.bits() * (3 + random.below(5));
        ClientWorld world(space, policy_, {2 * routes, bound, 2 * routes});
        Order const order =
            std::array{Order::random, Order::ascending, Order::descending}[(i + i / 3) % 3];
        ASSERT_NO_FATAL_FAILURE(run(world, history(space, order, routes, random)));
        EXPECT_EQ(world.manager().trie().root(), nullptr);
        EXPECT_EQ(world.watched.counts().totalRefused(), 0U);
        EXPECT_EQ(world.chip.bucketsUsed() + world.chip.bindingsUsed(), 0U);
    }
}

TEST_P(HitlessTest, updatesOfWhatIsSoAlreadyWriteNothing) {
    ClientWorld world(space_, policy_, {20, 2, 20});
    for (U32 low = 0; low < 10; ++low) {
        ASSERT_EQ(world.update({space_.at(low), low}), Outcome::done);
    }
    world.watched.countAnew();
    EXPECT_EQ(world.update({space_.at(3), 3}), Outcome::unchanged);
    EXPECT_EQ(world.update({space_.at(11), {}}), Outcome::unchanged);
    EXPECT_TRUE(world.quietly([&] { return world.manager().retry(); }));
    EXPECT_TRUE(world.manager().repair().empty());
    EXPECT_EQ(world.watched.writes(), 0U);
    world.check();
}

INSTANTIATE_TEST_SUITE_P(All, HitlessTest, testing::ValuesIn(allCases()), caseName);

}  // namespace
}  // namespace ClientTest
