#pragma once

#include <benchmarks/Inputs.h>

#include <array>
#include <map>
#include <string>
#include <vector>

namespace LpmBenchmarks {

/** One kind of table under measurement. */
struct Peer {
    std::string name;
    std::unique_ptr<Table> (*make)(Input const& input, Pages pages);
};

/** The works in the order of the report. */
enum class Work {
    buildRandom,
    buildOrdered,
    find,
    findOwn,
    walk,
    replay,
    verify,
    remove,
    residentBytes,
    trackedBytes,
};
constexpr std::size_t workCount = 10;
char const* nameOf(Work work) noexcept;

/** Nanoseconds, or bytes, a route; negative for what a table does not do. */
using Figures = std::array<double, workCount>;

struct PeerFigures {
    std::string name;
    Figures medians;
};

/**
 * Measures each peer `repetitions` times, in turn, each time in a process of its own, and takes
 * medians. Throws std::runtime_error when two peers do not answer alike, or one fails.
 */
std::vector<PeerFigures> measure(Input const& input, std::vector<Peer> const& peers,
                                 U32 repetitions, Pages pages);

}  // namespace LpmBenchmarks
