#pragma once

#include <LpmTrie/LpmTrieNode.h>
#include <Vexo/Prefetch.h>

#include <span>

namespace LpmTrie {

/** Fetches a node's links and counters into the cache; null and broken pointers do no harm. */
inline void prefetchNode(Node const* node) noexcept {
    Vexo::prefetch(node);
    Vexo::prefetch(node, sizeof(Node) / 2);
}

/** Fetches all of a node, which lies in two lines, wherever it begins; a derived one may not. */
inline void prefetchWholeNode(Node const* node) noexcept {
    Vexo::prefetch(node);
    Vexo::prefetch(node, sizeof(Node) - 1);
}

/** Fetches what a climb through the node reads when it has looked at the eye catcher. */
inline void prefetchRestForClimb(Node const* node) noexcept {
    // Neither its begin nor its end: where these lie in other lines, the climb does not need them.
    Vexo::prefetch(node, 4 * sizeof(void*) - 1);
}

/** Fetches all that a climb through the node reads. */
inline void prefetchForClimb(Node const* node) noexcept {
    Vexo::prefetch(node, sizeof(void*));
    prefetchRestForClimb(node);
}

/** How many bits are set below others of one word: the baseline has no instruction for it. */
class BitRanks {
public:
    constexpr explicit BitRanks(U64 bits) noexcept : bits_(bits), upwards_(upwards(bits)) {}
    constexpr U32 total() const noexcept { return static_cast<U32>(upwards_ >> 56); }
    constexpr U32 below(U32 bit) const noexcept {
        U32 const byte = bit & ~U32{7};
        U64 const inByte = bits_ >> byte & ((U64{1} << (bit - byte)) - 1);
        return static_cast<U32>(upwards_ << 8 >> byte & 0xff) + ones_[inByte];
    }

private:
    static constexpr U64 upwards(U64 bits) noexcept {
        bits -= (bits >> 1) & 0x5555555555555555;
        bits = (bits & 0x3333333333333333) + ((bits >> 2) & 0x3333333333333333);
        bits = (bits + (bits >> 4)) & 0x0f0f0f0f0f0f0f0f;
        return bits * 0x0101010101010101;
    }
    static constexpr std::array<U8, 128> onesOf() noexcept {
        std::array<U8, 128> ones{};
        for (U32 bits = 1; bits < ones.size(); ++bits) {
            ones[bits] = static_cast<U8>(ones[bits / 2] + bits % 2);
        }
        return ones;
    }
    static std::array<U8, 128> const ones_;

    U64 bits_;
    U64 upwards_;  // in each byte, how many are set up to the end of that byte
};

struct MoreOfBlock;

/**
 * The nodes whose lengths lie in one stride of six, below one prefix of the stride's first length:
 * at most 63 of them, each with a place of its own. A node that is d bits longer than the stride's
 * beginning, and has the number p in these d bits, has the place 2^d + p; so those that cover an
 * address are one place for each d, and the longest is the highest place.
 *
 *   lengths 16 to 21 below 10.1.0.0/16:   10.1.0.0/16    d 0, p 0      place 1
 *                                         10.1.128.0/17  d 1, p 1      place 3
 *                                         10.1.96.0/19   d 3, p 3      place 11
 *
 * Bits tell which places are taken and which of the 64 blocks of the next stride are there. What
 * stands behind them is packed in one piece of storage: the word of marked places, when there are
 * any, the blocks, the nodes, each in order. A piece of one word is kept in the block itself, so a
 * lone node costs nothing more. A block is moved by copying its bytes.
 */
class IndexBlock {
public:
    static constexpr U32 stride = 6;

    /** The places that cover an address whose bits in the stride are `slice`. */
    static U64 covering(U32 slice) noexcept { return covering_[slice]; }
    /** The places of nodes at most `depth` bits longer than the stride's beginning. */
    static constexpr U64 upTo(U32 depth) noexcept {
        return depth >= stride - 1 ? ~U64{0} : (U64{1} << (U32{2} << depth)) - 1;
    }
    static constexpr U32 highest(U64 places) noexcept {
        return 63 - static_cast<U32>(std::countl_zero(places));
    }

    static constexpr U32 count(U64 bits) noexcept { return BitRanks(bits).total(); }

    U64 places() const noexcept { return bits_.places & ~hasMarks; }
    U64 marks() const noexcept { return (bits_.places & hasMarks) != 0 ? storage()[0] : 0; }
    bool empty() const noexcept { return bits_.places == 0 && bits_.blocks == 0; }

    /** Which blocks of the next stride are there, a bit for each. */
    U64 blocks() const noexcept { return bits_.blocks; }
    /** The nodes at places that are taken, for several looks at them. */
    class Nodes {
    public:
        Nodes() = default;
        explicit Nodes(IndexBlock const& block) noexcept
            : ranks_(block.places()), first_(block.words() + block.firstNode()) {}
        Node* operator[](U32 place) const noexcept {
            return reinterpret_cast<Node*>(first_[ranks_.below(place)]);
        }

