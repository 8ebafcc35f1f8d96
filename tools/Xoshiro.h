#pragma once

#include <Vexo/Types.h>

#include <array>
#include <bit>
#include <cstddef>

namespace LpmTools {

using Vexo::U32;
using Vexo::U64;

/** The finishing step of splitmix64: a one-to-one mixing of 64 bits. */
constexpr U64 mixedBits(U64 value) noexcept {
    value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9;
    value = (value ^ (value >> 27)) * 0x94d049bb133111eb;
    return value ^ (value >> 31);
}

/**
 * xoshiro256**, seeded by splitmix64 (Blackman and Vigna, 2018): the same numbers for a seed with
 * every compiler and library, which the standard library's distributions do not promise.
 */
class Xoshiro {
public:
    explicit constexpr Xoshiro(U64 seed) noexcept {
        for (U64& word : state_) {
            seed += 0x9e3779b97f4a7c15;
            word = mixedBits(seed);
        }
    }

    constexpr U64 next() noexcept {
        U64 const result = std::rotl(state_[1] * 5, 7) * 9;
        U64 const shifted = state_[1] << 17;
        state_[2] ^= state_[0];
        state_[3] ^= state_[1];
        state_[1] ^= state_[2];
        state_[0] ^= state_[3];
        state_[2] ^= shifted;
        state_[3] = std::rotl(state_[3], 45);
        return result;
    }
    constexpr U32 next32() noexcept { return static_cast<U32>(next() >> 32); }
    /** A number from 0 to `bound` - 1, 0 for `bound` 0. The bias, under `bound` / 2^32, is let be.
     */
    constexpr U32 below(std::size_t bound) noexcept {
        return static_cast<U32>((U64{next32()} * static_cast<U32>(bound)) >> 32);
    }

private:
    std::array<U64, 4> state_{};
};

}  // namespace LpmTools
