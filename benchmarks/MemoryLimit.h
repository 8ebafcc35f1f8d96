#pragma once

#include <benchmarks/Inputs.h>

#include <optional>
#include <string>
#include <vector>

namespace LpmBenchmarks {

/** What one work would take if it did nothing but wait for memory. */
struct Limit {
    std::string peer;
    std::string work;  // as in the works of the instruction count: "find", "insert", "remove"
    double misses;     // of reads and writes, an operation
};

/** The last level of the caches that is simulated. */
constexpr U64 simulatedCache = U64{8} << 20;

/**
 * Misses of the last level, an operation, by a simulation of the caches on the very routes. Nothing
 * where valgrind is not installed.
 */
std::optional<std::vector<Limit>> simulateMisses(Input const& input);

}  // namespace LpmBenchmarks
