#pragma once

#include <benchmarks/Inputs.h>

#include <array>
#include <string>
#include <vector>

namespace LpmBenchmarks {

/** One kind of table under measurement. */
struct Peer {
    std::string name;
    std::unique_ptr<Table> (*make)(Input const& input, Pages pages);
};

/** All peers, or those named. */
std::vector<Peer> peersNamed(std::vector<std::string> const& names);

/** The works in the order of the report. */
enum class Work {
    buildRandom,
    buildOrdered,
    find,
    findTogether,
    findOwn,
    walk,
    replay,
    replayStream,
    verify,
    remove,
    residentBytes,
    trackedBytes,
};
constexpr std::size_t workCount = 12;
char const* nameOf(Work work) noexcept;

/**
 * Nanoseconds a route, query or step of a stream, or bytes a route; negative for what a table does
 * not do.
 */
using Figures = std::array<double, workCount>;

struct PeerFigures {
    std::string name;
    Figures medians;

    double of(Work work) const { return medians.at(static_cast<std::size_t>(work)); }
};

/** How often and how much is measured. */
struct Effort {
    U32 repetitions = 5;
    bool growthOnly = false;  // build in random order, look-up, remove, objects' bytes
};

/**
 * Measures each peer, in turn, each time in a process of its own, and takes medians. Throws
 * std::runtime_error when two peers do not answer alike, or one fails.
 */
std::vector<PeerFigures> measure(Input const& input, std::vector<Peer> const& peers, Effort effort,
                                 Pages pages);

double median(std::vector<double> values);
/** From here on, this process gets pages of this size where it asks for no others. */
void usePages(Pages pages);

}  // namespace LpmBenchmarks
