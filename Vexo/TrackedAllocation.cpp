#include <Vexo/TrackedAllocation.h>

#include <mutex>

namespace Vexo {

namespace {
constinit std::mutex listMutex;
constinit std::atomic<AllocationRecord*> firstRecord{nullptr};
}  // namespace

AllocationCounts AllocationRecord::counts() const noexcept {
    // Releases are read first: a release seen here is never ahead of its allocation.
    AllocationCounts counts;
    counts.releases = releases_.load(std::memory_order_acquire);
    counts.bytesReleased = bytesReleased_.load(std::memory_order_acquire);
    counts.allocations = allocations_.load(std::memory_order_relaxed);
    counts.bytesAllocated = bytesAllocated_.load(std::memory_order_relaxed);
    return counts;
}

void AllocationRecord::list() noexcept {
    std::lock_guard const lock(listMutex);
    if (!listed_.load(std::memory_order_relaxed)) {
        next_ = firstRecord.load(std::memory_order_relaxed);
        firstRecord.store(this, std::memory_order_release);
        listed_.store(true, std::memory_order_release);
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
