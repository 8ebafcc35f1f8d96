#pragma once

#include <tools/RouteInputs.h>
#include <tools/Xoshiro.h>

namespace Soak {

using Vexo::U32;
using Vexo::U64;

/**
 * Updates of a table without an end. Most concern few of the routes, as on the Internet: a next hop
 * changes, or a route goes away and comes back later, when a hundredth of all are away. And a
 * `storm` takes away a fiftieth that lie side by side, which then come back in random order.
 *
 * The table must have a route; it is all there at the beginning. The same seed gives the same
 * updates everywhere.
 */
class RouteWeather {
public:
    RouteWeather(std::vector<LpmClient::Route> routes, U64 seed);

    /** After `left` updates from now on, this one included, the whole table is there. */
    LpmTools::RouteEvent next(U64 left);
    void storm();

private:
    U32 anyRoute();
    LpmTools::RouteEvent goAway(U32 number);
    LpmTools::RouteEvent comeBack();
    LpmTools::RouteEvent change(U32 number);

    std::vector<LpmClient::Route> routes_;  // in order of address
    std::vector<U32> byActivity_;           // numbers of routes, the one that changes most first
    std::vector<U32> away_;
    std::vector<bool> isAway_;
    U64 stormLeft_ = 0;
    U32 stormAt_ = 0;
    LpmTools::Xoshiro numbers_;
};

}  // namespace Soak
