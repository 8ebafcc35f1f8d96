#include <LpmTrie/LpmTrieTypes.h>

#include <Vexo/RangeException.h>
#include <tests/LpmTrie/VirtualSlots.h>
#include <tests/Support/AllocationFailure.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Support/TraceCapture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using LpmTrie::PartitionId;
using LpmTrie::PartitionIdValue;
using LpmTrieTest::slotOf;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::CapturedLine;
using TestSupport::TraceCapture;
using Torvel::Bitmap;
using Vexo::String;
using Vexo::U32;
using Vexo::U64;

U64 liveIds() {
    return Vexo::allocationCounts("LpmTrie::PartitionId").live();
}
U64 liveBitmaps() {
    return Vexo::allocationCounts("Torvel::Bitmap").live();
}

class PartitionIdTest : public TestSupport::LeakCheck {
protected:
    PartitionId::Ptr partitionId(U32 id, U32 mask = 0xffff) const {
        return PartitionId::PartitionIdIs(PartitionIdValue(id), mask, bitmap_);
    }

    Bitmap::Ptr bitmap_ = Bitmap::BitmapIs();
};

TEST_F(PartitionIdTest, holdsTheBitOfItsNumberThatTheMaskLeaves) {
    struct Case {
        U32 id;
        U32 mask;
        U32 bit;
    };
    for (Case const& c : {Case{5, 0xffff, 5}, Case{65541, 65535, 5}, Case{0xffffffffU, 0xff, 255},
                          Case{0xf0000003U, 0x0fffffffU, 3}, Case{7, 0, 0}, Case{0, 0xffff, 0}}) {
        PartitionId::Ptr id = partitionId(c.id, c.mask);
        EXPECT_EQ(id->id().value(), c.id);
        EXPECT_EQ(id->mask(), c.mask);
        EXPECT_TRUE(bitmap_->isSet(c.bit)) << c.id;
        EXPECT_EQ(bitmap_->count(), 1U) << c.id;
        id = nullptr;
        EXPECT_EQ(bitmap_->count(), 0U) << c.id;
    }
}

TEST_F(PartitionIdTest, livesAsLongAsItsLastReference) {
    PartitionId::Ptr first = partitionId(5);
    PartitionId::Ptr second = first;
    first = nullptr;
    EXPECT_TRUE(bitmap_->isSet(5));
    EXPECT_EQ(liveIds(), 1U);
    second = nullptr;
    EXPECT_FALSE(bitmap_->isSet(5));
    EXPECT_EQ(liveIds(), 0U);
}

TEST_F(PartitionIdTest, holdsTheBitmapForItsWholeLife) {
    Bitmap const* const bitmap = bitmap_.get();
    PartitionId::Ptr id = partitionId(5);
    EXPECT_EQ(id->bitMap(), bitmap_);
    EXPECT_EQ(bitmap->references(), 2U);
    bitmap_ = nullptr;
    EXPECT_EQ(bitmap->references(), 1U);
    EXPECT_TRUE(bitmap->isSet(5));
    EXPECT_EQ(liveBitmaps(), 1U);
    id = nullptr;
    EXPECT_EQ(liveBitmaps(), 0U);
}

TEST_F(PartitionIdTest, needsNoBitmap) {
    PartitionId::Ptr const id = PartitionId::PartitionIdIs(PartitionIdValue(5), 0xffff, {});
    EXPECT_EQ(id->bitMap(), nullptr);
    EXPECT_EQ(id->id().value(), 5U);
    id->handleDestruction();
    id->handleConstruction();
}

TEST_F(PartitionIdTest, leavesItToTheBitmapThatTwoHaveTheSameBit) {
    PartitionId::Ptr const first = partitionId(5);
    PartitionId::Ptr second = partitionId(65541);
    EXPECT_EQ(bitmap_->count(), 1U);
    second = nullptr;
    EXPECT_FALSE(bitmap_->isSet(5));
}

TEST_F(PartitionIdTest, givesItsBitBackAndTakesItAgainWhenTold) {
    PartitionId::Ptr const id = partitionId(65541);
    id->handleDestruction();
    EXPECT_FALSE(bitmap_->isSet(5));
    id->handleConstruction();
    EXPECT_TRUE(bitmap_->isSet(5));
    EXPECT_EQ(bitmap_->count(), 1U);
}

TEST_F(PartitionIdTest, onlyTheFactorySwitchesNotificationOn) {
    PartitionId::Ptr const made = partitionId(5);
    EXPECT_TRUE(made->hasNotificationActive());
    EXPECT_EQ(made->references(), 1U);
    PartitionId::Ptr const constructed(new PartitionId(PartitionIdValue(6), 0xffff, bitmap_));
    EXPECT_FALSE(constructed->hasNotificationActive());
}

