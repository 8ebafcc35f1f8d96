/*
 * Announcements. A route comes into the trie first, and its partition is cut anew if it is too full
 * then; the chip follows write by write, and if it refuses one, chip and trie go back to where they
 * were. The covering routes of the partitions under the route come after it.
 *
 * The partition at the prefix of length 0 comes with the first route and goes with the last.
 */

#include <client/PartitionManager.h>
#include <client/RecutChange.h>

#include <array>
#include <stdexcept>

namespace LpmClient {

using LpmTrie::Node;
using Nimbal::IpGenPrefix;

namespace {

U32 boundOf(ManagerOptions const& options, Hardware const& hardware) {
    if (options.bucketRoutes > hardware.bucketRoutes()) {
        throw std::invalid_argument("a bucket of the chip holds " +
                                    std::to_string(hardware.bucketRoutes()) + " routes, not " +
                                    std::to_string(options.bucketRoutes));
    }
    return options.bucketRoutes == 0 ? hardware.bucketRoutes() : options.bucketRoutes;
}

bool covers(IpGenPrefix const& outer, IpGenPrefix const& inner) {
    return inner.len() >= outer.len() && outer.overlaps(inner);
}

}  // namespace

std::string_view text(Outcome outcome) noexcept {
    static constexpr std::array<std::string_view, 4> texts{"done", "unchanged", "refused",
                                                           "no room"};
    return texts[static_cast<std::size_t>(outcome)];
}

PartitionManager::PartitionManager(Hardware& hardware, Torvel::Bitmap::Ptr numbers,
                                   ManagerOptions const& options)
    : PartitionManager(
          hardware, std::move(numbers), options,
          makePolicy(options.policy.empty() ? policies().front().name : options.policy)) {}

PartitionManager::PartitionManager(Hardware& hardware, Torvel::Bitmap::Ptr numbers,
                                   ManagerOptions const& options, std::unique_ptr<Policy> policy)
    : bucketRoutes_(boundOf(options, hardware)),
      hwTable_(options.hwTable),
      numbers_(std::move(numbers)),
      trie_(ClientTrie::ClientTrieIs(options.vrfId, options.af)),
      writer_(hardware, options.vrfId, options.af),
      policy_(std::move(policy)) {}

PartitionManager::~PartitionManager() {
    LpmTrie::removeAll(*trie_);
}

Outcome PartitionManager::owe(IpGenPrefix const& prefix, std::optional<NextHop> nextHop,
                              Outcome outcome) {
    owed_[prefix] = nextHop;
    ++counts_.notDone;
    return outcome;
}

/** The prefix is as it was last asked for: nothing is owed for it. */
Outcome PartitionManager::isSettled(IpGenPrefix const& prefix, Outcome outcome) {
    if (!owed_.empty()) {
        owed_.erase(prefix);
    }
    return outcome;
}

/** Refuses what the trie would not take, before anything changes. */
void PartitionManager::checkPrefix(IpGenPrefix const& prefix) const {
    if (prefix.af() != trie_->af() || prefix.len() > Nimbal::maxPrefixLen(prefix.af()) ||
        prefix != prefix.hostBitsCleared()) {
        throw std::invalid_argument(prefix.stringValue() +
                                    " is of another family, too long, or has host bits set");
    }
}

Outcome PartitionManager::announce(Route const& route) {
    checkPrefix(route.prefix);
    if (mustRestart_ || !writer_.settle()) {
        return owe(route.prefix, route.nextHop, Outcome::refused);
    }
    Outcome outcome = Outcome::refused;
    try {
        outcome = announceSettled(route);
    } catch (RefusedWrite const&) {
        writer_.undo();
    } catch (...) {
        writer_.undo();
        removeTop();
        throw;
    }
    if (outcome == Outcome::done || outcome == Outcome::unchanged) {
        return isSettled(route.prefix, outcome);
    }
    removeTop();
    return owe(route.prefix, route.nextHop, outcome);
}

Outcome PartitionManager::announceSettled(Route const& route) {
    if (trie_->root() == nullptr && !ensureTop()) {
        return Outcome::noRoom;
    }
    auto const found = trie_->findPartitionNode(route.prefix, false);
    Node* const node = found.node();
    if (node->fibRoute() && node->prefixRef()->prefix() == route.prefix) {
        return change(routeNode(node), route.nextHop);
    }
    return insert(route, found.partitionNode());
}

Outcome PartitionManager::insert(Route const& route, Node* partitionNode) {
    auto const& id = partitionNode->partitionId();
    RouteNode* const node =
        routeNode(trie_->insert(route.prefix, partitionNode, true, false, id, hwTable_).node());
    node->nextHop = route.nextHop;
    node->bucket = noBucket;
    std::optional<RecutChange> recut;
    try {
        if (partitionNode->partitionRouteCount() > bucketRoutes_) {
            auto const cut = policy_->makeRoom(*trie_, routeNode(partitionNode), node, room());
            Recut planned = cut ? planRecut(*cut, bucketRoutes_, node) : Recut();
            if (!cut || !takeFresh(planned)) {
                trie_->removeNode(node, false);
                return Outcome::noRoom;
            }
            recut.emplace(*trie_, writer_, std::move(planned));
            recut->run();
        }
        writer_.writeRoute(bucketOf(node), route);
        node->bucket = bucketOf(node);
        writeCoversUnder(node, route);
        writer_.commit();
    } catch (...) {
        recut.reset();
        trie_->removeNode(node, false);
        throw;
    }
    ++counts_.added;
    if (recut) {
        complete(*recut);
        policy_->madeRoom();
    }
    return Outcome::done;
}

Outcome PartitionManager::change(RouteNode* node, NextHop nextHop) {
    NextHop const before = node->nextHop;
    if (before == nextHop) {
        return Outcome::unchanged;
    }
    node->nextHop = nextHop;
    try {
        writer_.writeRoute(bucketOf(node), routeAt(node), before);
        writeCoversUnder(node, routeAt(node));
        writer_.commit();
    } catch (...) {
        node->nextHop = before;
        throw;
    }
    ++counts_.changed;
    return Outcome::done;
}

/**
 * Gives the partitions whose nearest route above is at `node` another covering route. Roots that a
 * recut in hand takes away still stand in `roots_`; their labels name the bucket around them, whose
 * covering route is another one.
 */
void PartitionManager::writeCoversUnder(RouteNode const* node, std::optional<Route> const& cover) {
    if (node->bitNode(0) == nullptr && node->bitNode(1) == nullptr) {
        return;
    }
    IpGenPrefix const& prefix = node->prefixRef()->prefix();
    for (auto at = roots_.upper_bound(prefix); at != roots_.end() && covers(prefix, at->first);
         ++at) {
        if (at->second->partitionNode() && nearestRouteAbove(at->second) == node) {
            writer_.writeCover(bucketOf(at->second), cover);
        }
    }
}

bool PartitionManager::retry() {
    if (mustRepair_) {
        repair();
    }
    if (mustRestart_ || !writer_.settle()) {
        return false;
    }
    for (auto at = toImprove_.begin(); at != toImprove_.end();) {
        at = tryImprove(*at) ? toImprove_.erase(at) : std::next(at);
        // What was refused may be taken back only in part: the next one needs the chip as it was.
        if (!writer_.settle()) {
            return false;
        }
    }
    auto const updates = owed_;
    for (auto const& [prefix, nextHop] : updates) {
        if (nextHop) {
            announce({prefix, *nextHop});
        } else {
            withdraw(prefix);
        }
    }
    return removeTop() && settled();
}

}  // namespace LpmClient
