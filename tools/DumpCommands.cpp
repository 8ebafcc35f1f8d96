#include <tools/CommandLine.h>
#include <tools/Output.h>
#include <tools/PartitionedTable.h>

#include <unistd.h>

#include <cstdlib>
#include <memory>

namespace LpmTools {

namespace {

using LpmTrie::Node;
using Nimbal::IpGenPrefix;

struct DumpOptions {
    Source source;
    U32 limit = 200000;
    std::string prefix;
};

using Dump = std::function<void(LpmTrie::Trie&, U32)>;

void fill(PartitionedTable& table, std::vector<IpGenPrefix> const& prefixes) {
    for (IpGenPrefix const& prefix : prefixes) {
        table.insert(prefix);
    }
}

void draw(PartitionedTable& table, Dump const& dump) {
    // A dump takes no notice of errors: the rest of a large one would still take its time.
    writeThrough(
        STDOUT_FILENO, [&](int socket) { dump(table.trie(), static_cast<U32>(socket)); },
        [](OutputError const& error) { std::_Exit(fail(error.what(), statusFailed)); });
}

Table readTelling(Source const& source) {
    Table table = read(source);
    tell(table.omissions);
    return table;
}

int dumpTables(Source const& source, Dump const& dump) {
    Table const table = readTelling(source);
    for (auto const* prefixes : {&table.ipv4, &table.ipv6}) {
        if (!prefixes->empty()) {
            PartitionedTable partitioned(prefixes->front().af(), source.bucket);
            fill(partitioned, *prefixes);
            draw(partitioned, dump);
        }
    }
    return statusDone;
}

int dumpWhole(DumpOptions const& options) {
    return dumpTables(options.source, [&](LpmTrie::Trie& trie, U32 socket) {
        trie.dumpLimitIs(options.limit);
        trie.dump(socket);
    });
}

int dumpPartitions(DumpOptions const& options) {
    return dumpTables(options.source,
                      [](LpmTrie::Trie& trie, U32 socket) { trie.dumpPartition(socket); });
}

/** The node above all others at and under a prefix; null when there is none. */
Node* topUnder(LpmTrie::Trie const& trie, IpGenPrefix const& prefix) {
    Node* node = trie.root();
    while (node != nullptr && node->prefixRef()->prefix().overlaps(prefix)) {
        if (node->len() >= prefix.len()) {
            return node;
        }
        node = node->bitNode(prefix.bit(node->len()));
    }
    return nullptr;
}

/**
 * Begins as the library's own drawing of a prefix, which is for the neighbourhood of a node: it
 * goes on to nodes beside the prefix, and may leave out some under it.
 */
void drawUnder(LpmTrie::Trie& trie, U32 socket, IpGenPrefix const& prefix, Node* top) {
    constexpr char const* rule = " ------------------------------ \n";
    writeAll(static_cast<int>(socket), "\n" + std::string(rule) + " Dumping Trie 0 Prefix " +
                                           prefix.stringValue() + "\n" + rule);
    LpmTrie::TrieTraversalReturnCode step(top, 0, 0);
    while (step.node() != nullptr && step.node()->prefixRef()->prefix().overlaps(prefix)) {
        step.node()->dump(step.bit, step.level, socket);
        step = trie.preorderNextNode(nullptr, step.node(), step.level, false, false);
    }
}

int dumpPrefix(DumpOptions const& options) {
    auto const prefix = IpGenPrefix::fromString(options.prefix);
    Table const table = readTelling(options.source);
    auto const& prefixes = prefix.af() == Nimbal::AddressFamily::ipv6 ? table.ipv6 : table.ipv4;
    PartitionedTable partitioned(prefix.af(), options.source.bucket);
    fill(partitioned, prefixes);
    // A family without routes has a default partition, which would be drawn.
    Node* const top = prefixes.empty() ? nullptr : topUnder(partitioned.trie(), prefix);
    if (top == nullptr) {
        return fail("nothing at or under " + prefix.stringValue(), statusFailed);
    }
    draw(partitioned,
         [&](LpmTrie::Trie& trie, U32 socket) { drawUnder(trie, socket, prefix, top); });
    return statusDone;
}

}  // namespace

void addDumpCommands(CLI::App& app, Work& work) {
    auto const options = std::make_shared<DumpOptions>();
    auto* const whole = app.add_subcommand("dump", "Draws the trie of each family's table");
    addNumber(*whole, "--limit", options->limit, "Most nodes of a drawing");
    addSourceOptions(*whole, options->source);
    whole->callback([&work, options] { work = [options] { return dumpWhole(*options); }; });
    auto* const partitions =
        app.add_subcommand("dump-partition", "Draws the partition nodes of each family");
    addSourceOptions(*partitions, options->source);
    partitions->callback(
        [&work, options] { work = [options] { return dumpPartitions(*options); }; });
    auto* const prefix =
        app.add_subcommand("dump-prefix", "Draws what lies at and under one prefix");
    addText(*prefix, "prefix", options->prefix, "The prefix")->required();
    addSourceOptions(*prefix, options->source);
    prefix->callback([&work, options] { work = [options] { return dumpPrefix(*options); }; });
}

}  // namespace LpmTools
