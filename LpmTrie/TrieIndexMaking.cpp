/*
 * How an index comes and goes. A trie can be indexed when every node hangs where its prefix says.
 * That is looked at once, when the index is made; after that the trie's own operations keep it so,
 * and any other change of a link makes the index give up: it lets go of every node.
 */

#include <LpmTrie/TrieIndex.h>

#include <array>
#include <mutex>

namespace LpmTrie {

namespace {

constinit std::mutex numbersMutex;
constinit std::array<std::atomic<TrieIndex*>, TrieIndex::mostIndexes + 1> indexes{};

/** Takes a number for `index`, 0 when there is none left. */
U16 takeNumber(TrieIndex* index) noexcept {
    std::lock_guard const lock(numbersMutex);
    for (U16 number = 1; number <= TrieIndex::mostIndexes; ++number) {
        if (indexes[number].load(std::memory_order_relaxed) == nullptr) {
            indexes[number].store(index, std::memory_order_release);
            return number;
        }
    }
    return 0;
}

/** The node hangs where its prefix says, under a node that is there itself. */
bool hangsRight(Node const* node, Node const* parent, U32 bit, Nimbal::AddressFamily af) {
    if (!node->prefixRef() || node->parent() != parent) {
        return false;
    }
    Nimbal::IpGenPrefix const& prefix = node->prefixRef()->prefix();
    if (prefix.af() != af || prefix.len() > maxPrefixLen(af)) {
        return false;
    }
    return parent == nullptr || (prefix.len() > parent->prefixRef()->prefix().len() &&
                                 prefix.overlaps(parent->prefixRef()->prefix()) &&
                                 prefix.bit(parent->prefixRef()->prefix().len()) == bit);
}

}  // namespace

std::atomic<U32> TrieIndex::threshold{32768};

std::unique_ptr<TrieIndex> TrieIndex::of(Node* root, Nimbal::AddressFamily af) noexcept {
    try {
        std::unique_ptr<TrieIndex> index(new TrieIndex());
        index->number_ = takeNumber(index.get());
        if (index->number_ != 0 && index->addAll(root, af)) {
            return index;
        }
    } catch (std::bad_alloc const&) {
        // Goes without, as one that is not made at all.
    }
    return nullptr;
}

TrieIndex& TrieIndex::numbered(U16 number) noexcept {
    return *indexes[number].load(std::memory_order_acquire);
}

void TrieIndex::linkedStrangers(U32 number, std::initializer_list<Node*> nodes) noexcept {
    for (Node* const linked : nodes) {
        if (linked != nullptr && linked->index_ != number) {
            linked->indexLinkChanged();
        }
    }
}

TrieIndex::~TrieIndex() {
    giveUp();
    if (number_ != 0) {
        std::lock_guard const lock(numbersMutex);
        indexes[number_].store(nullptr, std::memory_order_relaxed);
    }
}

/** Walks over the trie; false at the first node that hangs wrong. */
bool TrieIndex::addAll(Node* root, Nimbal::AddressFamily af) {
    Node* node = root;
    if (node->index_ != 0 || !hangsRight(node, nullptr, 0, af)) {
        return false;
    }
    add(node);
    Node const* from = node->parent();
    while (node != nullptr) {
        // The child to step to: the first one when coming from above, else the one after `from`.
        U32 bit = from == node->parent() ? 0 : from == node->bitNode(0) ? 1 : 2;
        bit += bit < 2 && node->bitNode(bit) == nullptr ? 1U : 0U;
        Node* const child = bit < 2 ? node->bitNode(bit) : nullptr;
        from = node;
        if (child == nullptr) {
            node = node->parent();
            continue;
        }
        if (!child->eyeCatcherIntact() || child->index_ != 0 || !hangsRight(child, node, bit, af)) {
            return false;
        }
        add(child);
        node = child;
    }
    settle();
    return ready_;
}

/** Lets go of all nodes in a block and below it, and clears it. */
void TrieIndex::letGo(IndexBlock& top) noexcept {
    struct Level {
        IndexBlock* block;
        U64 blocksLeft;
    };
    std::array<Level, strides> levels{};
    U32 level = 0;
    levels[0] = {&top, top.blocks()};
    for (;;) {
        auto& [block, blocksLeft] = levels[level];
        if (blocksLeft != 0) {
            IndexBlock* const below = block->block(static_cast<U32>(std::countr_zero(blocksLeft)));
            blocksLeft &= blocksLeft - 1;
            levels[++level] = {below, below->blocks()};
            continue;
        }
        for (U64 places = block->places(); places != 0; places &= places - 1) {
            block->node(static_cast<U32>(std::countr_zero(places)))->index_ = 0;
        }
        block->clear();
        if (level == 0) {
            return;
        }
        --level;
    }
}

void TrieIndex::giveUp() noexcept {
    letGo(top_);
    for (; depthsWaiting_ != 0; depthsWaiting_ &= depthsWaiting_ - 1) {
        MoreOfBlock& more = waiting_[static_cast<U32>(std::countr_zero(depthsWaiting_))];
        for (; more.places != 0; more.places &= more.places - 1) {
            more.nodes[static_cast<U32>(std::countr_zero(more.places))]->index_ = 0;
        }
        for (; more.blocks != 0; more.blocks &= more.blocks - 1) {
            letGo(more.below[static_cast<U32>(std::countr_zero(more.blocks))]);
        }
    }
    last_ = nullptr;
    forget();
    nodeCount_ = 0;
    markCount_ = 0;
    path_.depth = 0;
    ready_ = false;
}

}  // namespace LpmTrie
