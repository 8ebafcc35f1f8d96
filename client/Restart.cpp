/*
 * A restart, from nothing but what the chip holds. Bindings become partitions, and each bucket's
 * routes join the partition that covers them. A change that was cut off in the middle has left:
 *
 *   a bucket that is not bound
 *       It was being filled, or was about to be freed: it is freed.
 *   two prefixes bound to a bucket
 *       A piece has landed in it and its old root still answers. Where nothing lies between them,
 *       the piece joins the old root's partition again; else the old root's region moves to a
 *       bucket of its own.
 *   a stale copy of a route
 *       In a bucket whose partition does not cover it any more, or not yet: another bucket answers
 *       for it.
 *   an update half done
 *       A covering route that no route bears out, or a route whose covering routes are not written:
 *       the route decides.
 *   a prefix with host bits set
 *       Somebody else has written it; no address meets it: bound, it is unbound, and as a route it
 *       is a stray one.
 *   an empty partition
 *       The last of its routes was withdrawn, and it was about to be merged: it is merged.
 *
 * Stray routes and updates half done are differences between trie and chip, and repaired as such:
 * no answer that a bucket's own routes give is changed.
 */

#include <client/PartitionManager.h>
#include <client/RecutChip.h>

#include <algorithm>
#include <set>
#include <stdexcept>

