#include <Vexo/Record.h>

#include <tests/Support/LeakCheck.h>
#include <tests/Vexo/CountedTypes.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <ostream>
#include <vector>

namespace {

using namespace std::string_literals;
using Vexo::CharRange;
using Vexo::field;
using Vexo::FwkType;
using Vexo::Ptr;
using Vexo::RangeException;
using Vexo::recordIsSet;
using Vexo::recordsEqual;
using Vexo::recordToStrep;
using Vexo::Served;
using Vexo::strepToValue;
using Vexo::String;
using Vexo::U32;
using Vexo::U8;
using Vexo::valueToStrep;
using VexoTest::Body;
using VexoTest::testModule;

/** What pointer fields refer to; never looked at. */
class Thing;

Thing* thingAt(std::uintptr_t address) {
    return reinterpret_cast<Thing*>(address);
}

}  // namespace

namespace Vexo {

template <>
Thing* deserializeAttr<Thing*>(CharRange& range, char const* fieldName);
template <>
Ptr<Body> deserializeAttr<Ptr<Body>>(CharRange& range, char const* fieldName);

template <>
Thing* deserializeAttr<Thing*>(CharRange& range, char const* fieldName) {
    return static_cast<Thing*>(deserializeAttr<void*>(range, fieldName));
}

template <>
Ptr<Body> deserializeAttr<Ptr<Body>>(CharRange& range, char const* fieldName) {
    try {
        Ptr<PtrInterface> const object = sequenceToValueOfPtr(range);
        Ptr<Body> const body = dynamicPtrCast<Body>(object);
        if (object && !body) {
            CharRange::cannotConvert(range, Body::fwkType_);
        }
        return body;
    } catch (RangeException const& error) {
        rethrowFromDeserializeAttr(error, fieldName);
    }
}

}  // namespace Vexo

namespace {

/** Several printed fields and a pointer. */
struct Step {
    static constexpr FwkType fwkType_{"VexoTest::Step", testModule, 30};
    static constexpr auto fields() {
        return std::tuple{field("thing", &Step::thing_, Served::no),
                          field("bit", &Step::bit_, Served::readOnly),
                          field("level", &Step::level_, Served::readWrite)};
    }
    Step() = default;
    explicit Step(CharRange& range) { readRecord(range, *this); }
    bool operator==(Step const& other) const noexcept { return recordsEqual(*this, other); }

    Thing* thing_ = nullptr;
    U32 bit_ = 0;
    U32 level_ = 0;
};

/** One printed field beside pointers. */
struct Verdict {
    static constexpr FwkType fwkType_{"VexoTest::Verdict", testModule, 31};
    static constexpr auto fields() {
        return std::tuple{field("from", &Verdict::from_, Served::no),
                          field("to", &Verdict::to_, Served::no),
                          field("dirty", &Verdict::dirty_, Served::readWrite)};
    }
    Verdict() = default;
    explicit Verdict(CharRange& range) { readRecord(range, *this); }

    Thing* from_ = nullptr;
    Thing* to_ = nullptr;
    bool dirty_ = false;
};

/** A single field. */
struct Count {
    static constexpr FwkType fwkType_{"VexoTest::Count", testModule, 32};
    static constexpr auto fields() {
        return std::tuple{field("value", &Count::value_, Served::readWrite)};
    }
    Count() = default;
    explicit Count(CharRange& range) { readRecord(range, *this); }
    bool operator==(Count const& other) const noexcept { return recordsEqual(*this, other); }

    U32 value_ = 0;
};

/** Pointers alone. */
struct Links {
    static constexpr FwkType fwkType_{"VexoTest::Links", testModule, 33};
    static constexpr auto fields() {
        return std::tuple{field("first", &Links::first_, Served::no),
                          field("second", &Links::second_, Served::no)};
    }
    Thing* first_ = nullptr;
    Thing* second_ = nullptr;
};

/** Fields that are records, objects and texts. */
struct Journey {
    static constexpr FwkType fwkType_{"VexoTest::Journey", testModule, 34};
    static constexpr auto fields() {
        return std::tuple{field("name", &Journey::name_, Served::readWrite),
                          field("step", &Journey::step_, Served::readWrite),
                          field("count", &Journey::count_, Served::readWrite),
                          field("body", &Journey::body_, Served::readWrite)};
    }
    Journey() = default;
    explicit Journey(CharRange& range) { readRecord(range, *this); }
    bool operator==(Journey const& other) const noexcept { return recordsEqual(*this, other); }

