/*
 * Routes are found by their prefixes; from each hangs the tree of its paths, ordered, so that the
 * first one tells the route's next hop. Next hops are few and long, and kept once each, with the
 * number of paths that lead there.
 *
 * The tree is a treap (Seidel and Aragon, Algorithmica 16, 1996): each path has a rank at random,
 * and stands above those of lower rank. No file can know the ranks, and so none can make it deep.
 * A change walks down by the links themselves, from the route's to the last path's, so that coming
 * and going need no case for the top one.
 */

#include <tools/PathTable.h>

#include <Torvel/HashMix.h>

#include <utility>

namespace LpmTools {

using Nimbal::IpGenPrefix;

std::size_t PathTable::HopHash::operator()(NextHop const& hop) const noexcept {
    Torvel::HashMix mix(hop.size);
    mix.mix(hop.bytes.data(), hop.bytes.size());
    return U32{mix};
}

RouteChange PathTable::announce(U32 peer, U32 pathId, IpGenPrefix const& prefix,
                                NextHop const& nextHop) {
    Path path{peer, pathId, useHop(nextHop)};
    U32 const number = routes_.find(prefix);
    try {
        if (number == routes_.none) {
            return addRoute(path, prefix);
        }
        Route& route = routes_[number];
        U32 const hopBefore = firstPath(route).hop;
        if (U32 const known = *findPlace(&route.link, peer, pathId); known != paths_.none) {
            // The old hop goes last: it may be the one that the path keeps.
            std::swap(paths_[known].hop, path.hop);
            leaveHop(path.hop);
        } else {
            enter(&route.link, paths_.add(path));
        }
        return firstPath(route).hop == hopBefore ? RouteChange::none : RouteChange::nextHopChanged;
    } catch (...) {
        leaveHop(path.hop);
        throw;
    }
}

RouteChange PathTable::addRoute(Path const& path, IpGenPrefix const& prefix) {
    U32 const number = paths_.add(path);
    try {
        routes_.add({prefix, number});
    } catch (...) {
        paths_.remove(number);
        throw;
    }
    return RouteChange::added;
}

RouteChange PathTable::withdraw(U32 peer, U32 pathId, IpGenPrefix const& prefix) {
    U32 const route = routes_.find(prefix);
    if (route == routes_.none) {
        return RouteChange::none;
    }
    U32& top = routes_[route].link;
    U32* const place = findPlace(&top, peer, pathId);
    if (*place == paths_.none) {
        return RouteChange::none;
    }
    U32 const hopBefore = firstPath(routes_[route]).hop;
    U32 const hopGone = paths_[*place].hop;
    leave(place);
    RouteChange change = RouteChange::none;
    if (top == paths_.none) {
        routes_.remove(route);
        change = RouteChange::removed;
    } else if (firstPath(routes_[route]).hop != hopBefore) {
        change = RouteChange::nextHopChanged;
    }
    leaveHop(hopGone);
    return change;
}

NextHop const* PathTable::nextHop(IpGenPrefix const& prefix) const {
    U32 const route = routes_.find(prefix);
    return route == routes_.none ? nullptr : &hops_[firstPath(routes_[route]).hop].key;
}

U32 PathTable::useHop(NextHop const& nextHop) {
    U32 hop = hops_.find(nextHop);
    if (hop == hops_.none) {
        hop = hops_.add({nextHop, 0});
    }
    ++hops_[hop].link;
    return hop;
}

void PathTable::leaveHop(U32 hop) {
    if (--hops_[hop].link == 0) {
        hops_.remove(hop);
    }
}

PathTable::Path const& PathTable::firstPath(Route const& route) const {
    Path const* path = &paths_[route.link];
    while (path->link != paths_.none) {
        path = &paths_[path->link];
    }
    return *path;
}

/** The link that leads to this path, or else one that leads nowhere. */
U32* PathTable::findPlace(U32* link, U32 peer, U32 pathId) {
    while (*link != paths_.none) {
        Path& path = paths_[*link];
        if (path.peer == peer && path.pathId == pathId) {
            break;
        }
        link = isBefore(path, peer, pathId) ? &path.after : &path.link;
    }
    return link;
}

/** A new path takes the place of the first one of lower rank, and parts those below among itself.
 */
void PathTable::enter(U32* link, U32 number) {
    Path& added = paths_[number];
    while (*link != paths_.none && rank(*link) > rank(number)) {
        Path& path = paths_[*link];
        link = isBefore(path, added.peer, added.pathId) ? &path.after : &path.link;
    }
    U32 rest = std::exchange(*link, number);
    U32* before = &added.link;
    U32* after = &added.after;
    while (rest != paths_.none) {
        bool const isLower = isBefore(paths_[rest], added.peer, added.pathId);
        U32*& side = isLower ? before : after;
        *side = rest;
        side = isLower ? &paths_[rest].after : &paths_[rest].link;
        rest = *side;
    }
    *before = *after = paths_.none;
}

/** The path that a link leads to goes; those below it come together in its place. */
void PathTable::leave(U32* link) {
    U32 const gone = *link;
    U32 before = paths_[gone].link;
    U32 after = paths_[gone].after;
    while (before != paths_.none && after != paths_.none) {
        bool const isBeforeHigher = rank(before) > rank(after);
        U32& higher = isBeforeHigher ? before : after;
        *link = higher;
        link = isBeforeHigher ? &paths_[higher].after : &paths_[higher].link;
        higher = *link;
    }
    *link = before != paths_.none ? before : after;
    paths_.remove(gone);
}

bool PathTable::isBefore(Path const& path, U32 peer, U32 pathId) const {
    // Different numbers are different peers.
    return path.peer == peer ? path.pathId < pathId : (*peers_)[path.peer] < (*peers_)[peer];
}

U32 PathTable::rank(U32 number) const noexcept {
    Torvel::HashMix mix(seed_);
    mix.mix(&number, sizeof number);
    return U32{mix};
}

}  // namespace LpmTools
