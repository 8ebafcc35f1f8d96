#include <client/Window.h>
#include <tests/Support/AllocationFailure.h>
#include <tests/client/UndisturbedRun.h>

/*
 * Memory that runs out at each allocation of an update in turn, be it in the client, in the trie or
 * in the chip, which refuses the write then. Once there is memory again, the update goes through
 * and leaves the very state that a run without failures has after it, bucket numbers included.
 */

namespace ClientTest {
namespace {

using TestSupport::AfterFailure;
using TestSupport::AllocationFailure;

class MemoryTest : public UndisturbedRun {
protected:
    MemoryTest() : UndisturbedRun(10) {}

    void run(AfterFailure after);
    void failEachSite(ClientWorld& world, Update const& update, AfterFailure after);
    void checkAgreement(ClientWorld& world, Table const& before, Table const& after);
    void restartEverywhere(AfterFailure after);

    U64 failures_ = 0;
};

/** True when an allocation has failed. */
template <class Work>
bool fails(U64 site, AfterFailure after, Work const& work) {
    AllocationFailure const failure(site, after);
    try {
        work();
    } catch (std::bad_alloc const&) {
        EXPECT_TRUE(failure.hasHappened());
    }
    return failure.hasHappened();
}

/** The trie holds one of the two tables, and the chip agrees or is owed something. */
void MemoryTest::checkAgreement(ClientWorld& world, Table const& before, Table const& after) {
    auto& manager = world.manager();
    manager.trie().verify();
    ASSERT_NO_FATAL_FAILURE(world.tableIsOneOf(before, after));
    auto const differences = manager.audit();
    ASSERT_TRUE(differences.empty() || !manager.settled()) << differences.front();
    Answers const old = space_.answers(before);
    Answers const due = space_.answers(after);
    for (std::size_t i = 0; i < due.size(); ++i) {
        auto const answer = world.chip.lookup(ClientWorld::vrfId, space_.addresses()[i]).route;
        ASSERT_TRUE(answer == old[i] || answer == due[i]) << space_.addresses()[i];
    }
}

/** The update once more for each site; once it has gone through, what it has left to `retry`. */
void MemoryTest::failEachSite(ClientWorld& world, Update const& update, AfterFailure after) {
    Table const before = world.table;
    Table due = before;
    takeInto(due, update);
    auto& manager = world.manager();
    bool isDone = false;
    for (U64 site = 1;; ++site) {
        SCOPED_TRACE("failing allocation number " + std::to_string(site));
        bool const failed = fails(site, after, [&] {
            isDone ? static_cast<void>(manager.retry())
                   : static_cast<void>(giveTo(manager, update));
        });
        ASSERT_NO_FATAL_FAILURE(checkAgreement(world, before, due));
        if (!failed) {
            break;
        }
        ++failures_;
        if (!isDone && world.table == due) {
            isDone = true;
            site = 0;
        }
    }
    ASSERT_EQ(world.table, due);
}

void MemoryTest::run(AfterFailure after) {
    ClientWorld world(space_, policy_, size_);
    world.watched.written = nullptr;
    for (std::size_t i = 0; i < steps_.size(); ++i) {
        SCOPED_TRACE("update " + std::to_string(i));
        ASSERT_NO_FATAL_FAILURE(failEachSite(world, steps_[i].update, after));
        ASSERT_TRUE(world.manager().retry());
        ASSERT_TRUE(world.manager().settled());
        ASSERT_NO_FATAL_FAILURE(world.check());
        ASSERT_EQ(world.state(), steps_[i].state);
    }
    EXPECT_GT(failures_, 2 * steps_.size());
}

TEST_P(MemoryTest, anAllocationThatFailsInAnUpdateIsMadeGood) {
    run(AfterFailure::succeed);
}

TEST_P(MemoryTest, exhaustedMemoryInAnUpdateIsMadeGood) {
    run(AfterFailure::fail);
}

/** A chip that a run has left in the middle of an update is taken over by one manager. */
void MemoryTest::restartEverywhere(AfterFailure after) {
    for (std::size_t step = 8; step < steps_.size(); step += 5) {
        SCOPED_TRACE("update " + std::to_string(step));
        ClientWorld world(space_, policy_, size_);
        world.watch(false);
        for (std::size_t i = 0; i < step; ++i) {
            world.update(steps_[i].update);
        }
        Table const before = world.table;
        Table due = before;
        takeInto(due, steps_[step].update);
        world.watched.countAnew();
        world.watched.refuse = refusalFrom(steps_[step].writes / 2);
        giveTo(world.manager(), steps_[step].update);
        world.newManager();
        world.watched.refuse = nullptr;
        world.watched.written = nullptr;
        for (U64 site = 1;; ++site) {
            SCOPED_TRACE("failing allocation number " + std::to_string(site));
            bool taken = false;
            bool const failed = fails(site, after, [&] { taken = world.manager().restart(); });
            if (taken) {
                ASSERT_NO_FATAL_FAILURE(checkAgreement(world, before, due));
                ASSERT_TRUE(world.manager().settled());
            }
            if (!failed) {
                ASSERT_TRUE(taken);
                break;
            }
            ++failures_;
            if (taken) {
                world.newManager();  // no failure of any consequence
                continue;
            }
            ASSERT_EQ(world.manager().trie().root(), nullptr);
            ASSERT_FALSE(world.manager().settled());
        }
        ASSERT_NO_FATAL_FAILURE(world.check());
    }
    EXPECT_GT(failures_, 500U);
}

TEST_P(MemoryTest, anAllocationThatFailsInARestartIsMadeGood) {
    restartEverywhere(AfterFailure::succeed);
}

TEST_P(MemoryTest, exhaustedMemoryInARestartIsMadeGood) {
    restartEverywhere(AfterFailure::fail);
}

TEST_P(MemoryTest, downloadThatFindsNoMemoryLeavesTrieAndChipEmpty) {
    std::vector<Route> routes;
    for (U32 low = 0; low < 20; ++low) {
        routes.push_back({space_.at(low % 10, low / 10), low});
    }
    for (AfterFailure const after : {AfterFailure::succeed, AfterFailure::fail}) {
        ClientWorld world(space_, policy_, size_);
        world.watched.written = nullptr;
        for (U64 site = 1;; ++site) {
            SCOPED_TRACE("failing allocation number " + std::to_string(site));
            Outcome outcome = Outcome::refused;
            if (!fails(site, after, [&] { outcome = world.manager().download(routes); })) {
                ASSERT_EQ(outcome, Outcome::done);
                break;
            }
            ++failures_;
            ASSERT_NE(outcome, Outcome::done);
            ASSERT_EQ(world.manager().trie().root(), nullptr);
            ASSERT_TRUE(world.chip.bucketsUsed() == 0 || !world.manager().settled());
        }
        for (Route const& route : routes) {
            world.table[route.prefix] = route.nextHop;
        }
        ASSERT_NO_FATAL_FAILURE(world.check());
    }
    EXPECT_GT(failures_, 100U);
}

/** What is not made leaves nothing behind: the leak check sees it. */
TEST_P(MemoryTest, chipAndManagerAreMadeOrNot) {
    for (AfterFailure const after : {AfterFailure::succeed, AfterFailure::fail}) {
        EXPECT_GT(TestSupport::failEachAllocation(
                      [this] { ClientWorld const world(space_, policy_, size_); }, [] {}, after),
                  5U);
    }
}

TEST_P(MemoryTest, questionsWithoutMemoryChangeNothing) {
    ClientWorld world(space_, policy_, size_);
    world.watched.written = nullptr;
    for (std::size_t i = 0; i < steps_.size() / 2; ++i) {
        world.update(steps_[i].update);
    }
    ASSERT_FALSE(world.table.empty());
    std::string const before = world.state();
    auto const nothingHasChanged = [&world, &before] {
        world.manager().trie().verify();
        EXPECT_EQ(world.state(), before);
    };
    for (AfterFailure const after : {AfterFailure::succeed, AfterFailure::fail}) {
        TestSupport::failEachAllocation(
            [this, &world] { LpmClient::fewestPieces(world.manager().trie(), size_.bucketRoutes); },
            nothingHasChanged, after);
    }
    EXPECT_NO_FATAL_FAILURE(world.check());
    world.newManager();  // to which all of the chip is a difference
    for (AfterFailure const after : {AfterFailure::succeed, AfterFailure::fail}) {
        EXPECT_GT(TestSupport::failEachAllocation(
                      [&world] { EXPECT_FALSE(world.manager().audit().empty()); },
                      nothingHasChanged, after),
                  0U);
    }
}

INSTANTIATE_TEST_SUITE_P(All, MemoryTest, testing::ValuesIn(allCases()), caseName);

}  // namespace
}  // namespace ClientTest
