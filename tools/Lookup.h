#pragma once

#include <tools/Plan.h>

#include <span>

namespace LpmTools {

/**
 * Tells on standard output what becomes of each address in a plan whose tables are taken in, and on
 * standard error what went wrong in that. Answers the exit status.
 */
int lookUp(Plan& plan, std::span<Nimbal::IpGenPrefix const> addresses,
           NextHopNumbers const& nextHops, bool asJson);

}  // namespace LpmTools
