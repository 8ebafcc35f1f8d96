#pragma once

#include <Nimbal/IpGenPrefix.h>

#include <compare>
#include <unordered_map>
#include <vector>

namespace LpmTools {

/**
 * Who has sent a route. A collector may also record what it sends itself; what it tells one
 * neighbour stands beside what it hears from it, as if from a peer of its own.
 *
 * An old record has 16 bits for the AS and tells 23456 for one that needs more (RFC 6793), so that
 * such a peer counts as another one there.
 */
struct MrtPeer {
    Nimbal::IpGenPrefix address;  // as long as its family has bits
    Vexo::U32 as = 0;
    bool isLocal = false;  // sent to this neighbour, not heard from it

    /** By address, AS, and who has sent it. */
    auto operator<=>(MrtPeer const&) const noexcept = default;
};

/**
 * Numbers peers 0, 1, … as they are first met. One for all files that belong together: a peer of a
 * dump's index is the same one in the updates after it.
 */
class MrtPeers {
public:
    /** No collector has nearly as many; a file that makes up more is ended. */
    static constexpr std::size_t most = std::size_t{1} << 20;

    /** Throws MrtFault for one peer too many. */
    Vexo::U32 number(MrtPeer const& peer);
    /** `number` is one that was given out. */
    MrtPeer const& operator[](Vexo::U32 number) const { return peers_[number]; }
    std::size_t size() const noexcept { return peers_.size(); }

private:
    struct Hash {
        std::size_t operator()(MrtPeer const& peer) const noexcept;
    };

    std::vector<MrtPeer> peers_;
    std::unordered_map<MrtPeer, Vexo::U32, Hash> numbers_;
};

}  // namespace LpmTools
