#pragma once

#include <Vexo/Prefetch.h>
#include <Vexo/SingleThread.h>
#include <Vexo/Types.h>

#include <atomic>
#include <cstddef>

namespace Vexo {

/**
 * Storage for many small objects: slots of equal size, without anything between them, cut from
 * large pieces that the system may back by huge pages. It belongs to no owner of objects; any
 * thread may release what another has allocated. Slots are kept for reuse and never given back to
 * the system.
 *
 * A released slot stays readable, and as it was but for its last word, until it is used again: what
 * an object's destructor leaves behind can still be seen by a stale pointer's holder.
 *
 * Objects larger than `largest()` come from the global operators instead. These are all objects
 * when this library has been built with the address sanitizer, which wants to watch each; how a
 * client has been built does not matter, so that both agree on where an object came from.
 */
class LPMTRIE_API SlabStorage {
public:
    /** Bytes of the largest objects that get slots. */
    static std::size_t largest() noexcept { return largest_; }

    /** Is called before each allocation, if set; what it throws is what the allocation throws. */
    using Watcher = void (*)();
    /** Sets it, for all threads; null for none. */
    static void watcherIs(Watcher watcher) noexcept;

    /**
     * Storage for `bytes` bytes, on a boundary that suits any object of that size. Throws
     * std::bad_alloc.
     */
    static void* allocate(std::size_t bytes) {
        bool const quick =
            bytes != 0 && bytes <= largestSlot && quick_.load(std::memory_order_relaxed);
        if (!quick || !singleThread()) [[unlikely]] {
            return allocateWithCare(bytes);
        }
        return pools_[poolOf(bytes)].take(bytes);
    }
    /** `bytes` is what was asked for. */
    static void release(void* slot, std::size_t bytes) noexcept {
        if (!hasSlot(bytes) || !singleThread()) [[unlikely]] {
            releaseWithCare(slot, bytes);
            return;
        }
        pools_[poolOf(bytes)].put(slot, bytes);
    }

private:
    static constexpr std::size_t grain = sizeof(void*);
    static constexpr std::size_t largestSlot = 2560;

    /** The slots of one size. */
    struct Pool {
        std::atomic<bool> taken{false};
        void* free = nullptr;      // a list through the last words of slots
        std::byte* cut = nullptr;  // where the piece in hand has been cut up to
        std::byte* end = nullptr;
        std::size_t pieces = 0;  // bytes of all pieces

        void* take(std::size_t bytes) {
            void* const slot = free;
            if (slot == nullptr) {
                return cutSlot(slotBytes(bytes));
            }
            free = link(slot, bytes);
            // The next slot may have been released long ago.
            prefetch(free);
            prefetch(free, bytes - 1);
            return slot;
        }
        void put(void* slot, std::size_t bytes) noexcept {
            link(slot, bytes) = free;
            free = slot;
        }
        /** The next slot of the piece in hand, or the first one of a new piece. */
        void* cutSlot(std::size_t bytes) {
            if (static_cast<std::size_t>(end - cut) < bytes) [[unlikely]] {
                takePiece();
            }
            std::byte* const slot = cut;
            cut += bytes;
            return slot;
        }
        [[gnu::cold, gnu::noinline]] void takePiece();
    };

    // What must do more: for other threads, a watcher, objects without slots.
    static void* allocateWithCare(std::size_t bytes);
    static void releaseWithCare(void* slot, std::size_t bytes) noexcept;
    static std::byte* piece(std::size_t bytes);

    static bool hasSlot(std::size_t bytes) noexcept {
        return bytes != 0 && bytes <= largestSlot && largest_ != 0;
    }
    static std::size_t poolOf(std::size_t bytes) noexcept { return (bytes + grain - 1) / grain; }
    static std::size_t slotBytes(std::size_t bytes) noexcept { return poolOf(bytes) * grain; }
    static void*& link(void* slot, std::size_t bytes) noexcept {
        return static_cast<void**>(slot)[poolOf(bytes) - 1];
    }

    static std::size_t const largest_;  // 0 or largestSlot
    static std::atomic<bool> quick_;    // there are slots, and there is no watcher
    static Pool pools_[largestSlot / grain + 1];
};

}  // namespace Vexo
