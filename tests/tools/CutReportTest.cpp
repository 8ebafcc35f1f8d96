/*
 * What a cut reports, beside what it changes. Three sets: the routes whose label has changed, those
 * that re-labelling reports, and those that whoever cuts has to report. The first is the other two
 * together, less the reports of routes that carried the new id already.
 */

#include <tools/Xoshiro.h>

#include <tests/Support/LeakCheck.h>
#include <tests/tools/Labels.h>

#include <gtest/gtest.h>

namespace LpmTools {
namespace {

using LpmTrie::Node;
using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;
using ToolsTest::changes;
using ToolsTest::Labels;
using ToolsTest::Moves;
using ToolsTest::PartitionId;
using ToolsTest::Reports;

IpGenPrefix prefix(std::string_view text) {
    return IpGenPrefix::fromString(text);
}

class CutReportTest : public TestSupport::LeakCheck {
protected:
    CutReportTest() {
        trie_->afIs(AddressFamily::ipv4);
        Node* const root =
            trie_->insertFromRoot(prefix("0.0.0.0/0"), false, true, newId(), 1).node();
        root->pendingStateIs(LpmTrie::PendingState());
    }
    ~CutReportTest() override { LpmTrie::removeAll(*trie_); }

    PartitionId::Ptr newId() {
        return PartitionId::PartitionIdIs(LpmTrie::PartitionIdValue(nextId_++), ~U32{0}, nullptr);
    }
    Node* insert(IpGenPrefix const& route) {
        Node* const partition = trie_->findPartitionNode(route, false).partitionNode();
        return trie_
            ->insert(route, partition, true, false, partition->partitionId(), partition->hwTable())
            .node();
    }
    Node* insert(std::string_view route) { return insert(prefix(route)); }
    /** Makes a partition of a node; the report of its own route is up to the caller. */
    Reports cutAt(Node* node, PartitionId::Ptr const& id) {
        LpmTrie::TrieNodesInfo::Ptr const records = LpmTrie::trieNodesInfoFactory();
        node->partitionIdIs(id);
        node->partitionNodeIs(true);
        trie_->updateNewPartition(node, records, false);
        node->pendingStateIs(LpmTrie::PendingState());
        trie_->verify();
        return ToolsTest::reportsOf(records->nodeInfo());
    }
    Labels labels() const { return ToolsTest::labelsOf(*trie_); }

