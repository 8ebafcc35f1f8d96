#include <tools/PartitionedTable.h>
#include <tools/RouteGenerator.h>
#include <tools/Xoshiro.h>

#include <tests/Support/LeakCheck.h>
#include <tests/tools/Labels.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace LpmTools {
namespace {

using LpmTrie::Node;
using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;
using ToolsTest::Labels;
using ToolsTest::Moves;
using ToolsTest::PartitionId;

IpGenPrefix prefix(std::string_view text) {
    return IpGenPrefix::fromString(text);
}

std::vector<Node*> partitionNodes(LpmTrie::Trie& trie) {
    std::vector<Node*> found;
    for (auto step = trie.preorderNextNode(nullptr, nullptr, 0, false, false);
         step.node() != nullptr;
         step = trie.preorderNextNode(nullptr, step.node(), step.level, false, false)) {
        if (step.node()->partitionNode()) {
            found.push_back(step.node());
        }
    }
    return found;
}

/** Prefixes close to each other, many of them nested, in random order; the default route too. */
std::vector<IpGenPrefix> crowd(AddressFamily af, U64 seed) {
    Xoshiro random(seed);
    std::vector<IpGenPrefix> prefixes;
    for (int i = 0; i < 150; ++i) {
        std::array<Vexo::U8, 16> address{0x20, static_cast<Vexo::U8>(random.below(4))};
        prefixes.push_back(IpGenPrefix(af, address, random.below(17)).hostBitsCleared());
        address[2] = static_cast<Vexo::U8>(random.below(256));
        prefixes.push_back(IpGenPrefix(af, address, 16 + random.below(9)).hostBitsCleared());
    }
    prefixes.push_back(IpGenPrefix(af, {}, 0));
    std::ranges::sort(prefixes);
    prefixes.erase(std::unique(prefixes.begin(), prefixes.end()), prefixes.end());
    for (std::size_t i = prefixes.size(); i > 1; --i) {
        std::swap(prefixes[i - 1], prefixes[random.below(i)]);
    }
    return prefixes;
}

class PartitionedTableTest : public TestSupport::LeakCheck {};

TEST_F(PartitionedTableTest, newTableIsOneEmptyPartitionWithNothingPending) {
    for (char const* const text : {"0.0.0.0/0", "::/0"}) {
        PartitionedTable table(prefix(text).af(), 4);
        EXPECT_EQ(table.trie().root()->stringValue(),
                  "Partition," + std::string(text) + ",0,0,0x0,hw:1");
        TableFigures const figures = table.figures();
        EXPECT_EQ(figures.routes, 0U);
        EXPECT_EQ(figures.nodes, 1U);
        EXPECT_EQ(figures.partitions, 1U);
        EXPECT_EQ(figures.emptyPartitions, 1U);
        EXPECT_EQ(figures.fillTenths[0], 1U);
        EXPECT_EQ(figures.meanFill, 0.0);
        EXPECT_EQ(figures.meanDepth, 0.0);
        EXPECT_TRUE(table.removePartitions());
    }
}

TEST_F(PartitionedTableTest, ownDefaultRouteJoinsTheDefaultPartitionsNode) {
    for (char const* const text : {"0.0.0.0/0", "::/0"}) {
        PartitionedTable table(prefix(text).af(), 4);
        Node* const root = table.trie().root();
        PartitionId::Ptr const id = root->partitionId();
        table.insert(prefix(text));
        EXPECT_EQ(table.trie().root(), root);
        EXPECT_EQ(root->partitionId(), id);
        EXPECT_EQ(root->stringValue(), "Partition,Fib," + std::string(text) + ",1,1,0x0,hw:1");
        table.trie().verify();
        EXPECT_TRUE(table.find(prefix(text)));
        table.remove(prefix(text));
        EXPECT_EQ(root->stringValue(), "Partition," + std::string(text) + ",0,0,0x0,hw:1");
        EXPECT_TRUE(table.removePartitions());
    }
}

TEST_F(PartitionedTableTest, fullPartitionIsCutOnlyByTheNextRoute) {
    PartitionedTable table(AddressFamily::ipv4, 2);
    table.insert(prefix("10.0.0.0/16"));
    table.insert(prefix("10.1.0.0/16"));
    EXPECT_EQ(table.figures().partitions, 1U);
    EXPECT_EQ(table.movedRoutes(), 0U);
    table.insert(prefix("10.2.0.0/16"));
    EXPECT_EQ(table.figures().partitions, 2U);
    EXPECT_EQ(table.movedRoutes(), 1U);
    EXPECT_EQ(ToolsTest::reportsOf(table.lastMoves()).moved, Moves({"10.1.0.0/16: 0 -> 1"}));
    table.insert(prefix("11.0.0.0/8"));
    EXPECT_EQ(table.figures().partitions, 3U);
    table.trie().verify();
}

TEST_F(PartitionedTableTest, bucketOfOneRouteGivesEachItsPartition) {
    PartitionedTable table(AddressFamily::ipv4, 1);
    auto const prefixes = crowd(AddressFamily::ipv4, 5);
    for (IpGenPrefix const& route : prefixes) {
        table.insert(route);
    }
    table.trie().verify();
    TableFigures const figures = table.figures();
    EXPECT_EQ(figures.routes, prefixes.size());
    EXPECT_EQ(figures.largestPartition, 1U);
    EXPECT_EQ(figures.partitions - figures.emptyPartitions, prefixes.size());
}

TEST_F(PartitionedTableTest, largestBucketIsNeverCut) {
    PartitionedTable table(AddressFamily::ipv6, ~U32{0});
    for (IpGenPrefix const& route : generateTable(AddressFamily::ipv6, 3000, 8)) {
        table.insert(route);
    }
    table.trie().verify();
    EXPECT_EQ(table.figures().partitions, 1U);
    EXPECT_EQ(table.movedRoutes(), 0U);
    EXPECT_EQ(table.figures().fillTenths[0], 1U);
}

TEST_F(PartitionedTableTest, figuresDescribeTheTrie) {
    PartitionedTable table(AddressFamily::ipv4, 2);
    for (char const* const text : {"10.0.0.0/16", "10.1.0.0/16", "10.2.0.0/16"}) {
        table.insert(prefix(text));
    }
    // 0.0.0.0/0 over 10.0.0.0/14 over 10.0.0.0/15 and 10.2.0.0/16; two routes under the /15.
    TableFigures const figures = table.figures();
    EXPECT_EQ(figures.routes, 3U);
    EXPECT_EQ(figures.nodes, 6U);
    EXPECT_EQ(figures.internalNodes, 2U);
    EXPECT_EQ(figures.maxDepth, 4U);
    EXPECT_DOUBLE_EQ(figures.meanDepth, (4 + 4 + 3) / 3.0);
    EXPECT_EQ(figures.partitions, 2U);
    EXPECT_EQ(figures.emptyPartitions, 0U);
    EXPECT_EQ(figures.largestPartition, 2U);
    EXPECT_EQ(figures.fillTenths, (std::array<U64, 10>{0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    EXPECT_DOUBLE_EQ(figures.meanFill, 0.75);
}

TEST_F(PartitionedTableTest, absentPrefixIsNotFound) {
    PartitionedTable table(AddressFamily::ipv4, 4);
    for (char const* const text : {"10.0.0.0/16", "10.1.0.0/16"}) {
        table.insert(prefix(text));
    }
    EXPECT_TRUE(table.find(prefix("10.0.0.0/16")));
    for (char const* const absent : {"10.0.0.0/15", "10.0.0.0/17", "10.2.0.0/16", "0.0.0.0/0"}) {
        EXPECT_FALSE(table.find(prefix(absent))) << absent;
    }
}

TEST_F(PartitionedTableTest, routeWithAnotherLabelThanItsPartitionIsNotFound) {
    PartitionedTable table(AddressFamily::ipv4, 4);
    table.insert(prefix("10.0.0.0/16"));
    Node* const route = LpmTrie::findExact(table.trie(), prefix("10.0.0.0/16"));
    PartitionId::Ptr const id = route->partitionId();
    route->partitionIdIs(nullptr);
    EXPECT_FALSE(table.find(prefix("10.0.0.0/16")));
    route->partitionIdIs(id);
    EXPECT_TRUE(table.find(prefix("10.0.0.0/16")));
}

TEST_F(PartitionedTableTest, partitionNumbersAreGivenBackAtTheEnd) {
    Torvel::Bitmap::Ptr numbers;
    {
        PartitionedTable table(AddressFamily::ipv4, 3);
        for (IpGenPrefix const& route : crowd(AddressFamily::ipv4, 2)) {
            table.insert(route);
        }
        numbers = table.trie().root()->partitionId()->bitMap();
        EXPECT_EQ(numbers->count(), table.figures().partitions);
    }
    EXPECT_EQ(numbers->count(), 0U);
}

class PartitionedTableRunTest
    : public TestSupport::LeakChecked<testing::TestWithParam<std::tuple<AddressFamily, U32>>> {
protected:
    AddressFamily const af_ = std::get<0>(GetParam());
    U32 const bucket_ = std::get<1>(GetParam());
    PartitionedTable table_{af_, bucket_};
    std::vector<IpGenPrefix> const prefixes_ = crowd(af_, bucket_);

    /** The labels that insertion alone gives: a new route has that of the partition around it. */
    Labels labelsWith(IpGenPrefix const& route) {
        Labels labels = ToolsTest::labelsOf(table_.trie());
        labels[route] =
            table_.trie().findPartitionNode(route, false).partitionNode()->partitionId();
        return labels;
    }
};

INSTANTIATE_TEST_SUITE_P(Buckets, PartitionedTableRunTest,
                         testing::Combine(testing::Values(AddressFamily::ipv4, AddressFamily::ipv6),
                                          testing::Values(1U, 2U, 3U, 8U, 33U)));

TEST_P(PartitionedTableRunTest, keepsItsBoundAndEveryInvariantThroughout) {
    for (IpGenPrefix const& route : prefixes_) {
        table_.insert(route);
        table_.trie().verify();
        for (Node const* const node : partitionNodes(table_.trie())) {
            ASSERT_LE(node->partitionRouteCount(), bucket_) << node->stringValue();
            ASSERT_FALSE(node->pendingState()) << node->stringValue();
        }
    }
    EXPECT_EQ(table_.figures().routes, prefixes_.size());
    EXPECT_GT(table_.figures().partitions, 1U);
}

TEST_P(PartitionedTableRunTest, tellsAMoveForEachRouteWhoseLabelChanges) {
    U64 moves = 0;
    for (IpGenPrefix const& route : prefixes_) {
        Labels const before = labelsWith(route);
        table_.insert(route);
        Moves const expected = ToolsTest::changes(before, ToolsTest::labelsOf(table_.trie()));
        auto const reports = ToolsTest::reportsOf(table_.lastMoves());
        ASSERT_EQ(reports.moved, expected);
        ASSERT_EQ(reports.stayed, Moves());
        moves += expected.size();
        ASSERT_EQ(table_.movedRoutes(), moves);
    }
    EXPECT_GT(moves, 0U);
}

TEST_P(PartitionedTableRunTest, findsAllAndEndsEmpty) {
    for (IpGenPrefix const& route : prefixes_) {
        EXPECT_FALSE(table_.find(route));
        table_.insert(route);
        EXPECT_TRUE(table_.find(route));
    }
    for (std::size_t i = 0; i < prefixes_.size(); ++i) {
        ASSERT_TRUE(table_.find(prefixes_[i]));
        table_.remove(prefixes_[i]);
        ASSERT_FALSE(table_.find(prefixes_[i]));
        table_.trie().verify();
        ASSERT_EQ(table_.figures().routes, prefixes_.size() - i - 1);
    }
    EXPECT_EQ(table_.figures().partitions, table_.figures().emptyPartitions);
    EXPECT_TRUE(table_.removePartitions());
    EXPECT_EQ(table_.trie().root(), nullptr);
}

}  // namespace
}  // namespace LpmTools
