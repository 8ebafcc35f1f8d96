#pragma once

#include <Nimbal/IpGenPrefix.h>

namespace LpmClient {

/** What the routes that found no room tell of the order in which routes come. */
struct Arrivals {
    Nimbal::IpGenPrefix last;  // of them
    Vexo::U32 ascending = 0;   // weighted: 1024 when all of the last ones came in address order

    /** Upwards or downwards. */
    bool inOrder() const noexcept { return ascending > 900 || ascending < 64; }
    /** With one more. */
    Arrivals after(Nimbal::IpGenPrefix const& prefix) const noexcept {
        return {prefix, ascending - ascending / 16 + (prefix > last ? 64U : 0U)};
    }
};

}  // namespace LpmClient
