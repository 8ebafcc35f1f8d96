#pragma once

#include <client/ChipWriter.h>
#include <client/Recut.h>

namespace LpmClient {

/**
 * The covering route of the partition at `root`: the nearest route strictly above it. Takes O(d)
 * time.
 */
std::optional<Route> coverOf(RouteNode const* root);

/**
 * Carries a recut out in the chip, after `recutTrie`. No write changes any address's answer, but
 * for answers that a route that the trie has and the chip has not yet (its node's `bucket` is
 * `noBucket`) is due to give. The nodes' `bucket` follows. On RefusedWrite the caller undoes the
 * writer's change and calls `forgetMoves`.
 */
class RecutChip {
public:
    /** `moved`: the nodes whose label `recutTrie` has changed. All three must outlive it. */
    RecutChip(ChipWriter& writer, Recut const& recut, std::vector<RouteNode*> const& moved);

    /** Writes the chip, once. Throws RefusedWrite, and std::bad_alloc, in the middle of it. */
    void run();
    /** Gives the nodes the buckets back that they were in. */
    void forgetMoves() noexcept;
    /** Routes that are written again into another bucket. */
    U64 moves() const noexcept { return moves_.size(); }

private:
    struct Move {
        RouteNode* node;
        Bucket from;
        Bucket to;
    };

    void land(std::size_t at);
    void fill(NewPiece const& piece);
    void release(std::size_t at);
    void eraseStale(std::size_t at);
    void erase(std::size_t old, std::vector<Move>& moves);
    bool answersElsewhere(NewPiece const& piece) const;
    U32 landedPieceOf(std::size_t old) const;

    ChipWriter& writer_;
    Recut const& recut_;
    std::vector<Move> moves_;
    std::vector<bool> landed_;
    std::vector<bool> released_;
    std::vector<std::vector<Move>> held_;  // by old piece: routes to be erased once it is released
};

}  // namespace LpmClient
