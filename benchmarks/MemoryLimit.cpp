/*
 * Processors of virtual machines rarely let their counters be read, so misses come from a
 * simulation: callgrind runs one work at a time, in the program of the instruction count, with two
 * levels of caches. It does not know prefetches: what they fetch counts as missed where it is used.
 */

#include <benchmarks/MemoryLimit.h>
#include <benchmarks/ReadingWork.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <sstream>
#include <stdexcept>

namespace LpmBenchmarks {

namespace {

std::string outputOf(std::string const& command) {
    std::FILE* const pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run " + command);
    }
    std::string output;
    std::array<char, 4096> block{};
    for (std::size_t size = 0; (size = std::fread(block.data(), 1, block.size(), pipe)) != 0;) {
        output.append(block.data(), size);
    }
    if (::pclose(pipe) != 0) {
        throw std::runtime_error("failed: " + command + '\n' + output);
    }
    return output;
}

/** "Collected : Ir Dr Dw I1mr D1mr D1mw ILmr DLmr DLmw", as callgrind closes. */
double missesIn(std::string const& output) {
    std::size_t const at = output.find("Collected :");
    std::istringstream numbers(output.substr(at == std::string::npos ? output.size() : at + 11));
    std::array<double, 9> counts{};
    for (double& count : counts) {
        numbers >> count;
    }
    if (!numbers) {
        throw std::runtime_error("callgrind tells no counts:\n" + output);
    }
    return counts[7] + counts[8];
}

double simulate(std::string const& work, std::string const& kind, Input const& input,
                std::string const& table) {
    auto const program =
        std::filesystem::read_symlink("/proc/self/exe").parent_path() / "LpmTrieInstructionWork";
    std::string const family = input.af == Nimbal::AddressFamily::ipv6 ? "ipv6" : "ipv4";
    std::string const command =
        "valgrind --tool=callgrind --callgrind-out-file=/dev/null --instr-atstart=no "
        "--cache-sim=yes --D1=32768,8,64 --LL=" +
        std::to_string(simulatedCache) + ",16,64 '" + program.string() + "' " + work + ' ' +
        family + ' ' + kind + " '" + table + "' 2>&1";
    return missesIn(outputOf(command)) / static_cast<double>(input.routes.size());
}

}  // namespace

std::optional<std::vector<Limit>> simulateMisses(Input const& input) {
    if (std::system("valgrind --version >/dev/null 2>&1") != 0) {
        return std::nullopt;
    }
    TableFile const table(TableFile::Form::text, input.ordered);
    std::vector<std::pair<std::string, std::string>> peers{{"LpmTrie", "plain"}};
#ifdef LPMTRIE_WITH_RTE_RIB
    peers.emplace_back("rte_rib", "rte_rib");
#endif
    std::vector<Limit> limits;
    for (std::string const work : {"find", "insert", "remove"}) {
        std::vector<std::future<double>> misses;
        for (auto const& peer : peers) {
            misses.push_back(std::async(std::launch::async, [&table, &input, work, peer] {
                return simulate(work, peer.second, input, table.path());
            }));
        }
        for (std::size_t i = 0; i < peers.size(); ++i) {
            limits.push_back({peers[i].first, work, misses[i].get()});
        }
    }
    return limits;
}

}  // namespace LpmBenchmarks
