#pragma once

#include <tools/MrtCursor.h>
#include <tools/NextHop.h>

#include <optional>

namespace LpmTools {

/** Those of a path's attributes that tell routes and next hops, as they stand (RFC 4271, 4.3). */
struct MrtAttributes {
    std::optional<MrtCursor> nextHop;
    std::optional<MrtCursor> reach;  // MP_REACH_NLRI and MP_UNREACH_NLRI of RFC 4760
    std::optional<MrtCursor> unreach;
};

/**
 * Reads all of `from`. Throws MrtFault where an attribute runs past the end, or where one of the
 * three comes twice, so that it cannot be told which one holds (RFC 7606, 3).
 */
MrtAttributes readMrtAttributes(MrtCursor from);

/** The next hop of NEXT_HOP, an IPv4 address; an empty one where there is none. */
NextHop readMrtNextHop(MrtAttributes const& attributes);
/** A length and a next hop of that length, as MP_REACH_NLRI has it. */
NextHop readMrtLongNextHop(MrtCursor& from);

}  // namespace LpmTools
