#pragma once

#include <tests/LpmTrie/TrieFixture.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

namespace TrieTests {

namespace Detail {

inline Trie* abortedTrie = nullptr;
inline Node* brokenNode = nullptr;
inline int abortedTrieOutput = -1;
inline void (*handlerBefore)(int) = nullptr;

/** Runs where abort() raises the signal, on the stack of the operation that has failed. */
inline void drawAbortedTrie(int signal) {
    if (brokenNode != nullptr) {
        mendEyeCatcher(brokenNode);
    }
    for (String const& text : drawing(*abortedTrie)) {
        String const withEnd = text + '\n';
        if (::write(abortedTrieOutput, withEnd.data(), withEnd.size()) < 0) {
            ::_exit(2);
        }
    }
    if (handlerBefore != SIG_DFL) {
        handlerBefore(signal);
    }
}

inline std::vector<String> readLines(int input) {
    std::vector<String> lines(1);
    char c = 0;
    while (::read(input, &c, 1) == 1) {
        if (c == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += c;
        }
    }
    lines.pop_back();
    return lines;
}

}  // namespace Detail

/**
 * Runs `operation`, which a fatal assertion must end, in a process of its own and answers the
 * drawing of the trie as it stood when the assertion failed. A node that `operation` has broken is
 * mended before that.
 */
template <class Operation>
std::vector<String> drawingAfterAssertion(Trie& trie, Operation const& operation,
                                          Node* broken = nullptr) {
    int ends[2];
    if (::pipe(ends) != 0) {
        ADD_FAILURE() << "no pipe";
        return {};
    }
    pid_t const child = ::fork();
    if (child == 0) {
        Detail::abortedTrie = &trie;
        Detail::brokenNode = broken;
        Detail::abortedTrieOutput = ends[1];
        ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);
        Detail::handlerBefore = std::signal(SIGABRT, Detail::drawAbortedTrie);
        operation();
        ::_exit(1);
    }
    ::close(ends[1]);
    std::vector<String> lines = Detail::readLines(ends[0]);
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT)
        << "the operation was not ended by an assertion";
    return lines;
}

}  // namespace TrieTests
