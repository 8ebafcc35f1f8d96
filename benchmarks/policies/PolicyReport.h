#pragma once

#include "PolicyWorks.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace PolicyFigures {

/** One policy on one work, of one seed, or the worst of several. */
struct Row {
    std::string work;
    Nimbal::AddressFamily af = Nimbal::AddressFamily::none;
    U32 bucketRoutes = 0;
    U64 seed = 0;
    std::string policy;
    double worstRatio = 0;           // buckets to the fewest possible, at the worst tenth
    U64 optimumThere = 0;            // the fewest possible at that tenth
    double moves = 0;                // a route, or a replacement, over all of the work
    double mostMoves = 0;            // the same from the start up to the worst tenth
    U64 routes = 0;                  // at the end
    U64 updates = 0;                 // or replacements
    double microseconds = 0;         // an update
    double libraryMicroseconds = 0;  // of `insertFromRoot` in the same run, if measured
};

/** One line without its end. */
std::string csv(Row const& row);
/** Reads lines of `csv`. Throws std::runtime_error on another one. */
std::vector<Row> readRows(std::istream& lines);

/** Writes `policies.md` into the directory, and its pictures beside it. Throws on errors. */
void writeReport(std::vector<Row> const& rows, std::string const& directory);

}  // namespace PolicyFigures
