#include <tests/LpmTrie/Reflection.h>
#include <tests/Support/ThreadSafeMode.h>

/* Attributes that hand out and take counted references: those of a moved-route record and of a
 * partition id. Every test runs with plain and with atomic counts. */

namespace {

using namespace ReflectionTests;

class ReflectionReferencesTest : public TestSupport::LeakChecked<testing::TestWithParam<bool>> {
protected:
    PartitionId::Ptr const first_ = partitionId(1);
    PartitionId::Ptr const second_ = partitionId(2);

private:
    TestSupport::ThreadSafeMode const mode_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Modes, ReflectionReferencesTest, testing::Bool(),
                         [](auto const& mode) { return mode.param ? "Atomic" : "Plain"; });

TEST_P(ReflectionReferencesTest, readingHandsOutANewReference) {
    IpGenPrefixRef::Ptr const prefixRef = holder("10.0.0.0/8");
    Value self = box(TrieNodeInfo(prefixRef, first_, second_));
    EXPECT_EQ(prefixRef->references(), 2U);
    {
        Value const held = get(self, "prefixRef");
        EXPECT_EQ(held.object(), prefixRef);
        EXPECT_EQ(prefixRef->references(), 3U);
        Value const old = get(self, "oldPartitionId");
        EXPECT_EQ(old.object(), first_);
        EXPECT_EQ(first_->references(), 3U);
        EXPECT_EQ(get(self, "newPartitionId").object(), second_);
    }
    EXPECT_EQ(prefixRef->references(), 2U);
    EXPECT_EQ(first_->references(), 2U);
    EXPECT_EQ(second_->references(), 2U);
}

TEST_P(ReflectionReferencesTest, writingTakesTheNewReferenceAndReleasesTheOldOne) {
    for (char const* const attribute : {"oldPartitionId", "newPartitionId"}) {
        Value self = box(TrieNodeInfo());
        set(self, attribute, box(first_));
        EXPECT_EQ(first_->references(), 2U);
        set(self, attribute, box(second_));
        EXPECT_EQ(first_->references(), 1U);
        EXPECT_EQ(second_->references(), 2U);
        EXPECT_EQ(getAs<PartitionId::Ptr>(self, attribute), second_);
        set(self, attribute, Value());
        EXPECT_EQ(second_->references(), 1U);
        EXPECT_EQ(getAs<PartitionId::Ptr>(self, attribute), nullptr);
    }
    IpGenPrefixRef::Ptr const prefixRef = holder("10.0.0.0/8");
    Value self = box(TrieNodeInfo(holder("11.0.0.0/8"), nullptr, nullptr));
    set(self, "prefixRef", box(prefixRef));
    EXPECT_EQ(prefixRef->references(), 2U);
    EXPECT_EQ(callAs<U32>(self, "hash"), prefix("10.0.0.0/8").hash());
}

TEST_P(ReflectionReferencesTest, theLastReferenceThatIsReplacedEndsItsObject) {
    Vexo::Ptr<Bitmap> const bitmap = Bitmap::BitmapIs();
    Value self = box(TrieNodeInfo(
        nullptr, PartitionId::PartitionIdIs(PartitionIdValue(9), 0xffff, bitmap), nullptr));
    EXPECT_TRUE(bitmap->isSet(9));
    set(self, "oldPartitionId", box(first_));
    EXPECT_FALSE(bitmap->isSet(9));
}

TEST_P(ReflectionReferencesTest, writingTheObjectAlreadyHeldDoesNothing) {
    Value self = box(TrieNodeInfo(nullptr, first_, first_));
    for (char const* const attribute : {"oldPartitionId", "newPartitionId"}) {
        set(self, attribute, box(first_));
        EXPECT_EQ(first_->references(), 3U);
        set(self, attribute, get(self, attribute));
        EXPECT_EQ(first_->references(), 3U);
    }
    IpGenPrefixRef::Ptr const prefixRef = holder("10.0.0.0/8");
    Value withPrefix = box(TrieNodeInfo(prefixRef, nullptr, nullptr));
    set(withPrefix, "prefixRef", box(prefixRef));
    EXPECT_EQ(prefixRef->references(), 2U);
}

TEST_P(ReflectionReferencesTest, aRecordsCopySharesItsObjects) {
    Value self = box(TrieNodeInfo(nullptr, first_, nullptr));
    {
        Value const copy = self;
        EXPECT_EQ(first_->references(), 3U);
        EXPECT_TRUE(areEqual(self, copy));
        set(self, "oldPartitionId", box(second_));
        EXPECT_FALSE(areEqual(self, copy));
        EXPECT_EQ(first_->references(), 2U);
    }
    EXPECT_EQ(first_->references(), 1U);
}

TEST_P(ReflectionReferencesTest, aRecordsHashIsThatOfItsPrefixAlone) {
    IpGenPrefixRef::Ptr const prefixRef = holder("10.0.0.0/8");
    Value self = box(TrieNodeInfo(prefixRef, first_, nullptr));
    Value other = box(TrieNodeInfo(holder("10.0.0.0/8"), second_, first_));
    EXPECT_EQ(callAs<U32>(self, "hash"), TrieNodeInfo(prefixRef, nullptr, nullptr).hash());
    EXPECT_EQ(callAs<U32>(self, "hash"), callAs<U32>(other, "hash"));
    EXPECT_EQ(Vexo::valueHash(self), callAs<U32>(self, "hash"));
    EXPECT_FALSE(areEqual(self, other));
}

TEST_P(ReflectionReferencesTest, recordsAreOrderedByTheirPrefixAlone) {
    auto const record = [&](char const* text, PartitionId::Ptr const& old) {
        return box(TrieNodeInfo(holder(text), old, nullptr));
    };
    EXPECT_TRUE(isLess(record("10.0.0.0/8", second_), record("10.0.0.0/9", first_)));
    EXPECT_FALSE(isLess(record("10.0.0.0/9", first_), record("10.0.0.0/8", second_)));
    EXPECT_FALSE(isLess(record("10.0.0.0/8", first_), record("10.0.0.0/8", second_)));
    EXPECT_FALSE(isLess(record("10.0.0.0/8", second_), record("10.0.0.0/8", first_)));
    EXPECT_TRUE(isLess(record("255.0.0.0/8", first_), record("::/0", first_)));
}

TEST_P(ReflectionReferencesTest, aRecordWithoutAPrefixHasNeitherHashNorOrder) {
    Value self = box(TrieNodeInfo(nullptr, first_, nullptr));
    Value const other = box(TrieNodeInfo(holder("10.0.0.0/8"), nullptr, nullptr));
    EXPECT_THROW(call(self, "hash"), RangeException);
    EXPECT_THROW(Vexo::valueHash(self), RangeException);
    EXPECT_THROW(isLess(self, other), RangeException);
    EXPECT_THROW(isLess(other, self), RangeException);
    EXPECT_FALSE(areEqual(self, other));
    EXPECT_TRUE(isTrue(self));
}

TEST_P(ReflectionReferencesTest, aPartitionIdShowsWhatItWasMadeFrom) {
    Vexo::Ptr<Bitmap> const bitmap = Bitmap::BitmapIs();
    Value self = Vexo::createByType(
        PartitionId::fwkType_, Operands{box(PartitionIdValue(65541)), box(0xffffU), box(bitmap)});
    EXPECT_EQ(getAs<PartitionIdValue>(self, "id"), PartitionIdValue(65541));
    EXPECT_EQ(getAs<U32>(self, "mask"), 0xffffU);
    EXPECT_TRUE(bitmap->isSet(5));
    EXPECT_EQ(bitmap->references(), 2U);
    {
        Value const handedOut = get(self, "bitMap");
        EXPECT_EQ(handedOut.object(), bitmap);
        EXPECT_EQ(bitmap->references(), 3U);
    }
    EXPECT_EQ(bitmap->references(), 2U);
    for (char const* const attribute : {"id", "mask", "bitMap"}) {
        EXPECT_EQ(statusOf(self, attribute, AttributeOperation::set, {Value()}),
                  AttributeStatus::operationNotAllowed);
    }
    EXPECT_EQ(getAs<PartitionIdValue>(self, "id"), PartitionIdValue(65541));
    self = Value();
    EXPECT_FALSE(bitmap->isSet(5));
    EXPECT_EQ(bitmap->references(), 1U);
}

TEST_P(ReflectionReferencesTest, aPartitionIdGivesItsBitBackAndTakesItWhenCalled) {
    Value self = box(first_);
    EXPECT_TRUE(call(self, "handleDestruction").isNone());
    EXPECT_FALSE(first_->bitMap()->isSet(1));
    EXPECT_TRUE(call(self, "handleConstruction").isNone());
    EXPECT_TRUE(first_->bitMap()->isSet(1));
}

TEST_P(ReflectionReferencesTest, aPartitionIdWithoutABitmapReadsNone) {
    Value self = Vexo::createByType(PartitionId::fwkType_,
                                    Operands{box(PartitionIdValue(3)), box(1U), Value()});
    Value const none = get(self, "bitMap");
    EXPECT_TRUE(none.isReference());
    EXPECT_EQ(none.object(), nullptr);
    EXPECT_EQ(none.type(), &Bitmap::fwkType_);
    EXPECT_EQ(valueText(none), "None");
    call(self, "handleDestruction");
    call(self, "handleConstruction");
}

TEST_P(ReflectionReferencesTest, anObjectsNameReadsBackAsTheObjectWhileItLives) {
    Value self = box(first_);
    String const name = valueText(self);
    EXPECT_EQ(Vexo::valueFromText(PartitionId::fwkType_, name).object(), first_);
    EXPECT_EQ(Vexo::valueFromText(Vexo::PtrInterface::fwkType_, name).object(), first_);
    EXPECT_THROW(Vexo::valueFromText(Trie::fwkType_, name), RangeException);
    EXPECT_EQ(first_->references(), 2U);
    EXPECT_EQ(Vexo::valueFromText(PartitionId::fwkType_, "None").object(), nullptr);
    String gone;
    {
        Value const shortLived = box(partitionId(77));
        gone = valueText(shortLived);
    }
    EXPECT_THROW(Vexo::valueFromText(PartitionId::fwkType_, gone), RangeException);
}

}  // namespace
