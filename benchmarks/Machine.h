#pragma once

#include <Vexo/Types.h>

#include <string>

namespace LpmBenchmarks {

/** The processor's name as the kernel tells it. */
std::string processorName();
/**
 * Nanoseconds of one read that depends on the one before, at random in `bytes` bytes of memory.
 */
double memoryLatency(Vexo::U64 bytes);

}  // namespace LpmBenchmarks
