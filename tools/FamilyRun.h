#pragma once

#include <client/SimulatedChip.h>
#include <tools/NaiveTable.h>
#include <tools/PlanReport.h>
#include <tools/RouteInputs.h>
#include <tools/Xoshiro.h>

#include <algorithm>

namespace LpmTools {

/** Which of `total` steps are even parts of the whole: at most `parts` of them, the last included.
 */
class EvenSteps {
public:
    EvenSteps(U64 total, U64 parts) noexcept : total_(total), parts_(parts) {}

    /** Is step number `step`, 1 to `total`, one? */
    bool contains(U64 step) const noexcept { return part(step) != part(step - 1); }

private:
    U64 part(U64 step) const noexcept { return step * parts_ / total_; }

    U64 total_;
    U64 parts_;
};

/** The size of each of at most so many parts. */
inline U64 partOf(U64 total, U64 parts) noexcept {
    return std::max((total + parts - 1) / parts, U64{1});
}

/**
 * One family's part of a plan: its partition manager on the chip, a naive table of what the chip
 * ought to hold, and the figures as they come about. An update that is owed is not in the naive
 * table: the chip must go on answering as before it.
 */
class FamilyRun {
public:
    FamilyRun(LpmClient::SimulatedChip& chip, Torvel::Bitmap::Ptr const& numbers,
              LpmClient::ManagerOptions const& options, bool wantsOptimum);

    /**
     * Takes in a whole table at once. False, and nothing done, when there is no room for all of it.
     */
    bool download(std::vector<LpmClient::Route> const& routes);
    /** One route after the other, with a sample at every tenth; tries once more what is owed. */
    void takeOneByOne(std::vector<LpmClient::Route> const& routes);
    /**
     * `total` events will come, or 0: nobody knows how many. Samples are taken at up to 100 even
     * steps; where these become too many, every other one goes and the step is doubled.
     */
    void expectUpdates(U64 total);
    void take(RouteEvent const& event);
    /** The last sample. Then tries once more what is owed. */
    void endUpdates();
    void checkAnswers(U64 random, Xoshiro& numbers);
    /** Verifies the trie, which is fatal where it fails, audits the chip, and tells all figures. */
    FamilyPlan finish();

    LpmClient::PartitionManager& manager() noexcept { return manager_; }
    /** The first differences between trie and chip, and updates owed, in words; for `finish`ed. */
    std::vector<std::string> troubles() const;

private:
    template <class Action>
    auto timed(Action const& action);
    void apply(RouteEvent const& event);
    void sample(bool withOptimum);
    void thinSamples();
    void retry();
    void countBuckets();
    void countDepths();

    LpmClient::SimulatedChip& chip_;
    LpmClient::PartitionManager manager_;
    bool const wantsOptimum_;
    NaiveTable right_;
    FamilyPlan plan_;
    U64 updates_ = 0;
    U64 begun_ = 0;         // `updates_` when the expected ones began
    U64 sampleEvery_ = 1;   // so many of these
    U64 optimumEvery_ = 1;  // a multiple of it
    std::vector<LpmClient::Difference> differences_;
};

}  // namespace LpmTools
