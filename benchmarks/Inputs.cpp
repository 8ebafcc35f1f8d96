#include <tools/RouteUpdates.h>
#include <tools/Shuffle.h>
#include <benchmarks/Inputs.h>

#include <algorithm>
#include <map>

namespace LpmBenchmarks {

namespace {

using LpmTools::Xoshiro;

/** An address inside `route`, as a prefix of full length. */
IpGenPrefix addressInside(IpGenPrefix const& route, Xoshiro& random) {
    bool const v6 = route.af() == Nimbal::AddressFamily::ipv6;
    U32 const full = v6 ? 128 : 32;
    auto bytes = route.address();
    for (U32 bit = route.len(); bit < full; ++bit) {
        auto const drawn = static_cast<Vexo::U8>((random.next() >> 63) << (7 - bit % 8));
        bytes[bit / 8] = static_cast<Vexo::U8>(bytes[bit / 8] | drawn);
    }
    return {route.af(), bytes, full};
}

/**
 * Of ten steps seven announce a route that is there; the others withdraw one or bring it back, so
 * that the table keeps its size.
 */
std::vector<Update> updatesOf(std::vector<IpGenPrefix> const& routes, Xoshiro& random) {
    std::vector<Update> updates;
    std::vector<IpGenPrefix> away;
    for (std::size_t step = 0; step < routes.size(); ++step) {
        U32 const kind = random.below(20);
        IpGenPrefix const& route = routes[random.below(routes.size())];
        if (kind < 14) {
            updates.push_back({route, true});
        } else if (kind < 17 || away.empty()) {
            updates.push_back({route, false});
            away.push_back(route);
        } else {
            std::swap(away[random.below(away.size())], away.back());
            updates.push_back({away.back(), true});
            away.pop_back();
        }
    }
    for (IpGenPrefix const& route : away) {
        updates.push_back({route, true});
    }
    return updates;
}

}  // namespace

Input inputOf(Nimbal::AddressFamily af, std::vector<IpGenPrefix> routes, U64 seed) {
    Xoshiro random(seed);
    std::sort(routes.begin(), routes.end());
    routes.erase(std::unique(routes.begin(), routes.end()), routes.end());
    Input input{af, routes, routes, {}, {}, {}, {}, 0};
    shuffle(input.routes, random);
    input.leaving = input.routes;
    shuffle(input.leaving, random);
    for (std::size_t i = 0; i < routes.size(); ++i) {
        input.queries.push_back(addressInside(routes[random.below(routes.size())], random));
    }
    input.updates = updatesOf(routes, random);
    return input;
}

void addStream(Input& input, std::vector<std::string> const& paths) {
    LpmTools::MrtPeers peers;
    LpmTools::PathTable table(peers);
    std::map<IpGenPrefix, bool> last;
    for (std::string const& path : paths) {
        LpmTools::RouteUpdates updates(path, {}, peers, table);
        for (LpmTools::RouteUpdate update; updates.next(update);) {
            bool const gone = update.change == LpmTools::RouteChange::removed;
            // A withdrawal that leaves another path, or meets none, is no update of a route.
            if (update.prefix.af() == input.af && (gone || !update.isWithdrawal)) {
                input.stream.push_back({update.prefix, !gone});
                last[update.prefix] = !gone;
            }
        }
    }
    for (auto const& [prefix, there] : last) {
        bool const before = std::binary_search(input.ordered.begin(), input.ordered.end(), prefix);
        input.newRoutes += before ? 0 : 1;
        if (there != before) {
            input.stream.push_back({prefix, before});
        }
    }
}

}  // namespace LpmBenchmarks
