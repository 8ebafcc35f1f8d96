#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

namespace {

using namespace TrieTests;
using testing::ElementsAre;
using TestSupport::TraceCapture;

class RemoveTraceTest : public TrieFixture {
protected:
    static TestSupport::CapturedLine removed(String const& arguments) {
        return line(8, Signature::remove + arguments);
    }
    static TestSupport::CapturedLine removedNode(String const& arguments) {
        return line(8, Signature::removeNode + arguments);
    }
    static TestSupport::CapturedLine lookedUp(String const& text) {
        return line(8, Signature::findPartitionNode + " prefix:" + text +
                           " includePendingRmPartition:1");
    }
};

TEST_F(RemoveTraceTest, aLeafAndTheInternalRootAboveIt) {
    route("10.0.0.0/8");
    route("11.0.0.0/8");
    TraceCapture const trace;
    trie().remove(prefix("11.0.0.0/8"));
    EXPECT_THAT(trace.lines(),
                ElementsAre(removed(" prefix:11.0.0.0/8"), lookedUp("11.0.0.0/8"),
                            line(7, " bit 1 current:Fib,11.0.0.0/8,1,1,nil,hw:0"),
                            removedNode(" node:Fib,11.0.0.0/8,1,1,nil,hw:0 removePartition:0"),
                            line(8, Signature::decRouteCounters + "Fib,11.0.0.0/8,1,1,nil,hw:0"),
                            line(7, " parent bit 1 new child(nil)"),
                            line(8, Signature::deallocateNode + "Int,11.0.0.0/8,0,0,nil,hw:0"),
                            line(7, " reparent child Fib,10.0.0.0/8,1,1,nil,hw:0 from node "
                                    "Int,10.0.0.0/7,1,1,nil,hw:0, bit 0 to (nil)"),
                            line(8, Signature::deallocateNode + "Int,10.0.0.0/7,1,1,nil,hw:0")));
}

TEST_F(RemoveTraceTest, aNodeBetweenItsParentAndItsOnlyChild) {
    route("0.0.0.0/0");
    Node* const node = route("10.0.0.0/8");
    route("10.128.0.0/9");
    TraceCapture const trace;
    trie().removeNode(node, false);
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(removedNode(" node:Fib,10.0.0.0/8,2,2,nil,hw:0 removePartition:0"),
                    line(8, Signature::decRouteCounters + "Fib,10.0.0.0/8,2,2,nil,hw:0"),
                    line(7, " reparent child Fib,10.128.0.0/9,1,1,nil,hw:0 from node "
                            "Int,10.0.0.0/8,1,1,nil,hw:0, bit 1 to Fib,0.0.0.0/0,2,2,nil,hw:0"),
                    line(7, " parent bit 0 new childFib,10.128.0.0/9,1,1,nil,hw:0"),
                    line(8, Signature::deallocateNode + "Int,10.0.0.0/8,1,1,nil,hw:0")));
}

TEST_F(RemoveTraceTest, aPartitionFlagAndTheIdThatGoesWithIt) {
    Node* const node = partition("10.0.0.0/8", partitionId(5), 1);
    TraceCapture const trace;
    trie().removeNode(node, true);
    TestSupport::CapturedLine const idGone{
        "LpmTrieTypes", 9, "LpmTrie/LpmTrieTypes",
        "void LpmTrie::PartitionId::handleDestruction():  5 bitmap:" + address(&bitmap())};
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(removedNode(" node:Partition,10.0.0.0/8,0,0,0x5,hw:1,cp removePartition:1"),
                    line(7, "removing partition flag of node:Partition,10.0.0.0/8,0,0,0x5,hw:1,cp"),
                    idGone, line(8, Signature::deallocateNode + "Int,10.0.0.0/8,0,0,nil,hw:1")));
}

TEST_F(RemoveTraceTest, aPartitionThatStays) {
    Node* const node = routeAndPartition("10.0.0.0/8");
    TraceCapture const trace;
    trie().removeNode(node, false);
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(
            removedNode(" node:Partition,Fib,10.0.0.0/8,1,1,nil,hw:0,cp removePartition:0"),
            line(8, Signature::decRouteCounters + "Partition,Fib,10.0.0.0/8,1,1,nil,hw:0,cp")));
}

TEST_F(RemoveTraceTest, whatIsNotThere) {
    TraceCapture trace;
    trie().remove(prefix("10.0.0.0/8"));
    EXPECT_THAT(trace.lines(), ElementsAre(removed(" prefix:10.0.0.0/8"), line(7, "no root")));
    route("10.0.0.0/8");
    trace.clear();
    trie().remove(prefix("10.1.0.0/16"));
    EXPECT_THAT(trace.lines(),
                ElementsAre(removed(" prefix:10.1.0.0/16"), lookedUp("10.1.0.0/16")));
}

TEST_F(RemoveTraceTest, anInternalNodeThatStays) {
    route("10.0.0.0/8");
    route("11.0.0.0/8");
    TraceCapture const trace;
    trie().remove(prefix("10.0.0.0/7"));
    EXPECT_THAT(trace.lines(),
                ElementsAre(removed(" prefix:10.0.0.0/7"), lookedUp("10.0.0.0/7"),
                            removedNode(" node:Int,10.0.0.0/7,2,2,nil,hw:0 removePartition:0")));
}

}  // namespace
