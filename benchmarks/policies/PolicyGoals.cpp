#include "PolicyGoals.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <ostream>
#include <set>
#include <sstream>

namespace PolicyFigures {

namespace {

/** What the policies are meant to reach. */
struct Goal {
    std::string work;
    U32 bucketRoutes;  // 0: any
    double ratio;
    double moves;
};

std::vector<Goal> const goals{{"random", 0, 1.10, 1.0},          {"random", 0, 1.05, 1.3},
                              {"random", 0, 1.05, 1.0},          {"address", 0, 1.05, 1.0},
                              {"address", 0, 1.02, 0.8},         {"replacements", 512, 1.10, 0.05},
                              {"replacements", 512, 1.08, 0.05}, {"replacements", 64, 1.15, 0.15},
                              {"replacements", 64, 1.10, 0.10}};

/** How much too many buckets a row takes: 0 when it is as good as the goal. */
double ratioMissed(Row const& row, Goal const& goal) {
    return std::max(row.worstRatio / goal.ratio - 1, 0.0);
}

double movesMissed(Row const& row, Goal const& goal) {
    return std::max(row.moves / goal.moves - 1, 0.0);
}

double distance(Row const& row, Goal const& goal) {
    return ratioMissed(row, goal) + movesMissed(row, goal);
}

/** A goal for one family and bucket, and all that has been measured for it. */
struct Trial {
    Goal goal;
    std::vector<Row> rows;

    Row const& nearest() const {
        return *std::min_element(rows.begin(), rows.end(), [&](Row const& a, Row const& b) {
            // Policies that have a name first.
            return std::pair(!isNamed(a.policy), distance(a, goal)) <
                   std::pair(!isNamed(b.policy), distance(b, goal));
        });
    }
    bool reached() const { return distance(nearest(), goal) == 0; }
};

std::vector<Trial> trialsOf(std::vector<Row> const& rows) {
    std::set<std::pair<Nimbal::AddressFamily, U32>> tables;
    for (Row const& row : rows) {
        tables.insert({row.af, row.bucketRoutes});
    }
    std::vector<Trial> trials;
    for (Goal const& goal : goals) {
        for (auto const& [af, bucketRoutes] : tables) {
            Trial trial{goal, rowsOf(rows, goal.work, af, bucketRoutes)};
            bool const meant = goal.bucketRoutes == 0 || goal.bucketRoutes == bucketRoutes;
            if (meant && !trial.rows.empty()) {
                trials.push_back(std::move(trial));
            }
        }
    }
    return trials;
}

std::string nameOf(Trial const& trial) {
    std::ostringstream text;
    text << "| " << trial.goal.work << " | " << std::fixed << std::setprecision(2)
         << trial.goal.ratio << " at " << trial.goal.moves << " | "
         << familyName(trial.rows.front().af) << ", " << trial.rows.front().bucketRoutes << " | ";
    return text.str();
}

/** The row with the least of `first` among those that miss nothing of `second`. */
template <class Measure, class Missed>
std::string best(Trial const& trial, Measure const& measure, Missed const& missed) {
    Row const* found = nullptr;
    for (Row const& row : trial.rows) {
        if (missed(row, trial.goal) == 0 && (found == nullptr || measure(row) < measure(*found))) {
            found = &row;
        }
    }
    return found == nullptr ? "none" : figures(*found) + " (`" + found->policy + "`)";
}

void writeMissed(std::ostream& out, std::vector<Trial> const& trials) {
    out << "\n### What is not reached\n\nWhat can be had instead, of all that has been measured: the "
           "fewest buckets within the moves aimed at,\nand the fewest moves within the buckets. The "
           "last column tells why it is close or far: how many buckets\nthe policy above takes at "
           "its worst tenth, how many would be within the aim, and the fewest possible.\nA ratio is "
           "the worst of all tenths and seeds: the fewer buckets a table has there, the more one "
           "counts.\n\n"
        << "| Work | Aim | | Fewest buckets | Fewest moves | Buckets: taken, aimed at, fewest |\n"
        << "|---|---|---|---|---|---|\n";
    for (Trial const& trial : trials) {
        if (trial.reached()) {
            continue;
        }
        Row const& row = trial.nearest();
        auto const fewest = static_cast<double>(row.optimumThere);
        out << nameOf(trial)
            << best(
                   trial, [](Row const& at) { return at.worstRatio; }, movesMissed)
            << " | "
            << best(
                   trial, [](Row const& at) { return at.moves; }, ratioMissed)
            << " | " << std::lround(row.worstRatio * fewest) << ", "
            << std::lround(std::floor(trial.goal.ratio * fewest)) << ", " << row.optimumThere
            << " |\n";
    }
}

}  // namespace

void writeGoals(std::ostream& out, std::vector<Row> const& rows) {
    auto const trials = trialsOf(rows);
    out << "\n## What is aimed at\n\nFor each aim the policy that reaches it, or else comes nearest. "
           "Buckets count at\nevery tenth, and moves over the whole work: what these were up to any "
           "tenth stands in brackets above.\nBuckets come whole: the last column tells what a "
           "single one is, at the tenth where that policy is worst.\n\n"
        << "| Work | Aim | | Policy | Reached | One bucket |\n|---|---|---|---|---|---|\n";
    for (Trial const& trial : trials) {
        Row const& row = trial.nearest();
        out << nameOf(trial) << '`' << row.policy << "` | "
            << (trial.reached() ? figures(row) : "no: " + figures(row, 1)) << " | " << std::fixed
            << std::setprecision(1)
            << 100.0 / static_cast<double>(std::max(row.optimumThere, U64{1})) << " % |\n";
    }
    if (!std::all_of(trials.begin(), trials.end(), [](Trial const& at) { return at.reached(); })) {
        writeMissed(out, trials);
    }
}

}  // namespace PolicyFigures
