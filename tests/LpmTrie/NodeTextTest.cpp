#include <LpmTrie/LpmTrieNode.h>

#include <tests/LpmTrie/TrieFixture.h>
#include <tests/Support/LeakCheck.h>

#include <gtest/gtest.h>

#include <optional>
#include <sstream>

namespace {

using LpmTrie::Node;
using LpmTrie::PartitionId;
using LpmTrie::PartitionIdValue;
using LpmTrie::PendingState;
using Nimbal::IpGenPrefixRef;
using TrieTests::prefix;
using Vexo::String;
using Vexo::U32;

PartitionId::Ptr partitionId(U32 id) {
    return PartitionId::PartitionIdIs(PartitionIdValue(id), 0xffff, {});
}

struct TextCase {
    char const* prefix;
    bool partitionNode;
    bool fibRoute;
    U32 routes;
    U32 partitionRoutes;
    std::optional<U32> id;
    U32 hwTable;
    char const* text;
};

constexpr U32 big = 0x80000000U;

constexpr TextCase cases[] = {
    {"10.0.0.0/8", true, true, 3, 3, 5, 1, "Partition,Fib,10.0.0.0/8,3,3,0x5,hw:1"},
    {"10.0.0.0/7", false, false, 4, 0, {}, 0, "Int,10.0.0.0/7,4,0,nil,hw:0"},
    {"10.0.0.0/8", false, true, 1, 1, 0xff, 2, "Fib,10.0.0.0/8,1,1,0xff,hw:2"},
    {"10.0.0.0/8", true, false, 0, 0, 10, 2, "Partition,10.0.0.0/8,0,0,0xa,hw:2"},
    {"10.0.0.0/8", false, false, 0, 0, 0xdeadbeefU, 0, "Int,10.0.0.0/8,0,0,0xdeadbeef,hw:0"},
    {"0.0.0.0/0", true, true, 12, 7, 0, 0, "Partition,Fib,0.0.0.0/0,12,7,0x0,hw:0"},
    {"255.255.255.255/32", false, true, 1, 1, {}, 9, "Fib,255.255.255.255/32,1,1,nil,hw:9"},
    {"::/0", true, false, 2, 1, 65541, 3, "Partition,::/0,2,1,0x10005,hw:3"},
    {"2001:db8::/32", false, true, 1, 1, 5, 1, "Fib,2001:db8::/32,1,1,0x5,hw:1"},
    {"2001:db8::1/128", false, true, 1, 1, {}, 1, "Fib,2001:db8::1/128,1,1,nil,hw:1"},
    // Counters and the table are printed as signed numbers.
    {"10.0.0.0/8", false, true, big - 1, big - 1, 1, big - 1,
     "Fib,10.0.0.0/8,2147483647,2147483647,0x1,hw:2147483647"},
    {"10.0.0.0/8", false, true, big, big + 1, 1, big,
     "Fib,10.0.0.0/8,-2147483648,-2147483647,0x1,hw:-2147483648"},
    {"10.0.0.0/8",
     true,
     true,
     0xffffffffU,
     0xfffffffeU,
     {},
     0xffffffffU,
     "Partition,Fib,10.0.0.0/8,-1,-2,nil,hw:-1"},
    {"10.0.0.0/8", false, false, 0, 0, 0xffffffffU, 0, "Int,10.0.0.0/8,0,0,0xffffffff,hw:0"},
};

class NodeTextTest : public TestSupport::LeakCheck {
protected:
    IpGenPrefixRef::Ptr const holder_ = IpGenPrefixRef::IpGenPrefixRefIs(prefix("10.0.0.0/8"));
    PartitionId::Ptr const id_ = partitionId(5);
};

TEST_F(NodeTextTest, tellsRolePrefixCountersIdAndTable) {
    for (TextCase const& c : cases) {
        Node node(IpGenPrefixRef::IpGenPrefixRefIs(prefix(c.prefix)), c.fibRoute, c.partitionNode,
                  c.id.has_value() ? partitionId(*c.id) : PartitionId::Ptr(), c.hwTable);
        node.routeCountInc(c.routes);
        node.partitionRouteCountIs(c.partitionRoutes);
        EXPECT_EQ(node.stringValue(), c.text);
    }
}

TEST_F(NodeTextTest, takesThePrefixAsItsHolderHasIt) {
    Nimbal::IpGenPrefix const odd(Nimbal::IpAddr(0x0a010203U), 40);
    Node const node(IpGenPrefixRef::IpGenPrefixRefIs(odd), true, false, {}, 0);
    EXPECT_EQ(node.stringValue(), "Fib," + odd.stringValue() + ",0,0,nil,hw:0");
}

TEST_F(NodeTextTest, endsInThePendingFlagsButForTheFourth) {
    Node node(holder_, false, true, id_, 1);
    for (unsigned char value = 0; value < 16; ++value) {
        node.pendingStateIs(PendingState(value));
        String const flags = String((value & 1) != 0 ? ",cp" : "") +
                             ((value & 2) != 0 ? ",dp" : "") + ((value & 4) != 0 ? ",sp" : "");
        EXPECT_EQ(node.getPendingStateStr(), flags);
        EXPECT_EQ(node.stringValue(), "Partition,10.0.0.0/8,0,0,0x5,hw:1" + flags);
    }
}

TEST_F(NodeTextTest, ofAPartitionInMakingAndInSplitting) {
    Node node(holder_, true, false, id_, 1);
    node.partitionNodeIs(true);
    EXPECT_EQ(node.stringValue(), "Partition,Fib,10.0.0.0/8,0,0,0x5,hw:1,cp");
    node.pendingStateIs(PendingState::createPartition_() | PendingState::splittingPartition_());
    EXPECT_EQ(node.stringValue(), "Partition,Fib,10.0.0.0/8,0,0,0x5,hw:1,cp,sp");
    node.partitionNodeIs(false);
    node.pendingStateIs(PendingState::removePartition_());
    EXPECT_EQ(node.stringValue(), "Fib,10.0.0.0/8,0,0,0x5,hw:1,dp");
}

TEST_F(NodeTextTest, isWhatStreamsPrint) {
    Node node(holder_, true, false, id_, 1);
    Node* const pointer = &node;
    Node* const null = nullptr;
    std::ostringstream stream;
    stream << '<' << pointer << "><" << null << '>';
    EXPECT_EQ(stream.str(), "<Fib,10.0.0.0/8,0,0,0x5,hw:1><(nil)>");
}

TEST_F(NodeTextTest, aStreamsFormatDoesNotChangeIt) {
    Node node(holder_, true, false, id_, 10);
    std::ostringstream stream;
    stream << std::hex << std::showbase << &node;
    EXPECT_EQ(stream.str(), "Fib,10.0.0.0/8,0,0,0x5,hw:10");
}

/** Has texts of its own and counts how often they are asked for. */
class TalkingNode : public Node {
public:
    using Node::Node;
    String getHwTableStr() const override {
        ++hwTableAsked_;
        return "table " + std::to_string(hwTable());
    }
    String getPendingStateStr() const override {
        ++pendingAsked_;
        return " pending " + std::to_string(pendingState().value()) + Node::getPendingStateStr();
    }

    mutable int hwTableAsked_ = 0;
    mutable int pendingAsked_ = 0;
};

TEST_F(NodeTextTest, aDerivedNodesTextsTakeTheirPlaces) {
    TalkingNode node(holder_, true, false, id_, 7);
    Node* const base = &node;
    EXPECT_EQ(base->stringValue(), "Fib,10.0.0.0/8,0,0,0x5,table 7");
    EXPECT_EQ(node.hwTableAsked_, 1);
    EXPECT_EQ(node.pendingAsked_, 0) << "nothing is pending";
    base->pendingStateIs(PendingState(9));
    EXPECT_EQ(base->stringValue(), "Fib,10.0.0.0/8,0,0,0x5,table 7 pending 9,cp");
    EXPECT_EQ(node.pendingAsked_, 1);
    std::ostringstream stream;
    stream << base;
    EXPECT_EQ(stream.str(), base->stringValue());
}

}  // namespace
