#include <tests/Support/AllocationFailure.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Support/ThreadSafeMode.h>

#include <Torvel/Bitmap.h>
#include <Vexo/RangeException.h>

#include <gtest/gtest.h>

namespace {

using Torvel::Bitmap;
using Torvel::U32;
using Vexo::String;

constexpr U32 largest = 0xffffffffU;

class BitmapTest : public TestSupport::LeakCheck {};

template <class Operation>
String refusalOf(Operation&& operation) {
    try {
        operation();
    } catch (Vexo::RangeException const& error) {
        return error.what();
    }
    return "(not refused)";
}

TEST_F(BitmapTest, aNewBitmapHasNoBitSet) {
    auto const bitmap = Bitmap::BitmapIs();
    EXPECT_EQ(bitmap->limit(), Bitmap::noLimit_);
    EXPECT_EQ(bitmap->count(), 0U);
    EXPECT_FALSE(bitmap->isSet(0));
    EXPECT_FALSE(bitmap->isSet(largest));
    EXPECT_EQ(bitmap->nextFree(), 0U);
}

TEST_F(BitmapTest, theFactoryMakesATrackedObjectWithOneReferenceAndNotificationOn) {
    auto const before = Vexo::allocationCounts("Torvel::Bitmap");
    auto const bitmap = Bitmap::BitmapIs(7);
    EXPECT_EQ(Vexo::allocationCounts("Torvel::Bitmap").live(), before.live() + 1);
    EXPECT_EQ(Vexo::allocationCounts("Torvel::Bitmap").liveBytes(),
              before.liveBytes() + sizeof(Bitmap));
    EXPECT_EQ(bitmap->references(), 1U);
    EXPECT_TRUE(bitmap->hasNotificationActive());
    EXPECT_EQ(bitmap->limit(), 7U);
}

TEST_F(BitmapTest, tellsItsType) {
    auto const bitmap = Bitmap::BitmapIs();
    EXPECT_EQ(bitmap->fwkType(), &Bitmap::fwkType_);
    EXPECT_STREQ(bitmap->fwkType()->name(), "Torvel::Bitmap");
    EXPECT_EQ(&bitmap->fwkType()->module(), &Torvel::torvelModule);
}

TEST_F(BitmapTest, growsToTheIndexThatIsSet) {
    auto const bitmap = Bitmap::BitmapIs();
    U32 count = 0;
    for (U32 const index : {1U, 63U, 65U, 1000U, 127U, 100000U, 3U}) {
        EXPECT_FALSE(bitmap->isSet(index));
        bitmap->setBit(index);
        EXPECT_TRUE(bitmap->isSet(index));
        EXPECT_FALSE(bitmap->isSet(index - 1));
        EXPECT_FALSE(bitmap->isSet(index + 1));
        EXPECT_EQ(bitmap->count(), ++count);
    }
    EXPECT_FALSE(bitmap->isSet(100000 + 64));
}

TEST_F(BitmapTest, settingASetBitChangesNothing) {
    auto const bitmap = Bitmap::BitmapIs();
    bitmap->setBit(5);
    bitmap->setBit(5);
    EXPECT_EQ(bitmap->count(), 1U);
    bitmap->clearBit(5);
    EXPECT_FALSE(bitmap->isSet(5));
    EXPECT_EQ(bitmap->count(), 0U);
}

TEST_F(BitmapTest, clearingAFreeBitChangesNothing) {
    auto const bitmap = Bitmap::BitmapIs(200);
    bitmap->clearBit(5);
    bitmap->setBit(6);
    for (U32 const index : {5U, 7U, 70U, 199U, 200U, 201U, largest}) {
        bitmap->clearBit(index);
        EXPECT_EQ(bitmap->count(), 1U) << index;
    }
    EXPECT_TRUE(bitmap->isSet(6));
    bitmap->clearBit(6);
    bitmap->clearBit(6);
    EXPECT_EQ(bitmap->count(), 0U);
    EXPECT_EQ(bitmap->nextFree(), 0U);
}

TEST_F(BitmapTest, anIndexAtTheLimitIsRefusedWithIndexAndSize) {
    auto const bitmap = Bitmap::BitmapIs(100);
    EXPECT_EQ(refusalOf([&] { bitmap->setBit(100); }), "bit 100 is beyond a bitmap of 100 bits");
    EXPECT_EQ(refusalOf([&] { bitmap->setBit(largest); }),
              "bit 4294967295 is beyond a bitmap of 100 bits");
    EXPECT_EQ(bitmap->count(), 0U);
    EXPECT_FALSE(bitmap->isSet(100));
    bitmap->setBit(99);
    EXPECT_TRUE(bitmap->isSet(99));
}

TEST_F(BitmapTest, everyLimitHoldsToTheBit) {
    for (U32 const limit : {1U, 2U, 63U, 64U, 65U, 127U, 128U, 129U, 1000U}) {
        SCOPED_TRACE(limit);
        auto const bitmap = Bitmap::BitmapIs(limit);
        EXPECT_THROW(bitmap->setBit(limit), Vexo::RangeException);
        bitmap->setBit(limit - 1);
        EXPECT_THROW(bitmap->setBit(limit), Vexo::RangeException);
        EXPECT_EQ(bitmap->count(), 1U);
        EXPECT_FALSE(bitmap->isSet(limit));
    }
}

TEST_F(BitmapTest, aBitmapWithoutLimitRefusesTheOneIndexThatIsNoCount) {
    auto const bitmap = Bitmap::BitmapIs();
    EXPECT_EQ(refusalOf([&] { bitmap->setBit(largest); }),
              "bit 4294967295 is beyond a bitmap of 4294967295 bits");
    EXPECT_EQ(bitmap->nextFree(largest - 1), largest - 1);
    EXPECT_EQ(bitmap->nextFree(largest), std::nullopt);
}

TEST_F(BitmapTest, aBitmapOfNoBitsHasNone) {
    auto const bitmap = Bitmap::BitmapIs(0);
    EXPECT_EQ(bitmap->nextFree(), std::nullopt);
    EXPECT_EQ(refusalOf([&] { bitmap->setBit(0); }), "bit 0 is beyond a bitmap of 0 bits");
    EXPECT_EQ(refusalOf([&] { bitmap->takeNextFree(); }), "all of a bitmap's 0 bits are taken");
    bitmap->clearBit(0);
    EXPECT_EQ(bitmap->count(), 0U);
}

TEST_F(BitmapTest, nextFreeIsTheLowestFreeIndexFromThereOn) {
    auto const bitmap = Bitmap::BitmapIs(300);
    for (U32 index = 10; index < 200; ++index) {
        bitmap->setBit(index);
    }
    EXPECT_EQ(bitmap->nextFree(), 0U);
    EXPECT_EQ(bitmap->nextFree(9), 9U);
    EXPECT_EQ(bitmap->nextFree(10), 200U);
    EXPECT_EQ(bitmap->nextFree(64), 200U);
    EXPECT_EQ(bitmap->nextFree(199), 200U);
    EXPECT_EQ(bitmap->nextFree(250), 250U);
    bitmap->clearBit(128);
    EXPECT_EQ(bitmap->nextFree(10), 128U);
    EXPECT_EQ(bitmap->nextFree(128), 128U);
    EXPECT_EQ(bitmap->nextFree(129), 200U);
    EXPECT_EQ(bitmap->count(), 189U);
}

TEST_F(BitmapTest, nextFreeFindsNoneAtOrAboveTheLimit) {
    auto const bitmap = Bitmap::BitmapIs(70);
    EXPECT_EQ(bitmap->nextFree(69), 69U);
    EXPECT_EQ(bitmap->nextFree(70), std::nullopt);
    EXPECT_EQ(bitmap->nextFree(largest), std::nullopt);
    bitmap->setBit(69);
    EXPECT_EQ(bitmap->nextFree(69), std::nullopt);
    EXPECT_EQ(bitmap->nextFree(68), 68U);
}

TEST_F(BitmapTest, takeNextFreeTakesTheLowestAndSkipsWhatIsSet) {
    auto const bitmap = Bitmap::BitmapIs();
    bitmap->setBit(0);
    bitmap->setBit(2);
    EXPECT_EQ(bitmap->takeNextFree(), 1U);
    EXPECT_EQ(bitmap->takeNextFree(), 3U);
    EXPECT_TRUE(bitmap->isSet(3));
    EXPECT_EQ(bitmap->count(), 4U);
    bitmap->clearBit(1);
    EXPECT_EQ(bitmap->takeNextFree(), 1U);
    EXPECT_EQ(bitmap->takeNextFree(), 4U);
}

TEST_F(BitmapTest, takeNextFreeRefusesWhenAllAreTakenUntilOneIsFree) {
    for (U32 const limit : {1U, 64U, 130U}) {
        SCOPED_TRACE(limit);
        auto const bitmap = Bitmap::BitmapIs(limit);
        for (U32 index = 0; index < limit; ++index) {
            EXPECT_EQ(bitmap->takeNextFree(), index);
        }
        EXPECT_EQ(refusalOf([&] { bitmap->takeNextFree(); }),
                  Vexo::formatString("all of a bitmap's %u bits are taken", limit));
        EXPECT_EQ(bitmap->count(), limit);
        EXPECT_EQ(bitmap->nextFree(), std::nullopt);
        bitmap->clearBit(limit / 2);
        EXPECT_EQ(bitmap->takeNextFree(), limit / 2);
        EXPECT_THROW(bitmap->takeNextFree(), Vexo::RangeException);
    }
}

TEST_F(BitmapTest, worksAlikeInThreadSafeMode) {
    TestSupport::ThreadSafeMode const mode;
    auto const bitmap = Bitmap::BitmapIs(3);
    bitmap->setBit(1);
    EXPECT_EQ(bitmap->takeNextFree(), 0U);
    EXPECT_EQ(bitmap->takeNextFree(), 2U);
    EXPECT_THROW(bitmap->takeNextFree(), Vexo::RangeException);
    EXPECT_THROW(bitmap->setBit(3), Vexo::RangeException);
    bitmap->clearBit(1);
    EXPECT_EQ(bitmap->nextFree(), 1U);
    EXPECT_EQ(bitmap->count(), 2U);
}

TEST_F(BitmapTest, aFailedAllocationLeavesItAsItWas) {
    auto const bitmap = Bitmap::BitmapIs();
    for (U32 index = 0; index < 64; ++index) {
        bitmap->setBit(index);
    }
    auto const checkUnchanged = [&] {
        EXPECT_EQ(bitmap->count(), 64U);
        EXPECT_EQ(bitmap->nextFree(), 64U);
        EXPECT_FALSE(bitmap->isSet(100000));
    };
    EXPECT_GE(TestSupport::failEachAllocation([&] { bitmap->takeNextFree(); }, checkUnchanged), 1U);
    EXPECT_TRUE(bitmap->isSet(64));
    bitmap->clearBit(64);
    EXPECT_GE(TestSupport::failEachAllocation([&] { bitmap->setBit(100000); }, checkUnchanged), 1U);
    EXPECT_TRUE(bitmap->isSet(100000));
    EXPECT_EQ(bitmap->count(), 65U);
}

}  // namespace
