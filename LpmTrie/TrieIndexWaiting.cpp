/*
 * How nodes come into the index. When routes come in order, an insertion near the one before it
 * needs no search, and one block gets many nodes one after the other; so a node then first waits,
 * at each depth for one block, and all that wait for a block are entered at once: when a node comes
 * for another block of that depth, or before the index is used or changed otherwise. A node whose
 * insertion needed a search is entered right away: the way to its block has just been gone.
 */

#include <LpmTrie/IndexPath.h>
#include <LpmTrie/TrieIndex.h>

namespace LpmTrie {

using namespace Detail;

namespace {

// How far up from the last node the next one is looked for, in bits and in nodes.
constexpr U32 nearBits = 12;
constexpr U32 nearSteps = 12;

/** Two addresses lie in the same block at `depth`. */
constexpr bool sameBlock(U64 head, U64 other, U32 depth) noexcept {
    return (head ^ other) >> 3 >> (63 - stride * depth) == 0;
}

}  // namespace

/** Lets the node wait with those of its block, once others have made way. */
inline void TrieIndex::wait(Node* node) noexcept {
    U32 const depth = depthOf(node->headLen_);
    U32 const place = placeOf(node->head_, node->headLen_);
    Waiting& waiting = waiting_[depth];
    bool const beside = sameBlock(waiting.head, node->head_, depth) && !has(waiting.places, place);
    if (!beside && !makesWay(waiting, node, depth)) [[unlikely]] {
        return;
    }
    waiting.head = node->head_;
    waiting.places |= U64{1} << place;
    waiting.nodes[place] = node;
    depthsWaiting_ |= U32{1} << depth;
}

void TrieIndex::add(Node* node) noexcept {
    if (!ready_ || node->headLen_ > longest) {
        return;
    }
    node->index_ = number_;
    ++nodeCount_;
    last_ = node;
    if (inOrder_) {
        wait(node);
    } else {
        enter(node);
    }
    if (node->partitionCandidate()) {
        roleChanged(node);
    }
}

/** Enters what waits for another block. False when the index has given up. */
bool TrieIndex::makesWay(Waiting const& waiting, Node* node, U32 depth) noexcept {
    if (waiting.places != 0 && !sameBlock(waiting.head, node->head_, depth)) {
        enter(U32{1} << depth);
    }
    if (ready_ && waiting.places == 0) {
        return true;
    }
    // No memory, or two nodes of one prefix: then one of them is not below the trie's root.
    node->index_ = 0;
    giveUp();
    return false;
}

/** The block at `depth` along an address, made with those on the way to it if need be. */
IndexBlock* TrieIndex::blockFor(U64 head, U32 depth) {
    IndexBlock* block = descend<false>(head, depth);
    while (path_.depth < depth) {
        block = block->blockIs(sliceOf(head, path_.depth));
        path_.blocks[++path_.depth] = block;
    }
    return block;
}

void TrieIndex::enter(Node* node) noexcept {
    forget();
    U32 const place = placeOf(node->head_, node->headLen_);
    try {
        IndexBlock* const block = blockFor(node->head_, depthOf(node->headLen_));
        if (!has(block->places(), place)) {
            block->nodeIs(place, node);
            return;
        }
    } catch (std::bad_alloc const&) {
        // Goes without the node, and so without all.
    }
    node->index_ = 0;
    giveUp();
}

/** Enters what waits at the depths whose bits are set; gives up when memory ends. */
void TrieIndex::enter(U32 depths) noexcept {
    forget();
    try {
        for (; depths != 0; depths &= depths - 1) {
            auto const depth = static_cast<U32>(std::countr_zero(depths));
            Waiting& waiting = waiting_[depth];
            IndexBlock* const block = blockFor(waiting.head, depth);
            if ((block->places() & waiting.places) != 0) {
                giveUp();  // as in `makesWay`
                return;
            }
            block->nodesIs(waiting.places, waiting.nodes);
            waiting.places = 0;
            depthsWaiting_ &= ~(U32{1} << depth);
        }
    } catch (std::bad_alloc const&) {
        giveUp();
    }
}

Node* TrieIndex::nearLast(Nimbal::IpGenPrefix const& prefix) const noexcept {
    Node* const near = last_ != nullptr ? nearLastNode(prefix) : nullptr;
    inOrder_ = near != nullptr;
    return near;
}

Node* TrieIndex::nearLastNode(Nimbal::IpGenPrefix const& prefix) const noexcept {
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
