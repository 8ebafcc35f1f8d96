#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <array>

namespace {

using namespace TrieTests;
using testing::ElementsAre;

class InsertTest : public TrieFixture {
protected:
    TrieReturnCode insert(std::string_view text, bool fibRoute, bool partitionNode,
                          PartitionId::Ptr const& id = {}, U32 hwTable = 0) const {
        return trie().insert(prefix(text), nullptr, fibRoute, partitionNode, id, hwTable);
    }
};

U64 nodesMade() {
    return Vexo::allocationCounts("LpmTrie::Node").allocations;
}

TEST_F(InsertTest, theFirstRouteBecomesTheRootAndIsAllOfTheResult) {
    TrieReturnCode const result = insert("10.0.0.0/8", true, false);
    ASSERT_NE(trie().root(), nullptr);
    EXPECT_EQ(result, TrieReturnCode(trie().root(), nullptr, nullptr, false));
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,10.0.0.0/8,1,1,nil,hw:0"));
}

TEST_F(InsertTest, aPartitionIsTheResultsPartitionNodeAndIsBornPendingCreation) {
    TrieReturnCode const result = insert("10.0.0.0/8", false, true, partitionId(5), 3);
    EXPECT_EQ(result, TrieReturnCode(trie().root(), trie().root(), nullptr, false));
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,10.0.0.0/8,0,0,0x5,hw:3,cp"));
}

TEST_F(InsertTest, aRouteThatIsAPartitionTooIsItsOwnCoveringPrefix) {
    TrieReturnCode const result = insert("10.0.0.0/8", true, true, partitionId(5), 3);
    EXPECT_EQ(result, TrieReturnCode(trie().root(), trie().root(), trie().root(), false));
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,Fib,10.0.0.0/8,1,1,0x5,hw:3,cp"));
}

TEST_F(InsertTest, theCoveringPrefixOfAPartitionIsTheNearestRouteAboveIt) {
    route("0.0.0.0/0");
    Node* const covering = route("10.0.0.0/8");
    partition("10.1.0.0/16");
    TrieReturnCode const result = insert("10.1.1.0/24", false, true);
    EXPECT_EQ(result, TrieReturnCode(find("10.1.1.0/24"), find("10.1.1.0/24"), covering, false));
}

TEST_F(InsertTest, aRouteBelowAPartitionHasNeitherPartitionNorCoveringPrefixInItsResult) {
    routeAndPartition("10.0.0.0/8");
    TrieReturnCode const result = insert("10.1.0.0/16", true, false);
    EXPECT_EQ(result, TrieReturnCode(find("10.1.0.0/16"), nullptr, nullptr, false));
}

TEST_F(InsertTest, aRouteWithAFreeSlotBecomesAPlainChild) {
    route("10.0.0.0/8");
    U64 const before = nodesMade();
    route("10.128.0.0/9");
    route("10.0.0.0/9");
    EXPECT_EQ(nodesMade() - before, 2U);
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,10.0.0.0/8,3,3,nil,hw:0",      //
                                             "  0 Fib,10.0.0.0/9,1,1,nil,hw:0",  //
                                             "  1 Fib,10.128.0.0/9,1,1,nil,hw:0"));
}

TEST_F(InsertTest, routesThatPartAreJoinedByAnInternalNodeThatBecomesTheRoot) {
    route("10.0.0.0/8");
    U64 const before = nodesMade();
    TrieReturnCode const result = insert("11.0.0.0/8", true, false);
    EXPECT_EQ(nodesMade() - before, 2U);
    EXPECT_THAT(drawing(trie()), ElementsAre("Int,10.0.0.0/7,2,2,nil,hw:0",      //
                                             "  0 Fib,10.0.0.0/8,1,1,nil,hw:0",  //
                                             "  1 Fib,11.0.0.0/8,1,1,nil,hw:0"));
    EXPECT_EQ(result, TrieReturnCode(trie().root()->bitNode(1), nullptr, nullptr, false));
}

