#pragma once

#include <Vexo/FwkType.h>
#include <Vexo/Guards.h>
#include <Vexo/SingleThread.h>
#include <Vexo/Types.h>

#include <atomic>
#include <cstddef>
#include <new>
#include <vector>

namespace Vexo {

/** What one type has allocated and released since the process began. Bytes as requested. */
struct AllocationCounts {
    U64 allocations = 0;     // objects
    U64 releases = 0;        // objects
    U64 bytesAllocated = 0;  // of all allocations
    U64 bytesReleased = 0;   // of all releases

    /** Objects alive now. Exact when no other thread allocates meanwhile. */
    U64 live() const noexcept { return allocations - releases; }
    /** Bytes of those. */
    U64 liveBytes() const noexcept { return bytesAllocated - bytesReleased; }
    bool operator==(AllocationCounts const&) const = default;
};

/**
 * The running counts of one type. A constant of the program; counts are right under any threads.
 * Bytes are counted only where an object's size is not the usual one: most allocations change one
 * number.
 */
class LPMTRIE_API AllocationRecord {
public:
    /** All zero. Objects have `usualBytes`, unless more is said of one. */
    explicit constexpr AllocationRecord(FwkType const& type, std::size_t usualBytes = 0) noexcept
        : type_(&type), usualBytes_(usualBytes) {}
    AllocationRecord(AllocationRecord const&) = delete;
    AllocationRecord& operator=(AllocationRecord const&) = delete;

    /** Whose counts they are. */
    FwkType const& type() const noexcept { return *type_; }
    /** The record that was listed before this one, or null. */
    AllocationRecord const* next() const noexcept { return next_; }
    /** The counts now. */
    AllocationCounts counts() const noexcept;

    /** @{ Counts one object of so many bytes beyond the usual. */
    void allocated(std::size_t bytesBeyond) noexcept {
        if constexpr (!guardsOn) {
            return;
        }
        U64 const before = allocations_.load(std::memory_order_acquire);
        if (before == 0) [[unlikely]] {
            list();
        }
        add(allocations_, before, beyondAllocated_, bytesBeyond);
    }
    void released(std::size_t bytesBeyond) noexcept {
        if constexpr (!guardsOn) {
            return;
        }
        add(releases_, releases_.load(std::memory_order_relaxed), beyondReleased_, bytesBeyond);
    }
    /** @} */

private:
    /** `before` is what `objects` has just been, which only a lone thread may rely on. */
    static void add(std::atomic<U64>& objects, U64 before, std::atomic<U64>& beyond,
                    U64 bytes) noexcept {
        if (singleThread()) {
            objects.store(before + 1, std::memory_order_release);
            if (bytes != 0) {
                beyond.store(beyond.load(std::memory_order_relaxed) + bytes,
                             std::memory_order_release);
            }
        } else {
            objects.fetch_add(1, std::memory_order_release);
            if (bytes != 0) {
                beyond.fetch_add(bytes, std::memory_order_release);
            }
        }
    }
    [[gnu::cold, gnu::noinline]] void list() noexcept;

    FwkType const* type_;
    U64 usualBytes_;
    AllocationRecord* next_ = nullptr;
    bool listed_ = false;
    std::atomic<U64> allocations_{0};
    std::atomic<U64> releases_{0};
    std::atomic<U64> beyondAllocated_{0};
    std::atomic<U64> beyondReleased_{0};
};

/**
 * Counts of one type by its qualified name; all zero for a name that has allocated nothing. Makes
 * the listing of all types for it.
 */
LPMTRIE_API AllocationCounts allocationCounts(String const& typeName);

/** What one type has allocated. */
struct TypeAllocationCounts {
    String typeName;          // qualified
    AllocationCounts counts;  // at the time of the question
};
/** One entry for each type that has ever allocated, in time in proportion to them. */
LPMTRIE_API std::vector<TypeAllocationCounts> allocationCounts();
/** Tracked objects of all types alive now. Adds up what the types that ever allocated have. */
LPMTRIE_API U64 liveAllocations() noexcept;

namespace Detail {

/** Storage that remembers its size, in front of what it returns. Throws std::bad_alloc. */
LPMTRIE_API void* alignedStorage(std::size_t bytes, std::align_val_t alignment);
LPMTRIE_API std::size_t alignedStorageSize(void const* storage) noexcept;
LPMTRIE_API void releaseAlignedStorage(void* storage, std::align_val_t alignment) noexcept;

}  // namespace Detail

/** Storage from the global operators. */
class LPMTRIE_API HeapStorage {
public:
    /** @{ As `operator new` and `delete` do: throws std::bad_alloc. */
    static void* allocate(std::size_t bytes);
    static void release(void* storage, std::size_t bytes) noexcept;
    /** @} */
};

/**
 * Base that gives a class tracked `new` and `delete`. Classes derived from T are recorded under T
 * with their own size. T names itself by a constant `T::fwkType_`. If a constructor throws, the
 * language calls the matching delete, so the record is right again before the exception leaves.
 * `Storage` is where objects come from that need no boundary of their own.
 */
template <class T, class Storage = HeapStorage>
class LPMTRIE_API TrackedAllocation {
public:
    /** @cond For the language to call. They throw what `Storage` throws, and have counted nothing.
     */
    static void* operator new(std::size_t bytes) {
        void* const storage = Storage::allocate(bytes);
        record_.allocated(bytes - sizeof(T));
        return storage;
    }
    static void* operator new(std::size_t bytes, std::align_val_t alignment) {
        void* const storage = Detail::alignedStorage(bytes, alignment);
        record_.allocated(bytes - sizeof(T));
        return storage;
    }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* storage, std::size_t bytes) noexcept {
        record_.released(bytes - sizeof(T));
        Storage::release(storage, bytes);
    }
    // Without the size: g++ and clang++ find no delete that takes it when a constructor throws.
    static void operator delete(void* storage, std::align_val_t alignment) noexcept {
        record_.released(Detail::alignedStorageSize(storage) - sizeof(T));
        Detail::releaseAlignedStorage(storage, alignment);
    }
    /** @endcond */

private:
    static inline constinit AllocationRecord record_{T::fwkType_, sizeof(T)};
};

}  // namespace Vexo
