#include <Vexo/PtrInterface.h>

#include <Vexo/Ptr.h>

#include <tests/Support/AssertionText.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Support/ThreadSafeMode.h>
#include <tests/Vexo/CountedTypes.h>

#include <csignal>
#include <cstddef>
#include <cstring>
#include <type_traits>

namespace {

using testing::KilledBySignal;
using TestSupport::assertionText;
using TestSupport::LeakCheck;
using TestSupport::LeakChecked;
using TestSupport::ThreadSafeMode;
using Vexo::Ptr;
using Vexo::PtrInterface;
using VexoTest::Body;
using VexoTest::Limb;

constexpr char const* source = "Vexo/PtrInterface";
constexpr char const* incSignature = "void Vexo::PtrInterface::referencesInc() const";
constexpr char const* decSignature = "void Vexo::PtrInterface::referencesDec() const";

constexpr Vexo::U32 notificationFlag = 1U << 29;

/** Every test in both modes of counting; the parameter is the thread-safe mode. */
class PtrInterfaceTest : public LeakChecked<testing::TestWithParam<bool>> {
private:
    ThreadSafeMode const mode_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Modes, PtrInterfaceTest, testing::Bool(), [](auto const& mode) {
    return mode.param ? "threadSafeMode" : "plainMode";
});

using PtrInterfaceDeathTest = PtrInterfaceTest;
INSTANTIATE_TEST_SUITE_P(Modes, PtrInterfaceDeathTest, testing::Bool(), [](auto const& mode) {
    return mode.param ? "threadSafeMode" : "plainMode";
});

/** The reference word, which follows the pointer to the virtual table. */
static_assert(sizeof(PtrInterface) == 2 * sizeof(void*));
Vexo::U32 referenceWord(PtrInterface const& object) {
    Vexo::U32 word = 0;
    std::memcpy(&word, reinterpret_cast<char const*>(&object) + sizeof(void*), sizeof(word));
    return word;
}
void referenceWordIs(PtrInterface& object, Vexo::U32 word) {
    std::memcpy(reinterpret_cast<char*>(&object) + sizeof(void*), &word, sizeof(word));
}

TEST_P(PtrInterfaceTest, aNewObjectHasNoReferenceAndNoNotification) {
    Body const body;
    EXPECT_EQ(body.references(), 0U);
    EXPECT_FALSE(body.hasNotificationActive());
    EXPECT_EQ(referenceWord(body), 0U);
}

TEST_P(PtrInterfaceTest, countsItsReferencesAndEndsWithTheLast) {
    int ends = 0;
    Body* const body = new Body(&ends);
    body->referencesInc();
    EXPECT_EQ(body->references(), 1U);
    body->referencesInc();
    EXPECT_EQ(body->references(), 2U);
    body->referencesDec();
    EXPECT_EQ(body->references(), 1U);
    EXPECT_EQ(ends, 0);
    body->referencesDec();
    EXPECT_EQ(ends, 1);
}

TEST_P(PtrInterfaceTest, theLow29BitsCount) {
    EXPECT_EQ(PtrInterface::referenceMask_, (1U << 29) - 1);
    Body body;
    referenceWordIs(body, ~0U);
    EXPECT_EQ(body.references(), (1U << 29) - 1);
    referenceWordIs(body, 0);
}

TEST_P(PtrInterfaceTest, theNotificationFlagIsNoPartOfTheCount) {
    Ptr<Body> const body(new Body);
    body->hasNotificationActiveIs(true);
    EXPECT_TRUE(body->hasNotificationActive());
    EXPECT_EQ(body->references(), 1U);
    EXPECT_EQ(referenceWord(*body), notificationFlag | 1U);
    {
        Ptr<Body> const second = body;
        EXPECT_EQ(body->references(), 2U);
        EXPECT_TRUE(body->hasNotificationActive());
    }
    body->hasNotificationActiveIs(true);
    EXPECT_EQ(referenceWord(*body), notificationFlag | 1U);
    body->hasNotificationActiveIs(false);
    EXPECT_FALSE(body->hasNotificationActive());
    body->hasNotificationActiveIs(false);
    EXPECT_EQ(referenceWord(*body), 1U);
}

TEST_P(PtrInterfaceTest, theLastReferenceGoesWithTheFlagSet) {
    int ends = 0;
    Ptr<Body> body(new Body(&ends));
    body->hasNotificationActiveIs(true);
    body = nullptr;
    EXPECT_EQ(ends, 1);
}

TEST_P(PtrInterfaceTest, theHighestCountIsReachedAndLeft) {
    Body body;
    referenceWordIs(body, PtrInterface::referenceMask_ - 1);
    body.referencesInc();
    EXPECT_EQ(body.references(), PtrInterface::referenceMask_);
    EXPECT_FALSE(body.hasNotificationActive());
    body.referencesDec();
    EXPECT_EQ(body.references(), PtrInterface::referenceMask_ - 1);
    referenceWordIs(body, 0);
}

TEST_P(PtrInterfaceDeathTest, aCountThatWouldOverflowIsFatal) {
    Body body;
    referenceWordIs(body, PtrInterface::referenceMask_);
    std::string const context = Vexo::formatString(
        "object:%p", static_cast<void const*>(static_cast<PtrInterface*>(&body)));
    EXPECT_EXIT(body.referencesInc(), KilledBySignal(SIGABRT),
                assertionText("references() < referenceMask_", context, source, incSignature));
    EXPECT_EXIT(static_cast<void>(body.referencesIncUnlessZero()), KilledBySignal(SIGABRT),
                assertionText("references() < referenceMask_", context, source, incSignature));
    referenceWordIs(body, 0);
}

TEST_P(PtrInterfaceDeathTest, aFlagDoesNotHideAnOverflow) {
    Body body;
    referenceWordIs(body, notificationFlag | PtrInterface::referenceMask_);
    EXPECT_EXIT(body.referencesInc(), KilledBySignal(SIGABRT),
                assertionText("references() < referenceMask_", testing::StartsWith("object:0x"),
                              source, incSignature));
    referenceWordIs(body, 0);
}

TEST_P(PtrInterfaceDeathTest, aCountThatWouldFallBelowZeroIsFatal) {
    Body const body;
    std::string const context = Vexo::formatString(
        "object:%p", static_cast<void const*>(static_cast<PtrInterface const*>(&body)));
    EXPECT_EXIT(body.referencesDec(), KilledBySignal(SIGABRT),
                assertionText("(before & referenceMask_) > 0", context, source, decSignature));
}

TEST_P(PtrInterfaceDeathTest, aFlagIsNotTakenForAReference) {
    Body body;
    body.hasNotificationActiveIs(true);
    EXPECT_EXIT(body.referencesDec(), KilledBySignal(SIGABRT),
                assertionText("(before & referenceMask_) > 0", testing::StartsWith("object:0x"),
                              source, decSignature));
}

TEST_P(PtrInterfaceTest, noReferenceIsTakenOfAnObjectThatHasNone) {
    Body body;
    EXPECT_FALSE(body.referencesIncUnlessZero());
    EXPECT_EQ(body.references(), 0U);
    body.hasNotificationActiveIs(true);
    EXPECT_FALSE(body.referencesIncUnlessZero());
    EXPECT_EQ(body.references(), 0U);
}

TEST_P(PtrInterfaceTest, aReferenceIsTakenOfAnObjectThatHasOne) {
    Ptr<Body> const body(new Body);
    EXPECT_TRUE(body->referencesIncUnlessZero());
    EXPECT_EQ(body->references(), 2U);
    body->referencesDec();
}

class PtrInterfaceTypeTest : public LeakCheck {};

TEST_F(PtrInterfaceTypeTest, namesItsDynamicType) {
    struct Plain : PtrInterface {};
    Ptr<PtrInterface> const plain(new Plain);
    Ptr<PtrInterface> const body(new Body);
    Ptr<PtrInterface> const limb(new Limb);
    EXPECT_EQ(plain->fwkType(), &PtrInterface::fwkType_);
    EXPECT_EQ(body->fwkType(), &Body::fwkType_);
    EXPECT_EQ(limb->fwkType(), &Limb::fwkType_);
    EXPECT_EQ(plain->notifieeList(), nullptr);
}

TEST_F(PtrInterfaceTypeTest, isNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<Body>);
    EXPECT_FALSE(std::is_copy_assignable_v<Body>);
    EXPECT_FALSE(std::is_default_constructible_v<PtrInterface>);
    EXPECT_TRUE(std::has_virtual_destructor_v<PtrInterface>);
}

