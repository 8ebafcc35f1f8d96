#include <Vexo/Record.h>

#include <tests/Vexo/Records.h>

#include <gtest/gtest.h>

#include <tuple>
#include <utility>
#include <vector>

namespace {

using Vexo::field;
using Vexo::FwkType;
using Vexo::recordIsSet;
using Vexo::recordsEqual;
using Vexo::recordToStrep;
using Vexo::Served;
using Vexo::valueToStrep;
using VexoTest::Count;
using VexoTest::Links;
using VexoTest::Step;
using VexoTest::testModule;
using VexoTest::thingAt;
using VexoTest::Verdict;

TEST(RecordTest, printsItsFieldsInAFrame) {
    Step step;
    EXPECT_EQ(valueToStrep(step), "Value('VexoTest::Step', ** {'bit': 0, 'level': 0})");
    step.thing_ = thingAt(0xab);
    step.bit_ = 1;
    step.level_ = 4294967295U;
    EXPECT_EQ(valueToStrep(step), "Value('VexoTest::Step', ** {'bit': 1, 'level': 4294967295})");
    EXPECT_EQ(recordToStrep(step), valueToStrep(step));
}

TEST(RecordTest, printsAsItsOneFieldThatIsNoPointer) {
    Verdict verdict;
    EXPECT_EQ(valueToStrep(verdict), "False");
    verdict.from_ = thingAt(0x1);
    verdict.dirty_ = true;
    EXPECT_EQ(valueToStrep(verdict), "True");
}

TEST(RecordTest, printsAsItsOnlyField) {
    Count count;
    count.value_ = 17;
    EXPECT_EQ(valueToStrep(count), "17");
}

TEST(RecordTest, printsAnEmptyFrameWhenAllItsFieldsArePointers) {
    EXPECT_EQ(valueToStrep(Links{thingAt(1), nullptr}), "Value('VexoTest::Links', ** {})");
}

TEST(RecordTest, isEqualWhenAllFieldsArePointersByAddress) {
    Step step;
    step.thing_ = thingAt(0xab);
    step.bit_ = 12;
    step.level_ = 7;
    EXPECT_TRUE(recordsEqual(step, step));
    EXPECT_TRUE(recordsEqual(Step(), Step()));
    Step other = step;
    other.thing_ = thingAt(0xac);
    EXPECT_FALSE(recordsEqual(step, other));
    other = step;
    other.bit_ = 0;
    EXPECT_FALSE(recordsEqual(step, other));
    other = step;
    other.level_ = 0;
    EXPECT_FALSE(recordsEqual(step, other));
}

/** Counts how often it is compared. */
struct Probe {
    int number_ = 0;
    static inline int comparisons_ = 0;
    bool operator==(Probe const& other) const noexcept {
        ++comparisons_;
        return number_ == other.number_;
    }
};
struct Probes {
    static constexpr FwkType fwkType_{"VexoTest::Probes", testModule, 35};
    static constexpr auto fields() {
        return std::tuple{field("a", &Probes::a_, Served::no), field("b", &Probes::b_, Served::no),
                          field("c", &Probes::c_, Served::no)};
    }
    Probe a_, b_, c_;
};

TEST(RecordTest, comparesInOrderUpToTheFirstDifference) {
    for (auto const& [probes, comparisons] : std::vector<std::pair<Probes, int>>{
             {{{1}, {1}, {1}}, 1}, {{{0}, {1}, {1}}, 2}, {{{0}, {0}, {1}}, 3}}) {
        Probe::comparisons_ = 0;
        EXPECT_FALSE(recordsEqual(probes, Probes()));
        EXPECT_EQ(Probe::comparisons_, comparisons);
    }
}

TEST(RecordTest, isSetWhenAnyFieldIs) {
    EXPECT_FALSE(recordIsSet(Step()));
    EXPECT_FALSE(recordIsSet(Verdict()));
    Step step;
    step.thing_ = thingAt(1);
    EXPECT_TRUE(recordIsSet(step));
    step = Step();
    step.bit_ = 2;
    EXPECT_TRUE(recordIsSet(step));
    step = Step();
    step.level_ = 256;
    EXPECT_TRUE(recordIsSet(step));
    Verdict verdict;
    verdict.dirty_ = true;
    EXPECT_TRUE(recordIsSet(verdict));
}

TEST(RecordTest, fieldsTellTheirNameMemberAndService) {
    constexpr auto fields = Step::fields();
    EXPECT_STREQ(std::get<0>(fields).name, "thing");
    EXPECT_EQ(std::get<0>(fields).served, Served::no);
    EXPECT_EQ(std::get<1>(fields).member, &Step::bit_);
    EXPECT_EQ(std::get<1>(fields).served, Served::readOnly);
    EXPECT_EQ(std::get<2>(fields).served, Served::readWrite);
}

}  // namespace
