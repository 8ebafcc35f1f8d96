#pragma once

#include <client/Arrivals.h>
#include <client/Policy.h>

namespace LpmClient {

/**
 * Splits a full partition in half where the trie's split search says, and dissolves a small one
 * into the partition that the trie's merge search says. With `redistribute` it first looks for a
 * nested partition that can be merged with a part of the full one.
 *
 * Where routes come in address order, what they have left behind will not grow any more: then more
 * than half is cut off, and left in a bucket that is nearly full.
 */
class HalvingPolicy : public Policy {
public:
    /** With `redistribute`, nested partitions are asked first. */
    explicit HalvingPolicy(bool redistribute)
        : redistribute_(redistribute), share_(50), shareInOrder_(redistribute ? 65 : 80) {}
    /** Cuts off so many hundredths, in whatever order routes come. */
    HalvingPolicy(bool redistribute, U32 share)
        : redistribute_(redistribute), share_(share), shareInOrder_(share) {}

    std::optional<Cut> makeRoom(ClientTrie& trie, RouteNode* root, RouteNode* incoming,
                                Room const& room) override;
    void madeRoom() noexcept override { arrivals_ = next_; }
    std::optional<Cut> shrink(ClientTrie& trie, RouteNode* root, Room const& room) override;

private:
    std::optional<Cut> redistribute(ClientTrie& trie, RouteNode* root, Room const& room) const;

    bool const redistribute_;
    U32 const share_;
    U32 const shareInOrder_;
    Arrivals arrivals_;
    Arrivals next_;  // with the route in hand
};

}  // namespace LpmClient
