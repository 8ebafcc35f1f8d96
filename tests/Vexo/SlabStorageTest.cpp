#include <Vexo/SlabStorage.h>
#include <tests/Support/Instrumented.h>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <new>
#include <random>
#include <utility>
#include <vector>

namespace {

using Vexo::SlabStorage;

std::size_t boundaryOf(std::size_t bytes) {
    std::size_t const boundary = bytes % 16 == 0 ? 16 : bytes % 8 == 0 ? 8 : sizeof(void*);
    return std::min(boundary, alignof(std::max_align_t));
}

TEST(SlabStorageTest, slotsDoNotOverlapAndSuitTheirObjects) {
    unsigned const seed = 7;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    struct Slot {
        unsigned char* storage;
        std::size_t bytes;
        unsigned char filling;
    };
    std::vector<Slot> slots;
    for (unsigned step = 0; step < 20'000; ++step) {
        if (slots.empty() || random() % 5 < 3) {
            std::size_t const bytes = 1 + random() % (random() % 8 == 0 ? 3000 : 100);
            auto* const storage = static_cast<unsigned char*>(SlabStorage::allocate(bytes));
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(storage) % boundaryOf(bytes), 0U) << bytes;
            auto const filling = static_cast<unsigned char>(random());
            std::memset(storage, filling, bytes);
            slots.push_back({storage, bytes, filling});
            continue;
        }
        std::swap(slots[random() % slots.size()], slots.back());
        auto const [storage, bytes, filling] = slots.back();
        ASSERT_TRUE(
            std::all_of(storage, storage + bytes,
                        [&, wanted = filling](unsigned char byte) { return byte == wanted; }))
            << bytes;
        SlabStorage::release(storage, bytes);
        slots.pop_back();
    }
    for (Slot const& slot : slots) {
        SlabStorage::release(slot.storage, slot.bytes);
    }
}

TEST(SlabStorageTest, aReleasedSlotIsTheNextOneAndStaysAsItWasButForItsLastWord) {
    if (SlabStorage::largest() == 0) {
        GTEST_SKIP() << "no slots under the address sanitizer";
    }
    constexpr std::size_t bytes = 80;
    auto* const storage = static_cast<unsigned char*>(SlabStorage::allocate(bytes));
    std::memset(storage, 0x5a, bytes);
    SlabStorage::release(storage, bytes);
    for (std::size_t i = 0; i < bytes - sizeof(void*); ++i) {
        EXPECT_EQ(storage[i], 0x5a) << i;
    }
    EXPECT_EQ(SlabStorage::allocate(bytes), storage);
    SlabStorage::release(storage, bytes);
}

/** The process's address space now, in bytes. */
std::size_t addressSpace() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

/** Takes slots until there are no more, twice; ends with 0 when all was as it should be. */
[[noreturn]] void takeAllThenMore() {
    constexpr std::size_t bytes = 1024;
    // Their own list lies in a slot each, so that nothing else needs memory.
    struct Slot {
        Slot* next;
    };
    Slot* slots = nullptr;
    rlimit limit{};
    ::getrlimit(RLIMIT_AS, &limit);
    std::array<std::size_t, 2> taken{};
    for (std::size_t round = 0; round < taken.size(); ++round) {
        // Room for many blocks, and for what it takes to throw.
        limit.rlim_cur = addressSpace() + (std::size_t{96} << 20);
        ::setrlimit(RLIMIT_AS, &limit);
        try {
            for (;; ++taken[round]) {
                slots = new (SlabStorage::allocate(bytes)) Slot{slots};
            }
        } catch (std::bad_alloc const&) {
        }
    }
    while (slots != nullptr) {
        SlabStorage::release(std::exchange(slots, slots->next), bytes);
    }
    // A block is cut out of what is mapped for it, and the rest given back: no room is lost to
    // that.
    std::size_t const least = (std::size_t{64} << 20) / bytes;
    ::_exit(taken[0] > least && taken[1] > least ? 0 : 1);
}

TEST(SlabStorageDeathTest, memoryThatTheSystemRefusesMayComeLater) {
    if (SlabStorage::largest() == 0) {
        GTEST_SKIP() << "no slots under the address sanitizer";
    }
    if (LPMTRIE_EMULATED != 0) {
        GTEST_SKIP() << "the emulator does not bound memory";
    }
    EXPECT_EXIT(takeAllThenMore(), testing::ExitedWithCode(0), "");
}

TEST(SlabStorageTest, noBytesAreStorageToo) {
    void* const one = SlabStorage::allocate(0);
    void* const other = SlabStorage::allocate(0);
    EXPECT_NE(one, nullptr);
    EXPECT_NE(one, other);
    SlabStorage::release(one, 0);
    SlabStorage::release(other, 0);
}

TEST(SlabStorageTest, largeObjectsComeFromElsewhere) {
    void* const storage = SlabStorage::allocate(1U << 20);
    std::memset(storage, 1, 1U << 20);
    SlabStorage::release(storage, 1U << 20);
}

}  // namespace
