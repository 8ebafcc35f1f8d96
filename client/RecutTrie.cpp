/*
 * A recut in the trie, by the trie's own operations:
 *
 *   cut      a node becomes the root of a partition: table, id and flag, its own route told, then
 *            `updateNewPartition`
 *   re-id    a root stays, but its partition is another one
 *   fold     a root is dissolved into the partition around it by `mergePartition`
 *
 * Cuts come first, the deepest first, so that each route is re-labelled once; folds come last, the
 * highest first, for the same reason, and find the final ids.
 */

#include <client/Recut.h>

#include <algorithm>

namespace LpmClient {

using LpmTrie::PartitionId;
using LpmTrie::PendingState;

namespace {

/** A root and the id that it shall have. */
struct Labelled {
    RouteNode* root;
    PartitionId::Ptr id;
};

void cutAt(ClientTrie& trie, Labelled const& piece) {
    RouteNode* const node = piece.root;
    LpmTrie::Node const* around = node;
    while (!around->partitionNode()) {
        around = around->parent();
    }
    PartitionId::Ptr const oldId = node->partitionId();
    // A root must not be pending anything, and an internal node's table may be stale.
    node->pendingStateIs(PendingState());
    node->hwTableIs(around->hwTable());
    node->partitionIdIs(piece.id);
    node->partitionNodeIs(true);
    trie.addMovedNode(node, oldId, nullptr);
    trie.updateNewPartition(node, nullptr, false);
}

void relabelAt(ClientTrie& trie, Labelled const& piece) {
    PartitionId::Ptr const oldId = piece.root->partitionId();
    if (oldId != piece.id) {
        piece.root->partitionIdIs(piece.id);
        trie.addMovedNode(piece.root, oldId, nullptr);
        trie.updatePartitionId(piece.root, nullptr);
    }
}

void fold(ClientTrie& trie, RouteNode* root) {
    LpmTrie::Node* around = root->parent();
    while (!around->partitionNode()) {
        around = around->parent();
    }
    trie.mergePartition(root, around, around->partitionId(), false, nullptr);
}

bool contains(std::vector<Labelled> const& pieces, LpmTrie::Node const* node) {
    return std::any_of(pieces.begin(), pieces.end(),
                       [&](Labelled const& piece) { return piece.root == node; });
}

/** Both in pre-order. */
void change(ClientTrie& trie, std::vector<Labelled> const& from, std::vector<Labelled> const& to) {
    std::size_t routes = 0;
    for (Labelled const& piece : from) {
        routes += piece.root->partitionRouteCount();
    }
    trie.clearMoved();
    trie.reserveMoved(3 * routes);  // a route is told once by each of the three steps
    std::for_each(to.rbegin(), to.rend(), [&](Labelled const& piece) {
        if (!contains(from, piece.root)) {
            cutAt(trie, piece);
        }
    });
    for (Labelled const& piece : to) {
        if (contains(from, piece.root)) {
            relabelAt(trie, piece);
        }
    }
    for (Labelled const& piece : from) {
        if (!contains(to, piece.root)) {
            fold(trie, piece.root);
        }
    }
}

template <class Piece>
std::vector<Labelled> labelled(std::vector<Piece> const& pieces) {
    std::vector<Labelled> all;
    all.reserve(pieces.size());
    for (Piece const& piece : pieces) {
        all.push_back({piece.root, piece.id});
    }
    return all;
}

}  // namespace

void recutTrie(ClientTrie& trie, Recut const& recut) {
    change(trie, labelled(recut.olds), labelled(recut.news));
}

namespace {

/** Ends what is pending at a root, and frees the node if it serves nothing any more. */
void endPending(ClientTrie& trie, RouteNode* root) {
    root->pendingStateIs(PendingState());
    if (root->internal()) {
        trie.removeNode(root, false);
    }
}

}  // namespace

// Both go from the deepest root up: freeing a node may free those above it that serve nothing, but
// stops at one that is pending removal.

void revertTrie(ClientTrie& trie, Recut const& recut) {
    change(trie, labelled(recut.news), labelled(recut.olds));
    for (OldPiece const& piece : recut.olds) {
        piece.root->pendingStateIs(PendingState());
    }
    std::for_each(recut.news.rbegin(), recut.news.rend(),
                  [&](NewPiece const& piece) { endPending(trie, piece.root); });
    trie.clearMoved();
}

void completeRecut(ClientTrie& trie, Recut const& recut) {
    for (NewPiece const& piece : recut.news) {
        piece.root->pendingStateIs(PendingState());
    }
    std::for_each(recut.olds.rbegin(), recut.olds.rend(),
                  [&](OldPiece const& piece) { endPending(trie, piece.root); });
}

}  // namespace LpmClient
