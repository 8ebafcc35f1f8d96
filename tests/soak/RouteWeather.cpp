#include <tests/soak/RouteWeather.h>

#include <algorithm>
#include <numeric>

namespace Soak {

using LpmClient::Route;
using LpmTools::RouteChange;
using LpmTools::RouteEvent;

namespace {

constexpr U64 usuallyAway = 100;  // one route in so many
constexpr U64 inStorm = 50;       // one route in so many
constexpr U32 nextHops = 64;

}  // namespace

RouteWeather::RouteWeather(std::vector<Route> routes, U64 seed)
    : routes_(std::move(routes)),
      byActivity_(routes_.size()),
      isAway_(routes_.size()),
      numbers_(seed) {
    std::ranges::sort(routes_, {}, &Route::prefix);
    std::iota(byActivity_.begin(), byActivity_.end(), U32{0});
    for (std::size_t i = byActivity_.size(); i > 1; --i) {
        std::swap(byActivity_[i - 1], byActivity_[numbers_.below(i)]);
    }
}

RouteEvent RouteWeather::next(U64 left) {
    U32 const number = anyRoute();
    if (away_.size() + 1 >= left) {
        return away_.empty() ? change(number) : comeBack();
    }
    while (stormLeft_ > 0) {
        --stormLeft_;
        U32 const struck = stormAt_;
        stormAt_ = (stormAt_ + 1) % static_cast<U32>(routes_.size());
        if (!isAway_[struck]) {
            return goAway(struck);
        }
    }
    if (isAway_[number] || away_.size() * usuallyAway > routes_.size()) {
        return comeBack();
    }
    return numbers_.below(3) == 0 ? goAway(number) : change(number);
}

void RouteWeather::storm() {
    stormLeft_ = routes_.size() / inStorm;
    stormAt_ = numbers_.below(routes_.size());
}

/** A hundredth of the routes get a third of the updates, a tenth of them four fifths. */
U32 RouteWeather::anyRoute() {
    U32 bound = static_cast<U32>(byActivity_.size());
    for (int i = 0; i < 4; ++i) {
        bound = numbers_.below(bound) + 1;
    }
    return byActivity_[bound - 1];
}

RouteEvent RouteWeather::goAway(U32 number) {
    isAway_[number] = true;
    away_.push_back(number);
    return {routes_[number], RouteChange::removed};
}

RouteEvent RouteWeather::comeBack() {
    std::swap(away_[numbers_.below(away_.size())], away_.back());
    U32 const number = away_.back();
    away_.pop_back();
    isAway_[number] = false;
    return {routes_[number], RouteChange::added};
}

/** To another next hop. */
RouteEvent RouteWeather::change(U32 number) {
    Route& route = routes_[number];
    route.nextHop = 1 + (route.nextHop + numbers_.below(nextHops - 1)) % nextHops;
    return {route, RouteChange::nextHopChanged};
}

}  // namespace Soak
