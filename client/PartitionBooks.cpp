/*
 * The partition manager's books: numbers of buckets, the partition at the top, and what a recut
 * changes in them.
 */

#include <client/PartitionManager.h>
#include <client/RecutChange.h>

#include <stdexcept>

namespace LpmClient {

using LpmTrie::PartitionId;
using LpmTrie::PendingState;
using Nimbal::IpGenPrefix;

namespace {

constexpr U32 wholeNumber = ~U32{0};

}  // namespace

/**
 * The number of a bucket that nobody uses. RangeException when there is none.
 *
 * After a restart some buckets are allocated to other tables that have not been restarted yet:
 * their numbers stay taken, for the restart that will make them its own, maybe at this very time.
 */
PartitionId::Ptr PartitionManager::takeId() {
    for (;;) {
        Bucket const bucket = numbers_->takeNextFree();
        try {
            if (!writer_.hardware().contents(bucket)) {
                return idOf(bucket);
            }
        } catch (...) {
            numbers_->clearBit(bucket);
            throw;
        }
    }
}

PartitionId::Ptr PartitionManager::idOf(Bucket bucket) {
    return PartitionId::PartitionIdIs(LpmTrie::PartitionIdValue(bucket), wholeNumber, numbers_);
}

/** A bucket that nobody uses, allocated. RangeException when there is none. */
PartitionId::Ptr PartitionManager::allocateFresh() {
    PartitionId::Ptr id = takeId();
    writer_.allocate(id);
    return id;
}

/** Gives the pieces of a recut that need one a bucket's number. False when there are not enough. */
bool PartitionManager::takeFresh(Recut& recut) {
    std::vector<PartitionId::Ptr> fresh;
    try {
        while (fresh.size() < recut.freshBuckets) {
            fresh.push_back(takeId());
        }
    } catch (Vexo::RangeException const&) {
        return false;
    }
    assignFresh(recut, fresh);
    return true;
}

/** A recut that trie and chip have both carried out enters the books. */
void PartitionManager::complete(RecutChange& change) {
    Recut const& recut = change.recut();
    for (OldPiece const& piece : recut.olds) {
        roots_.erase(piece.root->prefixRef()->prefix());
    }
    roots_.merge(change.entering());
    auto& count = recut.news.size() > recut.olds.size()   ? counts_.splits
                  : recut.news.size() < recut.olds.size() ? counts_.merges
                                                          : counts_.shifts;
    ++count;
    counts_.moves += change.moves();
    change.complete();
}

/** The partition of everything, empty at first. False when there is no bucket for it. */
bool PartitionManager::ensureTop() {
    PartitionId::Ptr id;
    try {
        id = allocateFresh();
    } catch (Vexo::RangeException const&) {
        return false;
    }
    IpGenPrefix const everything(trie_->af(), {}, 0);
    Roots entering{{everything, nullptr}};
    writer_.bind(everything, id->id().value());
    LpmTrie::Node* const top = trie_->insertFromRoot(everything, false, true, id, hwTable_).node();
    top->pendingStateIs(PendingState());
    entering.begin()->second = routeNode(top);
    roots_.merge(entering);
    writer_.commit();
    return true;
}

/**
 * Gives the top's bucket back if the table is empty. False when the chip has refused or there is no
 * memory: an empty partition more, until the next update or retry.
 */
bool PartitionManager::removeTop() {
    RouteNode* const top = routeNode(trie_->root());
    if (top == nullptr || top->routeCount() != 0 || roots_.size() != 1) {
        return true;
    }
    PartitionId::Ptr const id = top->partitionId();
    try {
        writer_.unbind(top->prefixRef()->prefix());
        writer_.freeLater(id);
    } catch (RefusedWrite const&) {
        writer_.undo();
        return false;
    } catch (std::bad_alloc const&) {
        writer_.undo();
        return false;
    }
    roots_.clear();
    trie_->removeNode(top, true);
    writer_.commit();
    return true;
}

}  // namespace LpmClient
