/*
 * The command line. Each subcommand fills an options record and leaves its work in `run`; what can
 * go wrong comes back here as an exception and leaves as one line and an exit status.
 */

#include <tools/Command.h>

#include <tools/Load.h>
#include <tools/Output.h>
#include <tools/RouteGenerator.h>

#include <CLI/CLI.hpp>

#include <charconv>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <sstream>

namespace LpmTools {

namespace {

constexpr int statusDone = 0;
constexpr int statusFailed = 1;
constexpr int statusMisused = 2;

/** Tells in one line why the command ends with `status`. */
int fail(std::string const& why, int status) {
    std::cerr << "lpmtrie: " << onOneLine(why) << '\n';
    return status;
}

/** Where the routes come from, and how they are cut; the same for every subcommand that reads. */
struct Source {
    std::vector<std::string> files;
    TableOptions table;
    bool builtin = false;
    U32 ipv4 = 1000000;
    U32 ipv6 = 200000;
    U64 seed = 1;
    U32 bucket = 512;
};

/** Takes decimal numbers alone: the option parser itself takes octal ones and bends large ones. */
template <class Number>
CLI::Option* addNumber(CLI::App& app, char const* name, Number& number, char const* help,
                       Number least = 0) {
    auto const check = [least](std::string const& text) {
        Number value = 0;
        char const* const end = text.data() + text.size();
        auto const result = std::from_chars(text.data(), end, value);
        bool const good = result.ec == std::errc() && result.ptr == end && value >= least &&
                          text == std::to_string(value);
        return good ? std::string()
                    : text + " is no number from " + std::to_string(least) + " to " +
                          std::to_string(std::numeric_limits<Number>::max());
    };
    return app.add_option(name, number, help)->check(check)->capture_default_str();
}

std::array<CLI::Option*, 3> addGeneratorOptions(CLI::App& app, Source& source) {
    return {addNumber(app, "--ipv4", source.ipv4, "IPv4 routes to generate"),
            addNumber(app, "--ipv6", source.ipv6, "IPv6 routes to generate"),
            addNumber(app, "--seed", source.seed, "Seed: the same one gives the same table")};
}

void addSourceOptions(CLI::App& app, Source& source) {
    app.add_option("file", source.files,
                   "Tables, one prefix a line; gzip and bzip2 are recognised by content; - or no "
                   "file: standard input");
    addNumber(app, "--bucket", source.bucket, "Most routes of a partition", U32{1});
    app.add_flag("--strict", source.table.strict, "Refuse prefixes with host bits set");
    app.add_flag("--keep-going", source.table.keepGoing, "Skip and count bad lines");
    auto* const builtin =
        app.add_flag("--builtin", source.builtin, "Load a generated table instead of files");
    for (CLI::Option* const option : addGeneratorOptions(app, source)) {
        option->needs(builtin);
    }
}

Table generate(Source const& source) {
    Table table;
    table.ipv4 = generateTable(Nimbal::AddressFamily::ipv4, source.ipv4, source.seed);
    table.ipv6 = generateTable(Nimbal::AddressFamily::ipv6, source.ipv6, source.seed);
    table.seed = source.seed;
    return table;
}

Table read(Source const& source) {
    if (source.builtin) {
        if (!source.files.empty()) {
            throw std::invalid_argument("--builtin takes no files");
        }
        return generate(source);
    }
    return readTables(source.files.empty() ? std::vector<std::string>{"-"} : source.files,
                      source.table);
}

int load(Source const& source, bool json) {
    Table const table = read(source);
    std::vector<FamilyReport> reports;
    if (!table.ipv4.empty()) {
        reports.push_back(loadFamily(Nimbal::AddressFamily::ipv4, table.ipv4, source.bucket));
    }
    if (!table.ipv6.empty()) {
        reports.push_back(loadFamily(Nimbal::AddressFamily::ipv6, table.ipv6, source.bucket));
    }
    writeAll(STDOUT_FILENO, json ? reportJson(table, reports) : reportText(table, reports));
    for (FamilyReport const& report : reports) {
        if (!report.good()) {
            return statusFailed;
        }
    }
    return statusDone;
}

int generateToOutput(Source const& source) {
    Table const table = generate(source);
    std::string text;
    for (auto const* family : {&table.ipv4, &table.ipv6}) {
        for (Nimbal::IpGenPrefix const& prefix : *family) {
            text += prefix.stringValue() + "\n";
            if (text.size() > 65536) {
                writeAll(STDOUT_FILENO, text);
                text.clear();
            }
        }
    }
    writeAll(STDOUT_FILENO, text);
    return statusDone;
}

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

int dumpPrefix(Source const& source, std::string const& text) {
    auto const prefix = Nimbal::IpGenPrefix::fromString(text);
    Table const table = read(source);
    auto const& prefixes = prefix.af() == Nimbal::AddressFamily::ipv6 ? table.ipv6 : table.ipv4;
    dumpFamily(prefix.af(), prefixes, source,
               [&](LpmTrie::Trie& trie, U32 socket) { trie.dumpPrefix(socket, prefix); });
    return statusDone;
}

/** The command line's record and what it asks for. */
class Command {
public:
    Command() {
        app_.require_subcommand(1);
        app_.set_help_all_flag("--help-all", "Help of all commands");
        addLoad();
        addGenerate();
        addDumps();
    }

