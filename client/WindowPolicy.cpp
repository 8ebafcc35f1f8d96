#include <client/WindowPolicy.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace LpmClient {

namespace {

constexpr U32 never = ~U32{0};

/**
 * Subtrees below this part of a bucket are not looked at: a piece is cut off where more than its
 * limit comes together from two branches, so it has about half of that at least.
 */
constexpr U32 grainsPerBucket = 4;

/** Routes that come in address order fill buckets behind them that will not grow any more. */
constexpr Effort inOrder{3, 0};
/** So what counts is room in front of them, and full buckets are welcome. */
constexpr WindowPrices pricesInOrder{85, 160, 0};

/** A cut that is tried. */
struct Attempt {
    U32 limit;  // routes of a piece, in hundredths of the highest limit
    U32 keep;   // present roots with so many routes stay roots, in hundredths of the bound
};

/** Of a wider field of 21 limits and thresholds these had won all but some of a hundred recuts. */
constexpr std::array<Attempt, 4> attempts{{{100, never}, {100, 50}, {95, never}, {90, never}}};

U32 part(U32 whole, U32 hundredths) {
    return hundredths == never ? never : static_cast<U32>(U64{whole} * hundredths / 100);
}

U32 limitOf(Room const& room, U32 slack) {
    U64 const keptFree = U64{room.bucketRoutes} * std::min(slack, U32{1000}) / 1000;
    return std::max(room.bucketRoutes - static_cast<U32>(keptFree), U32{1});
}

U32 between(U32 from, U32 to, double part) {
    return static_cast<U32>(std::lround(from + (static_cast<double>(to) - from) * part));
}

double eighthPower(double value) {
    double const square = value * value;
    return square * square * square * square;
}

}  // namespace

/** Ample at first; from a part of the allowed moves on it falls, until they are spent. */
Effort WindowPolicy::effort(ClientTrie const& trie, Room const& room) const {
    double const allowed = static_cast<double>(U64{trie.root()->routeCount()} * weights_.budget +
                                               room.withdrawn * weights_.withdrawalBudget) /
                               100 +
                           static_cast<double>(U64{room.bucketRoutes} * weights_.advance);
    if (weights_.budget == 0 || allowed == 0) {
        return weights_.ample;
    }
    double const spent = static_cast<double>(room.moves) / allowed;
    double const ease = weights_.ease / 100.0;
    double const haste = ease < 1    ? std::clamp((spent - ease) / (1 - ease), 0.0, 1.0)
                         : spent < 1 ? 0.0
                                     : 1.0;
    return {between(weights_.ample.pieces, weights_.scarce.pieces, haste),
            between(weights_.ample.slack, weights_.scarce.slack, haste)};
}

std::optional<Cut> WindowPolicy::makeRoom(ClientTrie& trie, RouteNode* root, RouteNode* incoming,
                                          Room const& room) {
    next_ = arrivals_.after(incoming->prefixRef()->prefix());
    bool const ordered = next_.inOrder();
    Effort const effort = ordered ? inOrder : this->effort(trie, room);
    Aim aim;
    aim.trie = &trie;
    aim.bound = room.bucketRoutes;
    aim.pieces = effort.pieces;
    aim.growth = std::min<U32>(room.freshBuckets, 1);
    aim.freshBuckets = room.freshBuckets;
    aim.prices = ordered ? pricesInOrder : weights_.prices;
    aim.incoming = incoming;
    for (U32 const slack : {effort.slack, U32{0}}) {
        aim.limit = limitOf(room, slack);
        Choice const choice = search(root, aim);
        if (choice.found) {
            return choice.cut;
        }
    }
    return std::nullopt;
}

std::optional<Cut> WindowPolicy::shrink(ClientTrie& trie, RouteNode* root, Room const& room) {
    U32 const routes = root->partitionRouteCount();
    U32 const step = std::max(room.bucketRoutes / 16, U32{1});
    if (routes % step != 0 || root->parent() == nullptr) {
        return std::nullopt;
    }
    Effort const effort = this->effort(trie, room);
    Aim aim;
    aim.trie = &trie;
    aim.bound = room.bucketRoutes;
    aim.pieces = effort.pieces;
    aim.limit = limitOf(room, effort.slack);
    aim.save = true;
    aim.prices = weights_.prices;
    aim.freshBuckets = room.freshBuckets;
    Choice const choice = search(root, aim);
    return choice.found ? std::optional(choice.cut) : std::nullopt;
}

