#include <tools/RouteGenerator.h>
#include <benchmarks/Clock.h>
#include <benchmarks/Inputs.h>
#include <benchmarks/PartitionCases.h>
#include <benchmarks/PartitionWork.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>

namespace LpmBenchmarks {

namespace {

using Nimbal::AddressFamily;

/** What asking for the time takes; a small split does not take much longer. */
double clockTime() {
    constexpr int times = 1000;
    static double const each = timeEach(times, [] {
        for (int i = 0; i < times; ++i) {
            benchmark::DoNotOptimize(processorTime());
        }
    });
    return each;
}

/** Times `action`, and lets `undo` put back what it has changed, untimed. */
template <class Action, class Undo>
void repeat(benchmark::State& state, Action const& action, Undo const& undo) {
    for (auto _ : state) {
        double const time = timeEach(1, action) - clockTime();
        state.SetIterationTime(std::max(time, 1.0) * 1e-9);
        undo();
    }
}

template <class Search>
void repeatSearch(benchmark::State& state, Search const& search) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(search());
    }
}

using Run = void (*)(benchmark::State& state, PartitionWork& work);

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

struct Case {
    char const* name;
    Run run;
    bool timesItself;  // for what has to be undone, untimed, before it can be done again
};
constexpr std::array<Case, 5> cases{
    {{"search for a split", findSplit, false},
     {"split", split, true},
     {"search for a nested partition to merge", findRedistribution, false},
     {"search for a node above to merge into", findParent, false},
     {"merge", merge, true}}};

/** Keeps the medians, and prints nothing. */
class Medians : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(Context const& /*context*/) override { return true; }
    void ReportRuns(std::vector<Run> const& runs) override {
        for (Run const& run : runs) {
            if (run.aggregate_name == "median") {
                auto const moved = run.counters.find("moved");
                of_[run.run_name.function_name] = {
                    run.run_name.time_type.empty() ? run.GetAdjustedCPUTime()
                                                   : run.GetAdjustedRealTime(),
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

void enter(Case const& work, AddressFamily af, U32 routes, U32 repetitions) {
    auto* const entry = benchmark::RegisterBenchmark(
        keyOf(work.name, af, routes).c_str(),
        [run = work.run, af, routes](benchmark::State& state) {
            PartitionWork partition(LpmTools::generateTable(af, routes, 1));
            run(state, partition);
        });
    if (work.timesItself) {
        entry->UseManualTime();
    }
    entry->Unit(benchmark::kNanosecond)
        ->MinTime(0.02)
        ->Repetitions(static_cast<int>(std::max(repetitions, U32{2})))
        ->ReportAggregatesOnly(true);
}

}  // namespace

std::vector<PartitionCase> measurePartitions(std::vector<U32> const& sizes, U32 repetitions) {
    constexpr std::array families{AddressFamily::ipv4, AddressFamily::ipv6};
    for (Case const& work : cases) {
        for (AddressFamily const af : families) {
            for (U32 const size : sizes) {
                enter(work, af, size, repetitions);
            }
        }
    }
    Medians medians;
    benchmark::RunSpecifiedBenchmarks(&medians);
    std::vector<PartitionCase> all;
    for (Case const& work : cases) {
        for (AddressFamily const af : families) {
            for (U32 const size : sizes) {
                auto const median = medians.of(keyOf(work.name, af, size));
                all.push_back({work.name, af, size, median.moved, median.nanoseconds});
            }
        }
    }
    return all;
}

}  // namespace LpmBenchmarks
