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
    if (node != nullptr) {
        node->linkParent(parent);
    }
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

/** The index, when there is one that may lead a search; nodes may still wait for it. */
inline TrieIndex* Trie::unsettledIndex() const noexcept {
    bool const usable =
        index_ != nullptr && index_->ready() && !plainSearch_ && !Detail::trace.eitherLevelOn(7, 8);
    return usable ? index_.get() : nullptr;
}

}  // namespace LpmTrie
