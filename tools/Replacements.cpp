#include <tools/Replacements.h>
#include <tools/Xoshiro.h>

#include <algorithm>

namespace LpmTools {

using LpmClient::Route;

namespace {

constexpr std::size_t withdrawnAtFirst = 20;  // one in so many

Route takeAny(std::vector<Route>& from, Xoshiro& numbers) {
    std::swap(from[numbers.below(from.size())], from.back());
    Route const taken = from.back();
    from.pop_back();
    return taken;
}

}  // namespace

std::vector<RouteEvent> randomReplacements(std::vector<Route> routes, U64 count, U64 seed) {
    std::vector<RouteEvent> events;
    if (count == 0 || routes.size() < 2) {
        return events;
    }
    Xoshiro numbers(mixedBits(seed));
    std::vector<Route> withdrawn;
    auto const withdraw = [&] {
        withdrawn.push_back(takeAny(routes, numbers));
        events.push_back({withdrawn.back(), RouteChange::removed});
    };
    std::size_t const first = std::max(routes.size() / withdrawnAtFirst, std::size_t{1});
    events.reserve(first + 2 * count);
    while (events.size() < first) {
        withdraw();
    }
    for (U64 i = 0; i < count; ++i) {
        Route const back = takeAny(withdrawn, numbers);
        withdraw();
        routes.push_back(back);
        events.push_back({back, RouteChange::added});
    }
    return events;
}

}  // namespace LpmTools
