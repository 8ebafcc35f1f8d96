/*
 * The check of every invariant. The whole trie is walked in pre-order; at each node:
 *
 *   shape       a child is at least one bit longer than its parent and lies inside it
 *   partition   each route of a partition is found by lookup, in that partition, with its label
 *   leftovers   an internal node holds a partition id only while exactly its removal is pending
 *   counters    each counter is the sum of the children's that it spans, plus the node's own route
 *
 * The order of the checks tells which violation is named when there are several. Operations call
 * each other through the virtual table, so that a client's checks take part.
 */

#include <LpmTrie/Module.h>
#include <LpmTrie/Trie.h>
#include <LpmTrie/TrieHooks.h>
#include <LpmTrie/TrieIndex.h>

namespace LpmTrie {

namespace {
constexpr char const* verifySignature = "virtual void LpmTrie::Trie::verify()";
}

/** What the index should know. */
struct Trie::IndexCensus {
    U64 nodes = 0;
    U64 candidates = 0;
};

void Trie::verify() {
    LPM_TRACE(8, verifySignature);
    U32 level = 0;
    IndexCensus census;
    if (index_ != nullptr) {
        index_->settle();
    }
    for (Node* current = root_; current != nullptr;) {
        verifyShape(current);
        if (current->partitionNode()) {
            verifyPartition(current);
        }
        verifyCounters(current);
        verifyIndex(current, census);
        auto const step = preorderNextNode(nullptr, current, level, false, false);
        current = step.node();
        level = step.level;
    }
    verifyIndexSize(census);
}

/** A node against its parent. */
void Trie::verifyShape(Node* current) {
    static constexpr char const* signature = verifySignature;
    Node* const parent = current->parent();
    if (parent == nullptr) {
        return;
    }
    LPM_SASSERT(current->len() >= parent->len() + 1, " parent ", parent, " current ", current);
    LPM_SASSERT(parent->prefixRef()->prefix().overlaps( current->prefixRef()->prefix() ),
                " parent ", parent, " current ", current);
}

/** A node's label and counters against its children's. */
void Trie::verifyCounters(Node* current) {
    static constexpr char const* signature = verifySignature;
    if (current->internal() && current->partitionId()) {
        LPM_SASSERT(current->pendingState() == PendingState::removePartition_(),
                    "Holding partitionId in internal but not pending del:", current);
    }
    U32 childTotalRouteCount = 0;
    U32 childTotalPartitionRouteCount = 0;
    for (U32 bit = 0; bit <= 1; ++bit) {
        Node const* const child = current->bitNode(bit);
        if (child == nullptr) {
            continue;
        }
        LPM_TRACE(7, "Child Node bit:", bit, " node:", child);
        childTotalRouteCount += child->routeCount();
        childTotalPartitionRouteCount += child->partitionNode() ? 0 : child->partitionRouteCount();
    }
    U32 const own = current->fibRoute() ? 1 : 0;
    U32 const totalRouteCount = current->routeCount() - own;
    U32 const totalPartitionRouteCount = current->partitionRouteCount() - own;
    LPM_SASSERT(childTotalPartitionRouteCount == totalPartitionRouteCount, "current: ", current,
                " totalPartitionRouteCount:", totalPartitionRouteCount,
                " children: ", childTotalPartitionRouteCount);
    LPM_SASSERT(totalRouteCount == childTotalRouteCount, " current: ", totalRouteCount,
                " child:", childTotalRouteCount, " current node:", current,
                " child 0:", current->bitNode(0), " child 1:", current->bitNode(1));
}

/** The index leads to this very node, if there is an index. */
void Trie::verifyIndex(Node* current, IndexCensus& census) {
    static constexpr char const* signature = verifySignature;
    if (index_ != nullptr && index_->ready()) {
        LPM_SASSERT(index_->knows( current ), " not in the index: ", current);
        bool const indexed = current->len() <= TrieIndex::longest;
        census.nodes += indexed ? 1U : 0U;
        census.candidates += indexed && current->partitionCandidate() ? 1U : 0U;
    }
}

/** The index leads to no node beside those, and counts as many that may be partition nodes. */
void Trie::verifyIndexSize(IndexCensus const& census) {
    static constexpr char const* signature = verifySignature;
    if (index_ != nullptr && index_->ready()) {
        LPM_SASSERT(index_->nodeCount() == census.nodes, " in the index: ", index_->nodeCount(),
                    " in the trie: ", census.nodes);
        LPM_SASSERT(index_->candidateCount() == census.candidates,
                    " in the index: ", index_->candidateCount(),
                    " in the trie: ", census.candidates);
    }
}

void Trie::verifyPartition(Node* node) {
    static constexpr char const* signature =
        "virtual void LpmTrie::Trie::verifyPartition(LpmTrie::Node*)";
    LPM_TRACE(8, signature, " node: ", node);
    LPM_SASSERT(node->partitionNode(), " node ", node);
    verifyNodeProperties(node);
    verifyFibRoutes(node);
}

void Trie::verifyNodeProperties(Node* /*node*/) {}

void Trie::verifyFibRoutes(Node* node) {
    LPM_TRACE(8, "virtual void LpmTrie::Trie::verifyFibRoutes(LpmTrie::Node*)", " node: ", node);
    U32 level = 1;
    for (Node* current = node; current != nullptr;) {
        if (current->fibRoute()) {
            verifyFibRoute(current, node);
        }
        auto const step = preorderNextNode(node->parent(), current, level, true, false);
        current = step.node();
        level = step.level;
    }
}

void Trie::verifyFibRoute(Node* node, Node* partitionNode) {
    static constexpr char const* signature =
        "virtual void LpmTrie::Trie::verifyFibRoute(LpmTrie::Node*, LpmTrie::Node*)";
    LPM_TRACE(8, signature, " node ", node, " partitionNode ", partitionNode);
    PlainSearch const plain(*this);
    TrieReturnCode const trieRc = findPartitionNode(node->prefixRef()->prefix(), false);
    LPM_SASSERT(trieRc.node(), " node ", trieRc.node());
    LPM_SASSERT(trieRc.partitionNode(), " partitionNode ", trieRc.partitionNode());
    LPM_SASSERT(trieRc.node() == node, " trieRc.node: ", trieRc.node(), " node ", node);
    LPM_SASSERT(trieRc.partitionNode() == partitionNode, " partitionNode:", partitionNode,
                " trieRc partitionNode:", trieRc.partitionNode(), " node:", node,
                " trieRc node:", node);
    LPM_SASSERT(partitionNode->prefixRef()->prefix().overlaps( node->prefixRef()->prefix() ),
                " Overlaps: fibRoutePrefix ", node->prefixRef().get(), " partitionNode Prefix ",
                partitionNode->prefixRef().get());
    LPM_SASSERT(partitionNode->partitionId() == node->partitionId(),
                " PartitionIds are not the same.  PartitionNode:", partitionNode, " node:", node);
    LPM_SASSERT(partitionNode->hwTable() == node->hwTable(),
                " hwTables are not the same.  PartitionNode:", partitionNode, " node:", node);
    node->verifyPartition(partitionNode);
}

}  // namespace LpmTrie
