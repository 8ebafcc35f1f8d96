#include <tests/LpmTrie/TrieFixture.h>

#include <LpmTrie/RouteQueries.h>
#include <Vexo/RangeException.h>

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <map>

namespace {

using namespace TrieTests;

using Refusal = std::optional<String>;

struct Call {
    IpGenPrefix newPrefix;
    Node* start = nullptr;
    bool fibRoute = true;
    bool partitionNode = false;
    PartitionId::Ptr id = {};
    U32 hwTable = 0;
};

class InsertionRefusalTest : public TrieFixture {
protected:
    Refusal refusal(Call const& call) const {
        return insertionRefusal(trie(), call.newPrefix, call.start, call.fibRoute,
                                call.partitionNode, call.id, call.hwTable);
    }
    TrieReturnCode insert(Call const& call) const {
        return trie().insert(call.newPrefix, call.start, call.fibRoute, call.partitionNode, call.id,
                             call.hwTable);
    }

    enum class Outcome { accepted, thrown, aborted };
    /** What the insertion comes to, tried in a process of its own. */
    Outcome tried(Call const& call) const {
        pid_t const child = ::fork();
        if (child == 0) {
            ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);
            try {
                insert(call);
            } catch (Vexo::RangeException const&) {
                ::_exit(1);
            }
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        if (WIFEXITED(status) && WEXITSTATUS(status) <= 1) {
            return WEXITSTATUS(status) == 0 ? Outcome::accepted : Outcome::thrown;
        }
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) << status;
        return Outcome::aborted;
    }
};

TEST_F(InsertionRefusalTest, whatCanBeInsertedIsNotRefused) {
    EXPECT_EQ(refusal({.newPrefix = prefix("10.0.0.0/8")}), std::nullopt);
    route("10.0.0.0/8");
    route("11.0.0.0/8");
    for (char const* text : {"10.0.0.0/7", "0.0.0.0/0", "10.1.0.0/16", "128.0.0.0/1"}) {
        for (U32 roles = 1; roles <= 3; ++roles) {
            EXPECT_EQ(refusal({.newPrefix = prefix(text),
                               .fibRoute = (roles & 1) != 0,
                               .partitionNode = (roles & 2) != 0}),
                      std::nullopt)
                << text;
        }
    }
}

TEST_F(InsertionRefusalTest, aPrefixOfAnotherFamily) {
    EXPECT_EQ(refusal({.newPrefix = prefix("::/0")}),
              "the prefix is not of the trie's address family");
    trie().afIs(AddressFamily::none);
    EXPECT_EQ(refusal({.newPrefix = prefix("10.0.0.0/8")}),
              "the prefix is not of the trie's address family");
}

TEST_F(InsertionRefusalTest, noRole) {
    EXPECT_EQ(refusal({.newPrefix = prefix("10.0.0.0/8"), .fibRoute = false}),
              "the prefix is to be neither a FIB route nor a partition node");
}

TEST_F(InsertionRefusalTest, aStartInAnEmptyTrie) {
    Node* const start = partition("10.0.0.0/8");
    trie().rootIs(nullptr);
    EXPECT_EQ(refusal({.newPrefix = prefix("10.0.0.0/8"), .start = start}),
              "there is a start node, but the trie is empty");
    trie().rootIs(start);
}

TEST_F(InsertionRefusalTest, aStartThatDoesNotCoverThePrefix) {
    Node* const start = partition("10.0.0.0/8");
    EXPECT_EQ(refusal({.newPrefix = prefix("11.0.0.0/8"), .start = start}),
              "the start node does not cover the prefix");
    EXPECT_EQ(refusal({.newPrefix = prefix("10.0.0.0/7"), .start = start}),
              "the start node does not cover the prefix");
}

TEST_F(InsertionRefusalTest, aRouteOrAPartitionThatIsThere) {
    route("10.0.0.0/8");
    partition("11.0.0.0/8");
    EXPECT_EQ(refusal({.newPrefix = prefix("10.0.0.0/8")}), "the prefix is a FIB route already");
    EXPECT_EQ(refusal({.newPrefix = prefix("10.0.0.0/8"), .partitionNode = true}),
              "the prefix is a FIB route already");
    EXPECT_EQ(refusal({.newPrefix = prefix("11.0.0.0/8"), .partitionNode = true}),
              "the prefix is a partition node already");
    EXPECT_EQ(refusal({.newPrefix = prefix("11.0.0.0/8")}), std::nullopt);
}

TEST_F(InsertionRefusalTest, aPartitionWhereSomethingIsPending) {
    route("10.0.0.0/8")->pendingStateIs(PendingState::removePartition_());
    EXPECT_EQ(
        refusal({.newPrefix = prefix("10.0.0.0/8"), .fibRoute = false, .partitionNode = true}),
        "the prefix's node still has a pending state");
}

