#include <tests/Support/TraceCapture.h>
#include <tests/client/UndisturbedRun.h>

/*
 * Exceptions from what a user of the client puts into it: a policy of his own and a sink for the
 * library's traces. Trie and chip agree afterwards, and the run goes on as one without them.
 */

namespace ClientTest {
namespace {

using LpmClient::ClientTrie;
using LpmClient::Cut;
using LpmClient::Policy;
using LpmClient::Room;
using LpmClient::RouteNode;
using LpmClient::WriteStatus;

struct Thrown {};

/** Asks another policy, unless it is told to throw. */
class ThrowingPolicy : public Policy {
public:
    explicit ThrowingPolicy(std::string const& name) : policy_(LpmClient::makePolicy(name)) {}

    std::optional<Cut> makeRoom(ClientTrie& trie, RouteNode* root, RouteNode* incoming,
                                Room const& room) override {
        throwIfTold();
        return policy_->makeRoom(trie, root, incoming, room);
    }
    std::optional<Cut> shrink(ClientTrie& trie, RouteNode* root, Room const& room) override {
        throwIfTold();
        return policy_->shrink(trie, root, room);
    }

    bool throws = false;

private:
    void throwIfTold() const {
        if (throws) {
            throw Thrown();
        }
    }

    std::unique_ptr<Policy> const policy_;
};

class HookExceptionTest : public UndisturbedRun {
protected:
    HookExceptionTest() : UndisturbedRun(16) {}
};

TEST_P(HookExceptionTest, policyThatThrowsLeavesAnAnnouncementUndoneAndAWithdrawalDone) {
    ClientWorld world(space_, policy_, size_);
    auto owned = std::make_unique<ThrowingPolicy>(policy_);
    ThrowingPolicy& policy = *owned;
    world.newManager(std::move(owned));
    auto& manager = world.manager();
    U64 announcements = 0;
    U64 withdrawals = 0;
    for (std::size_t i = 0; i < steps_.size(); ++i) {
        SCOPED_TRACE("update " + std::to_string(i));
        Update const& update = steps_[i].update;
        policy.throws = true;
        bool thrown = false;
        try {
            world.update(update);
        } catch (Thrown const&) {
            thrown = true;
        }
        policy.throws = false;
        if (thrown) {
            ASSERT_TRUE(manager.audit().empty());
            ASSERT_TRUE(manager.owed().empty());
            if (update.nextHop) {
                ++announcements;
                ASSERT_TRUE(manager.settled());
                ASSERT_NO_FATAL_FAILURE(world.check());
                ASSERT_EQ(world.update(update), Outcome::done);
            } else {
                ++withdrawals;
                ASSERT_FALSE(manager.settled());
                takeInto(world.table, update);
                policy.throws = true;
                ASSERT_THROW(manager.retry(), Thrown);
                policy.throws = false;
                ASSERT_FALSE(manager.settled());
                ASSERT_TRUE(manager.audit().empty());
                ASSERT_TRUE(manager.retry());
            }
        }
        ASSERT_TRUE(manager.settled());
        ASSERT_NO_FATAL_FAILURE(world.check());
        ASSERT_EQ(world.state(), steps_[i].state);
    }
    ASSERT_FALSE(world.failed());
    EXPECT_GT(announcements, 2U);
    EXPECT_GT(withdrawals, 10U);
}

TEST_P(HookExceptionTest, policyThatThrowsInARetryLeavesOwedWhatWasOwed) {
    ClientWorld world(space_, policy_, size_);
    auto owned = std::make_unique<ThrowingPolicy>(policy_);
    ThrowingPolicy& policy = *owned;
    world.newManager(std::move(owned));
    auto& manager = world.manager();
    U64 thrown = 0;
    for (std::size_t i = 0; i < steps_.size(); ++i) {
        SCOPED_TRACE("update " + std::to_string(i));
        Update const& update = steps_[i].update;
        world.watched.refuse = [](U64, WatchedChip::Write const&) {
            return std::optional(WriteStatus::transientError);
        };
        Outcome const outcome = world.update(update);
        world.watched.refuse = nullptr;
        if (outcome == Outcome::refused) {
            auto const owed = manager.owed();
            ASSERT_EQ(owed.count(update.prefix), 1U);
            policy.throws = true;
            try {
                manager.retry();
            } catch (Thrown const&) {
                ++thrown;
                ASSERT_FALSE(manager.settled());
                // A withdrawal is done; what its smaller partition may need is still to be done.
                ASSERT_EQ(manager.owed().count(update.prefix), update.nextHop ? 1U : 0U);
            }
            policy.throws = false;
            ASSERT_TRUE(manager.audit().empty());
            ASSERT_TRUE(manager.retry());
            takeInto(world.table, update);
        }
        ASSERT_TRUE(manager.settled());
        ASSERT_FALSE(world.failed());
        ASSERT_NO_FATAL_FAILURE(world.check());
        ASSERT_EQ(world.state(), steps_[i].state);
    }
    EXPECT_GT(thrown, 10U);
}

TEST_P(HookExceptionTest, traceSinkThatThrowsChangesNothing) {
    TestSupport::TraceCapture const capture("*/0-9");  // gives the levels and the sink back
    U64 lines = 0;
    auto const before = Vexo::traceSinkIs([&lines](Vexo::TraceLine const&) {
        ++lines;
        throw Thrown();
    });
    ClientWorld world(space_, policy_, size_);
    world.watch(false);
    for (std::size_t i = 0; i < steps_.size(); ++i) {
        world.update(steps_[i].update);
        ASSERT_EQ(world.state(), steps_[i].state) << "update " << i;
    }
    world.manager().trie().verify();
    Vexo::traceSinkIs(before);
    EXPECT_GT(lines, 10 * steps_.size());
}

INSTANTIATE_TEST_SUITE_P(All, HookExceptionTest, testing::ValuesIn(allCases()), caseName);

}  // namespace
}  // namespace ClientTest
