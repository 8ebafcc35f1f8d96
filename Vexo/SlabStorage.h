#pragma once

#include <Vexo/SingleThread.h>
#include <Vexo/Types.h>

#include <atomic>
#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define VEXO_NO_SLABS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VEXO_NO_SLABS 1
#endif
#endif

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
 * Objects larger than `largest`, and all of them under the address sanitizer, which wants to watch
 * each, come from the global operators instead.
 */
class LPMTRIE_API SlabStorage {
public:
    /** In bytes. */
#ifdef VEXO_NO_SLABS
    static constexpr std::size_t largest = 0;
#else
    static constexpr std::size_t largest = 2560;
#endif

    /** Is called before each allocation, if set; what it throws is what the allocation throws. */
    using Watcher = void (*)();
    /** Sets it, for all threads; null for none. */
    static void watcherIs(Watcher watcher) noexcept {
        watcher_.store(watcher, std::memory_order_relaxed);
    }

    /**
     * Storage for `bytes` bytes, on a boundary that suits any object of that size. Throws
     * std::bad_alloc.
     */
    static void* allocate(std::size_t bytes) {
        if (bytes > largest || bytes == 0) [[unlikely]] {
            return allocateElsewhere(bytes);
        }
        if (Watcher const watcher = watcher_.load(std::memory_order_relaxed)) [[unlikely]] {
            watcher();
        }
        Pool& pool = pools_[poolOf(bytes)];
        Lock const lock(pool);
        void* const slot = pool.free;
        if (slot == nullptr) [[unlikely]] {
            return pool.cutSlot(slotBytes(bytes));
        }
        pool.free = link(slot, bytes);
        // The next slot may have been released long ago.
        __builtin_prefetch(pool.free, 1);
        __builtin_prefetch(static_cast<std::byte const*>(pool.free) + bytes - 1, 1);
        return slot;
    }
    /** `bytes` is what was asked for. */
    static void release(void* slot, std::size_t bytes) noexcept {
        if (bytes > largest || bytes == 0) [[unlikely]] {
            releaseElsewhere(slot);
            return;
        }
        Pool& pool = pools_[poolOf(bytes)];
        Lock const lock(pool);
        link(slot, bytes) = pool.free;
        pool.free = slot;
    }

private:
    static constexpr std::size_t grain = sizeof(void*);

    /** The slots of one size. */
    struct Pool {
        std::atomic<bool> taken{false};
        void* free = nullptr;      // a list through the last words of slots
        std::byte* cut = nullptr;  // where the piece in hand has been cut up to
        std::byte* end = nullptr;
        std::size_t pieces = 0;  // bytes of all pieces

        [[gnu::noinline]] void* cutSlot(std::size_t bytes);
    };

    /** Holds a pool. A process of one thread does without. */
    class Lock {
    public:
        explicit Lock(Pool& pool) : pool_(singleThread() ? nullptr : &pool) {
            if (pool_ != nullptr && pool_->taken.exchange(true, std::memory_order_acquire)) {
                wait(pool);
            }
        }
        Lock(Lock const&) = delete;
        Lock& operator=(Lock const&) = delete;
        ~Lock() {
            if (pool_ != nullptr) {
                pool_->taken.store(false, std::memory_order_release);
            }
        }

    private:
        Pool* const pool_;
    };

    [[gnu::cold, gnu::noinline]] static void wait(Pool& pool) noexcept;
    static void* allocateElsewhere(std::size_t bytes);
    static void releaseElsewhere(void* storage) noexcept;
    static std::byte* piece(std::size_t bytes);

    static std::size_t poolOf(std::size_t bytes) noexcept {
        return (bytes + grain - 1) / grain;
    }
    static std::size_t slotBytes(std::size_t bytes) noexcept {
        return poolOf(bytes) * grain;
    }
    static void*& link(void* slot, std::size_t bytes) noexcept {
        return static_cast<void**>(slot)[poolOf(bytes) - 1];
    }

    static constinit inline std::atomic<Watcher> watcher_{nullptr};
    static Pool pools_[largest / grain + 1];
};

}  // namespace Vexo
