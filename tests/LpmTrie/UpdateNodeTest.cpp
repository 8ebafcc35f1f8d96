#include <tests/LpmTrie/AbortedTrie.h>
#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

namespace {

using namespace TrieTests;
using testing::ElementsAre;
using TestSupport::TraceCapture;

/** Writes down the moves that the hook is told. */
class MovesTrie : public Trie {
public:
    MovesTrie() : Trie(1) {}
    void movedNode(Node* node, PartitionId::Ptr const& oldPartitionId, U32 oldHwTable) override {
        std::ostringstream text;
        text << node << " from " << oldPartitionId.get() << " hw:" << oldHwTable;
        moves_.push_back(text.str());
    }
    std::vector<String> moves_;
};

class UpdateNodeTest : public TrieFixture {
protected:
    UpdateNodeTest() { trieIs(moves_); }

    MovesTrie* const moves_ = new MovesTrie();
};

TEST_F(UpdateNodeTest, aRouteIsCountedInItselfAndInItsPartitionUpwards) {
    partition("0.0.0.0/0");
    Node* const above = partition("10.0.0.0/8");
    Node* const node = make("10.1.0.0/16");
    hang(above, 0, node);
    trie().updateNode(node, true, nullptr, false, true);
    // The nodes above were to be counted on the way down.
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,0.0.0.0/0,0,0,nil,hw:0,cp",       //
                                             "  0 Partition,10.0.0.0/8,0,1,nil,hw:0,cp",  //
                                             "    0 Fib,10.1.0.0/16,1,1,nil,hw:0"));
}

TEST_F(UpdateNodeTest, aStartBringsTheNodesAboveItIntoTheCount) {
    route("0.0.0.0/0");
    Node* const start = partition("10.0.0.0/8", partitionId(5), 1);
    Node* const node = make("10.1.0.0/16", false, false, start->partitionId(), 1);
    hang(start, 0, node);
    trie().updateNode(node, true, start, false, true);
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,2,1,nil,hw:0",                //
                                             "  0 Partition,10.0.0.0/8,0,1,0x5,hw:1,cp",  //
                                             "    0 Fib,10.1.0.0/16,1,1,0x5,hw:1"));
}

TEST_F(UpdateNodeTest, aPartitionAloneIsPendingCreationAndCountsNoRoute) {
    route("0.0.0.0/0");
    Node* const node = make("10.0.0.0/8", false, false, partitionId(5));
    hang(trie().root(), 0, node);
    trie().updateNode(node, false, trie().root(), true, true);
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,1,1,nil,hw:0",  //
                                             "  0 Partition,10.0.0.0/8,0,0,0x5,hw:0,cp"));
    EXPECT_EQ(node->pendingState(), PendingState::createPartition_());
}

TEST_F(UpdateNodeTest, theRolesThatAreNotAskedForStay) {
    routeAndPartition("10.0.0.0/8");
    std::vector<NodeState> const before = snapshot(trie());
    trie().updateNode(trie().root(), false, nullptr, false, false);
    EXPECT_EQ(snapshot(trie()), before);
    trie().updateNode(trie().root(), false, trie().root(), false, true);
    EXPECT_EQ(snapshot(trie()), before);
}

TEST_F(UpdateNodeTest, aPartitionLabelsTheRoutesBelowAndTheHookHearsOfEach) {
    PartitionId::Ptr const outer = partitionId(1);
    Node* const start = partition("0.0.0.0/0", outer, 4);
    routeFrom(start, "10.0.0.0/8");
    routeFrom(start, "10.1.0.0/16");
    routeFrom(start, "10.2.0.0/16");
    PartitionId::Ptr const inner = partitionId(2);
    trie().insertFromRoot(prefix("10.0.0.0/14"), false, true, inner, 4);
    EXPECT_THAT(moves_->moves_, ElementsAre("Fib,10.1.0.0/16,1,1,0x2,hw:4 from PartitionId:1 "
                                            "references:5 hw:4",
                                            "Fib,10.2.0.0/16,1,1,0x2,hw:4 from PartitionId:1 "
                                            "references:4 hw:4"));
}

