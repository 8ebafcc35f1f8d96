/*
 * Partitions. A partition's routes carry its id object and its table; a change of id is told for
 * each route that takes part in it, into the client's collection or else through the `movedNode`
 * hook:
 *
 *   re-label   the routes below a node, of its table and outside nested partitions, take its id;
 *              internal nodes keep whatever label they have, and a route that had the id already is
 *              told all the same
 *   start      a new partition's count is set, taken off the partition above, and its routes
 *              re-labelled
 *   merge      a partition is dissolved into one above it, which may have to be started first
 *
 * Nothing here allocates or frees nodes. The room for all records is made before the first label
 * changes, so a change never stops half-way for want of memory; exceptions of the hook are kept
 * until it is complete.
 */

#include <LpmTrie/Module.h>
#include <LpmTrie/Trie.h>
#include <LpmTrie/TrieHooks.h>
#include <LpmTrie/TrieIndex.h>

namespace LpmTrie {

namespace {

constexpr char const* relabelSignature =
    "void LpmTrie::Trie::updatePartitionId(LpmTrie::Node*, const Ptr&)";
constexpr char const* startSignature =
    "void LpmTrie::Trie::updateNewPartition(LpmTrie::Node*, const Ptr&, bool)";

bool inSamePartition(Node const* child) {
    return child != nullptr && !child->partitionNode();
}

/** The node after `node` in pre-order below `top`, nested partitions left out; null at the end. */
Node const* nextInPartition(Node const* top, Node const* node) {
    for (U32 bit = 0; bit <= 1; ++bit) {
        if (inSamePartition(node->bitNode(bit))) {
            return node->bitNode(bit);
        }
    }
    for (; node != top && node->parent() != nullptr; node = node->parent()) {
        Node const* const parent = node->parent();
        if (node == parent->bitNode(0) && inSamePartition(parent->bitNode(1))) {
            return parent->bitNode(1);
        }
    }
    return nullptr;
}

/**
 * Routes that a re-labelling from `top` can report, its own included. Their holders, which the
 * records are going to share, are fetched into the cache on the way.
 */
std::size_t routesOf(Node const* top, TrieIndex const* index) {
    std::size_t routes = 0;
    for (Node const* node = top; node != nullptr;) {
        if (node->fibRoute()) {
            ++routes;
            __builtin_prefetch(node->prefixRef().get(), 1);
        }
        Node const* const next = nextInPartition(top, node);
        if (index != nullptr && next != nullptr) {
            index->fetchAhead(next);
        }
        node = next;
    }
    return routes;
}

/**
 * Makes room for the records of one node's routes, and of another's if given. Throws
 * std::bad_alloc.
 */
void reserveRecords(TrieNodesInfo::Ptr const& movedNodes, Node const* top, Node const* other,
                    TrieIndex const* index) {
    if (movedNodes) {
        movedNodes->nodeInfoReserve(routesOf(top, index) +
                                    (other != nullptr ? routesOf(other, index) : 0));
    }
}

}  // namespace

bool Trie::addMovedNode(Node* node, PartitionId::Ptr const& oldPartitionId,
                        TrieNodesInfo::Ptr const& movedNodes) {
    LPM_TRACE(8, "bool LpmTrie::Trie::addMovedNode(LpmTrie::Node*, const Ptr&, const Ptr&)",
              " node:", node, " oldPartitionId:", oldPartitionId.get(),
              " movedNodes:", static_cast<void const*>(movedNodes.get()));
    bool const isRoute = node->fibRoute();
    if (isRoute && movedNodes) {
        movedNodes->nodeInfoIs(TrieNodeInfo(node->prefixRef(), oldPartitionId, node->partitionId()),
                               true);
    } else if (isRoute) {
        callMovedNode(node, oldPartitionId, node->hwTable());
    }
    LPM_TRACE(7, "movedNodes:", static_cast<void const*>(movedNodes.get()));
    return isRoute;
}

void Trie::movedNode(Node* node, PartitionId::Ptr const& oldPartitionId, U32 oldHwTable) {
    LPM_TRACE(8, "virtual void LpmTrie::Trie::movedNode(LpmTrie::Node*, const Ptr&, U32)",
              " Node:", node, " oldPartitionId:", oldPartitionId.get(), " oldHwTable:", oldHwTable);
}

void Trie::callMovedNode(Node* node, PartitionId::Ptr const& oldPartitionId, U32 oldHwTable) {
    HookCall const hook(*this);
    movedNode(node, oldPartitionId, oldHwTable);
}

/** Tells one move; an exception of the hook waits until the operation in hand is complete. */
void Trie::report(Node* node, PartitionId::Ptr const& oldPartitionId,
                  TrieNodesInfo::Ptr const& movedNodes, HookErrors& errors) {
    errors.keep([&] { addMovedNode(node, oldPartitionId, movedNodes); });
}

/** Tells of a re-labelled route, without a collection to the hook itself. */
void Trie::reportRelabelled(Node* node, PartitionId::Ptr const& oldPartitionId,
                            TrieNodesInfo::Ptr const& movedNodes, HookErrors& errors) {
    if (movedNodes) {
        report(node, oldPartitionId, movedNodes, errors);
        return;
    }
    errors.keep([&] { callMovedNode(node, oldPartitionId, node->hwTable()); });
}

void Trie::updatePartitionId(Node* fromNode, TrieNodesInfo::Ptr const& movedNodes) {
    static constexpr char const* signature = relabelSignature;
    LPM_ASSERT_NOT_IN_HOOK();
    HookErrors errors;
    reserveRecords(movedNodes, fromNode, nullptr, usableIndex());
    relabel(fromNode, movedNodes, errors);
    errors.rethrow();
}

void Trie::relabel(Node* fromNode, TrieNodesInfo::Ptr const& movedNodes, HookErrors& errors) {
    LPM_TRACE(8, relabelSignature, " fromNode:", fromNode,
              " movedNodes:", static_cast<void const*>(movedNodes.get()));
    // Who has made room for records has fetched the nodes.
    PlainSearch const fetchingNothing(*this, plainSearch_ || movedNodes);
    auto step = preorderNextNode(fromNode->parent(), fromNode, 1, true, false);
    for (; step.node() != nullptr;
         step = preorderNextNode(fromNode->parent(), step.node(), step.level, true, false)) {
        Node* const node = step.node();
        LPM_TRACE(7, " node ", node);
        // Deliberate: internal nodes keep their label, only routes and partitions have one that
        // counts.
        if (node->hwTable() != fromNode->hwTable() || node->internal()) {
            continue;
        }
        PartitionId::Ptr const oldPartitionId = node->partitionId();
        node->partitionIdIs(fromNode->partitionId());
        node->hwTableIs(fromNode->hwTable());
        reportRelabelled(node, oldPartitionId, movedNodes, errors);
    }
}

void Trie::updateNewPartition(Node* partitionNode, TrieNodesInfo::Ptr const& movedNodes,
                              bool newNode) {
    static constexpr char const* signature = startSignature;
    LPM_ASSERT_NOT_IN_HOOK();
    HookErrors errors;
    reserveRecords(movedNodes, partitionNode, nullptr, usableIndex());
    startPartition(partitionNode, movedNodes, newNode, errors);
    errors.rethrow();
}

void Trie::startPartition(Node* partitionNode, TrieNodesInfo::Ptr const& movedNodes, bool newNode,
                          HookErrors& errors) {
    LPM_TRACE(8, startSignature, " partitionNode:", partitionNode,
              " movedNodes:", static_cast<void const*>(movedNodes.get()), " newNode:", newNode);
    U32 count = partitionNode->fibRoute() && !newNode ? 1 : 0;
    for (U32 bit = 0; bit <= 1; ++bit) {
        Node const* const child = partitionNode->bitNode(bit);
        if (child != nullptr && !child->partitionNode()) {
            count += child->partitionRouteCount();
        }
    }
    partitionNode->partitionRouteCountIs(count);
    updatePartitionRouteCount(partitionNode->parent(), false, count);
    relabel(partitionNode, movedNodes, errors);
}

void Trie::mergePartition(Node* fromPartitionNode, Node* toPartitionNode,
                          PartitionId::Ptr const& toPartitionId, bool createNewPartition,
                          TrieNodesInfo::Ptr const& movedNodes) {
    static constexpr char const* signature =
        "void LpmTrie::Trie::mergePartition(LpmTrie::Node*, LpmTrie::Node*, const Ptr&, bool, "
        "const Ptr&)";
    LPM_TRACE(8, signature, " fromPartitionNode:", fromPartitionNode,
              " toPartitionNode:", toPartitionNode, " toPartitionId:", toPartitionId.get(),
              " createNewPartition:", createNewPartition,
              " movedNodes:", static_cast<void const*>(movedNodes.get()));
    LPM_ASSERT_NOT_IN_HOOK();
    LPM_SASSERT(fromPartitionNode && fromPartitionNode->partitionNode(),
                "fromPartitionNode:", fromPartitionNode);
    LPM_SASSERT(fromPartitionNode && fromPartitionNode->parent(),
                "fromPartitionNode parent:", fromPartitionNode->parent());
    LPM_SASSERT(toPartitionNode && toPartitionNode->hwTable() == fromPartitionNode->hwTable(),
                " fromPartitionNode:", fromPartitionNode, " toPartitionNode:", toPartitionNode);
    bool const createHere = !toPartitionNode->partitionNode();
    if (createHere) {
        LPM_SASSERT(createNewPartition, "toPartitionNode not a partition:", toPartitionNode);
    } else {
        LPM_SASSERT(toPartitionNode->partitionId() == toPartitionId,
                    "toPartitionNode:", toPartitionNode, " id:", toPartitionId.get());
    }
    HookErrors errors;
    reserveRecords(movedNodes, fromPartitionNode, createHere ? toPartitionNode : nullptr,
                   usableIndex());
    if (createHere) {
        createForMerge(toPartitionNode, toPartitionId, movedNodes, errors);
    }
    dissolve(fromPartitionNode, toPartitionId, movedNodes, errors);
    LPM_TRACE(7, "After mergePartition:", static_cast<void const*>(movedNodes.get()));
    errors.rethrow();
}

/**
 * Makes `toPartitionNode` a partition; the one that is to be dissolved into it still stands below
 * it.
 */
void Trie::createForMerge(Node* toPartitionNode, PartitionId::Ptr const& toPartitionId,
                          TrieNodesInfo::Ptr const& movedNodes, HookErrors& errors) {
    toPartitionNode->partitionNodeIs(true);
    toPartitionNode->pendingStateIs(PendingState::createPartition_());
    PartitionId::Ptr const oldPartitionId = toPartitionNode->partitionId();
    toPartitionNode->partitionIdIs(toPartitionId);
    report(toPartitionNode, oldPartitionId, movedNodes, errors);
    startPartition(toPartitionNode, movedNodes, false, errors);
}

void Trie::dissolve(Node* fromPartitionNode, PartitionId::Ptr const& toPartitionId,
                    TrieNodesInfo::Ptr const& movedNodes, HookErrors& errors) {
    updatePartitionRouteCount(fromPartitionNode->parent(), true,
                              fromPartitionNode->partitionRouteCount());
    fromPartitionNode->partitionNodeIs(false);
    // Deliberate: the state is overwritten, a creation or split that was still pending is dropped.
    fromPartitionNode->pendingStateIs(PendingState::removePartition_());
    PartitionId::Ptr const oldPartitionId = fromPartitionNode->partitionId();
    fromPartitionNode->partitionIdIs(toPartitionId);
    report(fromPartitionNode, oldPartitionId, movedNodes, errors);
    relabel(fromPartitionNode, movedNodes, errors);
}

}  // namespace LpmTrie
