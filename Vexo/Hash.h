#pragma once

#include <Vexo/Types.h>

#include <cstddef>

namespace Vexo {

/**
 * 32-bit hash of a run of bytes, one step a byte. The same on every machine for the same bytes; not
 * for secrets. A plain value.
 */
class LPMTRIE_API Hash {
public:
    /** Takes `count` bytes in. */
    void hashMix(void const* bytes, std::size_t count) noexcept;
    /** The hash of all bytes so far; more may follow. */
    U32 result() const noexcept;

private:
    U32 state_ = 0x811c9dc5U;  // FNV-1a, 32 bits: offset basis
};

/** Hash of one number, its four bytes taken from the least significant on. */
LPMTRIE_API U32 hashOf(U32 number) noexcept;

}  // namespace Vexo
