#include <tests/LpmTrie/DumpedText.h>

/* One node's line in a drawing of the trie. */

namespace {

using namespace TrieTests;

class NodeDumpTest : public TrieFixture {
protected:
    NodeDumpTest() { route("10.0.0.0/8"); }
    String dump(U32 bit, U32 level) const { return dump(trie().root(), bit, level); }
    static String dump(Node const* node, U32 bit, U32 level) {
        return dumped([&](U32 socket) { node->dump(bit, level, socket); });
    }

    String const text_ = " [Fib,10.0.0.0/8,1,1,nil,hw:0]\n";
};

TEST_F(NodeDumpTest, theBitChoosesTheLabel) {
    EXPECT_EQ(dump(3, 0), "root" + text_);
    EXPECT_EQ(dump(0, 0), "bit0" + text_);
    for (U32 const bit : {1U, 2U, 4U, 255U, 0x80000000U, 0xffffffffU}) {
        EXPECT_EQ(dump(bit, 0), "bit1" + text_) << bit;
    }
}

TEST_F(NodeDumpTest, theLevelIsDrawnInBars) {
    EXPECT_EQ(dump(1, 0), "bit1" + text_);
    EXPECT_EQ(dump(1, 1), "|-bit1" + text_);
    EXPECT_EQ(dump(1, 2), "| |-bit1" + text_);
    EXPECT_EQ(dump(3, 3), "| | |-root" + text_);
    String bars;
    for (U32 level = 1; level < 129; ++level) {
        bars += "| ";
    }
    EXPECT_EQ(dump(0, 129), bars + "|-bit0" + text_);
}

TEST_F(NodeDumpTest, theTextIsTheNodesWholeText) {
    Node* const node = routeAndPartition("10.1.0.0/16", partitionId(0xabcdef), 0xffffffffU);
    node->pendingStateIs(~PendingState());
    String const text = " [Partition,Fib,10.1.0.0/16,1,1,0xabcdef,hw:-1,cp,dp,sp]\n";
    EXPECT_EQ(dump(node, 0, 1), "|-bit0" + text);
    EXPECT_EQ("bit0 [" + node->stringValue() + "]\n", "bit0" + text);
}

/** Longer than any buffer on the way. */
TEST_F(NodeDumpTest, aLineMayBeLong) {
    class LongNode : public Node {
    public:
        using Node::Node;
        String getHwTableStr() const override { return String(300000, '%'); }
    };
    LongNode const node(Nimbal::IpGenPrefixRef::IpGenPrefixRefIs(prefix("10.0.0.0/8")), false,
                        false, nullptr, 0);
    String const line = dump(&node, 0, 1);
    EXPECT_EQ(line.size(), 300000 + String("|-bit0 [Int,10.0.0.0/8,0,0,nil,]\n").size());
    EXPECT_TRUE(line == "|-bit0 [Int,10.0.0.0/8,0,0,nil," + String(300000, '%') + "]\n");
}

TEST_F(NodeDumpTest, aDumpChangesNothing) {
    auto const before = snapshot(trie());
    dump(3, 2);
    EXPECT_EQ(snapshot(trie()), before);
}

}  // namespace
