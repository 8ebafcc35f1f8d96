#pragma once

#include <client/Hardware.h>

#include <LpmTrie/LpmTrieTypes.h>

#include <map>
#include <unordered_map>

namespace LpmClient {

/** A write that the chip has refused. Ends the change in hand. */
struct RefusedWrite {
    Write write;                                       // that was to be done
    WriteStatus status = WriteStatus::transientError;  // why it was not
};

/**
 * Writes one routing table's share of a chip, and remembers how to take a change back.
 *
 * A change is a row of writes that ends with `commit` or `undo`. The writer knows what stands in
 * the chip (bindings and covering routes) and so leaves out writes that change nothing. An `undo`
 * write may be refused too, and so may the freeing of a bucket after a commit: such writes are
 * owed, and `settle` must succeed before the next change begins. A write that finds no memory
 * throws std::bad_alloc before the chip has changed; `commit` and `undo` need none. Each takes time
 * in proportion to the writes that it makes, or would make.
 *
 * Not locked: belongs to one table. The chip may be shared.
 */
class ChipWriter {
public:
    /** Knows nothing of the chip's contents, and takes them for empty. */
    ChipWriter(Hardware& hardware, U32 vrfId, Nimbal::AddressFamily af)
        : hardware_(hardware), vrfId_(vrfId), af_(af) {}

    /**
     * @{ One write of the change in hand. Throws RefusedWrite when the chip refuses, and
     * std::bad_alloc before it is asked.
     */
    void allocate(LpmTrie::PartitionId::Ptr const& id);
    /** A route that is not in the bucket, or, with `before`, one whose next hop changes. */
    void writeRoute(Bucket bucket, Route const& route, std::optional<NextHop> before = {});
    void eraseRoute(Bucket bucket, Route const& route);
    void writeCover(Bucket bucket, std::optional<Route> const& cover);
    void bind(Nimbal::IpGenPrefix const& prefix, Bucket bucket);
    void unbind(Nimbal::IpGenPrefix const& prefix);
    /** @} */

    /** The change stands. The buckets named by `freeLater` since the last commit are freed. */
    void commit() noexcept;
    /** Takes the change back, write by write, in reverse order. */
    void undo() noexcept;
    /** Frees the bucket at the next commit, at which it must not be bound any more. */
    void freeLater(LpmTrie::PartitionId::Ptr const& id);

    /** Tries what is owed. True when nothing is owed any more. */
    bool settle() noexcept;
    /** Whether nothing is owed. */
    bool settled() const noexcept { return owed_.empty(); }
    /**
     * Drops what is owed, for a repair that compares with the chip itself. Returns the numbers of
     * buckets that were still to be freed: nobody else may use them before they are.
     */
    std::vector<LpmTrie::PartitionId::Ptr> abandonOwed();
    /** Knows of nothing any more, and owes nothing. */
    void forget();

    /** The chip's last refusal, if any, of whatever write. */
    std::optional<RefusedWrite> const& lastRefusal() const noexcept { return lastRefusal_; }

    /** The covering route that a bucket holds; none also for a bucket that is not known. */
    std::optional<Route> cover(Bucket bucket) const;

    /** @{ Tells what really stands in the chip, where it may differ from what was written. */
    void learnBinding(Nimbal::IpGenPrefix const& prefix, std::optional<Bucket> bucket);
    void learnCover(Bucket bucket, std::optional<Route> const& cover);
    /** @} */

    /** The chip, which the writer does not own. */
    Hardware& hardware() const noexcept { return hardware_; }
    /** The routing instance that it writes for. */
    U32 vrfId() const noexcept { return vrfId_; }

private:
    /** A write and, for one that frees a bucket, the number that it gives back. */
    struct Owed {
        Write write;
        LpmTrie::PartitionId::Ptr id;
    };

    Write make(WriteKind kind, Bucket bucket) const;
    Write makeCover(Bucket bucket, std::optional<Route> const& cover) const;
    Write makeBinding(WriteKind kind, Nimbal::IpGenPrefix const& prefix, Bucket bucket) const;
    /** Writes, and keeps `inverse` for `undo`. */
    void write(Write const& write, Write const& inverse, LpmTrie::PartitionId::Ptr id = {});
    Bucket bucketBoundTo(Nimbal::IpGenPrefix const& prefix) const noexcept;
    /** Makes room for `note`. Throws std::bad_alloc. */
    void prepare(Write const& write);
    /** Keeps up with a write that the chip has carried out. */
    void note(Write const& write) noexcept;
    /** Takes `prepare` back, and keeps the refusal in mind. */
    void noteRefusal(Write const& write, WriteStatus status) noexcept;
    bool settle(Owed const& owed) noexcept;

    Hardware& hardware_;
    U32 const vrfId_;
    Nimbal::AddressFamily const af_;
    std::map<Nimbal::IpGenPrefix, Bucket> bindings_;  // `noBucket`: not bound, a write is under way
    std::unordered_map<Bucket, std::optional<Route>> covers_;
    std::vector<Owed> journal_;  // inverses of the change in hand
    std::vector<Owed> owed_;     // in the order in which they are to be written
    std::vector<LpmTrie::PartitionId::Ptr> freeLater_;
    std::optional<RefusedWrite> lastRefusal_;
};

}  // namespace LpmClient
