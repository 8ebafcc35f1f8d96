#pragma once

/* Where a prefix has its place in the index. Private to this folder's sources. */

#include <LpmTrie/IndexBlock.h>

namespace LpmTrie::Detail {

constexpr U32 stride = IndexBlock::stride;

/** How deep the block is in whose stride a length lies. */
constexpr U32 depthOf(U32 len) noexcept {
    return (len + 2) / stride;
}

/** The depth down to which the blocks along two addresses are the same. */
constexpr U32 depthShared(U64 head, U64 other) noexcept {
    return (static_cast<U32>(std::countl_zero(head ^ other)) + 2) / stride;
}

/** An address's bits in the stride of blocks at `depth`. */
constexpr U32 sliceOf(U64 head, U32 depth) noexcept {
    return static_cast<U32>((head >> 2) << (stride * depth) >> 58);
}

/** What the length of a node tells of where it has its place. */
struct LengthPlace {
    U64 blockBits;     // the bits of an address that lead to the block
    U16 depthBit;      // 1 << depth
    U8 depth;          // of the block
    U8 firstOfLength;  // the least place of that length
    U8 dropped;        // bits of the first 63 that are not the prefix's
};

constexpr std::array<LengthPlace, 63> placesOfLengths() noexcept {
    std::array<LengthPlace, 63> places{};
    for (U32 len = 0; len < places.size(); ++len) {
        U32 const depth = depthOf(len);
        U32 const before = depth == 0 ? 0 : stride * depth - 2;
        places[len] = {before == 0 ? 0 : ~U64{0} << (64 - before), static_cast<U16>(1U << depth),
                       static_cast<U8>(depth), static_cast<U8>(1U << (len + 2 - stride * depth)),
                       static_cast<U8>(63 - len)};
    }
    return places;
}
inline constexpr std::array<LengthPlace, 63> placeOfLength = placesOfLengths();

/** Where a node has its place in its block. */
constexpr U32 placeOf(U64 head, LengthPlace const& length) noexcept {
    // Two shifts, since no bit at all may be left.
    return length.firstOfLength +
           (static_cast<U32>(head >> 1 >> length.dropped) & (length.firstOfLength - 1U));
}
constexpr U32 placeOf(U64 head, U32 len) noexcept {
    return placeOf(head, placeOfLength[len]);
}

constexpr bool has(U64 bits, U32 bit) noexcept {
    return (bits >> bit & 1) != 0;
}

}  // namespace LpmTrie::Detail
