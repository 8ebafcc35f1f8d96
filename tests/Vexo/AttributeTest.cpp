#include <Vexo/Attribute.h>
#include <tests/Support/AllocationFailure.h>
#include <tests/Support/AttributeRequests.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Vexo/Orchard.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using Orchard::Apple;
using Orchard::Leaf;
using Orchard::PearTree;
using Orchard::Seed;
using Orchard::Tree;
using Vexo::Attribute;
using Vexo::AttributeKind;
using Vexo::AttributeOperation;
using Vexo::AttributeStatus;
using Vexo::box;
using Vexo::ConversionException;
using Vexo::RangeException;
using Vexo::String;
using Vexo::U32;
using Vexo::U64;
using Vexo::U8;
using Vexo::unbox;
using Vexo::Value;
using namespace TestSupport;

class AttributeTest : public TestSupport::LeakCheck {
protected:
    Tree::Ptr const tree_ = Tree::TreeIs(3, "oak");
    Value self_ = box(tree_);
};

TEST_F(AttributeTest, rowsAreMadeFromWhatTheyReach) {
    constexpr Attribute readOnly = Vexo::valueAttribute<&Tree::height>("height");
    EXPECT_STREQ(readOnly.name, "height");
    EXPECT_EQ(readOnly.kind, AttributeKind::value);
    EXPECT_TRUE(readOnly.readable);
    EXPECT_FALSE(readOnly.writable);
    EXPECT_EQ(readOnly.type.type, &Vexo::u32Type);
    constexpr Attribute readWrite = Vexo::valueAttribute<&Tree::name, &Tree::nameIs>("name");
    EXPECT_TRUE(readWrite.writable);
    EXPECT_EQ(readWrite.type.type, &Vexo::stringType);
    constexpr Attribute function = Vexo::functionAttribute<&Tree::weigh>("weigh", "apple", "times");
    EXPECT_EQ(function.kind, AttributeKind::function);
    EXPECT_FALSE(function.readable);
    EXPECT_EQ(function.type.type, &Vexo::u64Type);
    ASSERT_EQ(function.parameterCount, 2U);
    EXPECT_STREQ(function.parameters[0].name, "apple");
    EXPECT_EQ(function.parameters[0].type.type, &Apple::fwkType_);
    EXPECT_STREQ(function.parameters[1].name, "times");
    EXPECT_EQ(function.parameters[1].type.type, &Vexo::u32Type);
    EXPECT_EQ(Vexo::functionAttribute<&Tree::grow>("grow", "by").type.type, nullptr);
    constexpr Attribute hidden = Vexo::unservedAttribute("roots");
    EXPECT_STREQ(hidden.name, "roots");
    EXPECT_EQ(hidden.serve, nullptr);
}

TEST_F(AttributeTest, aRecordsRowsFollowFromItsFields) {
    constexpr auto rows = Vexo::recordAttributes<Apple>();
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_STREQ(rows[0].name, "worm");
    EXPECT_EQ(rows[0].serve, nullptr);
    EXPECT_STREQ(rows[1].name, "weight");
    EXPECT_TRUE(rows[1].readable);
    EXPECT_FALSE(rows[1].writable);
    EXPECT_STREQ(rows[2].name, "ripe");
    EXPECT_TRUE(rows[2].writable);
    EXPECT_EQ(rows[2].type.type, &Vexo::boolType);
    constexpr auto joined = Vexo::joinRows(rows, std::array{Vexo::unservedAttribute("stalk")});
    ASSERT_EQ(joined.size(), 4U);
    EXPECT_STREQ(joined[2].name, "ripe");
    EXPECT_STREQ(joined[3].name, "stalk");
}

TEST_F(AttributeTest, valuesOfEveryKindAreReadAndWritten) {
    set(self_, "height", box(0xffffffffU));
    EXPECT_EQ(tree_->height(), 0xffffffffU);
    set(self_, "age", box(255U));
    EXPECT_EQ(getAs<U8>(self_, "age"), 255U);
    EXPECT_THROW(set(self_, "age", box(256U)), RangeException);
    EXPECT_EQ(tree_->age(), 255U);
    set(self_, "ground", box(2U));
    EXPECT_EQ(tree_->ground(), Orchard::Ground::sand);
    EXPECT_EQ(getAs<U32>(self_, "ground"), 2U);
    set(self_, "name", box(String("elm")));
    EXPECT_EQ(getAs<String>(self_, "name"), "elm");
    set(self_, "apple", box(Apple(4, true)));
    EXPECT_EQ(getAs<Apple>(self_, "apple"), Apple(4, true));
    Tree::Ptr const other = Tree::TreeIs(1, "ash");
    set(self_, "neighbour", box(other));
    EXPECT_EQ(other->references(), 2U);
    EXPECT_EQ(getAs<Tree::Ptr>(self_, "neighbour"), other);
    set(self_, "neighbour", Value());
    EXPECT_EQ(other->references(), 1U);
    Value const none = get(self_, "neighbour");
    EXPECT_TRUE(none.isReference());
    EXPECT_EQ(none.type(), &Tree::fwkType_);
}

