#pragma once

#include <LpmTrie/LpmTrieTypes.h>
#include <LpmTrie/PrefixBits.h>
#include <Nimbal/IpGenPrefixRef.h>
#include <Vexo/Guards.h>
#include <Vexo/SlabStorage.h>
#include <Vexo/TrackedAllocation.h>

#include <algorithm>
#include <array>
#include <bit>
#include <iosfwd>

namespace LpmTrie {

/** What a living node's eye catcher holds; a destroyed one's holds 0xBADBEEFF. */
constexpr U32 TRIE_NODE_EYECATCHER = 0xBADBADBAU;

using Vexo::U16;
using Vexo::U64;

namespace Detail {

/**
 * What stands at the begin of a node. It is looked at as a whole: one comparison tells whether a
 * climb may go on to the parent.
 */
struct NodeStanding {
    U32 eyeCatcher_;
    bool partitionNode_;
    bool fibRoute_;
    bool hasParent_;
    bool unused_;

    /** Alive, below another node, and internal, as most nodes on a way up are. */
    constexpr bool ordinary() const noexcept;
};
static_assert(sizeof(NodeStanding) == sizeof(U64));

constexpr bool NodeStanding::ordinary() const noexcept {
    constexpr NodeStanding expected{TRIE_NODE_EYECATCHER, false, false, true, false};
    return std::bit_cast<U64>(*this) == std::bit_cast<U64>(expected);
}

}  // namespace Detail

/**
 * One vertex of the trie: a FIB route, the root of a partition, both, or an internal node that
 * joins two subtrees. Owned by its trie, made by `Trie::allocateNode` and destroyed by
 * `Trie::deallocateNode`. A client may derive from it and override the diagnostic virtuals.
 *
 * Invariants, kept by the trie's operations and checked by `Trie::verify`: a node's prefix is
 * longer than its parent's and inside it; `bitNode(b)` continues the prefix with the bit b;
 * `routeCount` counts the FIB routes of the subtree, the node included; `partitionRouteCount` those
 * of them with no partition node between them (included) and the node (excluded).
 *
 * The prefix's length and first 64 address bits are kept in the node, so that a descent does not
 * touch the holder.
 *
 * Every change and every computed answer first asserts the eye catcher; plain reads do not. A
 * failed check ends the process. Not locked: whoever serialises the trie serialises its nodes.
 */
class LPMTRIE_API Node : public Vexo::TrackedAllocation<Node, Vexo::SlabStorage>,
                         private Detail::NodeStanding {
public:
    /** Linked to nothing, counters 0, nothing pending. `prefixRef` is not null. */
    Node(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute, bool partitionNode,
         PartitionId::Ptr const& partitionId, U32 hwTable) noexcept
        : NodeStanding{TRIE_NODE_EYECATCHER, partitionNode, fibRoute, false, false},
          prefixRef_(prefixRef),
          partitionId_(partitionId),
          hwTable_(hwTable) {
        if (prefixRef) {
            Nimbal::IpGenPrefix const& prefix = prefixRef->prefix();
            headLen_ = static_cast<U8>(std::min(prefix.len(), U32{longLen}));
            head_ = prefix.head();
        }
    }
    Node(Node const&) = delete;
    Node& operator=(Node const&) = delete;

    virtual ~Node();
    /** Hook for checks of a client's own data against the covering partition node; does nothing. */
    virtual void verifyPartition(Node* partitionNode);
    /** The hardware table's text in the node's text: "hw:%d". */
    virtual String getHwTableStr() const;
    /** ",cp", ",dp" and ",sp" for the flags that are set; `maxPendingState` adds none. */
    virtual String getPendingStateStr() const;

    /** @{ What the node is; the head of the class explains the counters. Null: there is none. */
    Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef() const noexcept { return prefixRef_; }
    Node* parent() const noexcept { return parent_; }
    /** The child whose next prefix bit is `bit`, 0 or 1; null when there is none. */
    Node* bitNode(U32 bit) const noexcept { return bitNode_[bit]; }
    bool fibRoute() const noexcept { return fibRoute_; }
    bool partitionNode() const noexcept { return partitionNode_; }
    PartitionId::Ptr const& partitionId() const noexcept { return partitionId_; }
    U32 hwTable() const noexcept { return hwTable_; }
    U32 routeCount() const noexcept { return routeCount_; }
    U32 partitionRouteCount() const noexcept { return partitionRouteCount_; }
    PendingState pendingState() const noexcept { return pendingState_; }
    /** @} */

    /** Prefix length in bits. */
    U32 len() const {
        checkEyeCatcher("U32 LpmTrie::Node::len() const");
        return headLen_ != longLen ? headLen_ : prefixRef_->prefix().len();
    }
    /** Number of leading bits that `prefix` shares with the node's prefix. */
    U32 commonLen(Nimbal::IpGenPrefix const& prefix) const {
        checkEyeCatcher("U32 LpmTrie::Node::commonLen(const Nimbal::IpGenPrefix&) const");
        U32 const bound = std::min(prefix.len(), U32{headLen_});
        U64 const difference = prefix.head() ^ head_;
        if (bound > headBits && difference == 0) [[unlikely]] {
            return commonPrefixLen(prefix, prefixRef_->prefix());
        }
        return difference == 0 ? bound
                               : std::min(bound, static_cast<U32>(std::countl_zero(difference)));
    }
    /** Neither a partition node nor a FIB route. */
    bool internal() const {
        checkEyeCatcher("bool LpmTrie::Node::internal() const");
        return !partitionNode_ && !fibRoute_;
    }

    /** Setting requires that nothing is pending, and leaves `createPartition` pending alone. */
    void partitionNodeIs(bool partitionNode) {
        checkEyeCatcher("void LpmTrie::Node::partitionNodeIs(bool)");
        if (partitionNode) {
            if (pendingState_.value() != 0) [[unlikely]] {
                failPending();
            }
            pendingState_ = PendingState::createPartition_();
        }
        partitionNode_ = partitionNode;
        indexRoleChanged();
    }
    /**
     * @{ Sets just this. Counters, the other end of a link and the labels below are the caller's
     * affair; a link set by hand makes the trie give its index up.
     */
    void fibRouteIs(bool fibRoute) {
        checkEyeCatcher("void LpmTrie::Node::fibRouteIs(bool)");
        fibRoute_ = fibRoute;
    }
    void parentIs(Node* parent) {
        linkParent(parent);
        indexLinkChanged();
    }
    void bitNodeIs(U32 bit, Node* node) {
        linkChild(bit, node);
        indexLinkChanged();
    }
    void hwTableIs(U32 hwTable) {
        checkEyeCatcher("void LpmTrie::Node::hwTableIs(U32)");
        hwTable_ = hwTable;
    }
    void partitionIdIs(PartitionId::Ptr partitionId) {
        checkEyeCatcher("void LpmTrie::Node::partitionIdIs(const Ptr&)");
        partitionId_.swap(partitionId);
    }
    /** @} */
    /** Replaces the whole state: how a client completes a pending change. */
    void pendingStateIs(PendingState pendingState) {
        checkEyeCatcher("void LpmTrie::Node::pendingStateIs(LpmTrie::PendingState)");
        pendingState_ = pendingState;
        indexRoleChanged();
    }
    /** @{ Changes this node's counter alone. Going below 0 is fatal, beyond 32 bits is not seen. */
    void partitionRouteCountIs(U32 count) {
        checkEyeCatcher("void LpmTrie::Node::partitionRouteCountIs(U32)");
        partitionRouteCount_ = count;
    }
    void routeCountInc(U32 incr) {
        checkEyeCatcher("void LpmTrie::Node::routeCountInc(U32)");
        routeCount_ += incr;
    }
    void partitionRouteCountInc(U32 incr) {
        checkEyeCatcher("void LpmTrie::Node::partitionRouteCountInc(U32)");
        partitionRouteCount_ += incr;
    }
    void routeCountDec(U32 decr) {
        U32 const rest = routeCountLess(decr);
        checkEyeCatcher("void LpmTrie::Node::routeCountDec(U32)");
        routeCount_ = rest;
    }
    void partitionRouteCountDec(U32 decr) {
        U32 const rest = partitionRouteCountLess(decr);
        checkEyeCatcher("void LpmTrie::Node::partitionRouteCountDec(U32)");
        partitionRouteCount_ = rest;
    }
    /** @} */

    /** One line: "Partition,Fib,10.0.0.0/8,3,3,0x5,hw:1,cp". Checks the eye catcher. */
    String stringValue() const;
    /**
     * Writes one line of a drawing of the trie to the file descriptor `socket`: bars for `level`,
     * "root" for `bit` 3, "bit0" for 0, "bit1" for any other, and the node's text. Write errors are
     * ignored.
     */
    void dump(U32 bit, U32 level, U32 socket) const;

    static Vexo::FwkType const fwkType_;

private:
    friend class Trie;
    friend class TrieIndex;

    void checkEyeCatcher(char const* signature, unsigned line = __builtin_LINE()) const {
        if (!eyeCatcherIntact()) [[unlikely]] {
            failEyeCatcher(signature, line);
        }
    }
    /** Alive, and its prefix covers `prefix`. */
    bool covers(Nimbal::IpGenPrefix const& prefix) const {
        return eyeCatcherIntact() && commonLen(prefix) == len();
    }
    bool eyeCatcherIntact() const noexcept {
        return !Vexo::guardsOn || eyeCatcher_ == TRIE_NODE_EYECATCHER;
    }
    /** May count as a partition node in a look-up. */
    bool partitionCandidate() const noexcept {
        return partitionNode_ || pendingState_.removePartition();
    }

    /** @{ What is left of a counter. Going below 0 is fatal. */
    U32 routeCountLess(U32 decr) const {
        U32 rest = 0;
        if (__builtin_sub_overflow(routeCount_, decr, &rest)) [[unlikely]] {
            failRouteCount(decr);
        }
        return rest;
    }
    U32 partitionRouteCountLess(U32 decr) const {
        U32 rest = 0;
        if (__builtin_sub_overflow(partitionRouteCount_, decr, &rest)) [[unlikely]] {
            failPartitionRouteCount(decr);
        }
        return rest;
    }
    /** @} */

    /** Bit `position` of the prefix's address. */
    U32 prefixBit(U32 position) const {
        return position < headBits ? static_cast<U32>(head_ >> (headBits - 1 - position)) & 1U
                                   : prefixRef_->prefix().bit(position);
    }

    // Links, without telling the index: for the trie's own operations, which do that themselves.
    void linkParent(Node* parent) {
        checkEyeCatcher("void LpmTrie::Node::parentIs(LpmTrie::Node*)");
        parent_ = parent;
        hasParent_ = parent != nullptr;
    }
    void linkChild(U32 bit, Node* node) {
        checkEyeCatcher("void LpmTrie::Node::bitNodeIs(U32, LpmTrie::Node*)");
        bitNode_[bit] = node;
    }
    // An index that knows this node hears of what its owner does by hand.
    void indexLinkChanged() noexcept {
        if (index_ != 0) [[unlikely]] {
            tellIndexOfLink();
        }
    }
    void indexRoleChanged() noexcept {
        if (index_ != 0) [[unlikely]] {
            tellIndexOfRole();
        }
    }
    [[gnu::noinline]] void tellIndexOfLink() noexcept;
    [[gnu::noinline]] void tellIndexOfRole() noexcept;
    [[noreturn, gnu::cold]] void failEyeCatcher(char const* signature, unsigned line) const;
    [[noreturn, gnu::cold]] void failPending() const;
    [[noreturn, gnu::cold]] void failRouteCount(U32 decr) const;
    [[noreturn, gnu::cold]] void failPartitionRouteCount(U32 decr) const;

    static constexpr U8 longLen = 255;  // stands for lengths that must be read from the holder
    static constexpr U32 headBits = 64;

    U32 routeCount_ = 0;
    U32 partitionRouteCount_ = 0;
    Node* parent_ = nullptr;
    std::array<Node*, 2> bitNode_{};
    Vexo::Ptr<Nimbal::IpGenPrefixRef> prefixRef_;
    PartitionId::Ptr partitionId_;
    PendingState pendingState_;
    U8 headLen_ = longLen;  // the prefix's length
    U16 index_ = 0;         // the number of the index that knows this node, 0 when none does
    U32 hwTable_;
    U64 head_ = 0;  // the prefix's first bits
};

/** The node's text, or "(nil)". */
LPMTRIE_API std::ostream& operator<<(std::ostream& out, Node const* node);

}  // namespace LpmTrie
