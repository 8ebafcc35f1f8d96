/*
 * Two tables compared. What the change costs is found out by making it: the first table is taken
 * into a simulated chip at once and then changed into the second one. Routes come before others go,
 * so that no address loses its answer on the way to a new one.
 */

#include <tools/CommandLine.h>
#include <tools/NamedFiles.h>
#include <tools/Output.h>
#include <tools/Plan.h>
#include <tools/Texts.h>

#include <unistd.h>

#include <algorithm>
#include <map>
#include <memory>

namespace LpmTools {

namespace {

using LpmClient::Route;
using Nimbal::IpGenPrefix;

struct DiffCall {
    Source source;
    std::string before;
    std::string after;
    bool list = false;
};

struct Change {
    char sign;  // '+', '-' or '~', as they are listed
    Route route;
};

std::vector<Route> readTable(DiffCall const& call, std::string const& path,
                             NextHopNumbers& nextHops) {
    RouteInputs inputs(call.source.table, nextHops);
    auto const routes = inputs.readTables({&path, 1});
    tell(inputs.omissions());
    if (!inputs.firstError().empty()) {
        throw InputError(inputs.firstError());
    }
    return routes;
}

/** What the second table has and the first one has not, and the other way, in order. */
std::vector<Change> compare(std::vector<Route> const& before, std::vector<Route> const& after) {
    std::map<IpGenPrefix, std::pair<Route const*, Route const*>> both;
    for (Route const& route : before) {
        both[route.prefix].first = &route;
    }
    for (Route const& route : after) {
        both[route.prefix].second = &route;
    }
    std::vector<Change> changes;
    for (auto const& [prefix, routes] : both) {
        auto const [old, now] = routes;
        if (old == nullptr) {
            changes.push_back({'+', *now});
        } else if (now == nullptr) {
            changes.push_back({'-', *old});
        } else if (old->nextHop != 0 && now->nextHop != 0 && old->nextHop != now->nextHop) {
            changes.push_back({'~', *now});
        }
    }
    return changes;
}

U64 count(std::vector<Change> const& changes, Nimbal::AddressFamily af, char sign) {
    return static_cast<U64>(std::ranges::count_if(changes, [&](Change const& change) {
        return change.sign == sign && change.route.prefix.af() == af;
    }));
}

void takeChanges(Plan& plan, std::vector<Change> const& changes) {
    for (char const sign : {'+', '~', '-'}) {
        std::vector<RouteEvent> events;
        for (Change const& change : changes) {
            if (change.sign == sign) {
                events.push_back(
                    {change.route, sign == '-' ? RouteChange::removed : RouteChange::added});
            }
        }
        plan.takeUpdates(events);
    }
}

std::string costText(FamilyPlan const& before, FamilyPlan const& after) {
    std::string text;
    addLine(text, "buckets", grouped(after.buckets), "before: " + grouped(before.buckets));
    addLine(text, "writes", grouped(after.writes.total() - before.writes.total()), "");
    for (std::size_t kind = 0; kind < LpmClient::writeKinds; ++kind) {
        U64 const writes = after.writes.done[kind] - before.writes.done[kind];
        if (writes > 0) {
            std::string const name(LpmClient::text(static_cast<LpmClient::WriteKind>(kind)));
            addLine(text, ("  " + name).c_str(), grouped(writes), "");
        }
    }
    addLine(text, "moved routes", grouped(after.counts.moves - before.counts.moves), "");
    return text;
}

std::string diffText(std::vector<Change> const& changes, PlanReport const& before,
                     PlanReport const& after) {
    std::string text;
    for (FamilyPlan const& plan : after.families) {
        text += familyCode(plan.af) + "\n";
        addLine(text, "to add", grouped(count(changes, plan.af, '+')), "");
        addLine(text, "to withdraw", grouped(count(changes, plan.af, '-')), "");
        addLine(text, "to rewrite", grouped(count(changes, plan.af, '~')), "");
        FamilyPlan begun;  // a family that the first table has not
        for (FamilyPlan const& candidate : before.families) {
            begun = candidate.af == plan.af ? candidate : begun;
        }
        text += costText(begun, plan);
    }
    return text;
}

std::string listed(std::vector<Change> const& changes) {
    std::string text;
    for (Change const& change : changes) {
        text += std::string(1, change.sign) + " " + change.route.prefix.stringValue() + "\n";
    }
    return text;
}

int runDiff(DiffCall const& call) {
    std::array const tables{call.before, call.after};
    checkStandardInput(tables);
    checkReadable(tables);
    NextHopNumbers nextHops;
    auto const before = readTable(call, call.before, nextHops);
    auto const after = readTable(call, call.after, nextHops);
    auto const changes = compare(before, after);
    PlanOptions options;
    options.bucketRoutes = call.source.bucket;
    options.checksAnswers = false;
    giveBucketsEnough(options, before.size() + after.size());
    Plan plan(options);
    plan.takeTable(before);
    PlanReport atFirst;
    plan.finish(atFirst);
    takeChanges(plan, changes);
    PlanReport report;
    plan.finish(report);
    writeAll(STDOUT_FILENO, (call.list ? listed(changes) : std::string()) +
                                diffText(changes, atFirst, report) +
                                (changes.empty() ? "equal\n" : ""));
    for (std::string const& trouble : plan.troubles()) {
        fail(trouble, statusUndecided);
    }
    return !allRight(report) ? statusUndecided : changes.empty() ? statusDone : statusDifferent;
}

}  // namespace

void addDiffCommand(CLI::App& app, Work& work) {
    auto const call = std::make_shared<DiffCall>();
    auto* const command = app.add_subcommand(
        "diff", "Compares two tables and tells what changing one into the other costs");
    addText(*command, "before", call->before, "A table, text or MRT")->required();
    addText(*command, "after", call->after, "Another one")->required();
    addBucketOption(*command, call->source);
    addReadingOptions(*command, call->source);
    command->add_flag("--list", call->list,
                      "List the routes to add (+), to withdraw (-) and to rewrite (~) first");
    command->callback([&work, call] { work = [call] { return runDiff(*call); }; });
}

}  // namespace LpmTools