TEST_F(InsertionRefusalTest, aTableOrAnIdThatIsNotTheStarts) {
    PartitionId::Ptr const id = partitionId(5);
    PartitionId::Ptr const twin = partitionId(5);
    Node* const start = partition("10.0.0.0/8", id, 1);
    Call call{.newPrefix = prefix("10.1.0.0/16"), .start = start, .id = id, .hwTable = 1};
    EXPECT_EQ(refusal(call), std::nullopt);
    call.hwTable = 2;
    EXPECT_EQ(refusal(call), "the start node is in hardware table 1, the route in 2");
    call.fibRoute = false;
    call.partitionNode = true;
    EXPECT_EQ(refusal(call), std::nullopt) << "a partition alone brings its own";
    call = {.newPrefix = prefix("10.1.0.0/16"), .start = start, .id = twin, .hwTable = 1};
    EXPECT_EQ(refusal(call), "the route carries another partition id object than the start node");
    call.newPrefix = prefix("10.0.0.0/8");
    EXPECT_EQ(refusal(call), std::nullopt) << "the start itself takes what it is given";
}

TEST_F(InsertionRefusalTest, aBitThatNoAddressHas) {
    trie().afIs(AddressFamily::ipv6);
    IpGenPrefix const tooLong(Nimbal::Ip6Addr(), 129);
    EXPECT_EQ(refusal({.newPrefix = tooLong}), std::nullopt) << "nothing is compared with it";
    route("::/128");
    EXPECT_EQ(refusal({.newPrefix = tooLong}), "the prefix is longer than any address");
}

class RefusalAgreementTest : public InsertionRefusalTest, public testing::WithParamInterface<U32> {
protected:
    IpGenPrefix anyPrefix() {
        Nimbal::IpAddr const any(random_.below(64) << 26);
        U32 const len = random_.below(7);
        if (random_.below(10) == 0) {
            return {any, 126 + random_.below(5)};
        }
        if (random_.below(20) == 0) {
            return {Nimbal::Ip6Addr(), len};
        }
        return IpGenPrefix(any, len).hostBitsCleared();
    }
    Node* anyNode() {
        std::vector<PlacedNode> const nodes = placedNodes(trie().root());
        return nodes.empty() ? nullptr : nodes[random_.below(U32(nodes.size()))].node;
    }
    Call anyCall() {
        Call call{.newPrefix = anyPrefix()};
        if (random_.below(2) == 0) {
            call.start = anyNode();
        }
        if (random_.below(4) == 0 && trie().root() != nullptr) {
            call.newPrefix = anyNode()->prefixRef()->prefix();
        }
        U32 const roles = random_.below(7);
        call.fibRoute = roles % 2 == 1 || roles == 2;
        call.partitionNode = roles == 2 || roles == 4;
        call.id = ids_[random_.below(3)];
        call.hwTable = random_.below(2);
        if (call.start != nullptr && random_.below(2) == 0) {
            call.id = call.start->partitionId();
            call.hwTable = call.start->hwTable();
        }
        return call;
    }
    /** The route, and for half of them the partition too, with its count given to the one above. */
    void takeOut(Node* node) {
        if (node->partitionNode()) {
            trie().removeNode(node, false);
            if (random_.below(2) == 0) {
                return;
            }
            trie().mergePartitionNodeCount(node);
        }
        trie().removeNode(node, true);
    }

    Random random_{GetParam()};
    std::vector<PartitionId::Ptr> const ids_{nullptr, partitionId(5), partitionId(5)};
};

TEST_P(RefusalAgreementTest, anInsertionIsRefusedWhenAndOnlyWhenItWouldNotComplete) {
    std::map<Outcome, U32> seen;
    for (U32 i = 0; i < 150; ++i) {
        Call const call = anyCall();
        Refusal const refused = refusal(call);
        Outcome const outcome = tried(call);
        ++seen[outcome];
        ASSERT_EQ(!refused, outcome == Outcome::accepted)
            << "seed " << GetParam() << " call " << i << ": " << call.newPrefix << " from "
            << call.start << " roles " << call.fibRoute << call.partitionNode << " id "
            << call.id.get() << " hw:" << call.hwTable << ": " << refused.value_or("accepted");
        if (!refused) {
            Node* const node = insert(call).node();
            if (random_.below(6) == 0) {
                node->pendingStateIs(PendingState(static_cast<unsigned char>(random_.below(16))));
            }
        }
        if (random_.below(5) == 0 && trie().root() != nullptr) {
            takeOut(anyNode());
        }
    }
    EXPECT_GT(seen[Outcome::accepted], 10U);
    EXPECT_GT(seen[Outcome::aborted], 10U);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RefusalAgreementTest, testing::Range(1U, 7U));

}  // namespace
