#include <LpmTrie/TrieDescent.h>

namespace LpmTrie {

bool Trie::DescentCount::countUpwards(Node* lowest, bool ownPartition) noexcept {
    Node* node = lowest;
    for (bool border = ownPartition; !border && node != nullptr;) {
        for (; node->ordinary(); node = node->parent_) {
            ++node->routeCount_;
            ++node->partitionRouteCount_;
        }
        if (!node->eyeCatcherIntact()) [[unlikely]] {
            break;
        }
        ++node->routeCount_;
        ++node->partitionRouteCount_;
        border = node->partitionNode_;
        node = node->parent_;
    }
    aboveBorder_ = node;
    for (; node != nullptr && node->eyeCatcherIntact(); node = node->parent_) {
        ++node->routeCount_;
    }
    if (node != nullptr) {
        takeBack(lowest, node);
        return false;
    }
    complete_ = true;
    last_ = lowest;
    return true;
}

/** Undoes all that has been counted. */
void Trie::DescentCount::takeBack() const {
    if (complete_) {
        takeBack(last_, nullptr);
        return;
    }
    for (Node* node = last_; node != nullptr; node = node == start_ ? nullptr : node->parent()) {
        node->routeCountDec(1);
    }
}

/** Undoes `countUpwards`, below `end`. */
void Trie::DescentCount::takeBack(Node* lowest, Node const* end) const noexcept {
    bool inPartition = true;
    for (Node* node = lowest; node != end; node = node->parent_) {
        // Not by the flags: a hook may have set one before it threw.
        inPartition = inPartition && node != aboveBorder_;
        --node->routeCount_;
        node->partitionRouteCount_ -= inPartition ? 1 : 0;
    }
}

/** The last node that covers the prefix, by a search; null when the index cannot tell it. */
Node* Trie::searchedCovering(TrieIndex& index, Nimbal::IpGenPrefix const& newPrefix) {
    index.settle();
    Node* const reached = index.ready() ? index.find(newPrefix).node : nullptr;
    if (reached == nullptr || !reached->covers(newPrefix)) {
        return nullptr;
    }
    if (reached->len() == newPrefix.len()) {
        return reached->fibRoute() ? nullptr : reached;
    }
    Node const* const child = reached->bitNode(newPrefix.bit(reached->len()));
    bool const last = child == nullptr || (child->eyeCatcherIntact() && !child->covers(newPrefix));
    return last ? reached : nullptr;
}

}  // namespace LpmTrie
