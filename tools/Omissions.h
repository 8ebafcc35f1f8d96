#pragma once

#include <Vexo/Types.h>

#include <span>
#include <string>

namespace LpmTools {

/** What of an input has not been taken as it stands there. */
struct Omissions {
    std::string input;
    Vexo::U64 hostBitsCleared = 0;  // prefixes with bits set past their length
    Vexo::U64 badLines = 0;         // skipped
    std::string firstBadLine;

    bool any() const noexcept { return hostBitsCleared > 0 || badLines > 0; }
    bool operator==(Omissions const&) const = default;
};

/** Of several inputs; the first bad line of all. */
Omissions sumOf(std::span<Omissions const> omissions);

/** Tells them on standard error, a line each: of a command whose report has no place for them. */
void tell(std::span<Omissions const> omissions);

}  // namespace LpmTools
