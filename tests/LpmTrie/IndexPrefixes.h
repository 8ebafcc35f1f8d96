#pragma once

#include <tests/LpmTrie/TrieFixture.h>

#include <array>

/* Prefixes of few different bits: they cover each other, and all strides of an index are in use. */

namespace TrieTests {

/** An address whose bytes have only bits of `mask`, and a quarter of these. */
inline std::array<Vexo::U8, 16> sparseAddress(AddressFamily af, Random& random, U32 mask) {
    std::array<Vexo::U8, 16> bytes{};
    for (std::size_t i = 0; i < (af == AddressFamily::ipv6 ? 16U : 4U); ++i) {
        bytes[i] = static_cast<Vexo::U8>(random.any() & random.any() & mask);
    }
    return bytes;
}

/** A prefix of such an address, of any length. */
inline IpGenPrefix sparsePrefix(AddressFamily af, Random& random, U32 mask = 0xc3) {
    auto const address = sparseAddress(af, random, mask);
    U32 const len = random.below(af == AddressFamily::ipv6 ? 129 : 33);
    return IpGenPrefix(af, address, len).hostBitsCleared();
}

}  // namespace TrieTests
