#include <LpmTrie/LpmTrieTypes.h>

#include <tests/Support/LeakCheck.h>
#include <tests/Support/ThreadSafeMode.h>
#include <tests/Support/Threads.h>

#include <gtest/gtest.h>

#include <array>
#include <utility>
#include <vector>

namespace {

using LpmTrie::PartitionId;
using LpmTrie::PartitionIdValue;
using TestSupport::inThreads;
using Torvel::Bitmap;
using Vexo::U32;

constexpr U32 threadCount = 4;

class PartitionIdThreadsTest : public TestSupport::LeakCheck {
protected:
    PartitionId::Ptr partitionId(U32 id) const {
        return PartitionId::PartitionIdIs(PartitionIdValue(id), 0xffff, bitmap_);
    }

    TestSupport::ThreadSafeMode const mode_;
    Bitmap::Ptr const bitmap_ = Bitmap::BitmapIs();
};

TEST_F(PartitionIdThreadsTest, idsOfSeveralThreadsShareABitmap) {
    constexpr U32 each = 500;
    std::array<std::vector<PartitionId::Ptr>, threadCount> kept;
    inThreads(threadCount, [&](std::size_t self) {
        for (U32 i = 0; i < each; ++i) {
            // Neighbouring bits belong to different threads; every other id goes again at once.
            U32 const number = i * threadCount + static_cast<U32>(self);
            PartitionId::Ptr id = partitionId(number);
            EXPECT_TRUE(bitmap_->isSet(number));
            if (i % 2 == 0) {
                kept[self].push_back(std::move(id));
            }
        }
    });
    EXPECT_EQ(bitmap_->count(), threadCount * each / 2);
    for (U32 number = 0; number < threadCount * each; ++number) {
        EXPECT_EQ(bitmap_->isSet(number), number / threadCount % 2 == 0) << number;
    }
    EXPECT_EQ(bitmap_->references(), 1 + threadCount * each / 2);
    inThreads(threadCount, [&](std::size_t self) { kept[self].clear(); });
    EXPECT_EQ(bitmap_->count(), 0U);
    EXPECT_EQ(bitmap_->references(), 1U);
}

TEST_F(PartitionIdThreadsTest, anIdThatAllHoldGivesItsBitBackOnceTheLastOneGoes) {
    for (U32 round = 0; round < 50; ++round) {
        PartitionId::Ptr id = partitionId(5);
        std::array<PartitionId::Ptr, threadCount> shared;
        shared.fill(id);
        id = nullptr;
        inThreads(threadCount, [&](std::size_t self) {
            for (U32 i = 0; i < 100; ++i) {
                PartitionId::Ptr const copy = shared[self];
                EXPECT_TRUE(bitmap_->isSet(5));
            }
            shared[self] = nullptr;
        });
        EXPECT_EQ(bitmap_->count(), 0U);
    }
}

TEST_F(PartitionIdThreadsTest, namesAreReadBackWhileOthersComeAndGo) {
    inThreads(threadCount, [&](std::size_t self) {
        for (U32 i = 0; i < 200; ++i) {
            PartitionId::Ptr const id = partitionId(static_cast<U32>(self));
            Vexo::String const text = valueToStrep(id);
            Vexo::CharRange range(text);
            EXPECT_EQ(Vexo::deserializeAttr<PartitionId::Ptr>(range, "owner"), id);
        }
    });
    EXPECT_EQ(bitmap_->count(), 0U);
}

}  // namespace
