#include <Vexo/Ptr.h>

#include <tests/Support/LeakCheck.h>
#include <tests/Support/ThreadSafeMode.h>
#include <tests/Vexo/CountedTypes.h>

#include <type_traits>
#include <unordered_set>
#include <utility>

namespace {

using Vexo::dynamicPtrCast;
using Vexo::Ptr;
using Vexo::PtrInterface;
using VexoTest::Body;
using VexoTest::Limb;

/** Every test in both modes of counting; the parameter is the thread-safe mode. */
class PtrTest : public TestSupport::LeakChecked<testing::TestWithParam<bool>> {
protected:
    int ends_ = 0;

private:
    TestSupport::ThreadSafeMode const mode_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Modes, PtrTest, testing::Bool(), [](auto const& mode) {
    return mode.param ? "threadSafeMode" : "plainMode";
});

TEST_P(PtrTest, isAsLargeAsAPointer) {
    EXPECT_EQ(sizeof(Ptr<Body>), sizeof(Body*));
}

TEST_P(PtrTest, isNullByDefault) {
    Ptr<Body> const none;
    Ptr<Body> const alsoNone = nullptr;
    Body* const noBody = nullptr;
    Ptr<Body> const fromPointer(noBody);
    EXPECT_EQ(none.get(), nullptr);
    EXPECT_FALSE(none);
    EXPECT_FALSE(alsoNone);
    EXPECT_FALSE(fromPointer);
    EXPECT_EQ(none, nullptr);
}

TEST_P(PtrTest, holdsAReferenceAsLongAsItLives) {
    {
        Ptr<Body> const body(new Body(&ends_));
        EXPECT_TRUE(body);
        EXPECT_EQ(body->references(), 1U);
        EXPECT_EQ((*body).references(), 1U);
    }
    EXPECT_EQ(ends_, 1);
}

TEST_P(PtrTest, aCopyHoldsAReferenceOfItsOwn) {
    Ptr<Body> first(new Body(&ends_));
    Ptr<Body> second = first;
    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(first->references(), 2U);
    first = nullptr;
    EXPECT_EQ(second->references(), 1U);
    EXPECT_EQ(ends_, 0);
    second = nullptr;
    EXPECT_EQ(ends_, 1);
}

TEST_P(PtrTest, aMoveHandsItsReferenceOn) {
    Ptr<Body> first(new Body(&ends_));
    Body* const body = first.get();
    Ptr<Body> second = std::move(first);
    EXPECT_EQ(first.get(), nullptr);  // NOLINT(bugprone-use-after-move): this is what is shown
    EXPECT_EQ(second.get(), body);
    EXPECT_EQ(body->references(), 1U);

    Ptr<Body> third;
    third = std::move(second);
    EXPECT_EQ(second.get(), nullptr);  // NOLINT(bugprone-use-after-move): this is what is shown
    EXPECT_EQ(third.get(), body);
    EXPECT_EQ(body->references(), 1U);
    EXPECT_EQ(ends_, 0);
}

TEST_P(PtrTest, anAssignmentLetsTheOldObjectGo) {
    int otherEnds = 0;
    Ptr<Body> ptr(new Body(&ends_));
    Ptr<Body> const other(new Body(&otherEnds));
    ptr = other;
    EXPECT_EQ(ends_, 1);
    EXPECT_EQ(other->references(), 2U);
    ptr = Ptr<Body>(new Body(&ends_));
    EXPECT_EQ(other->references(), 1U);
    ptr = new Body;
    EXPECT_EQ(ends_, 2);
    EXPECT_EQ(otherEnds, 0);
}

TEST_P(PtrTest, survivesItsOwnAssignment) {
    Ptr<Body> ptr(new Body(&ends_));
    Ptr<Body>& same = ptr;
    ptr = same;
    EXPECT_EQ(ptr->references(), 1U);
    ptr = std::move(same);
    ASSERT_TRUE(ptr);
    EXPECT_EQ(ptr->references(), 1U);
    EXPECT_EQ(ends_, 0);
}

/** Ends with a member that refers back to the place that held it. */
class Chain : public Body {
public:
    using Body::Body;
    Ptr<Chain> next_;
};

TEST_P(PtrTest, anAssignmentMayTakeItsValueFromTheObjectThatGoes) {
    Ptr<Chain> head(new Chain(&ends_));
    head->next_ = Ptr<Chain>(new Chain);
    Chain* const second = head->next_.get();
    head = head->next_;
    EXPECT_EQ(ends_, 1);
    EXPECT_EQ(head.get(), second);
    EXPECT_EQ(head->references(), 1U);
}

TEST_P(PtrTest, anAssignmentMayMoveItsValueFromTheObjectThatGoes) {
    Ptr<Chain> head(new Chain(&ends_));
    head->next_ = Ptr<Chain>(new Chain);
    Chain* const second = head->next_.get();
    head = std::move(head->next_);
    EXPECT_EQ(ends_, 1);
    EXPECT_EQ(head.get(), second);
    EXPECT_EQ(head->references(), 1U);
}

TEST_P(PtrTest, swapsWithoutCounting) {
    Ptr<Body> first(new Body);
    Ptr<Body> second;
    Body* const body = first.get();
    first.swap(second);
    EXPECT_EQ(first.get(), nullptr);
    EXPECT_EQ(second.get(), body);
    EXPECT_EQ(body->references(), 1U);
}

TEST_P(PtrTest, convertsToABase) {
    Ptr<Limb> limb(new Limb(&ends_));
    Ptr<Body> const body = limb;
    Ptr<PtrInterface> const object = body;
    Ptr<Limb const> const constant = limb;
    EXPECT_EQ(limb->references(), 4U);
    Ptr<PtrInterface> const moved = std::move(limb);
    EXPECT_EQ(limb.get(), nullptr);  // NOLINT(bugprone-use-after-move): this is what is shown
    EXPECT_EQ(moved->references(), 4U);
    EXPECT_EQ(ends_, 0);
}

TEST_P(PtrTest, doesNotConvertByItselfToADerivedOrAnUnrelatedClass) {
    EXPECT_FALSE((std::is_convertible_v<Ptr<Body>, Ptr<Limb>>));
    EXPECT_FALSE((std::is_constructible_v<Ptr<Limb>, Ptr<Body>>));
    EXPECT_FALSE((std::is_convertible_v<Ptr<Body const>, Ptr<Body>>));
    EXPECT_FALSE((std::is_convertible_v<Ptr<Body>, Body*>));
    EXPECT_FALSE((std::is_convertible_v<Ptr<Body>, bool>));
    EXPECT_FALSE((std::is_convertible_v<Ptr<Body>, int>));
}

TEST_P(PtrTest, aConstantObjectIsCountedToo) {
    Ptr<Body const> constant(new Body(&ends_));
    EXPECT_EQ(constant->references(), 1U);
    constant = nullptr;
    EXPECT_EQ(ends_, 1);
}

TEST_P(PtrTest, adoptsAndReleasesWithoutCounting) {
    Ptr<Body> first(new Body(&ends_));
    Body* const body = first.release();
    EXPECT_EQ(first.get(), nullptr);
    EXPECT_EQ(body->references(), 1U);
    {
        Ptr<Body> const second = Ptr<Body>::adopt(body);
        EXPECT_EQ(second->references(), 1U);
        EXPECT_EQ(ends_, 0);
    }
    EXPECT_EQ(ends_, 1);
    EXPECT_EQ(Ptr<Body>::adopt(nullptr), nullptr);
    EXPECT_EQ(Ptr<Body>().release(), nullptr);
}

TEST_P(PtrTest, aReleasedReferenceIsGivenBackByHand) {
    Body* const body = Ptr<Body>(new Body(&ends_)).release();
    body->referencesDec();
    EXPECT_EQ(ends_, 1);
}

/** Equal in value to all others of its kind. */
class AllEqual : public Body {
public:
    bool operator==(AllEqual const&) const { return true; }
};

TEST_P(PtrTest, comparesTheIdentityOfItsObjects) {
    Ptr<AllEqual> const first(new AllEqual);
    Ptr<AllEqual> const same = first;
    Ptr<AllEqual> const other(new AllEqual);
    ASSERT_TRUE(*first == *other);
    EXPECT_TRUE(first == same);
    EXPECT_FALSE(first == other);
    EXPECT_TRUE(first != other);
    EXPECT_TRUE(first == first.get());
    EXPECT_TRUE(first.get() == first);
    EXPECT_TRUE(other != first.get());
    EXPECT_TRUE(first != nullptr);
    EXPECT_TRUE(nullptr != first);
    EXPECT_FALSE(nullptr == first);
}

/** A body that does not begin with its counted part. */
struct Skin {
    virtual ~Skin() = default;
    int layers_ = 7;
};
class Covered : public Skin, public Body {};

TEST_P(PtrTest, comparesAcrossClassesOfOneObject) {
    Ptr<Covered> const covered(new Covered);
    Ptr<Body> const body = covered;
    Ptr<PtrInterface> const object = covered;
    ASSERT_NE(static_cast<void*>(covered.get()), static_cast<void*>(body.get()));
    EXPECT_TRUE(covered == body);
    EXPECT_TRUE(object == covered);
    EXPECT_FALSE(body == Ptr<Limb>(new Limb));
    Ptr<Covered> const none;
    EXPECT_FALSE(Ptr<Body>(none)) << "null wherever the class lies in the object";
    EXPECT_FALSE(Ptr<PtrInterface>(none));
    EXPECT_TRUE(none == Ptr<Body>());
    EXPECT_TRUE(Ptr<PtrInterface>() == none);
    EXPECT_FALSE(none == body);
}

TEST_P(PtrTest, hashesByIdentity) {
    Ptr<Body> const first(new Body);
    Ptr<Body> const same = first;
    Ptr<Body> const other(new Body);
    std::hash<Ptr<Body>> const hash;
    EXPECT_EQ(hash(first), hash(same));
    EXPECT_EQ(hash(Ptr<Body>()), hash(nullptr));

    std::unordered_set<Ptr<Body>> set{first, other, nullptr};
    EXPECT_FALSE(set.insert(same).second);
    EXPECT_EQ(set.size(), 3U);
    EXPECT_EQ(set.count(other), 1U);
    EXPECT_EQ(set.count(Ptr<Body>(new Body)), 0U);
    EXPECT_EQ(first->references(), 3U);
}

TEST_P(PtrTest, aDynamicCastGivesTheSameObjectOrNull) {
    Ptr<Body> const limb(new Limb(&ends_));
    Ptr<Body> const body(new Body);
    {
        Ptr<Limb> const cast = dynamicPtrCast<Limb>(limb);
        EXPECT_EQ(cast, limb);
        EXPECT_EQ(limb->references(), 2U);
    }
    EXPECT_EQ(limb->references(), 1U);
    EXPECT_EQ(dynamicPtrCast<Limb>(body), nullptr);
    EXPECT_EQ(body->references(), 1U);
    EXPECT_EQ(dynamicPtrCast<Limb>(Ptr<Body>()), nullptr);
    EXPECT_EQ(dynamicPtrCast<Body>(limb), limb);
    EXPECT_EQ(dynamicPtrCast<PtrInterface const>(limb), limb);
}

}  // namespace
