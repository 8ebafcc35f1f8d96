#pragma once

#include <LpmTrie/LpmTrieTypes.h>

#include <iosfwd>

namespace LpmTrie {

class Node;

/*
 * The records that the trie's operations return. They own nothing: a node pointer in them is good
 * until the trie changes next. None has a hash. Deliberate: the text form leaves pointers out while
 * the parser wants every field in the full frame, so a printed record does not read back.
 */

/**
 * What an insertion or a search found: each operation tells what its fields mean there. Owns
 * nothing: the pointers are good until the trie changes next.
 */
class LPMTRIE_API TrieReturnCode {
public:
    static constexpr auto fields() {
        using Vexo::Served;
        return std::tuple{
            Vexo::field("node", &TrieReturnCode::node_, Served::no),
            Vexo::field("partitionNode", &TrieReturnCode::partitionNode_, Served::no),
            Vexo::field("coveringPrefixNode", &TrieReturnCode::coveringPrefixNode_, Served::no),
            Vexo::field("dirty", &TrieReturnCode::dirty, Served::readWrite)};
    }
    static Vexo::FwkType const fwkType_;

    constexpr TrieReturnCode() noexcept = default;
    /** Of its parts. */
    constexpr TrieReturnCode(Node* node, Node* partitionNode, Node* coveringPrefixNode,
                             bool isDirty) noexcept
        : node_(node),
          partitionNode_(partitionNode),
          coveringPrefixNode_(coveringPrefixNode),
          dirty(isDirty) {}
    explicit TrieReturnCode(Vexo::CharRange& range);

    /** @{ A node, or null for none. Setting changes this record only. */
    Node* node() const noexcept { return node_; }
    Node* partitionNode() const noexcept { return partitionNode_; }
    Node* coveringPrefixNode() const noexcept { return coveringPrefixNode_; }
    void nodeIs(Node* node) & noexcept { node_ = node; }
    void partitionNodeIs(Node* node) & noexcept { partitionNode_ = node; }
    void coveringPrefixNodeIs(Node* node) & noexcept { coveringPrefixNode_ = node; }
    /** @} */

    explicit operator bool() const noexcept { return Vexo::recordIsSet(*this); }
    bool operator==(TrieReturnCode const& other) const noexcept {
        return Vexo::recordsEqual(*this, other);
    }

private:
    Node* node_ = nullptr;
    Node* partitionNode_ = nullptr;
    Node* coveringPrefixNode_ = nullptr;

public:
    bool dirty = false;  // something is pending at a node that a search for a merge has found
};

/**
 * What a removal left: the node that stays, or null, and whether the prefix's node has gone. Owns
 * nothing.
 */
class LPMTRIE_API TrieNodeReturnCode {
public:
    static constexpr auto fields() {
        using Vexo::Served;
        return std::tuple{Vexo::field("node", &TrieNodeReturnCode::node_, Served::no),
                          Vexo::field("success", &TrieNodeReturnCode::success, Served::readWrite)};
    }
    static Vexo::FwkType const fwkType_;

    constexpr TrieNodeReturnCode() noexcept = default;
    /** Of its parts. */
    constexpr TrieNodeReturnCode(Node* node, bool hasSucceeded) noexcept
        : node_(node), success(hasSucceeded) {}
    explicit TrieNodeReturnCode(Vexo::CharRange& range);

    /** @{ The node that stays; null: none does. Setting changes this record only. */
    Node* node() const noexcept { return node_; }
    void nodeIs(Node* node) & noexcept { node_ = node; }
    /** @} */

    explicit operator bool() const noexcept { return Vexo::recordIsSet(*this); }
    bool operator==(TrieNodeReturnCode other) const noexcept {
        return Vexo::recordsEqual(*this, other);
    }

private:
    Node* node_ = nullptr;

public:
    bool success = false;  // the prefix's node serves nothing any more
};

/**
 * One step of a walk: the node reached, how it hangs from its parent (0, 1; 3: it does not), and
 * its level. Owns nothing.
 */
class LPMTRIE_API TrieTraversalReturnCode {
public:
    static constexpr auto fields() {
        using Vexo::Served;
        return std::tuple{Vexo::field("node", &TrieTraversalReturnCode::node_, Served::no),
                          Vexo::field("bit", &TrieTraversalReturnCode::bit, Served::readOnly),
                          Vexo::field("level", &TrieTraversalReturnCode::level, Served::readOnly)};
    }
    static Vexo::FwkType const fwkType_;

    constexpr TrieTraversalReturnCode() noexcept = default;
    /** Of its parts. */
    constexpr TrieTraversalReturnCode(Node* node, U32 hangsByBit, U32 atLevel) noexcept
        : node_(node), bit(hangsByBit), level(atLevel) {}
    explicit TrieTraversalReturnCode(Vexo::CharRange& range);

    /** @{ The node reached; null: the walk is over. Setting changes this record only. */
    Node* node() const noexcept { return node_; }
    void nodeIs(Node* node) & noexcept { node_ = node; }
    /** @} */

    explicit operator bool() const noexcept { return Vexo::recordIsSet(*this); }
    bool operator==(TrieTraversalReturnCode const& other) const noexcept {
        return Vexo::recordsEqual(*this, other);
    }

private:
    Node* node_ = nullptr;

public:
    U32 bit = 0;    // 0 or 1: which child it is; 3: it is none
    U32 level = 0;  // the caller's, and one more for each step down, one less for each step up
};

/**
 * A merge that a search proposes: from which partition node into which node; both null for none.
 * Owns nothing.
 */
class LPMTRIE_API TrieFindMergeReturnCode {
public:
    static constexpr auto fields() {
        using Vexo::Served;
        return std::tuple{Vexo::field("fromNode", &TrieFindMergeReturnCode::fromNode_, Served::no),
                          Vexo::field("toNode", &TrieFindMergeReturnCode::toNode_, Served::no),
                          Vexo::field("dirty", &TrieFindMergeReturnCode::dirty, Served::readWrite)};
    }
    static Vexo::FwkType const fwkType_;

    constexpr TrieFindMergeReturnCode() noexcept = default;
    explicit TrieFindMergeReturnCode(Vexo::CharRange& range);

    /** @{ The nodes, for `Trie::mergePartition`. Setting changes this record only. */
    Node* fromNode() const noexcept { return fromNode_; }
    Node* toNode() const noexcept { return toNode_; }
    void fromNodeIs(Node* node) & noexcept { fromNode_ = node; }
    void toNodeIs(Node* node) & noexcept { toNode_ = node; }
    /** @} */

    explicit operator bool() const noexcept { return Vexo::recordIsSet(*this); }
    bool operator==(TrieFindMergeReturnCode const& other) const noexcept {
        return Vexo::recordsEqual(*this, other);
    }

private:
    Node* fromNode_ = nullptr;
    Node* toNode_ = nullptr;

public:
    bool dirty = false;  // something is pending at a node concerned: finish that first
};

LPMTRIE_API std::ostream& operator<<(std::ostream& out, TrieReturnCode const& code);
LPMTRIE_API std::ostream& operator<<(std::ostream& out, TrieNodeReturnCode const& code);
LPMTRIE_API std::ostream& operator<<(std::ostream& out, TrieTraversalReturnCode const& code);
LPMTRIE_API std::ostream& operator<<(std::ostream& out, TrieFindMergeReturnCode const& code);

}  // namespace LpmTrie

namespace Vexo {

/** Reads a pointer as a number: the node is never looked at. */
template <>
LPMTRIE_API LpmTrie::Node* deserializeAttr<LpmTrie::Node*>(CharRange& range, char const* fieldName);

}  // namespace Vexo
