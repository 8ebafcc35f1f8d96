#include <Vexo/HashMap.h>

#include <tests/Vexo/HashMapEntries.h>

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace {

using Vexo::HashMap;
using Vexo::String;
using Vexo::U32;
using VexoTest::CollidingPolicy;
using VexoTest::MixedPolicy;
using VexoTest::NumberEntry;
using VexoTest::PlainPolicy;
using VexoTest::TextEntry;
using VexoTest::TextPolicy;

using Map = HashMap<NumberEntry, MixedPolicy>;

TEST(HashMapTest, isEmptyAtFirst) {
    Map map;
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.size(), 0U);
    EXPECT_EQ(map.capacity(), 0U);
    EXPECT_EQ(map.find(1), nullptr);
    EXPECT_FALSE(map.erase(1));
    EXPECT_TRUE(map.begin() == map.end());
}

TEST(HashMapTest, findsWhatIsInIt) {
    Map map;
    NumberEntry& entry = map.insert(7, {7, 70});
    EXPECT_EQ(entry.value, 70U);
    EXPECT_EQ(map.find(7), &entry);
    EXPECT_EQ(std::as_const(map).find(7), &entry);
    EXPECT_EQ(map.find(8), nullptr);
    EXPECT_EQ(map.size(), 1U);
    EXPECT_FALSE(map.empty());
    map.find(7)->value = 71;
    EXPECT_EQ(std::as_const(map).find(7)->value, 71U);
}

TEST(HashMapTest, entryIsMadeForANewKeyOnly) {
    Map map;
    U32 made = 0;
    auto const make = [&] { return NumberEntry{7, 70 + made++}; };
    auto const [entry, added] = map.findOrInsert(7, make);
    EXPECT_TRUE(added);
    EXPECT_EQ(entry->value, 70U);
    auto const [again, addedAgain] = map.findOrInsert(7, make);
    EXPECT_FALSE(addedAgain);
    EXPECT_EQ(again, map.find(7));
    EXPECT_EQ(again->value, 70U);
    EXPECT_EQ(made, 1U);
    EXPECT_EQ(map.size(), 1U);
}

TEST(HashMapTest, erasesOnce) {
    Map map;
    map.insert(7, {7, 70});
    EXPECT_FALSE(map.erase(8));
    EXPECT_TRUE(map.erase(7));
    EXPECT_FALSE(map.erase(7));
    EXPECT_EQ(map.find(7), nullptr);
    EXPECT_TRUE(map.empty());
}

std::vector<U32> keysInOrder(Map const& map) {
    std::vector<U32> keys;
    for (NumberEntry const& entry : map) {
        keys.push_back(entry.key);
    }
    return keys;
}

TEST(HashMapTest, entriesLieInTheOrderOfTheirInsertionSaveForErasures) {
    Map map;
    for (U32 key = 1; key <= 5; ++key) {
        map.insert(key, {key, 0});
    }
    EXPECT_EQ(keysInOrder(map), (std::vector<U32>{1, 2, 3, 4, 5}));
    map.erase(2);
    EXPECT_EQ(keysInOrder(map), (std::vector<U32>{1, 5, 3, 4}));
    map.erase(4);
    EXPECT_EQ(keysInOrder(map), (std::vector<U32>{1, 5, 3}));
    map.insert(2, {2, 0});
    EXPECT_EQ(keysInOrder(map), (std::vector<U32>{1, 5, 3, 2}));
}

TEST(HashMapTest, growsInSteps) {
    constexpr U32 entries = 100'000;
    Map map;
    std::set<std::size_t> capacities;
    for (U32 key = 0; key < entries; ++key) {
        map.insert(key, {key, key});
        ASSERT_LE(map.size(), map.capacity());
        capacities.insert(map.capacity());
    }
    // From 8 cells to 262144: each step doubles the table.
    EXPECT_EQ(capacities.size(), 16U);
    EXPECT_EQ(*capacities.begin(), 6U);
    EXPECT_EQ(*capacities.rbegin(), 196608U);
    for (auto at = std::next(capacities.begin()); at != capacities.end(); ++at) {
        EXPECT_EQ(*at, 2 * *std::prev(at));
    }
    for (U32 key = 0; key < entries; ++key) {
        ASSERT_NE(map.find(key), nullptr);
    }
    EXPECT_EQ(map.find(entries), nullptr);
}

TEST(HashMapTest, shrinksByClearingAlone) {
    Map map;
    for (U32 key = 0; key < 1000; ++key) {
        map.insert(key, {key, 0});
    }
    std::size_t const capacity = map.capacity();
    for (U32 key = 0; key < 1000; ++key) {
        ASSERT_TRUE(map.erase(key));
    }
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.capacity(), capacity);
    map.clear();
    EXPECT_EQ(map.capacity(), 0U);
    EXPECT_EQ(map.find(1), nullptr);
    map.insert(1, {1, 10});
    EXPECT_EQ(map.find(1)->value, 10U);
}

