#include <tests/LpmTrie/MergeSearchWorld.h>
#include <tests/Support/AssertionText.h>

#include <gmock/gmock.h>

namespace {

using namespace LpmTrieTest;
using LpmTrie::TrieFindMergeReturnCode;
using testing::ElementsAre;

constexpr char const* signature =
    "LpmTrie::TrieFindMergeReturnCode "
    "LpmTrie::Trie::findMergeNodeViaPartitionRedistribution(LpmTrie::Node*, U32, bool)";

/** Beside the candidate of 2 routes, in pre-order, partitions 3 and 4 of one route each. */
class RedistributionSearchTest : public MergeSearchWorld {
protected:
    RedistributionSearchTest() {
        for (auto const& [text, number] : {std::pair{"10.48.0.0/16", 3U}, {"10.80.0.0/16", 4U}}) {
            routeAndPartition(text, number);
        }
        settle();
    }
    Node* second() const { return at("10.48.0.0/16"); }
    Node* third() const { return at("10.80.0.0/16"); }

    TrieFindMergeReturnCode intoSource(U32 bound) {
        return trie_->findMergeNodeViaPartitionRedistribution(source(), bound, true);
    }
    TrieFindMergeReturnCode between(U32 bound) {
        return trie_->findMergeNodeViaPartitionRedistribution(source(), bound, false);
    }
    static TrieFindMergeReturnCode answer(Node* from, Node* to, bool dirty = false) {
        TrieFindMergeReturnCode code;
        code.fromNodeIs(from);
        code.toNodeIs(to);
        code.dirty = dirty;
        return code;
    }
};

TEST_F(RedistributionSearchTest, theFirstNestedPartitionThatFitsIntoTheSourceWins) {
    ASSERT_EQ(source()->partitionRouteCount(), 3U);
    EXPECT_EQ(intoSource(5), answer(candidate(), source()));
    EXPECT_EQ(intoSource(0xffffffffU), answer(candidate(), source()));
    EXPECT_EQ(intoSource(4), answer(second(), source())) << "2 and 3 routes are too many";
    EXPECT_EQ(intoSource(3), answer(nullptr, nullptr));
    EXPECT_EQ(intoSource(0), answer(nullptr, nullptr));
}

TEST_F(RedistributionSearchTest, thereIsNoSearchForTheBestFit) {
    second()->partitionRouteCountIs(7);
    third()->partitionRouteCountIs(1);
    candidate()->partitionRouteCountIs(8);
    EXPECT_EQ(intoSource(10), answer(second(), source()));
}

TEST_F(RedistributionSearchTest, aPartitionOfAnotherTableIsSkippedWhateverItsCount) {
    candidate()->hwTableIs(2);
    candidate()->partitionRouteCountIs(0);
    EXPECT_EQ(intoSource(9), answer(second(), source()));
    EXPECT_EQ(between(9), answer(second(), highest()));
    source()->hwTableIs(2);
    EXPECT_EQ(intoSource(9), answer(candidate(), source()));
}

TEST_F(RedistributionSearchTest, boundsAndCountsAreUnsigned) {
    candidate()->partitionRouteCountIs(0x80000000U);
    EXPECT_EQ(intoSource(0x80000003U), answer(candidate(), source()));
    EXPECT_EQ(intoSource(0x80000002U), answer(second(), source()));
    EXPECT_EQ(intoSource(4), answer(second(), source()));
}

TEST_F(RedistributionSearchTest, aPartitionNestedInANestedOneIsNeverProposed) {
    partition("10.0.0.0/26", 7);
    settle();
    candidate()->hwTableIs(2);
    second()->hwTableIs(2);
    third()->hwTableIs(2);
    EXPECT_EQ(intoSource(9), answer(nullptr, nullptr));
    EXPECT_EQ(between(9), answer(nullptr, nullptr));
    EXPECT_EQ(trie_->findMergeNodeViaPartitionRedistribution(candidate(), 9, true),
              answer(nullptr, nullptr));
    at("10.0.0.0/26")->hwTableIs(2);
    EXPECT_EQ(trie_->findMergeNodeViaPartitionRedistribution(candidate(), 9, true),
              answer(at("10.0.0.0/26"), candidate()));
}

TEST_F(RedistributionSearchTest, nodesPendingRemovalAreProposedAndHideWhatIsBelow) {
    dissolve(candidate());
    EXPECT_EQ(intoSource(9), answer(candidate(), source(), true));
    EXPECT_EQ(between(9), answer(candidate(), highest(), true));
    dissolve(lowest());
    EXPECT_EQ(intoSource(9), answer(lowest(), source(), true)) << "before the one below it";
    lowest()->hwTableIs(2);
    EXPECT_EQ(intoSource(9), answer(second(), source()));
}

TEST_F(RedistributionSearchTest, theWalkStaysInsideTheSource) {
    routeAndPartition("11.0.0.0/8", 8);
    routeAndPartition("12.0.0.0/8", 9);
    settle();
    for (Node* const node : {candidate(), second(), third()}) {
        node->hwTableIs(2);
    }
    ASSERT_NE(source()->parent(), nullptr);
    EXPECT_EQ(intoSource(9), answer(nullptr, nullptr));
    EXPECT_EQ(between(9), answer(nullptr, nullptr));
    EXPECT_EQ(trie_->findMergeNodeViaPartitionRedistribution(at("11.0.0.0/8"), 9, true),
              answer(nullptr, nullptr));
}

TEST_F(RedistributionSearchTest, onlyTheProposedNodesPendingStateIsConsultedForTheSource) {
    pendingIs(source(), 15);
    pendingIs(second(), 15);
    EXPECT_FALSE(intoSource(5).dirty);
    for (unsigned const flags : someFlags_) {
        pendingIs(candidate(), flags);
        EXPECT_EQ(intoSource(5), answer(candidate(), source(), true)) << flags;
    }
    pendingIs(second(), 0);
    EXPECT_EQ(intoSource(4), answer(second(), source(), false));
}

TEST_F(RedistributionSearchTest, otherwiseTheSearchUpwardsDecides) {
    EXPECT_EQ(between(5), answer(candidate(), highest()));
    EXPECT_EQ(between(4), answer(candidate(), middle()));
    EXPECT_EQ(between(3), answer(candidate(), lowest()));
    // 1 and 1 routes, at the internal node between 10.32.0.0/16 and the partition.
    EXPECT_EQ(between(2), answer(second(), at("10.32.0.0/11")));
    EXPECT_EQ(between(1), answer(nullptr, nullptr));
    pendingIs(highest(), 4);
    EXPECT_EQ(between(5), answer(candidate(), highest(), true));
    EXPECT_EQ(between(4), answer(candidate(), middle(), false));
}

TEST_F(RedistributionSearchTest, theSourcesCountIsOfNoAccountForANewPartition) {
    source()->partitionRouteCountIs(1000);
    EXPECT_EQ(intoSource(5), answer(nullptr, nullptr));
    EXPECT_EQ(between(5), answer(candidate(), highest()));
}

TEST_F(RedistributionSearchTest, theSourceMustBeAPartition) {
    EXPECT_EXIT(trie_->findMergeNodeViaPartitionRedistribution(nullptr, 1, true),
                testing::KilledBySignal(SIGABRT),
                TestSupport::assertionText("srcPartitionNode", " srcPartitionNode:(nil)",
                                           "LpmTrie/LpmTrie", signature));
    EXPECT_EXIT(trie_->findMergeNodeViaPartitionRedistribution(lowest(), 1, true),
                testing::KilledBySignal(SIGABRT),
                TestSupport::assertionText("srcPartitionNode->partitionNode()",
                                           " srcPartitionNode:Int,10.0.0.0/11,3,1,nil,hw:1",
                                           "LpmTrie/LpmTrie", signature));
    dissolve(candidate());
    EXPECT_EXIT(trie_->findMergeNodeViaPartitionRedistribution(candidate(), 1, false),
                testing::KilledBySignal(SIGABRT),
                TestSupport::assertionText("srcPartitionNode->partitionNode()",
                                           " srcPartitionNode:Int,10.0.0.0/24,2,2,0x2,hw:1,dp",
                                           "LpmTrie/LpmTrie", signature));
}

TEST_F(RedistributionSearchTest, aRefusedSourceIsNotTraced) {
    EXPECT_EXIT(
        {
            Vexo::traceLevelsIs("LpmTrie/7-9");
            trie_->findMergeNodeViaPartitionRedistribution(nullptr, 1, true);
        },
        testing::KilledBySignal(SIGABRT),
        TestSupport::assertionText("srcPartitionNode", " srcPartitionNode:(nil)", "LpmTrie/LpmTrie",
                                   signature));
}

TEST_F(RedistributionSearchTest, theSearchIntoTheSourceIsTraced) {
    TraceCapture const capture;
    intoSource(4);
    EXPECT_THAT(
        traced(capture),
        ElementsAre("8 " + String(signature) +
                        " srcPartitionNode:Partition,10.0.0.0/8,7,3,0x1,hw:1 maxPartitionCount:4 "
                        "toSrcPartition:1",
                    "7 Testing candidate partitionNode:Partition,10.0.0.0/24,2,2,0x2,hw:1 "
                    "sHwTable:1 maxPartitionCount:4",
                    "7 found right node:Fib,10.16.0.0/16,1,1,0x1,hw:1",
                    "7 Testing candidate partitionNode:Partition,Fib,10.48.0.0/16,1,1,0x3,hw:1 "
                    "sHwTable:1 maxPartitionCount:4"));
}

TEST_F(RedistributionSearchTest, theSearchForANewPartitionIsTraced) {
    TraceCapture const capture;
    between(3);
    EXPECT_THAT(
        traced(capture),
        ElementsAre("8 " + String(signature) +
                        " srcPartitionNode:Partition,10.0.0.0/8,7,3,0x1,hw:1 maxPartitionCount:3 "
                        "toSrcPartition:0",
                    "7 Testing candidate partitionNode:Partition,10.0.0.0/24,2,2,0x2,hw:1 "
                    "sHwTable:1 maxPartitionCount:3",
                    "8 LpmTrie::TrieFindMergeReturnCode LpmTrie::Trie::findMergeToNode("
                    "LpmTrie::Node*, LpmTrie::Node*, U32) candidatePartitionNode:"
                    "Partition,10.0.0.0/24,2,2,0x2,hw:1 srcPartitionNode:"
                    "Partition,10.0.0.0/8,7,3,0x1,hw:1 maxPartitionCount:3",
                    "7 upwards walk node:Int,10.0.0.0/11,3,1,nil,hw:1",
                    "7 upwards walk node:Int,10.0.0.0/10,5,2,nil,hw:1",
                    "7 merge from:Partition,10.0.0.0/24,2,2,0x2,hw:1 to:"
                    "Int,10.0.0.0/11,3,1,nil,hw:1"));
}

}  // namespace
