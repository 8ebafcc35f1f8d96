#pragma once

#include <LpmTrie/LpmTrieNode.h>
#include <LpmTrie/NodesInfo.h>
#include <LpmTrie/ReturnCodes.h>

#include <memory>
#include <span>

namespace LpmTrie {

class TrieIndex;

/**
 * One trie of the prefixes of one address family and one routing instance, divided into partitions.
 *
 * The trie owns its nodes, but its destructor frees none: emptying it is the client's business
 * (`remove`, or `removeAll` of RouteQueries.h). A client may derive from it and override
 * `allocateNode` and `deallocateNode` together, `movedNode` and `verifyNodeProperties`; the other
 * virtual operations are not meant to be overridden. Hooks must not call back into an operation
 * that is changing the trie.
 *
 * Misuse and broken invariants are fatal assertions; searches that find nothing return null nodes.
 * An operation that throws (memory, a client's `allocateNode`, an address bit beyond 127) leaves
 * the trie as it was. Only a `movedNode` hook is different: the operation completes, all reports
 * are made, and then the first exception reaches the caller. `deallocateNode` must not throw.
 *
 * What goes along one way between root and node (insertions, removals, look-ups, steps, most
 * searches) takes time in proportion to the depth, at most the address's bits; what labels or walks
 * over a partition, to its nodes; `verify` and the dumps, to the nodes that they go over, at most
 * all, times the depth.
 *
 * Not locked: one thread at a time works on one trie, also when it only searches, because a search
 * keeps its way for the next one. Setting a root, by hand or by the first insertion, or another
 * family, and the end of the trie write into the nodes that its index knows: they must not have
 * been freed otherwise than by their destructors.
 */
class LPMTRIE_API Trie : public Vexo::PtrInterface, public Vexo::TrackedAllocation<Trie> {
public:
    using Ptr = Vexo::Ptr<Trie>;

    /** Empty, of no family, with notification off. */
    explicit Trie(U32 vrfId) noexcept;
    /** A new, empty trie with notification on. */
    static Ptr TrieIs(U32 vrfId);

    Vexo::FwkType const* fwkType() const override;
    ~Trie() override;

    // Virtual operations, in the order of their slots.

    /**
     * Makes a node that nothing is linked to. Never returns null; may throw. Meanwhile the counters
     * above its place may have the new route already or not yet.
     */
    virtual Node* allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                               bool partitionNode, PartitionId::Ptr const& partitionId,
                               U32 hwTable);
    /**
     * Frees an internal node; a route or partition node must have lost its flags. Must not throw.
     */
    virtual void deallocateNode(Node* node);
    /**
     * Places `newPrefix` as a FIB route, as a partition node or as both, descending from
     * `fromPartitionNode`, which covers it, or from the root when that is null. A route inserted
     * from a start node carries that node's own id object and table. Returns the prefix's node and,
     * for a partition, the node again and the FIB route that covers it. `insertionRefusal` tells
     * beforehand what would be fatal.
     */
    virtual TrieReturnCode insert(Nimbal::IpGenPrefix const& newPrefix, Node* fromPartitionNode,
                                  bool fibRoute, bool partitionNode,
                                  PartitionId::Ptr const& partitionId, U32 hwTable);
    /** `insert` without a start node; the labels are the arguments'. */
    virtual TrieReturnCode insertFromRoot(Nimbal::IpGenPrefix const& newPrefix, bool fibRoute,
                                          bool partitionNode, PartitionId::Ptr const& partitionId,
                                          U32 hwTable);
    /**
     * Hook: the route at `node` has left `oldPartitionId`; it carries its new id and table already.
     */
    virtual void movedNode(Node* node, PartitionId::Ptr const& oldPartitionId, U32 oldHwTable);
    /**
     * Descends along `prefix`. `node` is where the walk stopped: the exact match, else the deepest
     * covering node, else the first node on the path that the prefix does not reach.
     * `partitionNode` is the deepest partition node that covers the prefix; with
     * `includePendingRmPartition` a node that is pending removal counts as one.
     * `coveringPrefixNode` is the FIB route at or above that partition node: not the longest match
     * of the prefix, deliberately.
     */
    virtual TrieReturnCode findPartitionNode(Nimbal::IpGenPrefix const& prefix,
                                             bool includePendingRmPartition);
    /** @{ Parts of `verify`: one route of a partition, all of them, and both with the hook. */
    virtual void verifyFibRoute(Node* node, Node* partitionNode);
    virtual void verifyFibRoutes(Node* node);
    virtual void verifyPartition(Node* node);
    /** @} */
    /** Hook for checks of a client's own node data; does nothing. */
    virtual void verifyNodeProperties(Node* node);
    /** Checks every invariant of the whole trie; the first violation is fatal. Changes nothing. */
    virtual void verify();
    /**
     * Writes at most `dumpLimit` nodes in pre-order to the file descriptor `socket`. Write errors
     * are ignored.
     */
    virtual void dump(U32 socket);

