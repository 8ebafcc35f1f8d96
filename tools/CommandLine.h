#pragma once

#include <client/Hardware.h>
#include <tools/ExitStatus.h>
#include <tools/TableReader.h>

#include <CLI/CLI.hpp>

#include <array>
#include <charconv>
#include <functional>
#include <limits>
#include <string>
#include <vector>

/*
 * What the subcommands have in common. Each one adds itself to the parser: its options fill a
 * record that lives as long as the parser, and if the command line names it, it leaves its work.
 */

namespace LpmTools {

/** What the command line asks for; answers the exit status. */
using Work = std::function<int()>;

void addPlanCommand(CLI::App& app, Work& work);
void addDiffCommand(CLI::App& app, Work& work);
void addLookupCommand(CLI::App& app, Work& work);
void addLoadCommand(CLI::App& app, Work& work);
void addGenerateCommand(CLI::App& app, Work& work);
void addDumpCommands(CLI::App& app, Work& work);

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

/** An option or argument of one text or of several, none of which may be empty. */
template <class Texts>
CLI::Option* addText(CLI::App& app, char const* name, Texts& texts, std::string const& help) {
    auto const check = [](std::string const& text) {
        return text.empty() ? std::string("it must not be empty") : std::string();
    };
    return app.add_option(name, texts, help)->check(check);
}

/** --ipv4 and --ipv6. */
std::array<CLI::Option*, 2> addSizeOptions(CLI::App& app, Source& source);
CLI::Option* addSeedOption(CLI::App& app, Source& source);
void addBucketOption(CLI::App& app, Source& source);
/** --strict and --keep-going. */
void addReadingOptions(CLI::App& app, Source& source);
/** --builtin, which the sizes, and the seed if it serves nothing else, need. */
CLI::Option* addBuiltinOptions(CLI::App& app, Source& source);
/** Tables, by name or generated, and everything above. */
void addSourceOptions(CLI::App& app, Source& source);

/** Throws std::invalid_argument when there are files beside a generated table. */
void checkBuiltinAlone(bool hasFiles);
Table generate(Source const& source);
/** The routes of a generated table, each with a next hop drawn at random. */
std::vector<LpmClient::Route> generateRoutes(Source const& source);
/** Reads text tables or generates one. */
Table read(Source const& source);

}  // namespace LpmTools
