#include <tests/LpmTrie/TrieFixture.h>
#include <tests/LpmTrie/VerifySignatures.h>

/* What a client's own trie and nodes see of a verification. */

namespace {

using namespace TrieTests;

using Calls = std::vector<String>;

String name(Node const* node) {
    return node != nullptr ? node->prefixRef()->prefix().stringValue() : "(nil)";
}

class CheckedNode : public Node {
public:
    CheckedNode(Calls& calls, Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                bool partitionNode, PartitionId::Ptr const& partitionId, U32 hwTable)
        : Node(prefixRef, fibRoute, partitionNode, partitionId, hwTable), calls_(calls) {}
    void verifyPartition(Node* partitionNode) override {
        calls_.push_back("Node::verifyPartition " + name(this) + " in " + name(partitionNode));
    }

private:
    Calls& calls_;
};

/** Keeps every call, and then does what the base does. */
class CheckedTrie : public Trie {
public:
    using Trie::Trie;
    Node* allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                       bool partitionNode, PartitionId::Ptr const& partitionId,
                       U32 hwTable) override {
        return new CheckedNode(calls, prefixRef, fibRoute, partitionNode, partitionId, hwTable);
    }
    void verify() override {
        calls.push_back("verify");
        Trie::verify();
    }
    void verifyPartition(Node* node) override {
        calls.push_back("verifyPartition " + name(node));
        Trie::verifyPartition(node);
    }
    void verifyNodeProperties(Node* node) override {
        calls.push_back("verifyNodeProperties " + name(node));
        if (refusing) {
            std::_Exit(3);
        }
        Trie::verifyNodeProperties(node);
    }
    void verifyFibRoutes(Node* node) override {
        calls.push_back("verifyFibRoutes " + name(node));
        Trie::verifyFibRoutes(node);
    }
    void verifyFibRoute(Node* node, Node* partitionNode) override {
        calls.push_back("verifyFibRoute " + name(node) + " in " + name(partitionNode));
        Trie::verifyFibRoute(node, partitionNode);
    }
    TrieReturnCode findPartitionNode(IpGenPrefix const& wanted, bool includePending) override {
        calls.push_back("findPartitionNode " + wanted.stringValue() +
                        (includePending ? " with pending" : " without pending"));
        return Trie::findPartitionNode(wanted, includePending);
    }

    Calls calls;
    /** Ends the process where a node's properties are verified. */
    bool refusing = false;
};

class VerifyHooksTest : public TrieFixture {
protected:
    VerifyHooksTest() { trieIs(checked_); }
    CheckedTrie& checked() const { return *checked_; }
    Calls& calls() const { return checked_->calls; }

private:
    CheckedTrie* const checked_ = new CheckedTrie(1);
};

TEST_F(VerifyHooksTest, aClientsOverridesAreReachedInTheOrderOfTheChecks) {
    PartitionId::Ptr const outer = partitionId(1);
    PartitionId::Ptr const inner = partitionId(2);
    partition("10.0.0.0/8", outer);
    route("10.1.0.0/16", outer);
    routeAndPartition("10.2.0.0/16", inner);
    route("10.200.0.0/16", outer);
    route("192.0.2.0/24");
    calls().clear();
    trie().verify();
    EXPECT_THAT(calls(), testing::ElementsAreArray(Calls{
                             "verify",
                             "verifyPartition 10.0.0.0/8",
                             "verifyNodeProperties 10.0.0.0/8",
                             "verifyFibRoutes 10.0.0.0/8",
                             "verifyFibRoute 10.1.0.0/16 in 10.0.0.0/8",
                             "findPartitionNode 10.1.0.0/16 without pending",
                             "Node::verifyPartition 10.1.0.0/16 in 10.0.0.0/8",
                             "verifyFibRoute 10.200.0.0/16 in 10.0.0.0/8",
                             "findPartitionNode 10.200.0.0/16 without pending",
                             "Node::verifyPartition 10.200.0.0/16 in 10.0.0.0/8",
                             "verifyPartition 10.2.0.0/16",
                             "verifyNodeProperties 10.2.0.0/16",
                             "verifyFibRoutes 10.2.0.0/16",
                             "verifyFibRoute 10.2.0.0/16 in 10.2.0.0/16",
                             "findPartitionNode 10.2.0.0/16 without pending",
                             "Node::verifyPartition 10.2.0.0/16 in 10.2.0.0/16",
                         }));
}

TEST_F(VerifyHooksTest, thePropertiesAreVerifiedOnlyOfAPartitionNode) {
    Node* const node = route("10.0.0.0/8");
    calls().clear();
    checked().refusing = true;
    EXPECT_EXIT(trie().verifyPartition(node), aborts,
                trieAssertion("node->partitionNode()", " node Fib,10.0.0.0/8,1,1,nil,hw:0",
                              Signature::verifyPartition));
    node->partitionNodeIs(true);
    EXPECT_EXIT(trie().verifyPartition(node), testing::ExitedWithCode(3), "");
}

/** Takes every partition as it is. */
class TrustingTrie : public LpmTrie::Trie {
public:
    using Trie::Trie;
    void verifyPartition(Node*) override { ++partitions; }
    U32 partitions = 0;
};
/** Takes every route as it is. */
class RouteTrustingTrie : public LpmTrie::Trie {
public:
    using Trie::Trie;
    void verifyFibRoute(Node*, Node*) override { ++routes; }
    U32 routes = 0;
};

TEST_F(VerifyHooksTest, aCheckThatAClientReplacesIsNotMade) {
    auto const spoil = [&] {
        partition("10.0.0.0/8", partitionId(1));
        route("10.1.0.0/16", partitionId(2));
        route("10.2.0.0/16", partitionId(3));
    };
    auto* const trusting = new TrustingTrie(1);
    trieIs(trusting);
    spoil();
    trie().verify();
    EXPECT_EQ(trusting->partitions, 1U);

    removeAll(trie());
    auto* const routeTrusting = new RouteTrustingTrie(1);
    trieIs(routeTrusting);
    spoil();
    trie().verify();
    EXPECT_EQ(routeTrusting->routes, 2U);
}

}  // namespace