TEST_F(UpdateNodeTest, anExistingRoutesOwnMoveIsCountedButNotReported) {
    Node* const start = partition("0.0.0.0/0", partitionId(1), 4);
    Node* const node = routeFrom(start, "10.0.0.0/8");
    node->partitionIdIs(partitionId(2));
    trie().updateNode(node, false, nullptr, true, false);
    EXPECT_THAT(moves_->moves_, ElementsAre());
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,0.0.0.0/0,1,0,0x1,hw:4,cp",  //
                                             "  0 Partition,Fib,10.0.0.0/8,1,1,0x2,hw:4,cp"));
}

class UpdateNodeDeathTest : public TrieFixture {
protected:
    void insertBelow(Node* start, PartitionId::Ptr const& id, U32 hwTable) const {
        trie().insert(prefix("10.1.0.0/16"), start, true, false, id, hwTable);
    }
    static testing::Matcher<std::string const&> inUpdate(String condition, String context) {
        return trieAssertion(std::move(condition), std::move(context), Signature::updateNode);
    }
    static constexpr char const* tables_ = "fromPartitionNode->hwTable() == node->hwTable()";
    static constexpr char const* ids_ = "fromPartitionNode->partitionId() == node->partitionId()";
};

TEST_F(UpdateNodeDeathTest, aRouteFromAStartCarriesTheStartsTable) {
    PartitionId::Ptr const id = partitionId(5);
    Node* const start = partition("10.0.0.0/8", id, 1);
    EXPECT_EXIT(insertBelow(start, id, 2), aborts,
                inUpdate(tables_, "unmatched hwTable. Node:Fib,10.1.0.0/16,0,0,0x5,hw:2 "
                                  "partition:Partition,10.0.0.0/8,1,0,0x5,hw:1,cp"));
}

TEST_F(UpdateNodeDeathTest, aRouteFromAStartCarriesTheStartsVeryIdObject) {
    Node* const start = partition("10.0.0.0/8", partitionId(5), 1);
    PartitionId::Ptr const twin = partitionId(5);
    String const context = "unmatched partitionId. Node:Fib,10.1.0.0/16,0,0,0x5,hw:1 "
                           "partition:Partition,10.0.0.0/8,1,0,0x5,hw:1,cp";
    EXPECT_EXIT(insertBelow(start, twin, 1), aborts, inUpdate(ids_, context));
    EXPECT_EXIT(insertBelow(start, {}, 1), aborts,
                inUpdate(ids_, "unmatched partitionId. Node:Fib,10.1.0.0/16,0,0,nil,hw:1 "
                               "partition:Partition,10.0.0.0/8,1,0,0x5,hw:1,cp"));
}

TEST_F(UpdateNodeDeathTest, theTableIsTheMismatchThatIsNamedWhenBothDiffer) {
    Node* const start = partition("10.0.0.0/8", partitionId(5), 1);
    EXPECT_EXIT(insertBelow(start, {}, 2), aborts,
                inUpdate(tables_, "unmatched hwTable. Node:Fib,10.1.0.0/16,0,0,nil,hw:2 "
                                  "partition:Partition,10.0.0.0/8,1,0,0x5,hw:1,cp"));
}

TEST_F(UpdateNodeDeathTest, aMismatchIsFoundAfterTheNodesAboveTheStartHaveCounted) {
    route("0.0.0.0/0");
    Node* const start = partition("10.0.0.0/8", partitionId(5), 1);
    EXPECT_THAT(drawingAfterAssertion(trie(), [&] { insertBelow(start, {}, 1); }),
                ElementsAre("Fib,0.0.0.0/0,2,1,nil,hw:0",                //
                            "  0 Partition,10.0.0.0/8,1,0,0x5,hw:1,cp",  //
                            "    0 Fib,10.1.0.0/16,0,0,nil,hw:1"));
}

TEST_F(UpdateNodeDeathTest, aNodeWithSomethingPendingBecomesNoPartition) {
    route("10.0.0.0/8");
    route("11.0.0.0/8");
    Node* const node = find("10.0.0.0/7");
    for (PendingState const pending :
         {PendingState::removePartition_(), PendingState::splittingPartition_(),
          PendingState::createPartition_(), PendingState::maxPendingState_()}) {
        node->pendingStateIs(pending);
        std::ostringstream context;
        context << "node:" << static_cast<void const*>(node) << " pendingState:" << pending;
        EXPECT_EXIT(partition("10.0.0.0/7"), aborts,
                    nodeAssertion("pendingState_.value() == 0", context.str(),
                                  Signature::nodePartitionNodeIs));
    }
    EXPECT_EQ(route("10.0.0.0/7"), node) << "a route asks nothing of it";
}

