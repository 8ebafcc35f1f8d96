#include <Vexo/TrackedAllocation.h>

#include <tests/Support/LeakCheck.h>
#include <tests/Support/Threads.h>
#include <tests/Vexo/CountedTypes.h>

#include <array>
#include <atomic>
#include <memory>
#include <utility>
#include <vector>

namespace {

using TestSupport::inThreads;
using Vexo::AllocationCounts;
using Vexo::allocationCounts;
using Vexo::FwkType;
using Vexo::TrackedAllocation;
using VexoTest::testModule;

constexpr std::size_t threads = 4;
constexpr std::size_t rounds = 5000;

/** A type of its own for each number; all go by one name. */
template <std::size_t number>
class Parcel : public TrackedAllocation<Parcel<number>> {
public:
    static constexpr FwkType fwkType_{"VexoTest::Parcel", testModule, 20 + number};
};

class Packet : public TrackedAllocation<Packet> {
public:
    static constexpr FwkType fwkType_{"VexoTest::Packet", testModule, 13};
};

class TrackedAllocationThreadsTest : public TestSupport::LeakCheck {};

TEST_F(TrackedAllocationThreadsTest, countsOfManyThreadsAreExact) {
    AllocationCounts const before = allocationCounts("VexoTest::Packet");
    inThreads(threads, [](std::size_t) {
        for (std::size_t round = 0; round < rounds; ++round) {
            delete new Packet;
        }
    });
    AllocationCounts const after = allocationCounts("VexoTest::Packet");
    EXPECT_EQ(after.allocations, before.allocations + threads * rounds);
    EXPECT_EQ(after.releases, before.releases + threads * rounds);
    EXPECT_EQ(after.bytesAllocated, before.bytesAllocated + threads * rounds * sizeof(Packet));
    EXPECT_EQ(after.bytesReleased, before.bytesReleased + threads * rounds * sizeof(Packet));
}

constexpr std::size_t parcelTypes = 100;

template <std::size_t... numbers>
void allocateEachParcelOnce(std::index_sequence<numbers...>) {
    (delete new Parcel<numbers>, ...);
}

TEST_F(TrackedAllocationThreadsTest, aTypeFirstAllocatedBySeveralThreadsIsListedOnce) {
    inThreads(threads,
              [](std::size_t) { allocateEachParcelOnce(std::make_index_sequence<parcelTypes>()); });
    std::size_t entries = 0;
    for (Vexo::TypeAllocationCounts const& type : allocationCounts()) {
        if (type.typeName == "VexoTest::Parcel") {
            ++entries;
            EXPECT_EQ(type.counts.allocations % threads, 0U);
        }
    }
    EXPECT_EQ(entries, parcelTypes);
}

TEST_F(TrackedAllocationThreadsTest, anObjectMayBeReleasedByAnotherThread) {
    Vexo::U64 const liveBefore = allocationCounts("VexoTest::Packet").live();
    std::array<std::vector<std::unique_ptr<Packet>>, threads> made;
    inThreads(threads, [&](std::size_t index) {
        for (std::size_t round = 0; round < rounds; ++round) {
            made[index].push_back(std::make_unique<Packet>());
        }
    });
    EXPECT_EQ(allocationCounts("VexoTest::Packet").live(), liveBefore + threads * rounds);
    inThreads(threads, [&](std::size_t index) { made[(index + 1) % threads].clear(); });
    EXPECT_EQ(allocationCounts("VexoTest::Packet").live(), liveBefore);
}

TEST_F(TrackedAllocationThreadsTest, countsMayBeReadWhileOthersAllocate) {
    std::atomic<std::size_t> running{threads - 1};
    inThreads(threads, [&](std::size_t index) {
        if (index != 0) {
            for (std::size_t round = 0; round < rounds; ++round) {
                delete new Packet;
            }
            --running;
            return;
        }
        while (running != 0) {
            AllocationCounts const counts = allocationCounts("VexoTest::Packet");
            EXPECT_LE(counts.releases, counts.allocations);
        }
    });
}

}  // namespace
