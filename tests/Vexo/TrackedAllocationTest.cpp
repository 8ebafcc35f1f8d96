#include <Vexo/TrackedAllocation.h>

#include <tests/Support/AllocationFailure.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Vexo/CountedTypes.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <new>
#include <stdexcept>

namespace {

using Vexo::AllocationCounts;
using Vexo::allocationCounts;
using Vexo::FwkType;
using Vexo::liveAllocations;
using Vexo::String;
using Vexo::TrackedAllocation;
using VexoTest::testModule;

/** What has been added to `before`. */
AllocationCounts since(AllocationCounts const& before, String const& typeName) {
    AllocationCounts const now = allocationCounts(typeName);
    return {now.allocations - before.allocations, now.releases - before.releases,
            now.bytesAllocated - before.bytesAllocated, now.bytesReleased - before.bytesReleased};
}

class Crate : public TrackedAllocation<Crate> {
public:
    virtual ~Crate() = default;
    static constexpr FwkType fwkType_{"VexoTest::Crate", testModule, 10};

private:
    [[maybe_unused]] std::array<char, 40> content_{};
};

class LargeCrate : public Crate {
    [[maybe_unused]] std::array<char, 400> more_{};
};

class alignas(256) AlignedCrate : public Crate {
    [[maybe_unused]] char mark_ = 'x';
};

class FragileCrate : public Crate {
public:
    FragileCrate() { throw std::runtime_error("broken"); }

private:
    [[maybe_unused]] std::array<char, 77> more_{};
};

class alignas(128) FragileAlignedCrate : public Crate {
public:
    FragileAlignedCrate() { throw std::runtime_error("broken"); }
};

class TrackedAllocationTest : public TestSupport::LeakCheck {
protected:
    AllocationCounts counted() const { return since(before_, "VexoTest::Crate"); }

private:
    AllocationCounts const before_ = allocationCounts("VexoTest::Crate");
};

TEST_F(TrackedAllocationTest, countsObjectsAndBytes) {
    auto first = std::make_unique<Crate>();
    auto second = std::make_unique<Crate>();
    EXPECT_EQ(counted(), (AllocationCounts{2, 0, 2 * sizeof(Crate), 0}));
    first.reset();
    EXPECT_EQ(counted(), (AllocationCounts{2, 1, 2 * sizeof(Crate), sizeof(Crate)}));
    EXPECT_EQ(counted().live(), 1U);
    EXPECT_EQ(counted().liveBytes(), sizeof(Crate));
    second.reset();
    EXPECT_EQ(counted(), (AllocationCounts{2, 2, 2 * sizeof(Crate), 2 * sizeof(Crate)}));
    EXPECT_EQ(counted().live(), 0U);
    EXPECT_EQ(counted().liveBytes(), 0U);
}

TEST_F(TrackedAllocationTest, aDerivedClassCountsForItsBaseWithItsOwnSize) {
    std::unique_ptr<Crate> crate = std::make_unique<LargeCrate>();
    EXPECT_EQ(counted(), (AllocationCounts{1, 0, sizeof(LargeCrate), 0}));
    crate.reset();  // through the base
    EXPECT_EQ(counted(), (AllocationCounts{1, 1, sizeof(LargeCrate), sizeof(LargeCrate)}));
}

TEST_F(TrackedAllocationTest, anOverAlignedClassStandsOnItsBoundary) {
    std::unique_ptr<Crate> crate = std::make_unique<AlignedCrate>();
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(dynamic_cast<void*>(crate.get())) % 256, 0U);
    EXPECT_EQ(counted(), (AllocationCounts{1, 0, sizeof(AlignedCrate), 0}));
    crate.reset();
    EXPECT_EQ(counted(), (AllocationCounts{1, 1, sizeof(AlignedCrate), sizeof(AlignedCrate)}));
}

TEST_F(TrackedAllocationTest, aConstructorThatThrowsIsUndoneBeforeTheExceptionLeaves) {
    std::uint64_t liveWhenCaught = ~0U;
    std::uint64_t const before = liveAllocations();
    try {
        Crate const* const crate = new FragileCrate;
        FAIL() << "made at " << crate;
    } catch (std::runtime_error const&) {
        liveWhenCaught = liveAllocations();
    }
    EXPECT_EQ(liveWhenCaught, before);
    EXPECT_EQ(counted(), (AllocationCounts{1, 1, sizeof(FragileCrate), sizeof(FragileCrate)}));
}

TEST_F(TrackedAllocationTest, aConstructorOfAnOverAlignedClassThatThrowsIsUndoneToo) {
    EXPECT_THROW(static_cast<void>(new FragileAlignedCrate), std::runtime_error);
    EXPECT_EQ(counted(),
              (AllocationCounts{1, 1, sizeof(FragileAlignedCrate), sizeof(FragileAlignedCrate)}));
}

