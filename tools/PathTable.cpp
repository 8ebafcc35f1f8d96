/*
 * Routes are found by their prefixes; from each hangs the chain of its paths, ascending, so that
 * the first one tells the route's next hop. Next hops are few and long, and kept once each, with
 * the number of paths that lead there.
 *
 * A change walks the chain by the links themselves, from the route's to the last path's, so that
 * coming and going need no case for the first path.
 */

#include <tools/PathTable.h>

#include <Torvel/HashMix.h>

namespace LpmTools {

using Nimbal::IpGenPrefix;

std::size_t PathTable::HopHash::operator()(NextHop const& hop) const noexcept {
    Torvel::HashMix mix(hop.size);
    mix.mix(hop.bytes.data(), hop.bytes.size());
    return U32{mix};
}

RouteChange PathTable::announce(U32 peer, U32 pathId, IpGenPrefix const& prefix,
                                NextHop const& nextHop) {
    Path path{peer, pathId, useHop(nextHop), Pool<Path>::none};
    U32 const route = routes_.find(prefix);
    try {
        if (route == routes_.none) {
            return addRoute(path, prefix);
        }
        U32* const first = &routes_[route].link;
        U32 const hopBefore = paths_[*first].hop;
        U32* const place = findPlace(first, peer, pathId);
        if (isPath(*place, peer, pathId)) {
            // The old hop goes last: it may be the one that the path keeps.
            std::swap(paths_[*place].hop, path.hop);
            leaveHop(path.hop);
        } else {
            path.link = *place;
            *place = paths_.add(path);
        }
        return paths_[*first].hop == hopBefore ? RouteChange::none : RouteChange::nextHopChanged;
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
    U32* const first = &routes_[route].link;
    U32* const place = findPlace(first, peer, pathId);
    U32 const gone = *place;
    if (!isPath(gone, peer, pathId)) {
        return RouteChange::none;
    }
    U32 const hopBefore = paths_[*first].hop;
    U32 const hopGone = paths_[gone].hop;
    *place = paths_[gone].link;
    paths_.remove(gone);
    RouteChange change = RouteChange::none;
    if (*first == Pool<Path>::none) {
        routes_.remove(route);
        change = RouteChange::removed;
    } else if (paths_[*first].hop != hopBefore) {
        change = RouteChange::nextHopChanged;
    }
    leaveHop(hopGone);
    return change;
}

NextHop const* PathTable::nextHop(IpGenPrefix const& prefix) const {
    U32 const route = routes_.find(prefix);
    return route == routes_.none ? nullptr : &hops_[paths_[routes_[route].link].hop].key;
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

/** The link that leads to this path, or else the one where it would go. */
U32* PathTable::findPlace(U32* link, U32 peer, U32 pathId) {
    while (*link != Pool<Path>::none) {
        Path& path = paths_[*link];
        if (!isBefore(path, peer, pathId)) {
            break;
        }
        link = &path.link;
    }
    return link;
}

bool PathTable::isBefore(Path const& path, U32 peer, U32 pathId) const {
    // Different numbers are different peers.
    return path.peer == peer ? path.pathId < pathId : (*peers_)[path.peer] < (*peers_)[peer];
}

bool PathTable::isPath(U32 number, U32 peer, U32 pathId) const {
    return number != Pool<Path>::none && paths_[number].peer == peer &&
           paths_[number].pathId == pathId;
}

}  // namespace LpmTools
