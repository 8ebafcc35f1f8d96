#pragma once

#include <tools/TableShape.h>

#include <vector>

namespace LpmTools {

/** How far a table is from the measured one. */
struct GrowthScale {
    /** Blocks to grow from, of which the measured table's width is a part. */
    U64 startBlocks;
    /** Of the routes of a table that wide, how many are wanted: fewer blocks grow, each as ever. */
    U64 routes;
    /** Growth by division of what there is, in 1/4096: the odds of two occupied halves to one. */
    U64 tilt;
};

/** Blocks of one length by state and by what becomes of them. */
using LevelQuotas = std::array<std::array<U64, outcomes>, blockStates>;

/**
 * How many blocks of each length and state get which outcome. The counts of a length follow from
 * those of the length before, in whole numbers, before any block is drawn. So a table of the
 * measured size repeats the measured counts, but for rounding.
 */
class GrowthPlan {
public:
    /** A plan for `count` routes or a little more. `count` is 1 to the shape's maximum. */
    static GrowthPlan forRoutes(TableShape const& shape, U32 count, U64 seed);

    GrowthPlan(TableShape const& shape, GrowthScale const& scale, U64 seed);

    /** Blocks of the shape's first length. */
    U64 startBlocks() const noexcept { return startBlocks_; }
    U64 routes() const noexcept { return routes_; }
    /** One for each length of the shape. */
    std::vector<LevelQuotas> const& levels() const noexcept { return levels_; }

private:
    U64 startBlocks_ = 0;
    U64 routes_ = 0;
    std::vector<LevelQuotas> levels_;
};

}  // namespace LpmTools
