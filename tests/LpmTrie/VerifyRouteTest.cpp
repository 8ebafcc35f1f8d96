#include <tests/LpmTrie/TrieFixture.h>
#include <tests/LpmTrie/VerifySignatures.h>

/* The checks of a partition and of each of its routes, broken by hand. */

namespace {

using namespace TrieTests;

String const foundNodeCheck = "trieRc.node() == node";
String const overlapCheck =
    "partitionNode->prefixRef()->prefix().overlaps( node->prefixRef()->prefix() )";
String const idCheck = "partitionNode->partitionId() == node->partitionId()";
String const tableCheck = "partitionNode->hwTable() == node->hwTable()";

class VerifyRouteTest : public TrieFixture {
protected:
    static testing::Matcher<std::string const&> routeFailure(String const& condition,
                                                             String const& context) {
        return trieAssertion(condition, context, Signature::verifyFibRoute);
    }
    void expectFailure(Node* node, Node* partitionNode, String const& condition,
                       String const& context) const {
        EXPECT_EXIT(trie().verifyFibRoute(node, partitionNode), aborts,
                    routeFailure(condition, context));
    }
    void expectFailure(String const& condition, String const& context) const {
        EXPECT_EXIT(trie().verify(), aborts, routeFailure(condition, context));
    }
};

TEST_F(VerifyRouteTest, onlyAPartitionNodeVerifiesAsAPartition) {
    Node* const node = route("10.0.0.0/8");
    EXPECT_EXIT(trie().verifyPartition(node), aborts,
                trieAssertion("node->partitionNode()", " node Fib,10.0.0.0/8,1,1,nil,hw:0",
                              Signature::verifyPartition));
    route("11.0.0.0/8");
    EXPECT_EXIT(trie().verifyPartition(trie().root()), aborts,
                trieAssertion("node->partitionNode()", " node Int,10.0.0.0/7,2,2,nil,hw:0",
                              Signature::verifyPartition));
    trie().verifyPartition(partition("10.0.0.0/8"));
}

TEST_F(VerifyRouteTest, aPartitionThatIsNoNodeIsTracedAsNilAndFailsOnFirstUse) {
    EXPECT_DEATH((Vexo::traceLevelsIs("LpmTrie/8"), trie().verifyPartition(nullptr)),
                 testing::HasSubstr(Signature::verifyPartition + " node: (nil)\n"));
}

TEST_F(VerifyRouteTest, aRouteThatTheLookupDoesNotMeetFails) {
    Node* const node = route("10.0.0.0/8");
    trie().rootIs(nullptr);
    expectFailure(node, node, "trieRc.node()", " node (nil)");
    trie().rootIs(node);
}

TEST_F(VerifyRouteTest, aRouteWithNoPartitionAboveItFails) {
    Node* const node = route("10.0.0.0/8");
    expectFailure(node, node, "trieRc.partitionNode()", " partitionNode (nil)");
}

TEST_F(VerifyRouteTest, aPartitionPendingRemovalIsNoneForItsRoutes) {
    Node* const node = routeAndPartition("10.0.0.0/8");
    node->partitionNodeIs(false);
    node->pendingStateIs(PendingState::removePartition_());
    expectFailure(node, node, "trieRc.partitionNode()", " partitionNode (nil)");
}

TEST_F(VerifyRouteTest, aRouteThatHangsFromTheWrongBitIsNotFound) {
    Node* const root = partition("10.0.0.0/8");
    Node* const child = route("10.1.0.0/16");
    root->bitNodeIs(0, nullptr);
    root->bitNodeIs(1, child);
    expectFailure(foundNodeCheck, " trieRc.node: Partition,10.0.0.0/8,1,1,nil,hw:0,cp node "
                                  "Fib,10.1.0.0/16,1,1,nil,hw:0");
}

TEST_F(VerifyRouteTest, aRouteBelongsToTheNearestPartitionAboveIt) {
    Node* const outer = partition("10.0.0.0/8", partitionId(1), 4);
    partition("10.1.0.0/16", partitionId(2), 4);
    Node* const node = route("10.1.1.0/24", partitionId(3), 4);
    String const found = " trieRc partitionNode:Partition,10.1.0.0/16,1,1,0x2,hw:4,cp "
                         "node:Fib,10.1.1.0/24,1,1,0x3,hw:4 "
                         "trieRc node:Fib,10.1.1.0/24,1,1,0x3,hw:4";
    expectFailure(node, outer, "trieRc.partitionNode() == partitionNode",
                  " partitionNode:Partition,10.0.0.0/8,1,0,0x1,hw:4,cp" + found);
    expectFailure(node, nullptr, "trieRc.partitionNode() == partitionNode",
                  " partitionNode:(nil)" + found);
}

/** Its first eight bits agree, but prefixes of different families never overlap. */
TEST_F(VerifyRouteTest, aRouteOfAnotherFamilyThanItsPartitionFails) {
    Node* const root = make("a00::/8", false, true);
    trie().rootIs(root);
    count(root, 1, 1);
    Node* const child = makeRoute("10.1.0.0/16");
    count(child, 1, 1);
    hang(root, 0, child);
    expectFailure(overlapCheck,
                  " Overlaps: fibRoutePrefix 10.1.0.0/16 partitionNode Prefix a00::/8");
}

TEST_F(VerifyRouteTest, aRouteSharesTheIdObjectOfItsPartition) {
    Node* const root = partition("10.0.0.0/8", partitionId(5));
    Node* const node = routeFrom(root, "10.1.0.0/16");
    trie().verify();
    String const rootText = " PartitionIds are not the same.  PartitionNode:"
                            "Partition,10.0.0.0/8,1,1,0x5,hw:0,cp node:Fib,10.1.0.0/16,1,1,";
    node->partitionIdIs(partitionId(5));
    expectFailure(idCheck, rootText + "0x5,hw:0");
    node->partitionIdIs(nullptr);
    expectFailure(idCheck, rootText + "nil,hw:0");
    root->partitionIdIs(nullptr);
    trie().verify();
    node->partitionIdIs(partitionId(6));
    expectFailure(idCheck, " PartitionIds are not the same.  PartitionNode:"
                           "Partition,10.0.0.0/8,1,1,nil,hw:0,cp "
                           "node:Fib,10.1.0.0/16,1,1,0x6,hw:0");
}

TEST_F(VerifyRouteTest, aRouteIsInTheTableOfItsPartition) {
    Node* const root = partition("10.0.0.0/8", partitionId(5), 1);
    routeFrom(root, "10.1.0.0/16")->hwTableIs(2);
    expectFailure(tableCheck, " hwTables are not the same.  PartitionNode:"
                              "Partition,10.0.0.0/8,1,1,0x5,hw:1,cp "
                              "node:Fib,10.1.0.0/16,1,1,0x5,hw:2");
}

TEST_F(VerifyRouteTest, theRoutesOfANestedPartitionAreNotThoseOfTheOuter) {
    PartitionId::Ptr const inner = partitionId(2);
    Node* const outer = partition("10.0.0.0/8", partitionId(1), 1);
    partition("10.1.0.0/16", inner, 2);
    Node* const nested = route("10.1.1.0/24", inner, 2);
    nested->hwTableIs(3);
    trie().verifyFibRoutes(outer);
    EXPECT_EXIT(trie().verify(), aborts,
                routeFailure(tableCheck, " hwTables are not the same.  PartitionNode:"
                                         "Partition,10.1.0.0/16,1,1,0x2,hw:2,cp "
                                         "node:Fib,10.1.1.0/24,1,1,0x2,hw:3"));
}

/** Answers every lookup as it is told. */
class AnsweringTrie : public LpmTrie::Trie {
public:
    using Trie::Trie;
    TrieReturnCode findPartitionNode(IpGenPrefix const&, bool) override { return answer; }
    TrieReturnCode answer;
};

/** One check after the other is put right: the first that is broken is the one named. */
TEST_F(VerifyRouteTest, theFirstBrokenCheckOfARouteIsNamed) {
    auto* const answering = new AnsweringTrie(1);
    trieIs(answering);
    Node* const far = make("11.0.0.0/8", false, true, partitionId(5), 1);
    Node* const near = make("10.0.0.0/8", false, true, partitionId(6), 1);
    Node* const node = make("10.1.0.0/16", true, false, partitionId(7), 2);
    String const farText = "Partition,11.0.0.0/8,0,0,0x5,hw:1";
    String const nearText = "Partition,10.0.0.0/8,0,0,0x6,hw:1";
    String const nodeText = "Fib,10.1.0.0/16,0,0,0x7,hw:2";

    expectFailure(node, far, "trieRc.node()", " node (nil)");
    answering->answer.nodeIs(near);
    expectFailure(node, far, "trieRc.partitionNode()", " partitionNode (nil)");
    answering->answer.partitionNodeIs(near);
    expectFailure(node, far, foundNodeCheck, " trieRc.node: " + nearText + " node " + nodeText);
    answering->answer.nodeIs(node);
    expectFailure(node, far, "trieRc.partitionNode() == partitionNode",
                  " partitionNode:" + farText + " trieRc partitionNode:" + nearText +
                      " node:" + nodeText + " trieRc node:" + nodeText);
    answering->answer.partitionNodeIs(far);
    expectFailure(node, far, overlapCheck,
                  " Overlaps: fibRoutePrefix 10.1.0.0/16 partitionNode Prefix 11.0.0.0/8");
    answering->answer.partitionNodeIs(near);
    expectFailure(node, near, idCheck,
                  " PartitionIds are not the same.  PartitionNode:" + nearText +
                      " node:" + nodeText);
    node->partitionIdIs(near->partitionId());
    expectFailure(node, near, tableCheck,
                  " hwTables are not the same.  PartitionNode:" + nearText +
                      " node:Fib,10.1.0.0/16,0,0,0x6,hw:2");
    node->hwTableIs(1);
    trie().verifyFibRoute(node, near);

    near->partitionNodeIs(false);
    far->partitionNodeIs(false);
    node->fibRouteIs(false);
    for (Node* const loose : {near, far, node}) {
        trie().deallocateNode(loose);
    }
}

}  // namespace
