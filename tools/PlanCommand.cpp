#include <tools/CommandLine.h>
#include <tools/NamedFiles.h>
#include <tools/OutputFile.h>
#include <tools/Plan.h>
#include <tools/PlanDot.h>
#include <tools/Replacements.h>

#include <unistd.h>

#include <memory>

namespace LpmTools {

namespace {

struct PlanCall {
    Source source;
    PlanOptions plan;
    std::vector<std::string> updates;
    U32 replacements = 100000;
    bool isDownload = false;  // the default: only to be said
    bool json = false;
    bool csv = false;
    std::string html;
    std::string dot;
    std::string dotPrefix;
};

std::string policyHelp() {
    auto const& policies = LpmClient::policies();
    std::string help =
        "How partitions are cut, by default as " + std::string(policies.front().name);
    for (LpmClient::PolicyDescription const& policy : policies) {
        help += "; " + std::string(policy.name) + ": " + std::string(policy.text);
    }
    return help;
}

void addPlanningOptions(CLI::App& command, PlanCall& call) {
    addBucketOption(command, call.source);
    addText(command, "--policy", call.plan.policy, policyHelp());
    auto* const oneByOne = command.add_flag("--one-by-one", call.plan.oneByOne,
                                            "Take the table in route by route, in the order read");
    command
        .add_flag("--download", call.isDownload,
                  "Take the table in at once, in the fewest buckets possible; the default")
        ->excludes(oneByOne);
    addNumber(command, "--buckets", call.plan.buckets, "Buckets of the chip", U32{1});
    addNumber(command, "--bindings", call.plan.bindings, "Prefixes that the chip can bind", U32{1});
    command.add_flag("--optimum", call.plan.optimum, "Compute the fewest buckets possible, too");
    addNumber(command, "--check", call.plan.checkedAddresses,
              "Random addresses to look up in the chip, beside each prefix's first and last one, "
              "before the updates, on the way and after");
}

void addInputOptions(CLI::App& command, PlanCall& call) {
    addText(command, "table", call.source.files,
            "Tables, text or MRT; gzip and bzip2 are recognised by content; - or no "
            "table and no updates: standard input");
    addText(command, "--updates", call.updates, "Updates after the tables, text or MRT");
    addReadingOptions(command, call.source);
    auto* const builtin = addBuiltinOptions(command, call.source);
    addNumber(command, "--replacements", call.replacements,
              "Updates of a generated table: withdrawals of routes drawn at random, each with an "
              "announcement of one withdrawn earlier")
        ->needs(builtin);
    addSeedOption(command, call.source)
        ->description("Seed of the generated table and of all that is drawn at random");
}

void addOutputOptions(CLI::App& command, PlanCall& call) {
    auto* const json = command.add_flag("--json", call.json, "Report as one JSON document");
    command.add_flag("--csv", call.csv, "Report the time line as comma-separated values")
        ->excludes(json);
    addText(command, "--html", call.html, "Write the report as a page to this file, too");
    auto* const dot =
        addText(command, "--dot", call.dot, "Write the partitions as Graphviz to this file");
    addText(command, "--dot-prefix", call.dotPrefix,
            "Let --dot write the nodes around this prefix instead")
        ->needs(dot);
}

/** What is to be read as tables. */
std::vector<std::string> tablesOf(PlanCall const& call) {
    bool const isStandardInput = call.source.files.empty() && call.updates.empty();
    return isStandardInput && !call.source.builtin ? std::vector<std::string>{"-"}
                                                   : call.source.files;
}

/** No input is read twice or written over, no output written twice. */
void checkNames(PlanCall const& call) {
    auto inputs = tablesOf(call);
    inputs.insert(inputs.end(), call.updates.begin(), call.updates.end());
    checkStandardInput(inputs);
    checkOutputs(inputs,
                 std::array{NamedOutput{"--html", call.html}, NamedOutput{"--dot", call.dot}});
}

/** The file, opened before the work begins; none where none is asked for. */
std::unique_ptr<OutputFile> openOutput(std::string const& path) {
    return path.empty() ? nullptr : std::make_unique<OutputFile>(path);
}

void takeBuiltin(PlanCall const& call, Plan& plan, PlanReport& report) {
    checkBuiltinAlone(!call.source.files.empty() || !call.updates.empty());
    report.isGenerated = true;
    auto routes = generateRoutes(call.source);
    plan.takeTable(routes);
    plan.takeUpdates(randomReplacements(std::move(routes), call.replacements, call.source.seed));
}

void takeInputs(PlanCall const& call, Plan& plan, PlanReport& report) {
    NextHopNumbers nextHops;
    RouteInputs inputs(call.source.table, nextHops);
    auto const tables = tablesOf(call);
    checkReadable(tables);
    checkReadable(call.updates);
    plan.takeTable(inputs.readTables(tables));
    plan.beginUpdates();
    inputs.readUpdates(call.updates, [&](RouteEvent const& event) { plan.takeUpdate(event); });
    plan.endUpdates();
    report.inputs = inputs.reports();
    if (call.csv) {
        tell(inputs.omissions());  // the other reports have a place for them
    }
}

std::string dotOf(Plan& plan, std::optional<Nimbal::IpGenPrefix> const& prefix) {
    if (!prefix) {
        return partitionsDot(plan.managers());
    }
    auto* const manager = plan.manager(prefix->af());
    if (manager == nullptr) {
        throw std::invalid_argument("--dot-prefix: there is no route of the family of " +
                                    prefix->stringValue());
    }
    return neighbourhoodDot(*manager, *prefix);
}

void writeReport(PlanCall const& call, PlanReport const& report) {
    writeAll(STDOUT_FILENO, call.json  ? planJson(report)
                            : call.csv ? planCsv(report)
                                       : planText(report));
}

int runPlan(PlanCall& call) {
    call.plan.bucketRoutes = call.source.bucket;
    call.plan.seed = call.source.seed;
    std::optional<Nimbal::IpGenPrefix> prefix;
    if (!call.dotPrefix.empty()) {
        prefix = Nimbal::IpGenPrefix::fromString(call.dotPrefix);
    }
    checkNames(call);
    auto const html = openOutput(call.html);
    auto const dot = openOutput(call.dot);
    Plan plan(call.plan);
    PlanReport report;
    if (call.source.builtin) {
        takeBuiltin(call, plan, report);
    } else {
        takeInputs(call, plan, report);
    }
    plan.finish(report);
    if (html) {
        html->write(planHtml(report));
    }
    if (dot) {
        dot->write(dotOf(plan, prefix));
    }
    writeReport(call, report);
    for (InputReport const& input : report.inputs) {
        if (!input.error.empty()) {
            fail(input.error, statusFailed);
        }
    }
    for (std::string const& trouble : plan.troubles()) {
        fail(trouble, statusFailed);
    }
    return allRight(report) ? statusDone : statusFailed;
}

}  // namespace

void addPlanCommand(CLI::App& app, Work& work) {
    auto const call = std::make_shared<PlanCall>();
    auto* const command = app.add_subcommand(
        "plan", "Programs a simulated chip with tables and updates and tells what it cost");
    addInputOptions(*command, *call);
    addPlanningOptions(*command, *call);
    addOutputOptions(*command, *call);
    command->callback([&work, call] { work = [call] { return runPlan(*call); }; });
}

}  // namespace LpmTools
