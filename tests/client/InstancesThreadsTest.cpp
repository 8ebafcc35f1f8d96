#include <tests/Support/LeakCheck.h>
#include <tests/Support/ThreadSafeMode.h>
#include <tests/Support/Threads.h>
#include <tests/client/ClientWorld.h>

#include <gtest/gtest.h>

#include <iostream>
#include <memory>

/*
 * Several tables over one chip and one bitmap of bucket numbers.
 */

namespace ClientTest {
namespace {

using LpmClient::ManagerOptions;

/** A table of a routing instance: a space, what it should hold, and its manager. */
struct Instance {
    U32 vrfId;
    Space space;
    Table table;
    std::unique_ptr<PartitionManager> manager;

    ManagerOptions options(std::string const& policy) const {
        return {vrfId, space.af(), 0, policy, 1};
    }
};

void update(Instance& instance, Update const& update) {
    Outcome const outcome = giveTo(*instance.manager, update);
    ASSERT_TRUE(outcome == Outcome::done || outcome == Outcome::unchanged) << text(outcome);
    takeInto(instance.table, update);
}

void check(Instance const& instance, SimulatedChip const& chip) {
    instance.manager->trie().verify();
    auto const differences = instance.manager->audit();
    ASSERT_TRUE(differences.empty()) << differences.front();
    Answers const due = instance.space.answers(instance.table);
    for (std::size_t i = 0; i < due.size(); ++i) {
        IpGenPrefix const& address = instance.space.addresses()[i];
        ASSERT_EQ(chip.lookup(instance.vrfId, address).route, due[i]) << address;
    }
}

class InstancesThreadsTest : public TestSupport::LeakCheck {
protected:
    InstancesThreadsTest() {
        std::cout << "LPMTRIE_CLIENT_SEED=" << seed_ << '\n';
        for (U32 const vrfId : {0U, 7U}) {
            instances_.push_back({vrfId, Space(AddressFamily::ipv4, 5), {}, nullptr});
            instances_.push_back({vrfId, Space(AddressFamily::ipv6, 5), {}, nullptr});
        }
    }

    /** A new manager, with a window policy. */
    void manage(Instance& instance, Torvel::Bitmap::Ptr const& numbers) {
        instance.manager =
            std::make_unique<PartitionManager>(chip_, numbers, instance.options("window"));
    }
    static void announce(Instance& instance, U32 routes, Random& random) {
        for (auto const& prefix : randomPrefixes(instance.space, Order::random, routes, random)) {
            ASSERT_NO_FATAL_FAILURE(update(instance, {prefix, random.below(1000)}));
        }
    }

