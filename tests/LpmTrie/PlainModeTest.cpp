/*
 * What runs on the way of an operation, instruction by instruction: a child process works, its
 * parent steps through it and counts the atomic read-modify-writes, those with a lock prefix and
 * exchanges with memory. In a process of one thread, tracked allocation and the slots that nodes
 * come from do without them too.
 */

#include <tests/Support/Instrumented.h>

#include <LpmTrie/LpmTrie.h>

#include <gtest/gtest.h>

#if defined(__x86_64__) && defined(__linux__) && !LPMTRIE_INSTRUMENTED

#include <sys/ptrace.h>
#include <sys/single_threaded.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

using namespace LpmTrie;

namespace {

constexpr int notCounted = -1;

Nimbal::IpGenPrefix prefix(char const* text) {
    return Nimbal::IpGenPrefix::fromString(text);
}

/** An insertion below other routes, with a branch, a look-up, and the removal with compaction. */
void work(Trie& trie, Node* partition) {
    auto const route = prefix("10.1.128.0/17");
    trie.insert(route, partition, true, false, partition->partitionId(), partition->hwTable());
    trie.findPartitionNode(route, true);
    trie.remove(route);
}

bool isAtomicChange(std::array<U8, 16> const& code) {
    constexpr U8 lock = 0xf0;
    auto const isPrefix = [](U8 byte) {
        return byte == 0x66 || byte == 0xf2 || byte == 0xf3 || (byte & 0xf0U) == 0x40;
    };
    std::size_t at = 0;
    while (at < 8 && isPrefix(code.at(at))) {
        ++at;
    }
    bool const exchange =
        (code.at(at) == 0x86 || code.at(at) == 0x87) && (code.at(at + 1) & 0xc0U) != 0xc0;
    return code.at(at) == lock || exchange;
}

bool nextIsAtomicChange(pid_t child) {
    user_regs_struct registers{};
    ptrace(PTRACE_GETREGS, child, nullptr, &registers);
    std::array<U8, 16> code{};
    for (std::size_t at = 0; at < code.size(); at += sizeof(long)) {
        long const word = ptrace(PTRACE_PEEKTEXT, child, registers.rip + at, nullptr);
        std::memcpy(&code.at(at), &word, sizeof word);
    }
    return isAtomicChange(code);
}

/** Steps a child from its first stop to its second one. */
int countAtomicChanges(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFSTOPPED(status) || WSTOPSIG(status) != SIGSTOP) {
        return notCounted;
    }
    int changes = 0;
    do {
        changes += nextIsAtomicChange(child) ? 1 : 0;
        if (ptrace(PTRACE_SINGLESTEP, child, nullptr, nullptr) != 0 ||
            waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) {
            return notCounted;
        }
    } while (WSTOPSIG(status) == SIGTRAP);
    ptrace(PTRACE_CONT, child, nullptr, nullptr);
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? changes : notCounted;
}

int atomicChangesOfWork(Trie& trie, Node* partition, bool threadSafe) {
    pid_t const child = fork();
    if (child == 0) {
        Vexo::threadSafePtrIs(threadSafe);
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            _exit(1);
        }
        kill(getpid(), SIGSTOP);
        work(trie, partition);
        kill(getpid(), SIGSTOP);
        _exit(0);
    }
    return countAtomicChanges(child);
}

TEST(PlainModeTest, NoAtomicReadModifyWriteOnTheWayOfInsertionLookUpAndRemoval) {
    if (__libc_single_threaded == 0) {
        GTEST_SKIP() << "an earlier test's threads make the C library's own allocation lock";
    }
    auto const trie = trieFactory(0);
    trie->afIs(Nimbal::AddressFamily::ipv4);
    auto const numbers = Torvel::Bitmap::BitmapIs();
    auto const id = PartitionId::PartitionIdIs(PartitionIdValue(1), ~0U, numbers);
    Node* const top = trie->insertFromRoot(prefix("0.0.0.0/0"), false, true, id, 1).node();
    for (auto const* text : {"10.0.0.0/8", "10.1.0.0/16", "10.1.0.0/18", "10.2.0.0/16"}) {
        trie->insert(prefix(text), top, true, false, id, 1);
    }
    int const plain = atomicChangesOfWork(*trie, top, false);
    int const threadSafe = atomicChangesOfWork(*trie, top, true);
    removeAll(*trie);
    if (plain == notCounted && threadSafe == notCounted) {
        GTEST_SKIP() << "this system does not let a process step through its child";
    }
    EXPECT_EQ(plain, 0);
    EXPECT_GT(threadSafe, plain);
}

}  // namespace

#endif
