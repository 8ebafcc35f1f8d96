#include <tests/LpmTrie/TrieFixture.h>
#include <tests/LpmTrie/VerifySignatures.h>

/* Every check that the verification makes of a node and of its children, broken by hand. */

namespace {

using namespace TrieTests;

String const lengthCheck = "current->len() >= parent->len() + 1";
String const overlapCheck =
    "parent->prefixRef()->prefix().overlaps( current->prefixRef()->prefix() )";
String const heldIdCheck = "current->pendingState() == PendingState::removePartition_()";
String const partitionCountCheck = "childTotalPartitionRouteCount == totalPartitionRouteCount";
String const routeCountCheck = "totalRouteCount == childTotalRouteCount";

PendingState pending(unsigned flags) {
    return PendingState(static_cast<unsigned char>(flags));
}

class VerifyTest : public TrieFixture {
protected:
    void expectFailure(String const& condition, String const& context) const {
        EXPECT_EXIT(trie().verify(), aborts, trieAssertion(condition, context, Signature::verify));
    }
    Node* rootRoute(std::string_view text, U32 routes, U32 partitionRoutes) const {
        Node* const root = makeRoute(text);
        count(root, routes, partitionRoutes);
        trie().rootIs(root);
        return root;
    }
    Node* childRoute(Node* parent, U32 bit, std::string_view text) const {
        Node* const child = makeRoute(text);
        count(child, 1, 1);
        hang(parent, bit, child);
        return child;
    }
};

TEST_F(VerifyTest, anEmptyTrieVerifies) {
    trie().verify();
    EXPECT_EQ(trie().root(), nullptr);
}

TEST_F(VerifyTest, aLeafRouteVerifiesWithBothCountersAtOne) {
    rootRoute("10.0.0.0/8", 1, 1);
    trie().verify();
}

TEST_F(VerifyTest, aLeafRouteVerifiesWithNoOtherCounters) {
    Node* const root = rootRoute("10.0.0.0/8", 0, 0);
    String const partitionTotal = " totalPartitionRouteCount:";
    expectFailure(partitionCountCheck, "current: Fib,10.0.0.0/8,0,0,nil,hw:0" + partitionTotal +
                                           "4294967295 children: 0");
    count(root, 1, 0);
    expectFailure(partitionCountCheck, "current: Fib,10.0.0.0/8,1,0,nil,hw:0" + partitionTotal +
                                           "4294967295 children: 0");
    count(root, 0, 2);
    expectFailure(partitionCountCheck,
                  "current: Fib,10.0.0.0/8,1,2,nil,hw:0" + partitionTotal + "1 children: 0");
    root->partitionRouteCountDec(1);
    trie().verify();
    root->routeCountDec(1);
    expectFailure(routeCountCheck, " current: 4294967295 child:0 current node:Fib,10.0.0.0/8,0,1,"
                                   "nil,hw:0 child 0:(nil) child 1:(nil)");
    root->routeCountInc(2);
    expectFailure(routeCountCheck, " current: 1 child:0 current node:Fib,10.0.0.0/8,2,1,nil,hw:0 "
                                   "child 0:(nil) child 1:(nil)");
}

TEST_F(VerifyTest, aChildIsAtLeastOneBitLongerThanItsParent) {
    Node* const root = rootRoute("10.0.0.0/8", 2, 2);
    Node* const child = childRoute(root, 0, "10.0.0.0/9");
    trie().verify();
    child->fibRouteIs(false);
    trie().deallocateNode(child);
    childRoute(root, 0, "10.0.0.0/8");
    expectFailure(lengthCheck,
                  " parent Fib,10.0.0.0/8,2,2,nil,hw:0 current Fib,10.0.0.0/8,1,1,nil,hw:0");
}

TEST_F(VerifyTest, aChildIsNotShorterThanItsParent) {
    childRoute(rootRoute("10.0.0.0/8", 2, 2), 1, "10.0.0.0/7");
    expectFailure(lengthCheck,
                  " parent Fib,10.0.0.0/8,2,2,nil,hw:0 current Fib,10.0.0.0/7,1,1,nil,hw:0");
}

TEST_F(VerifyTest, aChildLiesInsideItsParent) {
    childRoute(rootRoute("10.0.0.0/8", 2, 2), 0, "11.0.0.0/16");
    expectFailure(overlapCheck,
                  " parent Fib,10.0.0.0/8,2,2,nil,hw:0 current Fib,11.0.0.0/16,1,1,nil,hw:0");
}

TEST_F(VerifyTest, aChildOfAnotherFamilyDoesNotEvenLieInsideTheZeroLengthPrefix) {
    childRoute(rootRoute("0.0.0.0/0", 2, 2), 0, "::/1");
    expectFailure(overlapCheck, " parent Fib,0.0.0.0/0,2,2,nil,hw:0 current Fib,::/1,1,1,nil,hw:0");
}

TEST_F(VerifyTest, anInternalNodeMayHoldAnIdOnlyWhileItsRemovalAloneIsPending) {
    Node* const root = make("10.0.0.0/7", false, false, partitionId(5));
    trie().rootIs(root);
    hang(root, 0, makeRoute("10.0.0.0/8"));
    hang(root, 1, makeRoute("11.0.0.0/8"));
    count(root->bitNode(0), 1, 1);
    count(root->bitNode(1), 1, 1);
    count(root, 2, 2);
    String const holding = "Holding partitionId in internal but not pending del:"
                           "Int,10.0.0.0/7,2,2,0x5,hw:0";
    expectFailure(heldIdCheck, holding);
    root->pendingStateIs(pending(1));
    expectFailure(heldIdCheck, holding + ",cp");
    root->pendingStateIs(pending(2 + 1));
    expectFailure(heldIdCheck, holding + ",cp,dp");
    root->pendingStateIs(pending(2 + 4));
    expectFailure(heldIdCheck, holding + ",dp,sp");
    root->pendingStateIs(pending(2 + 8));
    expectFailure(heldIdCheck, holding + ",dp");
    root->pendingStateIs(pending(2));
    trie().verify();
    root->partitionIdIs(nullptr);
    root->pendingStateIs(pending(1));
    trie().verify();
}

TEST_F(VerifyTest, aRouteOutsideAnyPartitionMayHoldAnId) {
    route("10.0.0.0/8", partitionId(5));
    trie().verify();
}

TEST_F(VerifyTest, theRoutesOfAChildPartitionCountForTheRouteCountAlone) {
    Node* const root = rootRoute("10.0.0.0/8", 3, 2);
    childRoute(root, 0, "10.0.0.0/16");
    Node* const child = make("10.128.0.0/16", true, true);
    count(child, 1, 1);
    hang(root, 1, child);
    trie().verify();
    root->partitionRouteCountInc(1);
    expectFailure(partitionCountCheck, "current: Fib,10.0.0.0/8,3,3,nil,hw:0 "
                                       "totalPartitionRouteCount:2 children: 1");
    root->partitionRouteCountDec(1);
    root->routeCountDec(1);
    expectFailure(routeCountCheck, " current: 1 child:2 current node:Fib,10.0.0.0/8,2,2,nil,hw:0 "
                                   "child 0:Fib,10.0.0.0/16,1,1,nil,hw:0 "
                                   "child 1:Partition,Fib,10.128.0.0/16,1,1,nil,hw:0");
}

TEST_F(VerifyTest, aMissingChildIsNamedNilBesideTheOther) {
    Node* const root = rootRoute("10.0.0.0/8", 3, 2);
    childRoute(root, 1, "10.128.0.0/16");
    expectFailure(routeCountCheck, " current: 2 child:1 current node:Fib,10.0.0.0/8,3,2,nil,hw:0 "
                                   "child 0:(nil) child 1:Fib,10.128.0.0/16,1,1,nil,hw:0");
}

/** One check after the other is put right: the first that is broken is the one named. */
TEST_F(VerifyTest, theFirstBrokenCheckOfANodeIsNamed) {
    Node* const root = rootRoute("10.0.0.0/8", 5, 4);
    Node* const lone = make("11.0.0.0/8", false, true, partitionId(5));
    hang(root, 0, lone);
    Node* const leaf = childRoute(lone, 0, "10.0.0.0/16");
    count(lone, 4, 3);
    String const rootText = "Fib,10.0.0.0/8,5,4,nil,hw:0";

    expectFailure(partitionCountCheck,
                  "current: " + rootText + " totalPartitionRouteCount:3 children: 0");
    root->partitionRouteCountIs(1);
    expectFailure(lengthCheck, " parent Fib,10.0.0.0/8,5,1,nil,hw:0 current "
                               "Partition,11.0.0.0/8,4,3,0x5,hw:0");

    Node* const longer = make("11.0.0.0/9", false, true, lone->partitionId());
    count(longer, 4, 3);
    hang(root, 0, longer);
    hang(longer, 0, leaf);
    lone->partitionNodeIs(false);
    trie().deallocateNode(lone);
    expectFailure(overlapCheck, " parent Fib,10.0.0.0/8,5,1,nil,hw:0 current "
                                "Partition,11.0.0.0/9,4,3,0x5,hw:0");

    Node* const inside = make("10.0.0.0/9", false, true, longer->partitionId());
    count(inside, 4, 3);
    hang(root, 0, inside);
    hang(inside, 0, leaf);
    longer->partitionNodeIs(false);
    trie().deallocateNode(longer);
    EXPECT_EXIT(trie().verify(), aborts,
                trieAssertion("partitionNode->partitionId() == node->partitionId()",
                              " PartitionIds are not the same.  PartitionNode:"
                              "Partition,10.0.0.0/9,4,3,0x5,hw:0 node:"
                              "Fib,10.0.0.0/16,1,1,nil,hw:0",
                              Signature::verifyFibRoute));

    inside->partitionNodeIs(false);
    root->partitionRouteCountIs(4);
    expectFailure(heldIdCheck, "Holding partitionId in internal but not pending del:"
                               "Int,10.0.0.0/9,4,3,0x5,hw:0");
    inside->partitionIdIs(nullptr);
    expectFailure(partitionCountCheck, "current: Int,10.0.0.0/9,4,3,nil,hw:0 "
                                       "totalPartitionRouteCount:3 children: 1");
    inside->partitionRouteCountIs(1);
    root->partitionRouteCountIs(2);
    expectFailure(routeCountCheck, " current: 4 child:1 current node:Int,10.0.0.0/9,4,1,nil,hw:0 "
                                   "child 0:Fib,10.0.0.0/16,1,1,nil,hw:0 child 1:(nil)");
    inside->routeCountDec(3);
    root->routeCountDec(3);
    trie().verify();
}

TEST_F(VerifyTest, aNodeWithABrokenEyeCatcherIsFatal) {
    Node* const child = childRoute(rootRoute("10.0.0.0/8", 2, 2), 0, "10.0.0.0/16");
    EXPECT_EXIT((breakEyeCatcher(child), trie().verify()), aborts,
                brokenEyeCatcher(child, Signature::nodeLen));
}

}  // namespace