namespace LpmClient {

using LpmTrie::Node;
using LpmTrie::PartitionId;
using LpmTrie::PendingState;

namespace {

bool hasHostBits(Nimbal::IpGenPrefix const& prefix) {
    return prefix != prefix.hostBitsCleared();
}

}  // namespace

bool PartitionManager::restart() {
    if (trie_->root() != nullptr) {
        throw std::logic_error("a restart needs an empty table");
    }
    writer_.forget();
    mustRestart_ = false;
    bool taken = false;
    try {
        taken = takeOver();
    } catch (RefusedWrite const&) {
        // `lastRefusal` tells.
    } catch (Vexo::RangeException const&) {
        // No bucket is left for a partition that shares one.
    } catch (...) {
        dropAll();
        throw;
    }
    if (!taken) {
        dropAll();
    }
    return taken;
}

/** Nothing has been taken over. What the chip holds then, a later restart makes sense of. */
void PartitionManager::dropAll() noexcept {
    writer_.undo();
    writer_.forget();
    roots_.clear();
    toImprove_.clear();
    LpmTrie::removeAll(*trie_);
    mustRepair_ = false;
    mustRestart_ = true;
}

bool PartitionManager::takeOver() {
    auto bindings = writer_.hardware().bindings(writer_.vrfId(), trie_->af());
    auto const byPrefix = [](Binding const& a, Binding const& b) { return a.prefix < b.prefix; };
    std::sort(bindings.begin(), bindings.end(), byPrefix);
    dropLeftovers(bindings);
    bool const topIsBound = !bindings.empty() && bindings.front().prefix.len() == 0;
    if (!bindings.empty() && !topIsBound && !ensureTop()) {
        return false;
    }
    adoptBindings(bindings);
    if (trie_->root() != nullptr) {
        adoptRoutes();
        separateTenants();
    }
    // A chip that was filled for larger buckets: a policy only cuts what is one route too large.
    if (std::ranges::any_of(roots_, [&](auto const& root) {
            return root.second->partitionRouteCount() > bucketRoutes_;
        })) {
        return false;
    }
    // A withdrawal may have been cut off before its partition, empty now, was merged.
    for (auto const& [prefix, root] : roots_) {
        if (root->partitionRouteCount() == 0) {
            toImprove_.insert(prefix);
        }
    }
    if (!repair().empty()) {
        return false;
    }
    // An update that stays owed, for want of room say, is no part of what is taken over.
    retry();
    return writer_.settled() && toImprove_.empty();
}

/**
 * Unbinds what is nested directly in a prefix bound to the same bucket, which then answers for both
 * as before, and what no address meets, and frees the buckets that are not bound then: the buckets
 * may be needed. `bindings` are in pre-order.
 */
void PartitionManager::dropLeftovers(std::vector<Binding>& bindings) {
    std::vector<Binding> kept;
    std::vector<Binding> around;  // bindings on the way to the present one
    std::set<Bucket> bound;
    for (Binding const& binding : bindings) {
        bool const stray = hasHostBits(binding.prefix);
        if (!stray) {
            bound.insert(binding.bucket);
        }
        while (!stray && !around.empty() && !around.back().prefix.overlaps(binding.prefix)) {
            around.pop_back();
        }
        if (stray || (!around.empty() && around.back().bucket == binding.bucket)) {
            writer_.learnBinding(binding.prefix, binding.bucket);
            writer_.unbind(binding.prefix);
        } else {
            kept.push_back(binding);
            around.push_back(binding);
        }
    }
    for (Bucket const bucket : writer_.hardware().buckets(writer_.vrfId(), trie_->af())) {
        if (!bound.contains(bucket)) {
            writer_.freeLater(idOf(bucket));
        }
    }
    writer_.commit();
    bindings = std::move(kept);
}

void PartitionManager::adoptBindings(std::vector<Binding> const& bindings) {
    std::map<Bucket, PartitionId::Ptr> ids;
    for (Binding const& binding : bindings) {
        PartitionId::Ptr& id = ids[binding.bucket];
        if (!id) {
            id = idOf(binding.bucket);
        }
        auto const contents = writer_.hardware().contents(binding.bucket);
        writer_.learnBinding(binding.prefix, binding.bucket);
        writer_.learnCover(binding.bucket, contents ? contents->cover : std::nullopt);
        Node* const root = trie_->insertFromRoot(binding.prefix, false, true, id, hwTable_).node();
        root->pendingStateIs(PendingState());
        roots_[binding.prefix] = routeNode(root);
    }
}

/** Routes of the buckets that are bound; where two buckets hold one, the partition's own decides.
 */
void PartitionManager::adoptRoutes() {
    std::set<Bucket> seen;
    for (auto const& [prefix, root] : roots_) {
        Bucket const bucket = bucketOf(root);
        auto const contents = seen.insert(bucket).second ? writer_.hardware().contents(bucket)
                                                         : std::optional<BucketContents>();
        if (!contents) {
            continue;
        }
        for (Route const& route : contents->routes) {
            if (hasHostBits(route.prefix)) {
                continue;
            }
            auto const found = trie_->findPartitionNode(route.prefix, false);
            Node* const partition = found.partitionNode();
            RouteNode* node = routeNode(found.node());
            bool const known = node->fibRoute() && node->prefixRef()->prefix() == route.prefix;
            bool const own = bucketOf(partition) == bucket;
            if (!known && own) {
                node = routeNode(trie_
                                     ->insert(route.prefix, partition, true, false,
                                              partition->partitionId(), hwTable_)
                                     .node());
            }
            if (own) {
                node->nextHop = route.nextHop;
                node->bucket = bucket;
            }
        }
    }
}

/** Buckets that answer for two partitions keep the deepest one. */
void PartitionManager::separateTenants() {
    std::map<Bucket, RouteNode*> tenants;
    std::for_each(roots_.rbegin(), roots_.rend(), [&](auto const& root) {
        auto const [tenant, isNew] = tenants.emplace(bucketOf(root.second), root.second);
        if (!isNew) {
            separate(root.second);
        }
    });
}

/** Moves the partition at `root` to the bucket of `id`; its present one serves another as well. */
void PartitionManager::separate(RouteNode* root) {
    PartitionId::Ptr const id = allocateFresh();
    Bucket const bucket = id->id().value();
    std::vector<RouteNode*> routes = routesOfPartition(root);
    for (RouteNode* const node : routes) {
        writer_.writeRoute(bucket, routeAt(node));
    }
    writer_.writeCover(bucket, coverOf(root));
    writer_.bind(root->prefixRef()->prefix(), bucket);
    writer_.commit();
    root->partitionIdIs(id);
    trie_->updatePartitionId(root, nullptr);
    trie_->clearMoved();
    for (RouteNode* const node : routes) {
        node->bucket = bucket;
    }
}

}  // namespace LpmClient
