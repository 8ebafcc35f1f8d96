#include <fuzz/MemoryFile.h>

#include <tools/RouteUpdates.h>

#include <map>

/*
 * Updates, as text or as MRT, carried out on a table of paths. A plain map of the routes, kept by
 * what each update is said to have changed, must be what the table holds in the end; and where the
 * input is text, from one peer, what is said must be what the line alone tells.
 */

namespace {

using namespace LpmTools;
using Fuzz::require;
using Routes = std::map<Nimbal::IpGenPrefix, NextHop>;

void checkChange(RouteUpdate const& update, bool wasThere, bool isText) {
    switch (update.change) {
    case RouteChange::added:
        require(!wasThere && !update.isWithdrawal, "an announcement adds what was not there");
        break;
    case RouteChange::removed:
        require(wasThere && update.isWithdrawal, "a withdrawal removes what was there");
        break;
    case RouteChange::nextHopChanged:
        require(wasThere, "a next hop changes of what was there");
        break;
    case RouteChange::none:
        require(wasThere || update.isWithdrawal, "an announcement is never lost");
        require(!isText || wasThere != update.isWithdrawal, "a peer withdraws what it announced");
    }
}

void carryOut(RouteUpdate const& update, PathTable const& table, Routes& routes, bool isText) {
    checkChange(update, routes.contains(update.prefix), isText);
    NextHop const* const hop = table.nextHop(update.prefix);
    if (update.change == RouteChange::removed) {
        routes.erase(update.prefix);
    } else if (update.change != RouteChange::none) {
        require(hop != nullptr, "a route that is there has a next hop");
        routes[update.prefix] = *hop;
    }
    require((hop != nullptr) == routes.contains(update.prefix), "the table has what was told");
    require(hop == nullptr || *hop == routes[update.prefix], "no next hop changes untold");
}

void run(std::string const& path, TableOptions const& options) {
    MrtPeers peers;
    PathTable table(peers);
    Routes routes;
    try {
        RouteUpdates updates(path, options, peers, table);
        for (RouteUpdate update; updates.next(update);) {
            carryOut(update, table, routes, updates.mrt() == nullptr);
        }
    } catch (BadLine const&) {
        require(!options.keepGoing, "a bad line ends no reading that keeps going");
    } catch (InputError const&) {
        // What was read before it counts.
    }
    Routes held;
    table.forEachRoute([&](auto const& prefix, NextHop const& hop) { held.emplace(prefix, hop); });
    require(held == routes && table.routes() == routes.size(), "table and map hold the same");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Fuzz::MemoryFile const file({reinterpret_cast<char const*>(data), size});
    for (bool const strict : {false, true}) {
        run(file.path(), {.strict = strict, .keepGoing = !strict});
    }
    return 0;
}
