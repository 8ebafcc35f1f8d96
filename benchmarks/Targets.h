#pragma once

#include <benchmarks/Results.h>

namespace LpmBenchmarks {

/** The figures to reach, and which of them are, as a section of the report. */
std::string targetsText(Results const& results);

}  // namespace LpmBenchmarks
