#pragma once

#include <tools/FamilyRun.h>
#include <tools/Progress.h>

#include <array>
#include <memory>

namespace LpmTools {

struct PlanOptions {
    U32 bucketRoutes = 512;
    U32 buckets = U32{1} << 20;
    U32 bindings = U32{1} << 20;
    std::string policy;  // empty: the default one
    bool oneByOne = false;
    bool optimum = false;
    bool checksAnswers = true;
    U64 checkedAddresses = 100000;  // random ones; every prefix's ends are checked anyway
    U64 seed = 1;                   // of the random addresses
};

/** Sees to it that no table of so many routes lacks a bucket or a binding, however small they are.
 */
void giveBucketsEnough(PlanOptions& options, U64 routes) noexcept;

/**
 * Programs a simulated chip with a table and the updates after it, one partition manager for each
 * family over one chip, and checks its answers before the updates, after them and on the way.
 */
class Plan {
public:
    /** Throws std::invalid_argument for an unknown policy. */
    explicit Plan(PlanOptions const& options);

    void takeTable(std::vector<LpmClient::Route> const& routes);
    /**
     * Updates as they come, between a beginning and an end; none is kept. Answers are checked after
     * 1,000 of them, 10,000 and so on.
     */
    void beginUpdates();
    void takeUpdate(RouteEvent const& event);
    void endUpdates();
    /** The same for updates that are all there, with a check half-way. */
    void takeUpdates(std::vector<RouteEvent> const& events);
    /** May be called again after more updates. Audits; fills all of `report` but the inputs and
     * whether the table is a generated one. */
    void finish(PlanReport& report);

    LpmClient::SimulatedChip const& chip() const noexcept { return chip_; }
    /** Null for a family that has had no route. */
    LpmClient::PartitionManager* manager(Nimbal::AddressFamily af) noexcept;
    /** Those that there are, IPv4 first. */
    std::vector<LpmClient::PartitionManager*> managers();
    /** What is wrong at the end, a line each; none when all is right. */
    std::vector<std::string> troubles() const;

private:
    FamilyRun& family(Nimbal::AddressFamily af);
    void takeTable(Nimbal::AddressFamily af, std::vector<LpmClient::Route> const& routes);
    void beginUpdates(std::array<U64, 2> const& totals);
    void check();

    PlanOptions const options_;
    LpmClient::SimulatedChip chip_;
    Torvel::Bitmap::Ptr const numbers_;
    Xoshiro random_;
    std::array<std::unique_ptr<FamilyRun>, 2> families_;  // IPv4, IPv6
    std::string start_;
    std::array<U64, 2> totals_{};  // updates to come, 0 where that is not known
    std::array<bool, 2> isUpdated_{};
    U64 taken_ = 0;    // updates since they began
    U64 checkAt_ = 0;  // so many of them
    std::optional<Progress> progress_;
};

/** Is the report one of a run in which everything went right? */
bool allRight(PlanReport const& report) noexcept;

}  // namespace LpmTools
