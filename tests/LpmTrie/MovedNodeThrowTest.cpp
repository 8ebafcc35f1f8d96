#include <tests/LpmTrie/PartitionWorld.h>
#include <tests/Support/AssertionText.h>

#include <gmock/gmock.h>

#include <functional>

namespace {

using namespace LpmTrieTest;
using testing::ElementsAre;

/** Hooks that throw while routes change their partition. */
class MovedNodeThrowTest : public PartitionWorld {
protected:
    using Change = std::function<void()>;

    /** One partition with four routes below 10.128.0.0/9 and one beside it, all labelled 1. */
    void build() {
        LpmTrie::removeAll(*trie_);
        partition("10.0.0.0/8", 1);
        for (char const* const text :
             {"10.0.0.0/16", "10.128.0.0/16", "10.160.0.0/16", "10.192.0.0/16", "10.192.1.0/24"}) {
            route(text, 1);
        }
        settle();
        trie_->failing.clear();
    }
    /** Those five routes and a partition 2, itself a route, that took three of them. */
    void buildNested() {
        build();
        routeAndPartition("10.128.0.0/10", 2);
        routeAndPartition("10.192.0.0/10", 3);
        settle();
    }

    /** The first failure that reached the caller of `change`; 0 for none. */
    static U32 failureOf(Change const& change) {
        try {
            change();
        } catch (HookFailure const& failure) {
            return failure.report;
        }
        return 0;
    }

