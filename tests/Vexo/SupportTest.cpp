#include <Vexo/SlabStorage.h>
#include <tests/Support/AllocationFailure.h>
#include <tests/Support/AssertionText.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Support/ThreadSafeMode.h>
#include <tests/Support/TraceCapture.h>
#include <tests/Vexo/CountedTypes.h>

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

/* What the tests lean on must fail when it should. */

namespace {

using namespace TestSupport;
using testing::ElementsAre;
using Vexo::TraceHandle;
using Vexo::U64;
using VexoTest::Body;

class EmptyCase : public LeakCheck {
    void TestBody() override {}
};

TEST(LeakCheckTest, reportsAnObjectThatIsLeft) {
    static std::unique_ptr<Body> left;
    EXPECT_NONFATAL_FAILURE(
        {
            EmptyCase const check;
            left = std::make_unique<Body>();
        },
        "VexoTest::Body");
    left.reset();
}

TEST(LeakCheckTest, reportsAnObjectThatIsMissing) {
    static std::unique_ptr<Body> there;
    there = std::make_unique<Body>();
    EXPECT_NONFATAL_FAILURE(
        {
            EmptyCase const check;
            there.reset();
        },
        "VexoTest::Body");
}

TEST(LeakCheckTest, looksAfterTheMembersHaveGone) {
    class WithMember : public EmptyCase {
        Vexo::Ptr<Body> const body_{new Body};
    };
    WithMember const check;
    EXPECT_EQ(liveObjects().count("VexoTest::Body"), 1U);
}

/** The compiler may leave out an allocation whose place nobody ever gets to know. */
template <class T>
T* known(T* storage) {
    void* volatile place = storage;
    return static_cast<T*>(place);
}

TEST(AllocationFailureTest, countsTheAllocationsOfItsThread) {
    struct alignas(128) Aligned {
        char content = 'x';
    };
    AllocationCount const count;
    std::unique_ptr<int> const one(known(new int(1)));
    std::unique_ptr<int[]> const many(known(new int[5]));
    std::unique_ptr<Aligned> const aligned(known(new Aligned));
    EXPECT_EQ(count.value(), 3U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(aligned.get()) % 128, 0U);
}

TEST(AllocationFailureTest, slotsAreCountedAndFailOnlyWhileTheyAreWatched) {
    constexpr std::size_t bytes = 40;
    auto const takeSlot = [] {
        Vexo::SlabStorage::release(known(Vexo::SlabStorage::allocate(bytes)), bytes);
    };
    bool const areSlots = Vexo::SlabStorage::largest() >= bytes;
    Vexo::U64 const before = TestSupport::allocationsOfThread();
    takeSlot();
    EXPECT_EQ(TestSupport::allocationsOfThread() - before, areSlots ? 0U : 1U);
    AllocationCount const count;
    takeSlot();
    EXPECT_EQ(count.value(), 1U);
    {
        TestSupport::AllocationFailure const failure(2);
        takeSlot();
        EXPECT_THROW(takeSlot(), std::bad_alloc);
    }
    takeSlot();
    EXPECT_EQ(count.value(), 4U);
}

/** Whether each of `count` allocations in a row succeeds. */
std::vector<bool> successesOf(std::size_t count) {
    std::vector<bool> successes(count);
    std::array<void*, 8> storage{};
    for (std::size_t number = 0; number < count; ++number) {
        storage[number] = known(::operator new(8, std::nothrow));
        successes[number] = storage[number] != nullptr;
    }
    for (void* const place : storage) {
        ::operator delete(place);
    }
    return successes;
}

TEST(AllocationFailureTest, letsOneAllocationFail) {
    AllocationFailure const failure(3);  // the first is the vector's
    EXPECT_FALSE(failure.hasHappened());
    EXPECT_THAT(successesOf(4), ElementsAre(true, false, true, true));
    EXPECT_TRUE(failure.hasHappened());
}

TEST(AllocationFailureTest, letsAllFurtherAllocationsFail) {
    std::vector<bool> successes;
    {
        AllocationFailure const failure(3, AfterFailure::fail);
        successes = successesOf(4);
    }
    EXPECT_THAT(successes, ElementsAre(true, false, false, false));
    EXPECT_THAT(successesOf(2), ElementsAre(true, true));
}

TEST(AllocationFailureTest, countsAndFailsInAllThreadsWhereThatIsWanted) {
    using TestSupport::CountedThreads;
    auto const ofAnotherThread = [] {
        std::vector<bool> successes(1);
        std::thread([&] { successes = successesOf(4); }).join();
        return successes;
    };
    std::vector<bool> successes;
    {
        AllocationFailure const failure(3, AfterFailure::fail);
        successes = ofAnotherThread();
    }
    EXPECT_THAT(successes, ElementsAre(true, true, true, true));
    void* own = nullptr;
    {
        // The first three are the vector's, the thread's and the other vector's.
        AllocationFailure const failure(5, AfterFailure::fail, CountedThreads::all);
        successes = ofAnotherThread();
        own = known(::operator new(8, std::nothrow));
    }
    EXPECT_THAT(successes, ElementsAre(true, false, false, false));
    EXPECT_EQ(own, nullptr);
    EXPECT_THAT(ofAnotherThread(), ElementsAre(true, true, true, true));
}

TEST(AllocationFailureTest, anyFormOfNewFails) {
    AllocationFailure const failure(1, AfterFailure::fail);
    EXPECT_THROW(known(::operator new(8)), std::bad_alloc);
    EXPECT_THROW(known(::operator new[](8)), std::bad_alloc);
    EXPECT_THROW(known(::operator new (8, std::align_val_t{64})), std::bad_alloc);
    EXPECT_THROW(known(::operator new[](8, std::align_val_t{64})), std::bad_alloc);
    EXPECT_EQ(known(::operator new[](8, std::nothrow)), nullptr);
    EXPECT_EQ(known(::operator new (8, std::align_val_t{64}, std::nothrow)), nullptr);
    EXPECT_EQ(known(::operator new[](8, std::align_val_t{64}, std::nothrow)), nullptr);
}

TEST(AllocationFailureTest, eachSiteIsMetOnce) {
    for (AfterFailure const after : {AfterFailure::succeed, AfterFailure::fail}) {
        int checks = 0;
        int completions = 0;
        U64 const sites = failEachAllocation(
            [&] {
                std::unique_ptr<int> const one(known(new int(1)));
                std::unique_ptr<int[]> const two(known(new int[2]));
                std::unique_ptr<int> const three(known(new int(3)));
                ++completions;
            },
            [&] { ++checks; }, after);
        EXPECT_EQ(sites, 3U);
        EXPECT_EQ(checks, 3);
        EXPECT_EQ(completions, 1);
    }
}

void swallowFailure() {
    try {
        std::unique_ptr<int> const one(known(new int(1)));
    } catch (std::bad_alloc const&) {
    }
}

TEST(AllocationFailureTest, aFailureThatIsSwallowedIsReported) {
    EXPECT_NONFATAL_FAILURE(failEachAllocation(swallowFailure, [] {}),
                            "failing allocation number 1");
}

TEST(AssertionTextTest, acceptsTheWholeTextAlone) {
    auto const matcher = assertionText("a == b", "a:1", "Some/Module", "void f()");
    std::string const last = std::string(program_invocation_short_name) +
                             ": Some/Module:12: void f(): Assertion `a == b' failed.\n";
    EXPECT_TRUE(matcher.Matches("a == b: a:1\n" + last));
    EXPECT_TRUE(assertionText("a == b", "", "Some/Module", "void f()").Matches("a == b\n" + last));
    for (std::string const& other :
         {std::string(), "a == b: a:1\n" + last + "x", "x" + ("a == b: a:1\n" + last), last,
          "a == b: a:2\n" + last, "a == b\n" + last, "a == b a:1\n" + last,
          std::string("a == b: a:1\n"), "a == b: a:1\n" + last.substr(0, last.size() - 1),
          "a == b: a:1\n\n" + last, "a == c: a:1\n" + last}) {
        EXPECT_FALSE(matcher.Matches(other)) << other;
    }
    EXPECT_FALSE(
        assertionText("a == b", "a:1", "Some/Module", "int f()").Matches("a == b: a:1\n" + last));
    EXPECT_FALSE(
        assertionText("a == b", "a:1", "Some/Other", "void f()").Matches("a == b: a:1\n" + last));
}

constinit TraceHandle first("CaptureFirst");
constinit TraceHandle second("CaptureSecond");

TEST(TraceCaptureTest, collectsTheLinesOfTheLevelsItWasAskedFor) {
    TraceCapture capture("CaptureFirst/7-8,CaptureSecond/9");
    VEXO_TRACE_LINE(first, 7, "A/B", "one ", 1);
    VEXO_TRACE_LINE(first, 9, "A/B", "off");
    VEXO_TRACE_LINE(first, 8, "A/C", "two");
    VEXO_TRACE_LINE(second, 9, "A/B", "three");
    EXPECT_THAT(capture.lines(), ElementsAre(CapturedLine{"CaptureFirst", 7, "A/B", "one 1"},
                                             CapturedLine{"CaptureFirst", 8, "A/C", "two"},
                                             CapturedLine{"CaptureSecond", 9, "A/B", "three"}));
    EXPECT_THAT(capture.texts(), ElementsAre("one 1", "two", "three"));
    EXPECT_THAT(capture.texts("CaptureFirst"), ElementsAre("one 1", "two"));
    EXPECT_THAT(capture.texts("CaptureFirst", 8), ElementsAre("two"));
    EXPECT_EQ(testing::PrintToString(capture.lines()[0]), "CaptureFirst/7 A/B: one 1");
    capture.clear();
    EXPECT_TRUE(capture.lines().empty());
}

TEST(TraceCaptureTest, bringsLevelsAndSinkBack) {
    std::vector<std::string> outside;
    Vexo::TraceSink const before =
        Vexo::traceSinkIs([&](Vexo::TraceLine const& line) { outside.emplace_back(line.text); });
    {
        TraceCapture const capture("CaptureFirst/7,CaptureSecond/1-9");
        VEXO_TRACE_LINE(first, 7, "s", "inside");
    }
    for (Vexo::U32 level = 0; level <= TraceHandle::highestLevel_; ++level) {
        EXPECT_FALSE(first.levelOn(level));
        EXPECT_FALSE(second.levelOn(level));
    }
    first.levelIs(7, true);
    VEXO_TRACE_LINE(first, 7, "s", "outside");
    first.levelIs(7, false);
    EXPECT_THAT(outside, ElementsAre("outside"));
    Vexo::traceSinkIs(before);
}

TEST(TraceCaptureTest, aCaptureInsideAnotherLeavesTheOuterOneAsItWas) {
    TraceCapture const outer("CaptureFirst/7-8");
    {
        TraceCapture const inner("CaptureFirst/8-9");
        VEXO_TRACE_LINE(first, 7, "s", "also inner");
        VEXO_TRACE_LINE(first, 9, "s", "inner");
        EXPECT_THAT(inner.texts(), ElementsAre("also inner", "inner"));
    }
    VEXO_TRACE_LINE(first, 8, "s", "outer");
    VEXO_TRACE_LINE(first, 9, "s", "off");
    EXPECT_THAT(outer.texts(), ElementsAre("outer"));
}

TEST(TraceCaptureTest, aTextThatIsNotRightLeavesEverythingAsItWas) {
    TraceCapture const outer("CaptureFirst/7");
    EXPECT_THROW(TraceCapture("CaptureFirst/x"), Vexo::RangeException);
    VEXO_TRACE_LINE(first, 7, "s", "outer");
    EXPECT_THAT(outer.texts(), ElementsAre("outer"));
}

TEST(ThreadSafeModeTest, lastsAsLongAsItsScope) {
    ASSERT_FALSE(Vexo::threadSafePtr());
    {
        ThreadSafeMode const on;
        EXPECT_TRUE(Vexo::threadSafePtr());
        ThreadSafeMode const off(false);
        EXPECT_FALSE(Vexo::threadSafePtr());
    }
    EXPECT_FALSE(Vexo::threadSafePtr());
}

}  // namespace
