#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

namespace {

using namespace TrieTests;
using testing::ElementsAre;

/* Insertions that find their prefix in the trie. */

class InsertAgainTest : public TrieFixture {
protected:
    /** Inserts the same prefix again and tells whether a node was made for it. */
    bool makesANode(std::string_view text, bool fibRoute, bool partitionNode,
                    PartitionId::Ptr const& id = {}, U32 hwTable = 0) {
        U64 const before = Vexo::allocationCounts("LpmTrie::Node").allocations;
        Node* const node = find(text);
        TrieReturnCode const result =
            trie().insertFromRoot(prefix(text), fibRoute, partitionNode, id, hwTable);
        EXPECT_EQ(result.node(), node);
        EXPECT_EQ(result.partitionNode(), partitionNode ? node : nullptr);
        EXPECT_FALSE(result.dirty);
        return Vexo::allocationCounts("LpmTrie::Node").allocations != before;
    }
};

TEST_F(InsertAgainTest, anInternalNodeBecomesARouteInPlace) {
    route("10.0.0.0/8");
    route("11.0.0.0/8");
    EXPECT_FALSE(makesANode("10.0.0.0/7", true, false, partitionId(5), 3));
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,10.0.0.0/7,3,3,0x5,hw:3",      //
                                             "  0 Fib,10.0.0.0/8,1,1,nil,hw:0",  //
                                             "  1 Fib,11.0.0.0/8,1,1,nil,hw:0"));
}

TEST_F(InsertAgainTest, anInternalNodeBecomesAPartitionAndLabelsTheRoutesOfItsTable) {
    route("10.0.0.0/8", {}, 3);
    route("11.0.0.0/8", {}, 4);
    EXPECT_FALSE(makesANode("10.0.0.0/7", false, true, partitionId(5), 3));
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,10.0.0.0/7,2,2,0x5,hw:3,cp",  //
                                             "  0 Fib,10.0.0.0/8,1,1,0x5,hw:3",       //
                                             "  1 Fib,11.0.0.0/8,1,1,nil,hw:4"));
}

TEST_F(InsertAgainTest, anInternalNodeTakesBothRolesAtOnce) {
    route("10.0.0.0/8");
    route("11.0.0.0/8");
    EXPECT_FALSE(makesANode("10.0.0.0/7", true, true, partitionId(5)));
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,Fib,10.0.0.0/7,3,3,0x5,hw:0,cp",  //
                                             "  0 Fib,10.0.0.0/8,1,1,0x5,hw:0",           //
                                             "  1 Fib,11.0.0.0/8,1,1,0x5,hw:0"));
}

TEST_F(InsertAgainTest, aRouteBecomesAPartitionAndTakesItsOwnRouteAlong) {
    PartitionId::Ptr const outer = partitionId(1);
    Node* const start = partition("0.0.0.0/0", outer, 4);
    routeFrom(start, "10.0.0.0/8");
    routeFrom(start, "10.1.0.0/16");
    routeFrom(start, "20.0.0.0/8");
    EXPECT_FALSE(makesANode("10.0.0.0/8", false, true, partitionId(2), 4));
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,0.0.0.0/0,3,1,0x1,hw:4,cp",             //
                                             "  0 Int,0.0.0.0/3,3,1,nil,hw:4",                  //
                                             "    0 Partition,Fib,10.0.0.0/8,2,2,0x2,hw:4,cp",  //
                                             "      0 Fib,10.1.0.0/16,1,1,0x2,hw:4",            //
                                             "    1 Fib,20.0.0.0/8,1,1,0x1,hw:4"));
}

TEST_F(InsertAgainTest, aPartitionBecomesARouteAndKeepsWhatIsPending) {
    partition("10.0.0.0/8", partitionId(5), 1);
    EXPECT_FALSE(makesANode("10.0.0.0/8", true, false, partitionId(6), 2));
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,Fib,10.0.0.0/8,1,1,0x6,hw:2,cp"));
}

TEST_F(InsertAgainTest, theIdIsReplacedByNoneAndGivenBack) {
    route("10.0.0.0/8", partitionId(5), 1);
    EXPECT_TRUE(bitmap().isSet(5));
    EXPECT_FALSE(makesANode("10.0.0.0/8", false, true, {}, 1));
    EXPECT_FALSE(bitmap().isSet(5));
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,Fib,10.0.0.0/8,1,1,nil,hw:1,cp"));
}

TEST_F(InsertAgainTest, aRouteThatHasLeftItsPartitionNodeComesBack) {
    PartitionId::Ptr const id = partitionId(5);
    routeAndPartition("10.0.0.0/8", id);
    trie().remove(prefix("10.0.0.0/8"));
    EXPECT_FALSE(makesANode("10.0.0.0/8", true, false, id));
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,Fib,10.0.0.0/8,1,1,0x5,hw:0,cp"));
}

TEST_F(InsertAgainTest, hostBitsAreNotComparedAndTheFirstPrefixStays) {
    IpGenPrefix const withHostBits(Nimbal::IpAddr(0x0a0000ff), 8);
    trie().insertFromRoot(withHostBits, true, false, {}, 0);
    Node* const node = trie().root();
    EXPECT_EQ(partition("10.0.0.0/8"), node);
    EXPECT_EQ(node->prefixRef()->prefix(), withHostBits);
}

