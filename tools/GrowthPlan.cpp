#include <tools/GrowthPlan.h>

#include <tools/Xoshiro.h>

#include <algorithm>
#include <numeric>

// Sizes other than the measured one come about in three ways.
//
// Fewer routes. The routes that no other covers shrink in number, and each keeps the more specific
// ones that a measured route has. Fewer of them fill the space less, so at each length there are
// between s*U blocks (as crowded as ever; s is the ratio of sizes, U the measured blocks outside of
// any route) and s*M (every one alone; M is the measured uncovered routes still to come). The
// blocks that s*M routes fall into are taken to be s*M*U / (U + s*(M - U)): U for s = 1, and s*M
// for small s.
//
// More routes, as long as there are blocks to start from: a table wider in proportion. IPv6 grows
// fiftyfold that way. IPv4 is in use from end to end.
//
// More routes still: the odds of each block for two occupied halves against one rise by a common
// factor, until the table has its size.
//
// All arithmetic is on whole numbers, for the same result everywhere. Shares have 30 fraction bits,
// factors and expected numbers of blocks 16.

namespace LpmTools {

namespace {

using Shares = std::array<U64, outcomes>;

constexpr U64 wholeShare = U64{1} << 30;
constexpr U64 wholeFactor = U64{1} << 16;
constexpr U64 noTilt = U64{1} << 12;

/** `part` of `whole` as a share; 0 for an empty whole. */
U64 share(U64 part, U64 whole) {
    while (whole >= (U64{1} << 34)) {
        part >>= 1;
        whole >>= 1;
    }
    return whole == 0 ? 0 : (part << 30) / whole;
}

/** The share, but not more than the whole. */
U64 scaled(U64 part, U64 factor) {
    return std::min(wholeShare, (part * factor) >> 16);
}

/** Factors on the shares of uncovered blocks that are a route; of the others, that divide. */
struct Factors {
    U64 route = wholeFactor;
    U64 bothHalves = wholeFactor;
};

using Counts = std::array<U64, outcomes>;

/** The measured outcomes of a state; of all states where the measured table has no such block. */
Counts countsOf(LevelCounts const& level, std::size_t state) {
    Counts counts{};
    Counts all{};
    for (std::size_t i = 0; i < level.size(); ++i) {
        (i / outcomes == state ? counts : all)[i % outcomes] += level[i];
    }
    return std::accumulate(counts.begin(), counts.end(), U64{0}) == 0 ? all : counts;
}

/**
 * The shares of the outcomes. The tilt counts once for each occupied half, within the blocks that
 * are routes and within those that are not: how many blocks are routes stays as it is.
 */
Shares sharesOf(Counts const& counts, U64 tilt, Factors const& factors) {
    auto const& [ends, routeOne, routeBoth, one, both] = counts;
    U64 const routes = ends + routeOne + routeBoth;
    U64 const others = one + both;
    U64 const route =
        others == 0 ? wholeShare : scaled(share(routes, routes + others), factors.route);
    U64 const tiltedOne = routeOne * tilt * noTilt;
    U64 const tiltedBoth = routeBoth * tilt * tilt;
    U64 const tiltedRoutes = ends * noTilt * noTilt + tiltedOne + tiltedBoth;
    U64 const divided = scaled(share(both * tilt, one * noTilt + both * tilt), factors.bothHalves);

    Shares shares{};
    shares[1] = (route * share(tiltedOne, tiltedRoutes)) >> 30;
    shares[2] = (route * share(tiltedBoth, tiltedRoutes)) >> 30;
    shares[0] = route - shares[1] - shares[2];
    shares[4] = ((wholeShare - route) * divided) >> 30;
    shares[3] = wholeShare - route - shares[4];
    return shares;
}

/** `blocks` divided by the shares; `offset`, under a whole share, tells which numbers round up. */
std::array<U64, outcomes> dividedBy(U64 blocks, Shares const& shares, U64 offset) {
    std::array<U64, outcomes> quotas{};
    U64 sum = 0;
    U64 before = 0;
    for (std::size_t i = 0; i < outcomes; ++i) {
        sum += shares[i];
        U64 const upTo = i + 1 == outcomes || sum == wholeShare
                             ? blocks
                             : std::min(blocks, (blocks * sum + offset) >> 30);
        quotas[i] = upTo - before;
        before = upTo;
    }
    return quotas;
}

using Population = std::array<U64, blockStates>;

Population halvesOf(LevelQuotas const& quotas) {
    Population halves{};
    for (std::size_t state = 0; state < blockStates; ++state) {
        for (std::size_t i = 0; i < outcomes; ++i) {
            auto const outcome = static_cast<Outcome>(i);
            U32 const occupied = occupiedHalves(outcome);
            bool const covered = isCovered(state) || isRoute(outcome);
            halves[blockState(covered, occupied == 2)] += occupied * quotas[state][i];
        }
    }
    return halves;
}

/** What lies outside of any route, in a table of the scale's width and number of routes. */
class UncoveredPart {
public:
    UncoveredPart(TableShape const& shape, GrowthScale const& scale)
        : shape_(shape), scale_(scale), fullRoutes_(widened(shape.routes)) {
        for (U32 len = shape.firstLen; len <= shape.lastLen; ++len) {
            LevelCounts const& level = shape.level(len);
            routes_.push_back(widened(sumOf(level, true)));
            blocks_.push_back(widened(sumOf(level, true) + sumOf(level, false)));
        }
    }

