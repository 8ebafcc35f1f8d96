/*
 * Measures the client's policies: buckets as a ratio to the fewest possible, the worst of ten
 * tenths of a work, against moved routes. One line of CSV for each work, family, bucket, seed and
 * policy; such lines, from as many runs as there were, become the document and its pictures.
 */

#include "PolicyReport.h"

#include <client/HalvingPolicy.h>
#include <client/WindowPolicy.h>
#include <benchmarks/TableChoice.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace {

using LpmClient::U32;
using LpmClient::U64;
using PolicyFigures::Figures;
using PolicyFigures::Setting;

struct Options {
    std::vector<std::string> tables;
    std::vector<U32> buckets{64, 128, 256, 512};
    std::vector<U64> seeds{1, 2, 3};
    std::vector<std::string> policies;
    std::vector<std::string> works{"download", "random", "address", "replacements"};
    U64 replacements = 1000000;
    U32 ipv4 = 1000000;
    U32 ipv6 = 200000;
    int family = 0;    // 4 or 6, or both
    std::string docs;  // a directory to write the report to
};

/**
 * A policy's name, or a setting of a family: "window:pieces/slack", "half:share",
 * "redistribute:share".
 */
PolicyFigures::MakePolicy policyMaker(std::string const& name) {
    std::size_t const colon = name.find(':');
    if (colon == std::string::npos) {
        LpmClient::makePolicy(name);  // a wrong name is told at once
        return [name] { return LpmClient::makePolicy(name); };
    }
    std::string const family = name.substr(0, colon);
    std::istringstream numbers(name.substr(colon + 1));
    U32 first = 0;
    numbers >> first;
    if (family == "window") {
        LpmClient::WindowWeights weights;
        weights.ample.pieces = first;
        char slash = 0;
        numbers >> slash >> weights.ample.slack;
        if (numbers) {
            return [weights] { return std::make_unique<LpmClient::WindowPolicy>(weights); };
        }
    } else if (numbers && (family == "half" || family == "redistribute")) {
        bool const redistribute = family == "redistribute";
        return [=] { return std::make_unique<LpmClient::HalvingPolicy>(redistribute, first); };
    }
    throw std::invalid_argument(name + ": not the setting of a policy");
}

bool asked(Options const& options, char const* work) {
    return std::find(options.works.begin(), options.works.end(), work) != options.works.end();
}

/** Prints the row of one work. Figures of a work of replacements count two updates each. */
void tell(std::string const& work, Setting const& setting, std::string const& policy,
          Figures const& figures, U64 updatesEach, double library = 0) {
    auto const& last = figures.tenths.back();
    PolicyFigures::Row row;
    row.work = work;
    row.af = setting.af;
    row.bucketRoutes = setting.bucketRoutes;
    row.seed = setting.seed;
    row.policy = policy;
    row.worstRatio = figures.worst().ratio();
    row.optimumThere = figures.worst().optimum;
    row.moves = last.movesEach(last.updates / updatesEach);
    row.mostMoves = figures.mostMoves() * static_cast<double>(updatesEach);
    row.routes = last.routes;
    row.updates = last.updates / updatesEach;
    row.microseconds = figures.microseconds;
    row.libraryMicroseconds = library;
    if (!(std::cout << PolicyFigures::csv(row) << std::endl)) {
        throw std::runtime_error("cannot write to standard output");
    }
}

void measure(Options const& options, Setting const& setting, std::string const& policy,
             PolicyFigures::Prefixes const& table) {
    if (asked(options, "time")) {
        double const library = PolicyFigures::libraryMicroseconds(table);
        tell("time", setting, policy, PolicyFigures::randomOrder(setting, table, 0).load, 1,
             library);
    }
    if (asked(options, "download")) {
        tell("download", setting, policy, PolicyFigures::download(setting, table), 1);
    }
    if (asked(options, "address")) {
        tell("address", setting, policy, PolicyFigures::addressOrder(setting, table), 1);
    }
    if (asked(options, "random")) {
        tell("random", setting, policy, PolicyFigures::randomOrder(setting, table, 0).load, 1);
    }
    if (asked(options, "replacements")) {
        auto const figures = PolicyFigures::randomOrder(setting, table, options.replacements);
        tell("replacements", setting, policy, figures.replacements, 2);
    }
}

void run(Options& options) {
    if (!options.docs.empty()) {
        auto const rows = PolicyFigures::readRows(std::cin);
        if (rows.empty()) {
            throw std::runtime_error("no figures on standard input");
        }
        PolicyFigures::writeReport(rows, options.docs);
        return;
    }
    if (options.policies.empty()) {
        for (auto const& policy : LpmClient::policies()) {
            options.policies.emplace_back(policy.name);
        }
    }
    LpmTools::Table const table =
        LpmBenchmarks::readOrGenerate(options.tables, options.ipv4, options.ipv6, 1);
    for (auto const* prefixes : {&table.ipv6, &table.ipv4}) {
        auto const family = prefixes == &table.ipv6 ? 6 : 4;
        if (prefixes->empty() || (options.family != 0 && options.family != family)) {
            continue;
        }
        for (U32 const bucket : options.buckets) {
            for (std::string const& policy : options.policies) {
                for (U64 const seed : options.seeds) {
                    measure(options, {prefixes->front().af(), bucket, seed, policyMaker(policy)},
                            policy, *prefixes);
                }
            }
        }
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    Options options;
    CLI::App app("Measures the client's partition policies", "policy-figures");
    app.add_option("table", options.tables, "Tables of prefixes; none: generated ones");
    app.add_option("--bucket", options.buckets, "Routes a bucket");
    app.add_option("--seed", options.seeds, "Seeds of the orders");
    app.add_option("--policy", options.policies, "Policies by name; none: all");
    app.add_option("--work", options.works, "Of download, random, address, replacements, time");
    app.add_option("--family", options.family, "4 or 6; none: both");
    app.add_option("--replacements", options.replacements, "How many");
    app.add_option("--ipv4", options.ipv4, "Routes to generate");
    app.add_option("--ipv6", options.ipv6, "Routes to generate");
    app.add_option(
        "--docs", options.docs,
        "Directory to write policies.md and its pictures to, from lines on standard input");
    CLI11_PARSE(app, argumentCount, arguments);
    try {
        run(options);
    } catch (std::exception const& error) {
        std::cerr << "policy-figures: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
