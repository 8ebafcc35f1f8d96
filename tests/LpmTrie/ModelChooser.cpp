#include <tests/LpmTrie/ModelOperations.h>

#include <algorithm>
#include <array>
#include <numeric>

/*
 * Random choices. Most prefixes are made from one that is in the trie: the same one, a longer or
 * shorter one, its other half. So they nest and branch; some come from anywhere, of any length.
 */

namespace TrieModel {

namespace {

/** How often each kind is chosen, as long as there are as many routes and partitions as wanted. */
constexpr std::array<std::size_t, kinds> usualWeights{30, 3, 4, 22, 3, 5, 5, 5, 10, 3, 10, 8, 3, 8};
constexpr std::size_t wantedPartitions = 14;
constexpr std::ptrdiff_t wantedPending = 8;

std::size_t count(World const& world, bool Record::*role) {
    return static_cast<std::size_t>(std::ranges::count(world.model().nodes(), true, role));
}

}  // namespace

void Chooser::beginPhase(std::size_t routes) {
    routes_ = routes;
    shortest_ = oneIn(2) ? 0 : 1 + below(6);
}

Operation Chooser::choose(World const& world) {
    Operation operation;
    operation.kind = chooseKind(world);
    std::size_t const role = below(8);
    operation.route = role != 0;
    operation.partition = role < 2 && (role == 0 || oneIn(2));
    operation.collect = oneIn(2);
    operation.flag =
        operation.kind == Kind::dissolve || operation.kind == Kind::split ? oneIn(2) : !oneIn(8);
    operation.later = oneIn(2);
    operation.id = oneIn(40) ? WhichId::null : oneIn(8) ? WhichId::sameAsPartition : WhichId::fresh;
    operation.number =
        static_cast<U32>(operation.kind == Kind::pending ? below(16) : below(oneIn(2) ? 8 : 100));
    if (operation.kind == Kind::askRefusal && oneIn(2)) {
        operation.route = operation.partition = oneIn(4);
    }
    if (operation.kind == Kind::redistribute) {
        operation.route = oneIn(2);  // into the source
    }
    operation.prefix = workplace(world, operation.kind);
    operation.other = otherPlace(world, operation);
    Node const* const source = world.model().find(operation.prefix);
    if (operation.kind == Kind::split && source != nullptr && source->partitionRouteCount > 0) {
        operation.number = static_cast<U32>(below(source->partitionRouteCount));
    }
    return operation;
}

Kind Chooser::chooseKind(World const& world) {
    std::array<std::size_t, kinds> weights = usualWeights;
    auto const weight = [&](Kind kind) -> std::size_t& {
        return weights[static_cast<std::size_t>(kind)];
    };
    if (count(world, &Record::route) > routes_) {
        weight(Kind::remove) *= 3;
    } else {
        weight(Kind::insert) *= 3;
    }
    if (count(world, &Record::partition) > std::min(routes_, wantedPartitions)) {
        weight(Kind::dissolve) *= 4;
        weight(Kind::merge) *= 2;
    }
    if (std::ranges::count_if(world.model().nodes(), &Record::removalPends) > wantedPending) {
        weight(Kind::complete) *= 6;
    }
    std::size_t rest = below(std::reduce(weights.begin(), weights.end()));
    std::size_t kind = 0;
    for (; rest >= weights[kind]; ++kind) {
        rest -= weights[kind];
    }
    return static_cast<Kind>(kind);
}

/** Of the nodes that suit one at random; none when none suits. */
template <class Predicate>
MaybePrefix Chooser::anyNode(World const& world, Predicate const& suits) {
    std::vector<Node> const& nodes = world.model().nodes();
    std::size_t const suitable = static_cast<std::size_t>(std::ranges::count_if(nodes, suits));
    if (suitable == 0) {
        return {};
    }
    std::size_t rest = below(suitable);
    for (Node const& node : nodes) {
        if (suits(node) && rest-- == 0) {
            return node.prefix;
        }
    }
    return {};
}

/** Where an operation of this kind can be expected to be legal. */
Prefix Chooser::workplace(World const& world, Kind kind) {
    MaybePrefix chosen;
    switch (kind) {
    case Kind::insert:
    case Kind::lookUp:
        return anyPrefix(world);
    case Kind::remove:
        if (oneIn(8)) {
            return anyPrefix(world);
        }
        chosen = anyNode(world, [](Node const& node) { return node.route; });
        break;
    case Kind::dissolve:
    case Kind::merge:
    case Kind::split:
    case Kind::redistribute:
        chosen = anyNode(world, [](Node const& node) { return node.partition; });
        break;
    case Kind::mergeToNode:
        chosen = anyNode(world, [](Node const& node) { return node.countsAsPartition(); });
        break;
    case Kind::parentMerge: {
        bool const any = oneIn(4);
        chosen = anyNode(world, [&](Node const& node) { return any || node.partition; });
        break;
    }
    case Kind::complete:
        chosen = anyNode(world, [](Node const& node) { return node.pending != 0; });
        break;
    default:
        chosen = anyNode(world, [](Node const&) { return true; });
    }
    return chosen ? *chosen : anyPrefix(world);
}

MaybePrefix Chooser::otherPlace(World const& world, Operation const& operation) {
    auto const above = [&](Node const& node) {
        return node.prefix != operation.prefix && covers(node.prefix, operation.prefix);
    };
    switch (operation.kind) {
    case Kind::insert:
        // Most often the nearest, which a route can be inserted from.
        if (oneIn(2)) {
            return {};
        }
        if (Node const* home = world.model().partitionOf(operation.prefix); home && !oneIn(6)) {
            return home->prefix;
        }
        return anyNode(world, [&](Node const& node) { return node.partition && above(node); });
    case Kind::merge:
        if (Node const* node = world.model().find(operation.prefix); node && node->parent != none) {
            std::size_t const home = world.model().nodes()[node->parent].home;
            return anyNode(world,
                           [&](Node const& other) { return above(other) && other.home == home; });
        }
        return {};
    case Kind::mergeToNode:
        return anyNode(world, [&](Node const& node) { return node.partition && above(node); });
    default:
        return {};
    }
}

Prefix Chooser::anyPrefix(World const& world) {
    Prefix prefix = nearOrFarPrefix(world);
    while (prefix.len < shortest_) {
        prefix = nearOrFarPrefix(world);
    }
    return prefix;
}

Prefix Chooser::nearOrFarPrefix(World const& world) {
    MaybePrefix const near =
        oneIn(5) ? MaybePrefix{} : anyNode(world, [](Node const&) { return true; });
    return near ? nearPrefix(*near, world.maxLen()) : farPrefix(world.maxLen());
}

/** Few different addresses, but any length, the shortest and the longest among them. */
Prefix Chooser::farPrefix(unsigned maxLen) {
    std::size_t const ends = below(20);
    unsigned const len = ends == 0   ? 0
                         : ends == 1 ? maxLen
                                     : static_cast<unsigned>(below(maxLen + 1));
    std::mt19937_64 addresses(below(24));
    Prefix prefix{{addresses(), addresses()}, maxLen};
    return truncated(prefix, len);
}

Prefix Chooser::nearPrefix(Prefix prefix, unsigned maxLen) {
    std::size_t const change = below(8);
    if (change == 0 || (change == 1 && prefix.len == 0)) {
        return prefix;
    }
    if (change == 1) {
        unsigned const last = prefix.len - 1;
        return withBit(prefix, last, 1 - bitAt(prefix, last));
    }
    if (change == 2) {
        return truncated(prefix, static_cast<unsigned>(below(prefix.len + 1)));
    }
    if (change == 3 && prefix.len > 0) {
        prefix = truncated(prefix, prefix.len - 1);
    }
    std::size_t const more = oneIn(20) ? maxLen : 1 + below(4);
    for (std::size_t i = 0; i < more && prefix.len < maxLen; ++i) {
        prefix = extended(prefix, static_cast<unsigned>(below(2)));
    }
    return prefix;
}

}  // namespace TrieModel
