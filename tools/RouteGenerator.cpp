#include <tools/RouteGenerator.h>

#include <tools/GrowthPlan.h>
#include <tools/Shuffle.h>
#include <tools/TableShape.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <tuple>
#include <utility>

// A table is grown bit by bit from its shortest blocks. At each length every occupied block gets
// one of five outcomes (see Outcome), and its occupied halves are the blocks of the next length.
// The plan says how many blocks of a state get which outcome, so the numbers come out as measured
// whichever blocks are taken.
//
// Which blocks are taken makes the neighbourhoods. Operators divide adjacent blocks alike: sixteen
// /24 in a row, every second /22 of a /16. So each block has a division plan, a random number that
// settles the outcome: the blocks of a state are ordered by it and cut where the plan's numbers
// say. A half has its block's plan, or by chance a new one; the plans of a length are scrambled
// into those of the next, without regard to the block, so that blocks of one plan and state stay
// alike all the way down.

namespace LpmTools {

namespace {

using Nimbal::IpGenPrefix;
using Vexo::U8;

/**
 * How often, in 1024ths, a half is divided by a plan of its own. Fitted to the measured table: rows
 * of equal neighbours, routes in a /16, and how unequal these are.
 */
constexpr U32 ownPlan = 123;

/** A grown prefix; the 64 leading bits of the address. */
struct Route {
    U64 address;
    U32 len;
};

struct Block {
    U64 address;
    U32 plan;
    U8 state;
};

class TableGrower {
public:
    TableGrower(TableShape const& shape, GrowthPlan const& plan, Xoshiro& random)
        : shape_(shape), plan_(plan), random_(random) {}

    /** The routes of the plan, in no order of use. */
    std::vector<Route> routes() {
        std::vector<Route> result;
        result.reserve(plan_.routes());
        sow();
        for (U32 len = shape_.firstLen; len <= shape_.lastLen; ++len) {
            settle(plan_.levels()[len - shape_.firstLen]);
            grow(len, result);
        }
        return result;
    }

private:
    /** Takes the blocks to start from out of the pool: one from each of as many equal parts. */
    void sow() {
        std::size_t const parts = plan_.startBlocks();
        for (std::size_t i = 0; i < parts; ++i) {
            std::size_t const from = i * shape_.pool.size() / parts;
            std::size_t const to = (i + 1) * shape_.pool.size() / parts;
            U64 const bits = shape_.pool[from + random_.below(to - from)];
            blocks_.push_back({bits << (64 - shape_.firstLen), random_.next32(),
                               static_cast<U8>(blockState(false, true))});
        }
    }

    /** Gives every block its outcome. */
    void settle(LevelQuotas const& quotas) {
        outcomes_.resize(blocks_.size());
        for (std::size_t state = 0; state < blockStates; ++state) {
            keys_.clear();
            for (std::size_t i = 0; i < blocks_.size(); ++i) {
                if (blocks_[i].state == state) {
                    keys_.push_back((U64{blocks_[i].plan} << 32) | i);
                }
            }
            settleState(quotas[state]);
        }
    }

    /** Outcomes for the blocks of one state; a key is a block's plan, then its number. */
    void settleState(std::array<U64, outcomes> const& quotas) {
        auto from = keys_.begin();
        for (Outcome const outcome :
             {Outcome::bothHalves, Outcome::routeBothHalves, Outcome::routeOneHalf,
              Outcome::routeEnds, Outcome::oneHalf}) {
            auto const to =
                from + static_cast<std::ptrdiff_t>(quotas[static_cast<std::size_t>(outcome)]);
            if (from != to && to != keys_.end()) {
                std::nth_element(from, to, keys_.end());
            }
            for (; from != to; ++from) {
                outcomes_[static_cast<U32>(*from)] = outcome;
            }
        }
    }