    private:
        BitRanks ranks_{0};
        U64 const* first_ = nullptr;
    };
    /** The node at a place that is taken. */
    Node* node(U32 place) const noexcept {
        return reinterpret_cast<Node*>(words()[firstNode() + countBelow(places(), place)]);
    }
    /** Fetches what a look at the nodes has to read. */
    void fetchWords() const noexcept {
        if (!inside()) {
            Vexo::prefetch(storage());
        }
    }
    /** Fetches those of the nodes that are at `places` into the cache, side by side. */
    void fetchNodes(U64 places) const noexcept {
        places &= this->places();
        if (places == 0) {
            return;
        }
        for (Nodes const nodes(*this); places != 0; places &= places - 1) {
            prefetchForClimb(nodes[static_cast<U32>(std::countr_zero(places))]);
        }
    }
    /** Fetches what is read on the way to one slice. */
    void fetchWords(U32 slice) const noexcept {
        if (inside()) {
            return;
        }
        Vexo::prefetch(storage());  // the marks, and the words of a small block
        if (U64 const covering = covering_[slice] & places(); covering != 0) {
            Vexo::prefetch(storage() + firstNode() + countBelow(places(), highest(covering)));
        }
        if ((blocks() >> slice & 1) != 0) {
            Vexo::prefetch(block(slice));
        }
    }
    /** The next stride's blocks, in order. */
    std::span<IndexBlock const> below() const noexcept {
        auto const* const first = reinterpret_cast<IndexBlock const*>(storage() + firstBlock());
        return {first, blocks() == 0 ? 0 : count(blocks())};
    }
    /** The next stride's block that is there. */
    IndexBlock* block(U32 slice) const noexcept {
        // Blocks never fit into the block itself.
        return reinterpret_cast<IndexBlock*>(storage() + firstBlock()) +
               countBelow(bits_.blocks, slice);
    }

    // Changes. Those that may need storage throw std::bad_alloc, and change nothing then.

    /** Enters a node at a place that is free. */
    void nodeIs(U32 place, Node* node);
    /**
     * Enters all of `more`, which is something: nodes at places that are free, and blocks that are
     * not there yet.
     */
    void moreIs(MoreOfBlock const& more);
    void nodeDel(U32 place);
    void markIs(U32 place, bool marked);
    /** Makes an empty block that is not there yet. */
    IndexBlock* blockIs(U32 slice);
    void blockDel(U32 slice);
    /** Gives the storage back and forgets all; the blocks below must have been cleared. */
    void clear() noexcept;

private:
    static constexpr U64 hasMarks = 1;  // place 0 does not exist
    static constexpr U32 blockWords = 3;

    static constexpr std::array<U64, 64> coveringPlaces() noexcept {
        std::array<U64, 64> places{};
        for (U32 slice = 0; slice < 64; ++slice) {
            for (U32 place = (64 + slice) / 2; place != 0; place /= 2) {
                places[slice] |= U64{1} << place;
            }
        }
        return places;
    }
    static std::array<U64, 64> const covering_;

    static constexpr U32 countBelow(U64 bits, U32 bit) noexcept {
        return count(bits & ((U64{1} << bit) - 1));
    }

    struct Bits {
        U64 places = 0;
        U64 blocks = 0;
    };

    U32 firstBlock() const noexcept { return static_cast<U32>(bits_.places & hasMarks); }
    U32 firstNode() const noexcept {
        return firstBlock() + (bits_.blocks == 0 ? 0 : blockWords * count(bits_.blocks));
    }
    U32 wordCount() const noexcept { return firstNode() + count(places()); }
    /** At most one word, which is a node then: marks come only beside a node. */
    bool inside() const noexcept {
        return bits_.blocks == 0 && (bits_.places & (bits_.places - 1)) == 0;
    }
    U64* storage() const noexcept { return reinterpret_cast<U64*>(word_); }
    U64 const* words() const noexcept { return inside() ? &word_ : storage(); }
    void fill(MoreOfBlock const& more);
    void openGap(U32 at, U32 gap, U32 before, Bits after);
    void closeGap(U32 at, U32 gap, U32 before, Bits after);

    Bits bits_;
    U64 word_ = 0;  // the piece of storage, or the one word that it would hold
};
static_assert(sizeof(IndexBlock) == 24);

/** What is to be entered into a block: nodes under their places, blocks under their slices. */
struct MoreOfBlock {
    U64 places = 0;
    U64 blocks = 0;
    std::array<Node*, 64> nodes{};
    std::array<IndexBlock, 64> below{};
};

}  // namespace LpmTrie
