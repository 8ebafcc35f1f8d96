/*
 * What becomes of an address: the way through the trie, and the answer of a chip that has been
 * programmed with it. Both know the longest match; they must agree.
 */

#include <tools/AnswerChecker.h>
#include <tools/CommandLine.h>
#include <tools/Output.h>
#include <tools/Plan.h>
#include <tools/Texts.h>

#include <nlohmann/json.hpp>

#include <unistd.h>

#include <memory>

namespace LpmTools {

namespace {

using Json = nlohmann::ordered_json;
using LpmClient::Route;
using Nimbal::IpGenPrefix;

struct LookupCall {
    Source source;
    std::vector<std::string> addresses;
    std::vector<std::string> tables;
    bool json = false;
};

struct Found {
    IpGenPrefix address;
    std::optional<Route> match;  // as the trie has it
    LpmClient::ChipAnswer answer;
    std::optional<Route> cover;
    std::vector<std::string> path;

    bool agrees() const noexcept { return match == answer.route; }
};

IpGenPrefix readAddress(std::string const& text) {
    if (text.find(':') != std::string::npos) {
        return {Nimbal::Ip6Addr::fromString(text), 128};
    }
    return {Nimbal::IpAddr::fromString(text), 32};
}

/** The texts of the nodes that cover the address, from the root downwards. */
std::vector<std::string> pathTo(LpmTrie::Trie const& trie, IpGenPrefix const& address) {
    std::vector<std::string> path;
    LpmTrie::Node const* node = trie.root();
    while (node != nullptr && node->prefixRef()->prefix().overlaps(address)) {
        path.push_back(node->stringValue());
        node = node->len() < address.len() ? node->bitNode(address.bit(node->len())) : nullptr;
    }
    return path;
}

Found find(Plan& plan, IpGenPrefix const& address) {
    Found found;
    found.address = address;
    auto* const manager = plan.manager(address.af());
    if (manager == nullptr) {
        return found;
    }
    if (auto const* match = LpmTrie::longestMatch(manager->trie(), address); match != nullptr) {
        found.match = LpmClient::routeAt(match);
    }
    found.answer = plan.chip().lookup(0, address);
    if (auto const bucket = plan.chip().contents(found.answer.bucket)) {
        found.cover = bucket->cover;
    }
    found.path = pathTo(manager->trie(), address);
    return found;
}

std::string text(std::optional<Route> const& route, NextHopNumbers const& nextHops) {
    if (!route) {
        return "none";
    }
    std::string const prefix = route->prefix.stringValue();
    if (route->nextHop == 0) {
        return prefix;
    }
    // Of a generated table, next hops are numbers and nothing else.
    std::string const address = nextHops.textOf(route->nextHop);
    return prefix + ", next hop " + (address.empty() ? std::to_string(route->nextHop) : address);
}

std::string foundText(Found const& found, NextHopNumbers const& nextHops) {
    auto const& answer = found.answer;
    std::string text = addressText(found.address) + "\n";
    auto const add = [&](char const* label, std::string const& value) {
        text += Vexo::formatString("  %-15s %s\n", label, value.c_str());
    };
    add("longest match", LpmTools::text(found.match, nextHops));
    add("partition", answer.binding ? std::string(answer.binding->stringValue()) : "none");
    add("bucket", answer.binding ? std::to_string(answer.bucket) : "none");
    add("covering route",
        LpmTools::text(found.cover, nextHops) + (answer.fromCover ? ", which answers" : ""));
    for (std::size_t i = 0; i < found.path.size(); ++i) {
        add(i == 0 ? "path" : "", found.path[i]);
    }
    if (!found.agrees()) {
        add("FAILED", "the chip answers " + LpmTools::text(answer.route, nextHops));
    }
    return text;
}

Json routeJson(std::optional<Route> const& route, NextHopNumbers const& nextHops) {
    if (!route) {
        return {};
    }
    std::string const address = nextHops.textOf(route->nextHop);
    return {{"prefix", route->prefix.stringValue()},
            {"nextHop", route->nextHop},
            {"nextHopAddress", address.empty() ? Json() : Json(address)}};
}

Json foundJson(Found const& found, NextHopNumbers const& nextHops) {
    auto const& answer = found.answer;
    bool const isBound = answer.binding.has_value();
    return {{"address", addressText(found.address)},
            {"longestMatch", routeJson(found.match, nextHops)},
            {"partition", isBound ? Json(answer.binding->stringValue()) : Json()},
            {"bucket", isBound ? Json(answer.bucket) : Json()},
            {"coveringRoute", routeJson(found.cover, nextHops)},
            {"answeredByCoveringRoute", answer.fromCover},
            {"chipAgrees", found.agrees()},
            {"path", found.path}};
}

std::vector<Route> readRoutes(LookupCall const& call, NextHopNumbers& nextHops) {
    if (call.source.builtin) {
        checkBuiltinAlone(!call.tables.empty());
        return generateRoutes(call.source);
    }
    checkReadable(call.tables);
    RouteInputs inputs(call.source.table, nextHops);
    auto routes =
        inputs.readTables(call.tables.empty() ? std::vector<std::string>{"-"} : call.tables);
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
    PlanReport report;
    plan.finish(report);
    std::string text;
    Json json = Json::array();
    bool agrees = true;
    for (IpGenPrefix const& address : addresses) {
        Found const found = find(plan, address);
        text += foundText(found, nextHops);
        json.push_back(foundJson(found, nextHops));
        agrees = agrees && found.agrees();
    }
    writeAll(STDOUT_FILENO, call.json ? json.dump(2) + "\n" : text);
    for (std::string const& trouble : plan.troubles()) {
        fail(trouble, statusFailed);
    }
    return agrees && allRight(report) ? statusDone : statusFailed;
}

}  // namespace

void addLookupCommand(CLI::App& app, Work& work) {
    auto const call = std::make_shared<LookupCall>();
    auto* const command = app.add_subcommand(
        "lookup",
        "Tells the longest match of addresses, their partitions and buckets, and the way");
    command->add_option("address", call->addresses, "IPv4 or IPv6 addresses")->required();
    command->add_option("--table", call->tables,
                        "Tables, text or MRT; - or no table: standard input");
    addBucketOption(*command, call->source);
    addReadingOptions(*command, call->source);
    auto* const builtin = addBuiltinOptions(*command, call->source);
    addSeedOption(*command, call->source)->needs(builtin);
    command->add_flag("--json", call->json, "Report as one JSON document");
    command->callback([&work, call] { work = [call] { return runLookup(*call); }; });
}

}  // namespace LpmTools