TEST_F(TrackedAllocationTest, anAllocationThatFailsIsNotCounted) {
    std::unique_ptr<Crate> crate;
    EXPECT_EQ(TestSupport::failEachAllocation([&] { crate.reset(new Crate); },
                                              [&] { EXPECT_EQ(counted(), AllocationCounts{}); }),
              1U);
    std::unique_ptr<Crate> aligned;
    EXPECT_EQ(TestSupport::failEachAllocation([&] { aligned.reset(new AlignedCrate); },
                                              [&] { EXPECT_EQ(counted().live(), 1U); }),
              1U);
    EXPECT_EQ(counted().live(), 2U);
}

TEST(AlignedStorageTest, aSizeThatNoMemoryHasIsRefused) {
    auto const alignment = static_cast<std::align_val_t>(64);
    for (std::size_t const tooMuch : {SIZE_MAX, SIZE_MAX - 63}) {
        EXPECT_THROW(Vexo::Detail::alignedStorage(tooMuch, alignment), std::bad_alloc) << tooMuch;
    }
}

TEST(AllocationCountsTest, areEqualWhenAllOfThemAre) {
    AllocationCounts const counts{4, 3, 2, 1};
    EXPECT_EQ(counts, (AllocationCounts{4, 3, 2, 1}));
    for (AllocationCounts const& other :
         {AllocationCounts{0, 3, 2, 1}, AllocationCounts{4, 0, 2, 1}, AllocationCounts{4, 3, 0, 1},
          AllocationCounts{4, 3, 2, 0}}) {
        EXPECT_NE(counts, other);
    }
}

TEST_F(TrackedAllocationTest, anObjectInStorageOfTheCallerIsNotCounted) {
    alignas(Crate) std::array<unsigned char, sizeof(Crate)> storage{};
    Crate* const crate = new (storage.data()) Crate;
    EXPECT_EQ(static_cast<void*>(crate), storage.data());
    crate->~Crate();
    Crate const onTheStack;
    EXPECT_EQ(counted(), AllocationCounts{});
}

TEST_F(TrackedAllocationTest, liveAllocationsIsTheSumOfAllTypes) {
    std::uint64_t const before = liveAllocations();
    auto const crate = std::make_unique<Crate>();
    auto const body = std::make_unique<VexoTest::Body>();
    EXPECT_EQ(liveAllocations(), before + 2);
    std::uint64_t sum = 0;
    for (Vexo::TypeAllocationCounts const& type : allocationCounts()) {
        sum += type.counts.live();
    }
    EXPECT_EQ(sum, before + 2);
}

class Never : public TrackedAllocation<Never> {
public:
    static constexpr FwkType fwkType_{"VexoTest::Never", testModule, 11};
};
class Once : public TrackedAllocation<Once> {
public:
    static constexpr FwkType fwkType_{"VexoTest::Once", testModule, 12};
};

TEST_F(TrackedAllocationTest, deletingNullCountsNothing) {
    AllocationCounts const before = allocationCounts("VexoTest::Once");
    Once const* const none = nullptr;
    delete none;
    EXPECT_EQ(allocationCounts("VexoTest::Once"), before);
}

std::ptrdiff_t entriesOf(String const& typeName) {
    return std::ranges::count(allocationCounts(), typeName, &Vexo::TypeAllocationCounts::typeName);
}

TEST_F(TrackedAllocationTest, aTypeIsListedOnceFromItsFirstAllocationOn) {
    Never const onTheStack;
    static_cast<void>(onTheStack);
    EXPECT_EQ(entriesOf("VexoTest::Never"), 0);
    EXPECT_EQ(allocationCounts("VexoTest::Never"), AllocationCounts{});
    EXPECT_EQ(allocationCounts(""), AllocationCounts{});
    for (int round = 0; round < 3; ++round) {
        delete new Once;
        EXPECT_EQ(entriesOf("VexoTest::Once"), 1);
    }
    EXPECT_EQ(allocationCounts("VexoTest::Once").live(), 0U);
    EXPECT_GE(allocationCounts("VexoTest::Once").releases, 3U);
}

TEST(AllocationRecordTest, tellsItsTypeAndItsCounts) {
    static constinit Vexo::AllocationRecord record(Never::fwkType_);
    EXPECT_EQ(&record.type(), &Never::fwkType_);
    EXPECT_EQ(record.counts(), AllocationCounts{});
}

TEST(AllocationRecordTest, countsTheUsualBytesAndThoseBeyond) {
    static constexpr FwkType oddType("VexoTest::Odd", testModule, 14);
    static constinit Vexo::AllocationRecord record(oddType, 24);
    AllocationCounts const before = record.counts();
    record.allocated(0);
    record.allocated(8);
    record.released(8);
    AllocationCounts const one = record.counts();
    EXPECT_EQ(one.allocations - before.allocations, 2U);
    EXPECT_EQ(one.bytesAllocated - before.bytesAllocated, 24U + 32U);
    EXPECT_EQ(one.live(), 1U);
    EXPECT_EQ(one.liveBytes(), 24U);
    record.released(0);
    EXPECT_EQ(record.counts().live(), 0U);
    EXPECT_EQ(record.counts().liveBytes(), 0U);
    EXPECT_EQ(allocationCounts("VexoTest::Odd"), record.counts());
}

}  // namespace
