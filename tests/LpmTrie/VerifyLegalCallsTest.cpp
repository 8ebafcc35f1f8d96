#include <tests/LpmTrie/TrieFixture.h>
#include <tests/LpmTrie/VerifySignatures.h>

/*
 * Calls that the trie accepts but that leave work to the client: until it is done, the verification
 * names what does not fit.
 */

namespace {

using namespace TrieTests;

class VerifyLegalCallsTest : public TrieFixture {
protected:
    void expectRouteFailure(String const& condition, String const& context) const {
        EXPECT_EXIT(trie().verify(), aborts,
                    trieAssertion(condition, context, Signature::verifyFibRoute));
    }
    void expectFailure(String const& condition, String const& context) const {
        EXPECT_EXIT(trie().verify(), aborts, trieAssertion(condition, context, Signature::verify));
    }
    void expectIdsDiffer(String const& partitionText, String const& nodeText) const {
        expectRouteFailure("partitionNode->partitionId() == node->partitionId()",
                           " PartitionIds are not the same.  PartitionNode:" + partitionText +
                               " node:" + nodeText);
    }
    void expectTablesDiffer(String const& partitionText, String const& nodeText) const {
        expectRouteFailure("partitionNode->hwTable() == node->hwTable()",
                           " hwTables are not the same.  PartitionNode:" + partitionText +
                               " node:" + nodeText);
    }
};

TEST_F(VerifyLegalCallsTest, aPartitionOfAnotherTableAboveRoutesWithItsId) {
    PartitionId::Ptr const id = partitionId(1);
    route("10.1.0.0/16", id, 1);
    partition("10.0.0.0/8", id, 2);
    expectTablesDiffer("Partition,10.0.0.0/8,1,1,0x1,hw:2,cp", "Fib,10.1.0.0/16,1,1,0x1,hw:1");
}

TEST_F(VerifyLegalCallsTest, aPartitionOfAnotherTableAboveRoutesDoesNotGiveThemItsId) {
    route("10.1.0.0/16", partitionId(1), 1);
    partition("10.0.0.0/8", partitionId(2), 2);
    expectIdsDiffer("Partition,10.0.0.0/8,1,1,0x2,hw:2,cp", "Fib,10.1.0.0/16,1,1,0x1,hw:1");
}

TEST_F(VerifyLegalCallsTest, aPartitionOfTheSameTableTakesTheRoutesBelowItIn) {
    route("10.1.0.0/16", partitionId(1), 2);
    route("10.2.0.0/16", {}, 2);
    partition("10.0.0.0/8", partitionId(2), 2);
    trie().verify();
}

TEST_F(VerifyLegalCallsTest, aRouteOfAnotherTableBelowAPartition) {
    PartitionId::Ptr const id = partitionId(1);
    partition("10.0.0.0/8", id, 1);
    route("10.1.0.0/16", id, 2);
    expectTablesDiffer("Partition,10.0.0.0/8,1,1,0x1,hw:1,cp", "Fib,10.1.0.0/16,1,1,0x1,hw:2");
}

TEST_F(VerifyLegalCallsTest, aRouteWithAnotherIdObjectOfTheSameValue) {
    partition("10.0.0.0/8", partitionId(1));
    route("10.1.0.0/16", partitionId(1));
    expectIdsDiffer("Partition,10.0.0.0/8,1,1,0x1,hw:0,cp", "Fib,10.1.0.0/16,1,1,0x1,hw:0");
}

TEST_F(VerifyLegalCallsTest, aRouteWithoutIdBelowAPartition) {
    partition("10.0.0.0/8", partitionId(1));
    route("10.1.0.0/16");
    expectIdsDiffer("Partition,10.0.0.0/8,1,1,0x1,hw:0,cp", "Fib,10.1.0.0/16,1,1,nil,hw:0");
}

TEST_F(VerifyLegalCallsTest, aRouteThatReplacesTheIdOfItsPartitionNode) {
    PartitionId::Ptr const id = partitionId(1);
    partition("10.0.0.0/8", id);
    route("10.1.0.0/16", id);
    route("10.0.0.0/8", partitionId(1));
    expectIdsDiffer("Partition,Fib,10.0.0.0/8,2,2,0x1,hw:0,cp", "Fib,10.1.0.0/16,1,1,0x1,hw:0");
}

TEST_F(VerifyLegalCallsTest, aPartitionFlagRemovedAloneBelowAPartition) {
    PartitionId::Ptr const inner = partitionId(2);
    partition("10.0.0.0/8", partitionId(1));
    Node* const cut = partition("10.1.0.0/16", inner);
    route("10.1.1.0/24", inner);
    trie().verify();
    trie().removeNode(cut, true);
    expectIdsDiffer("Partition,10.0.0.0/8,1,0,0x1,hw:0,cp", "Fib,10.1.1.0/24,1,1,0x2,hw:0");
}

TEST_F(VerifyLegalCallsTest, aPartitionFlagRemovedAloneBelowARouteWithoutPartition) {
    PartitionId::Ptr const inner = partitionId(2);
    route("10.0.0.0/8");
    Node* const cut = partition("10.1.0.0/16", inner);
    route("10.1.1.0/24", inner);
    trie().verify();
    trie().removeNode(cut, true);
    expectFailure("childTotalPartitionRouteCount == totalPartitionRouteCount",
                  "current: Fib,10.0.0.0/8,2,1,nil,hw:0 totalPartitionRouteCount:0 children: 1");
}

TEST_F(VerifyLegalCallsTest, aPartitionFlagRemovedAfterItsRoutesHaveBeenFolded) {
    PartitionId::Ptr const id = partitionId(1);
    partition("10.0.0.0/8", id);
    Node* const cut = partition("10.1.0.0/16", id);
    route("10.1.1.0/24", id);
    trie().mergePartitionNodeCount(cut);
    trie().removeNode(cut, true);
    trie().verify();
}

TEST_F(VerifyLegalCallsTest, aDissolvedPartitionNodeUntilItHasGone) {
    PartitionId::Ptr const id = partitionId(1);
    Node* const outer = partition("10.0.0.0/8", id);
    Node* const cut = partition("10.1.0.0/16", partitionId(2));
    routeFrom(cut, "10.1.1.0/24");
    trie().mergePartition(cut, outer, id, false, LpmTrie::trieNodesInfoFactory());
    trie().verify();
    cut->pendingStateIs(PendingState::removePartition_() | PendingState::splittingPartition_());
    expectFailure("current->pendingState() == PendingState::removePartition_()",
                  "Holding partitionId in internal but not pending del:"
                  "Int,10.1.0.0/16,1,1,0x1,hw:0,dp,sp");
    cut->pendingStateIs(PendingState());
    expectFailure("current->pendingState() == PendingState::removePartition_()",
                  "Holding partitionId in internal but not pending del:"
                  "Int,10.1.0.0/16,1,1,0x1,hw:0");
    trie().removeNode(cut, false);
    trie().verify();
}

TEST_F(VerifyLegalCallsTest, aMergeIntoAPartitionThatIsNotAbove) {
    PartitionId::Ptr const target = partitionId(3);
    partition("10.0.0.0/8", partitionId(1));
    Node* const cut = partition("10.1.0.0/16", partitionId(2));
    routeFrom(cut, "10.1.1.0/24");
    Node* const beside = partition("10.2.0.0/16", target);
    trie().mergePartition(cut, beside, target, false, LpmTrie::trieNodesInfoFactory());
    expectIdsDiffer("Partition,10.0.0.0/8,1,1,0x1,hw:0,cp", "Fib,10.1.1.0/24,1,1,0x3,hw:0");
}

}  // namespace
