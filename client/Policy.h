#pragma once

#include <client/Recut.h>

#include <memory>
#include <string>
#include <string_view>

namespace LpmClient {

/** What a policy may use. */
struct Room {
    U32 bucketRoutes = 0;  // a bucket's bound
    U32 freshBuckets = 0;  // how many more pieces than now there may be
    U64 moves = 0;         // routes that the table's changes have moved so far
    U64 withdrawn = 0;     // routes withdrawn so far
};

/**
 * Decides where partitions are cut. A policy looks at the trie and proposes; the partition manager
 * carries out, in trie and chip. One object serves one table, on that table's thread. It must leave
 * the trie as it is. What it throws reaches the manager's caller: an announcement has changed
 * nothing then, and is owed only if it was before; a withdrawal stands, and `retry` asks again.
 */
class Policy {
public:
    Policy() = default;
    Policy(Policy const&) = delete;
    Policy& operator=(Policy const&) = delete;
    virtual ~Policy();

    /**
     * The partition at `root` has one route more than fits a bucket; `incoming` is the route that
     * has just come. Proposes pieces that all fit. No cut: there is none within the room given.
     */
    virtual std::optional<Cut> makeRoom(ClientTrie& trie, RouteNode* root, RouteNode* incoming,
                                        Room const& room) = 0;
    /**
     * The cut proposed last by `makeRoom` has been carried out. What a policy learns from arrivals
     * it learns here, so that a refusal by the chip, and the same route once more, teach it
     * nothing.
     */
    virtual void madeRoom() noexcept {}
    /** The partition at `root` has lost a route. No cut: leave it as it is. */
    virtual std::optional<Cut> shrink(ClientTrie& trie, RouteNode* root, Room const& room) = 0;
};

/** A policy that comes with the client. */
struct PolicyDescription {
    std::string_view name;  // by which `makePolicy` makes it
    std::string_view text;  // one sentence for a person who chooses
};

/** All policies; the first is the default. */
std::vector<PolicyDescription> const& policies();
/** Throws std::invalid_argument that names the policy and those that there are. */
std::unique_ptr<Policy> makePolicy(std::string_view name);

}  // namespace LpmClient
