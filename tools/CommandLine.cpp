#include <tools/CommandLine.h>

#include <tools/NamedFiles.h>
#include <tools/RouteGenerator.h>
#include <tools/Xoshiro.h>

namespace LpmTools {

std::array<CLI::Option*, 2> addSizeOptions(CLI::App& app, Source& source) {
    return {addNumber(app, "--ipv4", source.ipv4, "IPv4 routes to generate"),
            addNumber(app, "--ipv6", source.ipv6, "IPv6 routes to generate")};
}

CLI::Option* addSeedOption(CLI::App& app, Source& source) {
    return addNumber(app, "--seed", source.seed, "Seed: the same one gives the same table");
}

void addBucketOption(CLI::App& app, Source& source) {
    addNumber(app, "--bucket", source.bucket, "Most routes of a bucket", U32{1});
}

void addReadingOptions(CLI::App& app, Source& source) {
    app.add_flag("--strict", source.table.strict, "Refuse prefixes with host bits set");
    app.add_flag("--keep-going", source.table.keepGoing, "Skip and count bad lines");
}

CLI::Option* addBuiltinOptions(CLI::App& app, Source& source) {
    auto* const builtin =
        app.add_flag("--builtin", source.builtin, "Load a generated table instead of files");
    for (CLI::Option* const option : addSizeOptions(app, source)) {
        option->needs(builtin);
    }
    return builtin;
}

void addSourceOptions(CLI::App& app, Source& source) {
    addText(app, "file", source.files,
            "Tables, one prefix a line; gzip and bzip2 are recognised by content; - or no "
            "file: standard input");
    addBucketOption(app, source);
    addReadingOptions(app, source);
    auto* const builtin = addBuiltinOptions(app, source);
    addSeedOption(app, source)->needs(builtin);
}

void checkBuiltinAlone(bool hasFiles) {
    if (hasFiles) {
        throw std::invalid_argument("--builtin takes no files");
    }
}

Table generate(Source const& source) {
    Table table;
    table.ipv4 = generateTable(Nimbal::AddressFamily::ipv4, source.ipv4, source.seed);
    table.ipv6 = generateTable(Nimbal::AddressFamily::ipv6, source.ipv6, source.seed);
    table.seed = source.seed;
    return table;
}

std::vector<LpmClient::Route> generateRoutes(Source const& source) {
    constexpr std::size_t nextHops = 64;
    Table const table = generate(source);
    std::vector<LpmClient::Route> routes;
    Xoshiro numbers(source.seed);
    for (auto const* family : {&table.ipv4, &table.ipv6}) {
        for (Nimbal::IpGenPrefix const& prefix : *family) {
            routes.push_back({prefix, 1 + U64{numbers.below(nextHops)}});
        }
    }
    return routes;
}

Table read(Source const& source) {
    if (source.builtin) {
        checkBuiltinAlone(!source.files.empty());
        return generate(source);
    }
    checkStandardInput(source.files);
    return readTables(source.files.empty() ? std::vector<std::string>{"-"} : source.files,
                      source.table);
}

}  // namespace LpmTools