TEST_F(AttributeTest, aReferenceToADerivedObjectIsTaken) {
    set(self_, "neighbour", box(PearTree::PearTreeIs()));
    EXPECT_EQ(get(self_, "neighbour").type(), &PearTree::fwkType_);
    EXPECT_EQ(messageOf<ConversionException>([&] { set(self_, "neighbour", box(Apple(1))); }),
              "attribute 'neighbour' of Orchard::Tree: wants reference to Orchard::Tree, given "
              "Orchard::Apple");
}

TEST_F(AttributeTest, functionsAreCalledWithTheirOperandsInOrder) {
    EXPECT_TRUE(call(self_, "grow", {box(4U)}).isNone());
    EXPECT_EQ(tree_->height(), 7U);
    EXPECT_EQ(callAs<U64>(self_, "weigh", {box(Apple(0xffffffffU)), box(2U)}), 0x1fffffffeU);
    EXPECT_EQ(callAs<String>(self_, "fruit"), "apple");
    Value pear = box(Tree::Ptr(PearTree::PearTreeIs()));
    EXPECT_EQ(callAs<String>(pear, "fruit"), "pear");
}

TEST_F(AttributeTest, whatAFunctionThrowsReachesTheCaller) {
    EXPECT_THROW(call(self_, "fell", {box(0U)}), std::runtime_error);
    EXPECT_THROW(call(self_, "fell", {box(1U)}), int);
    EXPECT_THROW(call(self_, "fell", {box(2U)}), std::bad_alloc);
    EXPECT_THROW(call(self_, "fell", {box(3U)}), RangeException);
    EXPECT_TRUE(call(self_, "fell", {box(9U)}).isNone());
}

TEST_F(AttributeTest, aResultMayTakeThePlaceOfAnOperandOrOfTheValueAsked) {
    Value slot = box(Apple(7));
    Value const number = box(3U);
    EXPECT_EQ(Vexo::attributeOperation(slot, "weight", AttributeOperation::get, {}, &slot),
              AttributeStatus::done);
    EXPECT_EQ(unbox<U32>(slot, "slot"), 7U);
    Operands operands{box(Apple(7)), number};
    EXPECT_EQ(Vexo::attributeOperation(self_, "weigh", AttributeOperation::call, operands,
                                       operands.data()),
              AttributeStatus::done);
    EXPECT_EQ(unbox<U64>(operands[0], "slot"), 21U);
}

TEST_F(AttributeTest, aSetChangesTheValueInTheSlotAndNoOther) {
    Value apple = box(Apple(5, false));
    Value const copy = apple;
    set(apple, "ripe", box(true));
    EXPECT_EQ(unbox<Apple>(apple, "apple"), Apple(5, true));
    EXPECT_EQ(unbox<Apple>(copy, "apple"), Apple(5, false));
    EXPECT_EQ(statusOf(apple, "weight", AttributeOperation::set, {box(6U)}),
              AttributeStatus::operationNotAllowed);
    EXPECT_EQ(statusOf(apple, "worm", AttributeOperation::get), AttributeStatus::noSuchAttribute);
}

TEST_F(AttributeTest, collectionsServeTheirOperationsAlone) {
    Operands const key{box(Apple(5))};
    ask(self_, "apples", AttributeOperation::put, {key[0], box(12U)});
    EXPECT_EQ(unbox<U32>(ask(self_, "apples", AttributeOperation::lookUp, key), ""), 12U);
    EXPECT_EQ(unbox<U32>(ask(self_, "apples", AttributeOperation::lookUp, {box(Apple(6))}), ""),
              0U);
    EXPECT_TRUE(unbox<bool>(ask(self_, "apples", AttributeOperation::contains, key), ""));
    EXPECT_EQ(unbox<U64>(ask(self_, "apples", AttributeOperation::count), ""), 1U);
    EXPECT_EQ(unbox<U64>(ask(self_, "apples", AttributeOperation::capacity), ""),
              tree_->baskets().capacity());
    EXPECT_EQ(unbox<Apple>(ask(self_, "apples", AttributeOperation::keyAt, {box(0U)}), ""),
              Apple(5));
    EXPECT_TRUE(unbox<bool>(ask(self_, "apples", AttributeOperation::erase, key), ""));
    EXPECT_FALSE(unbox<bool>(ask(self_, "apples", AttributeOperation::erase, key), ""));
    for (auto const operation :
         {AttributeOperation::get, AttributeOperation::set, AttributeOperation::call,
          AttributeOperation::truth, AttributeOperation::equal, AttributeOperation::less}) {
        EXPECT_EQ(statusOf(self_, "apples", operation, key), AttributeStatus::operationNotAllowed);
    }
}

