#include <tests/LpmTrie/MergeWorld.h>
#include <tests/Support/AssertionText.h>

#include <gmock/gmock.h>

namespace {

using namespace LpmTrieTest;
using testing::ElementsAre;
using testing::ElementsAreArray;

String const mergeSignature =
    "void LpmTrie::Trie::mergePartition(LpmTrie::Node*, LpmTrie::Node*, const Ptr&, bool, const "
    "Ptr&)";
String const addEntry =
    "8 bool LpmTrie::Trie::addMovedNode(LpmTrie::Node*, const Ptr&, const Ptr&) node:";
String const hookEntry =
    "8 virtual void LpmTrie::Trie::movedNode(LpmTrie::Node*, const Ptr&, U32) Node:";
String const relabelEntry =
    "8 void LpmTrie::Trie::updatePartitionId(LpmTrie::Node*, const Ptr&) fromNode:";
String const countEntry =
    "8 void LpmTrie::Trie::updateNewPartition(LpmTrie::Node*, const Ptr&, bool) partitionNode:";

class MergeTextsTest : public MergeWorld {
protected:
    MergeTextsTest() { trie_->keeping = false; }

    /** From the dissolved node's report on; `number` is the target's, in hexadecimal. */
    std::vector<String> dissolvingLines(String const& number) const {
        // Id 2: the world, what is kept of the dissolved node, and its two routes, of which each
        // lets go but is kept as it is reported, and the first then by its record.
        String const old = " oldPartitionId:PartitionId:2 references:4 movedNodes:" + address_;
        String const dissolved = "Int,10.192.0.0/10,4,2," + number + ",hw:1,dp";
        return {addEntry + dissolved + old,
                "7 movedNodes:" + address_,
                relabelEntry + dissolved + " movedNodes:" + address_,
                "7  node Int,10.192.0.0/11,3,1,nil,hw:1",
                "7  node Fib,10.192.0.0/16,1,1,0x2,hw:1",
                addEntry + "Fib,10.192.0.0/16,1,1," + number + ",hw:1" + old,
                "7 movedNodes:" + address_,
                "7  node Fib,10.224.0.0/16,1,1,0x2,hw:1",
                addEntry + "Fib,10.224.0.0/16,1,1," + number + ",hw:1" + old,
                "7 movedNodes:" + address_,
                "7 After mergePartition:" + address_};
    }

