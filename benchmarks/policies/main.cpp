/*
 * Measures the client's policies: buckets as a ratio to the fewest possible, the worst of ten
 * tenths of a work, against moved routes. One line of CSV for each work, family, bucket, seed and
 * policy.
 */

#include "PolicyReport.h"

#include <client/WindowPolicy.h>
#include <benchmarks/TableChoice.h>

#include <CLI/CLI.hpp>

#include <iomanip>
#include <iostream>
#include <sstream>

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
    std::string docs;  // a directory to write the report to
};

/** A policy's name, or a window policy's weights: "window:pieces,neighbours,slack,price,merge". */
PolicyFigures::MakePolicy policyMaker(std::string const& name) {
    std::string const head = "window:";
    if (name.rfind(head, 0) != 0) {
        LpmClient::makePolicy(name);  // a wrong name is told at once
        return [name] { return LpmClient::makePolicy(name); };
    }
    LpmClient::WindowWeights weights;
    std::istringstream numbers(name.substr(head.size()));
    char comma = 0;
    numbers >> weights.pieces >> comma >> weights.neighbours >> comma >> weights.slack >> comma >>
        weights.bucketPrice >> comma >> weights.mergePrice;
    if (!numbers) {
        throw std::invalid_argument(name + ": a window policy has five weights");
    }
    return [weights] { return std::make_unique<LpmClient::WindowPolicy>(weights); };
}

using PolicyFigures::Report;

/** Prints a line, and adds it to the report. */
void tell(Report& report, std::string const& work, Setting const& setting,
          std::string const& policy, Figures const& figures, U64 updatesEach) {
    PolicyFigures::Row const row{work,
                                 setting.af,
                                 setting.bucketRoutes,
                                 policy,
                                 figures.worstRatio(),
                                 figures.worstMoves() * static_cast<double>(updatesEach),
                                 figures.microseconds};
    report.add(row);
    auto const& last = figures.tenths.back();
    std::cout << work << ',' << (setting.af == Nimbal::AddressFamily::ipv6 ? "IPv6" : "IPv4") << ','
              << setting.bucketRoutes << ',' << setting.seed << ",\"" << policy << "\","
              << std::fixed << std::setprecision(4) << row.worstRatio << ',' << last.ratio() << ','
              << row.worstMoves << ',' << last.movesEach(last.updates / updatesEach) << ','
              << std::setprecision(2) << row.microseconds << std::endl;
}

bool asked(Options const& options, char const* work) {
    return std::find(options.works.begin(), options.works.end(), work) != options.works.end();
}

void measure(Options const& options, Setting const& setting, std::string const& policy,
             PolicyFigures::Prefixes const& table, Report& report) {
    bool const first = setting.seed == options.seeds.front();
    if (asked(options, "download") && first) {
        tell(report, "download", setting, policy, PolicyFigures::download(setting, table), 1);
    }
    if (asked(options, "address") && first) {
        tell(report, "address", setting, policy, PolicyFigures::addressOrder(setting, table), 1);
    }
    if (asked(options, "random")) {
        tell(report, "random", setting, policy, PolicyFigures::randomOrder(setting, table, 0).load,
             1);
    }
    bool const replaced = setting.bucketRoutes == 64 || setting.bucketRoutes == 512;
    if (asked(options, "replacements") && replaced) {
        auto const figures = PolicyFigures::randomOrder(setting, table, options.replacements);
        tell(report, "replacements", setting, policy, figures.replacements, 2);
    }
}

void run(Options& options) {
    if (options.policies.empty()) {
        for (auto const& policy : LpmClient::policies()) {
            options.policies.emplace_back(policy.name);
        }
    }
    Report report;
    report.seeds = options.seeds;
    report.replacements = options.replacements;
    LpmTools::Table const table =
        LpmBenchmarks::readOrGenerate(options.tables, options.ipv4, options.ipv6, 1);
    report.table = std::to_string(table.ipv4.size()) + " of IPv4 and " +
                   std::to_string(table.ipv6.size()) + " of IPv6, " +
                   (options.tables.empty() ? "generated" : "a full Internet table");
    std::cout << "work,family,bucket,seed,policy,worst ratio,final ratio,worst moves,final moves,"
                 "microseconds an update\n";
    for (auto const* prefixes : {&table.ipv6, &table.ipv4}) {
        if (!prefixes->empty()) {
            report.library.push_back(
                {prefixes->front().af(), PolicyFigures::libraryMicroseconds(*prefixes)});
        }
        for (U32 const bucket : options.buckets) {
            for (std::string const& policy : options.policies) {
                for (U64 const seed : options.seeds) {
                    if (!prefixes->empty()) {
                        measure(options,
                                {prefixes->front().af(), bucket, seed, policyMaker(policy)}, policy,
                                *prefixes, report);
                    }
                }
            }
        }
    }
    if (!options.docs.empty()) {
        PolicyFigures::writeReport(report, options.docs);
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
    app.add_option("--work", options.works, "Of download, random, address, replacements");
    app.add_option("--replacements", options.replacements, "How many");
    app.add_option("--ipv4", options.ipv4, "Routes to generate");
    app.add_option("--ipv6", options.ipv6, "Routes to generate");
    app.add_option("--docs", options.docs, "Directory to write policies.md and its pictures to");
    CLI11_PARSE(app, argumentCount, arguments);
    try {
        run(options);
    } catch (std::exception const& error) {
        std::cerr << "policy-figures: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
