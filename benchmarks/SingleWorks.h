#pragma once

#include <benchmarks/Inputs.h>
#include <benchmarks/Measurement.h>

#include <array>
#include <string>

namespace LpmBenchmarks {

/** What only this system does: the reference client's works, and reading. */
enum class SingleWork { announce, replay, withdraw, readText, readMrt };
constexpr std::size_t singleWorkCount = 5;
char const* nameOf(SingleWork work) noexcept;

/** Nanoseconds of processor time a route, or an update. */
using SingleFigures = std::array<double, singleWorkCount>;

/** Medians, each repetition in a process of its own, on pages of 2 MiB. */
SingleFigures measureSingleWorks(Input const& input, U32 repetitions);

}  // namespace LpmBenchmarks