TEST_F(PtrInterfaceTypeTest, thePlainModeIsWhereAProcessBegins) {
    EXPECT_FALSE(Vexo::threadSafePtr());
}

TEST_F(PtrInterfaceTypeTest, theModeIsSwitchedAtRunTime) {
    ThreadSafeMode const outer(true);
    EXPECT_TRUE(Vexo::threadSafePtr());
    Ptr<Body> const body(new Body);
    Vexo::threadSafePtrIs(false);
    Ptr<Body> const second = body;
    EXPECT_FALSE(Vexo::threadSafePtr());
    EXPECT_EQ(body->references(), 2U);
}

/**
 * Slot of a virtual member function in the virtual table. In the C++ ABI of all our platforms a
 * pointer to a virtual member holds the slot's offset in bytes; where code may have odd addresses,
 * the mark that it is one is kept in the second word, and elsewhere in the lowest bit of the first.
 */
template <class Member>
std::ptrdiff_t slotOf(Member member) {
    std::ptrdiff_t words[2];
    static_assert(sizeof(member) == sizeof(words));
    std::memcpy(words, &member, sizeof(words));
#if defined(__aarch64__) || defined(__arm__)
    EXPECT_EQ(words[1] & 1, 1) << "not virtual";
    return words[0] / static_cast<std::ptrdiff_t>(sizeof(void*));
#else
    EXPECT_EQ(words[0] & 1, 1) << "not virtual";
    return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
#endif
}

class WithOneMore : public PtrInterface {
public:
    virtual int oneMore() const { return 1; }
};

TEST_F(PtrInterfaceTypeTest, virtualOperationsHaveAFixedOrder) {
    EXPECT_EQ(slotOf(&PtrInterface::notifieeList), 0);
    EXPECT_EQ(slotOf(&PtrInterface::hasNotificationActiveIs), 1);
    EXPECT_EQ(slotOf(&PtrInterface::zeroReferencesIs), 2);
    EXPECT_EQ(slotOf(&PtrInterface::fwkType), 3);
    // The destructor has two slots, one to end an object and one to delete it as well.
    EXPECT_EQ(slotOf(&WithOneMore::oneMore), 6);
    Ptr<WithOneMore> const object(new WithOneMore);
    EXPECT_EQ(object->oneMore(), 1);
}

}  // namespace
