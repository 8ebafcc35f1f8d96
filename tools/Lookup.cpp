/*
 * What becomes of an address: the way through the trie, and the answer of a chip that has been
 * programmed with it. Both know the longest match; they must agree.
 */

#include <tools/Lookup.h>

#include <tools/AnswerChecker.h>
#include <tools/ExitStatus.h>
#include <tools/Output.h>
#include <tools/Texts.h>

#include <nlohmann/json.hpp>

#include <unistd.h>

namespace LpmTools {

namespace {

using Json = nlohmann::ordered_json;
using LpmClient::Route;
using Nimbal::IpGenPrefix;

struct Found {
    IpGenPrefix address;
    std::optional<Route> match;  // as the trie has it
    LpmClient::ChipAnswer answer;
    std::optional<Route> cover;
    std::vector<std::string> path;

    bool agrees() const noexcept { return match == answer.route; }
};

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

}  // namespace

int lookUp(Plan& plan, std::span<IpGenPrefix const> addresses, NextHopNumbers const& nextHops,
           bool asJson) {
    PlanReport report;
    plan.finish(report);
    std::string text;
    Json json = Json::array();
    bool agrees = true;
    for (IpGenPrefix const& address : addresses) {
        Found const found = find(plan, address);
        if (asJson) {
            json.push_back(foundJson(found, nextHops));
        } else {
            text += foundText(found, nextHops);
        }
        agrees = agrees && found.agrees();
    }
    writeAll(STDOUT_FILENO, asJson ? json.dump(2) + "\n" : text);
    for (std::string const& trouble : plan.troubles()) {
        fail(trouble, statusFailed);
    }
    return agrees && allRight(report) ? statusDone : statusFailed;
}

}  // namespace LpmTools
