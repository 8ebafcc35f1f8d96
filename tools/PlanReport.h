#pragma once

#include <client/PartitionManager.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

/*
 * What `lpmtrie plan` has found out, for everything that shows it: the summary, JSON, the time line
 * and the page.
 */

namespace LpmTools {

using Vexo::U32;
using Vexo::U64;

/** One line of the time line. */
struct PlanSample {
    U64 update = 0;  // announcements and withdrawals so far
    U64 routes = 0;
    U64 buckets = 0;
    double fill = 0;             // routes a bucket, as a part of its bound
    U64 writes = 0;              // hardware writes so far
    U64 moves = 0;               // routes written again into another bucket so far
    std::optional<U64> optimum;  // the fewest buckets possible for these routes

    bool operator==(PlanSample const&) const noexcept = default;
};

/** One comparison of the chip's answers: before the updates, on the way or after them. */
struct AnswerRound {
    U64 update = 0;  // so many had come
    U64 routes = 0;
    U64 addresses = 0;  // the first and the last one of each route, and random ones
};

/** How the chip's answers compare with a brute-force longest match. */
struct AnswerCheck {
    std::vector<AnswerRound> rounds;
    U64 addresses = 0;
    U64 wrong = 0;
    std::string firstWrong;  // address, the chip's answer and the right one
};

/** One family's plan. */
struct FamilyPlan {
    Nimbal::AddressFamily af = Nimbal::AddressFamily::none;
    U64 tableRoutes = 0;      // taken in before all updates
    bool downloaded = false;  // these, at once; one by one they are updates
    U64 routes = 0;
    U64 buckets = 0;
    std::optional<U64> optimum;
    double fill = 0;
    std::array<U64, 20> fillHistogram{};  // buckets by fill: 0 to 5 %, ..., over 95 %
    std::array<U64, 129> lengths{};       // routes by prefix length
    std::vector<U64> depths;              // routes by the number of nodes above them
    std::vector<PlanSample> samples;
    LpmClient::ManagerCounts counts;
    LpmClient::WriteCounts writes;  // of the chip since the family began
    U64 owed = 0;                   // updates that found no room or were refused
    U64 differences = 0;            // between trie and chip at the end; must be 0
    AnswerCheck answers;
    double seconds = 0;  // in the partition manager
};

/** What reading one input gave. */
struct InputReport {
    std::string name;
    std::string format;  // "text", "MRT"
    U64 records = 0;     // lines of a text
    U64 announced = 0;
    U64 withdrawn = 0;
    U64 hostBitsCleared = 0;
    std::vector<std::pair<std::string, U64>> skipped;  // what was not understood, by name
    std::string error;                                 // why reading ended early, if it did
};

struct PlanReport {
    std::vector<InputReport> inputs;
    std::string policy;
    std::string start;  // "download" or "one by one": how the tables were taken in
    U32 bucketRoutes = 0;
    U32 bucketLimit = 0;
    U32 bucketsUsed = 0;  // of all families
    U64 seed = 1;         // of all that was drawn at random: addresses, and a generated table
    bool isGenerated = false;
    std::vector<FamilyPlan> families;
};

/** Announcements and withdrawals, those without an effect too, but not a table downloaded. */
inline U64 updatesOf(FamilyPlan const& plan) noexcept {
    return plan.samples.empty() ? 0 : plan.samples.back().update;
}

inline U32 freeBuckets(PlanReport const& report) noexcept {
    return report.bucketLimit - report.bucketsUsed;
}

/** The summary for a person, ending in a line feed. */
std::string planText(PlanReport const& report);
/** One JSON document, ending in a line feed. */
std::string planJson(PlanReport const& report);
/** The time lines: a head line, then "family,update,routes,buckets,fill,writes,moves,optimum". */
std::string planCsv(PlanReport const& report);
/** One self-contained HTML page. */
std::string planHtml(PlanReport const& report);

}  // namespace LpmTools
