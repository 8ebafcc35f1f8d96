#include <tests/LpmTrie/MergeSearchWorld.h>
#include <tests/Support/AssertionText.h>

#include <gmock/gmock.h>

namespace {

using namespace LpmTrieTest;
using testing::ElementsAre;

constexpr char const* signature =
    "LpmTrie::TrieReturnCode LpmTrie::Trie::findParentNodeToMerge(LpmTrie::Node*, U32)";

class ParentMergeTextsTest : public MergeSearchWorld {
protected:
    void search(U32 maxEntries) { trie_->findParentNodeToMerge(candidate(), maxEntries); }
};

TEST_F(ParentMergeTextsTest, noNodeIsFatal) {
    EXPECT_EXIT(trie_->findParentNodeToMerge(nullptr, 1), testing::KilledBySignal(SIGABRT),
                TestSupport::assertionText("srcNode", "! srcNode ", "LpmTrie/LpmTrie", signature));
    EXPECT_EXIT(
        {
            Vexo::traceLevelsIs("LpmTrie/8");
            trie_->findParentNodeToMerge(nullptr, 1);
        },
        testing::KilledBySignal(SIGABRT),
        testing::HasSubstr(String(signature) + " srcNode:(nil) maxEntries:1\n"));
}

String const entry =
    "8 " + String(signature) + " srcNode:Partition,10.0.0.0/24,2,2,0x2,hw:1 maxEntries:";

TEST_F(ParentMergeTextsTest, aPartitionThatIsFoundIsTraced) {
    TraceCapture const capture;
    search(5);
    EXPECT_THAT(traced(capture),
                ElementsAre(entry + "5", "7 Found mergeNode:Partition,10.0.0.0/8,5,3,0x1,hw:1",
                            "7 partitionNode:Partition,10.0.0.0/8,5,3,0x1,hw:1"));
}

TEST_F(ParentMergeTextsTest, fallingBackIsTraced) {
    TraceCapture const capture;
    search(3);
    EXPECT_THAT(traced(capture),
                ElementsAre(entry + "3",
                            "7 current has enough fibRoutes:Int,10.0.0.0/10,4,2,nil,hw:1",
                            "7 Merging to:Int,10.0.0.0/11,3,1,nil,hw:1",
                            "7  bit 0 current:Int,10.0.0.0/9,5,3,nil,hw:1",
                            "7  bit 0 current:Int,10.0.0.0/10,4,2,nil,hw:1",
                            "7  bit 0 current:Int,10.0.0.0/11,3,1,nil,hw:1",
                            "7 partitionNode:Partition,10.0.0.0/8,5,3,0x1,hw:1"));
}

TEST_F(ParentMergeTextsTest, findingNothingIsTraced) {
    {
        TraceCapture const capture;
        search(2);
        trie_->findParentNodeToMerge(source(), 2);
        EXPECT_THAT(traced(capture),
                    ElementsAre(entry + "2",
                                "7 current has enough fibRoutes:Int,10.0.0.0/11,3,1,nil,hw:1",
                                "7 Merging to:(nil)",
                                "8 " + String(signature) +
                                    " srcNode:Partition,10.0.0.0/8,5,3,0x1,hw:1 maxEntries:2",
                                "7 Merging to:(nil)"));
    }
    lowest()->hwTableIs(9);
    TraceCapture const capture;
    search(2);
    EXPECT_THAT(traced(capture),
                ElementsAre(entry + "2",
                            "7 different hwTable. current:Int,10.0.0.0/11,3,1,nil,hw:9 src:"
                            "Partition,10.0.0.0/24,2,2,0x2,hw:1",
                            "7 Merging to:(nil)"));
}

TEST_F(ParentMergeTextsTest, aFullPartitionAndNoneThatCoversAreTraced) {
    routeAndPartition("10.0.0.0/9", 3);
    countsAre(9, 9, 4);
    settle();
    {
        TraceCapture const capture;
        trie_->findParentNodeToMerge(at("10.0.0.0/10"), 12);
        EXPECT_THAT(traced(capture),
                    ElementsAre("8 " + String(signature) +
                                    " srcNode:Int,10.0.0.0/10,4,9,nil,hw:1 maxEntries:12",
                                "7 current has enough fibRoutes:"
                                "Partition,Fib,10.0.0.0/9,6,4,0x3,hw:1",
                                "7 Merging to:(nil)"));
    }
    highest()->partitionNodeIs(false);
    source()->partitionNodeIs(false);
    source()->partitionRouteCountIs(99);
    countsAre(9, 1, 4);
    TraceCapture const capture;
    trie_->findParentNodeToMerge(lowest(), 12);
    EXPECT_THAT(traced(capture),
                ElementsAre("8 " + String(signature) +
                                " srcNode:Int,10.0.0.0/11,3,9,nil,hw:1 maxEntries:12",
                            "7 current has enough fibRoutes:Int,10.0.0.0/8,6,99,0x1,hw:1",
                            "7 Merging to:Int,10.0.0.0/10,4,1,nil,hw:1",
                            "7  bit 0 current:Fib,10.0.0.0/9,6,4,0x3,hw:1",
                            "7  bit 0 current:Int,10.0.0.0/10,4,1,nil,hw:1",
                            "7 partitionNode:(nil)"));
}

}  // namespace
