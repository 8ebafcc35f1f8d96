#include <Vexo/ObjectNames.h>

#include <Vexo/Strep.h>

#include <tests/Support/LeakCheck.h>
#include <tests/Support/ThreadSafeMode.h>
#include <tests/Support/Threads.h>
#include <tests/Vexo/CountedTypes.h>

#include <array>
#include <atomic>
#include <mutex>

namespace {

using TestSupport::inThreads;
using TestSupport::ThreadSafeMode;
using Vexo::CharRange;
using Vexo::Ptr;
using Vexo::PtrInterface;
using Vexo::String;
using Vexo::valueToStrep;
using VexoTest::Body;

constexpr std::size_t threads = 4;
constexpr int rounds = 2000;

/** Counts its ends for several threads. */
class Named : public Body {
public:
    explicit Named(std::atomic<int>& ends) : ends_(&ends) {}
    ~Named() override { ++*ends_; }

private:
    std::atomic<int>* ends_;
};

/** The text another thread shall read next. */
class Board {
public:
    String exchanged(String const& text) {
        std::lock_guard const lock(mutex_);
        return std::exchange(text_, text);
    }

private:
    std::mutex mutex_;
    String text_ = "None";
};

/** The object of that name, or null when it is gone. */
Ptr<PtrInterface> readIfAlive(String const& text) {
    CharRange range(text);
    try {
        return Vexo::sequenceToValueOfPtr(range);
    } catch (Vexo::RangeException const&) {
        return nullptr;
    }
}

class ObjectNamesThreadsTest : public TestSupport::LeakCheck {
private:
    ThreadSafeMode const mode_;
};

TEST_F(ObjectNamesThreadsTest, namesAreWrittenReadAndDroppedAtOnce) {
    std::atomic<int> ends{0};
    Board board;
    inThreads(threads, [&](std::size_t) {
        for (int round = 0; round < rounds; ++round) {
            Ptr<Named> const own(new Named(ends));
            String const name = valueToStrep(own);
            EXPECT_EQ(readIfAlive(name), own);
            // The other thread may be dropping its object just now.
            if (Ptr<PtrInterface> const other = readIfAlive(board.exchanged(name))) {
                EXPECT_EQ(other->fwkType(), &Body::fwkType_);
                EXPECT_GE(other->references(), 1U);
            }
        }
    });
    EXPECT_EQ(ends, static_cast<int>(threads) * rounds);
}

TEST_F(ObjectNamesThreadsTest, oneObjectIsNamedAndFoundByAll) {
    std::atomic<int> ends{0};
    Ptr<Named> shared(new Named(ends));
    inThreads(threads, [&](std::size_t) {
        for (int round = 0; round < rounds; ++round) {
            EXPECT_EQ(readIfAlive(valueToStrep(shared)), shared);
        }
    });
    EXPECT_EQ(shared->references(), 1U);
    shared = nullptr;
    EXPECT_EQ(ends, 1);
}

TEST_F(ObjectNamesThreadsTest, anObjectIsFoundOrRefusedWhileItsLastReferenceGoes) {
    for (int round = 1; round <= 300; ++round) {
        std::atomic<int> ends{0};
        Ptr<Named> object(new Named(ends));
        String const name = valueToStrep(object);
        inThreads(threads, [&](std::size_t index) {
            if (index == 0) {
                object = nullptr;
            } else if (Ptr<PtrInterface> const found = readIfAlive(name)) {
                EXPECT_GE(found->references(), 1U);
                EXPECT_EQ(ends, 0);
            }
        });
        ASSERT_EQ(ends, 1);
        ASSERT_EQ(readIfAlive(name), nullptr);
    }
}

TEST_F(ObjectNamesThreadsTest, inPlainModeThreadsMayNameObjectsOfTheirOwn) {
    ThreadSafeMode const plain(false);
    std::atomic<int> ends{0};
    inThreads(threads, [&](std::size_t) {
        for (int round = 0; round < rounds; ++round) {
            Ptr<Named> const own(new Named(ends));
            EXPECT_EQ(readIfAlive(valueToStrep(own)), own);
        }
    });
    EXPECT_EQ(ends, static_cast<int>(threads) * rounds);
}

}  // namespace