    String name_;
    Step step_;
    Count count_;
    Ptr<Body> body_;
};

String const stepText = "Value('VexoTest::Step', ** {'thing': 0xab, 'bit': 12, 'level': 7})";
String const verdictText =
    "Value('VexoTest::Verdict', ** {'from': 0x1, 'to': None, 'dirty': True})";

class RecordTest : public TestSupport::LeakCheck {};

TEST_F(RecordTest, printsItsFieldsInAFrame) {
    Step step;
    EXPECT_EQ(valueToStrep(step), "Value('VexoTest::Step', ** {'bit': 0, 'level': 0})");
    step.thing_ = thingAt(0xab);
    step.bit_ = 1;
    step.level_ = 4294967295U;
    EXPECT_EQ(valueToStrep(step), "Value('VexoTest::Step', ** {'bit': 1, 'level': 4294967295})");
    EXPECT_EQ(recordToStrep(step), valueToStrep(step));
}

TEST_F(RecordTest, printsAsItsOneFieldThatIsNoPointer) {
    Verdict verdict;
    EXPECT_EQ(valueToStrep(verdict), "False");
    verdict.from_ = thingAt(0x1);
    verdict.dirty_ = true;
    EXPECT_EQ(valueToStrep(verdict), "True");
}

TEST_F(RecordTest, printsAsItsOnlyField) {
    Count count;
    count.value_ = 17;
    EXPECT_EQ(valueToStrep(count), "17");
}

TEST_F(RecordTest, printsAnEmptyFrameWhenAllItsFieldsArePointers) {
    EXPECT_EQ(valueToStrep(Links{thingAt(1), nullptr}), "Value('VexoTest::Links', ** {})");
}

TEST_F(RecordTest, readsAllItsFieldsPointersIncluded) {
    auto const step = strepToValue<Step>(stepText);
    EXPECT_EQ(step.thing_, thingAt(0xab));
    EXPECT_EQ(step.bit_, 12U);
    EXPECT_EQ(step.level_, 7U);
    auto const verdict = strepToValue<Verdict>(verdictText);
    EXPECT_EQ(verdict.from_, thingAt(1));
    EXPECT_EQ(verdict.to_, nullptr);
    EXPECT_TRUE(verdict.dirty_);
}

TEST_F(RecordTest, doesNotReadWhatItPrintsWithoutItsPointers) {
    EXPECT_THROW(strepToValue<Step>(valueToStrep(Step())), RangeException);
    EXPECT_THROW(strepToValue<Verdict>(valueToStrep(Verdict())), RangeException);
}

TEST_F(RecordTest, readsItsOnlyFieldWithoutAFrame) {
    EXPECT_EQ(strepToValue<Count>("17").value_, 17U);
    EXPECT_THROW(strepToValue<Count>("Value('VexoTest::Count', ** {'value': 17})"), RangeException);
    EXPECT_THROW(strepToValue<Count>("'value': 17"), RangeException);
    EXPECT_THROW(strepToValue<Count>(""), RangeException);
}

template <class R>
void expectTruncationsAndAdditionsRefused(String const& text) {
    ASSERT_NO_THROW(strepToValue<R>(text));
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_THROW(strepToValue<R>(text.substr(0, length)), RangeException) << length;
    }
    for (std::size_t place = 0; place <= text.size(); ++place) {
        for (char const c : {' ', '\0', '\'', '\n'}) {
            String longer = text;
            longer.insert(place, 1, c);
            EXPECT_THROW(strepToValue<R>(longer), RangeException) << Vexo::quotedForMessage(longer);
        }
    }
}

TEST_F(RecordTest, readsNothingElse) {
    expectTruncationsAndAdditionsRefused<Step>(stepText);
    expectTruncationsAndAdditionsRefused<Verdict>(verdictText);
    expectTruncationsAndAdditionsRefused<Count>("1");
    EXPECT_THROW(strepToValue<Step>(verdictText), RangeException);
    EXPECT_THROW(strepToValue<Verdict>(stepText), RangeException);
}

struct FailureCase {
    char const* what;
    String text;
    String attribute;
};

template <class R>
void expectFailures(std::vector<FailureCase> const& cases) {
    for (FailureCase const& c : cases) {
        SCOPED_TRACE(c.what);
        try {
            strepToValue<R>(c.text);
            ADD_FAILURE() << "has been read";
        } catch (RangeException const& error) {
            EXPECT_EQ(error.attribute(), c.attribute) << error.what();
        }
    }
}

