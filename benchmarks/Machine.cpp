#include <tools/Shuffle.h>
#include <benchmarks/Machine.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <new>
#include <numeric>
#include <thread>
#include <vector>

namespace LpmBenchmarks {

namespace {

constexpr std::uintptr_t hugePage = std::uintptr_t{2} << 20;

struct alignas(64) Line {
    U64 next;
};

/** Memory of lines, on pages of the size asked for. */
class Lines {
public:
    Lines(U64 bytes, Pages pages) : bytes_(bytes) {
        void* const storage = mmap(nullptr, bytes + hugePage, PROT_READ | PROT_WRITE,
                                   MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (storage == MAP_FAILED) {
            throw std::bad_alloc();
        }
        storage_ = storage;
        auto const begin =
            (reinterpret_cast<std::uintptr_t>(storage) + hugePage - 1) & ~(hugePage - 1);
        lines_ = reinterpret_cast<Line*>(begin);
        madvise(lines_, bytes, pages == Pages::huge ? MADV_HUGEPAGE : MADV_NOHUGEPAGE);
        joinAtRandom();
    }
    Lines(Lines const&) = delete;
    Lines& operator=(Lines const&) = delete;
    ~Lines() { munmap(storage_, bytes_ + hugePage); }

    U64 count() const { return bytes_ / sizeof(Line); }
    U64 next(U64 at) const { return lines_[at].next; }

private:
    /** One way through all lines. */
    void joinAtRandom() {
        std::vector<U64> order(count());
        std::iota(order.begin(), order.end(), U64{0});
        LpmTools::Xoshiro random(1);
        LpmTools::shuffle(order, random);
        for (std::size_t i = 0; i < order.size(); ++i) {
            lines_[order[i]].next = order[(i + 1) % order.size()];
        }
    }

    U64 const bytes_;
    void* storage_ = nullptr;
    Line* lines_ = nullptr;
};

}  // namespace

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

std::string machineSize() {
    U64 const bytes =
        static_cast<U64>(sysconf(_SC_PHYS_PAGES)) * static_cast<U64>(sysconf(_SC_PAGESIZE));
    return std::to_string(std::thread::hardware_concurrency()) + " processors, " +
           std::to_string((bytes + (U64{1} << 29)) >> 30) + " GiB of memory";
}

double memoryLatency(U64 bytes, U32 chains, Pages pages) {
    Lines const lines(bytes, pages);
    constexpr U32 steps = 1'000'000;
    std::vector<U64> at(chains);
    for (U32 chain = 0; chain < chains; ++chain) {
        at[chain] = lines.count() * chain / chains;
    }
    auto const begin = std::chrono::steady_clock::now();
    for (U32 step = 0; step < steps; ++step) {
        for (U64& place : at) {
            place = lines.next(place);
        }
    }
    std::chrono::duration<double, std::nano> const time = std::chrono::steady_clock::now() - begin;
    U64 const volatile sink = std::accumulate(at.begin(), at.end(), U64{0});
    static_cast<void>(sink);
    return time.count() / (double{steps} * chains);
}

Ballast::Ballast(U64 bytes) : bytes_(std::max(bytes, hugePage)) {
    storage_ = mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (storage_ == MAP_FAILED) {
        throw std::bad_alloc();
    }
    madvise(storage_, bytes_, MADV_HUGEPAGE);
    constexpr U64 smallPage = 4096;
    for (U64 at = 0; at < bytes_; at += smallPage) {
        static_cast<char volatile*>(storage_)[at] = 1;
    }
}

Ballast::~Ballast() {
    munmap(storage_, bytes_);
}

U64 Ballast::most() {
    U64 const free =
        static_cast<U64>(sysconf(_SC_AVPHYS_PAGES)) * static_cast<U64>(sysconf(_SC_PAGESIZE));
    return std::min(free / 4, U64{2} << 30);
}

}  // namespace LpmBenchmarks
