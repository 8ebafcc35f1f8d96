#include <tools/Xoshiro.h>
#include <benchmarks/Machine.h>

#include <chrono>
#include <fstream>
#include <numeric>
#include <vector>

namespace LpmBenchmarks {

std::string processorName() {
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line)) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown";
}

double memoryLatency(Vexo::U64 bytes) {
    struct alignas(64) Line {
        Vexo::U64 next;
    };
    std::vector<Line> lines(bytes / sizeof(Line));
    std::vector<Vexo::U64> order(lines.size());
    std::iota(order.begin(), order.end(), Vexo::U64{0});
    LpmTools::Xoshiro random(1);
    for (std::size_t i = order.size(); i > 1; --i) {
        std::swap(order[i - 1], order[random.below(i)]);
    }
    for (std::size_t i = 0; i < order.size(); ++i) {
        lines[order[i]].next = order[(i + 1) % order.size()];
    }
    constexpr Vexo::U32 steps = 2'000'000;
    Vexo::U64 volatile at = 0;
    auto const begin = std::chrono::steady_clock::now();
    for (Vexo::U32 step = 0; step < steps; ++step) {
        at = lines[at].next;
    }
    std::chrono::duration<double, std::nano> const time = std::chrono::steady_clock::now() - begin;
    return time.count() / steps;
}

}  // namespace LpmBenchmarks
