#include <Vexo/ObjectNames.h>

#include <Vexo/Strep.h>

#include <tests/Support/AllocationFailure.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Vexo/CountedTypes.h>

#include <array>
#include <cinttypes>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

using namespace std::string_literals;
using Vexo::CharRange;
using Vexo::ObjectNames;
using Vexo::Ptr;
using Vexo::PtrInterface;
using Vexo::RangeException;
using Vexo::sequenceToValueOfPtr;
using Vexo::String;
using Vexo::U64;
using Vexo::valueToStrep;
using VexoTest::Body;
using VexoTest::Limb;

U64 addressOf(PtrInterface const* object) {
    return reinterpret_cast<std::uintptr_t>(object);
}

String nameFor(char const* type, U64 address) {
    return Vexo::formatString("Object('%s', 0x%" PRIx64 ")", type, address);
}

Ptr<PtrInterface> read(String const& text) {
    CharRange range(text);
    Ptr<PtrInterface> object = sequenceToValueOfPtr(range);
    range.checkAllDataConsumed();
    return object;
}

class ObjectNamesTest : public TestSupport::LeakCheck {};

TEST_F(ObjectNamesTest, anObjectIsNamedByItsTypeAndItsAddress) {
    Ptr<Body> const body(new Body);
    Ptr<PtrInterface> const limb(new Limb);
    EXPECT_EQ(valueToStrep(body), nameFor("VexoTest::Body", addressOf(body.get())));
    EXPECT_EQ(Vexo::objectToStrep(limb.get()), nameFor("VexoTest::Limb", addressOf(limb.get())));
    EXPECT_EQ(ObjectNames::name(body.get()), valueToStrep(body));
}

TEST_F(ObjectNamesTest, nullIsNone) {
    EXPECT_EQ(valueToStrep(Ptr<Body>()), "None");
    EXPECT_EQ(Vexo::objectToStrep(nullptr), "None");
    EXPECT_EQ(read("None"), nullptr);
}

TEST_F(ObjectNamesTest, aNameIsReadBackAsLongAsTheObjectLives) {
    int ends = 0;
    Ptr<Body> body(new Body(&ends));
    String const name = valueToStrep(body);
    EXPECT_EQ(body->references(), 1U) << "a name holds no reference";
    {
        Ptr<PtrInterface> const found = read(name);
        EXPECT_EQ(found, body);
        EXPECT_EQ(body->references(), 2U);
        body = nullptr;
        EXPECT_EQ(read(name), found);
    }
    EXPECT_EQ(ends, 1);
    EXPECT_THROW(read(name), RangeException);
}

TEST_F(ObjectNamesTest, namingTwiceChangesNothing) {
    Ptr<Body> const body(new Body);
    String const name = valueToStrep(body);
    EXPECT_EQ(valueToStrep(body), name);
    EXPECT_EQ(read(name), body);
}

TEST_F(ObjectNamesTest, anAddressThatNoTextHasNamedIsRefused) {
    Ptr<Body> const body(new Body);
    EXPECT_THROW(read(nameFor("VexoTest::Body", addressOf(body.get()))), RangeException);
    EXPECT_EQ(ObjectNames::find("VexoTest::Body", addressOf(body.get())), nullptr);
    EXPECT_THROW(read(nameFor("VexoTest::Body", 1)), RangeException);
    EXPECT_THROW(read(nameFor("VexoTest::Body", 0)), RangeException);
    EXPECT_THROW(read(nameFor("VexoTest::Body", ~U64{0})), RangeException);
}

TEST_F(ObjectNamesTest, anotherTypesNameIsRefused) {
    Ptr<Body> const limb(new Limb);
    String const name = valueToStrep(limb);
    for (char const* type : {"VexoTest::Body", "VexoTest::Lim", "VexoTest::Limbs", "", "Limb"}) {
        EXPECT_THROW(read(nameFor(type, addressOf(limb.get()))), RangeException) << type;
    }
    String withNul = name;
    withNul.insert(name.find("Limb") + 4, "\\x00");
    EXPECT_THROW(read(withNul), RangeException);
    EXPECT_EQ(limb->references(), 1U);
    EXPECT_EQ(read(name), limb);
}

TEST_F(ObjectNamesTest, refusalTellsTheText) {
    String const text = nameFor("VexoTest::Body", 0x1234);
    try {
        read(text);
        FAIL();
    } catch (RangeException const& error) {
        EXPECT_NE(String(error.what()).find(text), String::npos) << error.what();
    }
}

