#pragma once

#include <LpmTrie/IndexWalk.h>

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
 * Nodes that come in order are entered by and by: whoever asks it anything but `nearLast` first
 * lets it `settle`.
 *
 * Not locked: it belongs to its trie, and even to be asked it has to itself. At most `mostIndexes`
 * exist at a time.
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

    /**
     * A trie whose index is `own`, or that has none, links nodes, which may be null: another
     * trie's index gives up.
     */
    static void linkedBy(TrieIndex const* own, Node* node, Node* other) noexcept {
        U32 const number = own != nullptr ? own->number_ : U32{0};
        U32 const known = node != nullptr ? node->index_ : U32{0};
        U32 const otherKnown = other != nullptr ? other->index_ : U32{0};
        // Products, so that it is one test: whether a node is known at all nobody can guess.
        if ((known * (known ^ number) | otherKnown * (otherKnown ^ number)) != 0) [[unlikely]] {
            linkedStrangers(number, node, other);
        }
    }

    TrieIndex(TrieIndex const&) = delete;
    TrieIndex& operator=(TrieIndex const&) = delete;
    ~TrieIndex();

    struct Found {
        /** The longest node known that covers the prefix, or null. */
        Node* node;
        /** The longest one known that covers it and may count as a partition node, or null. */
        Node* candidate;
    };
    /**
     * Also fetches the nodes that cover the prefix into the cache, side by side. The same again
     * costs next to nothing as long as nothing has changed: a client looks for the partition of a
     * route and then inserts it.
     */
    Found find(Nimbal::IpGenPrefix const& prefix) const noexcept;
    /** How many prefixes `fetchFor` takes. */
    static constexpr std::size_t mostTogether = 16;
    /** Fetches what will be read when these prefixes are looked up, for all of them side by side.
     */
    void fetchFor(std::span<Nimbal::IpGenPrefix const> prefixes) const noexcept;
    /** For a walk in order that steps to `next`: fetches what comes soon. */
    void fetchAhead(Node const* next) const noexcept;

    /**
     * The longest node that covers the prefix, if it covers the node added last as well and is near
     * that one; else null. Longer than the prefix's own node, never that itself.
     */
    Node* nearLast(Nimbal::IpGenPrefix const& prefix) const noexcept;

    bool ready() const noexcept { return ready_; }
    /** Enters the nodes that still wait for it. It may give up in that. */
    void settle() noexcept {
        if (depthsWaiting_ != 0) {
            enter(depthsWaiting_);
        }
    }
    void add(Node* node) noexcept;
    void del(Node* node) noexcept;
    void roleChanged(Node* node) noexcept;
    void giveUp() noexcept;

    /** The node has come into this index, and is in its trie. */
    bool entered(Node const* node) const noexcept { return node->index_ == number_; }
    /** Knows this very node and its role, or need not know it. */
    bool knows(Node const* node) const noexcept;
    U64 nodeCount() const noexcept { return nodeCount_; }
    /** How many of the nodes may count as partition nodes. */
    U64 candidateCount() const noexcept { return markCount_; }

private:
    static constexpr U32 strides = IndexWalk::levels;

    /** Nodes that are still to be entered into one block. */
    struct Waiting {
        U64 head = 0;  // an address in the block
        U64 places = 0;
        std::array<Node*, 64> nodes{};  // under their places
    };
    /** The blocks along one address, from the top; the way to the next one begins where they part.
     */
    struct Path {
        U64 head = 0;
        U32 depth = 0;  // of the last block
        std::array<IndexBlock*, strides> blocks{};
    };

    /** What has been found last, for which address and how many bits of it. */
    struct Recent {
        static constexpr U32 none = ~U32{0};

        U64 head = 0;
        U32 len = none;
        Found found{nullptr, nullptr};
    };

    TrieIndex() noexcept { path_.blocks[0] = &top_; }
    Found search(U64 head, U32 len) const noexcept;
    /** What was learnt of blocks that are about to change. */
    void forget() noexcept {
        walk_.stop();
        recent_.len = Recent::none;
    }
    static void linkedStrangers(U32 number, Node* node, Node* other) noexcept;
    template <bool fetching>
    IndexBlock* descend(U64 head, U32 depth) const noexcept;
    bool addAll(Node* root, Nimbal::AddressFamily af);
    Node* nearLastNode(Nimbal::IpGenPrefix const& prefix) const noexcept;
    IndexBlock* blockFor(U64 head, U32 depth);
    void wait(Node* node) noexcept;
    bool makesWay(Waiting const& waiting, Node* node, U32 depth) noexcept;
    void enter(Node* node) noexcept;
    void enter(U32 depths) noexcept;
    void erase(Node* node);

    U16 number_ = 0;
    bool ready_ = true;
    U64 nodeCount_ = 0;
    U64 markCount_ = 0;
    IndexBlock top_;
    std::array<Waiting, strides> waiting_;
    U32 depthsWaiting_ = 0;  // a bit for each
    Node* last_ = nullptr;   // the node added last, if it is still there
    // Whether the last search was for something near that, so that more may come in order.
    mutable bool inOrder_ = true;
    // Where a search or a walk has been last: what makes one that only reads unfit for two threads.
    mutable Path path_;
    mutable Recent recent_;
    mutable IndexWalk walk_;
};

}  // namespace LpmTrie
