/*
 * In a block, places have ranks in the order of a walk: that of the complete tree that they form.
 * What a block of the next stride holds comes right after the node of the last length, if there is
 * one, in whose half it lies, and after the blocks before it:
 *
 *   length 6 of 6 in the stride    place 32                place 33
 *   next stride                    block 0    block 1      block 2    block 3
 *
 * A level is cut down to the nodes and blocks that are there only when the run comes to it: after a
 * start in the middle, most of those above may never be used.
 */

#include <LpmTrie/IndexPath.h>
#include <LpmTrie/IndexWalk.h>

namespace LpmTrie {

namespace {

constexpr U32 wordsAhead = 4;  // blocks whose words are fetched before they are come to
constexpr U32 placeCount = 64;

struct Order {
    std::array<U8, placeCount> rank{};   // of a place
    std::array<U8, placeCount> place{};  // of a rank
};

constexpr Order walkOrder() noexcept {
    Order order;
    U32 place = 1;
    for (U8 rank = 0; rank < placeCount - 1; ++rank) {
        order.rank[place] = rank;
        order.place[rank] = static_cast<U8>(place);
        if (place < placeCount / 2) {
            place *= 2;
            continue;
        }
        while (place % 2 == 1) {
            place /= 2;
        }
        ++place;
    }
    return order;
}

constexpr Order order = walkOrder();

constexpr U64 upTo(U32 bit) noexcept {
    return (U64{2} << bit) - 1;
}

/** The rank of the last node that can come before the block for `slice`. */
constexpr U32 rankBefore(U32 slice) noexcept {
    return order.rank[placeCount / 2 + slice / 2];
}

U64 inOrder(U64 places) noexcept {
    U64 ranks = 0;
    for (; places != 0; places &= places - 1) {
        ranks |= U64{1} << order.rank[static_cast<U32>(std::countr_zero(places))];
    }
    return ranks;
}

}  // namespace

void IndexWalk::startAfter(U64 head, std::array<IndexBlock*, levels> const& blocks, U32 depth,
                           U32 place) noexcept {
    count_ = 0;
    level_ = depth;
    ready_ = 0;
    for (U32 above = 0; above < depth; ++above) {
        U32 const slice = Detail::sliceOf(head, above);
        levels_[above].open(blocks[above], ~upTo(rankBefore(slice)), ~upTo(slice));
    }
    U32 const firstSlice = place << (IndexBlock::stride - IndexBlock::highest(U64{place}));
    levels_[depth].open(blocks[depth], ~upTo(order.rank[place]),
                        ~U64{0} << (firstSlice % placeCount));
}

void IndexWalk::enter(Level& level) noexcept {
    IndexBlock const& block = *level.block;
    level.entered = true;
    level.nodes &= inOrder(block.places());
    level.nodeAt = IndexBlock::Nodes(block);
    if (block.blocks() == 0) {
        level.blocks = 0;
        return;
    }
    level.blocks &= block.blocks();
    auto const below = block.below();
    level.end = below.data() + below.size();
    level.below = level.end - IndexBlock::count(level.blocks);
    for (U32 i = 0; i < wordsAhead && i < below.size(); ++i) {
        below[i].fetchWords();
    }
}

/** Goes to where nodes are that come next. False at the end. */
bool IndexWalk::advance() noexcept {
    for (;;) {
        Level& level = levels_[level_];
        if (!level.entered) {
            enter(level);
        }
        ready_ = level.nodes;
        if (level.blocks != 0) {
            ready_ &= upTo(rankBefore(static_cast<U32>(std::countr_zero(level.blocks))));
        }
        if (ready_ != 0) {
            level.nodes ^= ready_;
            return true;
        }
        if (level.blocks != 0) {
            level.blocks &= level.blocks - 1;
            IndexBlock const* const below = level.below++;
            if (level.end - below > std::ptrdiff_t{wordsAhead}) {
                below[wordsAhead].fetchWords();
            }
            levels_[++level_].open(below, ~U64{0}, ~U64{0});
        } else if (level_ != 0) {
            --level_;
        } else {
            return false;
        }
    }
}

void IndexWalk::run() noexcept {
    // Two a step: a walk that soon goes elsewhere has not had much fetched in vain.
    for (U32 i = 0; i < 2 && count_ < most; ++i) {
        if (ready_ == 0 && !advance()) {
            return;
        }
        U32 const place = order.place[static_cast<U32>(std::countr_zero(ready_))];
        ready_ &= ready_ - 1;
        Node const* const node = levels_[level_].nodeAt[place];
        prefetchNode(node);
        fetched_[(first_ + count_++) % most] = node;
    }
}

}  // namespace LpmTrie
