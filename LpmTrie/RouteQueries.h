#pragma once

#include <LpmTrie/Trie.h>

#include <cstddef>
#include <iterator>
#include <optional>

/*
 * What every user of such a trie needs beside its own operations. The questions only read, trace
 * nothing, and throw nothing but std::bad_alloc, and that only where they return text. A question
 * costs at most the trie's depth, and what it returns. As with the trie: one thread at a time.
 */

namespace LpmTrie {

/** The longest FIB route that covers `prefix`, itself included; null when none does. */
LPMTRIE_API Node* longestMatch(Trie const& trie, Nimbal::IpGenPrefix const& prefix) noexcept;
/** @{ The longest FIB route that covers an address; null in a trie of the other family. */
LPMTRIE_API Node* longestMatch(Trie const& trie, Nimbal::IpAddr const& address) noexcept;
LPMTRIE_API Node* longestMatch(Trie const& trie, Nimbal::Ip6Addr const& address) noexcept;
/** @} */

/** The node with that very prefix, of any kind; null when there is none. */
LPMTRIE_API Node* findExact(Trie const& trie, Nimbal::IpGenPrefix const& prefix) noexcept;

/**
 * The FIB routes at and under a prefix, in order of address, then length. An input range of
 * `Node*`; a change of the trie ends it. A walk over all takes constant time a node.
 */
class LPMTRIE_API RoutesUnder {
public:
    /** An input iterator. */
    class Iterator {
    public:
        /** @{ What the standard library asks of an input iterator. */
        using iterator_category = std::input_iterator_tag;
        using value_type = Node*;
        using difference_type = std::ptrdiff_t;
        using pointer = Node* const*;
        using reference = Node*;

        Iterator() noexcept = default;
        Iterator(Node* top, Node* node) noexcept : top_(top), node_(node) {}
        Node* operator*() const noexcept { return node_; }
        Iterator& operator++() noexcept;
        Iterator operator++(int) noexcept {
            Iterator const before = *this;
            ++*this;
            return before;
        }
        bool operator==(Iterator const& other) const noexcept { return node_ == other.node_; }
        /** @} */

    private:
        Node* top_ = nullptr;
        Node* node_ = nullptr;
    };

    /** The routes at and below `top`; none for null. */
    explicit RoutesUnder(Node* top) noexcept : top_(top) {}
    /** @{ The first route, and the end. */
    Iterator begin() const noexcept;
    Iterator end() const noexcept { return {}; }
    /** @} */

private:
    Node* top_;
};

/** All routes at and under a prefix, in order. */
LPMTRIE_API RoutesUnder routesUnder(Trie const& trie, Nimbal::IpGenPrefix const& prefix) noexcept;
/** All routes of the trie, in order. */
LPMTRIE_API RoutesUnder allRoutes(Trie const& trie) noexcept;

/**
 * Frees every node, whatever its flags and pending states, through the trie's `deallocateNode`, in
 * one pass.
 */
LPMTRIE_API void removeAll(Trie& trie) noexcept;

/**
 * Whether `Trie::insert` with these arguments would be accepted. Empty: it would, so far as memory
 * and hooks go along. Otherwise a sentence that tells what is wrong: such an insertion stops the
 * process, or throws for a prefix longer than any address. The trie must be one that `verify`
 * accepts. Whether `verify` accepts it afterwards as well is another question: a route has to carry
 * the id and the table of the partition that covers it, which an insertion without a start node
 * leaves to the caller.
 */
LPMTRIE_API std::optional<String> insertionRefusal(
    Trie const& trie, Nimbal::IpGenPrefix const& newPrefix, Node const* fromPartitionNode,
    bool fibRoute, bool partitionNode, PartitionId::Ptr const& partitionId, U32 hwTable);

}  // namespace LpmTrie