    // The object's own attributes.

    /** The number of the routing instance. */
    U32 vrfId() const noexcept { return vrfId_; }
    /** @{ The most nodes that `dump` writes: 200,000 to begin with. */
    U32 dumpLimit() const noexcept { return dumpLimit_; }
    void dumpLimitIs(U32 limit) noexcept { dumpLimit_ = limit; }
    /** @} */
    /**
     * @{ The family of every prefix in the trie; to be set before the first insertion. Another one
     * later, in a large trie, takes time in proportion to the nodes.
     */
    Nimbal::AddressFamily af() const noexcept { return af_; }
    void afIs(Nimbal::AddressFamily af) noexcept {
        if (index_ != nullptr && af != af_) [[unlikely]] {
            giveIndexUp();
        }
        af_ = af;
    }
    /** @} */
    /** The node above all others; null in an empty trie. */
    Node* root() const noexcept { return root_; }
    /**
     * Sets the root without any check or counter work. In a large trie that takes time in
     * proportion to the nodes.
     */
    void rootIs(Node* root) noexcept {
        root_ = root;
        if (index_ != nullptr) [[unlikely]] {
            giveIndexUp();
        }
    }

    // Insertion's last step and the route counters.

    /** Gives a node that insertion has placed the role asked for, and does the route accounting. */
    void updateNode(Node* node, bool fibRoute, Node* fromPartitionNode, bool partitionNode,
                    bool newNode);
    /** `routeCount` of every proper ancestor of `node` goes up or down by 1. */
    void updateParentRouteCount(Node* node, bool incr);
    /**
     * `partitionRouteCount` of `node` and upwards, to the nearest partition node, changes by
     * `value`.
     */
    void updatePartitionRouteCount(Node* node, bool incr, U32 value);
    /** Adds a partition node's routes to the partition above it; its own flag and counters stay. */
    void mergePartitionNodeCount(Node* node);
    /** Takes the route at `node` out of both counters on its path to the root. */
    void decRouteCounters(Node* node);

    // Lookup and traversal.

    /**
     * Puts what `findPartitionNode` answers for each of `prefixes` into `results`, of which there
     * are as many. In a large trie this is faster than one after the other.
     */
    void findPartitionNodes(std::span<Nimbal::IpGenPrefix const> prefixes,
                            bool includePendingRmPartition, std::span<TrieReturnCode> results);
    /**
     * A result for `node`, with `partitionNode` and the FIB route that covers it when that is not
     * null.
     */
    TrieReturnCode setTrieRc(Node* node, Node* partitionNode);
    /** The nearest FIB route at or above `node`, or null. */
    Node* getClosestFibRouteNode(Node* node) const;
    /**
     * The node after `startNode` in pre-order within the subtree whose parent is `stopNode`,
     * children that are partition nodes or FIB routes skipped with all below them when asked. Null
     * `startNode`: the root. `bit`: how the node hangs from its parent, or 3; `level`: relative to
     * the caller's.
     */
    TrieTraversalReturnCode preorderNextNode(Node* stopNode, Node* startNode, U32 level,
                                             bool stopAtPartitionNode, bool stopAtFibRoute);
    /** The next subtree to the right of `startNode` below its ancestor `stopNode`, or null. */
    TrieReturnCode findNextRightNode(Node* startNode, Node* stopNode);

    // Removal.

    /**
     * Takes the FIB route `prefix` out. Null and false when there is no node with that very prefix.
     */
    TrieNodeReturnCode remove(Nimbal::IpGenPrefix const& prefix);
    /**
     * Takes the node's route out, its partition flag too when `removePartition`, and then every
     * node upwards that serves nothing any more. Returns the node and false when it stays as a
     * partition node or as pending removal; else null and true.
     */
    TrieNodeReturnCode removeNode(Node* node, bool removePartition);

    // Partitions.

