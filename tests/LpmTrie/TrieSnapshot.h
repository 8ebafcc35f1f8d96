#pragma once

#include <LpmTrie/LpmTrie.h>

#include <gtest/gtest.h>

#include <ostream>
#include <vector>

/* Ways to look at all of a trie that use none of its operations. */

namespace TrieTests {

using LpmTrie::Node;
using LpmTrie::PartitionId;
using LpmTrie::PendingState;
using LpmTrie::Trie;
using Vexo::String;
using Vexo::U32;

/** All that a node holds. */
struct NodeState {
    Node const* node;
    Node const* parent;
    Node const* child0;
    Node const* child1;
    Nimbal::IpGenPrefixRef const* prefixRef;
    bool fibRoute;
    bool partitionNode;
    PartitionId const* partitionId;
    U32 hwTable;
    U32 routeCount;
    U32 partitionRouteCount;
    PendingState pendingState;

    explicit NodeState(Node const* of)
        : node(of),
          parent(of->parent()),
          child0(of->bitNode(0)),
          child1(of->bitNode(1)),
          prefixRef(of->prefixRef().get()),
          fibRoute(of->fibRoute()),
          partitionNode(of->partitionNode()),
          partitionId(of->partitionId().get()),
          hwTable(of->hwTable()),
          routeCount(of->routeCount()),
          partitionRouteCount(of->partitionRouteCount()),
          pendingState(of->pendingState()) {}
    bool operator==(NodeState const&) const = default;
};

inline std::ostream& operator<<(std::ostream& stream, NodeState const& state) {
    return stream << state.node << " under " << state.parent << " with " << state.child0 << " and "
                  << state.child1 << ", holder " << state.prefixRef << ": " << state.fibRoute
                  << state.partitionNode << ' ' << state.partitionId << " hw:" << state.hwTable
                  << ' ' << state.routeCount << ',' << state.partitionRouteCount << ' '
                  << state.pendingState;
}

struct PlacedNode {
    Node* node;
    /** How the node hangs from its parent; 3 for the root. */
    U32 bit;
    U32 depth;
};

/** Every node below and at `top`, each before its children, child 0 first. */
inline std::vector<PlacedNode> placedNodes(Node* top) {
    std::vector<PlacedNode> placed;
    std::vector<PlacedNode> toVisit;
    if (top != nullptr) {
        toVisit.push_back({top, 3, 0});
    }
    while (!toVisit.empty()) {
        PlacedNode const at = toVisit.back();
        toVisit.pop_back();
        placed.push_back(at);
        for (U32 bit : {1U, 0U}) {
            if (Node* const child = at.node->bitNode(bit)) {
                toVisit.push_back({child, bit, at.depth + 1});
            }
        }
    }
    return placed;
}

/** The whole trie; two of them are equal when nothing at all has changed in between. */
inline std::vector<NodeState> snapshot(Trie const& trie) {
    std::vector<NodeState> states;
    for (PlacedNode const& placed : placedNodes(trie.root())) {
        states.emplace_back(placed.node);
    }
    return states;
}

/**
 * A line for each node: two blanks for each level, "0 " or "1 " for how it hangs from its parent,
 * its text. Fails the test when a node's parent is not the one that it hangs from.
 */
inline std::vector<String> drawing(Trie const& trie) {
    std::vector<String> lines;
    std::vector<Node const*> path;
    for (PlacedNode const& placed : placedNodes(trie.root())) {
        path.resize(placed.depth);
        EXPECT_EQ(placed.node->parent(), path.empty() ? nullptr : path.back());
        path.push_back(placed.node);
        char const* const branch = placed.bit == 3 ? "" : placed.bit == 0 ? "0 " : "1 ";
        lines.push_back(String(2 * placed.depth, ' ') + branch + placed.node->stringValue());
    }
    return lines;
}

}  // namespace TrieTests
