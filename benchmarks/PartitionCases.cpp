#include <tools/RouteGenerator.h>
#include <benchmarks/Inputs.h>
#include <benchmarks/PartitionCases.h>
#include <benchmarks/PartitionWork.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <map>

namespace LpmBenchmarks {

namespace {

using Nimbal::AddressFamily;

// By the clock of the wall: asking for the processor's time takes longer than a small split.
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/** Times `action`, and lets `undo` put back what it has changed, untimed. */
template <class Action, class Undo>
void repeat(benchmark::State& state, Action const& action, Undo const& undo) {
    for (auto _ : state) {
        auto const begin = Clock::now();
        action();
        state.SetIterationTime(Seconds(Clock::now() - begin).count());
        undo();
    }
}

template <class Search>
void repeatSearch(benchmark::State& state, Search const& search) {
    constexpr U32 times = 64;
    for (auto _ : state) {
        auto const begin = Clock::now();
        for (U32 i = 0; i < times; ++i) {
            benchmark::DoNotOptimize(search());
        }
        state.SetIterationTime(Seconds(Clock::now() - begin).count() / times);
    }
}

using Case = void (*)(benchmark::State& state, PartitionWork& work);

void split(benchmark::State& state, PartitionWork& work) {
    auto* const node = work.findSplit();
    repeat(
        state, [&] { work.split(node); }, [&] { work.merge(); });
    work.split(node);
    state.counters["moved"] = static_cast<double>(work.moved());
    work.merge();
}

void merge(benchmark::State& state, PartitionWork& work) {
    auto* const node = work.findSplit();
    work.split(node);
    repeat(
        state, [&] { work.merge(); }, [&] { work.split(node); });
    work.merge();
    state.counters["moved"] = static_cast<double>(work.moved());
}

void findSplit(benchmark::State& state, PartitionWork& work) {
    repeatSearch(state, [&] { return work.findSplit(); });
}

void findRedistribution(benchmark::State& state, PartitionWork& work) {
    work.split(work.findSplit());
    repeatSearch(state, [&] { return work.findRedistribution(); });
    work.merge();
}

void findParent(benchmark::State& state, PartitionWork& work) {
    work.split(work.findSplit());
    repeatSearch(state, [&] { return work.findParent(); });
    work.merge();
}

constexpr std::array<std::pair<char const*, Case>, 5> cases{
    {{"search for a split", findSplit},
     {"split", split},
     {"search for a nested partition to merge", findRedistribution},
     {"search for a node above to merge into", findParent},
     {"merge", merge}}};

/** Keeps the medians, and prints nothing. */
class Medians : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(Context const& /*context*/) override { return true; }
    void ReportRuns(std::vector<Run> const& runs) override {
        for (Run const& run : runs) {
            if (run.aggregate_name == "median") {
                auto const moved = run.counters.find("moved");
                of_[run.run_name.function_name] = {
                    run.GetAdjustedRealTime(),
                    moved == run.counters.end() ? 0 : static_cast<U32>(moved->second.value)};
            }
        }
    }

    struct Median {
        double nanoseconds = 0;
        U32 moved = 0;
    };
    Median of(std::string const& name) const { return of_.at(name); }

private:
    std::map<std::string, Median> of_;
};

std::string keyOf(char const* work, AddressFamily af, U32 routes) {
    return std::string(work) + (af == AddressFamily::ipv6 ? " IPv6 " : " IPv4 ") +
           std::to_string(routes);
}

void enter(std::string const& key, Case run, AddressFamily af, U32 routes, U32 repetitions) {
    benchmark::RegisterBenchmark(key.c_str(),
                                 [run, af, routes](benchmark::State& state) {
                                     PartitionWork work(LpmTools::generateTable(af, routes, 1));
                                     run(state, work);
                                 })
        ->UseManualTime()
        ->Unit(benchmark::kNanosecond)
        ->MinTime(0.02)
        ->Repetitions(static_cast<int>(std::max(repetitions, U32{2})))
        ->ReportAggregatesOnly(true);
}

}  // namespace

std::vector<PartitionCase> measurePartitions(std::vector<U32> const& sizes, U32 repetitions) {
    constexpr std::array families{AddressFamily::ipv4, AddressFamily::ipv6};
    for (auto const& [name, run] : cases) {
        for (AddressFamily const af : families) {
            for (U32 const size : sizes) {
                enter(keyOf(name, af, size), run, af, size, repetitions);
            }
        }
    }
    Medians medians;
    benchmark::RunSpecifiedBenchmarks(&medians);
    std::vector<PartitionCase> all;
    for (auto const& [name, run] : cases) {
        for (AddressFamily const af : families) {
            for (U32 const size : sizes) {
                auto const median = medians.of(keyOf(name, af, size));
                all.push_back({name, af, size, median.moved, median.nanoseconds});
            }
        }
    }
    return all;
}

}  // namespace LpmBenchmarks
