#include <LpmTrie/IndexBlock.h>
#include <LpmTrie/Module.h>
#include <Vexo/SlabStorage.h>

namespace LpmTrie {

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

/** To lower addresses, or into other storage. Pieces are short: a call would cost more. */
void copyForwards(U64* to, U64 const* from, U32 count) noexcept {
    for (U32 i = 0; i < count; ++i) {
        to[i] = from[i];
    }
}

/** To higher addresses. */
void copyBackwards(U64* to, U64 const* from, U32 count) noexcept {
    while (count-- > 0) {
        to[count] = from[count];
    }
}

}  // namespace

constinit std::array<U64, 64> const IndexBlock::covering_ = coveringPlaces();

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
    Bits const after{bits_.places | U64{1} << place, bits_.blocks};
    if (empty()) {
        bits_ = after;
        word_ = reinterpret_cast<U64>(node);
        return;
    }
    U32 const first = firstNode();
    U32 const at = first + countBelow(places(), place);
    openGap(at, 1, first + count(places()), after);
    storage()[at] = reinterpret_cast<U64>(node);
}

void IndexBlock::nodeDel(U32 place) {
    markIs(place, false);
    U32 const first = firstNode();
    closeGap(first + countBelow(places(), place), 1, first + count(places()),
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
