/*
 * Repair: each difference between trie and chip has one write that ends it. They are written in an
 * order that makes before it breaks: what is missing first, bindings then, and what is stray last,
 * the shortest routes first, after the covering routes, so that no route that covers a partition
 * decides in the place of the nearest one.
 */

#include <client/PartitionManager.h>
#include <client/RecutChip.h>

#include <algorithm>

namespace LpmClient {

using LpmTrie::PartitionId;

namespace {

/** In which turn a difference is repaired. */
U32 turn(DifferenceKind kind) {
    switch (kind) {
    case DifferenceKind::bucketMissing:
        return 0;
    case DifferenceKind::routeMissing:
    case DifferenceKind::routeWrong:
        return 1;
    case DifferenceKind::coverWrong:
        return 2;
    case DifferenceKind::bindingMissing:
    case DifferenceKind::bindingWrong:
        return 3;
    case DifferenceKind::bindingStray:
        return 4;
    case DifferenceKind::routeStray:
        return 5;
    case DifferenceKind::bucketStray:
        return 6;
    }
    return 6;
}

/** Missing routes and bindings the longest first, stray routes the shortest first. */
bool earlier(Difference const& a, Difference const& b) {
    U32 const turnOfA = turn(a.kind);
    U32 const turnOfB = turn(b.kind);
    if (turnOfA != turnOfB) {
        return turnOfA < turnOfB;
    }
    if (turnOfA == 5) {
        return a.found->prefix.len() < b.found->prefix.len();
    }
    if (turnOfA == 3) {
        return a.binding->len() > b.binding->len();
    }
    return turnOfA == 1 && a.expected->prefix.len() > b.expected->prefix.len();
}

}  // namespace

std::vector<Difference> PartitionManager::audit() const {
    return auditChip(writer_.hardware(), writer_.vrfId(), trie_->af(), roots_);
}

std::vector<Difference> PartitionManager::repair() {
    if (mustRestart_) {
        return audit();  // an empty trie is no reason to empty the chip
    }
    // What is owed shows as differences: a write that can never succeed must not hold up the rest.
    mustRepair_ = true;
    StrayIds strayIds;
    for (PartitionId::Ptr const& id : writer_.abandonOwed()) {
        strayIds.emplace(id->id().value(), id);
    }
    // What finds no room among stray routes is written in the second round.
    for (U32 round = 0; round < 2 && writer_.settled(); ++round) {
        repairOnce(strayIds);
    }
    auto left = audit();
    mustRepair_ = !left.empty();
    return left;
}

void PartitionManager::repairOnce(StrayIds& strayIds) {
    std::vector<Difference> differences = audit();
    std::stable_sort(differences.begin(), differences.end(), earlier);
    std::set<Bucket> unfilled;
    for (Difference const& difference : differences) {
        bool const binds = turn(difference.kind) == 3;
        if (binds && unfilled.contains(bucketOf(roots_.at(*difference.binding)))) {
            continue;
        }
        try {
            repair(difference, strayIds);
        } catch (RefusedWrite const&) {
            writer_.commit();
            unfilled.insert(difference.bucket);
        } catch (...) {
            writer_.commit();
            throw;
        }
    }
    writer_.commit();
}

/** A bucket that was lost comes back with all that it held: it may be bound next. */
void PartitionManager::restoreBucket(Bucket bucket) {
    auto const at = std::find_if(roots_.begin(), roots_.end(),
                                 [&](auto const& root) { return bucketOf(root.second) == bucket; });
    RouteNode* const root = at->second;
    writer_.learnCover(bucket, std::nullopt);
    writer_.allocate(root->partitionId());
    for (RouteNode const* const node : routesOfPartition(root)) {
        writer_.writeRoute(bucket, routeAt(node));
    }
    writer_.writeCover(bucket, coverOf(root));
}

void PartitionManager::repair(Difference const& difference, StrayIds& strayIds) {
    Bucket const bucket = difference.bucket;
    switch (difference.kind) {
    case DifferenceKind::bucketMissing:
        restoreBucket(bucket);
        break;
    case DifferenceKind::bucketStray:
        if (!strayIds[bucket]) {
            strayIds[bucket] = idOf(bucket);
        }
        writer_.freeLater(strayIds[bucket]);
        break;
    case DifferenceKind::bindingMissing:
    case DifferenceKind::bindingWrong:
        writer_.learnBinding(*difference.binding, difference.kind == DifferenceKind::bindingWrong
                                                      ? std::optional(bucket)
                                                      : std::nullopt);
        writer_.bind(*difference.binding, bucketOf(roots_.at(*difference.binding)));
        break;
    case DifferenceKind::bindingStray:
        writer_.learnBinding(*difference.binding, bucket);
        writer_.unbind(*difference.binding);
        break;
    case DifferenceKind::routeMissing:
    case DifferenceKind::routeWrong:
        writer_.writeRoute(bucket, *difference.expected);
        break;
    case DifferenceKind::routeStray:
        writer_.eraseRoute(bucket, *difference.found);
        break;
    case DifferenceKind::coverWrong:
        writer_.learnCover(bucket, difference.found);
        writer_.writeCover(bucket, difference.expected);
        break;
    }
}

}  // namespace LpmClient
