#include <Vexo/PtrInterface.h>

#include <Vexo/Ptr.h>

#include <tests/Support/AllocationFailure.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Vexo/CountedTypes.h>

#include <gmock/gmock.h>

#include <functional>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Vexo::NotifieeList;
using Vexo::Ptr;
using Vexo::PtrInterface;
using VexoTest::Body;

/** A body that keeps a list of notifiees. */
class Observable : public Body {
public:
    using Body::Body;
    NotifieeList* notifieeList() override { return &notifiees_; }

private:
    NotifieeList notifiees_;
};

/** Writes its name into a log when it is told. */
class Watcher final : public Vexo::Notifiee {
public:
    Watcher(int name, std::vector<int>& log) : name_(name), log_(&log) {}
    void zeroReferences(PtrInterface& notifier) noexcept override {
        log_->push_back(name_);
        notifier_ = &notifier;
        if (reaction_) {
            reaction_();
        }
    }

    PtrInterface* notifier_ = nullptr;
    std::function<void()> reaction_;

private:
    int name_;
    std::vector<int>* log_;
};

class NotifieeTest : public TestSupport::LeakCheck {
protected:
    NotifieeTest() {
        object_->hasNotificationActiveIs(true);
        for (Watcher* watcher : {&first_, &second_, &third_}) {
            list().notifieeIs(watcher);
        }
    }
    NotifieeList& list() { return *object_->notifieeList(); }

    int ends_ = 0;
    std::vector<int> log_;
    Watcher first_{1, log_};
    Watcher second_{2, log_};
    Watcher third_{3, log_};
    Ptr<Observable> object_{new Observable(&ends_)};
};

TEST_F(NotifieeTest, areToldInTheOrderOfTheirEntry) {
    PtrInterface* const notifier = object_.get();
    Ptr<Observable> second = object_;
    object_ = nullptr;
    EXPECT_THAT(log_, IsEmpty());
    second = nullptr;
    EXPECT_THAT(log_, ElementsAre(1, 2, 3));
    EXPECT_EQ(ends_, 1);
    EXPECT_EQ(first_.notifier_, notifier);
}

TEST_F(NotifieeTest, areToldOfAnObjectThatIsStillWhole) {
    Vexo::FwkType const* type = nullptr;
    int endsWhenTold = -1;
    first_.reaction_ = [&] {
        type = first_.notifier_->fwkType();
        endsWhenTold = ends_;
        EXPECT_EQ(first_.notifier_->references(), 0U);
    };
    object_ = nullptr;
    EXPECT_EQ(type, &Body::fwkType_);
    EXPECT_EQ(endsWhenTold, 0);
    EXPECT_EQ(ends_, 1);
}

TEST_F(NotifieeTest, areNotToldWhileNotificationIsOff) {
    object_->hasNotificationActiveIs(false);
    object_ = nullptr;
    EXPECT_THAT(log_, IsEmpty());
    EXPECT_EQ(ends_, 1);
}

TEST_F(NotifieeTest, areInTheListOnce) {
    list().notifieeIs(&first_);
    list().notifieeIs(&third_);
    object_ = nullptr;
    EXPECT_THAT(log_, ElementsAre(1, 2, 3));
}

TEST_F(NotifieeTest, areNotToldOnceTheyLeftTheList) {
    list().notifieeDel(&second_);
    list().notifieeDel(&second_);
    object_ = nullptr;
    EXPECT_THAT(log_, ElementsAre(1, 3));
}

TEST_F(NotifieeTest, comeLastWhenTheyEnterAgain) {
    list().notifieeDel(&first_);
    list().notifieeIs(&first_);
    object_ = nullptr;
    EXPECT_THAT(log_, ElementsAre(2, 3, 1));
}

TEST_F(NotifieeTest, mayLeaveTheListWhenTheyAreTold) {
    NotifieeList* const notifiees = &list();
    for (Watcher* watcher : {&first_, &second_, &third_}) {
        watcher->reaction_ = [=] { notifiees->notifieeDel(watcher); };
    }
    object_ = nullptr;
    EXPECT_THAT(log_, ElementsAre(1, 2, 3));
}

TEST_F(NotifieeTest, mayTakeOthersFromTheListWhenTheyAreTold) {
    NotifieeList* const notifiees = &list();
    second_.reaction_ = [&] {
        notifiees->notifieeDel(&first_);
        notifiees->notifieeDel(&third_);
    };
    object_ = nullptr;
    EXPECT_THAT(log_, ElementsAre(1, 2));
}

TEST_F(NotifieeTest, areNotEnteredWhenMemoryEnds) {
    NotifieeList notifiees;
    TestSupport::failEachAllocation([&] { notifiees.notifieeIs(&first_); },
                                    [&] {
                                        notifiees.zeroReferences(*object_);
                                        EXPECT_THAT(log_, IsEmpty());
                                    });
    notifiees.zeroReferences(*object_);
    EXPECT_THAT(log_, ElementsAre(1));
}

TEST_F(NotifieeTest, anObjectWithoutAListJustEnds) {
    int ends = 0;
    Ptr<Body> body(new Body(&ends));
    body->hasNotificationActiveIs(true);
    body = nullptr;
    EXPECT_EQ(ends, 1);
}

/** Goes back to a store instead of ending. */
class Reusable : public Body {
public:
    explicit Reusable(std::vector<Reusable*>& store) : store_(&store) {}
    void zeroReferencesIs() override { store_->push_back(this); }

private:
    std::vector<Reusable*>* store_;
};

class ZeroReferencesTest : public TestSupport::LeakCheck {};

TEST_F(ZeroReferencesTest, anObjectMayKeepItselfAlive) {
    std::vector<Reusable*> store;
    Ptr<Reusable> object(new Reusable(store));
    Reusable* const address = object.get();
    object = nullptr;
    ASSERT_THAT(store, ElementsAre(address));
    EXPECT_EQ(address->references(), 0U);

    object = Ptr<Reusable>(store.back());
    EXPECT_EQ(object->references(), 1U);
    object = nullptr;
    ASSERT_THAT(store, ElementsAre(address, address));
    delete address;
}

/** Keeps the notification switch for itself. */
class Mute : public Observable {
public:
    using Observable::Observable;
    void hasNotificationActiveIs(bool active) override { asked_ = active; }
    bool asked_ = false;
};

TEST_F(ZeroReferencesTest, aClassMayDecideAboutItsNotification) {
    std::vector<int> log;
    Watcher watcher(1, log);
    Ptr<Mute> object(new Mute);
    object->notifieeList()->notifieeIs(&watcher);
    Ptr<PtrInterface>(object)->hasNotificationActiveIs(true);
    EXPECT_TRUE(object->asked_);
    EXPECT_FALSE(object->hasNotificationActive());
    object = nullptr;
    EXPECT_THAT(log, IsEmpty());
}

}  // namespace
