#include <tests/LpmTrie/PartitionWorld.h>
#include <tests/Support/AssertionText.h>

#include <gmock/gmock.h>

namespace {

using namespace LpmTrieTest;
using LpmTrie::TrieReturnCode;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr char const* signature =
    "LpmTrie::TrieReturnCode LpmTrie::Trie::findMergeNodeViaSplitCount(LpmTrie::Node*, U32, bool)";

/**
 * A partition of 8 routes, all /16; the numbers of routes at the internal nodes:
 *
 *     10.0.0.0/8: 8
 *       10.0.0.0/9: 3      10.0.0.0/10: 2 (10.0, 10.32) and 10.64
 *       10.128.0.0/9: 5    10.128.0.0/10: 2 (10.128, 10.160)
 *                          10.192.0.0/10: 3    10.192.0.0/11: 2 (10.192, 10.208) and 10.224
 */
class SplitSearchTest : public PartitionWorld {
protected:
    SplitSearchTest() {
        partition("10.0.0.0/8", 1);
        for (char const* const text :
             {"10.0.0.0/16", "10.32.0.0/16", "10.64.0.0/16", "10.128.0.0/16", "10.160.0.0/16",
              "10.192.0.0/16", "10.208.0.0/16", "10.224.0.0/16"}) {
            route(text, 1);
        }
        settle();
    }
    Node* source() const { return at("10.0.0.0/8"); }
    Node* left() const { return at("10.0.0.0/9"); }
    Node* right() const { return at("10.128.0.0/9"); }

