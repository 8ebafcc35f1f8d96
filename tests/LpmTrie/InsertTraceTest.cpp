#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

namespace {

using namespace TrieTests;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::TraceCapture;

class InsertTraceTest : public TrieFixture {
protected:
    static TestSupport::CapturedLine inserted(String const& arguments) {
        return line(8, Signature::insert + arguments);
    }
    static TestSupport::CapturedLine allocated(String const& arguments) {
        return line(8, Signature::allocateNode + arguments);
    }
    static TestSupport::CapturedLine updated(String const& arguments) {
        return line(8, Signature::updateNode + arguments);
    }
    static TestSupport::CapturedLine counted(String const& node) {
        return line(8, Signature::updatePartitionRouteCount + node);
    }
    static TestSupport::CapturedLine incremented(String const& node) {
        return line(7, "incrementing partitionCount for node:" + node + " value:1");
    }
};

TEST_F(InsertTraceTest, theRoot) {
    TraceCapture const trace;
    route("10.0.0.0/8");
    EXPECT_THAT(trace.lines(),
                ElementsAre(inserted(" prefix:10.0.0.0/8 fromPartitionNode:(nil) fibRoute:1 "
                                     "partitionNode:0 partitionId:PartitionId null hwTable:0"),
                            allocated(" prefix:10.0.0.0/8 fibRoute:1 partitionNode:0 "
                                      "partitionid:PartitionId null hwTable:0"),
                            allocated("node:Fib,10.0.0.0/8,0,0,nil,hw:0"),
                            line(7, "created root Fib,10.0.0.0/8,0,0,nil,hw:0"),
                            updated("Fib,10.0.0.0/8,0,0,nil,hw:0fibRoute:1 fromPartitionNode:(nil) "
                                    "partitionNode:0"),
                            counted("Fib,10.0.0.0/8,0,0,nil,hw:0"),
                            incremented("Fib,10.0.0.0/8,0,0,nil,hw:0")));
}

TEST_F(InsertTraceTest, aRouteThatIsAPartitionTooWithAllThatItsIdIsReferredToBy) {
    PartitionId::Ptr const id = partitionId(5);
    String const node = "Partition,Fib,10.0.0.0/8,0,0,0x5,hw:3,cp";
    TraceCapture const trace;
    routeAndPartition("10.0.0.0/8", id, 3);
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(inserted(" prefix:10.0.0.0/8 fromPartitionNode:(nil) fibRoute:1 "
                             "partitionNode:1 partitionId:PartitionId:5 references:1 hwTable:3"),
                    allocated(" prefix:10.0.0.0/8 fibRoute:1 partitionNode:1 "
                              "partitionid:PartitionId:5 references:1 hwTable:3"),
                    allocated("node:Partition,Fib,10.0.0.0/8,0,0,0x5,hw:3"),
                    line(7, "created root Partition,Fib,10.0.0.0/8,0,0,0x5,hw:3"),
                    updated("Partition,Fib,10.0.0.0/8,0,0,0x5,hw:3fibRoute:1 "
                            "fromPartitionNode:(nil) partitionNode:1"),
                    line(8, Signature::updateNewPartition + " partitionNode:" + node +
                                " movedNodes:0 newNode:1"),
                    counted("(nil)"), line(7, "nothing to be done"),
                    line(8, Signature::updatePartitionId + " fromNode:" + node + " movedNodes:0"),
                    line(8, Signature::preorderNextNode + " stopNode:(nil) startNode:" + node +
                                " level:1 stopAtFibRoute0 stopAtPartitionNode:1"),
                    counted(node), incremented(node),
                    line(8, Signature::getClosestFibRouteNode +
                                " node:Partition,Fib,10.0.0.0/8,1,1,0x5,hw:3,cp"),
                    line(8, Signature::getClosestFibRouteNode +
                                " fibRouteNode:Partition,Fib,10.0.0.0/8,1,1,0x5,hw:3,cp")));
}

