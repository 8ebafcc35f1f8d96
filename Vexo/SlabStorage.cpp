/*
 * Each slot size has a pool: a list of released slots, and a piece of memory from which new slots
 * are cut while the list is empty. Pieces grow with their pool, so that a size that is hardly used
 * takes little, and come from blocks that the system is asked for: small ones first, then such that
 * fit a huge page each.
 */

#include <Vexo/SlabStorage.h>

#include <sys/mman.h>

#include <algorithm>
#include <mutex>
#include <new>
#include <thread>

// Other tools that watch each object ask for VEXO_NO_SLABS by hand.
#if defined(__SANITIZE_ADDRESS__)
#define VEXO_NO_SLABS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VEXO_NO_SLABS 1
#endif
#endif

namespace Vexo {

namespace {

constexpr std::size_t hugePage = std::size_t{1} << 21;
constexpr std::size_t smallBlock = std::size_t{1} << 18;
constexpr std::size_t smallestPiece = std::size_t{1} << 12;
constexpr std::size_t largestPiece = std::size_t{1} << 20;

constinit std::mutex blockMutex;
/** What is left of the newest block. */
constinit std::byte* blockCut = nullptr;
constinit std::byte* blockEnd = nullptr;
constinit bool firstBlock = true;

std::byte* mapped(std::size_t bytes) {
    void* const memory =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return static_cast<std::byte*>(memory);
}

/** A block of one huge page, on such a page's boundary. */
std::byte* mappedHugePage() {
    std::byte* const memory = mapped(2 * hugePage);
    std::size_t const over = reinterpret_cast<std::uintptr_t>(memory) % hugePage;
    std::size_t const before = over == 0 ? 0 : hugePage - over;
    if (before != 0) {
        munmap(memory, before);
    }
    munmap(memory + before + hugePage, hugePage - before);
    madvise(memory + before, hugePage, MADV_HUGEPAGE);
    return memory + before;
}

constinit std::atomic<SlabStorage::Watcher> watcher{nullptr};

/** Holds a pool, whose flag this is. A process of one thread does without. */
class Lock {
public:
    explicit Lock(std::atomic<bool>& taken) noexcept : taken_(singleThread() ? nullptr : &taken) {
        while (taken_ != nullptr && taken_->exchange(true, std::memory_order_acquire)) {
            std::this_thread::yield();
        }
    }
    Lock(Lock const&) = delete;
    Lock& operator=(Lock const&) = delete;
    ~Lock() {
        if (taken_ != nullptr) {
            taken_->store(false, std::memory_order_release);
        }
    }

private:
    std::atomic<bool>* const taken_;
};

}  // namespace

#ifdef VEXO_NO_SLABS
constinit std::size_t const SlabStorage::largest_ = 0;
#else
constinit std::size_t const SlabStorage::largest_ = largestSlot;
#endif
constinit std::atomic<bool> SlabStorage::quick_{largest_ != 0};
constinit SlabStorage::Pool SlabStorage::pools_[largestSlot / grain + 1];

void SlabStorage::Pool::takePiece() {
    std::size_t const size =
        std::clamp(pieces / 16 / smallestPiece * smallestPiece, smallestPiece, largestPiece);
    cut = piece(size);
    end = cut + size;
    pieces += size;
}

/** A new piece, a multiple of the smallest one. What an old block has left is given up. */
std::byte* SlabStorage::piece(std::size_t bytes) {
    std::lock_guard const lock(blockMutex);
    if (static_cast<std::size_t>(blockEnd - blockCut) < bytes) {
        std::size_t const block = firstBlock ? smallBlock : hugePage;
        blockCut = firstBlock ? mapped(block) : mappedHugePage();
        blockEnd = blockCut + block;
        firstBlock = false;
    }
    std::byte* const begin = blockCut;
    blockCut += bytes;
    return begin;
}

void SlabStorage::watcherIs(Watcher newWatcher) noexcept {
    watcher.store(newWatcher, std::memory_order_relaxed);
    quick_.store(newWatcher == nullptr && largest_ != 0, std::memory_order_relaxed);
}

void* SlabStorage::allocateWithCare(std::size_t bytes) {
    if (!hasSlot(bytes)) {
        return ::operator new(bytes);
    }
    if (Watcher const called = watcher.load(std::memory_order_relaxed)) {
        called();
    }
    Pool& pool = pools_[poolOf(bytes)];
    Lock const lock(pool.taken);
    return pool.take(bytes);
}

void SlabStorage::releaseWithCare(void* slot, std::size_t bytes) noexcept {
    if (!hasSlot(bytes)) {
        ::operator delete(slot);
        return;
    }
    Pool& pool = pools_[poolOf(bytes)];
    Lock const lock(pool.taken);
    pool.put(slot, bytes);
}

}  // namespace Vexo