TEST_F(InsertTest, theSideOnWhichANodeHangsIsItsOwnBit) {
    route("11.0.0.0/8");
    route("10.0.0.0/8");
    EXPECT_THAT(drawing(trie()), ElementsAre("Int,10.0.0.0/7,2,2,nil,hw:0",      //
                                             "  0 Fib,10.0.0.0/8,1,1,nil,hw:0",  //
                                             "  1 Fib,11.0.0.0/8,1,1,nil,hw:0"));
}

TEST_F(InsertTest, anInternalNodeTakesTheTableOfTheNodeThatItIsHungUnderAndNoId) {
    PartitionId::Ptr const id = partitionId(5);
    route("10.0.0.0/8", id, 7);
    route("10.1.0.0/16", id, 1);
    route("10.0.0.0/16", id, 2);
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,10.0.0.0/8,3,3,0x5,hw:7",         //
                                             "  0 Int,10.0.0.0/15,2,2,nil,hw:7",    //
                                             "    0 Fib,10.0.0.0/16,1,1,0x5,hw:2",  //
                                             "    1 Fib,10.1.0.0/16,1,1,0x5,hw:1"));
}

TEST_F(InsertTest, anInternalRootHasTableZero) {
    route("10.0.0.0/8", {}, 3);
    route("11.0.0.0/8", {}, 3);
    EXPECT_EQ(trie().root()->stringValue(), "Int,10.0.0.0/7,2,2,nil,hw:0");
}

TEST_F(InsertTest,
       anInternalNodeOverAPartitionLeavesTheRoutesOfThePartitionOutOfItsPartitionCount) {
    PartitionId::Ptr const id = partitionId(5);
    routeFrom(partition("10.0.0.0/8", id, 1), "10.1.0.0/16");
    route("11.0.0.0/8", {}, 1);
    EXPECT_THAT(drawing(trie()), ElementsAre("Int,10.0.0.0/7,2,1,nil,hw:0",               //
                                             "  0 Partition,10.0.0.0/8,1,1,0x5,hw:1,cp",  //
                                             "    0 Fib,10.1.0.0/16,1,1,0x5,hw:1",        //
                                             "  1 Fib,11.0.0.0/8,1,1,nil,hw:1"));
}

TEST_F(InsertTest, anInternalNodeForAPartitionAloneCountsOnlyTheRoutesThatWereThere) {
    route("10.0.0.0/8");
    partition("11.0.0.0/8", partitionId(5));
    EXPECT_THAT(drawing(trie()), ElementsAre("Int,10.0.0.0/7,1,1,nil,hw:0",      //
                                             "  0 Fib,10.0.0.0/8,1,1,nil,hw:0",  //
                                             "  1 Partition,11.0.0.0/8,0,0,0x5,hw:0,cp"));
}

TEST_F(InsertTest, aShorterPrefixBecomesTheParentOfTheNodeThatItCovers) {
    route("10.1.0.0/16");
    U64 const before = nodesMade();
    TrieReturnCode const result = insert("10.0.0.0/8", true, false);
    EXPECT_EQ(nodesMade() - before, 1U);
    EXPECT_EQ(result, TrieReturnCode(trie().root(), nullptr, nullptr, false));
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,10.0.0.0/8,2,2,nil,hw:0",  //
                                             "  0 Fib,10.1.0.0/16,1,1,nil,hw:0"));
}

TEST_F(InsertTest, aNewParentTakesThePlaceOfItsChildUnderTheNodeAbove) {
    route("0.0.0.0/0");
    route("10.200.0.0/16");
    route("10.0.0.0/8");
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,3,3,nil,hw:0",       //
                                             "  0 Fib,10.0.0.0/8,2,2,nil,hw:0",  //
                                             "    1 Fib,10.200.0.0/16,1,1,nil,hw:0"));
}

