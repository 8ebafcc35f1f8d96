#include <Vexo/Record.h>

#include <tests/Support/LeakCheck.h>
#include <tests/Vexo/Records.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using Vexo::Ptr;
using Vexo::RangeException;
using Vexo::strepToValue;
using Vexo::String;
using Vexo::valueToStrep;
using VexoTest::Body;
using VexoTest::Count;
using VexoTest::Journey;
using VexoTest::Step;
using VexoTest::thingAt;
using VexoTest::Verdict;

String const stepText = "Value('VexoTest::Step', ** {'thing': 0xab, 'bit': 12, 'level': 7})";
String const verdictText =
    "Value('VexoTest::Verdict', ** {'from': 0x1, 'to': None, 'dirty': True})";

class RecordParserTest : public TestSupport::LeakCheck {};

TEST_F(RecordParserTest, readsAllItsFieldsPointersIncluded) {
    auto const step = strepToValue<Step>(stepText);
    EXPECT_EQ(step.thing_, thingAt(0xab));
    EXPECT_EQ(step.bit_, 12U);
    EXPECT_EQ(step.level_, 7U);
    auto const verdict = strepToValue<Verdict>(verdictText);
    EXPECT_EQ(verdict.from_, thingAt(1));
    EXPECT_EQ(verdict.to_, nullptr);
    EXPECT_TRUE(verdict.dirty_);
}

TEST_F(RecordParserTest, doesNotReadWhatItPrintsWithoutItsPointers) {
    EXPECT_THROW(strepToValue<Step>(valueToStrep(Step())), RangeException);
    EXPECT_THROW(strepToValue<Verdict>(valueToStrep(Verdict())), RangeException);
}

TEST_F(RecordParserTest, readsItsOnlyFieldWithoutAFrame) {
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

TEST_F(RecordParserTest, readsNothingElse) {
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

TEST_F(RecordParserTest, anErrorNamesTheAttributeWhoseValueFailed) {
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

TEST_F(RecordParserTest, fieldsMayBeRecordsObjectsAndTexts) {
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

TEST_F(RecordParserTest, anErrorInAnInnerRecordNamesTheWholePath) {
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

}  // namespace