TEST_F(PartitionIdTest, isTypeOneOfItsModule) {
    PartitionId::Ptr const id = partitionId(5);
    EXPECT_EQ(id->fwkType(), &PartitionId::fwkType_);
    EXPECT_STREQ(PartitionId::fwkType_.name(), "LpmTrie::PartitionId");
    EXPECT_EQ(PartitionId::fwkType_.number(), 1U);
    EXPECT_EQ(LpmTrie::PendingState::fwkType_.number(), 2U);
    for (Vexo::FwkType const* type :
         {&PartitionId::fwkType_, &LpmTrie::PendingState::fwkType_, &PartitionIdValue::fwkType_}) {
        EXPECT_EQ(&type->module(), &LpmTrie::lpmTrieTypesModule);
    }
    EXPECT_STREQ(LpmTrie::lpmTrieTypesModule.name(), "LpmTrieTypes");
    EXPECT_STREQ(LpmTrie::lpmTrieTypesModule.source(), "LpmTrie/LpmTrieTypes");
}

class OneMoreOperation : public PartitionId {
public:
    using PartitionId::PartitionId;
    virtual void added() {}
};

TEST_F(PartitionIdTest, addsNoVirtualOperation) {
    EXPECT_EQ(slotOf(&PartitionId::fwkType), 3U);
    EXPECT_EQ(slotOf(&OneMoreOperation::added), 6U);  // behind the destructor
}

TEST_F(PartitionIdTest, leavesNothingBehindWhenTheBitmapRefuses) {
    Bitmap::Ptr const small = Bitmap::BitmapIs(8);
    TraceCapture const capture("LpmTrieTypes/9");
    EXPECT_THROW(PartitionId::PartitionIdIs(PartitionIdValue(8), 0xffff, small),
                 Vexo::RangeException);
    EXPECT_EQ(small->references(), 1U);
    EXPECT_EQ(small->count(), 0U);
    EXPECT_EQ(liveIds(), 0U);
    EXPECT_EQ(capture.texts().size(), 1U) << "no destruction of what was never constructed";
}

TEST_F(PartitionIdTest, leavesNothingBehindWhenMemoryRunsOut) {
    PartitionId::Ptr id;
    auto const sites = TestSupport::failEachAllocation([&] { id = partitionId(5000); },
                                                       [&] {
                                                           EXPECT_EQ(id, nullptr);
                                                           EXPECT_EQ(bitmap_->references(), 1U);
                                                           EXPECT_EQ(bitmap_->count(), 0U);
                                                           EXPECT_EQ(liveIds(), 0U);
                                                       });
    EXPECT_GE(sites, 2U) << "the object and the bitmap's growth";
    EXPECT_TRUE(bitmap_->isSet(5000));
}

class PartitionIdTraceTest : public PartitionIdTest {
protected:
    static CapturedLine line(String const& operation, U32 id, Bitmap const* bitmap) {
        std::ostringstream text;
        text << "void LpmTrie::PartitionId::" << operation << "():  " << id << " bitmap:" << bitmap;
        return {"LpmTrieTypes", 9, "LpmTrie/LpmTrieTypes", text.str()};
    }
};

TEST_F(PartitionIdTraceTest, isALineAtEachEndOfItsLife) {
    TraceCapture const capture;
    partitionId(65541);
    EXPECT_THAT(capture.lines(), ElementsAre(line("handleConstruction", 65541, bitmap_.get()),
                                             line("handleDestruction", 65541, bitmap_.get())));
}

TEST_F(PartitionIdTraceTest, isWrittenWithoutABitmapToo) {
    TraceCapture const capture;
    PartitionId::PartitionIdIs(PartitionIdValue(0xffffffffU), 0, {});
    EXPECT_THAT(capture.lines(), ElementsAre(line("handleConstruction", 0xffffffffU, nullptr),
                                             line("handleDestruction", 0xffffffffU, nullptr)));
}

TEST_F(PartitionIdTraceTest, standsAtLevelNineAlone) {
    TraceCapture const capture("LpmTrieTypes/0-8");
    partitionId(5);
    EXPECT_THAT(capture.lines(), IsEmpty());
}

TEST_F(PartitionIdTraceTest, comesBeforeTheBitChanges) {
    TraceCapture const levels("LpmTrieTypes/9");
    std::vector<bool> bitWhenTraced;
    Vexo::TraceSink previous = Vexo::traceSinkIs(
        [&](Vexo::TraceLine const&) { bitWhenTraced.push_back(bitmap_->isSet(5)); });
    partitionId(5);
    Vexo::traceSinkIs(std::move(previous));
    EXPECT_THAT(bitWhenTraced, ElementsAre(false, true));
}

}  // namespace
