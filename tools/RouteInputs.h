#pragma once

#include <client/Hardware.h>
#include <tools/Omissions.h>
#include <tools/PlanReport.h>
#include <tools/RouteUpdates.h>

#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace LpmTools {

/** An announcement or a withdrawal, and what it means for the route to its prefix. */
struct RouteEvent {
    LpmClient::Route route;  // as it is then; of a withdrawn one, the prefix alone counts
    RouteChange change = RouteChange::none;
};

/** Next hops as numbers: 1, 2, ... as they are first met, and 0 where an input tells none. */
class NextHopNumbers {
public:
    LpmClient::NextHop of(NextHop const& nextHop);
    /** The address behind a number: "192.0.2.1"; empty for a number that is not known. */
    std::string textOf(LpmClient::NextHop number) const;

    /** Next hops that are known. */
    U64 size() const noexcept { return numbers_.size(); }
    /** Forgets the next hops for which `isUsed` is false. Their numbers are not given out again. */
    template <class IsUsed>
    void keepUsed(IsUsed const& isUsed) {
        std::erase_if(numbers_, [&](auto const& entry) { return !isUsed(entry.first); });
    }

private:
    std::map<NextHop, LpmClient::NextHop> numbers_;
    LpmClient::NextHop last_ = 0;
};

/** Throws InputError for the first one that cannot be opened; before long work. */
void checkReadable(std::span<std::string const> paths);

/**
 * Reads tables and updates, text or MRT, that belong together: paths of one table, so that what one
 * input announces another one can withdraw. An error ends an input, not the reading: what came
 * before it counts, and it stands in the input's report. A bad line throws BadLine, as elsewhere.
 */
class RouteInputs {
public:
    /** Inputs whose routes are compared share `nextHops`, which must live as long. */
    RouteInputs(TableOptions const& options, NextHopNumbers& nextHops)
        : options_(options), nextHops_(nextHops) {}

    /**
     * The routes that there are once all is read, in the order in which they have come; one that
     * went and came again has come the last time. Memory is bounded by the routes alive.
     */
    std::vector<LpmClient::Route> readTables(std::span<std::string const> paths);
    /**
     * Hands on all events, those without an effect too, as they are read. Memory is bounded by the
     * paths alive: a next hop of none of them may have another number when it comes again.
     */
    void readUpdates(std::span<std::string const> paths,
                     std::function<void(RouteEvent const&)> const& take);

    std::vector<InputReport> const& reports() const noexcept { return reports_; }
    /** Of the inputs that have any. */
    std::vector<Omissions> const& omissions() const noexcept { return omissions_; }
    /** The first error of an input; empty when there is none. */
    std::string firstError() const;

private:
    template <class Take>
    void read(std::string const& path, Take const& take);
    void leaveAlive(std::vector<Nimbal::IpGenPrefix>& added) const;
    LpmClient::NextHop numberOf(Nimbal::IpGenPrefix const& prefix);
    void forgetNextHops();

    TableOptions const options_;
    MrtPeers peers_;
    PathTable table_{peers_};
    NextHopNumbers& nextHops_;
    std::vector<InputReport> reports_;
    std::vector<Omissions> omissions_;
};

}  // namespace LpmTools
