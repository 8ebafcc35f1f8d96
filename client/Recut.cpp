/*
 * Planning a change of the cut. Three questions, each answered from the trie's route counters
 * without a walk over routes:
 *
 *   overlap   how many routes each new piece has in common with each old one. In the region of one
 *             old piece its partition route count at a node tells how many of its routes lie under
 *             that node; taken at the old root and at each new root in the region, differences of
 *             these counts are the overlaps.
 *   matching  which bucket each new piece keeps: the pairs with most routes in common first.
 *   order     nested pieces before those around them. A piece that keeps a bucket takes in its
 *             missing routes beside all that the bucket still holds, so it must wait until that
 * fits under the bound. Where pieces wait for each other in a ring, the one with least to lose gets
 * a fresh bucket instead.
 *
 * A bucket whose old root still answers while it has a nested new piece already keeps everything
 * (`held`): what it holds above the nested piece may be needed for either.
 */

#include <client/Recut.h>

namespace LpmClient {

namespace {

/** The index of the piece rooted at `node`, or noPiece. */
template <class Piece>
U32 indexOf(std::vector<Piece> const& pieces, LpmTrie::Node const* node) {
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (pieces[i].root == node) {
            return static_cast<U32>(i);
        }
    }
    return noPiece;
}

/** The piece around `node`, itself left out with `strictly`. */
template <class Piece>
U32 pieceAround(std::vector<Piece> const& pieces, LpmTrie::Node const* node, bool strictly) {
    LpmTrie::Node const* at = strictly ? node->parent() : node;
    U32 piece = noPiece;
    for (; at != nullptr && piece == noPiece; at = at->parent()) {
        piece = indexOf(pieces, at);
    }
    return piece;
}

/** The old piece to which `node` belongs. */
U32 oldPieceOf(Recut const& recut, LpmTrie::Node const* node) {
    while (!node->partitionNode()) {
        node = node->parent();
    }
    return indexOf(recut.olds, node);
}

class Planner {
public:
    Planner(Cut const& cut, U32 bound, RouteNode const* incoming)
        : bound_(bound), incoming_(incoming) {
        for (RouteNode* const root : cut.oldRoots) {
            recut_.olds.push_back(OldPiece{root, root->partitionId(), 0, noPiece, noPiece});
        }
        for (RouteNode* const root : cut.newRoots) {
            recut_.news.push_back(NewPiece{root, {}, 0, noPiece, noPiece, {}});
            recut_.news.back().overlap.resize(cut.oldRoots.size());
        }
    }

    Recut plan() {
        findOverlaps();
        match();
        findOrder();
        for (NewPiece& piece : recut_.news) {
            U32 const kept = piece.from == noPiece ? 0 : piece.overlap[piece.from];
            recut_.moves += piece.routes - kept;
            recut_.freshBuckets += piece.from == noPiece ? 1U : 0U;
            if (piece.from != noPiece) {
                recut_.olds[piece.from].keptFor = indexOf(recut_.news, piece.root);
                piece.id = recut_.olds[piece.from].id;
            }
        }
        return std::move(recut_);
    }

private:
    void findOverlaps() {
        for (OldPiece& old : recut_.olds) {
            old.around = pieceAround(recut_.news, old.root, false);
        }
        for (std::size_t i = 0; i < recut_.olds.size(); ++i) {
            OldPiece const& old = recut_.olds[i];
            recut_.news[old.around].overlap[i] += old.root->partitionRouteCount();
        }
        for (NewPiece& piece : recut_.news) {
            piece.above = pieceAround(recut_.news, piece.root, true);
            U32 const old = oldPieceOf(recut_, piece.root);
            if (recut_.olds[old].root == piece.root) {
                continue;
            }
            // These routes have been counted for the piece around this one.
            U32 const routes = piece.root->partitionRouteCount();
            piece.overlap[old] += routes;
            recut_.news[piece.above].overlap[old] -= routes;
        }
        if (incoming_ != nullptr) {
            U32 const piece = pieceAround(recut_.news, incoming_, false);
            --recut_.news[piece].overlap[oldPieceOf(recut_, incoming_)];
        }
        for (NewPiece& piece : recut_.news) {
            for (std::size_t i = 0; i < recut_.olds.size(); ++i) {
                piece.routes += piece.overlap[i];
                recut_.olds[i].routes += piece.overlap[i];
            }
        }
    }

