#pragma once

#include <client/ClientTrie.h>

namespace LpmClient {

/**
 * What a policy proposes: connected partitions, and the roots of the pieces that shall take their
 * place. Both in pre-order; the first root is the same, since what lies above it stays as it is.
 */
struct Cut {
    std::vector<RouteNode*> oldRoots;  // partitions that there are
    std::vector<RouteNode*> newRoots;  // nodes of theirs, not necessarily roots now
};

/** Stands for the index of a piece. */
constexpr U32 noPiece = ~U32{0};

/** A partition that is to be cut anew. */
struct OldPiece {
    RouteNode* root = nullptr;     // the partition's
    LpmTrie::PartitionId::Ptr id;  // its bucket's number
    U32 routes = 0;                // that the chip holds
    U32 around = noPiece;          // the new piece that holds the root
    U32 keptFor = noPiece;         // the new piece that keeps the bucket
};

/** A piece of the new cut. Route counts are those of routes that the chip holds already. */
struct NewPiece {
    RouteNode* root = nullptr;     // becomes a partition node if it is none
    LpmTrie::PartitionId::Ptr id;  // null until a fresh bucket's number is known
    U32 routes = 0;                // that it will have
    U32 above = noPiece;           // the new piece around this one
    U32 from = noPiece;            // the old piece whose bucket it keeps
    std::vector<U32> overlap;      // routes in common with each old piece
};

/**
 * How to get from one cut to another. Pieces keep the buckets with which they have most routes in
 * common, and become valid in the chip one after the other, each after those nested in it
 * (`order`): then at no time does a bucket hold more than its bound, nor an address get a wrong
 * answer.
 */
struct Recut {
    std::vector<OldPiece> olds;  // in pre-order
    std::vector<NewPiece> news;  // in pre-order
    std::vector<U32> order;      // of the new pieces
    U32 freshBuckets = 0;        // new pieces that keep no bucket
    U64 moves = 0;               // routes that change their bucket
};

/**
 * Plans a change of the cut. `incoming`, if given, is a route that the trie has and the chip has
 * not. Reads only. How long it takes is a matter of the number of roots and of d, not of routes.
 */
Recut planRecut(Cut const& cut, U32 bucketRoutes, RouteNode const* incoming);

/** Gives the pieces that keep no bucket the ids in `fresh`, one each. */
void assignFresh(Recut& recut, std::vector<LpmTrie::PartitionId::Ptr> const& fresh);

/**
 * Carries a recut out in the trie: cuts, re-labels and folds through the trie's operations. Each
 * route whose label has changed stands in the trie's `moved()` afterwards. Roots that come stay
 * pending creation, and those that go pending removal, until `completeRecut`. Takes O(d) time for
 * each piece, and a step for each node of the partitions that are cut; so do the other two.
 */
void recutTrie(ClientTrie& trie, Recut const& recut);
/** Takes `recutTrie` back; nothing stays pending. */
void revertTrie(ClientTrie& trie, Recut const& recut);
/** Ends the pending states and frees nodes that serve nothing any more. */
void completeRecut(ClientTrie& trie, Recut const& recut);

}  // namespace LpmClient
