#pragma once

/* How the trie calls a client's hooks. Private to this folder's sources. */

#include <LpmTrie/Trie.h>

#include <exception>
#include <utility>

namespace LpmTrie {

/** A route carries the table and the id object of the partition node that it was inserted from. */
void assertSameLabels(Node* fromPartitionNode, Node* node);

/** Marks that a hook runs, so that one which changes the trie is found out in debug builds. */
class Trie::HookCall {
public:
    explicit HookCall(Trie& trie) noexcept
        : trie_(trie), before_(std::exchange(trie.hookRunning_, true)) {}
    HookCall(HookCall const&) = delete;
    HookCall& operator=(HookCall const&) = delete;
    ~HookCall() { trie_.hookRunning_ = before_; }

private:
    Trie& trie_;
    bool const before_;
};

/**
 * While it lives, searches go step by step from the root, as a check of the links must, and walks
 * fetch nothing ahead.
 */
class Trie::PlainSearch {
public:
    explicit PlainSearch(Trie& trie, bool plain = true) noexcept
        : trie_(trie), before_(std::exchange(trie.plainSearch_, plain)) {}
    PlainSearch(PlainSearch const&) = delete;
    PlainSearch& operator=(PlainSearch const&) = delete;
    ~PlainSearch() { trie_.plainSearch_ = before_; }

private:
    Trie& trie_;
    bool const before_;
};

/**
 * The first exception of the hooks that one operation calls, kept until the operation is complete.
 */
class Trie::HookErrors {
public:
    /** Calls a hook and keeps what it throws, if that is the first. */
    template <class Call>
    void keep(Call const& call) noexcept {
        try {
            call();
        } catch (...) {
            first_ = first_ ? first_ : std::current_exception();
        }
    }
    void rethrow() const {
        if (first_) {
            std::rethrow_exception(first_);
        }
    }

private:
    std::exception_ptr first_;
};

}  // namespace LpmTrie
