#include <tools/Output.h>

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <string>
#include <thread>

namespace LpmTools {

namespace {

[[noreturn]] void failWith(char const* what) {
    throw OutputError(std::string(what) + ": " + std::strerror(errno));
}

/** Reads the pipe to its end and passes it on; closes it at once when that fails. */
void passOn(int from, int to) {
    std::array<char, 65536> block{};
    try {
        for (;;) {
            ssize_t const count = ::read(from, block.data(), block.size());
            if (count == 0) {
                break;
            }
            if (count < 0 && errno != EINTR) {
                failWith("cannot read a pipe");
            }
            if (count > 0) {
                writeAll(to, std::string_view(block.data(), static_cast<std::size_t>(count)));
            }
        }
    } catch (...) {
        ::close(from);
        throw;
    }
    ::close(from);
}

}  // namespace

void writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        ssize_t const count = ::write(file, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            failWith("cannot write standard output");
        }
        text.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
}

void writeThrough(int file, std::function<void(int)> const& writer) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        failWith("cannot make a pipe");
    }
    std::exception_ptr writerError;
    std::thread worker([&] {
        try {
            writer(ends[1]);
        } catch (...) {
            writerError = std::current_exception();
        }
        ::close(ends[1]);
    });
    std::exception_ptr outputError;
    try {
        passOn(ends[0], file);
    } catch (...) {
        outputError = std::current_exception();
    }
    worker.join();
    for (std::exception_ptr const& error : {writerError, outputError}) {
        if (error) {
            std::rethrow_exception(error);
        }
    }
}

}  // namespace LpmTools