/* Insertions that descend from a partition node. */

class InsertFromStartTest : public TrieFixture {
protected:
    InsertFromStartTest() {
        route("0.0.0.0/0", {}, 9);
        start_ = partition("10.0.0.0/8", partitionId(5), 1);
    }

    Node* start_;
};

TEST_F(InsertFromStartTest, theNodesAboveTheStartCountTheRouteButNotInTheirPartition) {
    routeFrom(start_, "10.1.0.0/16");
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,2,1,nil,hw:9",                //
                                             "  0 Partition,10.0.0.0/8,1,1,0x5,hw:1,cp",  //
                                             "    0 Fib,10.1.0.0/16,1,1,0x5,hw:1"));
}

TEST_F(InsertFromStartTest, theStartItselfCanTakeTheRoute) {
    EXPECT_EQ(routeFrom(start_, "10.0.0.0/8"), start_);
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,2,1,nil,hw:9",  //
                                             "  0 Partition,Fib,10.0.0.0/8,1,1,0x5,hw:1,cp"));
}

TEST_F(InsertFromStartTest, placementBelowTheStartIsTheSameAsFromTheRoot) {
    for (char const* text : {"10.1.1.0/24", "10.1.0.0/16", "10.0.0.0/16", "10.0.0.0/15"}) {
        routeFrom(start_, text);
    }
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,5,1,nil,hw:9",                //
                                             "  0 Partition,10.0.0.0/8,4,4,0x5,hw:1,cp",  //
                                             "    0 Fib,10.0.0.0/15,4,4,0x5,hw:1",        //
                                             "      0 Fib,10.0.0.0/16,1,1,0x5,hw:1",      //
                                             "      1 Fib,10.1.0.0/16,2,2,0x5,hw:1",      //
                                             "        0 Fib,10.1.1.0/24,1,1,0x5,hw:1"));
    trie().verify();
}

TEST_F(InsertFromStartTest, aPartitionFromAStartNeedNotCarryItsIdAndTable) {
    PartitionId::Ptr const id = partitionId(6);
    TrieReturnCode const result = trie().insert(prefix("10.1.0.0/16"), start_, false, true, id, 2);
    Node* const node = find("10.1.0.0/16");
    EXPECT_EQ(result, TrieReturnCode(node, node, trie().root(), false));
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,1,1,nil,hw:9",                //
                                             "  0 Partition,10.0.0.0/8,0,0,0x5,hw:1,cp",  //
                                             "    0 Partition,10.1.0.0/16,0,0,0x6,hw:2,cp"));
}

/* What a client's own classes see. */

class CarNode : public Node {
public:
    using Node::Node;
    String getHwTableStr() const override { return Vexo::formatString("car:%u", hwTable()); }
};

class CarTrie : public Trie {
public:
    CarTrie() : Trie(1) {}

    Node* allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                       bool partitionNode, PartitionId::Ptr const& id, U32 hwTable) override {
        calls_.push_back(Vexo::formatString("%s %d%d %s hw:%u",
                                            prefixRef->prefix().stringValue().c_str(), fibRoute,
                                            partitionNode, id ? "id" : "nil", hwTable));
        return new CarNode(prefixRef, fibRoute, partitionNode, id, hwTable);
    }
    TrieReturnCode insert(IpGenPrefix const& newPrefix, Node* fromPartitionNode, bool fibRoute,
                          bool partitionNode, PartitionId::Ptr const& id, U32 hwTable) override {
        startsAtRoot_ = fromPartitionNode == nullptr;
        return Trie::insert(newPrefix, fromPartitionNode, fibRoute, partitionNode, id, hwTable);
    }

    std::vector<String> calls_;
    bool startsAtRoot_ = false;
};

class InsertHooksTest : public TrieFixture {};

TEST_F(InsertHooksTest, aClientsTrieMakesAllNodesTheNewOneBeforeTheInternalOne) {
    CarTrie* const cars = new CarTrie();
    trieIs(cars);
    route("10.0.0.0/8", partitionId(5), 3);
    partition("11.0.0.0/8", partitionId(6), 4);
    EXPECT_THAT(cars->calls_, ElementsAre("10.0.0.0/8 10 id hw:3",  //
                                          "11.0.0.0/8 01 id hw:4",  //
                                          "10.0.0.0/7 00 nil hw:0"));
    EXPECT_THAT(drawing(trie()), ElementsAre("Int,10.0.0.0/7,1,1,nil,car:0",      //
                                             "  0 Fib,10.0.0.0/8,1,1,0x5,car:3",  //
                                             "  1 Partition,11.0.0.0/8,0,0,0x6,car:4,cp"));
}

TEST_F(InsertHooksTest, insertFromRootIsTheClientsInsertWithoutAStart) {
    CarTrie* const cars = new CarTrie();
    trieIs(cars);
    PartitionId::Ptr const id = partitionId(5);
    TrieReturnCode const result = trie().insertFromRoot(prefix("10.0.0.0/8"), true, true, id, 3);
    EXPECT_TRUE(cars->startsAtRoot_);
    EXPECT_EQ(result, TrieReturnCode(trie().root(), trie().root(), trie().root(), false));
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,Fib,10.0.0.0/8,1,1,0x5,car:3,cp"));
}

}  // namespace
