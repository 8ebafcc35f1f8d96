#include <benchmarks/GrowthReport.h>
#include <benchmarks/LimitReport.h>
#include <benchmarks/Machine.h>
#include <benchmarks/Markdown.h>
#include <benchmarks/Report.h>
#include <benchmarks/Targets.h>

namespace LpmBenchmarks {

namespace {

std::string sizeText(U64 bytes) {
    return std::to_string(bytes >> 20) + " MiB";
}

std::string pagesText(Pages pages) {
    return pages == Pages::huge ? "2 MiB" : "4 KiB";
}

std::string head(Results const& results) {
    return "# Performance\n\nWritten by `./bench" + results.arguments +
           "`; do not edit.\n\n"
           "Nanoseconds of processor time, in brackets the ratio to `rte_rib` of DPDK (`rte_rib6` for "
           "IPv6): smaller\nis better. Every repetition of every peer runs in a process of its own, "
           "peers in turn; the figures are\nmedians. Each process first takes a random amount of "
           "memory, so that its tables lie in another part of\nthe machine's: under a virtual "
           "machine, some parts are faster than others. All peers get the same routes\nin the same "
           "order on pages of the same size, have touched their memory before, and give the same\n"
           "answers, which is checked. The library is built for any x86-64, with no special "
           "instructions.\n\n"
           "*LpmTrie* inserts from the root, without partitions; *LpmTrie in partitions* is a client's "
           "real path:\n`findPartitionNode`, then `insert` from that partition node, and a cut of each "
           "partition that exceeds 512\nroutes. *hash a length* is a hash set for each prefix "
           "length. *Bytes of objects* are tracked allocations,\nthe index included, or for `rte_rib` "
           "its pool's objects in use; *resident bytes* count pools made for more\nthan is in use.\n";
}

std::string machine(Results const& results) {
    MarkdownTable table({"Reads at random in", "pages", "each waits for the last, ns",
                         "eight ways side by side, ns"});
    for (Latency const& latency : results.latencies) {
        table.add({sizeText(latency.bytes), pagesText(latency.pages), number(latency.alone, 1),
                   number(latency.eight, 1)});
    }
    return "## The machine\n\n" + processorName() + ", " + machineSize() + ". Seed " +
           std::to_string(results.seed) + ", repetitions " + std::to_string(results.repetitions) +
           " (small pages: half as many; client,\nreading, and growth up to a million routes: at "
           "most 3).\n\n" +
           table.text();
}

std::string cell(double value, double base) {
    if (value < 0) {
        return "–";
    }
    std::string const rounded = number(value, 0);
    return base <= 0 ? rounded : rounded + " (" + number(value / base, 2) + ")";
}

std::string tableText(TableResult const& result) {
    std::vector<std::string> heads{"Work"};
    for (PeerFigures const& peer : result.peers) {
        heads.push_back(peer.name);
    }
    MarkdownTable table(heads);
    PeerFigures const* const base = figuresOf(result.peers, "rte_rib");
    for (std::size_t i = 0; i < workCount; ++i) {
        auto const work = static_cast<Work>(i);
        std::vector<std::string> cells{nameOf(work)};
        bool done = false;
        for (PeerFigures const& peer : result.peers) {
            cells.push_back(cell(peer.of(work), base == nullptr ? 0 : base->of(work)));
            done = done || peer.of(work) >= 0;
        }
        if (done) {
            table.add(cells);
        }
    }
    return "### " + result.title + ", pages of " + pagesText(result.pages) + "\n\n" + table.text();
}

std::string singles(Results const& results) {
    std::vector<std::string> heads{"Nanoseconds a route"};
    for (FamilyResult const& family : results.families) {
        heads.emplace_back(nameOf(family.af));
    }
    MarkdownTable table(heads);
    for (std::size_t work = 0; work < singleWorkCount; ++work) {
        std::vector<std::string> cells{nameOf(static_cast<SingleWork>(work))};
        for (FamilyResult const& family : results.families) {
            cells.push_back(number(family.singles.at(work), 0));
        }
        table.add(cells);
    }
    return "## The client, and reading\n\nThe reference client with buckets of 512 routes and a chip "
           "that does nothing. Both forms of a table are read\nfrom a file into a table of paths. "
           "The routes are those of the first table of each family.\n\n" +
           table.text();
}

std::string partitions(Results const& results) {
    MarkdownTable table({"Work", "", "routes", "moved", "ns", "ns a route moved"});
    for (PartitionCase const& at : results.partitions) {
        table.add({at.work, nameOf(at.af), std::to_string(at.routes),
                   at.moved == 0 ? "" : std::to_string(at.moved), number(at.nanoseconds, 0),
                   at.moved == 0 ? "" : number(at.nanoseconds / at.moved, 1)});
    }
    return "## Splits, merges and their searches\n\nOn a trie that holds one partition of so many "
           "routes; a split cuts off half, as nearly as it goes.\nMeasured by Google Benchmark, "
           "medians.\n\n" +
           table.text();
}

}  // namespace

std::string reportText(Results const& results, std::string const& directory) {
    std::string text = head(results) + '\n' + targetsText(results);
    if (!results.notes.empty()) {
        text += '\n' + results.notes;
    }
    text += '\n' + machine(results) + "\n## Tables\n";
    for (TableResult const& table : results.tables) {
        text += '\n' + tableText(table);
    }
    text += '\n' + singles(results);
    text += '\n' + partitions(results);
    if (!results.growth.empty()) {
        text += '\n' + growthText(results, directory);
    }
    return text + limitText(results);
}

}  // namespace LpmBenchmarks