TEST_F(ObjectNamesTest, anObjectWithoutReferencesIsNotFound) {
    auto const body = std::make_unique<Body>();
    EXPECT_THROW(read(ObjectNames::name(body.get())), RangeException);
    EXPECT_EQ(body->references(), 0U);
}

/** Tries to find itself while it ends. */
class Curious : public Body {
public:
    explicit Curious(Ptr<PtrInterface>& found) : found_(&found) { name_ = ObjectNames::name(this); }
    ~Curious() override { *found_ = ObjectNames::find("VexoTest::Body", addressOf(this)); }

private:
    Ptr<PtrInterface>* found_;
    String name_;
};

TEST_F(ObjectNamesTest, anObjectThatIsEndingIsNotFound) {
    Ptr<PtrInterface> found;
    Ptr<Curious> curious(new Curious(found));
    EXPECT_EQ(read(valueToStrep(curious)), curious);
    curious = nullptr;
    EXPECT_EQ(found, nullptr);
}

/** Ends without giving its storage back. */
template <class Kind>
class InPlace : public Kind {
public:
    void zeroReferencesIs() override { std::destroy_at(this); }
};

TEST_F(ObjectNamesTest, anAddressThatIsUsedAgainIsAnotherObject) {
    alignas(InPlace<Limb>) std::array<unsigned char, sizeof(InPlace<Limb>)> storage{};
    Ptr<Body> first(new (storage.data()) InPlace<Body>);
    String const firstName = valueToStrep(first);
    U64 const address = addressOf(first.get());
    first = nullptr;

    Ptr<Limb> const second(new (storage.data()) InPlace<Limb>);
    ASSERT_EQ(addressOf(second.get()), address);
    EXPECT_THROW(read(firstName), RangeException);
    EXPECT_THROW(read(nameFor("VexoTest::Limb", address)), RangeException) << "not named yet";
    String const secondName = valueToStrep(second);
    EXPECT_EQ(read(secondName), second);
    EXPECT_THROW(read(firstName), RangeException) << "of another type";
}

TEST_F(ObjectNamesTest, aNameIsRefusedWhenItIsCutShort) {
    Ptr<Body> const body(new Body);
    String const name = valueToStrep(body);
    for (std::size_t length = 0; length < name.size(); ++length) {
        EXPECT_THROW(read(name.substr(0, length)), RangeException) << name.substr(0, length);
    }
}

TEST_F(ObjectNamesTest, aNameIsRefusedInAnyOtherForm) {
    Ptr<Body> const body(new Body);
    String const name = valueToStrep(body);
    String const address = Vexo::formatString("0x%" PRIx64, addressOf(body.get()));
    for (String const& text : std::vector<String>{
             " " + name,
             name + " ",
             name + "\0"s,
             name + ")",
             address,
             "Object()",
             "none",
             ""s,
             "Object('VexoTest::Body'," + address + ")",
             "Object('VexoTest::Body' , " + address + ")",
             "object('VexoTest::Body', " + address + ")",
             "Object(VexoTest::Body, " + address + ")",
             "Object(\"VexoTest::Body\", " + address + ")",
             "Object('VexoTest::Body', " + address.substr(2) + ")",
             "Object('VexoTest::Body', -" + address + ")",
             "Object('VexoTest::Body', None)",
             "Object('VexoTest::Body', 0x1" + address.substr(2) + "0000000000000000)",
             "Object('VexoTest::Body', 0x" + String(100'000, '0') + address.substr(2) + ")",
             "Object('VexoTest::Body\0', "s + address + ")",
             "Object(None, " + address + ")"}) {
        EXPECT_THROW(read(text), RangeException) << Vexo::quotedForMessage(text);
    }
    EXPECT_EQ(body->references(), 1U);
}

TEST_F(ObjectNamesTest, anObjectThatCouldNotBeEnteredIsNotFound) {
    Ptr<Body> const body(new Body);
    String name;
    TestSupport::failEachAllocation(
        [&] { name = valueToStrep(body); },
        [&] { EXPECT_EQ(ObjectNames::find("VexoTest::Body", addressOf(body.get())), nullptr); });
    EXPECT_EQ(read(name), body);
}

}  // namespace
