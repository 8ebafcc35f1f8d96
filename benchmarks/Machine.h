#pragma once

#include <benchmarks/Table.h>

#include <string>

namespace LpmBenchmarks {

/** The processor's name as the kernel tells it. */
std::string processorName();
/** How many processors there are, and how much memory: "2 processors, 23 GiB". */
std::string machineSize();

/**
 * Nanoseconds of a read at random in `bytes` bytes of memory that depends on the one before;
 * `chains` such ways are gone side by side, and the time is that of one read of all.
 */
double memoryLatency(U64 bytes, U32 chains, Pages pages);

}  // namespace LpmBenchmarks