    int run(int argumentCount, char const* const* arguments) {
        try {
            app_.parse(argumentCount, arguments);
        } catch (CLI::Success const& askedForHelp) {
            std::ostringstream help;
            app_.exit(askedForHelp, help);
            writeAll(STDOUT_FILENO, help.str());
            return statusDone;
        } catch (CLI::ParseError const& error) {
            throw std::invalid_argument(whyMisused(error) + " (see lpmtrie --help)");
        }
        return run_();
    }

private:
    void addLoad() {
        auto* const command = app_.add_subcommand(
            "load", "Loads tables into partitions, verifies, looks up, removes and reports");
        addSourceOptions(*command, source_);
        command->add_flag("--json", json_, "Report as one JSON document");
        command->callback([this] { run_ = [this] { return load(source_, json_); }; });
    }

    void addGenerate() {
        auto* const command = app_.add_subcommand(
            "generate", "Writes a table with the shape of the Internet's, one prefix a line");
        addGeneratorOptions(*command, source_);
        command->callback([this] { run_ = [this] { return generateToOutput(source_); }; });
    }

    void addDumps() {
        auto* const whole = app_.add_subcommand("dump", "Draws the trie of each family's table");
        addNumber(*whole, "--limit", limit_, "Most nodes of a drawing");
        addSourceOptions(*whole, source_);
        whole->callback([this] {
            run_ = [this] {
                return dumpTables(source_, [this](LpmTrie::Trie& trie, U32 socket) {
                    trie.dumpLimitIs(limit_);
                    trie.dump(socket);
                });
            };
        });
        auto* const partitions =
            app_.add_subcommand("dump-partition", "Draws the partition nodes of each family");
        addSourceOptions(*partitions, source_);
        partitions->callback([this] {
            run_ = [this] {
                return dumpTables(
                    source_, [](LpmTrie::Trie& trie, U32 socket) { trie.dumpPartition(socket); });
            };
        });
        auto* const prefix = app_.add_subcommand("dump-prefix", "Draws what lies under one prefix");
        prefix->add_option("prefix", prefix_, "The prefix")->required();
        addSourceOptions(*prefix, source_);
        prefix->callback([this] { run_ = [this] { return dumpPrefix(source_, prefix_); }; });
    }

    std::string whyMisused(CLI::ParseError const& error) const {
        // Of a word that is no command, the option parser only tells that a command is missing.
        auto const unknown = app_.remaining();
        return unknown.empty() ? error.what() : CLI::ExtrasError({unknown.front()}).what();
    }

    CLI::App app_{"Divides IP routing tables over bounded hardware buckets", "lpmtrie"};
    Source source_;
    bool json_ = false;
    U32 limit_ = 200000;
    std::string prefix_;
    std::function<int()> run_;
};

}  // namespace

int runCommand(int argumentCount, char const* const* arguments) {
    // A pipe that nobody reads is told as an error of writing, not as the process's death.
    std::signal(SIGPIPE, SIG_IGN);
    // So is a file that must not grow any more.
    std::signal(SIGXFSZ, SIG_IGN);
    sealClosedStreams();
    try {
        return Command().run(argumentCount, arguments);
    } catch (BadLine const& error) {
        return fail(error.what(), statusMisused);
    } catch (Vexo::RangeException const& error) {
        return fail(error.what(), statusMisused);
    } catch (std::invalid_argument const& error) {
        return fail(error.what(), statusMisused);
    } catch (std::bad_alloc const&) {
        return fail("out of memory", statusFailed);
    } catch (std::exception const& error) {
        return fail(error.what(), statusFailed);
    }
}

}  // namespace LpmTools
