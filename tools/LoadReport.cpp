#include <tools/Load.h>
#include <tools/Texts.h>

#include <nlohmann/json.hpp>

namespace LpmTools {

namespace {

using Json = nlohmann::ordered_json;

double perRoute(U64 number, FamilyReport const& report) {
    return ratio(number, report.figures.routes);
}

/** One bar a tenth, the longest of 40 characters. */
void addFill(std::string& text, TableFigures const& figures) {
    U64 most = 1;
    for (U64 const count : figures.fillTenths) {
        most = std::max(most, count);
    }
    for (std::size_t tenth = 0; tenth < figures.fillTenths.size(); ++tenth) {
        U64 const count = figures.fillTenths[tenth];
        std::string const label = Vexo::formatString("%zu-%zu %%", tenth * 10, tenth * 10 + 10);
        addLine(text, label.c_str(), grouped(count), std::string(count * 40 / most, '#'));
    }
}

std::string familyText(FamilyReport const& report) {
    TableFigures const& figures = report.figures;
    std::string text = familyCode(report.af) + "\n";
    addLine(text, "routes", grouped(figures.routes), "");
    addLine(text, "nodes", grouped(figures.nodes),
            decimal(perRoute(figures.nodes, report), 2) + " a route, " +
                grouped(figures.internalNodes) + " of them internal");
    addLine(text, "depth", decimal(figures.meanDepth, 1),
            "nodes on the way to a route on average, " + std::to_string(figures.maxDepth) +
                " at most");
    addLine(text, "partitions", grouped(figures.partitions),
            decimal(figures.meanFill * 100, 1) + " % full on average; at most " +
                grouped(figures.largestPartition) + " of " + grouped(report.bucket) + " routes, " +
                grouped(figures.emptyPartitions) + " without any");
    addLine(text, "moved routes", grouped(report.movedRoutes),
            decimal(perRoute(report.movedRoutes, report), 2) + " a route");
    addLine(text, "memory", decimal(report.bytesPerRoute, 1),
            "bytes a route in nodes, prefixes and partition ids");
    addLine(text, "time",
            decimal(report.insertSeconds + report.verifySeconds + report.lookUpSeconds +
                        report.removeSeconds,
                    2),
            "seconds: insert " + decimal(report.insertSeconds, 2) + ", verify " +
                decimal(report.verifySeconds, 2) + ", look up " + decimal(report.lookUpSeconds, 2) +
                ", remove " + decimal(report.removeSeconds, 2));
    text += "  partitions by fill\n";
    addFill(text, figures);
    if (report.notFound > 0) {
        text += "  FAILED: " + grouped(report.notFound) + " routes were not found\n";
    }
    if (report.leftObjects > 0) {
        text += "  FAILED: " + grouped(report.leftObjects) + " objects were not freed\n";
    }
    if (report.good()) {
        text += "  every invariant verified, every route found in its partition, all removed, "
                "nothing left allocated\n";
    }
    return text;
}

Json familyJson(FamilyReport const& report) {
    TableFigures const& figures = report.figures;
    return {{"family", familyCode(report.af)},
            {"routes", figures.routes},
            {"nodes", figures.nodes},
            {"internalNodes", figures.internalNodes},
            {"depth", {{"mean", figures.meanDepth}, {"max", figures.maxDepth}}},
            {"partitions",
             {{"count", figures.partitions},
              {"bucket", report.bucket},
              {"meanFill", figures.meanFill},
              {"largest", figures.largestPartition},
              {"empty", figures.emptyPartitions},
              {"fillTenths", figures.fillTenths}}},
            {"movedRoutes", report.movedRoutes},
            {"bytesPerRoute", report.bytesPerRoute},
            {"seconds",
             {{"insert", report.insertSeconds},
              {"verify", report.verifySeconds},
              {"lookUp", report.lookUpSeconds},
              {"remove", report.removeSeconds}}},
            {"notFound", report.notFound},
            {"leftObjects", report.leftObjects}};
}

}  // namespace

std::string reportText(Table const& table, std::vector<FamilyReport> const& reports) {
    std::string text;
    for (FamilyReport const& report : reports) {
        text += familyText(report) + "\n";
    }
    if (table.seed) {
        return text + "input: generated from the seed " + std::to_string(*table.seed) + "\n";
    }
    Omissions const omitted = sumOf(table.omissions);
    text += "input: " + grouped(table.lines) + " lines, " + grouped(table.duplicates) +
            " prefixes read again, " + grouped(omitted.hostBitsCleared) +
            " with host bits cleared, " + grouped(omitted.badLines) + " bad lines skipped\n";
    if (omitted.badLines > 0) {
        text += "first bad line: " + omitted.firstBadLine + "\n";
    }
    return text;
}

std::string reportJson(Table const& table, std::vector<FamilyReport> const& reports) {
    Omissions const omitted = sumOf(table.omissions);
    Json document{{"input",
                   {{"seed", table.seed ? Json(*table.seed) : Json()},
                    {"lines", table.lines},
                    {"duplicates", table.duplicates},
                    {"hostBitsCleared", omitted.hostBitsCleared},
                    {"badLines", omitted.badLines},
                    {"firstBadLine", omitted.firstBadLine}}},
                  {"families", Json::array()}};
    for (FamilyReport const& report : reports) {
        document["families"].push_back(familyJson(report));
    }
    // A name of a file may hold any byte; JSON holds UTF-8.
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace LpmTools
