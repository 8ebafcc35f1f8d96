#pragma once

#include <benchmarks/Measurement.h>

#include <iosfwd>

namespace LpmBenchmarks {

/** What stands above the tables: the machine and how they have been measured. */
void writeHead(std::ostream& out, U64 seed, U32 repetitions);
/** One table of the report: a row a work, a column a peer, ratios to the peer named `base`. */
void writeTable(std::ostream& out, std::string const& title,
                std::vector<PeerFigures> const& figures, std::string const& base);

}  // namespace LpmBenchmarks
