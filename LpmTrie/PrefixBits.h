#pragma once

#include <Nimbal/IpGenPrefix.h>

namespace LpmTrie {

using Vexo::U32;

/**
 * Number of leading bits on which `a` and `b` agree, at most the shorter length. Host bits of the
 * shorter one are not looked at. Families are not compared: the caller's are the same.
 */
LPMTRIE_API U32 commonPrefixLen(Nimbal::IpGenPrefix const& a,
                                Nimbal::IpGenPrefix const& b) noexcept;

/** `p`'s address with all bits from position `len` on cleared. The length is `len` as given. */
LPMTRIE_API Nimbal::IpGenPrefix prefixFromLen(Nimbal::IpGenPrefix const& p, U32 len) noexcept;

}  // namespace LpmTrie
