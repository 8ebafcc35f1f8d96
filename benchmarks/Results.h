#pragma once

#include <benchmarks/Measurement.h>
#include <benchmarks/MemoryLimit.h>
#include <benchmarks/PartitionCases.h>
#include <benchmarks/SingleWorks.h>

#include <optional>
#include <string>
#include <vector>

namespace LpmBenchmarks {

/** All peers on one table, on pages of one size. */
struct TableResult {
    std::string title;
    Nimbal::AddressFamily af;
    Pages pages;
    std::vector<PeerFigures> peers;
};

/** How long a read takes that depends on the one before, and one of eight side by side. */
struct Latency {
    U64 bytes;
    Pages pages;
    double alone;
    double eight;
};

/** What only one family's first table tells. */
struct FamilyResult {
    Nimbal::AddressFamily af;
    SingleFigures singles;
    std::optional<std::vector<Limit>> limits;
    Latency latency;  // of as much memory as the library's objects take
};

/** Generated tables of one family and growing size. */
struct GrowthResult {
    Nimbal::AddressFamily af;
    struct Point {
        U32 routes;
        std::vector<PeerFigures> peers;
    };
    std::vector<Point> points;
    std::string failures;  // sizes that could not be measured, and why
};

struct Results {
    std::string arguments;  // of the command
    U64 seed = 0;
    U32 repetitions = 0;
    std::vector<Latency> latencies;
    std::vector<TableResult> tables;
    std::vector<FamilyResult> families;
    std::vector<PartitionCase> partitions;
    std::vector<GrowthResult> growth;
    std::string notes;  // what is kept by hand, about rows not reached
};

/** The figures of a peer, or null. */
PeerFigures const* figuresOf(std::vector<PeerFigures> const& peers, std::string_view name);
/** The first table of a family on pages of 2 MiB, or null. */
TableResult const* mainTable(Results const& results, Nimbal::AddressFamily af);

char const* nameOf(Nimbal::AddressFamily af) noexcept;

}  // namespace LpmBenchmarks
