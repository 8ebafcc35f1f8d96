#include <tests/Support/AllocationFailure.h>

#include <Vexo/SlabStorage.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <mutex>

namespace TestSupport {

/** Which allocation is to fail. Threads may share one. */
class FailurePlan {
public:
    void set(Vexo::U64 site, AfterFailure after) noexcept {
        std::lock_guard const lock(mutex_);
        left_ = site;
        after_ = after;
        failing_ = false;
        hasHappened_ = false;
        isSet_ = true;
    }
    void clear() noexcept { isSet_ = false; }
    bool hasHappened() const noexcept { return hasHappened_; }
    /** One more allocation. */
    bool fails() noexcept {
        if (!isSet_) {
            return false;
        }
        std::lock_guard const lock(mutex_);
        if (failing_ || left_ == 0 || --left_ != 0) {
            return failing_;
        }
        hasHappened_ = true;
        failing_ = after_ == AfterFailure::fail;
        return true;
    }

private:
    std::mutex mutex_;
    std::atomic<bool> isSet_ = false;
    std::atomic<bool> hasHappened_ = false;
    Vexo::U64 left_ = 0;  // 0: none any more
    AfterFailure after_ = AfterFailure::succeed;
    bool failing_ = false;
};

namespace {

constinit thread_local Vexo::U64 allocations = 0;
constinit thread_local FailurePlan ownPlan;
constinit FailurePlan sharedPlan;

bool mustFail() noexcept {
    ++allocations;
    return ownPlan.fails() || sharedPlan.fails();
}

void* allocate(std::size_t bytes) noexcept {
    return mustFail() ? nullptr : std::malloc(std::max(bytes, std::size_t{1}));
}

void* allocate(std::size_t bytes, std::align_val_t alignment) noexcept {
    auto const unit = static_cast<std::size_t>(alignment);
    if (mustFail() || bytes > SIZE_MAX - unit) {
        return nullptr;
    }
    return std::aligned_alloc(unit, (std::max(bytes, std::size_t{1}) + unit - 1) / unit * unit);
}

constinit std::mutex watchingMutex;
constinit Vexo::U64 watching = 0;  // how many want to

void* orThrow(void* storage) {
    if (storage == nullptr) {
        throw std::bad_alloc();
    }
    return storage;
}

}  // namespace

Vexo::U64 allocationsOfThread() noexcept {
    return allocations;
}

WatchedSlots::WatchedSlots() noexcept {
    std::lock_guard const lock(watchingMutex);
    if (++watching == 1) {
        Vexo::SlabStorage::watcherIs([] { ::operator delete(::operator new(1)); });
    }
}

WatchedSlots::~WatchedSlots() {
    std::lock_guard const lock(watchingMutex);
    if (--watching == 0) {
        Vexo::SlabStorage::watcherIs(nullptr);
    }
}

AllocationFailure::AllocationFailure(Vexo::U64 site, AfterFailure after,
                                     CountedThreads threads) noexcept
    : plan_(threads == CountedThreads::own ? ownPlan : sharedPlan) {
    plan_.set(site, after);
}

AllocationFailure::~AllocationFailure() {
    plan_.clear();
}

bool AllocationFailure::hasHappened() const noexcept {
    return plan_.hasHappened();
}

}  // namespace TestSupport

using TestSupport::allocate;
using TestSupport::orThrow;

void* operator new(std::size_t bytes) {
    return orThrow(allocate(bytes));
}
void* operator new[](std::size_t bytes) {
    return orThrow(allocate(bytes));
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    return orThrow(allocate(bytes, alignment));
}
void* operator new[](std::size_t bytes, std::align_val_t alignment) {
    return orThrow(allocate(bytes, alignment));
}
void* operator new(std::size_t bytes, std::nothrow_t const&) noexcept {
    return allocate(bytes);
}
void* operator new[](std::size_t bytes, std::nothrow_t const&) noexcept {
    return allocate(bytes);
}
void* operator new(std::size_t bytes, std::align_val_t alignment, std::nothrow_t const&) noexcept {
    return allocate(bytes, alignment);
}
void* operator new[](std::size_t bytes, std::align_val_t alignment,
                     std::nothrow_t const&) noexcept {
    return allocate(bytes, alignment);
}

void operator delete(void* storage) noexcept {
    std::free(storage);
}
void operator delete[](void* storage) noexcept {
    std::free(storage);
}
void operator delete(void* storage, std::size_t) noexcept {
    std::free(storage);
}
void operator delete[](void* storage, std::size_t) noexcept {
    std::free(storage);
}
void operator delete(void* storage, std::align_val_t) noexcept {
    std::free(storage);
}
void operator delete[](void* storage, std::align_val_t) noexcept {
    std::free(storage);
}
void operator delete(void* storage, std::size_t, std::align_val_t) noexcept {
    std::free(storage);
}
void operator delete[](void* storage, std::size_t, std::align_val_t) noexcept {
    std::free(storage);
}
void operator delete(void* storage, std::nothrow_t const&) noexcept {
    std::free(storage);
}
void operator delete[](void* storage, std::nothrow_t const&) noexcept {
    std::free(storage);
}
void operator delete(void* storage, std::align_val_t, std::nothrow_t const&) noexcept {
    std::free(storage);
}
void operator delete[](void* storage, std::align_val_t, std::nothrow_t const&) noexcept {
    std::free(storage);
}