    /**
     * Records that the FIB route at `node` left `oldPartitionId`, or calls `movedNode` when
     * `movedNodes` is null. False, and nothing done, for a node without a route.
     */
    bool addMovedNode(Node* node, PartitionId::Ptr const& oldPartitionId,
                      TrieNodesInfo::Ptr const& movedNodes);
    /**
     * Gives the id of `fromNode` to the routes of its table below it, nested partitions left out.
     */
    void updatePartitionId(Node* fromNode, TrieNodesInfo::Ptr const& movedNodes);
    /** Counts a new partition, takes the count off the one above, and labels the routes below. The
     *  node's own route is not counted when `newNode`. */
    void updateNewPartition(Node* partitionNode, TrieNodesInfo::Ptr const& movedNodes,
                            bool newNode);
    /**
     * Dissolves the partition at `fromPartitionNode` into the one at `toPartitionNode`, above it
     * and of the same table; that node becomes a partition first if it is none and
     * `createNewPartition`.
     */
    void mergePartition(Node* fromPartitionNode, Node* toPartitionNode,
                        PartitionId::Ptr const& toPartitionId, bool createNewPartition,
                        TrieNodesInfo::Ptr const& movedNodes);

    // Searches for split points and merge targets. They only read.

    /** A partition node, or one whose removal is pending. */
    bool isPartitionNode(Node* node);
    /** A partition of that table with at most so many routes. Fatal for no partition node. */
    bool checkValidPartitionMergeNode(Node* candidateNode, U32 sHwTable, U32 maxPartitionCount);
    /**
     * The highest node between the two that can root a new partition with the candidate's routes.
     */
    TrieFindMergeReturnCode findMergeToNode(Node* candidatePartitionNode, Node* srcPartitionNode,
                                            U32 maxPartitionCount);
    /**
     * The first partition nested in the source that can be merged: into it, or into a new one
     * between.
     */
    TrieFindMergeReturnCode findMergeNodeViaPartitionRedistribution(Node* srcPartitionNode,
                                                                    U32 maxPartitionCount,
                                                                    bool toSrcPartition);
    /**
     * Where to split so that the piece cut off holds about `splitCount` routes, which must be at
     * least 1 and fewer than the partition has. May be the partition's own node unless
     * `disallowSplitOnParent`.
     */
    TrieReturnCode findMergeNodeViaSplitCount(Node* srcPartitionNode, U32 splitCount,
                                              bool disallowSplitOnParent);
    /**
     * The node above `srcNode` that its partition can be merged into without exceeding
     * `maxEntries`.
     */
    TrieReturnCode findParentNodeToMerge(Node* srcNode, U32 maxEntries);

    // Dumps to a file descriptor, beside `dump`.

    /**
     * The partition nodes and those pending partition removal, without limit; goes over all nodes.
     * Write errors are ignored.
     */
    void dumpPartition(U32 socket);
    /**
     * The node found for `prefix` and those that follow it, without limit. Write errors are
     * ignored.
     */
    void dumpPrefix(U32 socket, Nimbal::IpGenPrefix const& prefix);

    static Vexo::FwkType const fwkType_;

private:
    struct Insertion;
    class DescentCount;
    class HookCall;
    class HookErrors;
    class PlainSearch;

    inline Node* makeNode(Nimbal::IpGenPrefix const& prefix, bool fibRoute, bool partitionNode,
                          PartitionId::Ptr const& partitionId, U32 hwTable);
    inline Node* makeNode(Insertion const& insertion);
    inline void freeNode(Node* node) noexcept;
    inline void hangUnder(Node* parent, U32 bit, Node* node);
    inline void childIs(Node* parent, U32 bit, Node* node);

    inline TrieIndex* indexInUse() const noexcept;
    inline TrieIndex* unsettledIndex() const noexcept;
    TrieIndex const* usableIndex() const noexcept;
    void makeIndexWhenLarge();
    void giveIndexUp() noexcept;
    inline void indexAdd(Node* node) noexcept;
    inline void indexDel(Node* node) noexcept;

    Node* skipDown(Nimbal::IpGenPrefix const& prefix, bool includePendingRmPartition,
                   Node*& candidate) const;
    inline Node* lastCovering(Nimbal::IpGenPrefix const& newPrefix) const;
    static Node* searchedCovering(TrieIndex& index, Nimbal::IpGenPrefix const& newPrefix);
    inline Node* skipDown(Insertion& insertion, Node* start, DescentCount& count) const;
    static inline bool keepsRole(Insertion const& insertion, Node const* node, bool newNode);
    [[gnu::cold]] void countAgain(Insertion const& insertion, Node* node);
    Node* placeRoot(Insertion const& insertion, HookErrors& errors);
    Node* placeAgain(Insertion const& insertion, Node* current, HookErrors& errors);