TEST_F(RecordTest, anErrorNamesTheAttributeWhoseValueFailed) {
    String const head = "Value('VexoTest::Step', ** {";
    expectFailures<Step>({
        {"no pointer", head + "'thing': True, 'bit': 0, 'level': 0})", "thing"},
        {"a long pointer", head + "'thing': 0x10000000000000000, 'bit': 0, 'level': 0})", "thing"},
        {"a large number", head + "'thing': None, 'bit': 4294967296, 'level': 0})", "bit"},
        {"a boolean for a number", head + "'thing': None, 'bit': True, 'level': 0})", "bit"},
        {"a negative number", head + "'thing': None, 'bit': 0, 'level': -1})", "level"},
        {"no value", head + "'thing': None, 'bit': 0, 'level': })", "level"},
        {"another name", head + "'thing': None, 'bot': 0, 'level': 0})", ""},
        {"another order", head + "'thing': None, 'level': 0, 'bit': 0})", ""},
        {"a field too few", head + "'thing': None, 'bit': 0})", ""},
        {"a field too many", head + "'thing': None, 'bit': 0, 'level': 0, 'x': 0})", ""},
        {"another type", "Value('VexoTest::Stop', ** {'thing': None, 'bit': 0, 'level': 0})", ""},
    });
    expectFailures<Verdict>({
        {"a number for a boolean",
         "Value('VexoTest::Verdict', ** {'from': None, 'to': None, 'dirty': 1})", "dirty"},
    });
    expectFailures<Count>({{"no number", "x", "value"}, {"something behind", "1x", ""}});
}

TEST_F(RecordTest, fieldsMayBeRecordsObjectsAndTexts) {
    Journey journey;
    journey.name_ = "there, 'and' back";
    journey.step_.bit_ = 3;
    journey.count_.value_ = 5;
    journey.body_ = Ptr<Body>(new Body);
    String const body = valueToStrep(journey.body_);
    EXPECT_EQ(valueToStrep(journey),
              "Value('VexoTest::Journey', ** {'name': 'there, \\'and\\' back', "
              "'step': Value('VexoTest::Step', ** {'bit': 3, 'level': 0}), "
              "'count': 5, 'body': " +
                  body + "})");

    String const text =
        "Value('VexoTest::Journey', ** {'name': 'there, \\'and\\' back', "
        "'step': Value('VexoTest::Step', ** {'thing': None, 'bit': 3, 'level': 0}), "
        "'count': 5, 'body': " +
        body + "})";
    EXPECT_EQ(strepToValue<Journey>(text), journey);
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_THROW(strepToValue<Journey>(text.substr(0, length)), RangeException) << length;
    }
}

TEST_F(RecordTest, anErrorInAnInnerRecordNamesTheWholePath) {
    class Stranger : public Vexo::PtrInterface {};
    Ptr<Stranger> const stranger(new Stranger);
    String const head = "Value('VexoTest::Journey', ** {'name': 'x', 'step': ";
    String const step = "Value('VexoTest::Step', ** {'thing': None, 'bit': 0, 'level': 0})";
    expectFailures<Journey>({
        {"an inner field",
         head + "Value('VexoTest::Step', ** {'thing': None, 'bit': 0, 'level': x}), 'count': 5, "
                "'body': None})",
         "step.level"},
        {"an inner frame", head + "Value('VexoTest::Step', ** {}), 'count': 5, 'body': None})",
         "step"},
        {"an inner only field", head + step + ", 'count': x, 'body': None})", "count.value"},
        {"an object that is gone",
         head + step + ", 'count': 1, 'body': Object('VexoTest::Body', 0x10)})", "body"},
        {"an object of another class",
         head + step + ", 'count': 1, 'body': " + valueToStrep(stranger) + "})", "body"},
    });
    EXPECT_EQ(stranger->references(), 1U);
}

TEST_F(RecordTest, isEqualWhenAllFieldsArePointersByAddress) {
    Step const step = strepToValue<Step>(stepText);
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

TEST_F(RecordTest, comparesInOrderUpToTheFirstDifference) {
    for (auto const& [probes, comparisons] : std::vector<std::pair<Probes, int>>{
             {{{1}, {1}, {1}}, 1}, {{{0}, {1}, {1}}, 2}, {{{0}, {0}, {1}}, 3}}) {
        Probe::comparisons_ = 0;
        EXPECT_FALSE(recordsEqual(probes, Probes()));
        EXPECT_EQ(Probe::comparisons_, comparisons);
    }
}

TEST_F(RecordTest, isSetWhenAnyFieldIs) {
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

TEST_F(RecordTest, fieldsTellTheirNameMemberAndService) {
    constexpr auto fields = Step::fields();
    EXPECT_STREQ(std::get<0>(fields).name, "thing");
    EXPECT_EQ(std::get<0>(fields).served, Served::no);
    EXPECT_EQ(std::get<1>(fields).member, &Step::bit_);
    EXPECT_EQ(std::get<1>(fields).served, Served::readOnly);
    EXPECT_EQ(std::get<2>(fields).served, Served::readWrite);
}

}  // namespace
