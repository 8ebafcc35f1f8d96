#pragma once

#include <tests/LpmTrie/ModelPrefix.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

/*
 * A naive stand-in for the trie, to compare it with. It keeps what clients have said of each prefix
 * and works everything else out anew after each change, by looking at all nodes: which nodes there
 * must be, how they hang together, both counters, and which partition a route lies in. It knows the
 * trie's verbs and shares no code with it.
 */

namespace TrieModel {

using U32 = std::uint32_t;

/** Stands for one partition id object; 0 for none. */
using Label = U32;

constexpr unsigned createPending = 1;
constexpr unsigned removePending = 2;

/** What a node carries that cannot be worked out from the other nodes. */
struct Record {
    bool route = false;
    bool partition = false;
    unsigned pending = 0;
    Label label = 0;
    U32 table = 0;

    bool operator==(Record const&) const = default;
    auto operator<=>(Record const&) const = default;
    bool hasRole() const { return route || partition; }
    bool removalPends() const { return (pending & removePending) != 0; }
    /** There for its own sake, and not as a branching point of others. */
    bool stands() const { return hasRole() || removalPends(); }
    /** A partition, or one that is being taken down. */
    bool countsAsPartition() const { return partition || removalPends(); }
};

constexpr std::size_t none = ~std::size_t{0};

/** A node and what follows from all others. Nodes are named by their place in pre-order. */
struct Node : Record {
    Prefix prefix;
    std::size_t parent = none;
    std::array<std::size_t, 2> child{none, none};
    /** One past the last node that the prefix covers. */
    std::size_t end = 0;
    /** The partition node that the node lies in: itself, or the nearest above. */
    std::size_t home = none;
    U32 routeCount = 0;
    U32 partitionRouteCount = 0;
};

/** A route that is reported to have moved. */
struct Report {
    Prefix prefix;
    Label oldLabel = 0;
    Label newLabel = 0;
    U32 table = 0;

    auto operator<=>(Report const&) const = default;
};
using Reports = std::vector<Report>;

using MaybePrefix = std::optional<Prefix>;

struct Found {
    MaybePrefix node;
    MaybePrefix partitionNode;
    MaybePrefix coveringPrefixNode;
    bool dirty = false;

    bool operator==(Found const&) const = default;
};

struct FoundMerge {
    MaybePrefix fromNode;
    MaybePrefix toNode;
    bool dirty = false;

    bool operator==(FoundMerge const&) const = default;
};

struct Removed {
    MaybePrefix node;
    bool success = false;

    bool operator==(Removed const&) const = default;
};

class Model {
public:
    // The state, in pre-order.

    std::vector<Node> const& nodes() const { return nodes_; }
    bool empty() const { return nodes_.empty(); }
    /** The node with that very prefix, or null. */
    Node const* find(Prefix const& prefix) const;
    /** The deepest partition node that covers the prefix, itself included, or null. */
    Node const* partitionOf(Prefix const& prefix) const;
    /** Of which prefixes the last change made nodes and freed them, in that order. */
    std::vector<Prefix> const& made() const { return made_; }
    std::vector<Prefix> const& freed() const { return freed_; }

    // Changes, each legal where it is called. They tell the moves in the order of their reports.

    Found insert(Prefix const& prefix, bool route, bool partition, Label label, U32 table,
                 Reports& reports);
    Removed remove(Prefix const& prefix);
    Removed removeNode(Prefix const& prefix);
    /** A client makes a partition of a node that is there, and reports the node's own route. */
    Reports cut(Prefix const& prefix, Label label, U32 table);
    /**
     * A client folds a partition into the one above: takes the node's route out if `takeRoute`,
     * then its flag, and has the partition above label what has come to it. `later` leaves removal
     * pending.
     */
    Reports dissolve(Prefix const& prefix, bool takeRoute, bool later);
    Reports mergePartition(Prefix const& from, Prefix const& to, Label label);
    void pendingIs(Prefix const& prefix, unsigned pending);
    /** A client has done what was pending; a node that has no role any more goes. */
    void complete(Prefix const& prefix);

    // Searches.

    MaybePrefix closestFibRoute(Prefix const& node) const;
    Found findPartitionNode(Prefix const& prefix, bool includePendingRmPartition) const;
    MaybePrefix longestMatch(Prefix const& prefix) const;
    FoundMerge findMergeToNode(Prefix const& candidate, Prefix const& source, U32 most) const;
    FoundMerge findRedistribution(Prefix const& source, U32 most, bool toSource) const;
    /** Nothing when the descent would run into a partition or into nowhere, which is fatal. */
    MaybePrefix findSplit(Prefix const& source, U32 splitCount, bool disallowSplitOnParent) const;
    Found findParentToMerge(Prefix const& source, U32 most) const;

private:
    std::size_t at(Prefix const& prefix) const;
    MaybePrefix prefixAt(std::size_t index) const;
    std::size_t childTowards(std::size_t index, Prefix const& prefix) const;
    std::size_t deepestCovering(Prefix const& prefix) const;
    U32 ownPartitionCount(std::size_t child) const;

    Record& record(Prefix const& prefix);
    void settle();
    std::vector<Prefix> neededPrefixes() const;
    void deriveLinks();
    void deriveCounts();
    void relabelBelow(Prefix const& prefix, Reports& reports);
    void moveTo(Prefix const& prefix, Label label, Reports& reports);

    std::vector<Node> nodes_;
    std::vector<Prefix> made_;
    std::vector<Prefix> freed_;
};

}  // namespace TrieModel
