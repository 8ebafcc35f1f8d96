#include <tests/Support/AllocationFailure.h>

#include <Vexo/SlabStorage.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace TestSupport {

namespace {

struct ThreadState {
    Vexo::U64 allocations = 0;
    Vexo::U64 untilFailure = 0;  // 0: none is to fail
    AfterFailure after = AfterFailure::succeed;
    bool failing = false;
    bool hasHappened = false;
};

constinit thread_local ThreadState state;

bool mustFail() noexcept {
    ++state.allocations;
    if (state.failing) {
        return true;
    }
    if (state.untilFailure == 0 || --state.untilFailure != 0) {
        return false;
    }
    state.hasHappened = true;
    state.failing = state.after == AfterFailure::fail;
    return true;
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

/** An allocation from slots is one from the operators new for what is counted and made to fail. */
[[maybe_unused]] bool const slotsWatched = [] {
    Vexo::SlabStorage::watcherIs([] { ::operator delete(::operator new(1)); });
    return true;
}();

void* orThrow(void* storage) {
    if (storage == nullptr) {
        throw std::bad_alloc();
    }
    return storage;
}

}  // namespace

Vexo::U64 allocationsOfThread() noexcept {
    return state.allocations;
}

AllocationFailure::AllocationFailure(Vexo::U64 site, AfterFailure after) noexcept {
    state.untilFailure = site;
    state.after = after;
    state.failing = false;
    state.hasHappened = false;
}

AllocationFailure::~AllocationFailure() {
    state.untilFailure = 0;
    state.failing = false;
}

bool AllocationFailure::hasHappened() const noexcept {
    return state.hasHappened;
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
