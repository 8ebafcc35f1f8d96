#include <Vexo/SlabStorage.h>

#include <tests/Support/Threads.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>

namespace {

using Vexo::SlabStorage;

constexpr std::size_t threads = 4;
constexpr std::size_t bytes = 72;

TEST(SlabStorageThreadsTest, whatOneThreadAllocatesAnotherMayRelease) {
    std::array<std::atomic<std::size_t*>, 64> shelf{};
    std::atomic<bool> broken{false};
    TestSupport::inThreads(threads, [&](std::size_t thread) {
        for (std::size_t round = 0; round < 20'000; ++round) {
            auto* const words = static_cast<std::size_t*>(SlabStorage::allocate(bytes));
            std::size_t const mark = thread << 32 | round;
            words[0] = mark;
            words[5] = ~mark;
            std::size_t* const other = shelf[(round * 7 + thread) % shelf.size()].exchange(words);
            if (other != nullptr) {
                broken = broken || other[0] != ~other[5];
                SlabStorage::release(other, bytes);
            }
        }
    });
    for (auto& place : shelf) {
        if (std::size_t* const words = place.load()) {
            broken = broken || words[0] != ~words[5];
            SlabStorage::release(words, bytes);
        }
    }
    EXPECT_FALSE(broken);
}

}  // namespace