TEST_F(AttributeTest, aTypeOffersWhatItHas) {
    Vexo::ValueOps const& apple = *Apple::fwkType_.description().value;
    EXPECT_TRUE(apple.hash != nullptr && apple.truth != nullptr && apple.less != nullptr);
    Vexo::ValueOps const& leaf = *Leaf::fwkType_.description().value;
    EXPECT_TRUE(leaf.hash == nullptr && leaf.truth == nullptr && leaf.less == nullptr);
    Value const self = Vexo::createByType(Leaf::fwkType_, {});
    EXPECT_TRUE(areEqual(self, Value(self)));
    EXPECT_EQ(Vexo::valueOperation(self, AttributeOperation::truth, {}, nullptr),
              AttributeStatus::operationNotAllowed);
    EXPECT_EQ(Vexo::valueOperation(self, AttributeOperation::less, Operands{self}, nullptr),
              AttributeStatus::operationNotAllowed);
    EXPECT_THROW(Vexo::valueHash(self), Vexo::UnhashableException);
}

TEST_F(AttributeTest, aTypeThatOffersNothingIsRefusedAndNotFatal) {
    Value const seed = Vexo::createByType(Seed::fwkType_, {});
    ASSERT_EQ(seed.type(), &Seed::fwkType_);
    Value const copy = seed;
    EXPECT_EQ(messageOf<ConversionException>([&] { Vexo::valueText(seed); }),
              "Orchard::Seed has no text form");
    EXPECT_EQ(messageOf<ConversionException>([] { Vexo::valueFromText(Seed::fwkType_, "1"); }),
              "Orchard::Seed has no text form");
    EXPECT_THROW(Vexo::valueHash(seed), Vexo::UnhashableException);
    for (auto const operation :
         {AttributeOperation::truth, AttributeOperation::equal, AttributeOperation::less}) {
        EXPECT_EQ(Vexo::valueOperation(seed, operation, Operands{copy}, nullptr),
                  AttributeStatus::operationNotAllowed);
    }
}

TEST_F(AttributeTest, aComparisonTakesOneOperand) {
    Value const apple = box(Apple(1));
    for (auto const operation : {AttributeOperation::equal, AttributeOperation::less}) {
        EXPECT_EQ(messageOf<ConversionException>(
                      [&] { Vexo::valueOperation(apple, operation, {}, nullptr); }),
                  "comparison of Orchard::Apple: wants 1 operand, given 0");
        EXPECT_EQ(messageOf<ConversionException>([&] {
                      Vexo::valueOperation(apple, operation, Operands{apple, apple}, nullptr);
                  }),
                  "comparison of Orchard::Apple: wants 1 operand, given 2");
    }
}

TEST_F(AttributeTest, aReferenceIsEqualToOneOfTheSameObject) {
    EXPECT_TRUE(areEqual(self_, Value(self_)));
    EXPECT_FALSE(areEqual(self_, box(Apple(1)))) << "a value is no object";
    EXPECT_FALSE(areEqual(self_, Value()));
    for (Operands const& operands : {Operands{}, Operands{self_, self_}}) {
        EXPECT_EQ(Vexo::valueOperation(self_, AttributeOperation::equal, operands, nullptr),
                  AttributeStatus::operationNotAllowed);
    }
}

TEST_F(AttributeTest, aWriteWithoutMemoryLeavesTheValueAsItWas) {
    Value const name = box(String(200, 'n'));
    U64 const sites = TestSupport::failEachAllocation(
        [&] { statusOf(self_, "name", AttributeOperation::set, {name}); },
        [&] { EXPECT_EQ(tree_->name(), "oak"); });
    EXPECT_GT(sites, 0U);
    EXPECT_EQ(tree_->name(), String(200, 'n'));
}

}  // namespace
