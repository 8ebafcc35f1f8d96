#pragma once

/* Where a prefix has its place in the index. Private to this folder's sources. */

#include <LpmTrie/IndexBlock.h>

namespace LpmTrie::Detail {

constexpr U32 stride = IndexBlock::stride;

/** How deep the block is in whose stride a length lies. */
constexpr U32 depthOf(U32 len) noexcept {
    return (len + 2) / stride;
}

/** An address's bits in the stride of blocks at `depth`. */
constexpr U32 sliceOf(U64 head, U32 depth) noexcept {
    return static_cast<U32>((head >> 2) << (stride * depth) >> 58);
}

/** Where a node has its place in its block. */
constexpr U32 placeOf(U64 head, U32 len) noexcept {
    U32 const depth = depthOf(len);
    return (64 + sliceOf(head, depth)) >> (stride - (len + 2 - stride * depth));
}

constexpr bool has(U64 bits, U32 bit) noexcept {
    return (bits >> bit & 1) != 0;
}

}  // namespace LpmTrie::Detail