    /** Turns the blocks of length `len` into routes and into the blocks of the next length. */
    void grow(U32 len, std::vector<Route>& routes) {
        next_.clear();
        for (std::size_t i = 0; i < blocks_.size(); ++i) {
            Block const& block = blocks_[i];
            Outcome const outcome = outcomes_[i];
            if (isRoute(outcome)) {
                routes.push_back({block.address, len});
            }
            U32 const halves = occupiedHalves(outcome);
            if (halves == 0) {
                continue;
            }
            bool const covered = isCovered(block.state) || isRoute(outcome);
            auto const state = static_cast<U8>(blockState(covered, halves == 2));
            bool const upperOnly = halves == 1 && random_.below(1024) >= shape_.lowerHalf;
            U64 const upper = block.address | (U64{1} << (63 - len));
            next_.push_back({upperOnly ? upper : block.address, halfPlan(block, len), state});
            if (halves == 2) {
                next_.push_back({upper, halfPlan(block, len), state});
            }
        }
        blocks_.swap(next_);
    }

    U32 halfPlan(Block const& block, U32 len) {
        if (random_.below(1024) < ownPlan) {
            return random_.next32();
        }
        return static_cast<U32>(mixedBits((U64{len} << 32) | block.plan) >> 32);
    }

    TableShape const& shape_;
    GrowthPlan const& plan_;
    Xoshiro& random_;
    std::vector<Block> blocks_;
    std::vector<Block> next_;
    std::vector<Outcome> outcomes_;
    std::vector<U64> keys_;
};

IpGenPrefix ip6Prefix(U64 upper, U64 lower, U32 len) {
    std::array<U8, 16> bytes{};
    for (std::size_t i = 0; i < 8; ++i) {
        bytes[i] = static_cast<U8>(upper >> (56 - 8 * i));
        bytes[8 + i] = static_cast<U8>(lower >> (56 - 8 * i));
    }
    return {Nimbal::Ip6Addr(bytes), len};
}

IpGenPrefix prefixOf(Nimbal::AddressFamily af, Route const& route) {
    if (af == Nimbal::AddressFamily::ipv6) {
        return ip6Prefix(route.address, 0, route.len);
    }
    return {Nimbal::IpAddr(static_cast<U32>(route.address >> 32)), route.len};
}

/** Routes to single hosts and links, longer than what grows: anywhere below the given routes. */
std::vector<IpGenPrefix> hostRoutes(std::vector<Route> const& below, U32 count, Xoshiro& random) {
    // By how common they are among the routes past /64 of a full table.
    constexpr std::array<U32, 8> lens{127, 127, 127, 127, 126, 126, 125, 128};
    std::set<std::tuple<U64, U64, U32>> distinct;
    while (distinct.size() < count) {
        Route const& route = below[random.below(below.size())];
        U32 const len = lens[random.below(lens.size())];
        U64 const inside = route.len < 64 ? random.next() >> route.len : 0;
        U64 const hostBits = (U64{1} << (128 - len)) - 1;
        distinct.emplace(route.address | inside, random.next() & ~hostBits, len);
    }
    std::vector<IpGenPrefix> result;
    for (auto const& [upper, lower, len] : distinct) {
        result.push_back(ip6Prefix(upper, lower, len));
    }
    return result;
}

}  // namespace

Vexo::U32 maximumTableSize(Nimbal::AddressFamily af) {
    return tableShape(af).maximum;
}

std::vector<IpGenPrefix> generateTable(Nimbal::AddressFamily af, Vexo::U32 count, Vexo::U64 seed) {
    TableShape const& shape = tableShape(af);
    if (count > shape.maximum) {
        throw std::invalid_argument(Vexo::formatString(
            "no %s table of %u prefixes can be generated: the limit is %u",
            af == Nimbal::AddressFamily::ipv6 ? "IPv6" : "IPv4", count, shape.maximum));
    }
    std::vector<IpGenPrefix> table;
    if (count == 0) {
        return table;
    }
    // To the nearest.
    U64 const measured = U64{shape.routes} + shape.hostRoutes;
    auto const hosts = static_cast<U32>((U64{count} * shape.hostRoutes + measured / 2) / measured);
    Xoshiro random(seed);
    GrowthPlan const plan = GrowthPlan::forRoutes(shape, count - hosts, random.next());
    std::vector<Route> routes = TableGrower(shape, plan, random).routes();
    shuffle(routes, random);
    routes.resize(count - hosts);

    table.reserve(count);
    for (Route const& route : routes) {
        table.push_back(prefixOf(af, route));
    }
    for (IpGenPrefix const& prefix : hostRoutes(routes, hosts, random)) {
        table.push_back(prefix);
        std::swap(table.back(), table[random.below(table.size())]);
    }
    return table;
}

}  // namespace LpmTools
