#include <tests/LpmTrie/TrieFixture.h>
#include <tests/LpmTrie/VerifySignatures.h>

/* The trace lines of the verification, to the letter. */

namespace {

using namespace TrieTests;
using TestSupport::CapturedLine;
using TestSupport::TraceCapture;

using Lines = std::vector<CapturedLine>;

class VerifyTraceTest : public TrieFixture {};

String step(String const& stopNode, String const& startNode, U32 level, bool stopAtPartitionNode) {
    return Signature::preorderNextNode + " stopNode:" + stopNode + " startNode:" + startNode +
           " level:" + std::to_string(level) +
           " stopAtFibRoute0 stopAtPartitionNode:" + (stopAtPartitionNode ? "1" : "0");
}

TEST_F(VerifyTraceTest, anEmptyTrieTracesTheEntryAlone) {
    TraceCapture const capture("LpmTrie/0-9");
    trie().verify();
    EXPECT_EQ(capture.lines(), Lines{line(8, "virtual void LpmTrie::Trie::verify()")});
}

TEST_F(VerifyTraceTest, noNodeAsAPartitionsRootTracesTheEntryAlone) {
    TraceCapture const capture("LpmTrie/0-9");
    trie().verifyFibRoutes(nullptr);
    EXPECT_EQ(capture.lines(), Lines{line(8, Signature::verifyFibRoutes + " node: (nil)")});
}

TEST_F(VerifyTraceTest, aPartitionWithARouteBelowAndOneBesideIt) {
    PartitionId::Ptr const id = partitionId(5);
    partition("10.0.0.0/8", id, 1);
    route("10.1.0.0/16", id, 1);
    route("11.0.0.0/8");
    String const root = "Int,10.0.0.0/7,2,1,nil,hw:0";
    String const top = "Partition,10.0.0.0/8,1,1,0x5,hw:1,cp";
    String const below = "Fib,10.1.0.0/16,1,1,0x5,hw:1";
    String const beside = "Fib,11.0.0.0/8,1,1,nil,hw:0";
    TraceCapture const capture("LpmTrie/7-8");
    trie().verify();
    EXPECT_THAT(capture.lines(),
                testing::ElementsAreArray(Lines{
                    line(8, Signature::verify),
                    line(7, "Child Node bit:0 node:" + top),
                    line(7, "Child Node bit:1 node:" + beside),
                    line(8, step("(nil)", root, 0, false)),
                    line(8, Signature::verifyPartition + " node: " + top),
                    line(8, Signature::verifyFibRoutes + " node: " + top),
                    line(8, step(root, top, 1, true)),
                    line(8, Signature::verifyFibRoute + " node " + below + " partitionNode " + top),
                    line(8, Signature::findPartitionNode +
                                " prefix:10.1.0.0/16 includePendingRmPartition:0"),
                    line(7, " bit 0 current:" + top),
                    line(7, " bit 0 current:" + below),
                    line(8, Signature::getClosestFibRouteNode + " node:" + top),
                    line(7, "checking parent:" + root),
                    line(8, Signature::getClosestFibRouteNode + " fibRouteNode:(nil)"),
                    line(8, step(root, below, 2, true)),
                    line(7, "Child Node bit:0 node:" + below),
                    line(8, step("(nil)", top, 1, false)),
                    line(8, step("(nil)", below, 2, false)),
                    line(8, step("(nil)", beside, 1, false)),
                }));
}

TEST_F(VerifyTraceTest, aRouteWithoutPartitionIsTracedBeforeItFails) {
    Node* const node = route("10.0.0.0/8");
    EXPECT_DEATH((Vexo::traceLevelsIs("LpmTrie/8"), trie().verifyFibRoute(node, nullptr)),
                 testing::HasSubstr(Signature::verifyFibRoute + " node Fib,10.0.0.0/8,1,1,nil,hw:0 "
                                                                "partitionNode (nil)\n"));
}

TEST_F(VerifyTraceTest, nothingIsTracedWhileTheLevelsAreOff) {
    routeAndPartition("10.0.0.0/8");
    TraceCapture const capture("LpmTrie/0-6");
    trie().verify();
    EXPECT_EQ(capture.lines(), Lines{});
}

}  // namespace