TEST_F(InsertTraceTest, aPlainChildAndEveryNodeOnTheWayToIt) {
    route("0.0.0.0/0");
    route("10.0.0.0/8");
    TraceCapture const trace;
    route("10.128.0.0/9");
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(
            inserted(" prefix:10.128.0.0/9 fromPartitionNode:(nil) fibRoute:1 "
                     "partitionNode:0 partitionId:PartitionId null hwTable:0"),
            line(7, " node Fib,0.0.0.0/0,2,2,nil,hw:0, commonLen 0"), line(7, " bit 0"),
            line(7, " node Fib,10.0.0.0/8,1,1,nil,hw:0, commonLen 8"), line(7, " bit 1"),
            allocated(" prefix:10.128.0.0/9 fibRoute:1 partitionNode:0 "
                      "partitionid:PartitionId null hwTable:0"),
            allocated("node:Fib,10.128.0.0/9,0,0,nil,hw:0"),
            line(7, " created plain child Fib,10.128.0.0/9,0,0,nil,hw:0 bit 1 at "
                    "Fib,10.0.0.0/8,2,1,nil,hw:0"),
            updated("Fib,10.128.0.0/9,0,0,nil,hw:0fibRoute:1 fromPartitionNode:(nil) "
                    "partitionNode:0"),
            counted("Fib,10.128.0.0/9,0,0,nil,hw:0"), incremented("Fib,10.128.0.0/9,0,0,nil,hw:0"),
            incremented("Fib,10.0.0.0/8,2,1,nil,hw:0"), incremented("Fib,0.0.0.0/0,3,2,nil,hw:0")));
}

TEST_F(InsertTraceTest, anInternalNode) {
    route("10.0.0.0/8", {}, 3);
    TraceCapture const trace;
    route("11.0.0.0/8", {}, 3);
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(inserted(" prefix:11.0.0.0/8 fromPartitionNode:(nil) fibRoute:1 "
                             "partitionNode:0 partitionId:PartitionId null hwTable:3"),
                    line(7, "Need internal node 10.0.0.0/7 for new node 11.0.0.0/8 and current "
                            "node Fib,10.0.0.0/8,1,1,nil,hw:3"),
                    allocated(" prefix:11.0.0.0/8 fibRoute:1 partitionNode:0 "
                              "partitionid:PartitionId null hwTable:3"),
                    allocated("node:Fib,11.0.0.0/8,0,0,nil,hw:3"),
                    allocated(" prefix:10.0.0.0/7 fibRoute:0 partitionNode:0 "
                              "partitionid:PartitionId null hwTable:0"),
                    allocated("node:Int,10.0.0.0/7,0,0,nil,hw:0"),
                    updated("Fib,11.0.0.0/8,0,0,nil,hw:3fibRoute:1 fromPartitionNode:(nil) "
                            "partitionNode:0"),
                    counted("Fib,11.0.0.0/8,0,0,nil,hw:3"),
                    incremented("Fib,11.0.0.0/8,0,0,nil,hw:3"),
                    incremented("Int,10.0.0.0/7,2,1,nil,hw:0"),
                    line(7, " created int node Int,10.0.0.0/7,2,2,nil,hw:0"),
                    line(7, " created new Node Fib,11.0.0.0/8,1,1,nil,hw:3")));
}

TEST_F(InsertTraceTest, anExistingNodeWithItsNewIdAndTable) {
    route("10.0.0.0/8");
    route("11.0.0.0/8");
    PartitionId::Ptr const id = partitionId(5);
    TraceCapture const trace;
    route("10.0.0.0/7", id, 3);
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(inserted(" prefix:10.0.0.0/7 fromPartitionNode:(nil) fibRoute:1 "
                             "partitionNode:0 partitionId:PartitionId:5 references:1 hwTable:3"),
                    line(7, "Update existing node Int,10.0.0.0/7,2,2,nil,hw:0"),
                    updated("Int,10.0.0.0/7,2,2,0x5,hw:3fibRoute:1 fromPartitionNode:(nil) "
                            "partitionNode:0"),
                    counted("Fib,10.0.0.0/7,2,2,0x5,hw:3"),
                    incremented("Fib,10.0.0.0/7,2,2,0x5,hw:3")));
}

TEST_F(InsertTraceTest, aNewParent) {
    route("10.200.0.0/16");
    TraceCapture const trace;
    route("10.0.0.0/8");
    EXPECT_THAT(trace.lines(),
                ElementsAre(inserted(" prefix:10.0.0.0/8 fromPartitionNode:(nil) fibRoute:1 "
                                     "partitionNode:0 partitionId:PartitionId null hwTable:0"),
                            allocated(" prefix:10.0.0.0/8 fibRoute:1 partitionNode:0 "
                                      "partitionid:PartitionId null hwTable:0"),
                            allocated("node:Fib,10.0.0.0/8,0,0,nil,hw:0"),
                            line(7, "New node 10.0.0.0/8 is new parent of current node "
                                    "Fib,10.200.0.0/16,1,1,nil,hw:0 bit 1"),
                            updated("Fib,10.0.0.0/8,1,1,nil,hw:0fibRoute:1 fromPartitionNode:(nil) "
                                    "partitionNode:0"),
                            counted("Fib,10.0.0.0/8,1,1,nil,hw:0"),
                            incremented("Fib,10.0.0.0/8,1,1,nil,hw:0")));
}

