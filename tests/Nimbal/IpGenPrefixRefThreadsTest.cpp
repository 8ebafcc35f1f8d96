#include <tests/Support/LeakCheck.h>
#include <tests/Support/ThreadSafeMode.h>
#include <tests/Support/Threads.h>

#include <Nimbal/IpGenPrefixRef.h>

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

using Nimbal::IpAddr;
using Nimbal::IpGenPrefix;
using Nimbal::IpGenPrefixRef;
using Nimbal::U32;
using TestSupport::inThreads;
using Vexo::Ptr;

constexpr U32 threadCount = 4;

class IpGenPrefixRefThreadsTest : public TestSupport::LeakCheck {
protected:
    TestSupport::ThreadSafeMode const mode_;
};

TEST_F(IpGenPrefixRefThreadsTest, aHolderSharedByThreadsKeepsItsCount) {
    auto const holder = IpGenPrefixRef::IpGenPrefixRefIs(IpGenPrefix(IpAddr(0x0a000000), 8));
    std::array<U32, threadCount> lengths{};
    inThreads(threadCount, [&](std::size_t self) {
        std::vector<Ptr<IpGenPrefixRef>> references;
        for (int i = 0; i < 2000; ++i) {
            references.push_back(holder);
            lengths[self] += references.back()->prefix().len();
        }
    });
    EXPECT_EQ(holder->references(), 1U);
    EXPECT_EQ(lengths, (std::array<U32, threadCount>{16000, 16000, 16000, 16000}));
}

TEST_F(IpGenPrefixRefThreadsTest, allocationsAndReleasesOfSeveralThreadsAllCount) {
    constexpr U32 each = 1000;
    auto const before = Vexo::allocationCounts("Nimbal::IpGenPrefixRef");
    std::array<std::vector<Ptr<IpGenPrefixRef>>, threadCount> kept;
    inThreads(threadCount, [&](std::size_t self) {
        for (U32 i = 0; i < each; ++i) {
            auto const holder = IpGenPrefixRef::IpGenPrefixRefIs(IpGenPrefix(IpAddr(i), 32));
            if (i % 2 == 0) {
                kept[self].push_back(holder);
            }
        }
    });
    auto const between = Vexo::allocationCounts("Nimbal::IpGenPrefixRef");
    EXPECT_EQ(between.allocations, before.allocations + each * threadCount);
    EXPECT_EQ(between.live(), before.live() + each * threadCount / 2);
    EXPECT_EQ(between.liveBytes(),
              before.liveBytes() + each * threadCount / 2 * sizeof(IpGenPrefixRef));
    // Each thread releases what its neighbour made.
    inThreads(threadCount, [&](std::size_t self) { kept[(self + 1) % threadCount].clear(); });
    EXPECT_EQ(Vexo::allocationCounts("Nimbal::IpGenPrefixRef").live(), before.live());
}

}  // namespace
