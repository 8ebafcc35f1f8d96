#pragma once

#include <client/Policy.h>

namespace LpmClient {

/**
 * Splits a full partition in half where the trie's split search says, and dissolves a small one
 * into the partition that the trie's merge search says. With `redistribute` it first looks for a
 * nested partition that can be merged with a part of the full one.
 */
class HalvingPolicy : public Policy {
public:
    /** With `redistribute`, nested partitions are asked first. `share`: hundredths cut off. */
    explicit HalvingPolicy(bool redistribute, U32 share = 50)
        : redistribute_(redistribute), share_(share) {}

    std::optional<Cut> makeRoom(ClientTrie& trie, RouteNode* root, RouteNode* incoming,
                                Room const& room) override;
    std::optional<Cut> shrink(ClientTrie& trie, RouteNode* root, Room const& room) override;

private:
    std::optional<Cut> redistribute(ClientTrie& trie, RouteNode* root, Room const& room) const;

    bool const redistribute_;
    U32 const share_;
};

}  // namespace LpmClient
