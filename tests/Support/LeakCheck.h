#pragma once

#include <Vexo/TrackedAllocation.h>

#include <gtest/gtest.h>

#include <map>

namespace TestSupport {

/** Tracked objects alive now, by type; types with none are left out. */
inline std::map<Vexo::String, Vexo::U64> liveObjects() {
    std::map<Vexo::String, Vexo::U64> live;
    for (Vexo::TypeAllocationCounts const& type : Vexo::allocationCounts()) {
        if (type.counts.live() != 0) {
            live[type.typeName] = type.counts.live();
        }
    }
    return live;
}

/**
 * Fixture whose tests fail when they leave more or fewer tracked objects alive than they found. The
 * check stands in the destructor: the members of a fixture derived from it have gone by then.
 *
 *     class TrieTest : public LeakCheck {};
 *     class TrieSizesTest : public LeakChecked<testing::TestWithParam<int>> {};
 */
template <class Fixture>
class LeakChecked : public Fixture {
public:
    ~LeakChecked() override {
        EXPECT_EQ(liveObjects(), before_) << "tracked objects alive, by type";
    }

private:
    std::map<Vexo::String, Vexo::U64> const before_ = liveObjects();
};

using LeakCheck = LeakChecked<testing::Test>;

}  // namespace TestSupport
