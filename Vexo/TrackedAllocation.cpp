#include <Vexo/TrackedAllocation.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <mutex>

namespace Vexo {

namespace {
constinit std::mutex listMutex;
constinit std::atomic<AllocationRecord*> firstRecord{nullptr};

/** Bytes in front of an object that hold its size; they keep the object on its boundary. */
std::size_t headOf(std::align_val_t alignment) noexcept {
    return std::max(static_cast<std::size_t>(alignment), alignof(std::max_align_t));
}
}  // namespace

namespace Detail {

void* alignedStorage(std::size_t bytes, std::align_val_t alignment) {
    std::size_t const head = headOf(alignment);
    if (bytes > SIZE_MAX - head) {
        throw std::bad_alloc();
    }
    void* const storage = static_cast<char*>(::operator new(head + bytes, alignment)) + head;
    std::memcpy(static_cast<char*>(storage) - sizeof(bytes), &bytes, sizeof(bytes));
    return storage;
}

std::size_t alignedStorageSize(void const* storage) noexcept {
    std::size_t bytes = 0;
    std::memcpy(&bytes, static_cast<char const*>(storage) - sizeof(bytes), sizeof(bytes));
    return bytes;
}

void releaseAlignedStorage(void* storage, std::align_val_t alignment) noexcept {
    ::operator delete(static_cast<char*>(storage) - headOf(alignment), alignment);
}

}  // namespace Detail

void* HeapStorage::allocate(std::size_t bytes) {
    return ::operator new(bytes);
}

void HeapStorage::release(void* storage, std::size_t /*bytes*/) noexcept {
    ::operator delete(storage);
}

AllocationCounts AllocationRecord::counts() const noexcept {
    // Releases are read first: a release seen here is never ahead of its allocation.
    AllocationCounts counts;
    counts.releases = releases_.load(std::memory_order_acquire);
    U64 const beyondReleased = beyondReleased_.load(std::memory_order_acquire);
    counts.allocations = allocations_.load(std::memory_order_relaxed);
    U64 const beyondAllocated = beyondAllocated_.load(std::memory_order_relaxed);
    counts.bytesReleased = counts.releases * usualBytes_ + beyondReleased;
    counts.bytesAllocated = counts.allocations * usualBytes_ + beyondAllocated;
    return counts;
}

/** Enters the record before its first allocation is counted. */
void AllocationRecord::list() noexcept {
    std::lock_guard const lock(listMutex);
    if (!listed_) {
        next_ = firstRecord.load(std::memory_order_relaxed);
        firstRecord.store(this, std::memory_order_release);
        listed_ = true;
    }
}

AllocationCounts allocationCounts(String const& typeName) {
    for (TypeAllocationCounts const& entry : allocationCounts()) {
        if (entry.typeName == typeName) {
            return entry.counts;
        }
    }
    return {};
}

std::vector<TypeAllocationCounts> allocationCounts() {
    std::vector<TypeAllocationCounts> all;
    AllocationRecord const* record = firstRecord.load(std::memory_order_acquire);
    for (; record != nullptr; record = record->next()) {
        all.push_back({record->type().name(), record->counts()});
    }
    return all;
}

U64 liveAllocations() noexcept {
    U64 live = 0;
    AllocationRecord const* record = firstRecord.load(std::memory_order_acquire);
    for (; record != nullptr; record = record->next()) {
        live += record->counts().live();
    }
    return live;
}

}  // namespace Vexo
