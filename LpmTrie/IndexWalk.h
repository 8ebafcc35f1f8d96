#pragma once

/* Private to this folder's sources. */

#include <LpmTrie/IndexBlock.h>

#include <array>

namespace LpmTrie {

/**
 * Runs through the index in the order of a walk, some nodes ahead of it, and fetches each node that
 * it comes to: the walk itself learns of a node only from the one before, the index without
 * touching either. It must start anew when a block has changed.
 */
class IndexWalk {
public:
    /** The most blocks that are on the way to a node. */
    static constexpr U32 levels = 11;

    /**
     * The walk is at the node at `place` of the last of the `depth` + 1 blocks along `head`.
     */
    void startAfter(U64 head, std::array<IndexBlock*, levels> const& blocks, U32 depth,
                    U32 place) noexcept;
    /** Forgets where it is. */
    void stop() noexcept {
        count_ = 0;
        level_ = 0;
        ready_ = 0;
        levels_[0] = Level();
    }
    /** The walk steps to `node`. False when that is none of those fetched. */
    bool stepsTo(Node const* node) noexcept {
        for (U32 i = 0; i < count_; ++i) {
            if (fetched_[(first_ + i) % most] == node) {
                first_ += i + 1;
                count_ -= i + 1;
                return true;
            }
        }
        return false;
    }
    /** Fetches what comes next, up to the lead that is kept. */
    void run() noexcept;

private:
    static constexpr U32 most = 16;

    /** A block on the way to where the run has come, and what is left to do in it. */
    struct Level {
        /** In the block, all that is in these sets. */
        void open(IndexBlock const* of, U64 nodesLeft, U64 blocksLeft) noexcept {
            block = of;
            nodes = nodesLeft;
            blocks = blocksLeft;
            entered = false;
        }

        IndexBlock const* block = nullptr;
        U64 nodes = 0;  // bits in the order of a walk
        U64 blocks = 0;
        bool entered = true;  // else the two are still to be cut down to what is there
        // Not set before that.
        IndexBlock::Nodes nodeAt;
        IndexBlock const* below = nullptr;  // the next one to go down to
        IndexBlock const* end = nullptr;    // behind the blocks below
    };

    static void enter(Level& level) noexcept;
    bool advance() noexcept;

    std::array<Level, levels> levels_{};
    U32 level_ = 0;
    U64 ready_ = 0;  // nodes of the level that come before all else
    U32 first_ = 0;
    U32 count_ = 0;
    std::array<Node const*, most> fetched_{};
};

}  // namespace LpmTrie
