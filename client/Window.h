#pragma once

#include <client/Recut.h>

namespace LpmClient {

/**
 * In pre-order, the roots of the partitions with routes nested directly in the one at `root`. Takes
 * time in proportion to its nodes.
 */
std::vector<RouteNode*> nestedRoots(RouteNode* root);
/** In pre-order: by address, then length. Takes O(n log n) time. */
void sortRoots(std::vector<RouteNode*>& roots);

/**
 * Connected partitions seen as one coarse tree, in which cuts are tried cheaply. Subtrees with
 * fewer routes than `grain` are lumped together with the node that they hang from, so the size of
 * the tree does not depend on the number of routes; the trie's counters tell their sizes, and
 * nothing walks them.
 */
class Window {
public:
    /** A node that may be cut off. */
    struct Item {
        RouteNode* node = nullptr;                   // the trie's
        U32 above = noPiece;                         // index of the item that it hangs from
        U32 own = 0;                                 // routes lumped together here
        U32 piece = 0;                               // index of its old piece
        std::array<U32, 2> below{noPiece, noPiece};  // items that hang from it
    };

    /**
     * `roots` in pre-order; the first one is above all others. Takes time in proportion to the
     * nodes of their partitions.
     */
    Window(std::vector<RouteNode*> roots, U32 grain, U64 mark);

    /** In pre-order, as given. */
    std::vector<RouteNode*> const& roots() const noexcept { return roots_; }
    /** In pre-order. */
    std::vector<Item> const& items() const noexcept { return items_; }
    /** Of all partitions together. */
    U32 routes() const noexcept { return routes_; }
    /** The index of the item with which a node of the window's partitions is lumped together. */
    U32 itemAround(LpmTrie::Node const* node) const noexcept;

private:
    bool isItem(LpmTrie::Node const* node) const noexcept;
    void markPaths(U64 mark);
    void add(LpmTrie::Node* node, U32 above, U32 bit);

    std::vector<RouteNode*> roots_;
    std::vector<Item> items_;
    U32 const grain_;
    U64 const mark_;
    U32 routes_ = 0;
};

/** A way to cut a window, and what it costs. */
struct Trial {
    std::vector<U32> sizes;  // routes of each piece, in pre-order of the roots
    U64 moves = 0;           // routes that change their bucket

    /** The routes of the largest piece. */
    U32 largest() const noexcept;
};

/** Tries cuts of a window; keeps its memory for the next one. */
class Cutter {
public:
    /**
     * Cuts into the fewest pieces of at most `limit` routes: from below upwards, where too much
     * comes together, the heaviest branch is cut off (Kundu and Misra, SIAM J. Comput. 6(1), 1977).
     * Roots of old pieces that have `keep` routes or more stay roots, though fewer might do. False
     * when it takes more than `mostPieces`, or cannot be done. One pass over the items.
     */
    bool cut(Window const& window, U32 limit, U32 keep, std::size_t mostPieces);
    /** The roots of the last cut's pieces, in pre-order. */
    std::vector<RouteNode*> roots(Window const& window) const;
    /** What the last cut comes to. */
    void judge(Window const& window, Trial& trial);
    /** The piece of an item, by its place in `Trial::sizes`, in the cut judged last. */
    U32 pieceOf(U32 item) const { return piece_[item]; }

private:
    std::vector<U32> left_;  // routes that are not cut off at or below each item
    std::vector<char> isCut_;
    std::vector<U32> piece_;    // of each item
    std::vector<U32> overlap_;  // new piece by old piece
    struct Pair {
        U32 overlap;
        U32 piece;
        U32 old;
    };
    std::vector<Pair> pairs_;
    std::vector<char> taken_;
};

/**
 * The least number of connected pieces of at most `bucketRoutes` routes that the trie's routes can
 * be cut into, whatever partitions it has now. One pass over the nodes, and 4 bytes each.
 */
U64 fewestPieces(ClientTrie& trie, U32 bucketRoutes);

}  // namespace LpmClient
