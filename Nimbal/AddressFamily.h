#pragma once

#include <Vexo/FwkType.h>
#include <Vexo/Types.h>

#include <iosfwd>

namespace Nimbal {

using Vexo::String;
using Vexo::U32;
using Vexo::U8;

/** Address family, 32 bits wide. The code 2 is IPv6; any other code is handled as IPv4. */
enum class AddressFamily : U32 { none = 0, ipv4 = 1, ipv6 = 2 };

/** Longest prefix of the family, in bits: 128 for IPv6, 32 otherwise. */
constexpr U32 maxPrefixLen(AddressFamily af) noexcept {
    return af == AddressFamily::ipv6 ? 128 : 32;
}

/** "none", "ipv4", "ipv6", or the code in decimal. */
LPMTRIE_API std::ostream& operator<<(std::ostream& out, AddressFamily const& af);

/** The module of all types of this folder. */
LPMTRIE_API extern Vexo::FwkModule const nimbalModule;

}  // namespace Nimbal
