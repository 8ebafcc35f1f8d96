#pragma once

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>

namespace ToolsTest {

/** A file descriptor that is closed at the end. */
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {
        if (number < 0) {
            throw std::runtime_error("no descriptor");
        }
    }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    ~Descriptor() { close(); }

    int number() const noexcept { return number_; }
    void close() noexcept {
        if (number_ >= 0) {
            ::close(number_);
            number_ = -1;
        }
    }
    /** Reads to the end; a terminal whose other side has gone counts as ended. */
    std::string readAll() const {
        std::string text;
        std::array<char, 4096> block{};
        for (;;) {
            ssize_t const count = ::read(number_, block.data(), block.size());
            if (count > 0) {
                text.append(block.data(), static_cast<std::size_t>(count));
            } else if (count == 0 || errno != EINTR) {
                return text;
            }
        }
    }

private:
    int number_;
};

inline Descriptor openForWriting(std::string const& path) {
    return Descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
}

/** A pipe that child processes do not inherit. */
class PipeEnds {
public:
    PipeEnds() : PipeEnds(made()) {}

    Descriptor reading;
    Descriptor writing;

private:
    explicit PipeEnds(std::array<int, 2> const& ends) : reading(ends[0]), writing(ends[1]) {}
    static std::array<int, 2> made() {
        std::array<int, 2> ends{-1, -1};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("cannot make a pipe");
        }
        return ends;
    }
};

/** A terminal without a device. */
class PseudoTerminal {
public:
    PseudoTerminal() : master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)), terminal(opened()) {}

    Descriptor master;
    Descriptor terminal;

private:
    int opened() const {
        if (::grantpt(master.number()) != 0 || ::unlockpt(master.number()) != 0) {
            throw std::runtime_error("cannot make a terminal");
        }
        return ::open(::ptsname(master.number()), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
};

/** Lets `number` stand for another file until the end. */
class Redirection {
public:
    Redirection(int number, int to)
        : number_(number), before_(::fcntl(number, F_DUPFD_CLOEXEC, 10)) {
        if (::dup2(to, number) != number) {
            throw std::runtime_error("cannot redirect a descriptor");
        }
    }
    Redirection(Redirection const&) = delete;
    Redirection& operator=(Redirection const&) = delete;
    ~Redirection() { ::dup2(before_.number(), number_); }

private:
    int number_;
    Descriptor before_;
};

/** Lets writing to a pipe that nobody reads fail instead of ending the process. */
class IgnoredBrokenPipe {
public:
    IgnoredBrokenPipe() {
        struct sigaction ignore {};
        ignore.sa_handler = SIG_IGN;
        ::sigaction(SIGPIPE, &ignore, &before_);
    }
    IgnoredBrokenPipe(IgnoredBrokenPipe const&) = delete;
    IgnoredBrokenPipe& operator=(IgnoredBrokenPipe const&) = delete;
    ~IgnoredBrokenPipe() { ::sigaction(SIGPIPE, &before_, nullptr); }

private:
    struct sigaction before_ {};
};

/** How many descriptors the process has open; the same ones each time it looks at itself. */
inline std::ptrdiff_t openDescriptors() {
    std::filesystem::directory_iterator const open("/proc/self/fd");
    return std::distance(begin(open), end(open));
}

}  // namespace ToolsTest