    /** The blocks of a length, 16 fraction bits. */
    U64 blocks(U32 len) const {
        std::size_t const at = len - shape_.firstLen;
        U64 const there = blocks_[at];
        if (there == 0) {
            return 0;
        }
        auto const from = routes_.begin() + static_cast<std::ptrdiff_t>(at);
        U64 const toCome = std::max(there, std::accumulate(from, routes_.end(), U64{0}));
        return (scale_.routes * toCome << 16) /
               (fullRoutes_ + scale_.routes * (toCome - there) / there);
    }

    /** Takes `population` to the wanted number of routes, and to the blocks of the next length. */
    Factors factors(U32 len, Population const& population) const {
        Factors result;
        U64 const wanted = (scale_.routes * routes_[len - shape_.firstLen] << 16) / fullRoutes_;
        result.route = ratio(wanted, expected(len, population, result).routes);

        Expected const then = expected(len, population, result);
        U64 const next = blocks(len + 1);
        result.bothHalves = ratio(next > then.others ? next - then.others : 0, then.divided);
        return result;
    }

private:
    U64 widened(U64 number) const { return number * scale_.startBlocks / shape_.startBlocks; }

    static U64 sumOf(LevelCounts const& level, bool routes) {
        U64 sum = 0;
        for (std::size_t i = 0; i < level.size(); ++i) {
            if (!isCovered(i / outcomes) && isRoute(static_cast<Outcome>(i % outcomes)) == routes) {
                sum += level[i];
            }
        }
        return sum;
    }

    static U64 ratio(U64 wanted, U64 expected) {
        constexpr U64 most = U64{1} << 28;
        return expected == 0 ? wholeFactor : std::min(most, (wanted << 16) / expected);
    }

    /** Uncovered blocks that become routes, that do not, and of these, with both halves occupied.
     */
    struct Expected {
        U64 routes = 0;
        U64 others = 0;
        U64 divided = 0;
    };

    Expected expected(U32 len, Population const& population, Factors const& factors) const {
        Expected result;
        for (std::size_t state = 0; state < blockStates && !isCovered(state); ++state) {
            Shares const shares = sharesOf(countsOf(shape_.level(len), state), noTilt, factors);
            U64 const route = shares[0] + shares[1] + shares[2];
            result.routes += (population[state] * route) >> 14;
            result.others += (population[state] * (wholeShare - route)) >> 14;
            result.divided += (population[state] * shares[4]) >> 14;
        }
        return result;
    }

    TableShape const& shape_;
    GrowthScale scale_;
    /** Routes, blocks and, by length, routes of the measured table, widened. */
    U64 fullRoutes_;
    std::vector<U64> routes_;
    std::vector<U64> blocks_;
};

/** A number in (low, high] that is enough while the one before is not. `high` is enough. */
template <typename Predicate>
U64 leastEnough(U64 low, U64 high, Predicate enough) {
    while (high - low > 1) {
        U64 const middle = low + (high - low) / 2;
        (enough(middle) ? high : low) = middle;
    }
    return high;
}

}  // namespace

GrowthPlan::GrowthPlan(TableShape const& shape, GrowthScale const& scale, U64 seed) {
    UncoveredPart const uncovered(shape, scale);
    startBlocks_ = std::max<U64>(1, (uncovered.blocks(shape.firstLen) + wholeFactor / 2) >> 16);
    Population population{};
    population[blockState(false, true)] = startBlocks_;
    for (U32 len = shape.firstLen; len <= shape.lastLen; ++len) {
        bool const site = len >= shape.siteLen;
        bool const tilted = scale.tilt != noTilt;
        Factors const factors = site || tilted ? Factors{} : uncovered.factors(len, population);
        LevelQuotas& quotas = levels_.emplace_back();
        for (std::size_t state = 0; state < blockStates; ++state) {
            Shares const shares =
                sharesOf(countsOf(shape.level(len), state), site ? noTilt : scale.tilt,
                         isCovered(state) ? Factors{} : factors);
            U64 const offset = mixedBits(seed + len * blockStates + state) >> 34;
            quotas[state] = dividedBy(population[state], shares, offset);
            for (std::size_t i = 0; i < outcomes; ++i) {
                routes_ += isRoute(static_cast<Outcome>(i)) ? quotas[state][i] : 0;
            }
        }
        population = halvesOf(quotas);
    }
}

GrowthPlan GrowthPlan::forRoutes(TableShape const& shape, U32 count, U64 seed) {
    auto const routes = [&](GrowthScale const& scale) {
        return GrowthPlan(shape, scale, seed).routes();
    };
    U64 const blocks = shape.startBlocks;
    U64 const proportional = (U64{count} * blocks + shape.routes - 1) / shape.routes;
    GrowthScale scale{std::clamp<U64>(proportional, blocks, shape.pool.size()), 0, noTilt};
    scale.routes = scale.startBlocks * shape.routes / blocks;
    while (routes(scale) < count && scale.startBlocks < shape.pool.size()) {
        ++scale.startBlocks;
        scale.routes = scale.startBlocks * shape.routes / blocks;
    }
    if (routes(scale) < count) {
        auto const enough = [&](U64 tilt) {
            return routes({scale.startBlocks, scale.routes, tilt}) >= count;
        };
        // In small steps: far past the maximum of routes, numbers of blocks overflow.
        U64 high = noTilt;
        while (!enough(high)) {
            high += high / 8;
        }
        scale.tilt = leastEnough(noTilt, high, enough);
    } else {
        scale.routes = leastEnough(0, scale.routes, [&](U64 wanted) {
            return routes({scale.startBlocks, wanted, noTilt}) >= count;
        });
    }
    return GrowthPlan(shape, scale, seed);
}

}  // namespace LpmTools
