#pragma once

#include <Vexo/Types.h>

#include <cstddef>

namespace Torvel {

using Vexo::U32;
using Vexo::U64;

/**
 * Hash accumulator for values in memory: eight bytes a step. Equal bytes give equal hashes within
 * one process; the number depends on the machine's byte order and is not to be stored.
 */
class LPMTRIE_API HashMix {
public:
    /** Different starts give unrelated hashes. */
    explicit HashMix(U32 start) noexcept : state_(start) {}

    /** Takes `count` bytes in. */
    void mix(void const* bytes, std::size_t count) noexcept;

    /** The hash of all that was taken in; more may follow. */
    explicit operator U32() const noexcept;

private:
    U64 state_;
};

}  // namespace Torvel