TEST_F(InsertTest, aNewParentOfAPartitionDoesNotCountThePartitionsRoutesAsItsOwn) {
    routeAndPartition("10.1.0.0/16", partitionId(5));
    route("10.0.0.0/8");
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,10.0.0.0/8,2,1,nil,hw:0",  //
                                             "  0 Partition,Fib,10.1.0.0/16,1,1,0x5,hw:0,cp"));
}

TEST_F(InsertTest, aPartitionThatBecomesAParentTakesTheRoutesFromThePartitionAbove) {
    PartitionId::Ptr const outer = partitionId(1);
    routeFrom(partition("0.0.0.0/0", outer, 4), "10.1.0.0/16");
    routeAndPartition("10.0.0.0/8", partitionId(2), 4);
    EXPECT_THAT(drawing(trie()), ElementsAre("Partition,0.0.0.0/0,2,0,0x1,hw:4,cp",           //
                                             "  0 Partition,Fib,10.0.0.0/8,2,2,0x2,hw:4,cp",  //
                                             "    0 Fib,10.1.0.0/16,1,1,0x2,hw:4"));
}

TEST_F(InsertTest, aPartitionAloneBelowRoutesLeavesTheirRouteCounts) {
    route("0.0.0.0/0");
    route("10.0.0.0/8");
    partition("10.1.0.0/16");
    partition("10.0.0.0/7");
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,2,1,nil,hw:0",                //
                                             "  0 Partition,10.0.0.0/7,1,1,nil,hw:0,cp",  //
                                             "    0 Fib,10.0.0.0/8,1,1,nil,hw:0",         //
                                             "      0 Partition,10.1.0.0/16,0,0,nil,hw:0,cp"));
}

TEST_F(InsertTest, theFirstBitDividesWhatHangsUnderTheDefaultRoute) {
    route("128.0.0.0/1");
    route("0.0.0.0/0");
    route("0.0.0.0/32");
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,0.0.0.0/0,3,3,nil,hw:0",       //
                                             "  0 Fib,0.0.0.0/32,1,1,nil,hw:0",  //
                                             "  1 Fib,128.0.0.0/1,1,1,nil,hw:0"));
}

TEST_F(InsertTest, everyOrderOfInsertionGivesTheSameTrie) {
    std::vector<String> order{"0.0.0.0/0",   "10.0.0.0/8",   "10.1.0.0/16",
                              "10.1.2.3/32", "10.128.0.0/9", "11.0.0.0/8"};
    std::vector<String> const expected{"Fib,0.0.0.0/0,6,6,nil,hw:0",
                                       "  0 Int,10.0.0.0/7,5,5,nil,hw:0",
                                       "    0 Fib,10.0.0.0/8,4,4,nil,hw:0",
                                       "      0 Fib,10.1.0.0/16,2,2,nil,hw:0",
                                       "        0 Fib,10.1.2.3/32,1,1,nil,hw:0",
                                       "      1 Fib,10.128.0.0/9,1,1,nil,hw:0",
                                       "    1 Fib,11.0.0.0/8,1,1,nil,hw:0"};
    do {
        for (String const& text : order) {
            route(text);
        }
        ASSERT_EQ(drawing(trie()), expected) << testing::PrintToString(order);
        trie().verify();
        removeAll(trie());
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(InsertTest, aFamilyOfAnotherCodeIsHandledAsIpv4) {
    auto const af = static_cast<AddressFamily>(7);
    trie().afIs(af);
    for (Vexo::U8 const first : {Vexo::U8{10}, Vexo::U8{11}}) {
        trie().insertFromRoot(IpGenPrefix(af, std::array{first}, 8), true, false, {}, 0);
    }
    EXPECT_THAT(drawing(trie()), ElementsAre("Int,10.0.0.0/7,2,2,nil,hw:0",      //
                                             "  0 Fib,10.0.0.0/8,1,1,nil,hw:0",  //
                                             "  1 Fib,11.0.0.0/8,1,1,nil,hw:0"));
}

}  // namespace
