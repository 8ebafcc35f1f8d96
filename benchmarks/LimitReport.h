#pragma once

#include <benchmarks/Results.h>

namespace LpmBenchmarks {

/** The section that compares the figures with what the memory allows; empty without any. */
std::string limitText(Results const& results);

}  // namespace LpmBenchmarks