    String const address_ = addressText(moved_);
};

TEST_F(MergeTextsTest, aMergeIntoAnExistingPartitionIsTraced) {
    TraceCapture const capture;
    merge(top(), 1);
    // Id 1: the world, the partition and its two routes.
    std::vector<String> expected{
        "8 " + mergeSignature +
            " fromPartitionNode:Partition,10.192.0.0/10,4,2,0x2,hw:1"
            " toPartitionNode:Partition,10.0.0.0/8,6,2,0x1,hw:1"
            " toPartitionId:PartitionId:1 references:4 createNewPartition:0 movedNodes:" +
            address_,
        "7 incrementing partitionCount for node:Int,10.128.0.0/9,5,1,nil,hw:1 value:2",
        "7 incrementing partitionCount for node:Partition,10.0.0.0/8,6,2,0x1,hw:1 value:2"};
    std::ranges::copy(dissolvingLines("0x1"), std::back_inserter(expected));
    EXPECT_THAT(traced(capture), ElementsAreArray(expected));
}

TEST_F(MergeTextsTest, aMergeIntoANewPartitionIsTraced) {
    id(5);
    TraceCapture const capture;
    create(between(), 5);
    std::vector<String> expected{
        "8 " + mergeSignature +
            " fromPartitionNode:Partition,10.192.0.0/10,4,2,0x2,hw:1"
            " toPartitionNode:Int,10.128.0.0/9,5,1,nil,hw:1"
            " toPartitionId:PartitionId:5 references:1 createNewPartition:1 movedNodes:" +
            address_,
        addEntry +
            "Partition,10.128.0.0/9,5,1,0x5,hw:1,cp oldPartitionId:PartitionId null"
            " movedNodes:" +
            address_,
        "7 movedNodes:" + address_,
        countEntry + "Partition,10.128.0.0/9,5,1,0x5,hw:1,cp movedNodes:" + address_ + " newNode:0",
        "7 decrementing partitionCount for node:Partition,10.0.0.0/8,6,2,0x1,hw:1 value:1",
        relabelEntry + "Partition,10.128.0.0/9,5,1,0x5,hw:1,cp movedNodes:" + address_,
        "7  node Fib,10.128.0.0/16,1,1,0x1,hw:1",
        addEntry +
            "Fib,10.128.0.0/16,1,1,0x5,hw:1 oldPartitionId:PartitionId:1 references:4"
            " movedNodes:" +
            address_,
        "7 movedNodes:" + address_,
        "7 incrementing partitionCount for node:Partition,10.128.0.0/9,5,1,0x5,hw:1,cp value:2"};
    std::ranges::copy(dissolvingLines("0x5"), std::back_inserter(expected));
    EXPECT_THAT(traced(capture), ElementsAreArray(expected));
}

TEST_F(MergeTextsTest, withoutACollectionTheDirectReportsAloneAreTracedAsRecordings) {
    LpmTrie::removeAll(*trie_);
    partition("10.0.0.0/8", 0);
    routeAndPartition("10.0.0.0/16", 2);
    route("10.0.0.0/24", 2);
    settle();
    String const null = addressText(nullptr);
    TraceCapture const capture;
    trie_->mergePartition(at("10.0.0.0/16"), at("10.0.0.0/8"), nullptr, true, nullptr);
    // Id 2: the world, what is kept of the dissolved node, and the route or what is kept of it.
    EXPECT_THAT(
        traced(capture),
        ElementsAre("8 " + mergeSignature +
                        " fromPartitionNode:Partition,Fib,10.0.0.0/16,2,2,0x2,hw:1"
                        " toPartitionNode:Partition,10.0.0.0/8,2,0,nil,hw:1"
                        " toPartitionId:PartitionId null createNewPartition:1 movedNodes:" +
                        null,
                    "7 incrementing partitionCount for node:Partition,10.0.0.0/8,2,0,nil,hw:1 "
                    "value:2",
                    addEntry +
                        "Fib,10.0.0.0/16,2,2,nil,hw:1,dp oldPartitionId:PartitionId:2 "
                        "references:3 movedNodes:" +
                        null,
                    hookEntry + "Fib,10.0.0.0/16,2,2,nil,hw:1,dp oldPartitionId:PartitionId:2 "
                                "references:3 oldHwTable:1",
                    "7 movedNodes:" + null,
                    relabelEntry + "Fib,10.0.0.0/16,2,2,nil,hw:1,dp movedNodes:" + null,
                    "7  node Fib,10.0.0.0/24,1,1,0x2,hw:1",
                    hookEntry + "Fib,10.0.0.0/24,1,1,nil,hw:1 oldPartitionId:PartitionId:2 "
                                "references:3 oldHwTable:1",
                    "7 After mergePartition:" + null));
}

class MergeAssertionsTest : public MergeWorld {
protected:
    /** Each merge that is refused stops the process with this condition and context. */
    void expectFatal(Node* from, Node* to, PartitionId::Ptr const& toId, bool createNewPartition,
                     char const* condition, String const& context) {
        EXPECT_EXIT(
            trie_->mergePartition(from, to, toId, createNewPartition, moved_),
            testing::KilledBySignal(SIGABRT),
            TestSupport::assertionText(condition, context, "LpmTrie/LpmTrie", mergeSignature));
    }
};

TEST_F(MergeAssertionsTest, whatIsDissolvedMustBeAPartition) {
    constexpr char const* condition = "fromPartitionNode && fromPartitionNode->partitionNode()";
    expectFatal(nullptr, top(), id(1), false, condition, "fromPartitionNode:(nil)");
    expectFatal(nullptr, nullptr, nullptr, true, condition, "fromPartitionNode:(nil)");
    expectFatal(between(), top(), id(1), false, condition,
                "fromPartitionNode:Int,10.128.0.0/9,5,1,nil,hw:1");
    from()->partitionNodeIs(false);
    from()->pendingStateIs(PendingState::removePartition_());
    expectFatal(from(), nullptr, id(1), true, condition,
                "fromPartitionNode:Int,10.192.0.0/10,4,2,0x2,hw:1,dp");
}

TEST_F(MergeAssertionsTest, theRootCannotBeDissolved) {
    constexpr char const* condition = "fromPartitionNode && fromPartitionNode->parent()";
    expectFatal(top(), from(), id(2), false, condition, "fromPartitionNode parent:(nil)");
    expectFatal(top(), nullptr, id(2), false, condition, "fromPartitionNode parent:(nil)");
}

TEST_F(MergeAssertionsTest, theTargetMustBeThereAndOfTheSameTable) {
    constexpr char const* condition =
        "toPartitionNode && toPartitionNode->hwTable() == fromPartitionNode->hwTable()";
    expectFatal(from(), nullptr, id(1), false, condition,
                " fromPartitionNode:Partition,10.192.0.0/10,4,2,0x2,hw:1 toPartitionNode:(nil)");
    top()->hwTableIs(2);
    expectFatal(from(), top(), newId(1), false, condition,
                " fromPartitionNode:Partition,10.192.0.0/10,4,2,0x2,hw:1"
                " toPartitionNode:Partition,10.0.0.0/8,6,2,0x1,hw:2");
    between()->hwTableIs(0);
    expectFatal(from(), between(), id(5), false, condition,
                " fromPartitionNode:Partition,10.192.0.0/10,4,2,0x2,hw:1"
                " toPartitionNode:Int,10.128.0.0/9,5,1,nil,hw:0");
}

TEST_F(MergeAssertionsTest, anExistingTargetMustCarryThatVeryId) {
    constexpr char const* condition = "toPartitionNode->partitionId() == toPartitionId";
    String const context = "toPartitionNode:Partition,10.0.0.0/8,6,2,0x1,hw:1 id:";
    PartitionId::Ptr const sameNumber = newId(1);
    expectFatal(from(), top(), sameNumber, false, condition,
                context + "PartitionId:1 references:1");
    expectFatal(from(), top(), sameNumber, true, condition, context + "PartitionId:1 references:1");
    expectFatal(from(), top(), nullptr, false, condition, context + "PartitionId null");
}

TEST_F(MergeAssertionsTest, aNewPartitionMustBeAskedFor) {
    expectFatal(from(), between(), id(5), false, "createNewPartition",
                "toPartitionNode not a partition:Int,10.128.0.0/9,5,1,nil,hw:1");
    between()->pendingStateIs(pending(4));
    expectFatal(from(), between(), nullptr, false, "createNewPartition",
                "toPartitionNode not a partition:Int,10.128.0.0/9,5,1,nil,hw:1,sp");
}

TEST_F(MergeAssertionsTest, nothingMayBePendingWhereANewPartitionIsMade) {
    for (unsigned const flags : {1U, 2U, 4U, 8U}) {
        between()->pendingStateIs(pending(flags));
        EXPECT_EXIT(trie_->mergePartition(from(), between(), id(5), true, moved_),
                    testing::KilledBySignal(SIGABRT),
                    TestSupport::assertionText(
                        "pendingState_.value() == 0",
                        "node:" + streamed(static_cast<void const*>(between())) +
                            " pendingState:" + streamed(pending(flags)),
                        "LpmTrie/LpmTrieNode", "void LpmTrie::Node::partitionNodeIs(bool)"));
    }
}

}  // namespace
