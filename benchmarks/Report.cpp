#include <benchmarks/Machine.h>
#include <benchmarks/Report.h>

#include <algorithm>
#include <ostream>

namespace LpmBenchmarks {

namespace {

std::string cell(double value, double base) {
    if (value < 0) {
        return "–";
    }
    auto const rounded = static_cast<long>(value + 0.5);
    if (base <= 0) {
        return std::to_string(rounded);
    }
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%ld (%.2f)", rounded, value / base);
    return text.data();
}

}  // namespace

void writeHead(std::ostream& out, U64 seed, U32 repetitions) {
    constexpr U64 mebibyte = U64{1} << 20;
    auto const latency = [](U64 bytes) { return static_cast<int>(memoryLatency(bytes) + 0.5); };
    out << "# Performance\n\n"
           "Written by `./bench --output docs/performance.md`; tables named behind it are measured "
           "instead of\ngenerated ones.\n\n"
           "Nanoseconds of processor time a route, in brackets the ratio to `rte_rib` (`rte_rib6` "
           "for IPv6) of\nDPDK: smaller is better. Every repetition of every peer runs in a process "
           "of its own, peers in turn;\nthe figures are medians. All peers get the same routes in "
           "the same order on pages of the same size,\nhave touched their memory before, and give "
           "the same answers, which is checked. *LpmTrie* inserts from\nthe root, without "
           "partitions; *LpmTrie in partitions* is a client's real path: `findPartitionNode`, "
           "then\n`insert` from that partition node, and a cut of each partition that exceeds 512 "
           "routes.\n\n"
           "*Bytes of objects* are tracked allocations, the index included, or for `rte_rib` its "
           "pool's objects in\nuse; *resident bytes* count pools made for more than is in use.\n\n"
           "- processor: "
        << processorName()
        << "\n- a read that depends on the one before, at random in 1 MiB: " << latency(mebibyte)
        << " ns; 16 MiB: " << latency(16 * mebibyte) << " ns; 256 MiB: " << latency(256 * mebibyte)
        << " ns (small pages)\n- seed " << seed << ", repetitions " << repetitions << "\n\n";
}

void writeTable(std::ostream& out, std::string const& title,
                std::vector<PeerFigures> const& figures, std::string const& base) {
    auto const place = std::find_if(figures.begin(), figures.end(),
                                    [&](PeerFigures const& of) { return of.name == base; });
    out << "### " << title << "\n\n| Work |";
    for (PeerFigures const& of : figures) {
        out << ' ' << of.name << " |";
    }
    out << "\n|---|";
    for (std::size_t i = 0; i < figures.size(); ++i) {
        out << "---|";
    }
    out << '\n';
    for (std::size_t work = 0; work < workCount; ++work) {
        out << "| " << nameOf(static_cast<Work>(work)) << " |";
        for (PeerFigures const& of : figures) {
            double const reference = place == figures.end() ? 0 : place->medians.at(work);
            out << ' ' << cell(of.medians.at(work), reference) << " |";
        }
        out << '\n';
    }
    out << '\n';
}

}  // namespace LpmBenchmarks
