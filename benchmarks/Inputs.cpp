#include <tools/Xoshiro.h>
#include <benchmarks/Inputs.h>

#include <algorithm>

namespace LpmBenchmarks {

namespace {

using LpmTools::Xoshiro;

void shuffle(std::vector<IpGenPrefix>& prefixes, Xoshiro& random) {
    for (std::size_t i = prefixes.size(); i > 1; --i) {
        std::swap(prefixes[i - 1], prefixes[random.below(i)]);
    }
}

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
    Input input{af, routes, routes, {}, {}, {}};
    shuffle(input.routes, random);
    input.leaving = input.routes;
    shuffle(input.leaving, random);
    for (std::size_t i = 0; i < routes.size(); ++i) {
        input.queries.push_back(addressInside(routes[random.below(routes.size())], random));
    }
    input.updates = updatesOf(routes, random);
    return input;
}

}  // namespace LpmBenchmarks
