#include <LpmTrie/LpmTrieNode.h>

#include <tests/LpmTrie/TrieFixture.h>
#include <tests/Support/LeakCheck.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using LpmTrie::Node;
using LpmTrie::PartitionId;
using LpmTrie::PartitionIdValue;
using LpmTrie::PendingState;
using Nimbal::IpGenPrefixRef;
using TrieTests::NodeState;
using TrieTests::prefix;
using Vexo::U32;

static_assert(!std::is_copy_constructible_v<Node> && !std::is_copy_assignable_v<Node>);
static_assert(std::has_virtual_destructor_v<Node>);

class NodeTest : public TestSupport::LeakCheck {
protected:
    static PartitionId::Ptr partitionId(U32 id) {
        return PartitionId::PartitionIdIs(PartitionIdValue(id), 0xffff, {});
    }
    /** Calls `change` and `expect`, each with its own copy of the state, which then must agree. */
    template <class Change, class Expect>
    void expectChange(Change const& change, Expect const& expect) {
        NodeState expected(&node_);
        expect(expected);
        change(node_);
        EXPECT_EQ(NodeState(&node_), expected);
    }

    IpGenPrefixRef::Ptr const holder_ = IpGenPrefixRef::IpGenPrefixRefIs(prefix("10.0.0.0/8"));
    PartitionId::Ptr const id_ = partitionId(5);
    Node node_{holder_, false, false, id_, 3};
    Node other_{holder_, false, false, {}, 0};
};

TEST_F(NodeTest, startsWithItsArgumentsAndNothingElse) {
    for (bool const fibRoute : {false, true}) {
        for (bool const partitionNode : {false, true}) {
            Node const node(holder_, fibRoute, partitionNode, id_, 0xffffffffU);
            EXPECT_EQ(node.prefixRef(), holder_);
            EXPECT_EQ(node.fibRoute(), fibRoute);
            EXPECT_EQ(node.partitionNode(), partitionNode);
            EXPECT_EQ(node.internal(), !fibRoute && !partitionNode);
            EXPECT_EQ(node.partitionId(), id_);
            EXPECT_EQ(node.hwTable(), 0xffffffffU);
            EXPECT_EQ(node.parent(), nullptr);
            EXPECT_EQ(node.bitNode(0), nullptr);
            EXPECT_EQ(node.bitNode(1), nullptr);
            EXPECT_EQ(node.routeCount(), 0U);
            EXPECT_EQ(node.partitionRouteCount(), 0U);
            EXPECT_EQ(node.pendingState(), PendingState());
        }
    }
}

TEST_F(NodeTest, sharesItsPrefixAndItsIdForItsLife) {
    EXPECT_EQ(holder_->references(), 3U);
    EXPECT_EQ(id_->references(), 2U);
    {
        Node const third(holder_, false, false, id_, 0);
        EXPECT_EQ(holder_->references(), 4U);
        EXPECT_EQ(id_->references(), 3U);
    }
    EXPECT_EQ(holder_->references(), 3U);
    EXPECT_EQ(id_->references(), 2U);
}

TEST_F(NodeTest, lenIsThePrefixsLength) {
    EXPECT_EQ(node_.len(), 8U);
    for (char const* text : {"0.0.0.0/0", "10.0.0.1/32", "::/0", "2001:db8::1/128"}) {
        Node const node(IpGenPrefixRef::IpGenPrefixRefIs(prefix(text)), false, false, {}, 0);
        EXPECT_EQ(node.len(), prefix(text).len());
    }
}

TEST_F(NodeTest, commonLenComparesWithItsOwnPrefix) {
    EXPECT_EQ(node_.commonLen(prefix("10.1.0.0/16")), 8U);
    EXPECT_EQ(node_.commonLen(prefix("11.0.0.0/8")), 7U);
    EXPECT_EQ(node_.commonLen(prefix("0.0.0.0/0")), 0U);
}

TEST_F(NodeTest, fibRouteIsChangesTheFlagAlone) {
    for (bool const on : {true, true, false}) {
        expectChange([&](Node& node) { node.fibRouteIs(on); },
                     [&](NodeState& state) { state.fibRoute = on; });
        EXPECT_EQ(node_.internal(), !on);
    }
}

TEST_F(NodeTest, becomingAPartitionLeavesItsCreationPendingAlone) {
    expectChange([](Node& node) { node.partitionNodeIs(true); },
                 [](NodeState& state) {
                     state.partitionNode = true;
                     state.pendingState = PendingState::createPartition_();
                 });
    EXPECT_FALSE(node_.internal());
}

TEST_F(NodeTest, ceasingToBeAPartitionLeavesWhatIsPending) {
    for (unsigned char value = 0; value < 16; ++value) {
        node_.pendingStateIs(PendingState{});
        node_.partitionNodeIs(true);
        node_.pendingStateIs(PendingState(value));
        expectChange([](Node& node) { node.partitionNodeIs(false); },
                     [](NodeState& state) { state.partitionNode = false; });
    }
}

TEST_F(NodeTest, pendingStateIsReplacesTheWholeState) {
    for (unsigned char value = 0; value < 16; ++value) {
        PendingState const pending(value);
        expectChange([&](Node& node) { node.pendingStateIs(pending); },
                     [&](NodeState& state) { state.pendingState = pending; });
    }
}

