#include <tools/CommandLine.h>
#include <tools/Load.h>
#include <tools/Output.h>

#include <unistd.h>

#include <memory>

namespace LpmTools {

namespace {

struct LoadOptions {
    Source source;
    bool json = false;
};

int load(LoadOptions const& options) {
    Table const table = read(options.source);
    U32 const bucket = options.source.bucket;
    std::vector<FamilyReport> reports;
    if (!table.ipv4.empty()) {
        reports.push_back(loadFamily(Nimbal::AddressFamily::ipv4, table.ipv4, bucket));
    }
    if (!table.ipv6.empty()) {
        reports.push_back(loadFamily(Nimbal::AddressFamily::ipv6, table.ipv6, bucket));
    }
    writeAll(STDOUT_FILENO, options.json ? reportJson(table, reports) : reportText(table, reports));
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

}  // namespace

void addLoadCommand(CLI::App& app, Work& work) {
    auto const options = std::make_shared<LoadOptions>();
    auto* const command = app.add_subcommand(
        "load", "Loads tables into partitions, verifies, looks up, removes and reports");
    addSourceOptions(*command, options->source);
    command->add_flag("--json", options->json, "Report as one JSON document");
    command->callback([&work, options] { work = [options] { return load(*options); }; });
}

void addGenerateCommand(CLI::App& app, Work& work) {
    auto const source = std::make_shared<Source>();
    auto* const command = app.add_subcommand(
        "generate", "Writes a table with the shape of the Internet's, one prefix a line");
    addSizeOptions(*command, *source);
    addSeedOption(*command, *source);
    command->callback([&work, source] { work = [source] { return generateToOutput(*source); }; });
}

}  // namespace LpmTools
