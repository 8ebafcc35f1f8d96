#include <tools/MrtPeers.h>

#include <Torvel/HashMix.h>
#include <tools/MrtCursor.h>

namespace LpmTools {

std::size_t MrtPeers::Hash::operator()(MrtPeer const& peer) const noexcept {
    Torvel::HashMix mix(U32{peer.isLocal});
    mix.mix(&peer.as, sizeof peer.as);
    mix.mix(peer.address.address().data(), peer.address.address().size());
    return U32{mix};
}

U32 MrtPeers::number(MrtPeer const& peer) {
    if (auto const known = numbers_.find(peer); known != numbers_.end()) {
        return known->second;
    }
    if (peers_.size() >= most) {
        throw MrtFault("more than " + std::to_string(most) + " different peers");
    }
    auto const number = static_cast<U32>(peers_.size());
    peers_.push_back(peer);
    try {
        numbers_.emplace(peer, number);
    } catch (...) {
        peers_.pop_back();
        throw;
    }
    return number;
}

}  // namespace LpmTools
