/*
 * A whole table at once. The trie is built under the partition at the top alone; then all of it is
 * one window, and the fewest pieces are cut out of it. The chip gets one piece after the other,
 * nested ones first: until a piece is bound, its addresses have no answer, as before.
 */

#include <client/PartitionManager.h>
#include <client/RecutChip.h>
#include <client/Window.h>

#include <algorithm>
#include <stdexcept>

namespace LpmClient {

using LpmTrie::Node;
using LpmTrie::PartitionId;
using LpmTrie::PendingState;
using Nimbal::IpGenPrefix;

/** All routes in the trie, under one partition without an id. Returns its root. */
RouteNode* PartitionManager::insertAll(std::span<Route const> routes) {
    IpGenPrefix const everything(trie_->af(), {}, 0);
    Node* const top = trie_->insertFromRoot(everything, false, true, {}, hwTable_).node();
    top->pendingStateIs(PendingState());
    for (Route const& route : routes) {
        checkPrefix(route.prefix);
        auto* node = routeNode(LpmTrie::findExact(*trie_, route.prefix));
        if (node == nullptr || !node->fibRoute()) {
            node = routeNode(
                trie_->insert(route.prefix, top, true, false, top->partitionId(), hwTable_).node());
        }
        node->nextHop = route.nextHop;
    }
    return routeNode(top);
}

Outcome PartitionManager::download(std::span<Route const> routes) {
    if (trie_->root() != nullptr) {
        throw std::logic_error("a whole table can only be taken into an empty one");
    }
    if (routes.empty()) {
        return Outcome::unchanged;
    }
    if (mustRestart_ || !writer_.settle()) {
        return Outcome::refused;
    }
    Outcome outcome = Outcome::noRoom;
    try {
        Window const whole({insertAll(routes)}, 1, trie_->nextMark());
        Cutter cutter;
        cutter.cut(whole, bucketRoutes_, noPiece, whole.items().size());
        std::vector<RouteNode*> const roots = cutter.roots(whole);
        if (roots.size() <= freeBuckets()) {
            writePieces(roots);
            writer_.commit();
            owed_.clear();  // the whole table supersedes it
            counts_.added += trie_->root()->routeCount();
            return Outcome::done;
        }
    } catch (RefusedWrite const&) {
        outcome = Outcome::refused;
        writer_.undo();
    } catch (Vexo::RangeException const&) {
        writer_.undo();  // another table has taken the buckets
    } catch (...) {
        writer_.undo();
        roots_.clear();
        LpmTrie::removeAll(*trie_);
        throw;
    }
    roots_.clear();
    LpmTrie::removeAll(*trie_);
    ++counts_.notDone;
    return outcome;
}

/** Cuts the partition at the top at `roots`, in pre-order, and writes the pieces to the chip. */
void PartitionManager::writePieces(std::vector<RouteNode*> const& roots) {
    trie_->clearMoved();
    trie_->reserveMoved(trie_->root()->routeCount());
    std::for_each(roots.rbegin(), roots.rend(), [&](RouteNode* root) { writePiece(root); });
    trie_->clearMoved();
}

/** One piece: its nested ones are written already. */
void PartitionManager::writePiece(RouteNode* root) {
    PartitionId::Ptr const id = takeId();
    Bucket const bucket = id->id().value();
    root->partitionIdIs(id);
    if (!root->partitionNode()) {
        root->hwTableIs(hwTable_);
        root->partitionNodeIs(true);
        trie_->updateNewPartition(root, nullptr, false);
        root->pendingStateIs(PendingState());
    } else {
        trie_->updatePartitionId(root, nullptr);
    }
    roots_[root->prefixRef()->prefix()] = root;
    writer_.allocate(id);
    for (RouteNode* const node : routesOfPartition(root)) {
        writer_.writeRoute(bucket, routeAt(node));
        node->bucket = bucket;
    }
    writer_.writeCover(bucket, coverOf(root));
    writer_.bind(root->prefixRef()->prefix(), bucket);
}

}  // namespace LpmClient
