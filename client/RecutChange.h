#pragma once

#include <client/PartitionManager.h>
#include <client/RecutChip.h>

namespace LpmClient {

/** One recut in trie and chip, until it is completed or taken back. */
class PartitionManager::RecutChange {
public:
    /** Changes nothing yet. */
    RecutChange(ClientTrie& trie, ChipWriter& writer, Recut recut)
        : trie_(trie), writer_(writer), recut_(std::move(recut)) {}
    RecutChange(RecutChange const&) = delete;
    RecutChange& operator=(RecutChange const&) = delete;
    /** A change that is not completed is taken back in the trie; the chip's is the writer's. */
    ~RecutChange() {
        if (chip_) {
            chip_->forgetMoves();
        }
        if (inTrie_) {
            revertTrie(trie_, recut_);
        }
    }

    /** Throws RefusedWrite. */
    void run() {
        for (NewPiece const& piece : recut_.news) {
            entering_[piece.root->prefixRef()->prefix()] = piece.root;
        }
        recutTrie(trie_, recut_);
        inTrie_ = true;
        chip_.emplace(writer_, recut_, trie_.moved());
        chip_->run();
    }
    /** Once the writer has committed. */
    void complete() {
        chip_.reset();
        inTrie_ = false;
        trie_.clearMoved();
        completeRecut(trie_, recut_);
    }
    /** Routes that were written again into another bucket; after `run`, before `complete`. */
    U64 moves() const noexcept { return chip_->moves(); }
    /** The roots of the new pieces, ready to be merged into the books without a failure. */
    Roots& entering() noexcept { return entering_; }
    /** The plan. */
    Recut const& recut() const noexcept { return recut_; }

private:
    ClientTrie& trie_;
    ChipWriter& writer_;
    Recut recut_;
    Roots entering_;
    bool inTrie_ = false;
    std::optional<RecutChip> chip_;
};

}  // namespace LpmClient
