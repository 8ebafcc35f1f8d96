#include <Vexo/SlabStorage.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

using Vexo::SlabStorage;

std::size_t boundaryOf(std::size_t bytes) {
    return bytes % 16 == 0 ? 16 : 8;
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

TEST(SlabStorageTest, largeObjectsComeFromElsewhere) {
    void* const storage = SlabStorage::allocate(1U << 20);
    std::memset(storage, 1, 1U << 20);
    SlabStorage::release(storage, 1U << 20);
}

}  // namespace