TEST_F(UpdateNodeDeathTest, theEyeCatcherIsChecked) {
    Node* const node = route("10.0.0.0/8");
    auto const updateBroken = [&](bool fibRoute, bool partitionNode) {
        breakEyeCatcher(node);
        trie().updateNode(node, fibRoute, nullptr, partitionNode, false);
    };
    EXPECT_EXIT(updateBroken(false, true), aborts,
                brokenEyeCatcher(node, Signature::nodePartitionNodeIs));
    EXPECT_EXIT(updateBroken(true, false), aborts,
                brokenEyeCatcher(node, Signature::nodeFibRouteIs));
    EXPECT_EXIT((updateBroken(false, false), ::_exit(0)), testing::ExitedWithCode(0), "^$");
}

class UpdateNodeTraceTest : public TrieFixture {};

TEST_F(UpdateNodeTraceTest, whatAPartitionAloneDoes) {
    Node* const root = route("10.0.0.0/8");
    route("10.1.0.0/16");
    root->partitionIdIs(partitionId(5));
    String const node = "Partition,Fib,10.0.0.0/8,2,2,0x5,hw:0,cp";
    TraceCapture const trace;
    trie().updateNode(root, false, nullptr, true, false);
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(line(8, Signature::updateNode + "Fib,10.0.0.0/8,2,2,0x5,hw:0fibRoute:0 "
                                                    "fromPartitionNode:(nil) partitionNode:1"),
                    line(8, Signature::updateNewPartition + " partitionNode:" + node +
                                " movedNodes:0 newNode:0"),
                    line(8, Signature::updatePartitionRouteCount + "(nil)"),
                    line(8, Signature::updatePartitionId + " fromNode:" + node + " movedNodes:0"),
                    line(8, Signature::preorderNextNode + " stopNode:(nil) startNode:" + node +
                                " level:1 stopAtFibRoute0 stopAtPartitionNode:1"),
                    line(7, " node Fib,10.1.0.0/16,1,1,nil,hw:0"),
                    line(8, Signature::movedNode + " Node:Fib,10.1.0.0/16,1,1,0x5,hw:0 "
                                                   "oldPartitionId:PartitionId null oldHwTable:0"),
                    line(8, Signature::preorderNextNode +
                                " stopNode:(nil) startNode:Fib,10.1.0.0/16,1,1,0x5,hw:0 level:2 "
                                "stopAtFibRoute0 stopAtPartitionNode:1"),
                    line(9, "Current Fib,10.1.0.0/16,1,1,0x5,hw:0 parent" + node)));
}

TEST_F(UpdateNodeTraceTest, aRouteFromAStart) {
    Node* const root = route("0.0.0.0/0");
    Node* const node = make("10.0.0.0/8");
    hang(root, 0, node);
    TraceCapture const trace;
    trie().updateNode(node, true, root, false, true);
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(
            line(8, Signature::updateNode +
                        "Int,10.0.0.0/8,0,0,nil,hw:0fibRoute:1 "
                        "fromPartitionNode:Fib,0.0.0.0/0,1,1,nil,hw:0 partitionNode:0"),
            line(8, Signature::updateParentRouteCount + "Fib,0.0.0.0/0,1,1,nil,hw:0 incr:1"),
            line(8, Signature::updatePartitionRouteCount + "Fib,10.0.0.0/8,0,0,nil,hw:0"),
            line(7, "incrementing partitionCount for node:Fib,10.0.0.0/8,0,0,nil,hw:0 "
                    "value:1"),
            line(7, "incrementing partitionCount for node:Fib,0.0.0.0/0,1,1,nil,hw:0 "
                    "value:1")));
}

TEST_F(UpdateNodeTraceTest, noRoleAtAllIsOneLine) {
    Node* const root = route("0.0.0.0/0");
    TraceCapture const trace;
    trie().updateNode(root, false, root, false, false);
    EXPECT_THAT(trace.lines(),
                ElementsAre(line(8, Signature::updateNode +
                                        "Fib,0.0.0.0/0,1,1,nil,hw:0fibRoute:0 fromPartitionNode:"
                                        "Fib,0.0.0.0/0,1,1,nil,hw:0 partitionNode:0")));
}

}  // namespace
