#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

namespace {

using namespace TrieTests;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::TraceCapture;

class LookupTraceTest : public TrieFixture {
protected:
    LookupTraceTest() {
        route("0.0.0.0/0");
        partition("10.0.0.0/8");
        partition("10.1.0.0/16");
    }

    static TestSupport::CapturedLine lookedUp(String const& arguments) {
        return line(8, Signature::findPartitionNode + arguments);
    }
    static TestSupport::CapturedLine closest(String const& arguments) {
        return line(8, Signature::getClosestFibRouteNode + arguments);
    }
};

TEST_F(LookupTraceTest, everyStepDownAndThenTheWayUpToTheCoveringRoute) {
    TraceCapture const trace;
    trie().findPartitionNode(prefix("10.1.128.0/17"), true);
    EXPECT_THAT(trace.lines(),
                ElementsAre(lookedUp(" prefix:10.1.128.0/17 includePendingRmPartition:1"),
                            line(7, " bit 0 current:Partition,10.0.0.0/8,0,0,nil,hw:0,cp"),
                            line(7, " bit 0 current:Partition,10.1.0.0/16,0,0,nil,hw:0,cp"),
                            closest(" node:Partition,10.1.0.0/16,0,0,nil,hw:0,cp"),
                            line(7, "checking parent:Partition,10.0.0.0/8,0,0,nil,hw:0,cp"),
                            line(7, "checking parent:Fib,0.0.0.0/0,1,1,nil,hw:0"),
                            line(7, "found fibRoute Fib,0.0.0.0/0,1,1,nil,hw:0"),
                            closest(" fibRouteNode:Fib,0.0.0.0/0,1,1,nil,hw:0")));
}

TEST_F(LookupTraceTest, aChildThatDoesNotCoverThePrefixIsToldToo) {
    TraceCapture const trace;
    trie().findPartitionNode(prefix("10.2.0.0/16"), false);
    EXPECT_THAT(trace.lines(),
                ElementsAre(lookedUp(" prefix:10.2.0.0/16 includePendingRmPartition:0"),
                            line(7, " bit 0 current:Partition,10.0.0.0/8,0,0,nil,hw:0,cp"),
                            line(7, " bit 0 current:Partition,10.1.0.0/16,0,0,nil,hw:0,cp"),
                            closest(" node:Partition,10.0.0.0/8,0,0,nil,hw:0,cp"),
                            line(7, "checking parent:Fib,0.0.0.0/0,1,1,nil,hw:0"),
                            line(7, "found fibRoute Fib,0.0.0.0/0,1,1,nil,hw:0"),
                            closest(" fibRouteNode:Fib,0.0.0.0/0,1,1,nil,hw:0")));
}

TEST_F(LookupTraceTest, withoutAPartitionNothingIsAskedForItsCover) {
    TraceCapture const trace;
    trie().findPartitionNode(prefix("0.0.0.0/0"), false);
    trie().findPartitionNode(prefix("128.0.0.0/1"), false);
    EXPECT_THAT(trace.lines(),
                ElementsAre(lookedUp(" prefix:0.0.0.0/0 includePendingRmPartition:0"),
                            lookedUp(" prefix:128.0.0.0/1 includePendingRmPartition:0")));
}

TEST_F(LookupTraceTest, anEmptyTrieAndOneWhoseRootDoesNotCoverThePrefixAreOneLine) {
    TraceCapture trace;
    removeAll(trie());
    trace.clear();
    trie().findPartitionNode(prefix("10.0.0.0/8"), true);
    EXPECT_THAT(trace.lines(),
                ElementsAre(lookedUp(" prefix:10.0.0.0/8 includePendingRmPartition:1")));
    route("10.0.0.0/8");
    trace.clear();
    trie().findPartitionNode(prefix("11.0.0.0/8"), false);
    EXPECT_THAT(trace.lines(),
                ElementsAre(lookedUp(" prefix:11.0.0.0/8 includePendingRmPartition:0")));
}

TEST_F(LookupTraceTest, aRouteIsItsOwnClosestRouteWithoutAnySearch) {
    TraceCapture const trace;
    trie().getClosestFibRouteNode(trie().root());
    EXPECT_THAT(trace.lines(), ElementsAre(closest(" node:Fib,0.0.0.0/0,1,1,nil,hw:0"),
                                           closest(" fibRouteNode:Fib,0.0.0.0/0,1,1,nil,hw:0")));
}

TEST_F(LookupTraceTest, noRouteUpToTheRootIsToldAsNil) {
    trie().remove(prefix("0.0.0.0/0"));
    Node* const low = find("10.1.0.0/16");
    TraceCapture const trace;
    trie().getClosestFibRouteNode(low);
    EXPECT_THAT(trace.lines(),
                ElementsAre(closest(" node:Partition,10.1.0.0/16,0,0,nil,hw:0,cp"),
                            line(7, "checking parent:Partition,10.0.0.0/8,0,0,nil,hw:0,cp"),
                            closest(" fibRouteNode:(nil)")));
}

TEST_F(LookupTraceTest, setTrieRcHasNoLineOfItsOwn) {
    TraceCapture const trace;
    trie().setTrieRc(trie().root(), nullptr);
    EXPECT_THAT(trace.lines(), IsEmpty());
    trie().setTrieRc(nullptr, trie().root());
    EXPECT_THAT(trace.lines(), ElementsAre(closest(" node:Fib,0.0.0.0/0,1,1,nil,hw:0"),
                                           closest(" fibRouteNode:Fib,0.0.0.0/0,1,1,nil,hw:0")));
}

TEST_F(LookupTraceTest, nothingAtAnyOtherLevel) {
    TraceCapture const trace("LpmTrie/0-6,LpmTrie/9");
    trie().findPartitionNode(prefix("10.1.128.0/17"), true);
    EXPECT_THAT(trace.lines(), IsEmpty());
}

}  // namespace
