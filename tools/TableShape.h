#pragma once

#include <Nimbal/AddressFamily.h>
#include <Vexo/Types.h>

#include <array>
#include <cstddef>
#include <span>

namespace LpmTools {

using Vexo::U32;
using Vexo::U64;

/**
 * What a table does with an occupied block, an aligned block of addresses that holds a route: the
 * block is itself a route or not, and none, one or both of its halves hold (more) routes.
 */
enum class Outcome : Vexo::U8 { routeEnds, routeOneHalf, routeBothHalves, oneHalf, bothHalves };

inline constexpr std::size_t outcomes = 5;

constexpr bool isRoute(Outcome outcome) noexcept {
    return outcome <= Outcome::routeBothHalves;
}
/** How many of the two halves are occupied, by a route of their own or one further down. */
constexpr U32 occupiedHalves(Outcome outcome) noexcept {
    auto const code = static_cast<U32>(outcome);
    return isRoute(outcome) ? code : code - 2;
}

/** Where a block stands: below a shorter route or not, and beside an occupied block or not. */
constexpr U32 blockState(bool covered, bool besideOccupied) noexcept {
    return 2 * U32{covered} + U32{besideOccupied};
}
inline constexpr std::size_t blockStates = 4;

constexpr bool isCovered(std::size_t state) noexcept {
    return state >= 2;
}

/** Blocks of one length, counted at [`blockState` * `outcomes` + outcome]. */
using LevelCounts = std::array<U32, blockStates * outcomes>;

/** The shape of a full Internet table of one family: statistics alone, no prefix of any table. */
struct TableShape {
    /** Length of the blocks a table is grown from, and of the longest routes that grow. */
    U32 firstLen;
    U32 lastLen;
    /** The longest prefix networks accept from each other. What is longer is rare, and stays so. */
    U32 siteLen;
    /** Leading `firstLen` bits of the blocks a table may be grown from. */
    std::span<U32 const> pool;
    /** How many of them the measured table occupied. */
    U32 startBlocks;
    /** Routes of the measured table, up to `lastLen`. */
    U32 routes;
    /** Further routes of the measured table, past `lastLen`, to single hosts and links. */
    U32 hostRoutes;
    /** In 1024ths: how often the lower half is the occupied one where one is. */
    U32 lowerHalf;
    /** The most routes a generated table can have. */
    U32 maximum;
    /** One for each length, `firstLen` to `lastLen`. */
    std::span<LevelCounts const> levels;

    LevelCounts const& level(U32 len) const { return levels[len - firstLen]; }
};

/** The shape of a family's table. Lives for ever. */
TableShape const& tableShape(Nimbal::AddressFamily af);

}  // namespace LpmTools