    void countRouteOut(Node* node);
    inline void fetchForRemoval(Node const* node) const noexcept;
    inline bool hasPrefix(Node const* node, Nimbal::IpGenPrefix const& prefix) const noexcept;
    void callMovedNode(Node* node, PartitionId::Ptr const& oldPartitionId, U32 oldHwTable);
    void report(Node* node, PartitionId::Ptr const& oldPartitionId,
                TrieNodesInfo::Ptr const& movedNodes, HookErrors& errors);
    void reportRelabelled(Node* node, PartitionId::Ptr const& oldPartitionId,
                          TrieNodesInfo::Ptr const& movedNodes, HookErrors& errors);
    void relabel(Node* fromNode, TrieNodesInfo::Ptr const& movedNodes, HookErrors& errors);
    void createForMerge(Node* toPartitionNode, PartitionId::Ptr const& toPartitionId,
                        TrieNodesInfo::Ptr const& movedNodes, HookErrors& errors);
    void dissolve(Node* fromPartitionNode, PartitionId::Ptr const& toPartitionId,
                  TrieNodesInfo::Ptr const& movedNodes, HookErrors& errors);
    void startPartition(Node* partitionNode, TrieNodesInfo::Ptr const& movedNodes, bool newNode,
                        HookErrors& errors);

    TrieFindMergeReturnCode redistribute(Node* node, Node* srcPartitionNode, U32 maxPartitionCount,
                                         bool toSrcPartition);
    Node* childWithMoreRoutes(Node* node);
    Node* parentMergeNode(Node* srcNode, U32 maxEntries);

    // What most operations spend their time in. Whether their steps are traced is asked once, when
    // an operation begins: then nothing more has to be asked on the way. Where `traced` is set,
    // each line asks for itself; what is rare is always called so.
    template <bool traced>
    [[gnu::noinline]] TrieReturnCode search(Nimbal::IpGenPrefix const& prefix,
                                            bool includePendingRmPartition);
    template <bool traced>
    static TrieReturnCode resultOf(Node* node, Node* partitionNode);
    template <bool traced>
    static Node* closestFibRouteNode(Node* node);
    template <bool traced>
    TrieTraversalReturnCode nextNode(Node* stopNode, Node* startNode, U32 level,
                                     bool stopAtPartitionNode, bool stopAtFibRoute);
    template <bool traced>
    [[gnu::noinline]] TrieReturnCode carryOut(Insertion& insertion);
    template <bool traced>
    Node* place(Insertion& insertion, HookErrors& errors);
    template <bool traced>
    Node* placeChild(Insertion const& insertion, Node* current, U32 bit, HookErrors& errors);
    template <bool traced>
    Node* placeBranch(Insertion const& insertion, Node* current, U32 bit, U32 commonLen,
                      HookErrors& errors);
    template <bool traced>
    Node* placeParent(Insertion const& insertion, Node* current, U32 bit, HookErrors& errors);
    template <bool traced>
    void giveRole(Node* node, Insertion const& insertion, bool newNode, HookErrors& errors);
    template <bool traced>
    void giveRole(Node* node, bool fibRoute, Node* fromPartitionNode, bool partitionNode,
                  bool newNode, HookErrors& errors);
    template <bool traced>
    void changePartitionRouteCount(Node* node, bool incr, U32 value);
    template <bool traced>
    TrieNodeReturnCode takeOut(Nimbal::IpGenPrefix const& prefix);
    template <bool traced>
    TrieNodeReturnCode takeOut(Node* node, bool removePartition);
    template <bool traced>
    void compact(Node* node);

    void verifyShape(Node* current);
    void verifyCounters(Node* current);
    struct IndexCensus;
    void verifyIndex(Node* current, IndexCensus& census);
    void verifyIndexSize(IndexCensus const& census);

    U32 const vrfId_;
    U32 dumpLimit_ = 200000;
    Nimbal::AddressFamily af_ = Nimbal::AddressFamily::none;
    Node* root_ = nullptr;
    bool hookRunning_ = false;
    bool plainSearch_ = false;
    U32 indexTriedAt_ = 0;  // routes when an index could not be made
    std::unique_ptr<TrieIndex> index_;
};

/** A new, empty trie with notification on. */
LPMTRIE_API Trie::Ptr trieFactory(U32 vrfId);

}  // namespace LpmTrie
