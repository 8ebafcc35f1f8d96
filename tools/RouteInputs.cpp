#include <tools/RouteInputs.h>

#include <tools/AnswerChecker.h>

#include <unistd.h>

#include <cerrno>
#include <cstring>
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
    constexpr std::array messages{"messages of unknown types",
                                  "messages that open a session",
                                  "updates",
                                  "notifications",
                                  "keepalives",
                                  "route refreshes"};
    for (std::size_t type = 0; type < messages.size(); ++type) {
        addSkipped(report, messages[type], counts.otherMessages[type]);
    }
    addSkipped(report, "state changes of sessions", counts.stateChanges);
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
    if (nextHop.size == 0) {
        return 0;
    }
    auto const [known, isNew] = numbers_.try_emplace(nextHop, last_ + 1);
    last_ += isNew ? 1U : 0U;
    return known->second;
}

/** Of an address with a link-local one behind it, both. */
std::string NextHopNumbers::textOf(LpmClient::NextHop number) const {
    for (auto const& [nextHop, own] : numbers_) {
        if (own != number) {
            continue;
        }
        std::string text;
        std::size_t const width = nextHop.size == 4 ? 4 : 16;
        for (std::size_t at = 0; at + width <= nextHop.size; at += width) {
            IpGenPrefix const address(
                width == 4 ? Nimbal::AddressFamily::ipv4 : Nimbal::AddressFamily::ipv6,
                std::span(nextHop.bytes).subspan(at, width), static_cast<U32>(8 * width));
            text += (at == 0 ? "" : " ") + addressText(address);
        }
        return text;
    }
    return {};
}

void checkReadable(std::span<std::string const> paths) {
    for (std::string const& path : paths) {
        // Not opened: a pipe would notice.
        if (path != "-" && ::eaccess(path.c_str(), R_OK) != 0) {
            throw InputError(inputName(path) + ": cannot open: " + std::strerror(errno));
        }
    }
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
    Omissions omissions{report.name, report.hostBitsCleared, 0, {}};
    if (updates) {
        omissions.badLines = updates->text().badLines;
        omissions.firstBadLine = updates->text().firstBadLine;
    }
    if (omissions.any()) {
        omissions_.push_back(omissions);
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
            forgetNextHops();
        });
    }
}

/** Next hops that come and go again and again: half of those that are known are of the past. */
void RouteInputs::forgetNextHops() {
    constexpr U64 slack = 4096;
    if (nextHops_.size() > 2 * table_.nextHops() + slack) {
        nextHops_.keepUsed([&](NextHop const& nextHop) { return table_.leadsTo(nextHop); });
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
