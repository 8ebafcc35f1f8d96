#pragma once

#include <client/PartitionManager.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace PolicyFigures {

using LpmClient::U32;
using LpmClient::U64;
using Prefixes = std::vector<Nimbal::IpGenPrefix>;

/** How a policy did at one tenth of a work. */
struct Tenth {
    U64 updates = 0;
    U64 routes = 0;
    U64 buckets = 0;
    U64 optimum = 0;
    U64 moves = 0;

    double ratio() const noexcept {
        return static_cast<double>(buckets) / static_cast<double>(optimum);
    }
    double movesEach(U64 per) const noexcept {
        return static_cast<double>(moves) / static_cast<double>(per);
    }
};

/** One policy, or one setting of it, on one work. */
struct Figures {
    std::vector<Tenth> tenths;
    double microseconds = 0;  // each update, in the client with a chip that does nothing

    /** The tenth with the highest ratio. */
    Tenth const& worst() const;
    /** Moves each update since the start, the most at any tenth. */
    double mostMoves() const noexcept;
};

using MakePolicy = std::function<std::unique_ptr<LpmClient::Policy>()>;

/** What the works share. */
struct Setting {
    Nimbal::AddressFamily af = Nimbal::AddressFamily::ipv4;
    U32 bucketRoutes = 512;
    U64 seed = 1;
    MakePolicy makePolicy;
};

/** The whole table at once. */
Figures download(Setting const& setting, Prefixes const& table);
/** One route after the other, in order of address. */
Figures addressOrder(Setting const& setting, Prefixes table);

struct RandomFigures {
    Figures load;
    Figures replacements;
};
/**
 * One route after the other in random order, but a tenth that is held back as withdrawn before it
 * began; then replacements: a random route is withdrawn, and one of those withdrawn earlier comes
 * back. A tenth is held back only where there are replacements.
 */
RandomFigures randomOrder(Setting const& setting, Prefixes table, U64 replacements);

/** What the library alone takes for a route, in random order by `insertFromRoot`. */
double libraryMicroseconds(Prefixes table);

}  // namespace PolicyFigures
