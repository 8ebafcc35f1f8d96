#pragma once

#include <Nimbal/IpGenPrefix.h>
#include <tools/IndexedPool.h>
#include <tools/MrtPeers.h>
#include <tools/NextHop.h>

#include <random>

namespace LpmTools {

/** What a path that comes or goes means for the route to its prefix. */
enum class RouteChange : Vexo::U8 { none, added, removed, nextHopChanged };

/**
 * The live paths of many peers. All paths to one prefix are one route, which lives while it has a
 * path. Its next hop is that of its first path: of the lowest peer, by address and AS, and of those
 * the one of the lowest path identifier. That is no path selection as routers do it, but depends on
 * nothing but the set of paths: not on the numbers of the peers, which tell the order of reading.
 *
 * A path takes 20 bytes, a route 28 and its place in the index 5 to 11. A change takes time
 * logarithmic in the paths of its route, whatever a file makes of them. One that fails for want of
 * memory changes no path.
 */
class PathTable {
public:
    /** `peers` has given out the numbers of all peers, and must live as long. */
    explicit PathTable(MrtPeers const& peers) : peers_(&peers), seed_(std::random_device()()) {}

    /** Replaces the path of this peer and identifier if there is one, as BGP has it. */
    RouteChange announce(U32 peer, U32 pathId, Nimbal::IpGenPrefix const& prefix,
                         NextHop const& nextHop);
    /** Of a path that is not there: nothing. */
    RouteChange withdraw(U32 peer, U32 pathId, Nimbal::IpGenPrefix const& prefix);

    /** Null where there is no route; good until the next change. */
    NextHop const* nextHop(Nimbal::IpGenPrefix const& prefix) const;
    U64 routes() const noexcept { return routes_.size(); }
    U64 paths() const noexcept { return paths_.size(); }
    /** Whether it is the next hop of a live path. */
    bool leadsTo(NextHop const& nextHop) const { return hops_.find(nextHop) != hops_.none; }
    /** Different next hops of live paths. */
    U64 nextHops() const noexcept { return hops_.size(); }
    /** Bytes held. They are used again, but not given back before the end. */
    U64 memory() const noexcept { return routes_.memory() + paths_.memory() + hops_.memory(); }

    /** Calls `visit(prefix, nextHop)` for every route, in no particular order. */
    template <class Visit>
    void forEachRoute(Visit&& visit) const {
        routes_.forEach(
            [&](Route const& route) { visit(route.key, hops_[firstPath(route).hop].key); });
    }

private:
    struct Route {
        Nimbal::IpGenPrefix key;
        U32 link = 0;  // the top one of the tree of its paths
    };
    struct Path {
        U32 peer = 0;
        U32 pathId = 0;
        U32 hop = 0;
        U32 link = Pool<Path>::none;  // in the tree, the top one of those before it
        U32 after = Pool<Path>::none;
    };
    struct Hop {
        NextHop key;
        U32 link = 0;  // paths that lead there
    };
    struct HopHash {
        std::size_t operator()(NextHop const& hop) const noexcept;
    };

    U32 useHop(NextHop const& nextHop);
    void leaveHop(U32 hop);
    Path const& firstPath(Route const& route) const;
    U32* findPlace(U32* link, U32 peer, U32 pathId);
    void enter(U32* link, U32 number);
    void leave(U32* link);
    bool isBefore(Path const& path, U32 peer, U32 pathId) const;
    U32 rank(U32 number) const noexcept;
    RouteChange addRoute(Path const& path, Nimbal::IpGenPrefix const& prefix);

    MrtPeers const* peers_;
    U32 seed_;
    IndexedPool<Route, std::hash<Nimbal::IpGenPrefix>> routes_;
    Pool<Path> paths_;
    IndexedPool<Hop, HopHash> hops_;
};

}  // namespace LpmTools
