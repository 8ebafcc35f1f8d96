#include <tests/LpmTrie/MergeSearchWorld.h>
#include <tests/Support/AssertionText.h>

#include <gmock/gmock.h>

namespace {

using namespace LpmTrieTest;
using LpmTrie::TrieFindMergeReturnCode;
using testing::ElementsAre;

/** The two tests that the searches share, and the search upwards between two partitions. */
class MergeSearchTest : public MergeSearchWorld {
protected:
    Node* target(U32 bound) {
        TrieFindMergeReturnCode const found = trie_->findMergeToNode(candidate(), source(), bound);
        EXPECT_EQ(found.fromNode(), found.toNode() != nullptr ? candidate() : nullptr);
        return found.toNode();
    }
    bool dirty() { return trie_->findMergeToNode(candidate(), source(), 5).dirty; }
};

TEST_F(MergeSearchTest, aNodeCountsAsAPartitionUntilItsRemovalIsComplete) {
    EXPECT_TRUE(trie_->isPartitionNode(candidate()));
    EXPECT_FALSE(trie_->isPartitionNode(lowest()));
    EXPECT_FALSE(trie_->isPartitionNode(at("10.16.0.0/16")));
    for (unsigned flags = 0; flags < 16; ++flags) {
        pendingIs(lowest(), flags);
        EXPECT_EQ(trie_->isPartitionNode(lowest()), (flags & 2) != 0) << flags;
        pendingIs(candidate(), flags);
        EXPECT_TRUE(trie_->isPartitionNode(candidate())) << flags;
    }
}

TEST_F(MergeSearchTest, noNodeAtAllIsFatal) {
    EXPECT_EXIT(trie_->isPartitionNode(nullptr), testing::KilledBySignal(SIGABRT),
                TestSupport::assertionText("node", " node:(nil)", "LpmTrie/LpmTrie",
                                           "bool LpmTrie::Trie::isPartitionNode(LpmTrie::Node*)"));
    EXPECT_EXIT(trie_->checkValidPartitionMergeNode(nullptr, 1, 1),
                testing::KilledBySignal(SIGABRT),
                TestSupport::assertionText("node", " node:(nil)", "LpmTrie/LpmTrie",
                                           "bool LpmTrie::Trie::isPartitionNode(LpmTrie::Node*)"));
}

TEST_F(MergeSearchTest, aCandidateOfThatTableAndWithinTheBoundIsValid) {
    for (U32 const bound : {2U, 3U, 0x80000000U, 0xffffffffU}) {
        EXPECT_TRUE(trie_->checkValidPartitionMergeNode(candidate(), 1, bound)) << bound;
        EXPECT_FALSE(trie_->checkValidPartitionMergeNode(candidate(), 2, bound)) << bound;
        EXPECT_FALSE(trie_->checkValidPartitionMergeNode(candidate(), 0, bound)) << bound;
    }
    EXPECT_FALSE(trie_->checkValidPartitionMergeNode(candidate(), 1, 1));
    EXPECT_FALSE(trie_->checkValidPartitionMergeNode(candidate(), 1, 0));
    candidate()->partitionRouteCountIs(0x80000000U);
    EXPECT_FALSE(trie_->checkValidPartitionMergeNode(candidate(), 1, 0x7fffffffU)) << "unsigned";
    EXPECT_TRUE(trie_->checkValidPartitionMergeNode(candidate(), 1, 0x80000000U));
}

TEST_F(MergeSearchTest, aCandidateThatIsPendingRemovalIsTestedInTheSameWay) {
    dissolve(candidate());
    EXPECT_TRUE(trie_->checkValidPartitionMergeNode(candidate(), 1, 2));
    EXPECT_FALSE(trie_->checkValidPartitionMergeNode(candidate(), 1, 1));
}

TEST_F(MergeSearchTest, aCandidateThatIsNoPartitionIsFatal) {
    EXPECT_EXIT(trie_->checkValidPartitionMergeNode(lowest(), 1, 9),
                testing::KilledBySignal(SIGABRT),
                TestSupport::assertionText("isPartitionNode( candidateNode)",
                                           "Int,10.0.0.0/11,3,1,nil,hw:1", "LpmTrie/LpmTrie",
                                           "bool LpmTrie::Trie::checkValidPartitionMergeNode("
                                           "LpmTrie::Node*, U32, U32)"));
}

TEST_F(MergeSearchTest, testingACandidateIsTraced) {
    TraceCapture const capture;
    trie_->checkValidPartitionMergeNode(candidate(), 7, 4294967295U);
    EXPECT_THAT(traced(capture),
                ElementsAre("7 Testing candidate partitionNode:Partition,10.0.0.0/24,2,2,0x2,hw:1 "
                            "sHwTable:7 maxPartitionCount:4294967295"));
}

TEST_F(MergeSearchTest, theHighestNodeThatFitsIsTheTarget) {
    EXPECT_EQ(target(0), nullptr);
    EXPECT_EQ(target(2), nullptr);
    EXPECT_EQ(target(3), lowest()) << "1 and 2 routes are as many as fit";
    EXPECT_EQ(target(4), middle());
    EXPECT_EQ(target(5), highest());
    EXPECT_EQ(target(0xffffffffU), highest()) << "the source itself is none";
}

TEST_F(MergeSearchTest, nodesWithoutRoutesArePassedOverAndTooFullOnesStopTheWalk) {
    struct Case {
        U32 lowest, middle, highest;
        Node* target;
    };
    for (Case const& test :
         {Case{0, 0, 0, nullptr}, Case{0, 0, 1, highest()}, Case{0, 1, 0, middle()},
          Case{1, 0, 0, lowest()}, Case{1, 0, 1, highest()}, Case{1, 0, 2, lowest()},
          Case{0, 2, 1, nullptr}, Case{2, 1, 1, nullptr}, Case{1, 2, 1, lowest()},
          Case{1, 1, 2, middle()}, Case{0x80000000U, 1, 1, nullptr},
          Case{1, 0xfffffff0U, 1, lowest()}}) {
        countsAre(test.lowest, test.middle, test.highest);
        EXPECT_EQ(target(3), test.target)
            << test.lowest << ", " << test.middle << ", " << test.highest;
    }
}

TEST_F(MergeSearchTest, boundsBeyondTheSignedRangeAreBounds) {
    countsAre(0x80000000U, 0x80000001U, 0x90000000U);
    EXPECT_EQ(target(0x80000003U), middle());
    EXPECT_EQ(target(0xffffffffU), highest());
    EXPECT_EQ(target(0x7fffffffU), nullptr);
}

TEST_F(MergeSearchTest, theWalkEndsBelowAnyOtherPartition) {
    middle()->partitionNodeIs(true);
    pendingIs(middle(), 0);
    EXPECT_EQ(target(9), lowest());
    dissolve(middle());
    EXPECT_EQ(target(9), lowest()) << "pending removal";
    pendingIs(middle(), 13);
    EXPECT_EQ(target(9), highest()) << "pending something else";
    dissolve(lowest());
    EXPECT_EQ(target(9), nullptr);
}

TEST_F(MergeSearchTest, aCandidateRightBelowTheSourceHasNoTarget) {
    Node* const child = partition("10.128.0.0/9", 3);
    route("10.128.0.0/16", 3);
    EXPECT_EQ(trie_->findMergeToNode(child, source(), 9), TrieFindMergeReturnCode());
    EXPECT_EQ(trie_->findMergeToNode(source(), source(), 9), TrieFindMergeReturnCode());
    EXPECT_EQ(trie_->findMergeToNode(source(), nullptr, 9), TrieFindMergeReturnCode());
    EXPECT_EQ(trie_->findMergeToNode(candidate(), lowest(), 9), TrieFindMergeReturnCode());
}

TEST_F(MergeSearchTest, theWalkEndsAtTheRootWhenItMeetsNoSource) {
    EXPECT_EQ(trie_->findMergeToNode(candidate(), nullptr, 9).toNode(), highest());
    source()->partitionNodeIs(false);
    EXPECT_EQ(trie_->findMergeToNode(candidate(), nullptr, 9).toNode(), source());
    EXPECT_EQ(trie_->findMergeToNode(candidate(), at("10.16.0.0/16"), 4).toNode(), middle());
    source()->partitionNodeIs(true);
}

TEST_F(MergeSearchTest, tablesAreNotAsked) {
    middle()->hwTableIs(2);
    candidate()->hwTableIs(3);
    EXPECT_EQ(target(5), highest());
}

TEST_F(MergeSearchTest, theAnswerIsDirtyWhenEitherEndIsPending) {
    EXPECT_FALSE(dirty());
    for (unsigned const flags : someFlags_) {
        pendingIs(candidate(), flags);
        EXPECT_TRUE(dirty()) << flags;
        pendingIs(candidate(), 0);
        if ((flags & 2) == 0) {
            pendingIs(highest(), flags);
            EXPECT_TRUE(dirty()) << flags;
            pendingIs(highest(), 0);
        }
    }
    EXPECT_FALSE(dirty());
}

TEST_F(MergeSearchTest, whatIsPendingElsewhereDoesNotMakeTheAnswerDirty) {
    pendingIs(source(), 15);
    pendingIs(middle(), 13);
    pendingIs(at("10.16.0.0/16"), 15);
    EXPECT_EQ(target(5), highest());
    EXPECT_FALSE(dirty());
    pendingIs(candidate(), 1);
    EXPECT_FALSE(trie_->findMergeToNode(candidate(), source(), 2).dirty) << "nothing was found";
}

String const upwardsEntry =
    "8 LpmTrie::TrieFindMergeReturnCode LpmTrie::Trie::findMergeToNode(LpmTrie::Node*, "
    "LpmTrie::Node*, U32) candidatePartitionNode:Partition,10.0.0.0/24,2,2,0x2,hw:1 "
    "srcPartitionNode:";

TEST_F(MergeSearchTest, theWalkUpwardsIsTraced) {
    TraceCapture const capture;
    trie_->findMergeToNode(candidate(), source(), 4);
    EXPECT_THAT(traced(capture),
                ElementsAre(upwardsEntry + "Partition,10.0.0.0/8,5,3,0x1,hw:1 maxPartitionCount:4",
                            "7 upwards walk node:Int,10.0.0.0/11,3,1,nil,hw:1",
                            "7 upwards walk node:Int,10.0.0.0/10,4,2,nil,hw:1",
                            "7 upwards walk node:Int,10.0.0.0/9,5,3,nil,hw:1",
                            "7 merge from:Partition,10.0.0.0/24,2,2,0x2,hw:1 to:"
                            "Int,10.0.0.0/10,4,2,nil,hw:1"));
}

TEST_F(MergeSearchTest, aWalkUpwardsThatFindsNothingIsTraced) {
    {
        TraceCapture const capture;
        trie_->findMergeToNode(candidate(), nullptr, 2);
        EXPECT_THAT(traced(capture), ElementsAre(upwardsEntry + "(nil) maxPartitionCount:2",
                                                 "7 upwards walk node:"
                                                 "Int,10.0.0.0/11,3,1,nil,hw:1"));
    }
    dissolve(lowest());
    TraceCapture const capture;
    trie_->findMergeToNode(candidate(), lowest(), 2);
    trie_->findMergeToNode(candidate(), source(), 9);
    EXPECT_THAT(traced(capture),
                ElementsAre(upwardsEntry + "Int,10.0.0.0/11,3,1,nil,hw:1,dp maxPartitionCount:2",
                            upwardsEntry + "Partition,10.0.0.0/8,5,3,0x1,hw:1 maxPartitionCount:9",
                            "7 upwards walk node:Int,10.0.0.0/11,3,1,nil,hw:1,dp"));
}

TEST_F(MergeSearchTest, theSearchChangesNothing) {
    std::vector<String> const before = state();
    target(4);
    target(2);
    EXPECT_EQ(state(), before);
}

}  // namespace