    LpmTrie::Trie::Ptr const trie_ = LpmTrie::trieFactory(0);

private:
    U32 nextId_ = 0;
};

TEST_F(CutReportTest, routesBelowAreReportedAndTheCutNodesOwnIsLeftToTheCutter) {
    Node* const node = insert("10.0.0.0/8");
    insert("10.1.0.0/16");
    insert("10.1.1.0/24");
    insert("11.0.0.0/8");
    Labels const before = labels();
    Reports const reports = cutAt(node, newId());
    EXPECT_EQ(reports.moved, Moves({"10.1.0.0/16: 0 -> 1", "10.1.1.0/24: 0 -> 1"}));
    EXPECT_EQ(reports.stayed, Moves());
    EXPECT_EQ(changes(before, labels()),
              Moves({"10.0.0.0/8: 0 -> 1", "10.1.0.0/16: 0 -> 1", "10.1.1.0/24: 0 -> 1"}));
}

TEST_F(CutReportTest, cutNodeWithoutARouteLeavesNothingToReport) {
    insert("10.0.0.0/16");
    insert("10.1.0.0/16");
    Labels const before = labels();
    Reports const reports = cutAt(LpmTrie::findExact(*trie_, prefix("10.0.0.0/15")), newId());
    EXPECT_EQ(reports.moved, Moves({"10.0.0.0/16: 0 -> 1", "10.1.0.0/16: 0 -> 1"}));
    EXPECT_EQ(reports.moved, changes(before, labels()));
}

TEST_F(CutReportTest, routesOfNestedPartitionsStayAndAreNotReported) {
    Node* const outer = insert("10.0.0.0/8");
    Node* const inner = insert("10.1.0.0/16");
    insert("10.1.1.0/24");
    insert("10.2.0.0/16");
    cutAt(inner, newId());
    Labels const before = labels();
    Reports const reports = cutAt(outer, newId());
    EXPECT_EQ(reports.moved, Moves({"10.2.0.0/16: 0 -> 2"}));
    EXPECT_EQ(changes(before, labels()), Moves({"10.0.0.0/8: 0 -> 2", "10.2.0.0/16: 0 -> 2"}));
}

TEST_F(CutReportTest, routeThatHadTheNewIdAlreadyIsReportedAndKnownByIt) {
    Node* const node = insert("10.0.0.0/8");
    insert("10.1.0.0/16");
    PartitionId::Ptr const id = newId();
    insert("10.2.0.0/16")->partitionIdIs(id);
    Labels const before = labels();
    Reports const reports = cutAt(node, id);
    EXPECT_EQ(reports.moved, Moves({"10.1.0.0/16: 0 -> 1"}));
    EXPECT_EQ(reports.stayed, Moves({"10.2.0.0/16: 1 -> 1"}));
    EXPECT_EQ(changes(before, labels()), Moves({"10.0.0.0/8: 0 -> 1", "10.1.0.0/16: 0 -> 1"}));
}

TEST_F(CutReportTest, labellingAgainReportsAllAndChangesNothing) {
    Node* const node = insert("10.0.0.0/8");
    insert("10.1.0.0/16");
    insert("10.2.0.0/16");
    cutAt(node, newId());
    Labels const before = labels();
    LpmTrie::TrieNodesInfo::Ptr const records = LpmTrie::trieNodesInfoFactory();
    trie_->updatePartitionId(node, records);
    Reports const reports = ToolsTest::reportsOf(records->nodeInfo());
    EXPECT_EQ(reports.moved, Moves());
    EXPECT_EQ(reports.stayed, Moves({"10.1.0.0/16: 1 -> 1", "10.2.0.0/16: 1 -> 1"}));
    EXPECT_EQ(labels(), before);
}

// Another object of the same number is another partition.
TEST_F(CutReportTest, idsAreTheSameOnlyAsObjects) {
    Node* const node = insert("10.0.0.0/8");
    insert("10.1.0.0/16");
    Labels const before = labels();
    Reports const reports =
        cutAt(node, PartitionId::PartitionIdIs(LpmTrie::PartitionIdValue(0), ~U32{0}, nullptr));
    EXPECT_EQ(reports.moved, Moves({"10.1.0.0/16: 0 -> 0"}));
    EXPECT_EQ(reports.stayed, Moves());
    EXPECT_EQ(changes(before, labels()), Moves({"10.0.0.0/8: 0 -> 0", "10.1.0.0/16: 0 -> 0"}));
}

TEST_F(CutReportTest, reportsAndOwnRouteAreTheChangesOfEachCutOfARandomTable) {
    Xoshiro random(20);
    std::vector<Node*> routes;
    for (int i = 0; i < 300; ++i) {
        std::array<Vexo::U8, 16> address{0x20, static_cast<Vexo::U8>(random.below(8)),
                                         static_cast<Vexo::U8>(random.below(8))};
        IpGenPrefix const route =
            IpGenPrefix(AddressFamily::ipv4, address, 8 + random.below(17)).hostBitsCleared();
        if (LpmTrie::Node const* const node = LpmTrie::findExact(*trie_, route);
            node == nullptr || !node->fibRoute()) {
            routes.push_back(insert(route));
        }
    }
    for (int cut = 0; cut < 60; ++cut) {
        Node* const node = routes[random.below(routes.size())];
        if (node->partitionNode()) {
            continue;
        }
        PartitionId::Ptr const id = newId();
        Labels before = labels();
        Moves stayed;
        for (Node* const below : LpmTrie::routesUnder(*trie_, node->prefixRef()->prefix())) {
            IpGenPrefix const& route = below->prefixRef()->prefix();
            if (below != node && below->partitionId() == node->partitionId() &&
                random.below(3) == 0) {
                below->partitionIdIs(id);
                before[route] = id;
                stayed.insert(ToolsTest::moveText(route, id, id));
            }
        }
        Reports reports = cutAt(node, id);
        reports.moved.insert(ToolsTest::moveText(node->prefixRef()->prefix(),
                                                 before.at(node->prefixRef()->prefix()), id));
        ASSERT_EQ(reports.moved, changes(before, labels()));
        ASSERT_EQ(reports.stayed, stayed);
    }
}

}  // namespace
}  // namespace LpmTools
