#include <tests/Support/AllocationFailure.h>
#include <tests/Support/AttributeRequests.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Vexo/Orchard.h>

#include <gmock/gmock.h>

#include <limits>

namespace {

using Orchard::Apple;
using Orchard::Ground;
using Orchard::PearTree;
using Orchard::Tree;
using TestSupport::areEqual;
using TestSupport::isLess;
using TestSupport::isTrue;
using TestSupport::messageOf;
using Vexo::box;
using Vexo::Boxing;
using Vexo::ConversionException;
using Vexo::Ptr;
using Vexo::PtrInterface;
using Vexo::RangeException;
using Vexo::String;
using Vexo::U16;
using Vexo::U32;
using Vexo::U64;
using Vexo::U8;
using Vexo::unbox;
using Vexo::Value;

class ValueTest : public TestSupport::LeakCheck {};

TEST_F(ValueTest, aNewOneIsNothing) {
    Value const nothing;
    EXPECT_TRUE(nothing.isNone());
    EXPECT_FALSE(nothing.isReference());
    EXPECT_EQ(nothing.type(), nullptr);
    EXPECT_EQ(nothing.data(), nullptr);
    EXPECT_EQ(nothing.object(), nullptr);
    EXPECT_EQ(nothing.typeName(), "nothing");
    EXPECT_TRUE(Value(nothing).isNone());
}

TEST_F(ValueTest, numbersOfAllWidthsTravelAsTheNarrowestThatHoldsThem) {
    EXPECT_EQ(box(U8{200}).type(), &Vexo::u32Type);
    EXPECT_EQ(box(U16{60000}).type(), &Vexo::u32Type);
    EXPECT_EQ(box(U64{7}).type(), &Vexo::u32Type);
    EXPECT_EQ(box(U64{0xffffffffU}).type(), &Vexo::u32Type);
    EXPECT_EQ(box(U64{1} << 32).type(), &Vexo::u64Type);
    for (U64 const number : {U64{0}, U64{255}, U64{0xffffffffU}, U64{1} << 32, ~U64{0}}) {
        EXPECT_EQ(Vexo::boxResult<U64>([number] { return number; }).type(), box(number).type());
        EXPECT_EQ(unbox<U64>(box(number), "place"), number);
    }
    EXPECT_EQ(unbox<U8>(box(U64{255}), "place"), 255U);
    EXPECT_EQ(unbox<U16>(box(U8{255}), "place"), 255U);
}

TEST_F(ValueTest, aNumberOverTheLimitIsOutOfRange) {
    EXPECT_EQ(messageOf<RangeException>([] { unbox<U8>(box(256U), "place"); }),
              "place: 256 is over 255");
    EXPECT_EQ(messageOf<RangeException>([] { unbox<U16>(box(65536U), "place"); }),
              "place: 65536 is over 65535");
    EXPECT_EQ(messageOf<RangeException>([] { unbox<U32>(box(~U64{0}), "place"); }),
              "place: 18446744073709551615 is over 4294967295");
}

TEST_F(ValueTest, anEnumerationTravelsAsItsNumber) {
    EXPECT_EQ(box(Ground::sand).type(), &Vexo::u32Type);
    EXPECT_EQ(unbox<U32>(box(Ground::sand), "place"), 2U);
    EXPECT_EQ(unbox<Ground>(box(1U), "place"), Ground::clay);
    EXPECT_EQ(unbox<Ground>(box(77U), "place"), static_cast<Ground>(77));
    EXPECT_THROW(unbox<Ground>(box(U64{1} << 32), "place"), RangeException);
}

TEST_F(ValueTest, textsAndFlagsTravelAsThemselves) {
    String const withNul("a\0b", 3);
    EXPECT_EQ(unbox<String>(box(withNul), "place"), withNul);
    EXPECT_EQ(unbox<String>(box(String()), "place"), "");
    EXPECT_TRUE(unbox<bool>(box(true), "place"));
    EXPECT_FALSE(unbox<bool>(box(false), "place"));
}

TEST_F(ValueTest, whatASlotDoesNotHoldIsNamedWithWhatItHolds) {
    Value const nothing;
    Value const number = box(7U);
    Value const flag = box(true);
    Value const text = box(String("7"));
    Value const apple = box(Apple(7));
    Value const tree = box(Tree::Ptr(new Tree(1)));
    auto const wants = [](String const& wanted, String const& given, auto const& work) {
        EXPECT_EQ(messageOf<ConversionException>(work),
                  "place: wants " + wanted + ", given " + given);
    };
    wants("U32", "bool", [&] { unbox<U32>(flag, "place"); });
    wants("U32", "String", [&] { unbox<U8>(text, "place"); });
    wants("U64", "nothing", [&] { unbox<U64>(nothing, "place"); });
    wants("bool", "U32", [&] { unbox<bool>(number, "place"); });
    wants("bool", "nothing", [&] { unbox<bool>(nothing, "place"); });
    wants("bool", "U64", [] { unbox<bool>(box(~U64{0}), "place"); });
    wants("String", "Orchard::Apple", [&] { unbox<String>(apple, "place"); });
    wants("String", "nothing", [&] { unbox<String>(nothing, "place"); });
    wants("Orchard::Apple", "reference to Orchard::Tree", [&] { unbox<Apple>(tree, "place"); });
    wants("Orchard::Apple", "nothing", [&] { unbox<Apple>(nothing, "place"); });
    wants("reference to Orchard::Tree", "Orchard::Apple",
          [&] { unbox<Tree::Ptr>(apple, "place"); });
    wants("reference to Orchard::PearTree", "reference to Orchard::Tree",
          [&] { unbox<Ptr<PearTree>>(tree, "place"); });
    wants("U32", "reference to Orchard::Tree", [&] { unbox<U32>(tree, "place"); });
}

TEST_F(ValueTest, aReferenceIsCountedAndTellsItsObjectsOwnType) {
    Ptr<PearTree> const pear(new PearTree(4));
    {
        Value const asTree = box(Tree::Ptr(pear));
        EXPECT_TRUE(asTree.isReference());
        EXPECT_FALSE(asTree.isNone());
        EXPECT_EQ(asTree.data(), nullptr);
        EXPECT_EQ(asTree.type(), &PearTree::fwkType_);
        EXPECT_EQ(asTree.typeName(), "reference to Orchard::PearTree");
        EXPECT_EQ(pear->references(), 2U);
        EXPECT_EQ(unbox<Ptr<PearTree>>(asTree, "place"), pear);
        EXPECT_EQ(unbox<Tree::Ptr>(asTree, "place"), pear);
        EXPECT_EQ(unbox<Ptr<Tree const>>(asTree, "place"), pear);
        EXPECT_EQ(pear->references(), 2U);
        Value const second = asTree;
        EXPECT_EQ(pear->references(), 3U);
    }
    EXPECT_EQ(pear->references(), 1U);
}

TEST_F(ValueTest, nothingAndAReferenceToNoObjectAreNull) {
    Value const noTree = box(Tree::Ptr());
    EXPECT_TRUE(noTree.isReference());
    EXPECT_EQ(noTree.type(), &Tree::fwkType_);
    EXPECT_EQ(noTree.typeName(), "reference to Orchard::Tree");
    EXPECT_EQ(unbox<Tree::Ptr>(noTree, "place"), nullptr);
    EXPECT_EQ(unbox<Ptr<PearTree>>(noTree, "place"), nullptr);
    EXPECT_EQ(unbox<Tree::Ptr>(Value(), "place"), nullptr);
    EXPECT_THROW(unbox<Tree::Ptr>(box(0U), "place"), ConversionException);
}

TEST_F(ValueTest, aCopyHasAValueOfItsOwn) {
    Value const original = box(Apple(7, true));
    Value copy = original;
    EXPECT_NE(copy.data(), original.data());
    EXPECT_EQ(unbox<Apple>(copy, "place"), Apple(7, true));
    copy = box(Apple(8));
    EXPECT_EQ(unbox<Apple>(original, "place"), Apple(7, true));
    Value moved = std::move(copy);
    EXPECT_EQ(unbox<Apple>(moved, "place"), Apple(8));
    Value const& itself = moved;
    moved = itself;
    EXPECT_EQ(unbox<Apple>(moved, "place"), Apple(8));
}

TEST_F(ValueTest, aCopyWithoutMemoryLeavesWhatWasThere) {
    Value const original = box(String(100, 'x'));
    Value target = box(5U);
    U64 const sites = TestSupport::failEachAllocation(
        [&] { target = original; }, [&] { EXPECT_EQ(unbox<U32>(target, "place"), 5U); });
    EXPECT_EQ(sites, 2U);
    EXPECT_EQ(unbox<String>(target, "place"), String(100, 'x'));
}

TEST_F(ValueTest, boxingWithoutMemoryThrows) {
    Tree::Ptr const tree(new Tree(1));
    auto const sitesOf = [](auto const& work) {
        return TestSupport::failEachAllocation(work, [] {});
    };
    EXPECT_EQ(sitesOf([] { box(5U); }), 1U);
    EXPECT_EQ(sitesOf([] { box(true); }), 1U);
    EXPECT_EQ(sitesOf([] { box(Apple(1)); }), 1U);
    EXPECT_EQ(sitesOf([&] { box(tree); }), 0U);
    EXPECT_EQ(tree->references(), 1U);
}

TEST_F(ValueTest, theDeclaredTypeOfWhatTravels) {
    EXPECT_EQ(Boxing<U8>::type_.type, &Vexo::u32Type);
    EXPECT_EQ(Boxing<U32>::type_.type, &Vexo::u32Type);
    EXPECT_EQ(Boxing<U64>::type_.type, &Vexo::u64Type);
    EXPECT_EQ(Boxing<Ground>::type_.type, &Vexo::u32Type);
    EXPECT_EQ(Boxing<bool>::type_.type, &Vexo::boolType);
    EXPECT_EQ(Boxing<String>::type_.type, &Vexo::stringType);
    EXPECT_EQ(Boxing<Apple>::type_.type, &Apple::fwkType_);
    EXPECT_FALSE(Boxing<Apple>::type_.reference);
    EXPECT_EQ(Boxing<Tree::Ptr>::type_.type, &Tree::fwkType_);
    EXPECT_TRUE(Boxing<Tree::Ptr>::type_.reference);
    EXPECT_TRUE(Boxing<Ptr<Tree const>>::type_.reference);
}

TEST_F(ValueTest, scalarsHaveTextHashTruthAndOrder) {
    struct Pair {
        Value zero;
        Value more;
        String text;
    };
    for (Pair const& pair : {Pair{box(0U), box(7U), "7"}, Pair{box(false), box(true), "True"},
                             Pair{box(String()), box(String("a'b")), "'a\\'b'"},
                             Pair{box(U64{1} << 32), box(~U64{0}), "18446744073709551615"}}) {
        EXPECT_EQ(Vexo::valueText(pair.more), pair.text);
        EXPECT_TRUE(isTrue(pair.more));
        EXPECT_TRUE(isLess(pair.zero, pair.more));
        EXPECT_FALSE(isLess(pair.more, pair.zero));
        EXPECT_FALSE(areEqual(pair.more, pair.zero));
        EXPECT_TRUE(areEqual(pair.more, Value(pair.more)));
        EXPECT_EQ(Vexo::valueHash(pair.more), Vexo::valueHash(Value(pair.more)));
        EXPECT_NE(Vexo::valueHash(pair.more), Vexo::valueHash(pair.zero));
        Value const read = Vexo::valueFromText(*pair.more.type(), pair.text);
        EXPECT_TRUE(areEqual(pair.more, read));
    }
    EXPECT_FALSE(isTrue(box(0U)));
    EXPECT_FALSE(isTrue(box(String())));
}

}  // namespace
