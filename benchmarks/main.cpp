/* The benchmark's command line: see --help. */

#include <tools/OutputFile.h>
#include <benchmarks/Machine.h>
#include <benchmarks/Report.h>
#include <benchmarks/TableChoice.h>

#include <CLI/CLI.hpp>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

namespace {

using namespace LpmBenchmarks;
using Nimbal::AddressFamily;

struct Options {
    std::vector<std::string> files;
    std::vector<std::string> streams;
    std::vector<U32> sizes{1'000'000};
    std::vector<U32> growth{10'000, 100'000, 1'000'000, 4'000'000, 10'000'000};
    std::vector<U32> partitions{64, 512, 4096};
    std::vector<std::string> peers;
    std::vector<std::string> pages{"2m", "4k"};
    std::string output;
    U64 seed = 1;
    U32 repetitions = 5;
    bool v4 = true;
    bool v6 = true;
    bool limit = true;
    bool quick = false;

    std::vector<AddressFamily> families() const {
        std::vector<AddressFamily> all;
        if (v4) {
            all.push_back(AddressFamily::ipv4);
        }
        if (v6) {
            all.push_back(AddressFamily::ipv6);
        }
        return all;
    }
};

constexpr U64 mebibyte = U64{1} << 20;
/** Of a look-up's and a removal's time, so many tell enough. */
constexpr std::size_t growthSteps = 1'000'000;

class Benchmark {
public:
    explicit Benchmark(Options const& options) : options_(options), tables_(tables()) {}

    Results run() {
        for (Pages const pages : {Pages::huge, Pages::small}) {
            for (U64 const size : {mebibyte, 16 * mebibyte, 256 * mebibyte}) {
                results_.latencies.push_back(latencyOf(size, pages));
            }
        }
        tell("splits, merges and searches");
        results_.partitions = measurePartitions(options_.partitions, options_.repetitions);
        for (AddressFamily const af : options_.families()) {
            measureTables(af);
        }
        for (AddressFamily const af : options_.families()) {
            measureGrowth(af);
        }
        results_.seed = options_.seed;
        results_.repetitions = options_.repetitions;
        return results_;
    }

private:
    static void tell(std::string const& what) { std::cerr << what << " ...\n"; }
    static Latency latencyOf(U64 bytes, Pages pages) {
        return {bytes, pages, memoryLatency(bytes, 1, pages), memoryLatency(bytes, 8, pages)};
    }

    std::vector<LpmTools::Table> tables() const {
        if (!options_.files.empty()) {
            return {readOrGenerate(options_.files, 0, 0, 0)};
        }
        std::vector<LpmTools::Table> tables;
        for (U32 const size : options_.sizes) {
            tables.push_back(readOrGenerate({}, size, size, options_.seed));
        }
        return tables;
    }

    void measureTables(AddressFamily af) {
        bool first = true;
        for (LpmTools::Table const& table : tables_) {
            auto const& routes = af == AddressFamily::ipv6 ? table.ipv6 : table.ipv4;
            if (routes.empty()) {
                continue;
            }
            Input input = inputOf(af, routes, options_.seed);
            addStream(input, options_.streams);
            measureTable(input);
            if (first) {
                measureFamily(input);
            }
            first = false;
        }
    }

    void measureTable(Input const& input) {
        for (std::string const& pages : options_.pages) {
            bool const huge = pages == "2m";
            std::string const title =
                std::to_string(input.routes.size()) + ' ' + nameOf(input.af) + " routes";
            tell(title + ", pages " + pages);
            Pages const size = huge ? Pages::huge : Pages::small;
            // Small pages stand for comparison only.
            U32 const repetitions = huge ? options_.repetitions : (options_.repetitions + 1) / 2;
            results_.tables.push_back(
                {title, input.af, size,
                 measure(input, peersNamed(options_.peers), {repetitions, false}, size)});
        }
    }

    void measureFamily(Input const& input) {
        FamilyResult& result = results_.families.emplace_back(FamilyResult{input.af, {}, {}, {}});
        tell("client and reading");
        result.singles = measureSingleWorks(input, std::min(options_.repetitions, U32{3}));
        U64 const objects = (input.routes.size() * bytesEach + mebibyte - 1) / mebibyte * mebibyte;
        result.latency = latencyOf(objects, Pages::huge);
        if (options_.limit) {
            tell("misses by simulation");
            result.limits = simulateMisses(input);
        }
    }