    void match() {
        struct Pair {
            U32 overlap;
            U32 piece;
            U32 old;
        };
        std::vector<Pair> pairs;
        for (std::size_t piece = 0; piece < recut_.news.size(); ++piece) {
            for (std::size_t old = 0; old < recut_.olds.size(); ++old) {
                U32 const overlap = recut_.news[piece].overlap[old];
                if (overlap != 0 || recut_.news[piece].root == recut_.olds[old].root) {
                    pairs.push_back({overlap, static_cast<U32>(piece), static_cast<U32>(old)});
                }
            }
        }
        std::stable_sort(pairs.begin(), pairs.end(),
                         [](Pair const& a, Pair const& b) { return a.overlap > b.overlap; });
        std::vector<bool> kept(recut_.olds.size());
        for (Pair const& pair : pairs) {
            NewPiece& piece = recut_.news[pair.piece];
            if (piece.from == noPiece && !kept[pair.old]) {
                piece.from = pair.old;
                kept[pair.old] = true;
            }
        }
    }

    void findOrder() {
        load_.clear();
        for (OldPiece const& old : recut_.olds) {
            load_.push_back(old.routes);
        }
        owed_.assign(recut_.olds.size(), 0);
        released_.assign(recut_.olds.size(), false);
        landed_.assign(recut_.news.size(), false);
        while (recut_.order.size() < recut_.news.size()) {
            land(next());
        }
    }

    bool ready(std::size_t piece) const {
        if (landed_[piece]) {
            return false;
        }
        for (std::size_t i = 0; i < recut_.news.size(); ++i) {
            if (recut_.news[i].above == piece && !landed_[i]) {
                return false;
            }
        }
        return true;
    }

    /** A ready piece whose bucket has room for it, if need be by a fresh one. */
    std::size_t next() {
        std::size_t cheapest = recut_.news.size();
        U32 price = 0;
        for (std::size_t i = recut_.news.size(); i-- > 0;) {
            NewPiece const& piece = recut_.news[i];
            if (!ready(i)) {
                continue;
            }
            U32 const kept = piece.from == noPiece ? 0 : piece.overlap[piece.from];
            if (piece.from == noPiece || load_[piece.from] + piece.routes - kept <= bound_) {
                return i;
            }
            if (cheapest == recut_.news.size() || kept < price) {
                cheapest = i;
                price = kept;
            }
        }
        recut_.news[cheapest].from = noPiece;
        return cheapest;
    }

    bool held(std::size_t old) const {
        if (released_[old]) {
            return false;
        }
        for (std::size_t i = 0; i < recut_.news.size(); ++i) {
            if (landed_[i] && recut_.news[i].from == old) {
                return true;
            }
        }
        return false;
    }

    void land(std::size_t at) {
        NewPiece const& piece = recut_.news[at];
        landed_[at] = true;
        recut_.order.push_back(static_cast<U32>(at));
        if (piece.from != noPiece) {
            load_[piece.from] += piece.routes - piece.overlap[piece.from];
        }
        for (std::size_t old = 0; old < recut_.olds.size(); ++old) {
            if (recut_.olds[old].around == at) {
                released_[old] = true;
                load_[old] -= owed_[old];
                owed_[old] = 0;
            }
        }
        for (std::size_t old = 0; old < recut_.olds.size(); ++old) {
            if (old == piece.from) {
                continue;
            }
            if (held(old)) {
                owed_[old] += piece.overlap[old];
            } else {
                load_[old] -= piece.overlap[old];
            }
        }
    }

    U32 const bound_;
    RouteNode const* const incoming_;
    Recut recut_;
    std::vector<U32> load_;  // routes in each old bucket
    std::vector<U32> owed_;  // those of them that are to be erased once it is not held any more
    std::vector<bool> released_;
    std::vector<bool> landed_;
};

}  // namespace

Recut planRecut(Cut const& cut, U32 bucketRoutes, RouteNode const* incoming) {
    return Planner(cut, bucketRoutes, incoming).plan();
}

}  // namespace LpmClient
