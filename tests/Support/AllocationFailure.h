#pragma once

#include <Vexo/Types.h>

#include <gtest/gtest.h>

#include <new>

/*
 * Test programs allocate through the operators new of AllocationFailure.cpp, which count the
 * allocations of each thread and let chosen ones fail. What calls malloc itself, as the making of
 * an exception does, is neither counted nor made to fail.
 */

namespace TestSupport {

/**
 * Allocations that the calling thread has asked for since it began, those that failed included; of
 * slots, those while they were watched.
 */
Vexo::U64 allocationsOfThread() noexcept;

/**
 * While an instance lives, an allocation from slots is one from the operators new as well. Without
 * any, slots are taken as a client takes them.
 */
class WatchedSlots {
public:
    WatchedSlots() noexcept;
    ~WatchedSlots();
    WatchedSlots(WatchedSlots const&) = delete;
    WatchedSlots& operator=(WatchedSlots const&) = delete;
};

/** The calling thread's allocations since an instance was made. */
class AllocationCount {
public:
    Vexo::U64 value() const noexcept { return allocationsOfThread() - before_; }

private:
    WatchedSlots const watched_;
    Vexo::U64 before_ = allocationsOfThread();
};

/** What happens to the allocations after the one that fails. */
enum class AfterFailure { succeed, fail };

/** Whose allocations are counted on the way to the one that fails. */
enum class CountedThreads { own, all };

class FailurePlan;

/**
 * While an instance lives, an allocation fails with std::bad_alloc. At most one instance in a
 * thread at a time, and one for all threads.
 */
class AllocationFailure {
public:
    /** Lets the allocation number `site` from now on fail; 1 is the next one. */
    explicit AllocationFailure(Vexo::U64 site, AfterFailure after = AfterFailure::succeed,
                               CountedThreads threads = CountedThreads::own) noexcept;
    ~AllocationFailure();
    AllocationFailure(AllocationFailure const&) = delete;
    AllocationFailure& operator=(AllocationFailure const&) = delete;

    bool hasHappened() const noexcept;

private:
    WatchedSlots const watched_;
    FailurePlan& plan_;
};

/**
 * Runs `operation` again and again, with its first, then its second, then its third … allocation
 * failing, until it completes without meeting the failure, and answers how many sites there were.
 * Each run that met its failure must have ended in std::bad_alloc; `checkUnchanged` runs after it,
 * with allocations working again, and asserts that nothing has changed.
 *
 * `AfterFailure::fail` lets all later allocations of the run fail as well, as when memory is
 * exhausted.
 */
template <class Operation, class CheckUnchanged>
Vexo::U64 failEachAllocation(Operation&& operation, CheckUnchanged&& checkUnchanged,
                             AfterFailure after = AfterFailure::succeed) {
    for (Vexo::U64 site = 1;; ++site) {
        bool happened = false;
        bool thrown = false;
        {
            AllocationFailure const failure(site, after);
            try {
                operation();
            } catch (std::bad_alloc const&) {
                thrown = true;
            }
            happened = failure.hasHappened();
        }
        EXPECT_EQ(thrown, happened) << "failing allocation number " << site;
        if (!happened) {
            return site - 1;
        }
        SCOPED_TRACE(testing::Message() << "after failing allocation number " << site);
        checkUnchanged();
        if (testing::Test::HasFatalFailure() || !thrown) {
            return site;
        }
    }
}

}  // namespace TestSupport
