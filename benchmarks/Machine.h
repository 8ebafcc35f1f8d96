#pragma once

#include <benchmarks/Table.h>

#include <string>

namespace LpmBenchmarks {

/** The processor's name as the kernel tells it. */
std::string processorName();
/** How many processors there are, and how much memory: "2 processors, 23 GiB". */
std::string machineSize();

/**
 * Nanoseconds of a read at random in `bytes` bytes of memory that depends on the one before;
 * `chains` such ways are gone side by side, and the time is that of one read of all.
 */
double memoryLatency(U64 bytes, U32 chains, Pages pages);

/**
 * Takes memory and leaves it alone, so that what is taken afterwards lies elsewhere in the machine.
 */
class Ballast {
public:
    explicit Ballast(U64 bytes);
    Ballast(Ballast const&) = delete;
    Ballast& operator=(Ballast const&) = delete;
    ~Ballast();

    /** So much may be taken: a fourth of what is free, and no more than 2 GiB. */
    static U64 most();

private:
    U64 const bytes_;
    void* storage_ = nullptr;
};

}  // namespace LpmBenchmarks
