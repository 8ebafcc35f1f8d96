#pragma once

#include <Vexo/Types.h>

#include <cstddef>

namespace Vexo {

/** 32-bit hash of a run of bytes. The same on every machine for the same bytes; not for secrets. */
class LPMTRIE_API Hash {
public:
    void hashMix(void const* bytes, std::size_t count) noexcept;
    U32 result() const noexcept;

private:
    U32 state_ = 0x811c9dc5U;  // FNV-1a, 32 bits: offset basis
};

/** Hash of one number, its four bytes taken from the least significant on. */
LPMTRIE_API U32 hashOf(U32 number) noexcept;

}  // namespace Vexo
