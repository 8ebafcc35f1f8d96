#pragma once

/*
 * How nodes come into a trie and leave it. Private to this folder's sources, and inline: each
 * insertion and each removal passes here several times.
 */

#include <LpmTrie/Module.h>
#include <LpmTrie/TrieHooks.h>
#include <LpmTrie/TrieIndex.h>

namespace LpmTrie {

inline Node* Trie::makeNode(Nimbal::IpGenPrefix const& prefix, bool fibRoute, bool partitionNode,
                            PartitionId::Ptr const& partitionId, U32 hwTable) {
    auto const prefixRef = Nimbal::IpGenPrefixRef::IpGenPrefixRefIs(prefix);
    HookCall const hook(*this);
    return allocateNode(prefixRef, fibRoute, partitionNode, partitionId, hwTable);
}

inline void Trie::freeNode(Node* node) noexcept {
    HookCall const hook(*this);
    deallocateNode(node);
}

/**
 * Hangs `node` under `parent`, or makes it the root; the only place where such a link is made. That
 * the two are linked has been told to the index.
 */
inline void Trie::hangUnder(Node* parent, U32 bit, Node* node) {
    node->linkParent(parent);
    childIs(parent, bit, node);
}

/** The half of that which the parent, or the trie, keeps. */
inline void Trie::childIs(Node* parent, U32 bit, Node* node) {
    if (parent == nullptr) {
        root_ = node;
    } else {
        parent->linkChild(bit, node);
    }
}

inline void Trie::indexAdd(Node* node) noexcept {
    if (index_ != nullptr) {
        index_->add(node);
    }
}

inline void Trie::indexDel(Node* node) noexcept {
    if (index_ != nullptr) {
        index_->del(node);
    }
}

/** The index, when there is one in use; nodes may still wait for it. A search asks about traces. */
inline TrieIndex* Trie::indexInUse() const noexcept {
    return index_ != nullptr && index_->ready() && !plainSearch_ ? index_.get() : nullptr;
}

/** The same, or null while steps are traced: what may lead a search. */
inline TrieIndex* Trie::unsettledIndex() const noexcept {
    TrieIndex* const index = indexInUse();
    return index != nullptr && !Detail::trace.mayBeOn(7, 8) ? index : nullptr;
}

/** `index` with all nodes in it; null when there is none, or when it gives up in that. */
inline TrieIndex const* settled(TrieIndex* index) noexcept {
    if (index == nullptr) {
        return nullptr;
    }
    index->settle();
    return index->ready() ? index : nullptr;
}

}  // namespace LpmTrie