    U64 const seed_ = fromEnvironment("LPMTRIE_CLIENT_SEED", 1);
    SimulatedChip chip_{{400, 3, 400}};
    std::vector<Instance> instances_;
};

void run(Instance& instance, SimulatedChip const& chip, Random& random) {
    auto const updates = history(instance.space, Order::random, 40, random);
    for (std::size_t i = 0; i < updates.size(); ++i) {
        ASSERT_NO_FATAL_FAILURE(update(instance, updates[i]));
        if (i % 8 == 0) {
            ASSERT_NO_FATAL_FAILURE(check(instance, chip));
        }
    }
    ASSERT_EQ(instance.manager->trie().root(), nullptr);
}

TEST_F(InstancesThreadsTest, shareChipAndBitmapOnThreadsOfTheirOwn) {
    TestSupport::ThreadSafeMode const mode;
    auto const numbers = Torvel::Bitmap::BitmapIs(400);
    TestSupport::inThreads(instances_.size(), [&](std::size_t index) {
        Instance& instance = instances_[index];
        Random random(seed_ * 100 + index);
        Torvel::Bitmap::Ptr mine = numbers;
        instance.manager = std::make_unique<PartitionManager>(
            chip_, mine, instance.options(index % 2 == 0 ? "window" : "redistribute"));
        run(instance, chip_, random);
        instance.manager.reset();
    });
    EXPECT_EQ(chip_.bucketsUsed() + chip_.bindingsUsed() + numbers->count(), 0U);
    EXPECT_EQ(chip_.counts().totalRefused(), 0U);
}

/** Some writes of each thread are refused: what is owed then is tried again until it is placed. */
TEST_F(InstancesThreadsTest, shareAChipThatRefusesWritesAtRandom) {
    TestSupport::ThreadSafeMode const mode;
    auto const numbers = Torvel::Bitmap::BitmapIs(400);
    WatchedChip refusing(chip_);
    Random refusals(seed_);
    refusing.refuse = [&](U64, WatchedChip::Write const&) {  // called one at a time
        return refusals.below(25) == 0 ? std::optional(WatchedChip::WriteStatus::transientError)
                                       : std::nullopt;
    };
    TestSupport::inThreads(instances_.size(), [&](std::size_t index) {
        Instance& instance = instances_[index];
        Random random(seed_ * 100 + index);
        Torvel::Bitmap::Ptr mine = numbers;
        instance.manager =
            std::make_unique<PartitionManager>(refusing, mine, instance.options("window"));
        for (Update const& next : history(instance.space, Order::random, 40, random)) {
            giveTo(*instance.manager, next);
            for (int tries = 0; tries < 1000 && !instance.manager->retry(); ++tries) {
            }
            takeInto(instance.table, next);
            ASSERT_TRUE(instance.manager->settled());
            ASSERT_NO_FATAL_FAILURE(check(instance, chip_));
        }
        instance.manager.reset();
    });
    EXPECT_GT(refusing.counts().totalRefused(), 30U);
    EXPECT_EQ(chip_.bucketsUsed() + chip_.bindingsUsed() + numbers->count(), 0U);
}

TEST_F(InstancesThreadsTest, restartOneAfterTheOtherWhileTheFirstGrows) {
    auto numbers = Torvel::Bitmap::BitmapIs(400);
    for (std::size_t i = 0; i < instances_.size(); ++i) {
        Instance& instance = instances_[i];
        Random random(seed_ * 100 + i);
        manage(instance, numbers);
        ASSERT_NO_FATAL_FAILURE(announce(instance, 20, random));
        ASSERT_NO_FATAL_FAILURE(check(instance, chip_));
    }
    for (Instance& instance : instances_) {
        instance.manager.reset();
    }
    numbers = Torvel::Bitmap::BitmapIs(400);
    for (std::size_t i = 0; i < instances_.size(); ++i) {
        Instance& instance = instances_[i];
        Random random(seed_ * 100 + 50 + i);
        manage(instance, numbers);
        ASSERT_TRUE(instance.manager->restart());
        ASSERT_NO_FATAL_FAILURE(check(instance, chip_));
        ASSERT_NO_FATAL_FAILURE(announce(instance, 30, random));
        ASSERT_NO_FATAL_FAILURE(check(instance, chip_));
    }
    U64 buckets = 0;
    for (Instance const& instance : instances_) {
        ASSERT_NO_FATAL_FAILURE(check(instance, chip_));
        buckets += instance.manager->buckets();
    }
    EXPECT_EQ(numbers->count(), buckets);
    EXPECT_EQ(chip_.bucketsUsed(), buckets);
}

/** At the very moment at which the first table asks whether a bucket of the second is free. */
TEST_F(InstancesThreadsTest, restartKeepsItsNumbersWhileAnotherTableLooksForOne) {
    auto numbers = Torvel::Bitmap::BitmapIs(400);
    Instance& first = instances_[0];
    Instance& second = instances_[1];
    Random random(seed_);
    manage(second, numbers);
    ASSERT_NO_FATAL_FAILURE(announce(second, 20, random));
    U64 const ofSecond = second.manager->buckets();
    ASSERT_GT(ofSecond, 3U);

    numbers = Torvel::Bitmap::BitmapIs(400);
    manage(second, numbers);
    WatchedChip watched(chip_);
    U64 asked = 0;
    watched.asked = [&] {
        if (++asked == 2) {
            EXPECT_TRUE(second.manager->restart());
        }
    };
    first.manager = std::make_unique<PartitionManager>(watched, numbers, first.options("window"));
    for (U32 low = 0; low < 30; ++low) {
        ASSERT_NO_FATAL_FAILURE(update(first, {first.space.at(low), low}));
        ASSERT_NO_FATAL_FAILURE(check(second, chip_));
        ASSERT_EQ(numbers->count(), first.manager->buckets() + ofSecond);
    }
    EXPECT_LE(asked, ofSecond + first.manager->counts().splits + first.manager->buckets());
    ASSERT_NO_FATAL_FAILURE(check(first, chip_));
}

TEST_F(InstancesThreadsTest, restartsOnAThreadOfItsOwnWhileOthersWork) {
    TestSupport::ThreadSafeMode const mode;
    auto numbers = Torvel::Bitmap::BitmapIs(400);
    std::size_t const half = instances_.size() / 2;
    for (std::size_t i = 0; i < half; ++i) {
        Instance& instance = instances_[i];
        Random random(seed_ * 100 + i);
        manage(instance, numbers);
        ASSERT_NO_FATAL_FAILURE(announce(instance, 20, random));
        instance.manager.reset();
    }
    numbers = Torvel::Bitmap::BitmapIs(400);
    TestSupport::inThreads(instances_.size(), [&](std::size_t index) {
        Instance& instance = instances_[index];
        Random random(seed_ * 100 + 50 + index);
        Torvel::Bitmap::Ptr mine = numbers;
        manage(instance, mine);
        if (index < half) {
            ASSERT_TRUE(instance.manager->restart());
            ASSERT_NO_FATAL_FAILURE(check(instance, chip_));
            for (auto const& [prefix, nextHop] : Table(instance.table)) {
                ASSERT_NO_FATAL_FAILURE(update(instance, {prefix, {}}));
            }
        }
        run(instance, chip_, random);
        instance.manager.reset();
    });
    EXPECT_EQ(chip_.bucketsUsed() + chip_.bindingsUsed() + numbers->count(), 0U);
}

}  // namespace
}  // namespace ClientTest
