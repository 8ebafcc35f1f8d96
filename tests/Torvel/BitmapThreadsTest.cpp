#include <tests/Support/LeakCheck.h>
#include <tests/Support/ThreadSafeMode.h>
#include <tests/Support/Threads.h>

#include <Torvel/Bitmap.h>
#include <Vexo/RangeException.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <vector>

namespace {

using TestSupport::inThreads;
using Torvel::Bitmap;
using Torvel::U32;

constexpr U32 threadCount = 4;

class BitmapThreadsTest : public TestSupport::LeakCheck {
protected:
    TestSupport::ThreadSafeMode const mode_;
};

using Numbers = std::array<std::vector<U32>, threadCount>;

/** How often each number below `span` was taken. */
std::vector<U32> timesTaken(Numbers const& taken, U32 span) {
    std::vector<U32> times(span);
    for (auto const& numbers : taken) {
        for (U32 const number : numbers) {
            ++times.at(number);
        }
    }
    return times;
}

TEST_F(BitmapThreadsTest, noTwoThreadsTakeTheSameNumber) {
    constexpr U32 each = 2000;
    auto const bitmap = Bitmap::BitmapIs();
    Numbers taken;
    inThreads(threadCount, [&](std::size_t self) {
        for (U32 i = 0; i < each; ++i) {
            taken[self].push_back(bitmap->takeNextFree());
        }
    });
    EXPECT_EQ(timesTaken(taken, threadCount * each), std::vector<U32>(threadCount * each, 1));
    EXPECT_EQ(bitmap->count(), threadCount * each);
    EXPECT_EQ(bitmap->nextFree(), threadCount * each);
}

TEST_F(BitmapThreadsTest, threadsTogetherTakeNoMoreThanThereAre) {
    constexpr U32 limit = 1001;
    auto const bitmap = Bitmap::BitmapIs(limit);
    Numbers taken;
    std::atomic<U32> refused = 0;
    inThreads(threadCount, [&](std::size_t self) {
        try {
            for (;;) {
                taken[self].push_back(bitmap->takeNextFree());
            }
        } catch (Vexo::RangeException const&) {
            ++refused;
        }
    });
    EXPECT_EQ(refused, threadCount);
    EXPECT_EQ(timesTaken(taken, limit), std::vector<U32>(limit, 1));
    EXPECT_EQ(bitmap->count(), limit);
}

TEST_F(BitmapThreadsTest, neighbouringBitsSetAndClearedByDifferentThreadsAllCount) {
    constexpr U32 each = 1000;
    auto const bitmap = Bitmap::BitmapIs();
    inThreads(threadCount, [&](std::size_t self) {
        for (U32 i = 0; i < each; ++i) {
            bitmap->setBit(i * threadCount + static_cast<U32>(self));
        }
        for (U32 i = 0; i < each; i += 2) {
            bitmap->clearBit(i * threadCount + static_cast<U32>(self));
        }
    });
    for (U32 index = 0; index < each * threadCount; ++index) {
        EXPECT_EQ(bitmap->isSet(index), index / threadCount % 2 == 1) << index;
    }
    EXPECT_EQ(bitmap->count(), each * threadCount / 2);
}

TEST_F(BitmapThreadsTest, aNumberHasOneOwnerUntilItIsGivenBack) {
    // Fewer numbers would make some take fail; as many as threads keeps each number contended.
    auto const bitmap = Bitmap::BitmapIs(threadCount);
    std::array<std::atomic<U32>, threadCount> owners{};
    std::atomic<U32> clashes = 0;
    inThreads(threadCount, [&](std::size_t) {
        for (int i = 0; i < 3000; ++i) {
            U32 const number = bitmap->takeNextFree();
            clashes += owners.at(number).exchange(1);
            owners.at(number) = 0;
            bitmap->clearBit(number);
        }
    });
    EXPECT_EQ(clashes, 0U);
    EXPECT_EQ(bitmap->count(), 0U);
    EXPECT_EQ(bitmap->nextFree(), 0U);
}

TEST_F(BitmapThreadsTest, readersSeeOnlyStatesThatWriterMakes) {
    constexpr U32 span = 5000;
    auto const bitmap = Bitmap::BitmapIs();
    std::atomic<U32> wrong = 0;
    inThreads(threadCount, [&](std::size_t self) {
        U32 countBefore = 0;
        for (U32 index = 0; index < span; ++index) {
            if (self == 0) {
                bitmap->setBit(index);
                continue;
            }
            // The one writer fills from below: what was counted once is set for ever.
            U32 const count = bitmap->count();
            wrong += count < countBefore || (count > 0 && !bitmap->isSet(count - 1)) ? 1 : 0;
            wrong += bitmap->nextFree().value_or(0) < count ? 1 : 0;
            countBefore = count;
        }
    });
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(bitmap->count(), span);
}

TEST_F(BitmapThreadsTest, referencesTakenInThreadsAreAllGivenBack) {
    auto const bitmap = Bitmap::BitmapIs();
    inThreads(threadCount, [&](std::size_t self) {
        for (int i = 0; i < 3000; ++i) {
            Bitmap::Ptr const shared = bitmap;
            Bitmap::Ptr const again = shared;
            again->setBit(static_cast<U32>(self));
        }
    });
    EXPECT_EQ(bitmap->references(), 1U);
    EXPECT_EQ(bitmap->count(), threadCount);
}

TEST_F(BitmapThreadsTest, theLastOfSeveralThreadsDestroysIt) {
    auto const before = Vexo::allocationCounts("Torvel::Bitmap");
    for (int round = 0; round < 50; ++round) {
        std::array<Bitmap::Ptr, threadCount> references;
        references.fill(Bitmap::BitmapIs());
        inThreads(threadCount, [&](std::size_t self) { references[self] = nullptr; });
    }
    auto const after = Vexo::allocationCounts("Torvel::Bitmap");
    EXPECT_EQ(after.allocations, before.allocations + 50);
    EXPECT_EQ(after.releases, before.releases + 50);
}

}  // namespace
