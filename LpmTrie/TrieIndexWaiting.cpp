/*
 * How nodes come into the index. When routes come in order, an insertion near the one before it
 * needs no search, and one block gets many nodes one after the other; so a node then first waits
 * for its block, at each depth for the one along a common address. When a node comes for a block
 * beside that address, or before the index is used or changed otherwise, the blocks that are left
 * get all that waits for them at once, from the deepest up; a block that is new then waits itself,
 * for the one above. So a block grows as its nodes come, but moves once. A node whose insertion
 * needed a search is entered right away: the way to its block has just been gone.
 */

#include <LpmTrie/IndexPath.h>
#include <LpmTrie/TrieIndex.h>

namespace LpmTrie {

using namespace Detail;

/** Lets the node wait with those of its block. */
inline void TrieIndex::wait(Node* node, LengthPlace const& length) noexcept {
    MoreOfBlock& more = waiting_[length.depth];
    U32 const place = placeOf(node->head_, length);
    if (has(more.places, place)) [[unlikely]] {
        refuse(node);
        return;
    }
    more.places |= U64{1} << place;
    more.nodes[place] = node;
    depthsWaiting_ |= length.depthBit;
}

void TrieIndex::add(Node* node) noexcept {
    if (!ready_ || node->headLen_ > longest) {
        return;
    }
    node->index_ = number_;
    tails_ |= node->prefixRef_->prefix().tail();
    ++nodeCount_;
    last_ = node;
    LengthPlace const& length = placeOfLength[node->headLen_];
    bool const beside = ((node->head_ ^ waitingHead_) & length.blockBits) == 0;
    if (!beside || !inOrder_ || node->partitionCandidate()) {
        addElsewhere(node);
        return;
    }
    wait(node, length);
}

/** A node that cannot just wait with others: what waits makes way for it, or it must not wait. */
void TrieIndex::addElsewhere(Node* node) noexcept {
    LengthPlace const& length = placeOfLength[node->headLen_];
    if (!inOrder_) {
        enter(node);
    } else {
        if (((node->head_ ^ waitingHead_) & length.blockBits) != 0) {
            U32 const shared = depthShared(node->head_, waitingHead_);
            // No block that waits may lie along the address where nodes wait for theirs.
            bool const goesBack = has(waiting_[shared].blocks, sliceOf(node->head_, shared));
            enterFrom(goesBack ? 0 : shared + 1);
            waitingHead_ = node->head_;
        }
        if (!ready_) {
            refuse(node);
            return;
        }
        wait(node, length);
    }
    if (node->partitionCandidate()) {
        roleChanged(node);
    }
}

/** Two nodes of one prefix, of which one is not below the trie's root then, or no memory. */
void TrieIndex::refuse(Node* node) noexcept {
    node->index_ = 0;
    giveUp();
}

/** The block at `depth` along an address, made with those on the way to it if need be. */
IndexBlock* TrieIndex::blockFor(U64 head, U32 depth) {
    IndexBlock* block = descend(head, depth);
    while (path_.depth < depth) {
        block = block->blockIs(sliceOf(head, path_.depth));
        path_.blocks[++path_.depth] = block;
    }
    return block;
}

void TrieIndex::enter(Node* node) noexcept {
    settle();
    forget();
    U32 const place = placeOf(node->head_, node->headLen_);
    try {
        IndexBlock* const block = ready_ ? blockFor(node->head_, depthOf(node->headLen_)) : nullptr;
        if (block != nullptr && !has(block->places(), place)) {
            block->nodeIs(place, node);
            return;
        }
    } catch (std::bad_alloc const&) {
        // Goes without the node, and so without all.
    }
    refuse(node);
}

/** Enters what waits at `depth` and below. It may give up in that. */
void TrieIndex::enterFrom(U32 depth) noexcept {
    forget();
    try {
        while (depthsWaiting_ >> depth != 0) {
            if (!enterDeepest()) {
                giveUp();
            }
        }
    } catch (std::bad_alloc const&) {
        giveUp();
    }
}

/**
 * Enters what waits at the greatest depth into its block; or if that is not there, makes the block,
 * which then waits for the one above. False for two nodes of one prefix.
 */
bool TrieIndex::enterDeepest() {
    U32 const depth = 31 - static_cast<U32>(std::countl_zero(depthsWaiting_));
    IndexBlock* block = descend(waitingHead_, depth);
    if (path_.depth != depth) {
        MoreOfBlock& above = waiting_[depth - 1];
        U32 const slice = sliceOf(waitingHead_, depth - 1);
        block = &above.below[slice];
        *block = IndexBlock();
        above.blocks |= U64{1} << slice;
        depthsWaiting_ |= U32{1} << (depth - 1);
    }
    MoreOfBlock& more = waiting_[depth];
    if ((block->places() & more.places) != 0) {
        return false;
    }
    block->moreIs(more);
    more.places = 0;
    more.blocks = 0;
    depthsWaiting_ ^= U32{1} << depth;
    return true;
}

}  // namespace LpmTrie
