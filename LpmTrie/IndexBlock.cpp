#include <LpmTrie/IndexPath.h>
#include <LpmTrie/Module.h>
#include <Vexo/SlabStorage.h>

#include <cstring>

namespace LpmTrie {

using Detail::has;

namespace {

constinit Vexo::FwkType const blockType("LpmTrie::IndexBlock", lpmTrieModule, 1);
constinit Vexo::AllocationRecord record(blockType);

U64* allocatedWords(std::size_t bytes) {
    void* const words = Vexo::SlabStorage::allocate(bytes);
    record.allocated(bytes);
    return static_cast<U64*>(words);
}

void releaseWords(U64* words, std::size_t bytes) noexcept {
    record.released(bytes);
    Vexo::SlabStorage::release(words, bytes);
}

/** The words of a piece that is to hold `words`: long ones in steps, so that few sizes exist. */
constexpr U32 pieceWords(U32 words) noexcept {
    U32 const step = words <= 8 ? 1 : words <= 32 ? 2 : words <= 64 ? 8 : 16;
    return (words + step - 1) & ~(step - 1);
}

constexpr std::size_t pieceBytes(U32 words) noexcept {
    return std::size_t{pieceWords(words)} * sizeof(U64);
}

/** Two words at a time. A compiler knows how to move them together. */
void copyPair(U64* to, U64 const* from) noexcept {
    std::array<U64, 2> pair;
    std::memcpy(pair.data(), from, sizeof pair);
    std::memcpy(to, pair.data(), sizeof pair);
}

/** To lower addresses, or into other storage. Pieces are short: a call would cost more. */
void copyForwards(U64* to, U64 const* from, U32 count) noexcept {
    U32 i = 0;
    for (; i + 2 <= count; i += 2) {
        copyPair(to + i, from + i);
    }
    if (i < count) {
        to[i] = from[i];
    }
}

/** To higher addresses. */
void copyBackwards(U64* to, U64 const* from, U32 count) noexcept {
    for (; count >= 2; count -= 2) {
        copyPair(to + count - 2, from + count - 2);
    }
    if (count != 0) {
        to[0] = from[0];
    }
}

}  // namespace

constinit std::array<U64, 64> const IndexBlock::covering_ = coveringPlaces();
constinit std::array<U8, 128> const BitRanks::ones_ = onesOf();

/** Makes room for `gap` words before the word `at` of `before`; the bits become those given. */
void IndexBlock::openGap(U32 at, U32 gap, U32 before, Bits after) {
    U32 const words = before + gap;
    if (words > 1) {
        bool const wasInside = before <= 1;
        U64* const old = wasInside ? &word_ : storage();
        if (!wasInside && pieceWords(before) == pieceWords(words)) {
            copyBackwards(old + at + gap, old + at, before - at);
        } else {
            U64* const piece = allocatedWords(pieceBytes(words));
            copyForwards(piece, old, at);
            copyForwards(piece + at + gap, old + at, before - at);
            if (!wasInside) {
                releaseWords(old, pieceBytes(before));
            }
            word_ = reinterpret_cast<U64>(piece);
        }
    }
    bits_ = after;
}

/** Takes `gap` words of `before` away, from the word `at` on; the bits become those given. */
void IndexBlock::closeGap(U32 at, U32 gap, U32 before, Bits after) {
    U32 const words = before - gap;
    if (before > 1) {
        U64* const old = storage();
        if (words > 1 && pieceWords(before) == pieceWords(words)) {
            copyForwards(old + at, old + at + gap, words - at);
        } else {
            U64 lone = 0;
            U64* const piece = words > 1 ? allocatedWords(pieceBytes(words)) : &lone;
            copyForwards(piece, old, at);
            copyForwards(piece + at, old + at + gap, words - at);
            releaseWords(old, pieceBytes(before));
            word_ = words > 1 ? reinterpret_cast<U64>(piece) : lone;
        }
    }
    bits_ = after;
}

void IndexBlock::nodeIs(U32 place, Node* node) {
    BitRanks const ranks(places());
    U32 const first = firstNode();
    U32 const at = first + ranks.below(place);
    openGap(at, 1, first + ranks.total(), {bits_.places | U64{1} << place, bits_.blocks});
    (inside() ? &word_ : storage())[at] = reinterpret_cast<U64>(node);
}

/** Enters all of `more` into a block that is empty. */
void IndexBlock::fill(MoreOfBlock const& more) {
    Bits const after{more.places, more.blocks};
    if (more.blocks == 0 && (more.places & (more.places - 1)) == 0) {
        word_ = reinterpret_cast<U64>(more.nodes[highest(more.places)]);
        bits_ = after;
        return;
    }
    U32 const blockCount = more.blocks == 0 ? 0 : count(more.blocks);
    U64* to = allocatedWords(pieceBytes(blockWords * blockCount + count(more.places)));
    word_ = reinterpret_cast<U64>(to);
    for (U64 left = more.blocks; left != 0; left &= left - 1, to += blockWords) {
        std::memcpy(to, &more.below[static_cast<U32>(std::countr_zero(left))], sizeof(IndexBlock));
    }
    for (U64 left = more.places; left != 0; left &= left - 1) {
        *to++ = reinterpret_cast<U64>(more.nodes[static_cast<U32>(std::countr_zero(left))]);
    }
    bits_ = after;
}

void IndexBlock::moreIs(MoreOfBlock const& more) {
    if (empty()) {
        fill(more);
        return;
    }
    U64 const places = this->places() | more.places;
    U64 const blocks = bits_.blocks | more.blocks;
    bool const wasInside = inside();
    U32 const before = wordCount();
    U32 const blockCount = blocks == 0 ? 0 : count(blocks);
    U32 const after = firstBlock() + blockWords * blockCount + count(places);
    U64* const old = wasInside ? &word_ : storage();
    bool const moves = wasInside || pieceWords(before) != pieceWords(after);
    U64* const piece = moves ? allocatedWords(pieceBytes(after)) : old;
    // From the end: what stays in its piece moves to higher addresses.
    U32 from = before;
    U32 to = after;
    for (U64 left = places; left != 0 && from != to; --to) {
        U32 const place = highest(left);
        left &= ~(U64{1} << place);
        piece[to - 1] =
            has(more.places, place) ? reinterpret_cast<U64>(more.nodes[place]) : old[--from];
    }
    for (U64 left = blocks; left != 0 && from != to;) {
        U32 const slice = highest(left);
        left &= ~(U64{1} << slice);
        to -= blockWords;
        if (has(more.blocks, slice)) {
            std::memcpy(piece + to, &more.below[slice], sizeof(IndexBlock));
        } else {
            from -= blockWords;
            std::memcpy(piece + to, old + from, sizeof(IndexBlock));
        }
    }
    if (moves) {
        copyForwards(piece, old, from);
        if (!wasInside) {
            releaseWords(old, pieceBytes(before));
        }
        word_ = reinterpret_cast<U64>(piece);
    }
    bits_ = {bits_.places | more.places, blocks};
}

void IndexBlock::nodeDel(U32 place) {
    if ((bits_.places & hasMarks) != 0) {
        markIs(place, false);
    }
    BitRanks const ranks(places());
    U32 const first = firstNode();
    closeGap(first + ranks.below(place), 1, first + ranks.total(),
             {bits_.places & ~(U64{1} << place), bits_.blocks});
}

void IndexBlock::markIs(U32 place, bool marked) {
    U64 const before = marks();
    U64 const after = marked ? before | U64{1} << place : before & ~(U64{1} << place);
    if (before == after) {
        return;
    }
    if (after == 0) {
        closeGap(0, 1, wordCount(), {bits_.places & ~hasMarks, bits_.blocks});
        return;
    }
    if (before == 0) {
        openGap(0, 1, wordCount(), {bits_.places | hasMarks, bits_.blocks});
    }
    storage()[0] = after;
}

IndexBlock* IndexBlock::blockIs(U32 slice) {
    U32 const at = firstBlock() + blockWords * countBelow(bits_.blocks, slice);
    openGap(at, blockWords, wordCount(), {bits_.places, bits_.blocks | U64{1} << slice});
    IndexBlock* const made = block(slice);
    *made = IndexBlock();
    return made;
}

void IndexBlock::blockDel(U32 slice) {
    closeGap(firstBlock() + blockWords * countBelow(bits_.blocks, slice), blockWords, wordCount(),
             {bits_.places, bits_.blocks & ~(U64{1} << slice)});
}

void IndexBlock::clear() noexcept {
    if (!inside()) {
        releaseWords(storage(), pieceBytes(wordCount()));
    }
    *this = IndexBlock();
}

}  // namespace LpmTrie
