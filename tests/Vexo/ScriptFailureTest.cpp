#include <tests/Support/AllocationFailure.h>
#include <tests/Vexo/ScriptSlots.h>

#include <functional>
#include <thread>

/* Every function of the C interface, with each of its allocations failing in turn and with all
 * memory at an end: a status tells, the out-argument and what was asked stay as they were, nothing
 * leaks. */

namespace {

using namespace ScriptTests;
using TestSupport::AfterFailure;
using TestSupport::AllocationFailure;

class ScriptFailureTest : public TestSupport::LeakChecked<testing::TestWithParam<AfterFailure>> {
protected:
    ScriptFailureTest() {
        EXPECT_EQ(vexoSet(tree_, "name", longText_), VEXO_DONE);
        EXPECT_EQ(vexoPut(tree_, "apples", apple_, number(12)), VEXO_DONE);
        textOf(tree_);  // its name is entered now, and no part of what is counted later
    }

    using Call = std::function<VexoStatus(VexoValue** out)>;

    /** The tree as far as it can be read. */
    std::vector<std::string> content() const {
        std::vector<std::string> texts;
        for (char const* const name :
             {"references", "height", "age", "ground", "name", "neighbour", "apple"}) {
            texts.push_back(textOf(get(tree_, name)));
        }
        std::uint64_t entries = 0;
        EXPECT_EQ(vexoCount(tree_, "apples", &entries), VEXO_DONE);
        texts.push_back(std::to_string(entries));
        return texts;
    }

    /**
     * Expects `call` to answer `status` once all its allocations succeed, and no memory (or its own
     * status, with that for a message) before. Each that fails must leave all as it was.
     */
    void expectSafe(Call const& call, VexoStatus status, std::uint64_t leastSites) const {
        auto const before = content();
        std::uint64_t site = 1;
        for (bool happened = true; happened; ++site) {
            VexoValue* const asItWas = tree_;
            VexoValue* out = asItWas;
            VexoStatus answer = VEXO_DONE;
            {
                AllocationFailure const failure(site, GetParam());
                answer = call(&out);
                happened = failure.hasHappened();
            }
            SCOPED_TRACE(testing::Message() << "failing allocation number " << site);
            if (happened && answer != VEXO_DONE) {
                EXPECT_THAT(answer, testing::AnyOf(VEXO_NO_MEMORY, status));
                EXPECT_STREQ(vexoMessage(), "out of memory");
            } else {
                EXPECT_EQ(answer, status) << vexoMessage();
            }
            if (answer != VEXO_DONE) {
                EXPECT_EQ(out, asItWas);
                EXPECT_EQ(content(), before);
            } else if (out != asItWas) {
                vexoRelease(out);
            }
        }
        EXPECT_GE(site - 2, leastSites) << "allocations that could fail";
    }

