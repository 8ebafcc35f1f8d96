#pragma once

#include <LpmTrie/IndexPath.h>
#include <LpmTrie/IndexWalk.h>

#include <atomic>
#include <initializer_list>
#include <memory>

namespace LpmTrie {

/**
 * Leads from an address to the deepest node that covers it, without going through the nodes above:
 * for a trie so large that each of these would be a cache miss. It knows every node of at most
 * `longest` bits, and which of them may count as partition nodes; a descent goes on from what it
 * finds by the plain algorithm.
 *
 * The trie tells it of each node that comes or goes, a node that it knows of a change of its role.
 * When links or another family are set by hand, or memory ends, it gives up: it forgets everything,
 * for good, and what was led by it goes from the root again. So it is never wrong, only absent.
 *
 * Nodes that come in order are entered by and by: whoever asks it where nodes are, by anything but
 * `nearLast`, first lets it `settle`.
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
    template <class... Nodes>
    static void linkedBy(TrieIndex const* own, Nodes*... nodes) noexcept {
        U32 const number = own != nullptr ? own->number_ : U32{0};
        // One test for all: whether a node is known at all nobody can guess.
        if ((strangeness(number, nodes) | ...) != 0) [[unlikely]] {
            linkedStrangers(number, {nodes...});
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
    /** The same, but nothing when a node that covers the prefix is broken. */
    Found findAlive(Nimbal::IpGenPrefix const& prefix) const noexcept;
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
            enterFrom(0);
        }
    }
    void add(Node* node) noexcept;
    void del(Node* node) noexcept;
    void roleChanged(Node* node) noexcept;
    void giveUp() noexcept;

    /** The node has come into this index, and is in its trie. */
    bool entered(Node const* node) const noexcept { return node->index_ == number_; }
    /**
     * A node that has entered has this very prefix, which is of the trie's family. The holder,
     * which may still be on its way from memory, is read only when any node has had host bits that
     * it does not keep itself.
     */
    bool hasPrefix(Node const* node, Nimbal::IpGenPrefix const& prefix) const noexcept {
        return tails_ != 0 ? node->prefixRef_->prefix() == prefix
                           : node->head_ == prefix.head() && node->headLen_ == prefix.len() &&
                                 prefix.tail() == 0;
    }
    /** Knows this very node and its role, or need not know it. */
    bool knows(Node const* node) const noexcept;
    U64 nodeCount() const noexcept { return nodeCount_; }
    /** How many of the nodes may count as partition nodes. */
    U64 candidateCount() const noexcept { return markCount_; }

private:
    // How far up from the last node the next one is looked for, in bits and in nodes.
    static constexpr U32 nearBits = 12;
    static constexpr U32 nearSteps = 12;
    static constexpr U32 strides = IndexWalk::levels;

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

        bool is(U64 ofHead, U32 ofLen) const noexcept { return head == ofHead && len == ofLen; }
    };
    class LookOnTheWay;

    TrieIndex() noexcept { path_.blocks[0] = &top_; }
    template <class Visit>
    Found search(U64 head, U32 len, Visit&& visit) const noexcept;
    /** What was learnt of blocks that are about to change. */
    void forget() noexcept {
        walk_.stop();
        recent_.len = Recent::none;
    }
    /** Not 0 for a node that an index other than that of this number knows. */
    static U32 strangeness(U32 number, Node const* node) noexcept {
        U32 const known = node != nullptr ? node->index_ : U32{0};
        return known * (known ^ number);
    }
    static void linkedStrangers(U32 number, std::initializer_list<Node*> nodes) noexcept;
    IndexBlock* descend(U64 head, U32 depth) const noexcept;
    template <class Visit>
    IndexBlock* descend(U64 head, U32 depth, Visit&& visit) const noexcept;
    bool addAll(Node* root, Nimbal::AddressFamily af);
    Node* nearLastNode(Nimbal::IpGenPrefix const& prefix) const noexcept;
    IndexBlock* blockFor(U64 head, U32 depth);
    void addElsewhere(Node* node) noexcept;
    inline void wait(Node* node, Detail::LengthPlace const& length) noexcept;
    void refuse(Node* node) noexcept;
    void enter(Node* node) noexcept;
    void enterFrom(U32 depth) noexcept;
    bool enterDeepest();
    void erase(Node* node);
    static void letGo(IndexBlock& top) noexcept;

    U16 number_ = 0;
    bool ready_ = true;
    U64 nodeCount_ = 0;
    U64 markCount_ = 0;
    U64 tails_ = 0;  // the bits beyond the first 64 that any node's address has had
    IndexBlock top_;
    // What waits for the blocks along one address.
    U64 waitingHead_ = 0;
    U32 depthsWaiting_ = 0;  // a bit for each
    std::array<MoreOfBlock, strides> waiting_;
    Node* last_ = nullptr;  // the node added last, if it is still there
    // Whether the last search was for something near that, so that more may come in order.
    mutable bool inOrder_ = true;
    // Where a search or a walk has been last: what makes one that only reads unfit for two threads.
    mutable Path path_;
    mutable Recent recent_;
    mutable IndexWalk walk_;
};

inline Node* TrieIndex::nearLast(Nimbal::IpGenPrefix const& prefix) const noexcept {
    Node* const near = last_ != nullptr ? nearLastNode(prefix) : nullptr;
    inOrder_ = near != nullptr;
    return near;
}

inline Node* TrieIndex::nearLastNode(Nimbal::IpGenPrefix const& prefix) const noexcept {
    auto const agreeing = static_cast<U32>(std::countl_zero(prefix.head() ^ last_->head_));
    U32 const shared = std::min(prefix.len(), agreeing);
    if (shared + nearBits < last_->headLen_) {
        return nullptr;
    }
    Node const* below = nullptr;
    Node* node = last_;
    for (U32 steps = 0; node != nullptr && node->eyeCatcherIntact() && steps < nearSteps; ++steps) {
        U32 const len = node->headLen_;
        if (len <= shared) {
            Node const* const child = node->bitNode_[prefix.head() >> (63 - len) & 1];
            bool const deepest = len < prefix.len() && (child == nullptr || child == below);
            return deepest ? node : nullptr;
        }
        below = node;
        node = node->parent_;
    }
    return nullptr;
}

}  // namespace LpmTrie
