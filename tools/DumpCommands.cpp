#include <tools/CommandLine.h>
#include <tools/Output.h>
#include <tools/PartitionedTable.h>

#include <unistd.h>

#include <cstdlib>
#include <memory>

namespace LpmTools {

namespace {

struct DumpOptions {
    Source source;
    U32 limit = 200000;
    std::string prefix;
};

using Dump = std::function<void(LpmTrie::Trie&, U32)>;

void dumpFamily(Nimbal::AddressFamily af, std::vector<Nimbal::IpGenPrefix> const& prefixes,
                Source const& source, Dump const& dump) {
    PartitionedTable table(af, source.bucket);
    for (Nimbal::IpGenPrefix const& prefix : prefixes) {
        table.insert(prefix);
    }
    // A dump takes no notice of errors: the rest of a large one would still take its time.
    writeThrough(
        STDOUT_FILENO, [&](int socket) { dump(table.trie(), static_cast<U32>(socket)); },
        [](OutputError const& error) { std::_Exit(fail(error.what(), statusFailed)); });
}

int dumpTables(Source const& source, Dump const& dump) {
    Table const table = read(source);
    if (!table.ipv4.empty()) {
        dumpFamily(Nimbal::AddressFamily::ipv4, table.ipv4, source, dump);
    }
    if (!table.ipv6.empty()) {
        dumpFamily(Nimbal::AddressFamily::ipv6, table.ipv6, source, dump);
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

int dumpPrefix(DumpOptions const& options) {
    auto const prefix = Nimbal::IpGenPrefix::fromString(options.prefix);
    Table const table = read(options.source);
    auto const& prefixes = prefix.af() == Nimbal::AddressFamily::ipv6 ? table.ipv6 : table.ipv4;
    dumpFamily(prefix.af(), prefixes, options.source,
               [&](LpmTrie::Trie& trie, U32 socket) { trie.dumpPrefix(socket, prefix); });
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
    auto* const prefix = app.add_subcommand("dump-prefix", "Draws what lies under one prefix");
    prefix->add_option("prefix", options->prefix, "The prefix")->required();
    addSourceOptions(*prefix, options->source);
    prefix->callback([&work, options] { work = [options] { return dumpPrefix(*options); }; });
}

}  // namespace LpmTools
