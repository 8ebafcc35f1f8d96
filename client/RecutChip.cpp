/*
 * A recut in the chip: make before break.
 *
 * New pieces become valid (`land`) in the planned order, nested ones first. For each:
 *
 *   1. its bucket, allocated if it is a fresh one, gets the routes that it lacks, the longest
 * first;
 *   2. then its covering route;
 *   3. then its root is bound to it, in one write if another bucket was bound there;
 *   4. old roots inside the piece are unbound, the highest first: what they answered, the piece
 *      answers, and an old root further down keeps answering until its own turn;
 *   5. the piece's routes are erased from the other buckets that stay, the shortest first.
 *
 * Why no answer changes. All that stands in any bucket are routes of the table, so a bucket that
 * still holds all routes of its own region may hold any others: a longer match than the right one
 * does not exist, and a route shorter than the right one never decides. Where the right answer is
 * the covering route, routes that cover the whole partition could shadow it: they are written the
 * longest first, and erased the shortest first, so that the one that decides is the covering route
 * itself.
 *
 * A bucket may answer for two roots for a while: a nested new piece has landed in it and its old
 * root above still waits for its own piece. Then it keeps the old covering route and everything it
 * holds (`held_`): addresses under the nested piece find what covers them among the routes. Once
 * the old root is released, the covering route is written and what is stale erased.
 */

#include <client/RecutChip.h>

#include <algorithm>

namespace LpmClient {

std::optional<Route> coverOf(RouteNode const* root) {
    RouteNode const* const above = nearestRouteAbove(root);
    return above != nullptr ? std::optional(routeAt(above)) : std::nullopt;
}

RecutChip::RecutChip(ChipWriter& writer, Recut const& recut, std::vector<RouteNode*> const& moved)
    : writer_(writer),
      recut_(recut),
      landed_(recut.news.size()),
      released_(recut.olds.size()),
      held_(recut.olds.size()) {
    moves_.reserve(moved.size());
    for (RouteNode* const node : moved) {
        Bucket const to = bucketOf(node);
        if (node->bucket != noBucket && node->bucket != to) {
            moves_.push_back({node, node->bucket, to});
            node->bucket = to;  // a route that is told twice is one move
        }
    }
    std::sort(moves_.begin(), moves_.end(), [](Move const& a, Move const& b) {
        U32 const aLen = a.node->len();
        U32 const bLen = b.node->len();
        return aLen != bLen ? aLen > bLen
                            : a.node->prefixRef()->prefix() < b.node->prefixRef()->prefix();
    });
}

void RecutChip::forgetMoves() noexcept {
    for (Move const& move : moves_) {
        move.node->bucket = move.from;
    }
}

void RecutChip::run() {
    for (U32 const at : recut_.order) {
        land(at);
    }
    for (OldPiece const& old : recut_.olds) {
        if (old.keptFor == noPiece) {
            writer_.freeLater(old.id);
        }
    }
}

void RecutChip::land(std::size_t at) {
    NewPiece const& piece = recut_.news[at];
    fill(piece);
    if (!answersElsewhere(piece)) {
        writer_.writeCover(bucketOf(piece.root), coverOf(piece.root));
    }
    writer_.bind(piece.root->prefixRef()->prefix(), bucketOf(piece.root));
    landed_[at] = true;
    release(at);
    eraseStale(at);
}

/** Whether the piece's bucket answers for its old root too, which lies above and outside of it. */
bool RecutChip::answersElsewhere(NewPiece const& piece) const {
    return piece.from != noPiece && !released_[piece.from] &&
           &recut_.news[recut_.olds[piece.from].around] != &piece;
}

void RecutChip::fill(NewPiece const& piece) {
    if (piece.from == noPiece) {
        writer_.allocate(piece.id);
    }
    Bucket const bucket = bucketOf(piece.root);
    for (Move const& move : moves_) {
        if (move.to == bucket) {
            writer_.writeRoute(bucket, routeAt(move.node));
        }
    }
}

/** Old roots inside the piece stop answering. */
void RecutChip::release(std::size_t at) {
    RouteNode const* const newRoot = recut_.news[at].root;
    for (std::size_t old = 0; old < recut_.olds.size(); ++old) {
        OldPiece const& piece = recut_.olds[old];
        if (piece.around != at) {
            continue;
        }
        if (piece.root != newRoot) {
            writer_.unbind(piece.root->prefixRef()->prefix());
        }
        released_[old] = true;
        U32 const tenant = landedPieceOf(old);
        if (tenant != noPiece) {
            writer_.writeCover(piece.id->id().value(), coverOf(recut_.news[tenant].root));
        }
    }
}

/** The new piece that has landed in an old piece's bucket. */
U32 RecutChip::landedPieceOf(std::size_t old) const {
    U32 const piece = recut_.olds[old].keptFor;
    return piece != noPiece && landed_[piece] ? piece : noPiece;
}

/**
 * The piece's routes leave the other buckets, those that answer for two roots later on: with what
 * has been held there, since the shortest of all go first.
 */
void RecutChip::eraseStale(std::size_t at) {
    Bucket const to = recut_.news[at].id->id().value();
    for (std::size_t old = 0; old < recut_.olds.size(); ++old) {
        OldPiece const& piece = recut_.olds[old];
        if (piece.keptFor == noPiece || piece.keptFor == at) {
            continue;  // to be freed as a whole, or the piece's own
        }
        for (Move const& move : moves_) {
            if (move.to == to && move.from == piece.id->id().value()) {
                held_[old].push_back(move);
            }
        }
        if (released_[old] || landedPieceOf(old) == noPiece) {
            erase(old, held_[old]);
        }
    }
}

void RecutChip::erase(std::size_t old, std::vector<Move>& moves) {
    std::sort(moves.begin(), moves.end(),
              [](Move const& a, Move const& b) { return a.node->len() < b.node->len(); });
    for (Move const& move : moves) {
        writer_.eraseRoute(recut_.olds[old].id->id().value(), routeAt(move.node));
    }
    moves.clear();
}

}  // namespace LpmClient
