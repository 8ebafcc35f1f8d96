#pragma once

#include <benchmarks/Table.h>

#include <string>
#include <vector>

namespace LpmBenchmarks {

/** How long a work on one partition takes. */
struct PartitionCase {
    std::string work;
    Nimbal::AddressFamily af;
    U32 routes;          // of the partition
    U32 moved;           // routes that it moves; 0 for a search
    double nanoseconds;  // each time, the median
};

/** Splits, merges and the searches before them, by Google Benchmark. */
std::vector<PartitionCase> measurePartitions(std::vector<U32> const& sizes, U32 repetitions);

}  // namespace LpmBenchmarks
