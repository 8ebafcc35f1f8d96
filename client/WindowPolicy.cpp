#include <client/WindowPolicy.h>

#include <algorithm>
#include <cmath>

namespace LpmClient {

namespace {

constexpr U32 never = ~U32{0};

/** Subtrees below this part of a bucket are not cut. */
constexpr U32 grainsPerBucket = 32;

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

}  // namespace

/** Routes that come in order of address fill buckets behind them that will not grow any more. */
void WindowPolicy::noteArrival(RouteNode const* incoming) {
    Nimbal::IpGenPrefix const& prefix = incoming->prefixRef()->prefix();
    if (prefix == last_) {
        return;  // an update that is tried again
    }
    ascending_ -= ascending_ / 16;
    ascending_ += prefix > last_ ? 64U : 0U;
    last_ = prefix;
}

std::optional<Cut> WindowPolicy::makeRoom(ClientTrie& /*trie*/, RouteNode* root,
                                          RouteNode* incoming, Room const& room) {
    noteArrival(incoming);
    bool const inOrder = ascending_ > 900 || ascending_ < 64;
    U32 const slack =
        inOrder ? 0 : static_cast<U32>(U64{room.bucketRoutes} * weights_.slack / 1000);
    Aim aim;
    aim.bound = room.bucketRoutes;
    aim.growth = std::min<U32>(room.freshBuckets, 1);
    aim.freshBuckets = room.freshBuckets;
    aim.incoming = incoming;
    aim.balance = inOrder ? 0 : weights_.balance;
    for (U32 const keepFree : {slack, U32{0}}) {
        aim.limit = std::max(room.bucketRoutes - keepFree, U32{1});
        Choice const choice = search(root, aim);
        if (choice.found) {
            return choice.cut;
        }
    }
    return std::nullopt;
}

std::optional<Cut> WindowPolicy::shrink(ClientTrie& /*trie*/, RouteNode* root, Room const& room) {
    U32 const routes = root->partitionRouteCount();
    U32 const step = std::max(room.bucketRoutes / 16, U32{1});
    if (routes % step != 0 || root->parent() == nullptr) {
        return std::nullopt;
    }
    Aim aim;
    aim.bound = room.bucketRoutes;
    aim.limit = std::max(room.bucketRoutes -
                             static_cast<U32>(U64{room.bucketRoutes} * weights_.slack / 1000),
                         U32{1});
    aim.save = true;
    aim.freshBuckets = room.freshBuckets;
    Choice const choice = search(root, aim);
    return choice.found ? std::optional(choice.cut) : std::nullopt;
}

WindowPolicy::Choice WindowPolicy::search(RouteNode* root, Aim const& aim) {
    Choice best = tryWindow({root}, aim);
    std::vector<RouteNode*> roots{root};
    for (U32 pieces = 2; pieces <= weights_.pieces; ++pieces) {
        Choice wider;
        for (RouteNode* const neighbour : neighboursOf(roots)) {
            std::vector<RouteNode*> more = roots;
            more.push_back(neighbour);
            Choice choice = tryWindow(std::move(more), aim);
            if (wider.roots.empty() ||
                (choice.found && (!wider.found || choice.cost < wider.cost))) {
                wider = std::move(choice);
            }
        }
        if (wider.roots.empty()) {
            break;
        }
        roots = wider.roots;
        if (wider.found && (!best.found || wider.cost < best.cost)) {
            best = std::move(wider);
        }
    }
    return best;
}

/** The smallest partitions around a window; the one above it in any case. */
std::vector<RouteNode*> WindowPolicy::neighboursOf(std::vector<RouteNode*> const& roots) const {
    std::vector<RouteNode*> found;
    for (RouteNode* const root : roots) {
        for (RouteNode* const nested : nestedRoots(root)) {
            if (std::find(roots.begin(), roots.end(), nested) == roots.end()) {
                found.push_back(nested);
            }
        }
    }
    std::size_t const most = std::min<std::size_t>(found.size(), weights_.neighbours);
    std::partial_sort(found.begin(), found.begin() + static_cast<std::ptrdiff_t>(most), found.end(),
                      [](RouteNode const* a, RouteNode const* b) {
                          return a->partitionRouteCount() < b->partitionRouteCount();
                      });
    found.resize(most);
    if (LpmTrie::Node* const above = roots.front()->parent(); above != nullptr) {
        found.push_back(partitionRootOf(above));
    }
    return found;
}

WindowPolicy::Choice WindowPolicy::tryWindow(std::vector<RouteNode*> roots, Aim aim) {
    Choice best;
    sortRoots(roots);
    best.roots = roots;
    std::size_t const pieces = roots.size();
    std::size_t const most = aim.save ? pieces - 1 : pieces + aim.growth;
    U64 routes = 0;
    for (RouteNode const* const root : roots) {
        routes += root->partitionRouteCount();
    }
    if (routes > most * aim.limit) {
        return best;
    }
    std::vector<U32> sizes;
    sizes.reserve(pieces);
    for (RouteNode const* const root : roots) {
        sizes.push_back(root->partitionRouteCount());
    }
    aim.worthBefore = worth(sizes, aim);
    Window const window(std::move(roots), std::max(aim.bound / grainsPerBucket, U32{1}), ++mark_);
    for (Attempt const& attempt : attempts) {
        U32 const limit = std::max(part(aim.limit, attempt.limit), U32{1});
        if (cutter_.cut(window, limit, part(aim.bound, attempt.keep), most)) {
            consider(window, aim, best);
        }
    }
    return best;
}

/**
 * Where routes come all over the table, a piece of s routes in a bucket of n fills after it has
 * grown by n / s: by the logarithm of that it puts off the next recut.
 */
double WindowPolicy::worth(std::vector<U32> const& sizes, Aim const& aim) const {
    if (aim.balance == 0) {
        return 0;
    }
    double sum = 0;
    for (U32 const size : sizes) {
        sum += std::log(static_cast<double>(aim.bound) / std::max(size, U32{1}));
    }
    return sum * aim.bound * aim.balance / 100;
}

void WindowPolicy::consider(Window const& window, Aim const& aim, Choice& best) {
    cutter_.judge(window, trial_);
    if (trial_.largest() > aim.limit) {
        return;
    }
    double const bound = aim.bound;
    double const growth =
        static_cast<double>(trial_.sizes.size()) - static_cast<double>(window.roots().size());
    double const price =
        growth * bound * weights_.bucketPrice / 100 - worth(trial_.sizes, aim) + aim.worthBefore;
    auto moves = static_cast<double>(trial_.moves);
    if (best.found && moves + price >= best.cost) {
        return;
    }
    Cut cut{window.roots(), cutter_.roots(window)};
    // Pieces that wait for each other may cost more than what they do not have in common.
    Recut const plan = planRecut(cut, aim.bound, aim.incoming);
    moves = static_cast<double>(plan.moves);
    bool const pays = !aim.save || moves <= -growth * bound * weights_.mergePrice / 100;
    if (pays && plan.freshBuckets <= aim.freshBuckets &&
        (!best.found || moves + price < best.cost)) {
        best.found = true;
        best.cost = moves + price;
        best.cut = std::move(cut);
    }
}

}  // namespace LpmClient
