#include <tests/Vexo/ScriptSlots.h>

#include <tuple>

/* Attributes, functions, collections and whole values, as scripts ask for them. */

namespace {

using namespace ScriptTests;

class ScriptAttributeTest : public TestSupport::LeakCheck {
protected:
    Slot const tree_ = tree();
    Slot const apple_ = apple(5);
    /** Never a slot: what an out-argument must still hold after a call that failed. */
    VexoValue* const asItWas_ = tree_;
};

TEST_F(ScriptAttributeTest, valuesAreReadAndWritten) {
    EXPECT_EQ(vexoSet(tree_, "height", number(0xffffffffU)), VEXO_DONE);
    EXPECT_EQ(numberIn(get(tree_, "height")), 0xffffffffU);
    EXPECT_EQ(vexoSet(tree_, "name", string("elm")), VEXO_DONE);
    EXPECT_EQ(stringIn(get(tree_, "name")), "elm");
    EXPECT_EQ(vexoSet(tree_, "apple", apple_), VEXO_DONE);
    EXPECT_EQ(textOf(get(tree_, "apple")), textOf(apple_));
    Slot const other = tree(1);
    EXPECT_EQ(vexoSet(tree_, "neighbour", other), VEXO_DONE);
    EXPECT_EQ(numberIn(get(other, "references")), 2U);
    int same = 2;
    EXPECT_EQ(vexoEqual(get(tree_, "neighbour"), other, &same), VEXO_DONE);
    EXPECT_EQ(same, 1);
    EXPECT_EQ(vexoSet(tree_, "neighbour", none()), VEXO_DONE);
    EXPECT_EQ(numberIn(get(other, "references")), 1U);
}

TEST_F(ScriptAttributeTest, refusalsNameTheOwnerAndTheAttribute) {
    VexoValue* out = asItWas_;
    expectFailed(vexoSet(apple_, "weight", number(6)), VEXO_NOT_ALLOWED,
                 "attribute 'weight' of Orchard::Apple cannot be written");
    expectFailed(vexoGet(tree_, "grow", &out), VEXO_NOT_ALLOWED,
                 "attribute 'grow' of Orchard::Tree cannot be read");
    expectFailed(vexoCall(tree_, "height", nullptr, 0, &out), VEXO_NOT_ALLOWED,
                 "attribute 'height' of Orchard::Tree cannot be called");
    expectFailed(vexoGet(tree_, "apples", &out), VEXO_NOT_ALLOWED,
                 "attribute 'apples' of Orchard::Tree cannot be read");
    expectFailed(vexoLookUp(tree_, "height", apple_, &out), VEXO_NOT_ALLOWED,
                 "attribute 'height' of Orchard::Tree cannot be used as a collection");
    for (char const* const name : {"roots", "heigh", "", "pears"}) {
        expectFailed(vexoGet(tree_, name, &out), VEXO_NO_SUCH_ATTRIBUTE,
                     std::string("Orchard::Tree has no attribute '") + name + "'");
        EXPECT_EQ(vexoSet(tree_, name, apple_), VEXO_NO_SUCH_ATTRIBUTE);
        EXPECT_EQ(vexoCall(tree_, name, nullptr, 0, &out), VEXO_NO_SUCH_ATTRIBUTE);
        EXPECT_EQ(vexoKeyAt(tree_, name, 0, &out), VEXO_NO_SUCH_ATTRIBUTE);
    }
    expectFailed(vexoGet(none(), "height", &out), VEXO_NO_SUCH_ATTRIBUTE,
                 "nothing has no attribute 'height'");
    EXPECT_EQ(vexoGet(get(tree_, "neighbour"), "height", &out), VEXO_NO_SUCH_ATTRIBUTE);
    EXPECT_EQ(out, asItWas_);
    EXPECT_EQ(numberIn(get(apple_, "weight")), 5U);
}

TEST_F(ScriptAttributeTest, whatIsNoCollectionIsNotUsedAsOne) {
    int flag = 77;
    std::uint64_t count = 77;
    for (auto const& [name, status, message] :
         {std::tuple{"height", VEXO_NOT_ALLOWED,
                     "attribute 'height' of Orchard::Tree cannot be used as a collection"},
          {"roots", VEXO_NO_SUCH_ATTRIBUTE, "Orchard::Tree has no attribute 'roots'"}}) {
        expectFailed(vexoContains(tree_, name, apple_, &flag), status, message);
        expectFailed(vexoErase(tree_, name, apple_, &flag), status, message);
        expectFailed(vexoPut(tree_, name, apple_, number(1)), status, message);
        expectFailed(vexoCount(tree_, name, &count), status, message);
        expectFailed(vexoCapacity(tree_, name, &count), status, message);
    }
    EXPECT_EQ(flag, 77);
    EXPECT_EQ(count, 77U);
}

TEST_F(ScriptAttributeTest, operandsOfAWrongTypeAreNamed) {
    VexoValue* out = asItWas_;
    expectFailed(vexoSet(tree_, "height", flag(true)), VEXO_WRONG_TYPE,
                 "attribute 'height' of Orchard::Tree: wants U32, given bool");
    expectFailed(vexoSet(tree_, "neighbour", apple_), VEXO_WRONG_TYPE,
                 "attribute 'neighbour' of Orchard::Tree: wants reference to Orchard::Tree, given "
                 "Orchard::Apple");
    expectFailed(vexoSet(tree_, "height", number(std::uint64_t{1} << 32)), VEXO_OUT_OF_RANGE,
                 "attribute 'height' of Orchard::Tree: 4294967296 is over 4294967295");
    Slot const seven = number(7);
    VexoValue const* const operands[] = {apple_, seven, seven};
    expectFailed(vexoCall(tree_, "weigh", operands, 3, &out), VEXO_WRONG_TYPE,
                 "attribute 'weigh' of Orchard::Tree: wants 2 operands, given 3");
    expectFailed(vexoCall(tree_, "weigh", operands + 1, 2, &out), VEXO_WRONG_TYPE,
                 "attribute 'weigh' of Orchard::Tree, parameter 'apple': wants Orchard::Apple, "
                 "given U32");
    EXPECT_EQ(out, asItWas_);
    EXPECT_EQ(numberIn(get(tree_, "height")), 3U);
}

TEST_F(ScriptAttributeTest, functionsAreCalled) {
    Slot const seven = number(7);
    VexoValue const* const operands[] = {apple_, seven};
    Slot result;
    EXPECT_EQ(vexoCall(tree_, "weigh", operands, 2, result.out()), VEXO_DONE);
    EXPECT_EQ(numberIn(result), 35U);
    EXPECT_EQ(vexoCall(tree_, "grow", operands + 1, 1, result.out()), VEXO_DONE);
    EXPECT_EQ(vexoIsNull(result), 1);
    EXPECT_EQ(vexoCall(tree_, "grow", operands + 1, 1, nullptr), VEXO_DONE);
    EXPECT_EQ(numberIn(get(tree_, "height")), 17U);
    EXPECT_EQ(vexoCall(make("Orchard::PearTree"), "fruit", nullptr, 0, result.out()), VEXO_DONE);
    EXPECT_EQ(stringIn(result), "pear");
}

TEST_F(ScriptAttributeTest, functionsOfAModuleAreCalled) {
    VexoModule const* const orchard = vexoTypeModule(typeOf("Orchard::Tree"));
    Slot const nine = number(9);
    VexoValue const* const numbers[] = {nine, nine};
    Slot result;
    EXPECT_EQ(vexoCallFunction(orchard, "square", numbers, 1, result.out()), VEXO_DONE);
    EXPECT_EQ(numberIn(result), 81U);
    EXPECT_EQ(vexoCallFunction(orchard, "square", numbers, 1, nullptr), VEXO_DONE);
    Slot const taller = tree(10);
    VexoValue const* const trees[] = {tree_, taller};
    EXPECT_EQ(vexoCallFunction(orchard, "taller", trees, 2, result.out()), VEXO_DONE);
    EXPECT_EQ(textOf(result), textOf(taller));
    VexoValue* out = asItWas_;
    expectFailed(vexoCallFunction(orchard, "square", numbers, 2, &out), VEXO_WRONG_TYPE,
                 "function 'square' of Orchard: wants 1 operand, given 2");
    for (char const* const name : {"squar", "closed", "", "height"}) {
        expectFailed(vexoCallFunction(orchard, name, nullptr, 0, &out), VEXO_NO_SUCH_ATTRIBUTE,
                     std::string("Orchard has no attribute '") + name + "'");
    }
    EXPECT_EQ(out, asItWas_);
}

TEST_F(ScriptAttributeTest, whatIsThrownBecomesAStatusAndAMessage) {
    struct Fall {
        unsigned how;
        VexoStatus status;
        char const* message;
    };
    VexoValue* out = asItWas_;
    for (Fall const& fall :
         {Fall{0, VEXO_FAILED, "frost"}, Fall{1, VEXO_FAILED, "an exception of an unknown type"},
          Fall{2, VEXO_NO_MEMORY, "out of memory"}, Fall{3, VEXO_OUT_OF_RANGE, "past the fence"},
          Fall{4, VEXO_NOT_HASHABLE, "a stump has no hash"},
          Fall{5, VEXO_WRONG_TYPE, "an axe is no saw"}}) {
        Slot const how = number(fall.how);
        VexoValue const* const operand = how;
        expectFailed(vexoCall(tree_, "fell", &operand, 1, &out), fall.status, fall.message);
    }
    expectFailed(
        vexoCallFunction(vexoTypeModule(typeOf("Orchard::Tree")), "frost", nullptr, 0, &out),
        VEXO_FAILED, "frost");
    EXPECT_EQ(out, asItWas_);
    // A call that is done leaves the message.
    EXPECT_EQ(numberIn(get(tree_, "height")), 3U);
    EXPECT_STREQ(vexoMessage(), "frost");
}

TEST_F(ScriptAttributeTest, valuesAreTestedComparedAndHashed) {
    int out = 2;
    EXPECT_EQ(vexoTruth(apple_, &out), VEXO_DONE);
    EXPECT_EQ(out, 1);
    EXPECT_EQ(vexoTruth(make("Orchard::Apple"), &out), VEXO_DONE);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(vexoLess(apple_, apple(6), &out), VEXO_DONE);
    EXPECT_EQ(out, 1);
    EXPECT_EQ(vexoEqual(apple_, apple(6), &out), VEXO_DONE);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(vexoTruth(none(), &out), VEXO_DONE);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(vexoTruth(tree_, &out), VEXO_DONE);
    EXPECT_EQ(out, 1);
    std::uint32_t hash = 0;
    EXPECT_EQ(vexoHash(apple(5, true), &hash), VEXO_DONE);
    EXPECT_EQ(hash, 11U);
    std::uint32_t again = 0;
    EXPECT_EQ(vexoHash(tree_, &hash), VEXO_DONE);
    EXPECT_EQ(vexoHash(tree_, &again), VEXO_DONE);
    EXPECT_EQ(again, hash);
}

TEST_F(ScriptAttributeTest, whatATypeDoesNotOfferIsRefused) {
    Slot const leaf = make("Orchard::Leaf");
    int out = 77;
    std::uint32_t hash = 77;
    expectFailed(vexoTruth(leaf, &out), VEXO_NOT_ALLOWED,
                 "Orchard::Leaf cannot be tested for truth");
    expectFailed(vexoLess(leaf, leaf, &out), VEXO_NOT_ALLOWED,
                 "Orchard::Leaf cannot be compared so");
    expectFailed(vexoLess(tree_, tree_, &out), VEXO_NOT_ALLOWED,
                 "Orchard::Tree cannot be compared so");
    expectFailed(vexoHash(leaf, &hash), VEXO_NOT_HASHABLE,
                 "a value of type Orchard::Leaf has no hash");
    expectFailed(vexoEqual(apple_, number(5), &out), VEXO_WRONG_TYPE,
                 "comparison of Orchard::Apple: wants Orchard::Apple, given U32");
    VexoValue* slot = asItWas_;
    Slot const seed = make("Orchard::Seed");
    EXPECT_EQ(vexoEqual(seed, seed, &out), VEXO_NOT_ALLOWED);
    expectFailed(vexoText(seed, &slot), VEXO_WRONG_TYPE, "Orchard::Seed has no text form");
    EXPECT_EQ(vexoFromText(typeOf("Orchard::Seed"), "1", 1, &slot), VEXO_WRONG_TYPE);
    EXPECT_EQ(vexoHash(seed, &hash), VEXO_NOT_HASHABLE);
    EXPECT_EQ(out, 77);
    EXPECT_EQ(hash, 77U);
    EXPECT_EQ(slot, asItWas_);
}

TEST_F(ScriptAttributeTest, aCollectionIsAskedAndChanged) {
    int out = 2;
    std::uint64_t entries = 77;
    EXPECT_EQ(vexoCount(tree_, "apples", &entries), VEXO_DONE);
    EXPECT_EQ(entries, 0U);
    EXPECT_EQ(vexoPut(tree_, "apples", apple_, number(12)), VEXO_DONE);
    Slot found;
    EXPECT_EQ(vexoLookUp(tree_, "apples", apple_, found.out()), VEXO_DONE);
    EXPECT_EQ(numberIn(found), 12U);
    EXPECT_EQ(vexoLookUp(tree_, "apples", apple(6), found.out()), VEXO_DONE);
    EXPECT_EQ(numberIn(found), 0U);
    EXPECT_EQ(vexoContains(tree_, "apples", apple_, &out), VEXO_DONE);
    EXPECT_EQ(out, 1);
    EXPECT_EQ(vexoCount(tree_, "apples", &entries), VEXO_DONE);
    EXPECT_EQ(entries, 1U);
    EXPECT_EQ(vexoCapacity(tree_, "apples", &entries), VEXO_DONE);
    EXPECT_GE(entries, 1U);
    EXPECT_EQ(vexoKeyAt(tree_, "apples", 0, found.out()), VEXO_DONE);
    EXPECT_EQ(textOf(found), textOf(apple_));
    VexoValue* slot = asItWas_;
    expectFailed(vexoKeyAt(tree_, "apples", 1, &slot), VEXO_OUT_OF_RANGE,
                 "attribute 'apples' of Orchard::Tree: no entry number 1");
    expectFailed(vexoPut(tree_, "apples", apple_, apple_), VEXO_WRONG_TYPE,
                 "attribute 'apples' of Orchard::Tree, value: wants U32, given Orchard::Apple");
    expectFailed(vexoLookUp(tree_, "apples", number(5), &slot), VEXO_WRONG_TYPE,
                 "attribute 'apples' of Orchard::Tree, key: wants Orchard::Apple, given U32");
    EXPECT_EQ(slot, asItWas_);
    EXPECT_EQ(vexoErase(tree_, "apples", apple_, &out), VEXO_DONE);
    EXPECT_EQ(out, 1);
    EXPECT_EQ(vexoErase(tree_, "apples", apple_, &out), VEXO_DONE);
    EXPECT_EQ(out, 0);
    EXPECT_EQ(vexoContains(tree_, "apples", apple_, &out), VEXO_DONE);
    EXPECT_EQ(out, 0);
}

}  // namespace