    Slot const longText_ = string(std::string(100, 'n'));
    Slot const tree_ = tree();
    Slot const apple_ = apple(5);
    Slot const number_ = number(7);
};

INSTANTIATE_TEST_SUITE_P(Memory, ScriptFailureTest,
                         testing::Values(AfterFailure::succeed, AfterFailure::fail),
                         [](auto const& after) {
                             return after.param == AfterFailure::fail ? "Ends" : "FailsOnce";
                         });

TEST_P(ScriptFailureTest, makingSlots) {
    std::string const text =
        "Value('Orchard::Apple', ** {'worm': None, 'weight': 7, 'ripe': True})";
    std::string const name = textOf(tree_);
    VexoType const* const ofApple = typeOf("Orchard::Apple");
    VexoType const* const ofTree = typeOf("Orchard::Tree");
    Slot const ripe = flag(true);
    VexoValue const* const appleOperands[] = {number_, ripe};
    VexoValue const* const treeOperands[] = {number_, longText_};
    std::string const long_(50, 'x');
    expectSafe([](VexoValue** out) { return vexoNone(out); }, VEXO_DONE, 1);
    expectSafe([](VexoValue** out) { return vexoFromBool(1, out); }, VEXO_DONE, 2);
    expectSafe([](VexoValue** out) { return vexoFromNumber(1, out); }, VEXO_DONE, 2);
    expectSafe([](VexoValue** out) { return vexoFromNumber(~std::uint64_t{0}, out); }, VEXO_DONE,
               2);
    expectSafe([&](VexoValue** out) { return vexoFromString(long_.data(), long_.size(), out); },
               VEXO_DONE, 3);
    expectSafe(
        [&](VexoValue** out) { return vexoFromText(ofApple, text.data(), text.size(), out); },
        VEXO_DONE, 3);
    expectSafe([&](VexoValue** out) { return vexoFromText(ofTree, name.data(), name.size(), out); },
               VEXO_DONE, 2);
    expectSafe([&](VexoValue** out) { return vexoMake(ofApple, nullptr, 0, out); }, VEXO_DONE, 2);
    expectSafe([&](VexoValue** out) { return vexoMake(ofApple, appleOperands, 2, out); }, VEXO_DONE,
               4);
    expectSafe([&](VexoValue** out) { return vexoMake(ofTree, treeOperands, 2, out); }, VEXO_DONE,
               5);
    expectSafe([&](VexoValue** out) { return vexoCopy(longText_, out); }, VEXO_DONE, 3);
    expectSafe([&](VexoValue** out) { return vexoCopy(tree_, out); }, VEXO_DONE, 1);
    expectSafe([&](VexoValue** out) { return vexoText(apple_, out); }, VEXO_DONE, 3);
    expectSafe([&](VexoValue** out) { return vexoText(tree_, out); }, VEXO_DONE, 3);
}

TEST_P(ScriptFailureTest, lookingAtSlots) {
    int flagOut = 77;
    std::uint64_t numberOut = 77;
    std::uint32_t hashOut = 77;
    // Answers without memory; what fails, needs it for its message.
    expectSafe([&](VexoValue**) { return vexoToNumber(number_, &numberOut); }, VEXO_DONE, 0);
    expectSafe([&](VexoValue**) { return vexoToBool(tree_, &flagOut); }, VEXO_WRONG_TYPE, 1);
    expectSafe([&](VexoValue**) { return vexoTruth(apple_, &flagOut); }, VEXO_DONE, 1);
    expectSafe([&](VexoValue**) { return vexoEqual(apple_, apple_, &flagOut); }, VEXO_DONE, 1);
    expectSafe([&](VexoValue**) { return vexoEqual(apple_, tree_, &flagOut); }, VEXO_WRONG_TYPE, 1);
    expectSafe([&](VexoValue**) { return vexoLess(apple_, apple_, &flagOut); }, VEXO_DONE, 1);
    expectSafe([&](VexoValue**) { return vexoLess(tree_, tree_, &flagOut); }, VEXO_NOT_ALLOWED, 1);
    expectSafe([&](VexoValue**) { return vexoHash(apple_, &hashOut); }, VEXO_DONE, 0);
}

TEST_P(ScriptFailureTest, attributesAndFunctions) {
    expectSafe([&](VexoValue** out) { return vexoGet(tree_, "name", out); }, VEXO_DONE, 4);
    expectSafe([&](VexoValue** out) { return vexoGet(tree_, "neighbour", out); }, VEXO_DONE, 1);
    expectSafe([&](VexoValue** out) { return vexoGet(tree_, "no such attribute", out); },
               VEXO_NO_SUCH_ATTRIBUTE, 1);
    expectSafe([&](VexoValue**) { return vexoSet(tree_, "apple", tree_); }, VEXO_WRONG_TYPE, 1);
    VexoValue const* const weighed[] = {apple_, number_};
    expectSafe([&](VexoValue** out) { return vexoCall(tree_, "weigh", weighed, 2, out); },
               VEXO_DONE, 5);
    expectSafe([&](VexoValue** out) { return vexoCall(tree_, "weigh", weighed, 1, out); },
               VEXO_WRONG_TYPE, 3);
    VexoModule const* const orchard = vexoTypeModule(typeOf("Orchard::Tree"));
    expectSafe(
        [&](VexoValue** out) { return vexoCallFunction(orchard, "sum", weighed + 1, 1, out); },
        VEXO_WRONG_TYPE, 3);
    expectSafe([&](VexoValue** out) { return vexoCallFunction(orchard, "frost", nullptr, 0, out); },
               VEXO_FAILED, 1);
}

TEST_P(ScriptFailureTest, aWriteThatFailsWritesNothing) {
    Slot const other = string(std::string(200, 'o'));
    std::string const before = textOf(get(tree_, "name"));
    bool written = false;
    expectSafe(
        [&](VexoValue**) {
            VexoStatus const status = vexoSet(tree_, "name", other);
            written = status == VEXO_DONE;
            return status;
        },
        VEXO_DONE, 2);
    EXPECT_TRUE(written);
    EXPECT_EQ(stringIn(get(tree_, "name")), std::string(200, 'o'));
}

TEST_P(ScriptFailureTest, collections) {
    int flagOut = 77;
    std::uint64_t numberOut = 77;
    Slot const key = apple(99);
    expectSafe([&](VexoValue** out) { return vexoLookUp(tree_, "apples", apple_, out); }, VEXO_DONE,
               2);
    expectSafe([&](VexoValue**) { return vexoContains(tree_, "apples", key, &flagOut); }, VEXO_DONE,
               1);
    expectSafe([&](VexoValue**) { return vexoErase(tree_, "apples", key, &flagOut); }, VEXO_DONE,
               1);
    expectSafe([&](VexoValue**) { return vexoCount(tree_, "apples", &numberOut); }, VEXO_DONE, 1);
    expectSafe([&](VexoValue**) { return vexoCapacity(tree_, "apples", &numberOut); }, VEXO_DONE,
               1);
    expectSafe([&](VexoValue** out) { return vexoKeyAt(tree_, "apples", 0, out); }, VEXO_DONE, 3);
    expectSafe([&](VexoValue** out) { return vexoKeyAt(tree_, "apples", 5, out); },
               VEXO_OUT_OF_RANGE, 2);
    expectSafe([&](VexoValue**) { return vexoPut(tree_, "apples", key, number_); }, VEXO_DONE, 2);
}

TEST_P(ScriptFailureTest, anErasureThatCannotTellErasesNothing) {
    int flagOut = 77;
    std::uint64_t entries = 0;
    expectSafe([&](VexoValue**) { return vexoErase(tree_, "apples", apple_, &flagOut); }, VEXO_DONE,
               1);
    EXPECT_EQ(flagOut, 1);
    EXPECT_EQ(vexoCount(tree_, "apples", &entries), VEXO_DONE);
    EXPECT_EQ(entries, 0U);
}

TEST_P(ScriptFailureTest, aMessageWithoutRoomIsReplaced) {
    auto const convert = [] {
        VexoValue* out = nullptr;
        VexoStatus const status = vexoFromText(vexoFindType("U32"), "x", 1, &out);
        EXPECT_EQ(out, nullptr);
        return status;
    };
    EXPECT_EQ(convert(), VEXO_OUT_OF_RANGE);
    std::string const message = vexoMessage();
    ASSERT_GT(message.size(), 30U) << "so short a message needs no memory";
    bool replaced = false;
    bool told = false;
    auto const failEach = [&] {
        for (std::uint64_t site = 1; !told; ++site) {
            VexoStatus status = VEXO_DONE;
            {
                AllocationFailure const failure(site, GetParam());
                status = convert();
                told = !failure.hasHappened();
            }
            EXPECT_EQ(vexoMessage(), told ? message : "out of memory") << site;
            replaced = replaced || (!told && status == VEXO_OUT_OF_RANGE);
        }
    };
    // A message is its thread's: in a new one there is no room left over from another message.
    std::thread(failEach).join();
    EXPECT_TRUE(replaced) << "the status came through without its message";
}

TEST_P(ScriptFailureTest, listingsEndAndLookUpsFindNothing) {
    VexoType const* const type = typeOf("Orchard::Tree");
    VexoModule const* const orchard = vexoTypeModule(type);
    AllocationFailure const failure(1, AfterFailure::fail);
    EXPECT_EQ(vexoModule(0), nullptr);
    EXPECT_EQ(vexoModuleType(orchard, 0), nullptr);
    EXPECT_EQ(vexoTypeAttribute(type, 0), nullptr);
    EXPECT_EQ(vexoFindType("Orchard::A name that is longer than a short text"), nullptr);
    EXPECT_EQ(vexoTypeAttributeNumber(type, "a name that is longer than a short text"), 0U);
    EXPECT_EQ(vexoLiveAllocationsOf("Orchard::A name that is longer than a short text"), 0U);
    EXPECT_EQ(vexoTraceLevelsIs("Orchard/3,Another handle with a long name/4"), VEXO_NO_MEMORY);
}

}  // namespace
