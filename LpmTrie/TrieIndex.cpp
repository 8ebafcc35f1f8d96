/*
 * The index is a tree of blocks, each for the nodes of six lengths below one prefix: 0 to 3 in the
 * first block, whose stride begins two bits before the address does, then 4 to 9, 10 to 15 and so
 * on. Strides so placed keep the lengths that abound, 20 to 24 bits of IPv4 and 44 to 48 of IPv6,
 * in few blocks. A look-up reads one block a stride, of which the first ones stay in the cache, and
 * then the one node that it was after.
 */

#include <LpmTrie/IndexPath.h>
#include <LpmTrie/TrieIndex.h>

namespace LpmTrie {

using namespace Detail;

namespace {

// Blocks beside each other, in a walk.
constexpr U32 nodesAhead = 4;
constexpr U32 wordsAhead = 4;

}  // namespace

/** The block at `depth` along an address, or the deepest one above, at the path's end. */
IndexBlock* TrieIndex::descend(U64 head, U32 depth) const noexcept {
    // Strides that the two addresses share wholly lead to the same block.
    auto const shared = (static_cast<U32>(std::countl_zero(head ^ path_.head)) + 2) / stride;
    U32 at = std::min({shared, path_.depth, depth});
    IndexBlock* block = path_.blocks[at];
    path_.fetched = std::min(path_.fetched, at);
    for (; at < depth; ++at) {
        U32 const slice = sliceOf(head, at);
        if (!has(block->blocks(), slice)) {
            break;
        }
        block = block->block(slice);
        path_.blocks[at + 1] = block;
    }
    path_.head = head;
    path_.depth = at;
    return block;
}

TrieIndex::Found TrieIndex::find(Nimbal::IpGenPrefix const& prefix) const noexcept {
    U64 const head = prefix.head();
    U32 const len = std::min(prefix.len(), longest);
    descend(head, depthOf(len));
    Found found{nullptr, nullptr};
    U64 bound = path_.depth == depthOf(len) ? IndexBlock::upTo((len + 2) % stride) : ~U64{0};
    bool searching = true;
    for (U32 depth = path_.depth + 1; searching && depth-- > 0; bound = ~U64{0}) {
        IndexBlock const& block = *path_.blocks[depth];
        U64 const covering = IndexBlock::covering(sliceOf(head, depth)) & bound & block.places();
        if (covering == 0) {
            continue;
        }
        if (found.node == nullptr) {
            found.node = block.node(IndexBlock::highest(covering));
        }
        if (U64 const marks = covering & block.marks(); marks != 0) {
            found.candidate = block.node(IndexBlock::highest(marks));
            return found;
        }
        searching = markCount_ != 0;
    }
    return found;
}

void TrieIndex::fetchCovering() const noexcept {
    // The nodes of the first blocks are in the cache in any case.
    for (U32 depth = std::max(path_.fetched + 1, 2U); depth <= path_.depth; ++depth) {
        IndexBlock const& block = *path_.blocks[depth];
        U64 covering = IndexBlock::covering(sliceOf(path_.head, depth)) & block.places();
        for (; covering != 0; covering &= covering - 1) {
            prefetchNode(block.node(static_cast<U32>(std::countr_zero(covering))));
        }
    }
    path_.fetched = path_.depth;
}

void TrieIndex::fetchAhead(Node const* node, Node const* next) const noexcept {
    // `next` has not been checked yet: whoever goes on from it names it if it is broken.
    if (next->index_ != number_ || !next->eyeCatcherIntact() || next->headLen_ > longest) {
        return;
    }
    U32 const depth = depthOf(next->headLen_);
    if (depth <= depthOf(node->headLen_)) {
        return;
    }
    // The walk enters a block. One of a few nodes is left sooner than memory answers, so that nodes
    // are fetched some blocks ahead, and what names them still further.
    IndexBlock const& block = *descend(next->head_, depth);
    block.fetchBelow(0, nodesAhead, wordsAhead);
    IndexBlock const& above = *path_.blocks[depth - 1];
    U32 const number = above.blockNumber(sliceOf(next->head_, depth - 1));
    above.fetchBelow(number + nodesAhead, 1, wordsAhead);
}

void TrieIndex::add(Node* node) noexcept {
    try {
        if (ready_) {
            insert(node);
        }
    } catch (std::bad_alloc const&) {
        giveUp();
    }
}

void TrieIndex::insert(Node* node) {
    if (node->headLen_ > longest) {
        return;
    }
    U32 const depth = depthOf(node->headLen_);
    IndexBlock* block = descend(node->head_, depth);
    while (path_.depth < depth) {
        block = block->blockIs(sliceOf(node->head_, path_.depth));
        path_.blocks[++path_.depth] = block;
    }
    U32 const place = placeOf(node->head_, node->headLen_);
    block->nodeIs(place, node);
    node->index_ = number_;
    ++nodeCount_;
    if (node->partitionCandidate()) {
        block->markIs(place, true);
        ++markCount_;
    }
}

void TrieIndex::linkedBy(TrieIndex const* own, Node* node) noexcept {
    U16 const number = own != nullptr ? own->number_ : U16{0};
    if (node != nullptr && node->index_ != 0 && node->index_ != number) [[unlikely]] {
        node->indexLinkChanged();
    }
}

void TrieIndex::del(Node* node) noexcept {
    if (node->index_ != number_) {
        node->indexLinkChanged();  // another trie's: that one's index cannot follow this
        return;
    }
    try {
        erase(node);
    } catch (std::bad_alloc const&) {
        giveUp();
    }
}

void TrieIndex::erase(Node* node) {
    IndexBlock* block = descend(node->head_, depthOf(node->headLen_));
    U32 const place = placeOf(node->head_, node->headLen_);
    markCount_ -= has(block->marks(), place) ? 1U : 0U;
    block->nodeDel(place);
    node->index_ = 0;
    --nodeCount_;
    for (; path_.depth > 0 && block->empty(); block = path_.blocks[path_.depth]) {
        --path_.depth;
        path_.blocks[path_.depth]->blockDel(sliceOf(node->head_, path_.depth));
    }
}

void TrieIndex::roleChanged(Node* node) noexcept {
    IndexBlock* const block = descend(node->head_, depthOf(node->headLen_));
    U32 const place = placeOf(node->head_, node->headLen_);
    bool const marked = node->partitionCandidate();
    if (marked == has(block->marks(), place)) {
        return;
    }
    try {
        block->markIs(place, marked);
        markCount_ += marked ? 1 : ~U64{0};
    } catch (std::bad_alloc const&) {
        giveUp();
    }
}

bool TrieIndex::knows(Node const* node) const noexcept {
    if (node->headLen_ > longest) {
        return node->index_ == 0;
    }
    U32 const depth = depthOf(node->headLen_);
    IndexBlock const* const block = descend(node->head_, depth);
    U32 const place = placeOf(node->head_, node->headLen_);
    return path_.depth == depth && node->index_ == number_ && has(block->places(), place) &&
           block->node(place) == node && has(block->marks(), place) == node->partitionCandidate();
}

}  // namespace LpmTrie
