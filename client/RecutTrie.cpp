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

void cutAt(ClientTrie& trie, RouteNode* node, PartitionId::Ptr const& id) {
    RouteNode const* const around = partitionRootOf(node);
    PartitionId::Ptr const oldId = node->partitionId();
    // A root must not be pending anything, and an internal node's table may be stale.
    node->pendingStateIs(PendingState());
    node->hwTableIs(around->hwTable());
    node->partitionIdIs(id);
    node->partitionNodeIs(true);
    trie.addMovedNode(node, oldId, nullptr);
    trie.updateNewPartition(node, nullptr, false);
}

void relabelAt(ClientTrie& trie, RouteNode* root, PartitionId::Ptr const& id) {
    PartitionId::Ptr const oldId = root->partitionId();
    if (oldId != id) {
        root->partitionIdIs(id);
        trie.addMovedNode(root, oldId, nullptr);
        trie.updatePartitionId(root, nullptr);
    }
}

void fold(ClientTrie& trie, RouteNode* root) {
    RouteNode* const around = partitionRootOf(root->parent());
    trie.mergePartition(root, around, around->partitionId(), false, nullptr);
}

template <class Piece>
bool contains(std::vector<Piece> const& pieces, LpmTrie::Node const* node) {
    return std::any_of(pieces.begin(), pieces.end(),
                       [&](Piece const& piece) { return piece.root == node; });
}

/** Both in pre-order. Allocates nothing where `moved()` has had room for it before. */
template <class From, class To>
void change(ClientTrie& trie, std::vector<From> const& from, std::vector<To> const& to) {
    std::size_t routes = 0;
    for (From const& piece : from) {
        routes += piece.root->partitionRouteCount();
    }
    trie.clearMoved();
    trie.reserveMoved(3 * routes);  // a route is told once by each of the three steps
    std::for_each(to.rbegin(), to.rend(), [&](To const& piece) {
        if (!contains(from, piece.root)) {
            cutAt(trie, piece.root, piece.id);
        }
    });
    for (To const& piece : to) {
        if (contains(from, piece.root)) {
            relabelAt(trie, piece.root, piece.id);
        }
    }
    for (From const& piece : from) {
        if (!contains(to, piece.root)) {
            fold(trie, piece.root);
        }
    }
}

}  // namespace

void assignFresh(Recut& recut, std::vector<LpmTrie::PartitionId::Ptr> const& fresh) {
    auto next = fresh.begin();
    for (NewPiece& piece : recut.news) {
        if (piece.from == noPiece) {
            piece.id = *next++;
        }
    }
}

void recutTrie(ClientTrie& trie, Recut const& recut) {
    change(trie, recut.olds, recut.news);
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
    change(trie, recut.news, recut.olds);
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
