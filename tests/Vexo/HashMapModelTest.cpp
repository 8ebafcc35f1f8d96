#include <Vexo/HashMap.h>

#include <tests/Vexo/HashMapEntries.h>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <unordered_map>

namespace {

using Vexo::HashMap;
using Vexo::U32;
using VexoTest::MixedPolicy;
using VexoTest::NumberEntry;
using VexoTest::PlainPolicy;

template <class Policy>
class HashMapModelTest : public testing::Test {};
using Policies = testing::Types<MixedPolicy, PlainPolicy>;
TYPED_TEST_SUITE(HashMapModelTest, Policies);

TYPED_TEST(HashMapModelTest, agreesWithTheStandardMap) {
    U32 const seed = std::random_device{}();
    this->RecordProperty("seed", std::to_string(seed));
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    HashMap<NumberEntry, TypeParam> map;
    std::unordered_map<U32, U32> model;
    for (U32 step = 0; step < 60'000; ++step) {
        // The range of keys swells and shrinks, so that insertions and erasures prevail in turn.
        U32 const key = static_cast<U32>(random() % (step / 10'000 % 2 == 0 ? 3000 : 300));
        if (random() % 2 == 0 && map.find(key) == nullptr) {
            map.insert(key, {key, step});
            model[key] = step;
        } else if (random() % 2 == 0) {
            ASSERT_EQ(map.erase(key), model.erase(key) == 1) << "step " << step;
        }
        NumberEntry const* const entry = map.find(key);
        auto const expected = model.find(key);
        ASSERT_EQ(entry != nullptr, expected != model.end()) << "step " << step;
        if (entry != nullptr) {
            ASSERT_EQ(entry->value, expected->second) << "step " << step;
        }
        if (step == 45'000) {
            map.clear();
            model.clear();
        }
        ASSERT_EQ(map.size(), model.size());
    }
    std::unordered_map<U32, U32> content;
    for (NumberEntry const& entry : map) {
        ASSERT_TRUE(content.emplace(entry.key, entry.value).second) << entry.key << " twice";
    }
    EXPECT_EQ(content, model);
    for (auto const& [key, value] : model) {
        ASSERT_TRUE(map.erase(key));
    }
    EXPECT_TRUE(map.empty());
}

}  // namespace
