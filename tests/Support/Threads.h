#pragma once

#include <atomic>
#include <cstddef>
#include <thread>
#include <vector>

namespace TestSupport {

/**
 * Runs `work(index)` in `count` threads at once, index 0 to count - 1, and returns when all are
 * done. None begins before the last one is ready.
 */
template <class Work>
void inThreads(std::size_t count, Work const& work) {
    std::atomic<std::size_t> ready{0};
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (std::size_t index = 0; index < count; ++index) {
        threads.emplace_back([&, index] {
            ready.fetch_add(1);
            while (ready.load() < count) {
                std::this_thread::yield();
            }
            work(index);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace TestSupport