    void measureGrowth(AddressFamily af) {
        GrowthResult& growth = results_.growth.emplace_back(GrowthResult{af, {}, {}});
        for (U32 const size : options_.growth) {
            tell("growth: " + std::to_string(size) + ' ' + nameOf(af) + " routes");
            // The last and largest: what has been measured before is not lost for it.
            try {
                growth.points.push_back(growthPoint(af, size));
            } catch (std::exception const& error) {
                tell(error.what());
                growth.failures += std::to_string(size) + " routes: " + error.what() + "\n";
            }
        }
    }

    GrowthResult::Point growthPoint(AddressFamily af, U32 size) const {
        Input input = inputOf(af, LpmTools::generateTable(af, size, options_.seed), options_.seed);
        input.queries.resize(std::min(input.queries.size(), growthSteps));
        input.leaving.resize(std::min(input.leaving.size(), growthSteps));
        bool const large = size > growthSteps;
        auto const peers = peersNamed(large && options_.peers.empty()
                                          ? std::vector<std::string>{"LpmTrie", "rte_rib"}
                                          : options_.peers);
        U32 const repetitions = large ? 1 : std::min(options_.repetitions, U32{3});
        return {size, measure(input, peers, {repetitions, true}, Pages::huge)};
    }

    static constexpr U64 bytesEach = 244;  // of the library's objects, a route

    Options const& options_;
    std::vector<LpmTools::Table> const tables_;
    Results results_;
};

/** Smaller and shorter, to see that all works: a minute instead of a quarter of an hour. */
void makeQuick(Options& options) {
    options.sizes = {100'000};
    options.growth = {10'000, 100'000};
    options.partitions = {64, 512};
    options.repetitions = 1;
}

/** What is kept by hand beside the report; empty when there is nothing. */
std::string notesBeside(std::filesystem::path const& directory) {
    std::ifstream file(directory / "performance-notes.md");
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/** The command's arguments, files by their names alone. */
std::string argumentsText(int count, char** arguments) {
    std::string text;
    for (int i = 1; i < count; ++i) {
        std::string const argument = arguments[i];
        text += ' ' + (i > 1 && std::string(arguments[i - 1]) == "--output"
                           ? argument
                           : argument.substr(argument.rfind('/') + 1));
    }
    return text;
}

void addOptions(CLI::App& app, Options& options) {
    app.add_option("files", options.files, "Tables to measure on, instead of generated ones");
    app.add_option("--updates", options.streams, "Recorded updates to replay, text or MRT");
    app.add_option("--size", options.sizes, "Sizes of generated tables");
    app.add_option("--growth", options.growth, "Sizes of generated tables for the curves");
    app.add_option("--partition", options.partitions, "Sizes of split and merged partitions");
    app.add_option("--peer", options.peers, "Only these peers");
    app.add_option("--pages", options.pages, "4k, 2m or both");
    app.add_option("--seed", options.seed, "Of the generator and of all orders");
    app.add_option("--repetitions", options.repetitions, "Of which the median is taken");
    app.add_option("--output", options.output, "File to write to, with pictures beside it");
    app.add_flag("--quick", options.quick, "Small tables and one repetition");
    app.add_flag("!--no-limit", options.limit, "Leave the simulation of caches out");
    app.add_flag("!--no-ipv4", options.v4, "Leave IPv4 out");
    app.add_flag("!--no-ipv6", options.v6, "Leave IPv6 out");
}

}  // namespace

int main(int count, char** arguments) {
    Options options;
    CLI::App app("Measures the library and its peers on the same routes.");
    addOptions(app, options);
    CLI11_PARSE(app, count, arguments);
    try {
        if (options.quick) {
            makeQuick(options);
        }
        // A name that cannot be written is told before the long work.
        std::optional<LpmTools::OutputFile> output;
        if (!options.output.empty()) {
            output.emplace(options.output);
        }
        Results results = Benchmark(options).run();
        results.arguments = argumentsText(count, arguments);
        if (!output) {
            std::cout << reportText(results, "");
            return 0;
        }
        auto const directory = ("." / std::filesystem::path(options.output)).parent_path();
        results.notes = notesBeside(directory);
        output->write(reportText(results, directory.string()));
    } catch (std::exception const& error) {
        std::cerr << "benchmark: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