TEST(HashMapTest, clearForgetsAllEntries) {
    Map map;
    for (U32 key = 0; key < 10; ++key) {
        map.insert(key, {key, 0});
    }
    map.clear();
    EXPECT_TRUE(map.empty());
    EXPECT_TRUE(map.begin() == map.end());
    for (U32 key = 0; key < 10; ++key) {
        EXPECT_EQ(map.find(key), nullptr);
        EXPECT_FALSE(map.erase(key));
    }
    map.clear();
    EXPECT_TRUE(map.empty());
}

TEST(HashMapTest, aCopyIsAMapOfItsOwn) {
    Map map;
    map.insert(1, {1, 10});
    Map copy = map;
    copy.find(1)->value = 11;
    copy.insert(2, {2, 20});
    EXPECT_EQ(map.find(1)->value, 10U);
    EXPECT_EQ(map.find(2), nullptr);
    Map const moved = std::move(copy);
    EXPECT_EQ(moved.find(2)->value, 20U);
}

TEST(HashMapTest, keysWithTheSameHashAreToldApart) {
    constexpr U32 entries = 200;
    HashMap<NumberEntry, CollidingPolicy> map;
    for (U32 key = 0; key < entries; ++key) {
        map.insert(key, {key, key * 2});
    }
    for (U32 erased = 0; erased < entries; erased += 3) {
        ASSERT_TRUE(map.erase(erased));
    }
    for (U32 key = 0; key < entries; ++key) {
        NumberEntry const* const entry = map.find(key);
        ASSERT_EQ(entry == nullptr, key % 3 == 0) << key;
        if (entry != nullptr) {
            ASSERT_EQ(entry->value, key * 2);
        }
    }
    EXPECT_EQ(map.find(entries), nullptr);
}

/**
 * Four entries in the smallest table, of 8 cells, with every choice of homes: chains of every
 * shape, those that run over the table's end among them. Then one is erased.
 */
TEST(HashMapTest, anErasureCutsNoChain) {
    for (U32 homes = 0; homes < 8 * 8 * 8 * 8; ++homes) {
        std::array<U32, 4> keys{};
        for (U32 number = 0; number < 4; ++number) {
            keys[number] = (homes >> (3 * number) & 7) + 8 * (number + 1);
        }
        for (U32 const erased : keys) {
            HashMap<NumberEntry, PlainPolicy> map;
            for (U32 const key : keys) {
                map.insert(key, {key, key});
            }
            ASSERT_EQ(map.capacity(), 6U);
            ASSERT_TRUE(map.erase(erased));
            for (U32 const key : keys) {
                NumberEntry const* const entry = map.find(key);
                ASSERT_EQ(entry != nullptr, key != erased) << "homes " << homes << " key " << key;
                ASSERT_TRUE(entry == nullptr || entry->key == key);
            }
        }
    }
}

TEST(HashMapTest, aChainOverTheTablesEndIsClosedUp) {
    HashMap<NumberEntry, PlainPolicy> map;
    for (U32 const key : {6U, 7U, 15U, 23U, 31U, 1U}) {  // cells 6, 7, 0, 1, 2, 3
        map.insert(key, {key, key});
    }
    ASSERT_EQ(map.capacity(), 6U);
    for (U32 const erased : {7U, 23U, 6U}) {
        ASSERT_TRUE(map.erase(erased));
        EXPECT_EQ(map.find(erased), nullptr);
        EXPECT_NE(map.find(15), nullptr);
        EXPECT_NE(map.find(31), nullptr);
        EXPECT_NE(map.find(1), nullptr);
    }
    EXPECT_EQ(map.size(), 3U);
}

/** Owns something and cannot be copied. */
struct OwningEntry {
    U32 key;
    std::shared_ptr<int> owned;
    OwningEntry(U32 k, std::shared_ptr<int> o) : key(k), owned(std::move(o)) {}
    OwningEntry(OwningEntry&&) = default;
    OwningEntry& operator=(OwningEntry&&) = default;
};
struct OwningPolicy {
    using Key = U32;
    static U32 hash(U32 key) { return key; }
    static U32 key(OwningEntry const& entry) { return entry.key; }
    static bool matches(OwningEntry const& entry, U32 key) { return entry.key == key; }
};

TEST(HashMapTest, letsGoOfWhatItsEntriesOwn) {
    auto const owned = std::make_shared<int>(1);
    {
        HashMap<OwningEntry, OwningPolicy> map;
        for (U32 key = 0; key < 100; ++key) {
            map.insert(key, OwningEntry(key, owned));
        }
        EXPECT_EQ(owned.use_count(), 101);
        for (U32 key = 0; key < 10; ++key) {
            map.erase(key);
            EXPECT_EQ(owned.use_count(), 100 - static_cast<long>(key));
        }
        map.clear();
        EXPECT_EQ(owned.use_count(), 1);
        map.insert(1, OwningEntry(1, owned));
    }
    EXPECT_EQ(owned.use_count(), 1);
}

TEST(HashMapTest, erasesByTheKeyInsideTheEntry) {
    HashMap<TextEntry, TextPolicy> map;
    for (U32 number = 0; number < 5; ++number) {
        String const key = "a key that is too long for a small string: " + std::to_string(number);
        map.insert(key, {key, number});
    }
    while (!map.empty()) {
        ASSERT_TRUE(map.erase(map.begin()->key));
    }
}

}  // namespace
