#include <tests/LpmTrie/DumpedText.h>

/* The dumps of a whole trie and of its partitions, to the byte. */

namespace {

using namespace TrieTests;

class DumpTest : public TrieFixture {
protected:
    DumpTest() { trieIs(LpmTrie::trieFactory(7)); }

    /** Two partitions, one in the other, with routes in and beside them. */
    void fill() const {
        PartitionId::Ptr const outer = partitionId(5);
        PartitionId::Ptr const inner = partitionId(16);
        route("0.0.0.0/0");
        partition("10.0.0.0/8", outer, 1);
        route("10.1.0.0/16", outer, 1);
        routeAndPartition("10.2.0.0/16", inner, 1);
        route("10.2.3.0/24", inner, 1);
        route("192.0.2.0/24");
    }
    String dump() const {
        return dumped([this](U32 socket) { trie().dump(socket); });
    }
    String dumpPartition() const {
        return dumped([this](U32 socket) { trie().dumpPartition(socket); });
    }
};

class DumpV6Test : public V6TrieFixture {};

String limitMessage(String const& limit) {
    return " Trie has greater than " + limit + " nodes, ending output\n";
}

TEST_F(DumpTest, anEmptyTrieIsABanner) {
    EXPECT_EQ(dump(), dumpBanner(" Dumping Trie 7"));
    EXPECT_EQ(dumpPartition(), dumpBanner(" Dumping Trie 7 Partitions"));
}

TEST_F(DumpTest, anEmptyTrieWithALimitOfNoneReachesItsLimit) {
    trie().dumpLimitIs(0);
    EXPECT_EQ(dump(), dumpBanner(" Dumping Trie 7") + limitMessage("0"));
    EXPECT_EQ(dumpPartition(), dumpBanner(" Dumping Trie 7 Partitions"));
}

TEST_F(DumpTest, everyNodeInPreOrderDrawnByItsLevel) {
    fill();
    EXPECT_EQ(dump(), golden("dump"));
}

TEST_F(DumpTest, partitionsAreDrawnAtTheLevelOfTheWholeTrie) {
    fill();
    EXPECT_EQ(dumpPartition(), golden("dump-partition"));
}

TEST_F(DumpTest, nodesPendingPartitionRemovalAreDumpedWithThePartitions) {
    fill();
    for (PlacedNode const& placed : placedNodes(trie().root())) {
        String const text = placed.node->prefixRef()->prefix().stringValue();
        if (text == "10.0.0.0/14") {
            placed.node->pendingStateIs(PendingState::removePartition_() |
                                        PendingState::splittingPartition_());
        } else if (text == "10.1.0.0/16") {
            placed.node->pendingStateIs(PendingState::createPartition_());
        } else if (text == "10.2.3.0/24") {
            placed.node->pendingStateIs(PendingState::splittingPartition_());
        } else if (text == "192.0.2.0/24") {
            placed.node->pendingStateIs(PendingState::removePartition_());
        }
    }
    EXPECT_EQ(dumpPartition(), golden("dump-partition-pending"));
}

TEST_F(DumpTest, aTrieWithoutPartitionsHasABannerOfThem) {
    route("10.0.0.0/8");
    EXPECT_EQ(dumpPartition(), dumpBanner(" Dumping Trie 7 Partitions"));
}

TEST_F(DumpTest, aPartitionAtTheRootIsDrawnAtLevelOne) {
    partition("10.0.0.0/8", partitionId(5), 1);
    EXPECT_EQ(dumpPartition(), dumpBanner(" Dumping Trie 7 Partitions") +
                                   "|-root [Partition,10.0.0.0/8,0,0,0x5,hw:1,cp]\n");
}

TEST_F(DumpTest, aDumpEndsAtItsLimit) {
    route("10.0.0.0/8");
    route("11.0.0.0/8");
    String const banner = dumpBanner(" Dumping Trie 7");
    String const root = "|-root [Int,10.0.0.0/7,2,2,nil,hw:0]\n";
    String const child0 = "| |-bit0 [Fib,10.0.0.0/8,1,1,nil,hw:0]\n";
    String const child1 = "| |-bit1 [Fib,11.0.0.0/8,1,1,nil,hw:0]\n";
    EXPECT_EQ(trie().dumpLimit(), 200000U);
    EXPECT_EQ(dump(), banner + root + child0 + child1);
    trie().dumpLimitIs(0);
    EXPECT_EQ(dump(), banner + limitMessage("0"));
    trie().dumpLimitIs(1);
    EXPECT_EQ(dump(), banner + root + limitMessage("1"));
    trie().dumpLimitIs(2);
    EXPECT_EQ(dump(), banner + root + child0 + limitMessage("2"));
    trie().dumpLimitIs(4);
    EXPECT_EQ(dump(), banner + root + child0 + child1);
    trie().dumpLimitIs(0xffffffffU);
    EXPECT_EQ(dump(), banner + root + child0 + child1);
}

TEST_F(DumpTest, aLimitOfJustTheNodesIsReachedWithAllOfThemDumped) {
    route("10.0.0.0/8");
    route("11.0.0.0/8");
    String const all = dump();
    trie().dumpLimitIs(3);
    EXPECT_EQ(dump(), all + limitMessage("3"));
}

TEST_F(DumpTest, theLimitDoesNotEndTheOtherDumps) {
    fill();
    trie().dumpLimitIs(0);
    EXPECT_EQ(dumpPartition(), golden("dump-partition"));
    EXPECT_EQ(dumped([this](U32 socket) { trie().dumpPrefix(socket, prefix("10.2.0.0/16")); }),
              prefixBanner(" Dumping Trie 7 Prefix 10.2.0.0/16") +
                  "bit0 [Partition,Fib,10.2.0.0/16,2,2,0x10,hw:1,cp]\n"
                  "|-bit0 [Fib,10.2.3.0/24,1,1,0x10,hw:1]\n");
}

TEST_F(DumpTest, aNumberOfAnInstanceIsWrittenSigned) {
    for (auto const& [vrfId, text] : {std::pair<U32, char const*>{0, "0"},
                                      {0x7fffffffU, "2147483647"},
                                      {0x80000000U, "-2147483648"},
                                      {0xffffffffU, "-1"}}) {
        trieIs(LpmTrie::trieFactory(vrfId));
        String const title = String(" Dumping Trie ") + text;
        EXPECT_EQ(dump(), dumpBanner(title));
        EXPECT_EQ(dumpPartition(), dumpBanner(title + " Partitions"));
        EXPECT_EQ(dumped([this](U32 socket) { trie().dumpPrefix(socket, prefix("10.0.0.0/8")); }),
                  prefixBanner(title + " Prefix 10.0.0.0/8"));
    }
}

TEST_F(DumpTest, aDumpChangesNothing) {
    fill();
    auto const before = snapshot(trie());
    dump();
    dumpPartition();
    dumped([this](U32 socket) { trie().dumpPrefix(socket, prefix("10.1.0.0/16")); });
    EXPECT_EQ(snapshot(trie()), before);
}

/** Reached by a client through the virtual table. */
TEST_F(DumpTest, aClientsNodesDrawThemselvesWithTheirOwnTexts) {
    class TableNode : public Node {
    public:
        using Node::Node;
        String getHwTableStr() const override { return "table %s%n 100%"; }
        String getPendingStateStr() const override { return " (pending)"; }
    };
    class TableTrie : public LpmTrie::Trie {
    public:
        using Trie::Trie;
        Node* allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                           bool partitionNode, PartitionId::Ptr const& id, U32 table) override {
            return new TableNode(prefixRef, fibRoute, partitionNode, id, table);
        }
    };
    trieIs(new TableTrie(7));
    partition("10.0.0.0/8");
    EXPECT_EQ(dump(), dumpBanner(" Dumping Trie 7") +
                          "|-root [Partition,10.0.0.0/8,0,0,nil,table %s%n 100% (pending)]\n");
}

TEST_F(DumpV6Test, aChainOfAHundredAndTwentyNineNestedPrefixes) {
    IpGenPrefix const full = prefix("2001:db8:85a3:8d3:1319:8a2e:370:7348/128");
    for (U32 len = 0; len <= 128; ++len) {
        trie().insertFromRoot(LpmTrie::prefixFromLen(full, len), true, len == 64, {}, 0);
    }
    EXPECT_EQ(dumped([this](U32 socket) { trie().dump(socket); }), golden("dump-chain"));
    EXPECT_EQ(dumped([this](U32 socket) { trie().dumpPartition(socket); }),
              golden("dump-partition-chain"));
    EXPECT_EQ(dumped([this](U32 socket) { trie().dumpPrefix(socket, prefix("::/0")); }),
              golden("dump-prefix-chain"));
}

TEST_F(DumpV6Test, aMappedIpv4PrefixIsWrittenInMixedNotation) {
    route("::ffff:192.0.2.0/120");
    EXPECT_EQ(dumped([this](U32 socket) { trie().dump(socket); }),
              dumpBanner(" Dumping Trie 1") + "|-root [Fib,::ffff:192.0.2.0/120,1,1,nil,hw:0]\n");
}

}  // namespace