    Node* split(U32 splitCount, bool disallowSplitOnParent = false) {
        TrieReturnCode const found =
            trie_->findMergeNodeViaSplitCount(source(), splitCount, disallowSplitOnParent);
        EXPECT_EQ(found, TrieReturnCode(found.node(), nullptr, nullptr, false));
        return found.node();
    }
    void countsAre(U32 sourceCount, U32 leftCount, U32 rightCount) {
        source()->partitionRouteCountIs(sourceCount);
        left()->partitionRouteCountIs(leftCount);
        right()->partitionRouteCountIs(rightCount);
    }
    void expectFatal(char const* condition, String const& context, Node* node, U32 splitCount,
                     bool disallowSplitOnParent = false) {
        EXPECT_EXIT(trie_->findMergeNodeViaSplitCount(node, splitCount, disallowSplitOnParent),
                    testing::KilledBySignal(SIGABRT),
                    TestSupport::assertionText(condition, context, "LpmTrie/LpmTrie", signature));
    }
};

TEST_F(SplitSearchTest, theNearestToTheWantedCountOnTheWayDownIsTheSplitPoint) {
    struct Case {
        U32 splitCount;
        char const* text;
        char const* textWithoutParents;
    };
    for (Case const& test :
         {Case{7, "10.0.0.0/8", "10.128.0.0/9"}, Case{6, "10.128.0.0/9", "10.128.0.0/9"},
          Case{5, "10.128.0.0/9", "10.128.0.0/9"}, Case{4, "10.128.0.0/9", "10.192.0.0/10"},
          Case{3, "10.192.0.0/10", "10.192.0.0/10"}, Case{2, "10.192.0.0/11", "10.192.0.0/11"},
          Case{1, "10.208.0.0/16", "10.208.0.0/16"}}) {
        EXPECT_EQ(split(test.splitCount), at(test.text)) << test.splitCount;
        EXPECT_EQ(split(test.splitCount, true), at(test.textWithoutParents)) << test.splitCount;
    }
}

TEST_F(SplitSearchTest, equalDistancesGoToTheParentUnlessThatIsDisallowed) {
    countsAre(8, 0, 2);
    EXPECT_EQ(split(5), source());
    EXPECT_EQ(split(5, true), right());
    countsAre(9, 0, 2);
    EXPECT_EQ(split(5), right()) << "now strictly nearer";
    countsAre(7, 0, 2);
    EXPECT_EQ(split(5), source());
}

TEST_F(SplitSearchTest, theLargerChildIsTakenAndChild1WhenBothAreEqual) {
    countsAre(8, 5, 4);
    EXPECT_EQ(split(6), left());
    countsAre(8, 4, 5);
    EXPECT_EQ(split(6), right());
    countsAre(8, 5, 5);
    EXPECT_EQ(split(6), right());
}

TEST_F(SplitSearchTest, childrenWithoutAnyRouteLeadToChild1) {
    source()->fibRouteIs(true);
    countsAre(1, 0, 0);
    EXPECT_EQ(split(0), right());
    EXPECT_EQ(split(0, true), right());
    source()->fibRouteIs(false);
}

TEST_F(SplitSearchTest, nestedPartitionsDoNotCount) {
    partition("10.128.0.0/9", 2);
    settle();
    ASSERT_EQ(source()->partitionRouteCount(), 3U);
    EXPECT_EQ(split(2), at("10.0.0.0/10")) << "left, where fewer routes lie";
    EXPECT_EQ(trie_->findMergeNodeViaSplitCount(right(), 4, true).node(), at("10.192.0.0/10"));
}

TEST_F(SplitSearchTest, aChildPendingRemovalIsNoPartitionHere) {
    partition("10.128.0.0/9", 2);
    settle();
    right()->partitionNodeIs(false);
    right()->pendingStateIs(PendingState::removePartition_());
    countsAre(8, 3, 5);
    EXPECT_EQ(split(5), right());
}

TEST_F(SplitSearchTest, aRouteOnTheWayCounts) {
    route("10.128.0.0/9", 1);
    ASSERT_EQ(right()->partitionRouteCount(), 6U);
    EXPECT_EQ(split(6), right());
    EXPECT_EQ(split(5, true), at("10.192.0.0/10"));
}

TEST_F(SplitSearchTest, countsAreComparedUnsigned) {
    countsAre(0xffffffffU, 0xe8000000U, 1);
    EXPECT_EQ(split(0xf0000000U), left());
    countsAre(0x80000008U, 0x80000001U, 0x80000001U);
    EXPECT_EQ(split(0x80000003U), right());
}

TEST_F(SplitSearchTest, distancesAreSigned) {
    constexpr char const* condition = "( parentPartitionRouteCountDelta >= 0 ) && ( "
                                      "currentPartitionRouteCountDelta >= 0 )";
    countsAre(0x7fffffffU, 0, 0);
    EXPECT_EQ(split(0), right()) << "the largest distance there is";
    countsAre(0x80000000U, 0, 0);
    expectFatal(condition,
                " current: Int,10.128.0.0/9,5,0,nil,hw:1 parent "
                "Partition,10.0.0.0/8,8,-2147483648,0x1,hw:1",
                source(), 0);
    countsAre(0xffffffffU, 0, 1);
    EXPECT_EQ(split(0x80000000U, true), right());
    expectFatal(condition,
                " current: Int,10.128.0.0/9,5,1,nil,hw:1 parent "
                "Partition,10.0.0.0/8,8,-1,0x1,hw:1",
                source(), 0x80000001U, true);
}

TEST_F(SplitSearchTest, theSourceMustBeAPartitionWithMoreRoutesThanThat) {
    expectFatal("srcPartitionNode", " srcPartitionNode:(nil)", nullptr, 0);
    expectFatal("srcPartitionNode->partitionNode()",
                "is partitionNode srcPartitionNode:Int,10.128.0.0/9,5,5,nil,hw:1", right(), 9);
    constexpr char const* condition = "srcPartitionNode->partitionRouteCount() > splitCount";
    String const context = "route count in srcPartitionNode:Partition,10.0.0.0/8,8,8,0x1,hw:1";
    expectFatal(condition, context, source(), 8);
    expectFatal(condition, context, source(), 0xffffffffU, true);
}

TEST_F(SplitSearchTest, theCallIsTracedBeforeItIsRefused) {
    EXPECT_EXIT(
        {
            Vexo::traceLevelsIs("LpmTrie/8");
            trie_->findMergeNodeViaSplitCount(nullptr, 3, false);
        },
        testing::KilledBySignal(SIGABRT),
        HasSubstr(String(signature) +
                  " srcPartitionNode:(nil) splitCount:3 disallowSplitOnParent :0\n"));
}

TEST_F(SplitSearchTest, aWayDownThatEndsIsFatal) {
    // A leaf that is a route, when no route at all is wanted.
    expectFatal("false", " split error Fib,10.208.0.0/16,1,1,0x1,hw:1", source(), 0);
    // Routes are counted where only a nested partition stands.
    partition("10.128.0.0/9", 2);
    settle();
    countsAre(8, 0, 5);
    expectFatal("false", " split error Partition,10.0.0.0/8,8,8,0x1,hw:1", source(), 4);
}

TEST_F(SplitSearchTest, aParentThatIsNotThereIsFatal) {
    EXPECT_EXIT(
        {
            right()->parentIs(nullptr);
            trie_->findMergeNodeViaSplitCount(source(), 7, false);
        },
        testing::KilledBySignal(SIGABRT),
        TestSupport::assertionText("parent", "Parent:(nil)", "LpmTrie/LpmTrie", signature));
}

String const first = "7 current:Partition,10.0.0.0/8,8,8,0x1,hw:1 parentPartitionRouteCount:0";
String const firstChildren = "7  bit0 Int,10.0.0.0/9,3,3,nil,hw:1, bit1 "
                             "Int,10.128.0.0/9,5,5,nil,hw:1";
String const secondStep = "7 current:Int,10.128.0.0/9,5,5,nil,hw:1 parentPartitionRouteCount:8";

TEST_F(SplitSearchTest, aSplitAtTheParentIsTraced) {
    TraceCapture const capture;
    split(4);
    EXPECT_THAT(traced(capture),
                ElementsAre("8 " + String(signature) +
                                " srcPartitionNode:Partition,10.0.0.0/8,8,8,0x1,hw:1 splitCount:4 "
                                "disallowSplitOnParent :0",
                            first, firstChildren, secondStep,
                            "7  bit0 Int,10.128.0.0/10,2,2,nil,hw:1, bit1 "
                            "Int,10.192.0.0/10,3,3,nil,hw:1",
                            "7 current:Int,10.192.0.0/10,3,3,nil,hw:1 parentPartitionRouteCount:5",
                            "7  split@byCount parent Int,10.128.0.0/9,5,5,nil,hw:1"));
}

TEST_F(SplitSearchTest, aSplitAtTheCurrentNodeIsTraced) {
    TraceCapture const capture;
    split(7, true);
    EXPECT_THAT(traced(capture),
                ElementsAre("8 " + String(signature) +
                                " srcPartitionNode:Partition,10.0.0.0/8,8,8,0x1,hw:1 splitCount:7 "
                                "disallowSplitOnParent :1",
                            first, firstChildren, secondStep,
                            "7  split@byCount current Int,10.128.0.0/9,5,5,nil,hw:1 parent "
                            "Partition,10.0.0.0/8,8,8,0x1,hw:1"));
}

TEST_F(SplitSearchTest, anAbsentChildIsTracedAsNil) {
    Node* const small = routeAndPartition("11.0.0.0/8", 3);
    route("11.128.0.0/9", 3);
    settle();
    TraceCapture const capture;
    trie_->findMergeNodeViaSplitCount(small, 1, true);
    EXPECT_THAT(traced(capture),
                ElementsAre("8 " + String(signature) +
                                " srcPartitionNode:Partition,Fib,11.0.0.0/8,2,2,0x3,hw:1 "
                                "splitCount:1 disallowSplitOnParent :1",
                            "7 current:Partition,Fib,11.0.0.0/8,2,2,0x3,hw:1 "
                            "parentPartitionRouteCount:0",
                            "7  bit0 (nil), bit1 Fib,11.128.0.0/9,1,1,0x3,hw:1",
                            "7 current:Fib,11.128.0.0/9,1,1,0x3,hw:1 parentPartitionRouteCount:2",
                            "7  split@byCount current Fib,11.128.0.0/9,1,1,0x3,hw:1 parent "
                            "Partition,Fib,11.0.0.0/8,2,2,0x3,hw:1"));
}

}  // namespace
