/*
 * Withdrawals. A route leaves the chip first: the covering routes of the partitions under it, then
 * the route itself; then it leaves the trie. The partition that it was in may be cut anew after
 * that, which is a change of its own: if the chip refuses it, the withdrawal stands, and `retry`
 * takes it up. A partition without routes always joins the one around it.
 */

#include <client/PartitionManager.h>
#include <client/RecutChange.h>

namespace LpmClient {

using Nimbal::IpGenPrefix;

Outcome PartitionManager::withdraw(IpGenPrefix const& prefix) {
    checkPrefix(prefix);
    if (mustRestart_ || !writer_.settle()) {
        return owe(prefix, std::nullopt, Outcome::refused);
    }
    RouteNode* const node = routeNode(LpmTrie::findExact(*trie_, prefix));
    if (node == nullptr || !node->fibRoute()) {
        return isSettled(prefix, Outcome::unchanged);
    }
    // Once the chip has changed, nothing may throw.
    std::set<IpGenPrefix> shrunk{partitionRootOf(node)->prefixRef()->prefix()};
    try {
        writeCoversUnder(node, coverOf(node));
        writer_.eraseRoute(bucketOf(node), routeAt(node));
        writer_.commit();
    } catch (RefusedWrite const&) {
        writer_.undo();
        return owe(prefix, std::nullopt, Outcome::refused);
    } catch (...) {
        writer_.undo();
        throw;
    }
    ++counts_.withdrawn;
    trie_->removeNode(node, false);
    isSettled(prefix, Outcome::done);
    improveNowOrLater(shrunk);
    return Outcome::done;
}

/** The withdrawal stands, whatever becomes of this: what fails, `retry` takes up. */
void PartitionManager::improveNowOrLater(std::set<IpGenPrefix>& rootPrefix) {
    bool isDone = false;
    try {
        isDone = tryImprove(*rootPrefix.begin());
    } catch (std::bad_alloc const&) {
        // As if the chip had refused.
    } catch (...) {
        toImprove_.merge(rootPrefix);
        throw;
    }
    if (!isDone) {
        toImprove_.merge(rootPrefix);
    }
}

std::optional<Cut> PartitionManager::improvement(RouteNode* root) {
    if (root->partitionRouteCount() != 0) {
        return policy_->shrink(*trie_, root, room());
    }
    RouteNode* const around = partitionRootOf(root->parent());
    return Cut{{around, root}, {around}};
}

/** Cuts a partition that has shrunk anew if that pays. False when the chip has refused. */
bool PartitionManager::tryImprove(IpGenPrefix const& rootPrefix) {
    auto const at = roots_.find(rootPrefix);
    if (at == roots_.end()) {
        return true;
    }
    if (trie_->root()->routeCount() == 0 && roots_.size() == 1) {
        return removeTop();
    }
    RouteNode* const root = at->second;
    if (root->parent() == nullptr && root->partitionRouteCount() == 0) {
        return true;
    }
    auto const cut = improvement(root);
    if (!cut) {
        return true;
    }
    Recut planned = planRecut(*cut, bucketRoutes_, nullptr);
    if (!takeFresh(planned)) {
        return true;
    }
    RecutChange recut(*trie_, writer_, std::move(planned));
    try {
        recut.run();
        writer_.commit();
    } catch (RefusedWrite const&) {
        writer_.undo();
        return false;
    } catch (...) {
        writer_.undo();
        throw;
    }
    complete(recut);
    return removeTop();  // the last route's partition may just have been merged into an empty one
}

}  // namespace LpmClient
