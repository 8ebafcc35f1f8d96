#pragma once

#include <Vexo/Types.h>

#include <compare>
#include <string>

namespace LpmTools {

/** What a record says it is. */
struct MrtKind {
    Vexo::U16 type = 0;
    Vexo::U16 subtype = 0;

    auto operator<=>(MrtKind const&) const noexcept = default;
};

/** Types of records that can hold routes of interest here (RFC 6396, 4). */
namespace MrtType {
inline constexpr Vexo::U16 tableDump = 12;
inline constexpr Vexo::U16 tableDumpV2 = 13;
inline constexpr Vexo::U16 bgp4mp = 16;
inline constexpr Vexo::U16 bgp4mpEt = 17;
}  // namespace MrtType

/** Has a record type of this number ever been assigned (RFC 6396, 4 and appendix B)? */
bool isMrtType(Vexo::U16 type) noexcept;

/**
 * As in "OSPFv2", "TABLE_DUMP_V2/RIB_GENERIC", or with numbers where there is no name:
 * "TABLE_DUMP_V2/99", "type 77/3". A type that has no subtypes is told alone with subtype 0.
 */
std::string mrtName(MrtKind kind);

}  // namespace LpmTools
