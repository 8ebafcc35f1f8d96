#pragma once

#include <client/Audit.h>
#include <client/ChipWriter.h>
#include <client/ClientTrie.h>
#include <client/Policy.h>

#include <set>
#include <span>

namespace LpmClient {

/** What a manager is to manage, and how. */
struct ManagerOptions {
    U32 vrfId = 0;                                           // the routing instance
    Nimbal::AddressFamily af = Nimbal::AddressFamily::ipv4;  // of all prefixes
    /** Most routes of a bucket; 0: as many as the chip's buckets hold. */
    U32 bucketRoutes = 0;
    /** One of `policies()`; empty: the default one. */
    std::string policy;
    /** The number of the hardware table, for the nodes' labels. */
    U32 hwTable = 1;
};

/** What became of an update. */
enum class Outcome : U8 {
    done,       // trie and chip have it
    unchanged,  // there was nothing to do
    refused,    // the chip refused a write: nothing has changed, the update is owed
    noRoom      // no bucket is left for it: nothing has changed, the update is owed
};

/** "done", "unchanged" and so on. */
std::string_view text(Outcome outcome) noexcept;

/** What a manager has done since it was made. */
struct ManagerCounts {
    U64 added = 0;      // routes
    U64 changed = 0;    // next hops
    U64 withdrawn = 0;  // routes
    U64 notDone = 0;    // updates that were refused or found no room
    U64 splits = 0;     // recuts into more pieces than before
    U64 merges = 0;     // recuts into fewer
    U64 shifts = 0;     // recuts into as many
    U64 moves = 0;      // routes written again into another bucket

    bool operator==(ManagerCounts const&) const noexcept = default;
};

/**
 * Keeps the routes of one routing instance and family in a trie and, divided into buckets, in a
 * chip, and both in agreement at all times.
 *
 * Each update either succeeds in both or changes neither and is owed: `retry` takes up what is
 * owed. What a policy throws reaches the caller, as `Policy` tells. One that finds no memory throws
 * std::bad_alloc, and one of a prefix that the table cannot take throws std::invalid_argument: it
 * has changed neither and is not owed. While an update runs, each address gets, after each single
 * hardware write, either the answer from before the update or the one after it.
 *
 * Managers may share a chip and the bitmap of bucket numbers, each on a thread of its own
 * (thread-safe-pointer mode must be on then); one manager serves one thread at a time. The
 * destructor frees the trie and leaves the chip as it is. The hardware is the caller's and must
 * outlive the manager.
 *
 * An update takes time in proportion to the trie's depth, the logarithm of the number of
 * partitions, and the partitions nested under its route; where it cuts partitions anew,
 * also to their routes.
 */
class PartitionManager {
public:
    /**
     * `numbers` gives out the buckets; its limit is at most the chip's. Throws
     * std::invalid_argument for an unknown policy or a bound that the chip's buckets cannot hold.
     */
    PartitionManager(Hardware& hardware, Torvel::Bitmap::Ptr numbers,
                     ManagerOptions const& options);
    /** The same with a policy of the caller's own; `options.policy` is ignored. */
    PartitionManager(Hardware& hardware, Torvel::Bitmap::Ptr numbers, ManagerOptions const& options,
                     std::unique_ptr<Policy> policy);
    PartitionManager(PartitionManager const&) = delete;
    PartitionManager& operator=(PartitionManager const&) = delete;
    /** Takes time in proportion to the nodes, which it frees. */
    ~PartitionManager();

    /**
     * Adds a route, or changes its next hop. Throws std::invalid_argument when the prefix is of
     * another family than the table's, is longer than that family's addresses, or has host bits
     * set.
     */
    Outcome announce(Route const& route);
    /**
     * Takes a route away. `unchanged`: there is none; what was owed for it is not owed any more.
     * Throws std::invalid_argument as `announce` does.
     */
    Outcome withdraw(Nimbal::IpGenPrefix const& prefix);
    /**
     * Takes a whole table at once into an empty one, cut into the fewest buckets possible, each
     * route written once. Of routes of one prefix the last counts. All or nothing; nothing is owed
     * for it, and once it is done nothing older either. Takes O(d) time a route.
     * Throws std::logic_error when the table is not empty, and std::invalid_argument for a prefix
     * as `announce` does.
     */
    Outcome download(std::span<Route const> routes);
    /**
     * Takes over what the chip holds, into an empty table, and completes or takes back a change
     * that was cut off in the middle. False when the chip has refused a write, has no bucket to
     * spare, or holds a partition of more routes than `bucketRoutes`: then nothing is taken over,
     * and updates are refused until a restart succeeds; so they are after std::bad_alloc, and after
     * what a chip throws that cannot be read. Other tables' managers may go on meanwhile. Takes
     * O(d) time for each route that the chip holds, and what `repair` takes. Throws
     * std::logic_error when the table is not empty.
     */
    bool restart();

