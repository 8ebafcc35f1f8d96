/* The benchmark's command line: see --help. */

#include <tools/RouteGenerator.h>
#include <tools/TableReader.h>
#include <benchmarks/Report.h>

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>

namespace {

using namespace LpmBenchmarks;
using Nimbal::AddressFamily;

struct Options {
    std::vector<std::string> files;
    std::vector<U32> sizes{1'000'000};
    std::vector<std::string> peers;
    std::vector<std::string> pages{"2m", "4k"};
    std::string output;
    U64 seed = 1;
    U32 repetitions = 5;
    bool v4 = true;
    bool v6 = true;
};

std::vector<Peer> peersNamed(std::vector<std::string> const& names) {
    std::vector<Peer> all{
        {"LpmTrie", [](Input const& input, Pages) { return libraryTable(input.af); }},
        {"LpmTrie in partitions",
         [](Input const& input, Pages) { return partitionedTable(input.af); }},
#ifdef LPMTRIE_WITH_RTE_RIB
        {"rte_rib",
         [](Input const& input, Pages pages) {
             return rteRibTable(input.af, static_cast<U32>(input.routes.size() * 2 + 1024), pages);
         }},
#endif
        {"std::map", [](Input const& input, Pages) { return mapTable(input.af); }},
        {"hash a length", [](Input const& input, Pages) { return hashTable(input.af); }},
    };
    if (!names.empty()) {
        std::erase_if(all, [&](Peer const& peer) {
            return std::find(names.begin(), names.end(), peer.name) == names.end();
        });
    }
    return all;
}

void run(std::ostream& out, Options const& options, AddressFamily af,
         std::vector<IpGenPrefix> const& routes) {
    Input const input = inputOf(af, routes, options.seed);
    for (std::string const& pages : options.pages) {
        bool const huge = pages == "2m";
        std::string const title = std::to_string(input.routes.size()) +
                                  (af == AddressFamily::ipv6 ? " IPv6" : " IPv4") +
                                  " routes, pages of " + (huge ? "2 MiB" : "4 KiB");
        std::cerr << title << " ...\n";
        writeTable(out, title,
                   measure(input, peersNamed(options.peers), options.repetitions,
                           huge ? Pages::huge : Pages::small),
                   "rte_rib");
        out.flush();
    }
}

void runAll(std::ostream& out, Options const& options) {
    if (!options.files.empty()) {
        LpmTools::Table const table = LpmTools::readTables(options.files, {});
        if (options.v4) {
            run(out, options, AddressFamily::ipv4, table.ipv4);
        }
        if (options.v6) {
            run(out, options, AddressFamily::ipv6, table.ipv6);
        }
        return;
    }
    for (U32 const size : options.sizes) {
        if (options.v4) {
            run(out, options, AddressFamily::ipv4,
                LpmTools::generateTable(AddressFamily::ipv4, size, options.seed));
        }
        if (options.v6) {
            run(out, options, AddressFamily::ipv6,
                LpmTools::generateTable(AddressFamily::ipv6, size, options.seed));
        }
    }
}

}  // namespace

int main(int count, char** arguments) {
    Options options;
    CLI::App app("Measures the library and its peers on the same routes.");
    app.add_option("files", options.files, "Tables to measure on, instead of generated ones");
    app.add_option("--size", options.sizes, "Sizes of generated tables");
    app.add_option("--peer", options.peers, "Only these peers");
    app.add_option("--pages", options.pages, "4k, 2m or both");
    app.add_option("--seed", options.seed, "Of the generator and of all orders");
    app.add_option("--repetitions", options.repetitions, "Of which the median is taken");
    app.add_option("--output", options.output, "File to write to");
    app.add_flag("!--no-ipv4", options.v4, "Leave IPv4 out");
    app.add_flag("!--no-ipv6", options.v6, "Leave IPv6 out");
    CLI11_PARSE(app, count, arguments);
    try {
        std::ofstream file(options.output);
        std::ostream& out = options.output.empty() ? std::cout : file;
        writeHead(out, options.seed, options.repetitions);
        runAll(out, options);
    } catch (std::exception const& error) {
        std::cerr << "benchmark: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
