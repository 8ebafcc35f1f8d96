/*
 * Insertion. The trie is path-compressed: a node stands only for an inserted prefix or where two
 * subtrees part, so an insertion makes at most two nodes. The descent ends in one of five ways:
 *
 *   root     the trie was empty: the new node is the root
 *   again    a node holds the prefix already: it takes the role, and no node is made
 *   child    the deepest covering node has a free slot in the prefix's direction
 *   parent   the new prefix covers the node reached: it is put in above it
 *   branch   prefix and node part inside the node's prefix: an internal node joins the two
 *
 * `routeCount` goes up on the way down, on each strictly covering node passed, so that no second
 * pass is needed; nodes above a given start node are counted by the role's accounting. Whatever can
 * throw (holders, nodes, an address bit that does not exist) comes before the first link, and the
 * counts of the way down are taken back if it does, so a failed insertion leaves no mark.
 */

#include <LpmTrie/Module.h>
#include <LpmTrie/PrefixBits.h>
#include <LpmTrie/Trie.h>
#include <LpmTrie/TrieDescent.h>
#include <LpmTrie/TrieNodes.h>

namespace LpmTrie {

namespace {
constexpr char const* signature =
    "virtual LpmTrie::TrieReturnCode LpmTrie::Trie::insert(const Nimbal::IpGenPrefix&, "
    "LpmTrie::Node*, bool, bool, const Ptr&, U32)";
}  // namespace

TrieReturnCode Trie::insertFromRoot(Nimbal::IpGenPrefix const& newPrefix, bool fibRoute,
                                    bool partitionNode, PartitionId::Ptr const& partitionId,
                                    U32 hwTable) {
    return insert(newPrefix, nullptr, fibRoute, partitionNode, partitionId, hwTable);
}

TrieReturnCode Trie::insert(Nimbal::IpGenPrefix const& newPrefix, Node* fromPartitionNode,
                            bool fibRoute, bool partitionNode, PartitionId::Ptr const& partitionId,
                            U32 hwTable) {
    Insertion insertion{newPrefix,     fromPartitionNode, fibRoute,
                        partitionNode, partitionId,       hwTable};
    return Detail::trace.mayBeOn(7, 8) ? carryOut<true>(insertion) : carryOut<false>(insertion);
}

template <bool traced>
TrieReturnCode Trie::carryOut(Insertion& insertion) {
    Nimbal::IpGenPrefix const& newPrefix = insertion.newPrefix;
    bool const fibRoute = insertion.fibRoute;
    bool const partitionNode = insertion.partitionNode;
    LPM_TRACE_IF(traced, 8, signature, " prefix:", newPrefix,
                 " fromPartitionNode:", insertion.fromPartitionNode, " fibRoute:", fibRoute,
                 " partitionNode:", partitionNode, " partitionId:", insertion.partitionId.get(),
                 " hwTable:", insertion.hwTable);
    LPM_ASSERT_NOT_IN_HOOK();
    LPM_SASSERT(af() == newPrefix.af(), "Trie af:", af(), " newPrefix:", newPrefix.af());
    LPM_SASSERT(fibRoute || partitionNode, "fibRoute:", fibRoute,
                " partitionNode:", partitionNode);
    if (root_ != nullptr && index_ == nullptr) [[unlikely]] {
        makeIndexWhenLarge();
    }
    HookErrors errors;
    Node* const node =
        root_ == nullptr ? placeRoot(insertion, errors) : place<traced>(insertion, errors);
    errors.rethrow();
    return partitionNode ? setTrieRc(node, node) : TrieReturnCode(node, nullptr, nullptr, false);
}

template <bool traced>
inline Node* Trie::place(Insertion& insertion, HookErrors& errors) {
    Nimbal::IpGenPrefix const& newPrefix = insertion.newPrefix;
    Node* const fromPartitionNode = insertion.fromPartitionNode;
    Node* current = fromPartitionNode != nullptr ? fromPartitionNode : root_;
    U32 commonLen = fromPartitionNode != nullptr ? current->commonLen(newPrefix) : 0;
    LPM_SASSERT(fromPartitionNode == nullptr || commonLen == fromPartitionNode->len(),
                " start node ", fromPartitionNode, " does not cover prefix ", newPrefix);
    DescentCount count(current, insertion.fibRoute);
    if (Node* const reached = traced ? nullptr : skipDown(insertion, current, count)) {
        current = reached;
        commonLen = current->len();
    } else if (fromPartitionNode == nullptr) {
        commonLen = current->commonLen(newPrefix);
    }
    U32 bit = 0;
    while (commonLen == current->len()) {
        if (commonLen == newPrefix.len()) {
            Node* const node = placeAgain(insertion, current, errors);
            count.keep();
            return node;
        }
        bit = newPrefix.bit(commonLen);
        LPM_TRACE_IF(traced, 7, " node ", current, ", commonLen ", commonLen);
        LPM_TRACE_IF(traced, 7, " bit ", bit);
        count.passed(current);
        if (current->bitNode(bit) == nullptr) {
            Node* const node = placeChild<traced>(insertion, current, bit, errors);
            count.keep();
            return node;
        }
        current = current->bitNode(bit);
        commonLen = current->commonLen(newPrefix);
    }
    Node* const node = commonLen == newPrefix.len()
                           ? placeParent<traced>(insertion, current, bit, errors)
                           : placeBranch<traced>(insertion, current, bit, commonLen, errors);
    count.keep();
    return node;
}

Node* Trie::placeRoot(Insertion const& insertion, HookErrors& errors) {
    Node* const fromPartitionNode = insertion.fromPartitionNode;
    LPM_SASSERT(fromPartitionNode == 0, " fromPartitionNode:",
                static_cast<void const*>(fromPartitionNode));
    index_ = nullptr;
    indexTriedAt_ = 0;
    Node* const newNode = makeNode(insertion);
    TrieIndex::linkedBy(nullptr, newNode);
    hangUnder(nullptr, 0, newNode);
    LPM_TRACE(7, "created root ", root_);
    giveRole<true>(root_, insertion, true, errors);
    return root_;
}

Node* Trie::placeAgain(Insertion const& insertion, Node* current, HookErrors& errors) {
    LPM_TRACE(7, "Update existing node ", current);
    if (insertion.fibRoute) {
        LPM_SASSERT(!current->fibRoute(), " node ", current);
    }
    if (insertion.partitionNode) {
        LPM_SASSERT(!current->partitionNode(), " node ", current);
    }
    current->partitionIdIs(insertion.partitionId);
    current->hwTableIs(insertion.hwTable);
    giveRole<true>(current, insertion, false, errors);
    return current;
}

template <bool traced>
inline Node* Trie::placeChild(Insertion const& insertion, Node* current, U32 bit,
                              HookErrors& errors) {
    if (current->bitNode(bit) != nullptr) [[unlikely]] {
        LPM_SASSERT(false, "Should have space for new prefix", insertion.newPrefix, "in", current);
    }
    Node* const newNode = makeNode(insertion);
    TrieIndex::linkedBy(index_.get(), current, newNode);
    hangUnder(current, bit, newNode);
    indexAdd(newNode);
    LPM_TRACE_IF(traced, 7, " created plain child ", newNode, " bit ", bit, " at ", current);
    giveRole<traced>(newNode, insertion, true, errors);
    return newNode;
}

/** Of the routes at and below a node, those that count in the partition above it. */
static inline U32 routesForPartitionAbove(Node const* node) {
    return node->partitionNode() ? 0 : node->partitionRouteCount();
}

template <bool traced>
inline Node* Trie::placeParent(Insertion const& insertion, Node* current, U32 bit,
                               HookErrors& errors) {
    Nimbal::IpGenPrefix const& newPrefix = insertion.newPrefix;
    U32 const currentBit = current->prefixBit(newPrefix.len());
    Node* const newNode = makeNode(insertion);
    Node* const parent = current->parent();
    // The new node's own route is not counted here: its role does that.
    newNode->routeCountInc(current->routeCount());
    newNode->partitionRouteCountInc(routesForPartitionAbove(current));
    TrieIndex::linkedBy(index_.get(), parent, newNode, current);
    hangUnder(parent, bit, newNode);
    hangUnder(newNode, currentBit, current);
    LPM_TRACE_IF(traced, 7, "New node ", newPrefix, " is new parent of current node ", current,
                 " bit ", currentBit);
    indexAdd(newNode);
    giveRole<traced>(newNode, insertion, true, errors);
    return newNode;
}

/** Out of line: inlined, it takes registers from the descent, and an insertion is longer. */
template <bool traced>
[[gnu::noinline]] Node* Trie::placeBranch(Insertion const& insertion, Node* current, U32 bit,
                                          U32 commonLen, HookErrors& errors) {
    Nimbal::IpGenPrefix const& newPrefix = insertion.newPrefix;
    Nimbal::IpGenPrefix const intPrefix = prefixFromLen(newPrefix, commonLen);
    LPM_TRACE_IF(traced, 7, "Need internal node ", intPrefix, " for new node ", newPrefix,
                 " and current node ", current);
    U32 const currentBit = current->prefixBit(commonLen);
    U32 const aboveTable = current->parent() != nullptr ? current->parent()->hwTable() : 0;
    Node* const newNode = makeNode(insertion);
    Node* intNode = nullptr;
    try {
        intNode = makeNode(intPrefix, false, false, nullptr, aboveTable);
    } catch (...) {
        newNode->fibRouteIs(false);
        newNode->partitionNodeIs(false);
        freeNode(newNode);
        throw;
    }
    Node* const parent = current->parent();
    intNode->routeCountInc(current->routeCount() + (insertion.fibRoute ? 1 : 0));
    intNode->partitionRouteCountInc(routesForPartitionAbove(current) + (insertion.counted ? 1 : 0));
    TrieIndex::linkedBy(index_.get(), parent, intNode, current, newNode);
    hangUnder(parent, bit, intNode);
    hangUnder(intNode, currentBit, current);
    hangUnder(intNode, 1 - currentBit, newNode);
    indexAdd(intNode);
    indexAdd(newNode);
    giveRole<traced>(newNode, insertion, true, errors);
    LPM_TRACE_IF(traced, 7, " created int node ", intNode);
    LPM_TRACE_IF(traced, 7, " created new Node ", newNode);
    return newNode;
}

inline Node* Trie::makeNode(Insertion const& insertion) {
    return makeNode(insertion.newPrefix, insertion.fibRoute, insertion.partitionNode,
                    insertion.partitionId, insertion.hwTable);
}

/** A hook gave the node neither other labels nor a partition of its own. */
inline bool Trie::keepsRole(Insertion const& insertion, Node const* node, bool newNode) {
    Node const* const from = insertion.fromPartitionNode;
    return !(newNode && node->partitionNode()) &&
           (from == nullptr ||
            (from->hwTable() == node->hwTable() && from->partitionId() == node->partitionId()));
}

/** The plain way finds other labels before it counts, and does not count above a partition. */
void Trie::countAgain(Insertion const& insertion, Node* node) {
    updatePartitionRouteCount(node->parent(), false, 1);
    if (insertion.fromPartitionNode != nullptr) {
        assertSameLabels(insertion.fromPartitionNode, node);
    }
}

template <bool traced>
inline void Trie::giveRole(Node* node, Insertion const& insertion, bool newNode,
                           HookErrors& errors) {
    if (insertion.counted) {
        node->fibRouteIs(true);
        if (!keepsRole(insertion, node, newNode)) [[unlikely]] {
            countAgain(insertion, node);
        }
        node->partitionRouteCountInc(1);
        node->routeCountInc(1);
        return;
    }
    giveRole<traced>(node, insertion.fibRoute, insertion.fromPartitionNode, insertion.partitionNode,
                     newNode, errors);
}

}  // namespace LpmTrie
