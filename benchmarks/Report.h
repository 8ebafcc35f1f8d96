#pragma once

#include <benchmarks/Results.h>

namespace LpmBenchmarks {

/** The report as Markdown; its pictures go beside it, into `directory`, unless that is empty. */
std::string reportText(Results const& results, std::string const& directory);

}  // namespace LpmBenchmarks
