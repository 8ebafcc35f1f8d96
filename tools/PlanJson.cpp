#include <tools/PlanReport.h>
#include <tools/Texts.h>

#include <nlohmann/json.hpp>

namespace LpmTools {

namespace {

using Json = nlohmann::ordered_json;

template <class Number>
Json orNull(std::optional<Number> const& number) {
    return number ? Json(*number) : Json();
}

Json inputJson(InputReport const& input) {
    Json skipped = Json::object();
    for (auto const& [what, count] : input.skipped) {
        skipped[what] = count;
    }
    return {{"name", input.name},
            {"format", input.format},
            {"records", input.records},
            {"announced", input.announced},
            {"withdrawn", input.withdrawn},
            {"hostBitsCleared", input.hostBitsCleared},
            {"skipped", skipped},
            {"error", input.error.empty() ? Json() : Json(input.error)}};
}

Json sampleJson(PlanSample const& sample) {
    return {{"update", sample.update},          {"routes", sample.routes},
            {"buckets", sample.buckets},        {"fill", sample.fill},
            {"writes", sample.writes},          {"moves", sample.moves},
            {"optimum", orNull(sample.optimum)}};
}

Json writesJson(U64 total, std::array<U64, LpmClient::writeKinds> const& writes) {
    Json json{{"total", total}};
    for (std::size_t kind = 0; kind < LpmClient::writeKinds; ++kind) {
        json[std::string(LpmClient::text(static_cast<LpmClient::WriteKind>(kind)))] = writes[kind];
    }
    return json;
}

Json roundsJson(AnswerCheck const& check) {
    Json rounds = Json::array();
    for (AnswerRound const& round : check.rounds) {
        rounds.push_back(
            {{"update", round.update}, {"routes", round.routes}, {"addresses", round.addresses}});
    }
    return rounds;
}

Json lengthsJson(FamilyPlan const& plan) {
    Json json = Json::object();
    for (std::size_t len = 0; len < plan.lengths.size(); ++len) {
        if (plan.lengths[len] > 0) {
            json[std::to_string(len)] = plan.lengths[len];
        }
    }
    return json;
}

Json familyJson(FamilyPlan const& plan) {
    Json samples = Json::array();
    for (PlanSample const& sample : plan.samples) {
        samples.push_back(sampleJson(sample));
    }
    return {{"family", familyCode(plan.af)},
            {"table", {{"routes", plan.tableRoutes}, {"downloaded", plan.downloaded}}},
            {"routes", plan.routes},
            {"buckets", plan.buckets},
            {"optimum", orNull(plan.optimum)},
            {"fill", plan.fill},
            {"fillHistogram", plan.fillHistogram},
            {"lengths", lengthsJson(plan)},
            {"depths", plan.depths},
            {"counts",
             {{"added", plan.counts.added},
              {"changed", plan.counts.changed},
              {"withdrawn", plan.counts.withdrawn},
              {"notDone", plan.counts.notDone},
              {"splits", plan.counts.splits},
              {"merges", plan.counts.merges},
              {"shifts", plan.counts.shifts},
              {"moves", plan.counts.moves}}},
            {"writes", writesJson(plan.writes.total(), plan.writes.done)},
            {"refusedWrites", writesJson(plan.writes.totalRefused(), plan.writes.refused)},
            {"owed", plan.owed},
            {"differences", plan.differences},
            {"answers",
             {{"addresses", plan.answers.addresses},
              {"wrong", plan.answers.wrong},
              {"firstWrong", plan.answers.firstWrong},
              {"rounds", roundsJson(plan.answers)}}},
            {"seconds", plan.seconds},
            {"samples", samples}};
}

}  // namespace

std::string planJson(PlanReport const& report) {
    Json document{{"bucketRoutes", report.bucketRoutes},
                  {"bucketLimit", report.bucketLimit},
                  {"bucketsUsed", report.bucketsUsed},
                  {"bucketsFree", freeBuckets(report)},
                  {"policy", report.policy},
                  {"start", report.start},
                  {"seed", report.seed},
                  {"inputs", Json::array()},
                  {"families", Json::array()}};
    for (InputReport const& input : report.inputs) {
        document["inputs"].push_back(inputJson(input));
    }
    for (FamilyPlan const& plan : report.families) {
        document["families"].push_back(familyJson(plan));
    }
    // A name of a file may hold any byte; JSON holds UTF-8.
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string planCsv(PlanReport const& report) {
    std::string text = "family,update,routes,buckets,fill,writes,moves,optimum\n";
    for (FamilyPlan const& plan : report.families) {
        for (PlanSample const& sample : plan.samples) {
            text += familyCode(plan.af);
            for (U64 const number : {sample.update, sample.routes, sample.buckets}) {
                text += "," + std::to_string(number);
            }
            text += "," + decimal(sample.fill, 6);
            for (U64 const number : {sample.writes, sample.moves}) {
                text += "," + std::to_string(number);
            }
            text += "," + (sample.optimum ? std::to_string(*sample.optimum) : "") + "\n";
        }
    }
    return text;
}

}  // namespace LpmTools