TEST_F(InsertTraceTest, aRouteFromAPartitionNode) {
    route("0.0.0.0/0");
    PartitionId::Ptr const id = partitionId(5);
    Node* const start = partition("10.0.0.0/8", id, 1);
    TraceCapture const trace;
    trie().insert(prefix("10.1.0.0/16"), start, true, false, id, 1);
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(
            inserted(" prefix:10.1.0.0/16 "
                     "fromPartitionNode:Partition,10.0.0.0/8,0,0,0x5,hw:1,cp fibRoute:1 "
                     "partitionNode:0 partitionId:PartitionId:5 references:2 hwTable:1"),
            line(7, " node Partition,10.0.0.0/8,0,0,0x5,hw:1,cp, commonLen 8"), line(7, " bit 0"),
            allocated(" prefix:10.1.0.0/16 fibRoute:1 partitionNode:0 "
                      "partitionid:PartitionId:5 references:2 hwTable:1"),
            allocated("node:Fib,10.1.0.0/16,0,0,0x5,hw:1"),
            line(7, " created plain child Fib,10.1.0.0/16,0,0,0x5,hw:1 bit 0 at "
                    "Partition,10.0.0.0/8,1,0,0x5,hw:1,cp"),
            updated("Fib,10.1.0.0/16,0,0,0x5,hw:1fibRoute:1 "
                    "fromPartitionNode:Partition,10.0.0.0/8,1,0,0x5,hw:1,cp "
                    "partitionNode:0"),
            line(8,
                 Signature::updateParentRouteCount + "Partition,10.0.0.0/8,1,0,0x5,hw:1,cp incr:1"),
            counted("Fib,10.1.0.0/16,0,0,0x5,hw:1"), incremented("Fib,10.1.0.0/16,0,0,0x5,hw:1"),
            incremented("Partition,10.0.0.0/8,1,0,0x5,hw:1,cp")));
}

TEST_F(InsertTraceTest, eachLevelAlone) {
    route("10.0.0.0/8");
    {
        TraceCapture const trace("LpmTrie/7");
        route("10.1.0.0/16");
        EXPECT_THAT(trace.texts(),
                    ElementsAre(" node Fib,10.0.0.0/8,1,1,nil,hw:0, commonLen 8", " bit 0",
                                " created plain child Fib,10.1.0.0/16,0,0,nil,hw:0 bit 0 at "
                                "Fib,10.0.0.0/8,2,1,nil,hw:0",
                                "incrementing partitionCount for node:"
                                "Fib,10.1.0.0/16,0,0,nil,hw:0 value:1",
                                "incrementing partitionCount for node:"
                                "Fib,10.0.0.0/8,2,1,nil,hw:0 value:1"));
    }
    {
        TraceCapture const trace("LpmTrie/8");
        route("10.2.0.0/16");
        EXPECT_EQ(trace.texts("LpmTrie", 8), trace.texts());
        EXPECT_EQ(trace.texts().size(), 7U);
    }
    TraceCapture const trace("LpmTrie/9,LpmTrie/0-6");
    route("10.3.0.0/16");
    EXPECT_THAT(trace.lines(), IsEmpty());
}

/** Its text is built for nothing but trace lines here. */
class CountedNode : public Node {
public:
    using Node::Node;
    String getHwTableStr() const override {
        ++textsBuilt;
        return {};
    }
    static inline U32 textsBuilt = 0;
};

class CountedTrie : public Trie {
public:
    CountedTrie() : Trie(1) {}
    Node* allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                       bool partitionNode, PartitionId::Ptr const& id, U32 hwTable) override {
        return new CountedNode(prefixRef, fibRoute, partitionNode, id, hwTable);
    }
};

TEST_F(InsertTraceTest, noTextIsBuiltWhileTheLevelsAreOff) {
    trieIs(new CountedTrie());
    CountedNode::textsBuilt = 0;
    {
        TraceCapture const trace("LpmTrie/off");
        for (char const* text : {"10.0.0.0/8", "11.0.0.0/8", "8.0.0.0/6", "10.1.0.0/16"}) {
            route(text);
        }
        routeAndPartition("10.0.0.0/7");
    }
    EXPECT_EQ(CountedNode::textsBuilt, 0U);
    TraceCapture const trace("LpmTrie/7");
    route("10.2.0.0/16");
    EXPECT_GT(CountedNode::textsBuilt, 0U);
}

}  // namespace
