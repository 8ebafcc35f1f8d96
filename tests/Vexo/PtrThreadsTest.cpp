#include <Vexo/Ptr.h>

#include <tests/Support/LeakCheck.h>
#include <tests/Support/ThreadSafeMode.h>
#include <tests/Support/Threads.h>
#include <tests/Vexo/CountedTypes.h>

#include <array>
#include <atomic>
#include <vector>

namespace {

using TestSupport::inThreads;
using TestSupport::ThreadSafeMode;
using Vexo::Ptr;
using VexoTest::Body;

constexpr std::size_t threads = 4;
constexpr int rounds = 30000;

/** Counts its ends, and reads at its end what other threads have written into it. */
class Shared : public Vexo::PtrInterface, public Vexo::TrackedAllocation<Shared> {
public:
    explicit Shared(std::atomic<int>& ends, int* sum = nullptr) : ends_(&ends), sum_(sum) {}
    ~Shared() override {
        ++*ends_;
        if (sum_ != nullptr) {
            for (int const part : parts_) {
                *sum_ += part;
            }
        }
    }

    static constexpr Vexo::FwkType fwkType_{"VexoTest::Shared", VexoTest::testModule, 3};
    std::array<int, threads> parts_{};

private:
    std::atomic<int>* ends_;
    int* sum_;
};

class PtrThreadsTest : public TestSupport::LeakCheck {
protected:
    std::atomic<int> ends_{0};

private:
    ThreadSafeMode const mode_;
};

TEST_F(PtrThreadsTest, theCountOfASharedObjectIsExact) {
    Ptr<Shared> shared(new Shared(ends_));
    inThreads(threads, [&](std::size_t) {
        for (int round = 0; round < rounds; ++round) {
            Ptr<Shared> const copy = shared;
            Ptr<Vexo::PtrInterface> const base = copy;
            EXPECT_GE(base->references(), 3U);
        }
    });
    EXPECT_EQ(shared->references(), 1U);
    EXPECT_EQ(ends_, 0);
    shared = nullptr;
    EXPECT_EQ(ends_, 1);
}

TEST_F(PtrThreadsTest, referencesKeptByAllThreadsAreAllCounted) {
    Ptr<Shared> const shared(new Shared(ends_));
    std::array<std::vector<Ptr<Shared>>, threads> kept;
    inThreads(threads, [&](std::size_t index) {
        for (int round = 0; round < rounds; ++round) {
            kept[index].push_back(shared);
        }
    });
    EXPECT_EQ(shared->references(), 1 + threads * rounds);
    inThreads(threads, [&](std::size_t index) { kept[index].clear(); });
    EXPECT_EQ(shared->references(), 1U);
}

TEST_F(PtrThreadsTest, anObjectThatAllLetGoAtOnceEndsOnce) {
    for (int round = 1; round <= 200; ++round) {
        std::vector<Ptr<Shared>> owners(threads, Ptr<Shared>(new Shared(ends_)));
        inThreads(threads, [&](std::size_t index) { owners[index] = nullptr; });
        ASSERT_EQ(ends_, round);
    }
}

TEST_F(PtrThreadsTest, theLastOwnerSeesWhatTheOthersWrote) {
    int sum = 0;
    std::vector<Ptr<Shared>> owners(threads, Ptr<Shared>(new Shared(ends_, &sum)));
    inThreads(threads, [&](std::size_t index) {
        owners[index]->parts_[index] = static_cast<int>(index) + 1;
        owners[index] = nullptr;
    });
    EXPECT_EQ(sum, 1 + 2 + 3 + 4);
    EXPECT_EQ(ends_, 1);
}

TEST_F(PtrThreadsTest, switchingNotificationLosesNoCount) {
    Ptr<Shared> const shared(new Shared(ends_));
    inThreads(threads, [&](std::size_t index) {
        for (int round = 0; round < rounds; ++round) {
            if (index == 0) {
                shared->hasNotificationActiveIs(round % 2 == 0);
            } else {
                Ptr<Shared> const copy = shared;
            }
        }
    });
    EXPECT_EQ(shared->references(), 1U);
    EXPECT_FALSE(shared->hasNotificationActive());
}

TEST_F(PtrThreadsTest, aReferenceIsTakenBeforeTheLastOneGoesOrNotAtAll) {
    for (int round = 1; round <= 200; ++round) {
        // Storage that outlives the object's references, as that of a list of weak names does.
        class Resting : public Shared {
        public:
            using Shared::Shared;
            void zeroReferencesIs() override { ++zeros_; }
            std::atomic<int> zeros_{0};
        };
        Resting object(ends_);
        object.referencesInc();
        std::atomic<int> taken{0};
        inThreads(threads, [&](std::size_t index) {
            if (index == 0) {
                object.referencesDec();
            } else if (object.referencesIncUnlessZero()) {
                ++taken;
                object.referencesDec();
            }
        });
        ASSERT_EQ(object.references(), 0U);
        ASSERT_EQ(object.zeros_, 1) << taken << " threads took a reference";
    }
}

TEST_F(PtrThreadsTest, plainModeServesThreadsThatShareNothing) {
    ThreadSafeMode const plain(false);
    std::array<int, threads> ends{};
    inThreads(threads, [&](std::size_t index) {
        for (int round = 0; round < rounds; ++round) {
            Ptr<Body> const body(new Body(&ends[index]));
            Ptr<Body> const copy = body;
        }
    });
    EXPECT_EQ(ends, (std::array<int, threads>{rounds, rounds, rounds, rounds}));
}

}  // namespace
