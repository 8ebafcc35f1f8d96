#include <tools/RouteInputs.h>

#include <unordered_set>

namespace LpmTools {

using LpmClient::Route;
using Nimbal::IpGenPrefix;

namespace {

void addSkipped(InputReport& report, std::string name, U64 count) {
    if (count > 0) {
        report.skipped.emplace_back(std::move(name), count);
    }
}

void describeMrt(MrtReader const& reader, InputReport& report) {
    MrtCounts const& counts = reader.counts();
    report.format = "MRT";
    report.records = counts.records;
    report.announced = counts.dumpEntries + counts.announcements;
    report.withdrawn = counts.withdrawals;
    report.hostBitsCleared = counts.hostBitsCleared;
    addSkipped(report, "of other families", counts.otherFamilies);
    addSkipped(report, "lists that end within a route", counts.cutRoutes);
    addSkipped(report, "records with bytes left over", counts.recordsWithMore);
    U64 named = 0;
    for (auto const& [kind, count] : reader.unknownKinds()) {
        addSkipped(report, mrtName(kind), count);
        named += count;
    }
    addSkipped(report, "records of further kinds", counts.unknownRecords - named);
}

void describeText(TextCounts const& counts, InputReport& report) {
    report.records = counts.lines;
    report.hostBitsCleared = counts.hostBitsCleared;
    addSkipped(report, "bad lines, the first one " + counts.firstBadLine, counts.badLines);
}

}  // namespace

LpmClient::NextHop NextHopNumbers::of(NextHop const& nextHop) {
    return nextHop.size == 0 ? 0 : numbers_.try_emplace(nextHop, numbers_.size() + 1).first->second;
}

/** Calls `take(update)` for every update of an input. */
template <class Take>
void RouteInputs::read(std::string const& path, Take const& take) {
    InputReport& report = reports_.emplace_back();
    report.name = inputName(path);
    report.format = "text";
    std::optional<RouteUpdates> updates;
    try {
        updates.emplace(path, options_, peers_, table_);
        for (RouteUpdate update; updates->next(update);) {
            ++(update.isWithdrawal ? report.withdrawn : report.announced);
            take(update);
        }
    } catch (InputError const& error) {
        report.error = error.what();
    }
    if (updates && updates->mrt() != nullptr) {
        describeMrt(*updates->mrt(), report);
    } else if (updates) {
        describeText(updates->text(), report);
    }
}

LpmClient::NextHop RouteInputs::numberOf(IpGenPrefix const& prefix) {
    NextHop const* const nextHop = table_.nextHop(prefix);
    return nextHop == nullptr ? 0 : nextHops_.of(*nextHop);
}

/** Leaves each live route once, where it came the last time. */
void RouteInputs::leaveAlive(std::vector<IpGenPrefix>& added) const {
    std::unordered_set<IpGenPrefix> seen;
    auto kept = added.end();
    for (auto at = added.end(); at != added.begin();) {
        --at;
        if (table_.nextHop(*at) != nullptr && seen.insert(*at).second) {
            *--kept = *at;
        }
    }
    added.erase(added.begin(), kept);
}

std::vector<Route> RouteInputs::readTables(std::span<std::string const> paths) {
    constexpr std::size_t slack = 4096;
    std::vector<IpGenPrefix> added;
    bool isWithdrawn = false;
    for (std::string const& path : paths) {
        read(path, [&](RouteUpdate const& update) {
            isWithdrawn = isWithdrawn || update.change == RouteChange::removed;
            if (update.change != RouteChange::added) {
                return;
            }
            added.push_back(update.prefix);
            // Routes that come and go again and again: half of what stands here is of the past.
            if (added.size() > 2 * table_.routes() + slack) {
                leaveAlive(added);
            }
        });
    }
    if (isWithdrawn) {
        leaveAlive(added);
    }
    std::vector<Route> routes;
    routes.reserve(added.size());
    for (IpGenPrefix const& prefix : added) {
        routes.push_back({prefix, numberOf(prefix)});
    }
    return routes;
}

void RouteInputs::readUpdates(std::span<std::string const> paths,
                              std::function<void(RouteEvent const&)> const& take) {
    for (std::string const& path : paths) {
        read(path, [&](RouteUpdate const& update) {
            bool const hasRoute =
                update.change == RouteChange::added || update.change == RouteChange::nextHopChanged;
            take({{update.prefix, hasRoute ? numberOf(update.prefix) : 0}, update.change});
        });
    }
}

std::string RouteInputs::firstError() const {
    for (InputReport const& report : reports_) {
        if (!report.error.empty()) {
            return report.error;
        }
    }
    return {};
}

}  // namespace LpmTools