/** The cheapest cut of windows that grow from the partition at `root`. */
WindowPolicy::Choice WindowPolicy::search(RouteNode* root, Aim const& aim) {
    Choice best;
    tryWindow({root}, aim, best);
    std::vector<RouteNode*> roots{root};
    std::vector<RouteNode*> nested = nestedRoots(root);
    Aim wideAim = aim;
    wideAim.growth = 0;  // for another bucket the full partition is split alone
    for (U32 pieces = 2; pieces <= aim.pieces; ++pieces) {
        Choice wider = widen(roots, nested, wideAim);
        if (wider.roots.empty()) {
            break;
        }
        // What is nested in the partition that has come are neighbours now.
        auto const hasCome =
            std::find_if(wider.roots.begin(), wider.roots.end(), [&](RouteNode* at) {
                return std::find(roots.begin(), roots.end(), at) == roots.end();
            });
        std::vector<RouteNode*> const more = nestedRoots(*hasCome);
        nested.insert(nested.end(), more.begin(), more.end());
        roots = wider.roots;
        nested.erase(std::remove_if(nested.begin(), nested.end(),
                                    [&](RouteNode* at) {
                                        return std::find(roots.begin(), roots.end(), at) !=
                                               roots.end();
                                    }),
                     nested.end());
        if (wider.found && (!best.found || wider.cost < best.cost)) {
            best = std::move(wider);
            if (weights_.firstFit) {
                break;
            }
        }
    }
    return best;
}

/**
 * The best window of one partition more: one of the smallest that are nested in it, or the one
 * above it. Where none can be cut, the first one. No roots: there is no neighbour.
 */
WindowPolicy::Choice WindowPolicy::widen(std::vector<RouteNode*> const& roots,
                                         std::vector<RouteNode*> const& nested, Aim const& aim) {
    std::vector<RouteNode*> neighbours(std::min<std::size_t>(nested.size(), weights_.neighbours));
    std::partial_sort_copy(nested.begin(), nested.end(), neighbours.begin(), neighbours.end(),
                           [](RouteNode const* a, RouteNode const* b) {
                               return a->partitionRouteCount() < b->partitionRouteCount();
                           });
    if (LpmTrie::Node* const above = roots.front()->parent(); above != nullptr) {
        neighbours.push_back(partitionRootOf(above));
    }
    Choice best;
    for (RouteNode* const neighbour : neighbours) {
        std::vector<RouteNode*> more = roots;
        more.push_back(neighbour);
        sortRoots(more);
        tryWindow(std::move(more), aim, best);
    }
    return best;
}

/** `roots` in pre-order. */
void WindowPolicy::tryWindow(std::vector<RouteNode*> roots, Aim const& aim, Choice& best) {
    if (best.roots.empty()) {
        best.roots = roots;
    }
    std::size_t const pieces = roots.size();
    std::size_t const most = aim.save ? pieces - 1 : pieces + aim.growth;
    U64 routes = 0;
    for (RouteNode const* const root : roots) {
        routes += root->partitionRouteCount();
    }
    if (routes > most * aim.limit) {
        return;
    }
    Window const window(std::move(roots), std::max(aim.bound / grainsPerBucket, U32{1}),
                        aim.trie->nextMark());
    U32 const incoming = aim.incoming != nullptr ? window.itemAround(aim.incoming) : noPiece;
    for (Attempt const& attempt : attempts) {
        U32 const limit = std::max(part(aim.limit, attempt.limit), U32{1});
        if (cutter_.cut(window, limit, part(aim.bound, attempt.keep), most)) {
            consider(window, aim, incoming, best);
        }
    }
}

void WindowPolicy::consider(Window const& window, Aim const& aim, U32 incomingItem, Choice& best) {
    cutter_.judge(window, trial_);
    if (trial_.largest() > aim.limit) {
        return;
    }
    double const price = this->price(window, aim, incomingItem);
    auto moves = static_cast<double>(trial_.moves);
    if (best.found && moves + price >= best.cost) {
        return;
    }
    Cut cut{window.roots(), cutter_.roots(window)};
    // Pieces that wait for each other may cost more than what they do not have in common.
    Recut const plan = planRecut(cut, aim.bound, aim.incoming);
    moves = static_cast<double>(plan.moves);
    double const saved =
        static_cast<double>(window.roots().size()) - static_cast<double>(trial_.sizes.size());
    bool const pays = !aim.save || moves <= saved * aim.bound * weights_.mergePrice / 100;
    if (pays && plan.freshBuckets <= aim.freshBuckets &&
        (!best.found || moves + price < best.cost)) {
        best = {window.roots(), std::move(cut), moves + price, true};
    }
}

/** What the cut judged last costs besides its moves, compared with leaving the window as it is. */
double WindowPolicy::price(Window const& window, Aim const& aim, U32 incomingItem) const {
    double const bound = aim.bound;
    double buckets = 0;
    double crowding = 0;
    for (U32 const size : trial_.sizes) {
        ++buckets;
        crowding += eighthPower(size / bound);
    }
    for (RouteNode const* const root : window.roots()) {
        --buckets;
        crowding -= eighthPower(root->partitionRouteCount() / bound);
    }
    double price = bound * (buckets * aim.prices.bucket + crowding * aim.prices.crowding);
    if (incomingItem != noPiece) {
        price -= (bound - trial_.sizes[cutter_.pieceOf(incomingItem)]) * aim.prices.room;
    }
    return price / 100;
}

}  // namespace LpmClient
