#include <tests/Support/ThreadSafeMode.h>
#include <tests/Support/Threads.h>
#include <tests/Vexo/ScriptSlots.h>

namespace {

using namespace ScriptTests;

class ScriptThreadsTest : public TestSupport::LeakCheck {
private:
    TestSupport::ThreadSafeMode const mode_;
};

TEST_F(ScriptThreadsTest, eachThreadHasItsOwnMessage) {
    Slot const oak = tree();
    VexoValue* out = nullptr;
    EXPECT_EQ(vexoGet(oak, "nothing", &out), VEXO_NO_SUCH_ATTRIBUTE);
    std::string const here = vexoMessage();
    TestSupport::inThreads(4, [&](std::size_t index) {
        EXPECT_STREQ(vexoMessage(), "");
        Slot mine;
        EXPECT_EQ(vexoCopy(oak, mine.out()), VEXO_DONE);
        std::string const name = "attribute of thread " + std::to_string(index);
        for (int round = 0; round < 100; ++round) {
            VexoValue* none = nullptr;
            EXPECT_EQ(vexoGet(mine, name.c_str(), &none), VEXO_NO_SUCH_ATTRIBUTE);
            EXPECT_EQ(vexoMessage(), "Orchard::Tree has no attribute '" + name + "'");
        }
    });
    EXPECT_EQ(vexoMessage(), here);
    EXPECT_EQ(here, "Orchard::Tree has no attribute 'nothing'");
}

TEST_F(ScriptThreadsTest, threadsListAskAndReadTextsOfOneObjectAtOnce) {
    Slot const oak = tree(11);
    TestSupport::inThreads(4, [&](std::size_t index) {
        for (int round = 0; round < 50; ++round) {
            VexoType const* const type = vexoFindType("Orchard::Tree");
            EXPECT_EQ(vexoTypeAttributeNumber(type, "height"), 3U);
            Slot mine;
            EXPECT_EQ(vexoCopy(oak, mine.out()), VEXO_DONE);
            std::string const name = textOf(mine);
            Slot again;
            EXPECT_EQ(vexoFromText(type, name.data(), name.size(), again.out()), VEXO_DONE);
            EXPECT_EQ(numberIn(get(again, "height")), 11U);
            Slot const own = tree(index);
            EXPECT_EQ(vexoSet(own, "neighbour", mine), VEXO_DONE);
            EXPECT_EQ(vexoIsNull(get(own, "neighbour")), 0);
        }
    });
    EXPECT_EQ(numberIn(get(oak, "references")), 1U);
}

}  // namespace
