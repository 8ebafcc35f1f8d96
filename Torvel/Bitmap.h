#pragma once

#include <Vexo/Ptr.h>
#include <Vexo/TrackedAllocation.h>

#include <mutex>
#include <optional>
#include <vector>

namespace Torvel {

using Vexo::U32;
using Vexo::U64;

/**
 * Shared allocator of small numbers: a counted bit set that grows as needed up to a limit. Setting
 * a set bit and clearing a clear one are allowed and change nothing. Memory: at most two bits for
 * each index up to the highest ever set. In thread-safe-pointer mode every operation locks, so
 * threads may share a bitmap. `takeNextFree` and `nextFree` walk over full words of 64 bits, from
 * the first one that is not full; the others take constant time, but for growth.
 */
class LPMTRIE_API Bitmap final : public Vexo::PtrInterface, public Vexo::TrackedAllocation<Bitmap> {
public:
    using Ptr = Vexo::Ptr<Bitmap>;

    /** All numbers but the largest of 32 bits. */
    static constexpr U32 noLimit_ = 0xffffffffU;

    /** Indexes run from 0 to `limit` - 1. */
    explicit Bitmap(U32 limit = noLimit_) noexcept : limit_(limit) {}
    /** A new, empty bitmap with notification on. */
    static Ptr BitmapIs(U32 limit = noLimit_);

    Vexo::FwkType const* fwkType() const override;

    /** The first index that cannot be set. */
    U32 limit() const noexcept { return limit_; }
    /** Marks `index` as taken. RangeException when it is not below the limit; std::bad_alloc. */
    void setBit(U32 index);
    /** Marks `index` as free. An index that was never set is free already, beyond the limit too. */
    void clearBit(U32 index) noexcept;
    /** Whether `index` is taken; false beyond the limit. */
    bool isSet(U32 index) const noexcept;
    /** Number of bits set. */
    U32 count() const noexcept;
    /** The lowest free index at or above `from`; none when all below the limit are taken. */
    std::optional<U32> nextFree(U32 from = 0) const noexcept;
    /** Finds the lowest free index and marks it, in one step. RangeException when all are taken. */
    U32 takeNextFree();

    static Vexo::FwkType const fwkType_;

private:
    std::unique_lock<std::mutex> lock() const noexcept;
    void set(U32 index);
    std::optional<U32> findFree(U32 from) const noexcept;

    U32 const limit_;
    U32 count_ = 0;
    std::size_t firstWithRoom_ = 0;  // all words below this one are full
    std::vector<U64> words_;
    mutable std::mutex mutex_;
};

/** The module of this folder's types. */
LPMTRIE_API extern Vexo::FwkModule const torvelModule;

}  // namespace Torvel
