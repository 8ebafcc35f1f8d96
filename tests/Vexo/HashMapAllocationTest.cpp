#include <Vexo/HashMap.h>

#include <tests/Support/AllocationFailure.h>
#include <tests/Vexo/HashMapEntries.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <stdexcept>
#include <vector>

namespace {

using TestSupport::AfterFailure;
using TestSupport::AllocationCount;
using TestSupport::failEachAllocation;
using Vexo::HashMap;
using Vexo::String;
using Vexo::U32;
using VexoTest::MixedPolicy;
using VexoTest::NumberEntry;
using VexoTest::TextEntry;
using VexoTest::TextPolicy;

using Map = HashMap<NumberEntry, MixedPolicy>;
using TextMap = HashMap<TextEntry, TextPolicy>;

/** A map of the keys 0 to `entries` - 1. */
Map mapOf(U32 entries) {
    Map map;
    for (U32 key = 0; key < entries; ++key) {
        map.insert(key, {key, key + 1});
    }
    return map;
}

void expectIsMapOf(U32 entries, Map const& map) {
    ASSERT_EQ(map.size(), entries);
    U32 key = 0;
    for (NumberEntry const& entry : map) {
        ASSERT_EQ(entry.key, key++);
    }
    for (key = 0; key < entries; ++key) {
        ASSERT_NE(map.find(key), nullptr) << key;
        ASSERT_EQ(map.find(key)->value, key + 1);
    }
    ASSERT_EQ(map.find(entries), nullptr);
}

TEST(HashMapAllocationTest, theReservedInsertionsDoNotAllocate) {
    for (U32 const before : {0U, 1U, 6U, 7U, 100U}) {
        for (U32 const more : {0U, 1U, 5U, 6U, 7U, 12U, 13U, 1000U}) {
            SCOPED_TRACE(testing::Message() << before << " entries and " << more << " more");
            Map map = mapOf(before);
            map.reserve(more);
            std::size_t const capacity = map.capacity();
            ASSERT_GE(capacity, before + more);
            AllocationCount const allocations;
            for (U32 key = before; key < before + more; ++key) {
                map.insert(key, {key, key + 1});
            }
            EXPECT_EQ(allocations.value(), 0U);
            EXPECT_EQ(map.capacity(), capacity);
            expectIsMapOf(before + more, map);
        }
    }
}

TEST(HashMapAllocationTest, reservingWhatIsThereDoesNotAllocate) {
    Map map = mapOf(20);
    map.reserve(50);
    std::size_t const capacity = map.capacity();
    AllocationCount const allocations;
    map.reserve(50);
    map.reserve(1);
    map.reserve(0);
    EXPECT_EQ(allocations.value(), 0U);
    EXPECT_EQ(map.capacity(), capacity);
}

TEST(HashMapAllocationTest, insertionsAllocateAConstantNumberOfTimesPerDoubling) {
    AllocationCount const allocations;
    Map const map = mapOf(100'000);
    // 17 doublings to 131072 entries, and as many of the table.
    EXPECT_LE(allocations.value(), 2 * 18U);
    EXPECT_EQ(map.size(), 100'000U);
}

TEST(HashMapAllocationTest, findingErasingAndClearingDoNotAllocate) {
    Map map = mapOf(1000);
    AllocationCount const allocations;
    for (U32 key = 0; key < 1500; ++key) {
        map.find(key);
    }
    for (U32 key = 0; key < 1500; key += 2) {
        map.erase(key);
    }
    map.clear();
    EXPECT_EQ(allocations.value(), 0U);
    EXPECT_TRUE(map.empty());
}

TEST(HashMapAllocationTest, anInsertionThatFailsChangesNothing) {
    for (AfterFailure const after : {AfterFailure::succeed, AfterFailure::fail}) {
        for (U32 entries = 0; entries < 200; ++entries) {
            SCOPED_TRACE(testing::Message() << entries << " entries");
            Map map = mapOf(entries);
            failEachAllocation(
                [&] {
                    map.insert(entries, {entries, entries + 1});
                },
                [&] { expectIsMapOf(entries, map); }, after);
            expectIsMapOf(entries + 1, map);
        }
    }
}

TEST(HashMapAllocationTest, theFirstInsertionHasTwoSitesThatMayFail) {
    Map map;
    EXPECT_EQ(failEachAllocation(
                  [&] {
                      map.insert(0, {0, 1});
                  },
                  [&] { expectIsMapOf(0, map); }),
              2U);
    expectIsMapOf(1, map);
}

TEST(HashMapAllocationTest, aReservationThatFailsChangesNothing) {
    Map map = mapOf(10);
    failEachAllocation([&] { map.reserve(1000); }, [&] { expectIsMapOf(10, map); });
    expectIsMapOf(10, map);
    EXPECT_GE(map.capacity(), 1010U);
}

TEST(HashMapAllocationTest, anImpossibleReservationIsRefused) {
    for (U32 const entries : {0U, 10U}) {
        for (std::size_t const more : {SIZE_MAX, SIZE_MAX - 5, SIZE_MAX / 2, SIZE_MAX / 4,
                                       SIZE_MAX / sizeof(NumberEntry), SIZE_MAX / 32}) {
            Map map = mapOf(entries);
            EXPECT_THROW(map.reserve(more), std::bad_alloc) << entries << " and " << more;
            expectIsMapOf(entries, map);
        }
    }
}

TEST(HashMapAllocationTest, entriesThatAllocateAreInsertedWholeOrNotAtAll) {
    TextMap map;
    String const prefix = "a text that is too long for a small string ";
    for (U32 number = 0; number < 30; ++number) {
        String const key = prefix + std::to_string(number);
        failEachAllocation(
            [&] {
                map.insert(key, {key, number});
            },
            [&] {
                ASSERT_EQ(map.size(), number);
                ASSERT_EQ(map.find(key), nullptr);
                for (U32 other = 0; other < number; ++other) {
                    ASSERT_NE(map.find(prefix + std::to_string(other)), nullptr);
                }
            });
        ASSERT_EQ(map.find(key)->value, number);
    }
}

/** Hashes until it is told to throw. */
struct ThrowingPolicy : MixedPolicy {
    static inline bool throws_ = false;
    static U32 hash(U32 key) {
        if (throws_) {
            throw std::runtime_error("no hash");
        }
        return MixedPolicy::hash(key);
    }
};

TEST(HashMapAllocationTest, aHashThatThrowsChangesNothing) {
    HashMap<NumberEntry, ThrowingPolicy> map;
    map.insert(1, {1, 10});
    map.insert(2, {2, 20});
    ThrowingPolicy::throws_ = true;
    EXPECT_THROW(map.insert(3, {3, 30}), std::runtime_error);
    EXPECT_THROW(map.erase(1), std::runtime_error);
    ThrowingPolicy::throws_ = false;
    EXPECT_EQ(map.size(), 2U);
    EXPECT_EQ(map.find(3), nullptr);
    map.insert(3, {3, 31});
    EXPECT_EQ(map.find(3)->value, 31U);
    EXPECT_EQ(map.find(1)->value, 10U);
    EXPECT_EQ(map.size(), 3U);
}

}  // namespace
