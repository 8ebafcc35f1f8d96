#pragma once

#include <tools/Command.h>

#include <tests/Support/Directories.h>
#include <tests/tools/Descriptors.h>

#include <gtest/gtest.h>

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace ToolsTest {

/** How a process ended and what it wrote. */
struct Ended {
    int status = -1;  // of exit, or 1000 and the number of the signal that ended it
    std::string out;
    std::string err;
};

/** What a process gets for its standard streams. */
struct Streams {
    std::string_view in = {};   // through a pipe, which must have room for it
    int out = -1;               // a descriptor instead of the capture
    int err = -1;               // likewise
    std::set<int> closed = {};  // numbers that stand for nothing
    /** A process that writes nothing for longer is ended: less than a test may take. */
    std::chrono::minutes longestSilence{25};
};

namespace detail {

/** Reads both to their ends; a process that is silent for long is ended. */
inline void readBoth(pid_t process, Descriptor const& out, Descriptor const& err,
                     std::chrono::milliseconds longestSilence, Ended& ended) {
    std::array<pollfd, 2> files{pollfd{out.number(), POLLIN, 0}, pollfd{err.number(), POLLIN, 0}};
    std::array<char, 65536> block{};
    while (files[0].fd >= 0 || files[1].fd >= 0) {
        if (::poll(files.data(), files.size(), static_cast<int>(longestSilence.count())) == 0) {
            ADD_FAILURE() << "the process hangs";
            ::kill(process, SIGKILL);
        }
        for (std::size_t i = 0; i < files.size(); ++i) {
            if (files[i].fd < 0 || files[i].revents == 0) {
                continue;
            }
            ssize_t const count = ::read(files[i].fd, block.data(), block.size());
            if (count > 0) {
                (i == 0 ? ended.out : ended.err).append(block.data(), static_cast<size_t>(count));
            } else {
                files[i].fd = -1;
            }
        }
    }
}

inline int statusOf(int wait) {
    return WIFEXITED(wait) ? WEXITSTATUS(wait) : 1000 + WTERMSIG(wait);
}

class SpawnActions {
public:
    SpawnActions() {
        ::posix_spawn_file_actions_init(&files_);
        ::posix_spawnattr_init(&attributes_);
        // Whatever this process does with signals, the child begins as from a shell.
        sigset_t signals;
        ::sigemptyset(&signals);
        for (int const signal : {SIGPIPE, SIGXFSZ, SIGHUP, SIGINT, SIGTERM}) {
            ::sigaddset(&signals, signal);
        }
        ::posix_spawnattr_setsigdefault(&attributes_, &signals);
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF);
    }
    SpawnActions(SpawnActions const&) = delete;
    SpawnActions& operator=(SpawnActions const&) = delete;
    ~SpawnActions() {
        ::posix_spawn_file_actions_destroy(&files_);
        ::posix_spawnattr_destroy(&attributes_);
    }

    void give(int number, int file, std::set<int> const& closed) {
        if (closed.contains(number)) {
            ::posix_spawn_file_actions_addclose(&files_, number);
        } else {
            ::posix_spawn_file_actions_adddup2(&files_, file, number);
        }
    }
    pid_t spawn(std::vector<std::string> arguments) const {
        std::vector<char*> pointers;
        for (std::string& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        pid_t process = -1;
        int const error =
            ::posix_spawn(&process, pointers[0], &files_, &attributes_, pointers.data(), environ);
        if (error != 0) {
            throw std::runtime_error("cannot run " + arguments[0]);
        }
        return process;
    }

private:
    posix_spawn_file_actions_t files_{};
    posix_spawnattr_t attributes_{};
};

}  // namespace detail

/** Runs a program, named by its path, to its end. */
inline Ended runProgram(std::vector<std::string> const& arguments, Streams const& streams = {}) {
    PipeEnds in;
    PipeEnds out;
    PipeEnds err;
    ::fcntl(in.writing.number(), F_SETFL, O_NONBLOCK);
    if (!streams.in.empty() && ::write(in.writing.number(), streams.in.data(), streams.in.size()) !=
                                   static_cast<ssize_t>(streams.in.size())) {
        throw std::runtime_error("the pipe has no room for the input");
    }
    in.writing.close();
    detail::SpawnActions actions;
    actions.give(0, in.reading.number(), streams.closed);
    actions.give(1, streams.out >= 0 ? streams.out : out.writing.number(), streams.closed);
    actions.give(2, streams.err >= 0 ? streams.err : err.writing.number(), streams.closed);
    pid_t const process = actions.spawn(arguments);
    out.writing.close();
    err.writing.close();
    Ended ended;
    detail::readBoth(process, out.reading, err.reading, streams.longestSilence, ended);
    int status = 0;
    if (::waitpid(process, &status, 0) == process) {
        ended.status = detail::statusOf(status);
    }
    return ended;
}

/** Runs `action`, which answers an exit status, in a child process that writes to `out`. */
template <class Action>
Ended runInChild(int out, Action const& action) {
    PipeEnds err;
    pid_t const child = ::fork();
    if (child == 0) {
        ::dup2(err.writing.number(), STDERR_FILENO);
        ::dup2(out, STDOUT_FILENO);
        ::_exit(action());
    }
    err.writing.close();
    Ended ended;
    ended.err = err.reading.readAll();
    int status = 0;
    if (child > 0 && ::waitpid(child, &status, 0) == child) {
        ended.status = detail::statusOf(status);
    }
    return ended;
}

inline std::string const commandPath = TestSupport::commandPath();

/** Runs the lpmtrie command. */
inline Ended run(std::vector<std::string> arguments, Streams const& streams = {}) {
    arguments.insert(arguments.begin(), commandPath);
    return runProgram(arguments, streams);
}

/** A call of it in this process. */
class CallHere {
public:
    /** The arguments must outlive it. */
    explicit CallHere(std::vector<std::string> const& arguments) {
        for (std::string const& argument : arguments) {
            pointers_.push_back(argument.c_str());
        }
    }
    /** Its exit status. */
    int run() const {
        return LpmTools::runCommand(static_cast<int>(pointers_.size()), pointers_.data());
    }

private:
    std::vector<char const*> pointers_{"lpmtrie"};
};

}  // namespace ToolsTest
