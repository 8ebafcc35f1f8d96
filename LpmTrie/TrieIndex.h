#pragma once

#include <LpmTrie/IndexBlock.h>

#include <atomic>
#include <memory>

namespace LpmTrie {

/**
 * Leads from an address to the deepest node that covers it, without going through the nodes above:
 * for a trie so large that each of these would be a cache miss. It knows every node of at most
 * `longest` bits, and which of them may count as partition nodes; a descent goes on from what it
 * finds by the plain algorithm.
 *
 * The trie tells it of each node that comes or goes, a node that it knows of a change of its role.
 * When links are set by hand, or memory ends, it gives up: it forgets everything, for good, and
 * what was led by it goes from the root again. So it is never wrong, only absent.
 *
 * Not locked: it belongs to its trie. At most `mostIndexes` exist at a time.
 */
class TrieIndex {
public:
    static constexpr U32 longest = 62;
    static constexpr U16 mostIndexes = 4095;
    /** Routes from which on a trie keeps an index. */
    static std::atomic<U32> threshold;

    /**
     * The index of the trie below `root`. Null when the trie is not as operations make it, or when
     * memory ends.
     */
    static std::unique_ptr<TrieIndex> of(Node* root, Nimbal::AddressFamily af) noexcept;
    /** The one that a node knows by its number. */
    static TrieIndex& numbered(U16 number) noexcept;

    /** A trie whose index is `own`, or that has none, links `node`: another trie's index gives up.
     */
    static void linkedBy(TrieIndex const* own, Node* node) noexcept;

    TrieIndex(TrieIndex const&) = delete;
    TrieIndex& operator=(TrieIndex const&) = delete;
    ~TrieIndex();

    struct Found {
        /** The longest node known that covers the prefix, or null. */
        Node* node;
        /** The longest one known that covers it and may count as a partition node, or null. */
        Node* candidate;
    };
    Found find(Nimbal::IpGenPrefix const& prefix) const noexcept;
    /**
     * Fetches the nodes that cover what was searched for last into the cache, side by side, but for
     * those that the call before has fetched.
     */
    void fetchCovering() const noexcept;

    /**
     * For a walk in order that steps from `node` to `next`, below or beside it: fetches what comes
     * soon.
     */
    void fetchAhead(Node const* node, Node const* next) const noexcept;

    bool ready() const noexcept { return ready_; }
    void add(Node* node) noexcept;
    void del(Node* node) noexcept;
    void roleChanged(Node* node) noexcept;
    void giveUp() noexcept;

    /** Knows this very node and its role, or need not know it. */
    bool knows(Node const* node) const noexcept;
    U64 nodeCount() const noexcept { return nodeCount_; }

private:
    static constexpr U32 strides = 11;

    /** The blocks along one address, from the top; the way to the next one begins where they part.
     */
    struct Path {
        U64 head = 0;
        U32 depth = 0;    // of the last block
        U32 fetched = 0;  // the depth up to which the covering nodes have been fetched
        std::array<IndexBlock*, strides> blocks{};
    };

    TrieIndex() noexcept { path_.blocks[0] = &top_; }
    IndexBlock* descend(U64 head, U32 depth) const noexcept;
    bool addAll(Node* root, Nimbal::AddressFamily af);
    void insert(Node* node);
    void erase(Node* node);

    U16 number_ = 0;
    bool ready_ = true;
    U64 nodeCount_ = 0;
    U64 markCount_ = 0;
    IndexBlock top_;
    mutable Path path_;
};

}  // namespace LpmTrie