TEST_F(NodeTest, linksAreSetOneByOne) {
    expectChange([&](Node& node) { node.parentIs(&other_); },
                 [&](NodeState& state) { state.parent = &other_; });
    expectChange([&](Node& node) { node.bitNodeIs(0, &other_); },
                 [&](NodeState& state) { state.child0 = &other_; });
    expectChange([&](Node& node) { node.bitNodeIs(1, &node_); },
                 [&](NodeState& state) { state.child1 = &node_; });
    EXPECT_EQ(node_.bitNode(0), &other_);
    EXPECT_EQ(node_.bitNode(1), &node_);
    expectChange([](Node& node) { node.bitNodeIs(0, nullptr); },
                 [](NodeState& state) { state.child0 = nullptr; });
    expectChange([](Node& node) { node.parentIs(nullptr); },
                 [](NodeState& state) { state.parent = nullptr; });
}

TEST_F(NodeTest, hwTableIsSetsTheTable) {
    for (U32 const hwTable : {0U, 7U, 0xffffffffU}) {
        expectChange([&](Node& node) { node.hwTableIs(hwTable); },
                     [&](NodeState& state) { state.hwTable = hwTable; });
    }
}

TEST_F(NodeTest, partitionIdIsReleasesTheOldAndKeepsTheNew) {
    PartitionId::Ptr const next = partitionId(6);
    expectChange([&](Node& node) { node.partitionIdIs(next); },
                 [&](NodeState& state) { state.partitionId = next.get(); });
    EXPECT_EQ(id_->references(), 1U);
    EXPECT_EQ(next->references(), 2U);
    node_.partitionIdIs(node_.partitionId());
    EXPECT_EQ(next->references(), 2U);
    node_.partitionIdIs({});
    EXPECT_EQ(node_.partitionId(), nullptr);
    EXPECT_EQ(next->references(), 1U);
}

TEST_F(NodeTest, partitionIdIsMayEndTheOldId) {
    auto const liveIds = [] { return Vexo::allocationCounts("LpmTrie::PartitionId").live(); };
    node_.partitionIdIs(partitionId(6));
    EXPECT_EQ(liveIds(), 2U);
    node_.partitionIdIs(id_);
    EXPECT_EQ(liveIds(), 1U);
}

TEST_F(NodeTest, routeCountGoesUpAndDown) {
    expectChange([](Node& node) { node.routeCountInc(5); },
                 [](NodeState& state) { state.routeCount = 5; });
    expectChange([](Node& node) { node.routeCountInc(0); }, [](NodeState&) {});
    expectChange([](Node& node) { node.routeCountDec(2); },
                 [](NodeState& state) { state.routeCount = 3; });
    expectChange([](Node& node) { node.routeCountDec(0); }, [](NodeState&) {});
    expectChange([](Node& node) { node.routeCountDec(node.routeCount()); },
                 [](NodeState& state) { state.routeCount = 0; });
    expectChange([](Node& node) { node.routeCountDec(0); }, [](NodeState&) {});
}

TEST_F(NodeTest, partitionRouteCountIsSetAndGoesUpAndDown) {
    expectChange([](Node& node) { node.partitionRouteCountIs(7); },
                 [](NodeState& state) { state.partitionRouteCount = 7; });
    expectChange([](Node& node) { node.partitionRouteCountInc(2); },
                 [](NodeState& state) { state.partitionRouteCount = 9; });
    expectChange([](Node& node) { node.partitionRouteCountDec(4); },
                 [](NodeState& state) { state.partitionRouteCount = 5; });
    expectChange([](Node& node) { node.partitionRouteCountDec(5); },
                 [](NodeState& state) { state.partitionRouteCount = 0; });
}

TEST_F(NodeTest, countersWrapAroundWithoutACheck) {
    node_.routeCountInc(0xffffffffU);
    node_.routeCountInc(2);
    EXPECT_EQ(node_.routeCount(), 1U);
    node_.partitionRouteCountIs(0xffffffffU);
    node_.partitionRouteCountInc(2);
    EXPECT_EQ(node_.partitionRouteCount(), 1U);
}

TEST_F(NodeTest, verifyPartitionDoesNothing) {
    expectChange(
        [&](Node& node) {
            node.verifyPartition(nullptr);
            node.verifyPartition(&node);
        },
        [](NodeState&) {});
}

class DerivedNode : public Node {
public:
    using Node::Node;

    char clientData_[100]{};
};

TEST_F(NodeTest, allocationIsRecordedUnderNodeWithTheSizeOfTheWholeObject) {
    Vexo::AllocationCounts const before = Vexo::allocationCounts("LpmTrie::Node");
    Node* const node = new Node(holder_, false, false, id_, 0);
    Node* const derived = new DerivedNode(holder_, false, false, id_, 0);
    Vexo::AllocationCounts const after = Vexo::allocationCounts("LpmTrie::Node");
    EXPECT_EQ(after.live(), before.live() + 2);
    EXPECT_EQ(after.liveBytes(), before.liveBytes() + sizeof(Node) + sizeof(DerivedNode));
    delete node;
    delete derived;
    EXPECT_EQ(Vexo::allocationCounts("LpmTrie::Node").liveBytes(), before.liveBytes());
}

}  // namespace
