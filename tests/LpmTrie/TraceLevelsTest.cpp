#include <tests/LpmTrie/FaultWorld.h>

#include <gmock/gmock.h>

#include <regex>

/* A level that is open alone gives its own lines, the very ones that it gives beside the others. */

namespace {

using namespace TrieTests;
using TestSupport::CapturedLine;
using TestSupport::TraceCapture;

class TraceLevelsTest : public TestSupport::LeakChecked<testing::TestWithParam<FaultOperation>> {
protected:
    struct Told {
        std::vector<CapturedLine> lines;
        std::vector<String> picture;
    };
    /** What one run in a new world tells and leaves. */
    static Told runWith(String const& levels) {
        FaultWorld world(GetParam());
        TraceCapture const trace(levels);
        GetParam().run(world);
        Told told{trace.lines(), world.picture()};
        for (CapturedLine& line : told.lines) {
            line.text = std::regex_replace(line.text, std::regex("0x[0-9a-f]{6,}"), "address");
        }
        return told;
    }
};

TEST_P(TraceLevelsTest, eachLevelAloneTellsItsOwnLines) {
    Told const all = runWith("LpmTrie/0-9");
    for (U32 level = 0; level <= 9; ++level) {
        std::vector<CapturedLine> expected = all.lines;
        std::erase_if(expected, [&](CapturedLine const& line) { return line.level != level; });
        Told const alone = runWith("LpmTrie/" + std::to_string(level));
        EXPECT_EQ(alone.lines, expected) << "level " << level;
        EXPECT_EQ(alone.picture, all.picture) << "level " << level;
    }
}

/** Look-ups, steps of every kind from every node, and what tells of one node or of all. */
FaultOperation readings() {
    FaultOperation operation;
    operation.name = "readings";
    operation.run = [](FaultWorld& world) {
        LpmTrie::Trie& trie = world.trie();
        for (PlacedNode const& placed : placedNodes(trie.root())) {
            Node* const node = placed.node;
            trie.findPartitionNode(node->prefixRef()->prefix(), false);
            trie.findPartitionNode(node->prefixRef()->prefix(), true);
            trie.getClosestFibRouteNode(node);
            trie.findNextRightNode(node, trie.root());
            for (Node* const stop : {static_cast<Node*>(nullptr), trie.root()}) {
                for (U32 kind = 0; kind < 4; ++kind) {
                    trie.preorderNextNode(stop, node, 1, (kind & 1) != 0, (kind & 2) != 0);
                }
            }
        }
        trie.findPartitionNode(prefix("9.0.0.0/8"), false);
        trie.preorderNextNode(nullptr, nullptr, 0, false, false);
        trie.verify();
    };
    return operation;
}

FaultOperation searches() {
    FaultOperation operation;
    operation.name = "searches";
    operation.run = [](FaultWorld& world) {
        LpmTrie::Trie& trie = world.trie();
        Node* const outer = world.at("10.0.0.0/8");
        Node* const inner = world.at("10.2.0.0/16");
        trie.findMergeToNode(inner, outer, 10);
        for (bool const flag : {false, true}) {
            trie.findMergeNodeViaPartitionRedistribution(outer, 10, flag);
            trie.findMergeNodeViaSplitCount(outer, 4, flag);
        }
        trie.findParentNodeToMerge(inner, 30);
    };
    return operation;
}

FaultOperation inEmptyTrie() {
    FaultOperation operation;
    operation.name = "inEmptyTrie";
    operation.filled = false;
    operation.run = [](FaultWorld& world) {
        LpmTrie::Trie& trie = world.trie();
        trie.remove(prefix("10.0.0.0/8"));
        trie.findPartitionNode(prefix("10.0.0.0/8"), false);
        trie.preorderNextNode(nullptr, nullptr, 0, false, false);
        trie.verify();
    };
    return operation;
}

FaultOperation removalOfThePartition() {
    FaultOperation operation;
    operation.name = "removalOfThePartition";
    operation.run = [](FaultWorld& world) {
        world.trie().removeNode(world.at("10.2.0.0/16"), true);
    };
    return operation;
}

std::vector<FaultOperation> all() {
    std::vector<FaultOperation> operations = faultyOperations();
    for (auto const make : {readings, searches, inEmptyTrie, removalOfThePartition}) {
        operations.push_back(make());
    }
    return operations;
}

INSTANTIATE_TEST_SUITE_P(Operations, TraceLevelsTest, testing::ValuesIn(all()), operationName);

}  // namespace
