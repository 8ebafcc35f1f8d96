#pragma once

#include <ctime>

namespace LpmBenchmarks {

/** Nanoseconds of the process's time on a processor: what others do on the machine counts less. */
inline double processorTime() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/** What an action takes, a step. */
template <class Action>
double timeEach(std::size_t steps, Action const& action) {
    double const begin = processorTime();
    action();
    return (processorTime() - begin) / static_cast<double>(steps);
}

}  // namespace LpmBenchmarks
