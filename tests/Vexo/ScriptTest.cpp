#include <Vexo/TrackedAllocation.h>
#include <tests/Support/ThreadSafeMode.h>
#include <tests/Support/TraceCapture.h>
#include <tests/Vexo/Orchard.h>
#include <tests/Vexo/ScriptSlots.h>

/* Slots: how scripts make them, look at them, and let them go. */

namespace {

using namespace ScriptTests;

class ScriptTest : public TestSupport::LeakCheck {};

TEST_F(ScriptTest, scalarsGoInAndComeOut) {
    for (std::uint64_t const value : {std::uint64_t{0}, std::uint64_t{0xffffffffU},
                                      std::uint64_t{1} << 32, ~std::uint64_t{0}}) {
        EXPECT_EQ(numberIn(number(value)), value);
        EXPECT_STREQ(vexoTypeName(vexoValueType(number(value))), value >> 32 == 0 ? "U32" : "U64");
    }
    EXPECT_TRUE(flagIn(flag(true)));
    EXPECT_FALSE(flagIn(flag(false)));
    Slot odd;
    EXPECT_EQ(vexoFromBool(-7, odd.out()), VEXO_DONE);
    EXPECT_TRUE(flagIn(odd));
    for (std::string const& text :
         {std::string(), std::string("a\0b", 3), std::string(1000, 'x')}) {
        EXPECT_EQ(stringIn(string(text)), text);
    }
    Slot empty;
    EXPECT_EQ(vexoFromString(nullptr, 0, empty.out()), VEXO_DONE);
    EXPECT_EQ(stringIn(empty), "");
}

TEST_F(ScriptTest, nothingAndAReferenceToNoObjectAreNull) {
    EXPECT_EQ(vexoValueType(none()), nullptr);
    EXPECT_EQ(vexoIsNull(none()), 1);
    Slot const oak = tree();
    EXPECT_EQ(vexoIsNull(oak), 0);
    Slot const noNeighbour = get(oak, "neighbour");
    EXPECT_EQ(vexoIsNull(noNeighbour), 1);
    EXPECT_EQ(vexoValueType(noNeighbour), typeOf("Orchard::Tree"));
    EXPECT_EQ(vexoIsNull(number(0)), 0);
    EXPECT_EQ(vexoIsNull(string("")), 0);
    EXPECT_EQ(textOf(none()), "None");
    EXPECT_EQ(textOf(noNeighbour), "None");
}

TEST_F(ScriptTest, aSlotOfAnotherTypeIsNotTaken) {
    std::uint64_t outNumber = 77;
    int outFlag = 77;
    char const* bytes = "as it was";
    std::size_t length = 77;
    Slot const oak = tree();
    expectFailed(vexoToNumber(flag(true), &outNumber), VEXO_WRONG_TYPE,
                 "slot: wants U64, given bool");
    expectFailed(vexoToNumber(none(), &outNumber), VEXO_WRONG_TYPE,
                 "slot: wants U64, given nothing");
    expectFailed(vexoToBool(number(1), &outFlag), VEXO_WRONG_TYPE, "slot: wants bool, given U32");
    expectFailed(vexoToBool(oak, &outFlag), VEXO_WRONG_TYPE,
                 "slot: wants bool, given reference to Orchard::Tree");
    expectFailed(vexoToString(number(1), &bytes, &length), VEXO_WRONG_TYPE,
                 "slot: wants String, given U32");
    expectFailed(vexoToString(none(), &bytes, &length), VEXO_WRONG_TYPE,
                 "slot: wants String, given nothing");
    EXPECT_EQ(outNumber, 77U);
    EXPECT_EQ(outFlag, 77);
    EXPECT_STREQ(bytes, "as it was");
    EXPECT_EQ(length, 77U);
}

TEST_F(ScriptTest, objectsLiveAsLongAsASlotRefersToThem) {
    std::uint64_t const before = vexoLiveAllocationsOf("Orchard::Tree");
    std::uint64_t const beforeAll = vexoLiveAllocations();
    {
        Slot first = tree();
        EXPECT_EQ(vexoLiveAllocationsOf("Orchard::Tree"), before + 1);
        EXPECT_EQ(vexoLiveAllocations(), beforeAll + 1);
        Slot second;
        EXPECT_EQ(vexoCopy(first, second.out()), VEXO_DONE);
        EXPECT_EQ(numberIn(get(first, "references")), 2U);
        first = Slot();
        EXPECT_EQ(numberIn(get(second, "references")), 1U);
        EXPECT_EQ(vexoLiveAllocationsOf("Orchard::Tree"), before + 1);
    }
    EXPECT_EQ(vexoLiveAllocationsOf("Orchard::Tree"), before);
    EXPECT_EQ(vexoLiveAllocations(), beforeAll);
    EXPECT_EQ(vexoLiveAllocationsOf("Orchard::Plum"), 0U);
    vexoRelease(nullptr);
}

TEST_F(ScriptTest, valuesAreCopied) {
    Slot const original = apple(5);
    Slot copy;
    EXPECT_EQ(vexoCopy(original, copy.out()), VEXO_DONE);
    EXPECT_EQ(vexoSet(copy, "ripe", flag(true)), VEXO_DONE);
    EXPECT_TRUE(flagIn(get(copy, "ripe")));
    EXPECT_FALSE(flagIn(get(original, "ripe")));
}

TEST_F(ScriptTest, valuesAndObjectsAreMadeByTheirTypes) {
    EXPECT_EQ(numberIn(get(tree(9), "height")), 9U);
    EXPECT_EQ(vexoValueType(make("Orchard::PearTree")), typeOf("Orchard::PearTree"));
    EXPECT_EQ(numberIn(get(make("Orchard::Apple"), "weight")), 0U);
    EXPECT_EQ(numberIn(make("U32")), 0U);
    EXPECT_EQ(stringIn(make("String")), "");
    EXPECT_EQ(vexoValueType(make("Orchard::Seed")), typeOf("Orchard::Seed"));
    Slot out = number(5);
    VexoValue* const asItWas = out;
    VexoValue* slot = asItWas;
    Slot const five = number(5);
    VexoValue const* const operands[] = {five, five};
    expectFailed(vexoMake(typeOf("Orchard::Apple"), operands, 1, &slot), VEXO_WRONG_TYPE,
                 "constructor of Orchard::Apple: wants 2 operands, given 1");
    expectFailed(vexoMake(typeOf("Orchard::Apple"), operands, 2, &slot), VEXO_WRONG_TYPE,
                 "constructor of Orchard::Apple, parameter 'ripe': wants bool, given U32");
    expectFailed(vexoMake(typeOf("Orchard::Leaf"), operands, 1, &slot), VEXO_WRONG_TYPE,
                 "Orchard::Leaf cannot be made by name from operands");
    expectFailed(vexoMake(typeOf("Vexo::PtrInterface"), nullptr, 0, &slot), VEXO_WRONG_TYPE,
                 "Vexo::PtrInterface cannot be made by name");
    EXPECT_EQ(slot, asItWas);
}

TEST_F(ScriptTest, textsAreWrittenAndReadBack) {
    Slot const red = apple(7, true);
    EXPECT_EQ(textOf(red), "Value('Orchard::Apple', ** {'weight': 7, 'ripe': True})");
    EXPECT_EQ(textOf(number(7)), "7");
    EXPECT_EQ(textOf(string("it's")), "'it\\'s'");
    std::string const whole =
        "Value('Orchard::Apple', ** {'worm': None, 'weight': 7, 'ripe': True})";
    Slot read;
    EXPECT_EQ(vexoFromText(typeOf("Orchard::Apple"), whole.data(), whole.size(), read.out()),
              VEXO_DONE);
    int equal = 2;
    EXPECT_EQ(vexoEqual(red, read, &equal), VEXO_DONE);
    EXPECT_EQ(equal, 1);
    // The length counts, not a NUL.
    Slot prefix;
    EXPECT_EQ(vexoFromText(typeOf("U32"), "123", 2, prefix.out()), VEXO_DONE);
    EXPECT_EQ(numberIn(prefix), 12U);
    VexoValue* slot = prefix;
    EXPECT_EQ(vexoFromText(typeOf("U32"), "1\0", 2, &slot), VEXO_OUT_OF_RANGE);
    EXPECT_EQ(vexoFromText(typeOf("U32"), "4294967296", 10, &slot), VEXO_OUT_OF_RANGE);
    EXPECT_EQ(vexoFromText(typeOf("Orchard::Apple"), whole.data(), whole.size() - 1, &slot),
              VEXO_OUT_OF_RANGE);
    EXPECT_STRNE(vexoMessage(), "");
    EXPECT_EQ(slot, prefix);
}

TEST_F(ScriptTest, anObjectsTextIsReadBackAsLongAsItLives) {
    std::string name;
    {
        Slot const oak = tree();
        name = textOf(oak);
        Slot again;
        EXPECT_EQ(vexoFromText(typeOf("Orchard::Tree"), name.data(), name.size(), again.out()),
                  VEXO_DONE);
        EXPECT_EQ(numberIn(get(again, "references")), 2U);
        VexoValue* slot = nullptr;
        EXPECT_EQ(vexoFromText(typeOf("Orchard::PearTree"), name.data(), name.size(), &slot),
                  VEXO_OUT_OF_RANGE);
        EXPECT_EQ(slot, nullptr);
        EXPECT_EQ(numberIn(get(again, "references")), 2U);
    }
    VexoValue* slot = nullptr;
    for (char const* const typeName : {"Orchard::Tree", "Vexo::PtrInterface"}) {
        EXPECT_EQ(vexoFromText(typeOf(typeName), name.data(), name.size(), &slot),
                  VEXO_OUT_OF_RANGE);
    }
    std::string const invented = "Object('Orchard::Tree', 0x10)";
    EXPECT_EQ(vexoFromText(typeOf("Orchard::Tree"), invented.data(), invented.size(), &slot),
              VEXO_OUT_OF_RANGE);
    EXPECT_EQ(slot, nullptr);
}

TEST_F(ScriptTest, atomicCountsAreSwitched) {
    TestSupport::ThreadSafeMode const before(false);
    vexoThreadSafePtrIs(7);
    EXPECT_TRUE(Vexo::threadSafePtr());
    EXPECT_EQ(numberIn(get(tree(), "references")), 1U);
    vexoThreadSafePtrIs(0);
    EXPECT_FALSE(Vexo::threadSafePtr());
}

TEST_F(ScriptTest, traceLevelsAreSetByText) {
    TestSupport::TraceCapture const capture("Orchard/off");
    static constinit Vexo::TraceHandle handle("Orchard");
    EXPECT_EQ(vexoTraceLevelsIs("Orchard/3"), VEXO_DONE);
    EXPECT_TRUE(handle.levelOn(3));
    EXPECT_EQ(vexoTraceLevelsIs("Orchard/nonsense"), VEXO_OUT_OF_RANGE);
    EXPECT_STRNE(vexoMessage(), "");
    EXPECT_EQ(vexoTraceLevelsIs("Orchard/off"), VEXO_DONE);
    EXPECT_FALSE(handle.levelOn(3));
}

}  // namespace
