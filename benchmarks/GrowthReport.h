#pragma once

#include <benchmarks/Results.h>

namespace LpmBenchmarks {

/**
 * The section about growth. Its curves are written to `pictures` beside the report, unless
 * `directory` is empty. Throws std::runtime_error.
 */
std::string growthText(Results const& results, std::string const& directory);

}  // namespace LpmBenchmarks