    /** Tries again what is owed, each update in its time. True when nothing is owed any more. */
    bool retry();
    /** The updates that are owed: a next hop, or none for a withdrawal. */
    std::map<Nimbal::IpGenPrefix, std::optional<NextHop>> const& owed() const noexcept {
        return owed_;
    }
    /**
     * Whether nothing is owed: no update, no recut of a partition that has shrunk, no write that
     * takes something back or frees a bucket, no repair or restart that has not succeeded. Then
     * `audit` finds no difference but what somebody else has written to the chip.
     */
    bool settled() const noexcept {
        return !mustRestart_ && !mustRepair_ && owed_.empty() && toImprove_.empty() &&
               writer_.settled();
    }

    /**
     * Every difference between trie and chip. Reads all that the chip holds of the table, sorts
     * each bucket, and takes O(d) time for each route of either. Throws what a chip throws that
     * cannot be read, and has changed nothing then.
     */
    std::vector<Difference> audit() const;
    /**
     * Makes the chip agree with the trie. Returns the differences that are left, since the chip has
     * refused a write; they, and those left by std::bad_alloc, `retry` takes up. After a restart
     * that has failed it only tells them: the trie does not know what the chip should hold. What a
     * chip throws that cannot be read reaches the caller, and `retry` takes up the rest.
     * Takes the time of three audits, and for each lost bucket that of a look at all partitions.
     */
    std::vector<Difference> repair();

    /** The trie, to read. Who changes it changes what the manager believes of the chip. */
    ClientTrie& trie() noexcept { return *trie_; }
    /** The partitions' roots by prefix. */
    std::map<Nimbal::IpGenPrefix, RouteNode*> const& roots() const noexcept { return roots_; }
    /** Most routes of a bucket. */
    U32 bucketRoutes() const noexcept { return bucketRoutes_; }
    /** What has been done so far. */
    ManagerCounts const& counts() const noexcept { return counts_; }
    /** Routes of the table. */
    U64 routes() const noexcept { return trie_->root() ? trie_->root()->routeCount() : 0; }
    /** Buckets that the table takes: one for each partition. */
    U64 buckets() const noexcept { return roots_.size(); }
    /** Buckets that no table uses: as many as the bitmap's limit leaves. */
    U32 freeBuckets() const noexcept { return numbers_->limit() - numbers_->count(); }
    /** The chip's last refusal, if any. */
    std::optional<RefusedWrite> const& lastRefusal() const noexcept {
        return writer_.lastRefusal();
    }

private:
    class RecutChange;
    /** Numbers of buckets that serve no partition and are to be freed. */
    using StrayIds = std::map<Bucket, LpmTrie::PartitionId::Ptr>;

    Outcome owe(Nimbal::IpGenPrefix const& prefix, std::optional<NextHop> nextHop, Outcome outcome);
    Outcome isSettled(Nimbal::IpGenPrefix const& prefix, Outcome outcome);
    void checkPrefix(Nimbal::IpGenPrefix const& prefix) const;
    Outcome announceSettled(Route const& route);
    Outcome insert(Route const& route, LpmTrie::Node* partitionNode);
    Outcome change(RouteNode* node, NextHop nextHop);
    void writeCoversUnder(RouteNode const* node, std::optional<Route> const& cover);

    bool ensureTop();
    bool removeTop();
    LpmTrie::PartitionId::Ptr takeId();
    LpmTrie::PartitionId::Ptr idOf(Bucket bucket);
    LpmTrie::PartitionId::Ptr allocateFresh();
    bool takeFresh(Recut& recut);
    Room room() const noexcept {
        return {bucketRoutes_, freeBuckets(), counts_.moves, counts_.withdrawn};
    }
    bool tryImprove(Nimbal::IpGenPrefix const& rootPrefix);
    void improveNowOrLater(std::set<Nimbal::IpGenPrefix>& rootPrefix);
    std::optional<Cut> improvement(RouteNode* root);
    void complete(RecutChange& change);

    RouteNode* insertAll(std::span<Route const> routes);
    void writePieces(std::vector<RouteNode*> const& roots);
    void writePiece(RouteNode* root);
    void dropLeftovers(std::vector<Binding>& bindings);
    void adoptBindings(std::vector<Binding> const& bindings);
    void adoptRoutes();
    void separateTenants();
    void separate(RouteNode* root);
    bool takeOver();
    void dropAll() noexcept;
    void repairOnce(StrayIds& strayIds);
    void repair(Difference const& difference, StrayIds& strayIds);
    void restoreBucket(Bucket bucket);

    U32 const bucketRoutes_;
    U32 const hwTable_;
    Torvel::Bitmap::Ptr const numbers_;
    ClientTrie::Ptr const trie_;
    ChipWriter writer_;
    std::unique_ptr<Policy> const policy_;
    std::map<Nimbal::IpGenPrefix, RouteNode*> roots_;
    std::map<Nimbal::IpGenPrefix, std::optional<NextHop>> owed_;
    std::set<Nimbal::IpGenPrefix> toImprove_;  // roots of partitions whose merge was refused
    bool mustRestart_ = false;                 // the chip holds what could not be taken over
    bool mustRepair_ = false;                  // the last repair has left differences
    ManagerCounts counts_;
};

}  // namespace LpmClient
