#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <compare>
#include <cstdint>

namespace TrieModel {

/**
 * A prefix as the model knows it: bits from the top of the first word on, all bits past the length
 * clear, whatever the family. Ordered as a walk in pre-order meets them: a prefix comes right
 * before all that it covers, and what continues with 0 before what continues with 1.
 */
struct Prefix {
    std::array<std::uint64_t, 2> bits{};
    unsigned len = 0;

    auto operator<=>(Prefix const&) const = default;
};

/** The bit at `position`, 0 the first. */
inline unsigned bitAt(Prefix const& prefix, unsigned position) {
    return static_cast<unsigned>(prefix.bits[position / 64] >> (63 - position % 64)) & 1U;
}

inline Prefix withBit(Prefix prefix, unsigned position, unsigned bit) {
    std::uint64_t const mask = std::uint64_t{1} << (63 - position % 64);
    std::uint64_t& word = prefix.bits[position / 64];
    word = bit != 0 ? word | mask : word & ~mask;
    return prefix;
}

/** The first `len` bits of `prefix`, which has as many. */
inline Prefix truncated(Prefix prefix, unsigned len) {
    for (unsigned word = 0; word < 2; ++word) {
        unsigned const kept = std::clamp(len, 64 * word, 64 * word + 64) - 64 * word;
        prefix.bits[word] &= kept == 0 ? 0 : ~std::uint64_t{0} << (64 - kept);
    }
    prefix.len = len;
    return prefix;
}

/** `prefix` with one more bit. */
inline Prefix extended(Prefix const& prefix, unsigned bit) {
    Prefix longer = withBit(prefix, prefix.len, bit);
    ++longer.len;
    return longer;
}

/** The longest prefix that covers both. */
inline Prefix common(Prefix const& a, Prefix const& b) {
    std::uint64_t const high = a.bits[0] ^ b.bits[0];
    std::uint64_t const low = a.bits[1] ^ b.bits[1];
    unsigned const equal =
        static_cast<unsigned>(high != 0 ? std::countl_zero(high) : 64 + std::countl_zero(low));
    return truncated(a, std::min({a.len, b.len, equal}));
}

/** Whether `inner` is `outer` or lies in it. */
inline bool covers(Prefix const& outer, Prefix const& inner) {
    return outer.len <= inner.len && common(outer, inner).len == outer.len;
}

}  // namespace TrieModel
