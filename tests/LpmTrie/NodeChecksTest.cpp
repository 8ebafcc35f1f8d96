#include <LpmTrie/LpmTrieNode.h>

#include <tests/LpmTrie/TrieFixture.h>
#include <tests/Support/AssertionText.h>
#include <tests/Support/LeakCheck.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>

/* The assertions of a node's accessors. What breaks or destroys a node here does so in the process
 * that the assertion ends, never in the test's own. */

namespace {

using LpmTrie::Node;
using LpmTrie::PartitionId;
using LpmTrie::PartitionIdValue;
using LpmTrie::PendingState;
using Nimbal::IpGenPrefixRef;
using TrieTests::aborts;
using TrieTests::address;
using TrieTests::breakEyeCatcher;
using TrieTests::brokenEyeCatcher;
using TrieTests::nodeAssertion;
using TrieTests::prefix;
using Vexo::String;
using Vexo::U32;

struct CheckedOperation {
    char const* name;
    char const* signature;
    void (*call)(Node& node);
};

std::ostream& operator<<(std::ostream& stream, CheckedOperation const& operation) {
    return stream << operation.name;
}

/** Calls through this see a node of which the compiler knows nothing. */
[[gnu::noinline]] void callIn(CheckedOperation const& operation, Node& node) {
    operation.call(node);
}

template <class Fixture>
class WithNode : public Fixture {
protected:
    IpGenPrefixRef::Ptr const holder_ = IpGenPrefixRef::IpGenPrefixRefIs(prefix("10.0.0.0/8"));
    PartitionId::Ptr const id_ = PartitionId::PartitionIdIs(PartitionIdValue(5), 0xffff, {});
    Node node_{holder_, true, false, id_, 3};
};

class NodeEyeCatcherDeathTest
    : public WithNode<TestSupport::LeakChecked<testing::TestWithParam<CheckedOperation>>> {};

TEST_P(NodeEyeCatcherDeathTest, isCheckedAndNamesTheNodesAddress) {
    EXPECT_EXIT((breakEyeCatcher(&node_), callIn(GetParam(), node_)), aborts,
                brokenEyeCatcher(&node_, GetParam().signature));
}

INSTANTIATE_TEST_SUITE_P(
    Operations, NodeEyeCatcherDeathTest,
    testing::Values(
        CheckedOperation{"len", "U32 LpmTrie::Node::len() const",
                         [](Node& node) { static_cast<void>(node.len()); }},
        CheckedOperation{"commonLen",
                         "U32 LpmTrie::Node::commonLen(const Nimbal::IpGenPrefix&) const",
                         [](Node& node) { static_cast<void>(node.commonLen({})); }},
        CheckedOperation{"internal", "bool LpmTrie::Node::internal() const",
                         [](Node& node) { static_cast<void>(node.internal()); }},
        CheckedOperation{"partitionNodeIsTrue", "void LpmTrie::Node::partitionNodeIs(bool)",
                         [](Node& node) { node.partitionNodeIs(true); }},
        CheckedOperation{"partitionNodeIsFalse", "void LpmTrie::Node::partitionNodeIs(bool)",
                         [](Node& node) { node.partitionNodeIs(false); }},
        CheckedOperation{"fibRouteIs", "void LpmTrie::Node::fibRouteIs(bool)",
                         [](Node& node) { node.fibRouteIs(true); }},
        CheckedOperation{"parentIs", "void LpmTrie::Node::parentIs(LpmTrie::Node*)",
                         [](Node& node) { node.parentIs(nullptr); }},
        CheckedOperation{"bitNodeIs", "void LpmTrie::Node::bitNodeIs(U32, LpmTrie::Node*)",
                         [](Node& node) { node.bitNodeIs(0, nullptr); }},
        CheckedOperation{"hwTableIs", "void LpmTrie::Node::hwTableIs(U32)",
                         [](Node& node) { node.hwTableIs(1); }},
        CheckedOperation{"partitionIdIs", "void LpmTrie::Node::partitionIdIs(const Ptr&)",
                         [](Node& node) { node.partitionIdIs({}); }},
        CheckedOperation{"pendingStateIs",
                         "void LpmTrie::Node::pendingStateIs(LpmTrie::PendingState)",
                         [](Node& node) { node.pendingStateIs({}); }},
        CheckedOperation{"partitionRouteCountIs", "void LpmTrie::Node::partitionRouteCountIs(U32)",
                         [](Node& node) { node.partitionRouteCountIs(1); }},
        CheckedOperation{"routeCountInc", "void LpmTrie::Node::routeCountInc(U32)",
                         [](Node& node) { node.routeCountInc(1); }},
        CheckedOperation{"partitionRouteCountInc",
                         "void LpmTrie::Node::partitionRouteCountInc(U32)",
                         [](Node& node) { node.partitionRouteCountInc(1); }},
        CheckedOperation{"routeCountDec", "void LpmTrie::Node::routeCountDec(U32)",
                         [](Node& node) { node.routeCountDec(0); }},
        CheckedOperation{"partitionRouteCountDec",
                         "void LpmTrie::Node::partitionRouteCountDec(U32)",
                         [](Node& node) { node.partitionRouteCountDec(0); }}),
    [](auto const& operation) { return operation.param.name; });

class NodeDeathTest : public WithNode<TestSupport::LeakCheck> {};

TEST_F(NodeDeathTest, theTextChecksTheEyeCatcherWhateverTheNodesRole) {
    Node internal(holder_, false, false, {}, 0);
    for (Node* const node : {&node_, &internal}) {
        EXPECT_EXIT((breakEyeCatcher(node), node->stringValue()), aborts,
                    brokenEyeCatcher(node, "bool LpmTrie::Node::internal() const"));
    }
}

TEST_F(NodeDeathTest, plainReadsCheckNothing) {
    EXPECT_EXIT(
        {
            breakEyeCatcher(&node_);
            bool const asBefore = node_.prefixRef() == holder_ && node_.parent() == nullptr &&
                                  node_.bitNode(0) == nullptr && node_.bitNode(1) == nullptr &&
                                  node_.fibRoute() && !node_.partitionNode() &&
                                  node_.partitionId() == id_ && node_.hwTable() == 3 &&
                                  node_.routeCount() == 0 && node_.partitionRouteCount() == 0 &&
                                  node_.pendingState() == PendingState();
            std::_Exit(asBefore ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(NodeDeathTest, becomingAPartitionRequiresThatNothingIsPending) {
    for (PendingState const& state :
         {PendingState::createPartition_(), PendingState::removePartition_(),
          PendingState::splittingPartition_(), PendingState::maxPendingState_(), ~PendingState()}) {
        node_.pendingStateIs(state);
        EXPECT_EXIT(
            node_.partitionNodeIs(true), aborts,
            nodeAssertion("pendingState_.value() == 0",
                          "node:" + address(&node_) + " pendingState:" + valueToStrep(state),
                          "void LpmTrie::Node::partitionNodeIs(bool)"));
    }
}

TEST_F(NodeDeathTest, routeCountDoesNotFallBelowZero) {
    node_.routeCountInc(3);
    EXPECT_EXIT(node_.routeCountDec(4), aborts,
                nodeAssertion("routeCount_ >= decr",
                              " routeCount_:3 decr:4 node Fib,10.0.0.0/8,3,0,0x5,hw:3",
                              "void LpmTrie::Node::routeCountDec(U32)"));
    node_.routeCountDec(3);
    EXPECT_EXIT(node_.routeCountDec(0xffffffffU), aborts,
                nodeAssertion("routeCount_ >= decr",
                              " routeCount_:0 decr:4294967295 node Fib,10.0.0.0/8,0,0,0x5,hw:3",
                              "void LpmTrie::Node::routeCountDec(U32)"));
}

TEST_F(NodeDeathTest, partitionRouteCountDoesNotFallBelowZero) {
    node_.routeCountInc(9);
    node_.partitionRouteCountIs(3);
    EXPECT_EXIT(node_.partitionRouteCountDec(4), aborts,
                nodeAssertion("partitionRouteCount_ >= decr",
                              " partitionRouteCount_:3 decr:4 node Fib,10.0.0.0/8,9,3,0x5,hw:3",
                              "void LpmTrie::Node::partitionRouteCountDec(U32)"));
    node_.partitionRouteCountIs(0);
    EXPECT_EXIT(node_.partitionRouteCountDec(1), aborts,
                nodeAssertion("partitionRouteCount_ >= decr",
                              " partitionRouteCount_:0 decr:1 node Fib,10.0.0.0/8,9,0,0x5,hw:3",
                              "void LpmTrie::Node::partitionRouteCountDec(U32)"));
}

/** The counter comes first; the node's text then fails at the eye catcher, and both are told. */
TEST_F(NodeDeathTest, aDecrementBelowZeroOfABrokenNodeTellsBoth) {
    testing::Matcher<String const&> const both = testing::AllOf(
        testing::StartsWith("partitionRouteCount_ >= decr:  partitionRouteCount_:0 decr:1 node "),
        testing::HasSubstr("eyeCatcher_ == TRIE_NODE_EYECATCHER: " + address(&node_) + "\n"));
    EXPECT_EXIT((breakEyeCatcher(&node_), node_.partitionRouteCountDec(1)), aborts, both);
}

TEST_F(NodeDeathTest, destroyingABrokenNodeTellsThatItIsFreed) {
    EXPECT_EXIT((breakEyeCatcher(&node_), node_.~Node()), aborts,
                nodeAssertion("eyeCatcher_ == TRIE_NODE_EYECATCHER",
                              "Freeing invalid node:" + address(&node_),
                              "virtual LpmTrie::Node::~Node()"));
}

}  // namespace
