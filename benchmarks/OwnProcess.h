#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <iostream>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace LpmBenchmarks {

/**
 * What `work` answers in a process of its own, so that it finds no memory as another has left it.
 * Throws std::runtime_error when it fails there.
 */
template <class Work>
auto inOwnProcess(std::string const& name, Work const& work) {
    using Result = decltype(work());
    static_assert(std::is_trivially_copyable_v<Result>);
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        throw std::runtime_error("pipe failed");
    }
    std::cout.flush();
    pid_t const child = fork();
    if (child == 0) {
        int status = 1;
        try {
            Result const result = work();
            status = write(ends[1], &result, sizeof(result)) == sizeof(result) ? 0 : 1;
        } catch (std::exception const& error) {
            std::cerr << name << ": " << error.what() << '\n';
        }
        _exit(status);
    }
    close(ends[1]);
    Result result{};
    bool const complete = read(ends[0], &result, sizeof(result)) == sizeof(result);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!complete || status != 0) {
        throw std::runtime_error("the process that measures " + name + " has failed");
    }
    return result;
}

}  // namespace LpmBenchmarks
