#pragma once

#include <tools/RouteInputs.h>

namespace LpmTools {

/**
 * Random updates of a table. At first a twentieth of its routes is withdrawn; then come `count`
 * replacements: a route drawn at random is withdrawn, and one of those withdrawn earlier announced.
 * The same seed gives the same updates everywhere.
 */
std::vector<RouteEvent> randomReplacements(std::vector<LpmClient::Route> routes, U64 count,
                                           U64 seed);

}  // namespace LpmTools
