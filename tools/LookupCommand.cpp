#include <tools/CommandLine.h>
#include <tools/Lookup.h>
#include <tools/NamedFiles.h>

#include <filesystem>
#include <memory>

namespace LpmTools {

namespace {

using LpmClient::Route;
using Nimbal::IpGenPrefix;

struct LookupCall {
    Source source;
    std::vector<std::string> addresses;
    std::vector<std::string> tables;
    bool json = false;
};

IpGenPrefix readAddress(std::string const& text) {
    try {
        if (text.find(':') != std::string::npos) {
            return {Nimbal::Ip6Addr::fromString(text), 128};
        }
        return {Nimbal::IpAddr::fromString(text), 32};
    } catch (Vexo::RangeException const&) {
        std::error_code unknown;
        if (std::filesystem::exists(text, unknown)) {
            throw Vexo::RangeException(Vexo::quotedForMessage(text) +
                                       " is a file, no address: tables are named behind --table");
        }
        throw;
    }
}

std::vector<Route> readRoutes(LookupCall const& call, NextHopNumbers& nextHops) {
    if (call.source.builtin) {
        checkBuiltinAlone(!call.tables.empty());
        return generateRoutes(call.source);
    }
    checkStandardInput(call.tables);
    checkReadable(call.tables);
    RouteInputs inputs(call.source.table, nextHops);
    auto routes =
        inputs.readTables(call.tables.empty() ? std::vector<std::string>{"-"} : call.tables);
    tell(inputs.omissions());
    if (!inputs.firstError().empty()) {
        throw InputError(inputs.firstError());
    }
    return routes;
}

int runLookup(LookupCall const& call) {
    std::vector<IpGenPrefix> addresses;
    for (std::string const& address : call.addresses) {
        addresses.push_back(readAddress(address));
    }
    NextHopNumbers nextHops;
    auto const routes = readRoutes(call, nextHops);
    PlanOptions options;
    options.bucketRoutes = call.source.bucket;
    giveBucketsEnough(options, routes.size());
    Plan plan(options);
    plan.takeTable(routes);
    return lookUp(plan, addresses, nextHops, call.json);
}

}  // namespace

void addLookupCommand(CLI::App& app, Work& work) {
    auto const call = std::make_shared<LookupCall>();
    auto* const command = app.add_subcommand(
        "lookup",
        "Tells the longest match of addresses, their partitions and buckets, and the way");
    addText(*command, "address", call->addresses, "IPv4 or IPv6 addresses")->required();
    addText(*command, "--table", call->tables,
            "Tables, text or MRT; - or no table: standard input");
    addBucketOption(*command, call->source);
    addReadingOptions(*command, call->source);
    auto* const builtin = addBuiltinOptions(*command, call->source);
    addSeedOption(*command, call->source)->needs(builtin);
    command->add_flag("--json", call->json, "Report as one JSON document");
    command->callback([&work, call] { work = [call] { return runLookup(*call); }; });
}

}  // namespace LpmTools
