/*
 * The index is a tree of blocks, each for the nodes of six lengths below one prefix: 0 to 3 in the
 * first block, whose stride begins two bits before the address does, then 4 to 9, 10 to 15 and so
 * on. Strides so placed keep the lengths that abound, 20 to 24 bits of IPv4 and 44 to 48 of IPv6,
 * in few blocks. A look-up reads one block a stride, of which the first ones stay in the cache, and
 * then the one node that it was after.
 */

#include <LpmTrie/IndexPath.h>
#include <LpmTrie/TrieIndex.h>

#include <utility>

namespace LpmTrie {

using namespace Detail;

namespace {

// The nodes of the blocks above are in the cache in any case.
constexpr U32 firstFetched = 2;

}  // namespace

/** Looks at the nodes that cover an address: while they come from memory, so do the next blocks. */
class TrieIndex::LookOnTheWay {
public:
    void operator()(IndexBlock const& block, U64 covering) noexcept {
        U64 places = covering & block.places();
        if (places == 0) {
            return;
        }
        IndexBlock::Nodes const nodes(block);
        if (shortest_ == nullptr) {
            shortest_ = nodes[static_cast<U32>(std::countr_zero(places))];
        }
        for (; places != 0; places &= places - 1) {
            Node const* const node = nodes[static_cast<U32>(std::countr_zero(places))];
            fetchForClimb(node);
            if (!node->eyeCatcherIntact()) [[unlikely]] {
                alive_ = false;
            }
        }
    }
    /** All those, and those above them, are alive. `deepest` is the last of them, or null. */
    bool alive(Node const* deepest) const noexcept {
        return alive_ && aliveUpwards(shortest_ != nullptr ? shortest_->parent_ : deepest);
    }
    static bool aliveUpwards(Node const* node) noexcept {
        while (node != nullptr) {
            while (node->ordinary()) {
                node = node->parent_;
            }
            if (!node->eyeCatcherIntact()) [[unlikely]] {
                return false;
            }
            node = node->parent_;
        }
        return true;
    }

private:
    static void fetchForClimb(Node const* node) noexcept {
        // The look at the eye catcher fetches its line.
        if constexpr (Vexo::guardsOn) {
            prefetchRestForClimb(node);
        } else {
            prefetchForClimb(node);
        }
    }

    Node const* shortest_ = nullptr;
    bool alive_ = true;
};

IndexBlock* TrieIndex::descend(U64 head, U32 depth) const noexcept {
    return descend(head, depth, [](IndexBlock const&, U64) {});
}

/**
 * The block at `depth` along an address, or the deepest one above, at the path's end. `visit` is
 * called with each block on the way whose nodes may not be in the cache, and the places that cover
 * the address.
 */
template <class Visit>
IndexBlock* TrieIndex::descend(U64 head, U32 depth, Visit&& visit) const noexcept {
    U32 at = std::min({depthShared(head, path_.head), path_.depth, depth});
    IndexBlock* block = path_.blocks[at];
    for (; at < depth; ++at) {
        U32 const slice = sliceOf(head, at);
        if (!has(block->blocks(), slice)) {
            break;
        }
        block = block->block(slice);
        path_.blocks[at + 1] = block;
        if (at + 1 >= firstFetched) {
            visit(*block, IndexBlock::covering(sliceOf(head, at + 1)));
        }
    }
    path_.head = head;
    path_.depth = at;
    return block;
}

TrieIndex::Found TrieIndex::find(Nimbal::IpGenPrefix const& prefix) const noexcept {
    U64 const head = prefix.head();
    U32 const len = std::min(prefix.len(), longest);
    if (!recent_.is(head, len)) {
        auto const fetch = [](IndexBlock const& block, U64 covering) {
            block.fetchNodes(covering);
        };
        recent_ = {head, len, search(head, len, fetch)};
    }
    return recent_.found;
}

TrieIndex::Found TrieIndex::findAlive(Nimbal::IpGenPrefix const& prefix) const noexcept {
    U64 const head = prefix.head();
    U32 const len = std::min(prefix.len(), longest);
    bool alive = false;
    if (recent_.is(head, len)) {
        alive = LookOnTheWay::aliveUpwards(recent_.found.node);
    } else {
        LookOnTheWay look;
        recent_ = {head, len, search(head, len, look)};
        alive = look.alive(recent_.found.node);
    }
    return alive ? recent_.found : Found{nullptr, nullptr};
}

template <class Visit>
TrieIndex::Found TrieIndex::search(U64 head, U32 len, Visit&& visit) const noexcept {
    descend(head, depthOf(len), visit);
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
            prefetchWholeNode(found.node);
        }
        if (U64 const marks = covering & block.marks(); marks != 0) {
            found.candidate = block.node(IndexBlock::highest(marks));
            prefetchWholeNode(found.candidate);
            return found;
        }
        searching = markCount_ != 0;
    }
    return found;
}

void TrieIndex::fetchFor(std::span<Nimbal::IpGenPrefix const> prefixes) const noexcept {
    struct Way {
        U64 head;
        U32 depth;
        IndexBlock const* block;
    };
    std::array<Way, mostTogether> ways{};
    std::size_t left = 0;
    for (Nimbal::IpGenPrefix const& prefix :
         prefixes.first(std::min(prefixes.size(), ways.size()))) {
        ways[left++] = {prefix.head(), depthOf(std::min(prefix.len(), longest)), &top_};
    }
    // All ways go down one block at a time: what one step fetches, the next one reads.
    for (U32 depth = 0; left != 0; ++depth) {
        std::size_t const count = std::exchange(left, 0);
        for (Way const& way : std::span(ways).first(count)) {
            U32 const slice = sliceOf(way.head, depth);
            if (depth >= firstFetched) {
                way.block->fetchNodes(IndexBlock::covering(slice));
            }
            if (depth < way.depth && has(way.block->blocks(), slice)) {
                ways[left++] = {way.head, way.depth, way.block->block(slice)};
            }
        }
        for (Way const& way : std::span(ways).first(left)) {
            way.block->fetchWords(sliceOf(way.head, depth + 1));
        }
    }
}

void TrieIndex::fetchAhead(Node const* next) const noexcept {
    if (!walk_.stepsTo(next)) {
        // It has not been checked yet: whoever goes on from it names it if it is broken.
        if (next->index_ != number_ || !next->eyeCatcherIntact() || next->headLen_ > longest) {
            return;
        }
        descend(next->head_, depthOf(next->headLen_));
        walk_.startAfter(path_.head, path_.blocks, path_.depth,
                         placeOf(next->head_, next->headLen_));
    }
    walk_.run();
}

void TrieIndex::del(Node* node) noexcept {
    if (node->index_ != number_) {
        node->indexLinkChanged();  // another trie's: that one's index cannot follow this
        return;
    }
    settle();
    if (!ready_) {
        return;
    }
    try {
        erase(node);
    } catch (std::bad_alloc const&) {
        giveUp();
    }
}

void TrieIndex::erase(Node* node) {
    forget();
    last_ = nullptr;
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
    settle();
    if (!ready_) {
        return;
    }
    IndexBlock* const block = descend(node->head_, depthOf(node->headLen_));
    U32 const place = placeOf(node->head_, node->headLen_);
    bool const marked = node->partitionCandidate();
    if (marked == has(block->marks(), place)) {
        return;
    }
    forget();
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
