#include <tests/soak/Memory.h>

#include <Vexo/TrackedAllocation.h>

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

namespace Soak {

Memory Memory::now() {
    // What a check has taken and freed again may stay with malloc, which is not what is in use.
    malloc_trim(0);
    Memory memory;
    std::ifstream file("/proc/self/statm");
    U64 total = 0;
    file >> total >> memory.resident;
    memory.resident *= static_cast<U64>(sysconf(_SC_PAGESIZE));
    for (auto const& type : Vexo::allocationCounts()) {
        memory.tracked += type.counts.liveBytes();
    }
    return memory;
}

void Drift::read(U64 value) noexcept {
    last_ = value;
    least_ = std::min(least_, value);
    most_ = std::max(most_, value);
}

U64 Drift::largest() const noexcept {
    return std::max(most_ - first_, first_ - least_);
}

double Drift::percent() const noexcept {
    return 100 * static_cast<double>(largest()) / static_cast<double>(first_);
}

bool Drift::isFlat(U64 slack) const noexcept {
    return largest() <= std::max(first_ / 100, slack);
}

}  // namespace Soak