    /**
     * Runs `change` without a failure, and then with each set of failing reports: the trie and all
     * reports are the same each time, and the first of the failures arrives.
     */
    void expectCompleteInSpiteOfFailures(Change const& prepare, Change const& change,
                                         std::vector<String> const& expectedReports) {
        prepare();
        ASSERT_EQ(failureOf(change), 0U);
        std::vector<String> const complete = state();
        ASSERT_EQ(reportTexts(), expectedReports);
        auto const count = static_cast<U32>(expectedReports.size());
        for (U32 failing = 1; failing < 1U << count; ++failing) {
            SCOPED_TRACE(testing::Message() << "reports that throw, as bits: " << failing);
            prepare();
            U32 first = 0;
            for (U32 report = count; report != 0; --report) {
                if ((failing & 1U << (report - 1)) != 0) {
                    trie_->failing.insert(report);
                    first = report;
                }
            }
            EXPECT_EQ(failureOf(change), first);
            trie_->failing.clear();
            EXPECT_EQ(texts(state()), texts(complete));
            EXPECT_EQ(reportTexts(), expectedReports);
            trie_->verify();
        }
    }

private:
    /** Without the addresses, which differ from trie to trie. */
    static std::vector<String> texts(std::vector<String> lines) {
        for (String& line : lines) {
            line.erase(line.find(" id at "));
        }
        return lines;
    }
};

TEST_F(MovedNodeThrowTest, theExceptionOfASingleReportArrives) {
    Node* const node = route("10.0.0.0/8", 2);
    trie_->failing = {1};
    EXPECT_EQ(failureOf([&] { trie_->addMovedNode(node, id(1), nullptr); }), 1U);
    EXPECT_EQ(failureOf([&] { trie_->addMovedNode(node, id(1), nullptr); }), 0U);
    EXPECT_EQ(trie_->reports.size(), 2U);
}

TEST_F(MovedNodeThrowTest, anInsertionIsCompleteInSpiteOfFailures) {
    expectCompleteInSpiteOfFailures(
        [&] { build(); }, [&] { routeAndPartition("10.128.0.0/10", 2); },
        {"10.128.0.0/16: 1/hw:1 -> 2/hw:1", "10.160.0.0/16: 1/hw:1 -> 2/hw:1"});
    EXPECT_EQ(at("10.128.0.0/10")->routeCount(), 3U);
    EXPECT_EQ(at("10.128.0.0/10")->partitionRouteCount(), 3U);
    EXPECT_EQ(at("10.0.0.0/8")->routeCount(), 6U);
}

TEST_F(MovedNodeThrowTest, anInsertionAtAnInternalNodeIsCompleteInSpiteOfFailures) {
    expectCompleteInSpiteOfFailures(
        [&] { build(); }, [&] { routeAndPartition("10.128.0.0/9", 2); },
        {"10.128.0.0/16: 1/hw:1 -> 2/hw:1", "10.160.0.0/16: 1/hw:1 -> 2/hw:1",
         "10.192.0.0/16: 1/hw:1 -> 2/hw:1", "10.192.1.0/24: 1/hw:1 -> 2/hw:1"});
}

TEST_F(MovedNodeThrowTest, anInsertionAboveTheRootIsCompleteInSpiteOfFailures) {
    expectCompleteInSpiteOfFailures(
        [&] {
            LpmTrie::removeAll(*trie_);
            route("10.0.0.0/16", 1);
            route("10.1.0.0/16", 1);
            settle();
        },
        [&] { routeAndPartition("10.0.0.0/8", 2); },
        {"10.0.0.0/16: 1/hw:1 -> 2/hw:1", "10.1.0.0/16: 1/hw:1 -> 2/hw:1"});
}

TEST_F(MovedNodeThrowTest, aNewPartitionIsCompleteInSpiteOfFailures) {
    expectCompleteInSpiteOfFailures(
        [&] { build(); },
        [&] {
            Node* const cut = at("10.128.0.0/9");
            cut->partitionNodeIs(true);
            cut->partitionIdIs(id(2));
            trie_->updateNewPartition(cut, nullptr, false);
        },
        {"10.128.0.0/16: 1/hw:1 -> 2/hw:1", "10.160.0.0/16: 1/hw:1 -> 2/hw:1",
         "10.192.0.0/16: 1/hw:1 -> 2/hw:1", "10.192.1.0/24: 1/hw:1 -> 2/hw:1"});
}

TEST_F(MovedNodeThrowTest, aRelabellingIsCompleteInSpiteOfFailures) {
    expectCompleteInSpiteOfFailures(
        [&] { buildNested(); },
        [&] {
            at("10.192.0.0/10")->partitionIdIs(id(4));
            trie_->updatePartitionId(at("10.192.0.0/10"), nullptr);
        },
        {"10.192.0.0/16: 3/hw:1 -> 4/hw:1", "10.192.1.0/24: 3/hw:1 -> 4/hw:1"});
}

TEST_F(MovedNodeThrowTest, aMergeIsCompleteInSpiteOfFailures) {
    expectCompleteInSpiteOfFailures(
        [&] { buildNested(); },
        [&] {
            trie_->mergePartition(at("10.192.0.0/10"), at("10.0.0.0/8"), id(1), false, nullptr);
        },
        {"10.192.0.0/10: 3/hw:1 -> 1/hw:1", "10.192.0.0/16: 3/hw:1 -> 1/hw:1",
         "10.192.1.0/24: 3/hw:1 -> 1/hw:1"});
    EXPECT_EQ(at("10.192.0.0/10")->pendingState(), PendingState::removePartition_());
}

TEST_F(MovedNodeThrowTest, aMergeIntoANewPartitionIsCompleteInSpiteOfFailures) {
    expectCompleteInSpiteOfFailures(
        [&] {
            build();
            routeAndPartition("10.192.0.0/10", 3);
            route("10.128.0.0/9", 1);
            settle();
        },
        [&] {
            trie_->mergePartition(at("10.192.0.0/10"), at("10.128.0.0/9"), id(5), true, nullptr);
        },
        {"10.128.0.0/9: 1/hw:1 -> 5/hw:1", "10.128.0.0/16: 1/hw:1 -> 5/hw:1",
         "10.160.0.0/16: 1/hw:1 -> 5/hw:1", "10.192.0.0/10: 3/hw:1 -> 5/hw:1",
         "10.192.0.0/16: 3/hw:1 -> 5/hw:1", "10.192.1.0/24: 3/hw:1 -> 5/hw:1"});
    EXPECT_EQ(at("10.128.0.0/9")->pendingState(), PendingState::createPartition_());
    EXPECT_EQ(at("10.128.0.0/9")->partitionRouteCount(), 6U);
}

TEST_F(MovedNodeThrowTest, theTrieWorksOnAfterAFailure) {
    build();
    trie_->failing = {1};
    EXPECT_EQ(failureOf([&] { partition("10.128.0.0/9", 2); }), 1U);
    route("10.129.0.0/16", 2);
    EXPECT_EQ(at("10.128.0.0/9")->partitionRouteCount(), 5U);
    trie_->verify();
}

/** Asks and, if told to, changes the trie from inside the hook. */
class BusyTrie : public LpmTrie::Trie {
public:
    using Trie::Trie;
    void movedNode(Node* node, PartitionId::Ptr const&, U32) override {
        found.push_back(findPartitionNode(node->prefixRef()->prefix(), false).partitionNode());
        if (changing) {
            remove(node->prefixRef()->prefix());
        }
    }
    std::vector<Node*> found;
    bool changing = false;
};

class BusyHookTest : public TestSupport::LeakCheck {
protected:
    BusyHookTest() {
        trie_->afIs(Nimbal::AddressFamily::ipv4);
        trie_->insertFromRoot(prefix("10.0.0.0/16"), true, false, nullptr, 1);
    }
    ~BusyHookTest() override { LpmTrie::removeAll(*trie_); }
    void insertPartitionAbove() {
        trie_->insertFromRoot(prefix("10.0.0.0/8"), false, true, newId(1), 1);
    }
    Vexo::Ptr<BusyTrie> const trie_{new BusyTrie(1)};
};

TEST_F(BusyHookTest, aHookMayAskTheTrie) {
    insertPartitionAbove();
    EXPECT_THAT(trie_->found, ElementsAre(trie_->root()));
}

#ifndef NDEBUG
TEST_F(BusyHookTest, aHookThatChangesTheTrieIsFoundOutInDebugBuilds) {
    trie_->changing = true;
    EXPECT_EXIT(insertPartitionAbove(), testing::KilledBySignal(SIGABRT),
                TestSupport::assertionText(
                    "!hookRunning_", "a hook must not change the trie that has called it",
                    "LpmTrie/LpmTrie",
                    "LpmTrie::TrieNodeReturnCode LpmTrie::Trie::remove(const "
                    "Nimbal::IpGenPrefix&)"));
}
#endif

}  // namespace
