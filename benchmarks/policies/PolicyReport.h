#pragma once

#include "PolicyWorks.h"

#include <string>
#include <vector>

namespace PolicyFigures {

/** One policy on one work, the worst of its seeds. */
struct Row {
    std::string work;
    Nimbal::AddressFamily af = Nimbal::AddressFamily::none;
    U32 bucketRoutes = 0;
    std::string policy;
    double worstRatio = 0;    // buckets to the fewest possible, at the worst tenth
    double worstMoves = 0;    // a route, or a replacement, at the worst tenth
    double microseconds = 0;  // an update
};

/** How long the library alone takes for a route, by `insertFromRoot` in random order. */
struct LibraryTime {
    Nimbal::AddressFamily af = Nimbal::AddressFamily::none;
    double microseconds = 0;
};

struct Report {
    std::string table;  // which routes
    std::vector<U64> seeds;
    U64 replacements = 0;
    std::vector<Row> rows;
    std::vector<LibraryTime> library;

    /** Adds figures, or makes those of another seed worse. */
    void add(Row const& row);
};

/** Writes `policies.md` into the directory, and its pictures beside it. Throws on errors. */
void writeReport(Report const& report, std::string const& directory);

}  // namespace PolicyFigures
