#include <tools/PartitionedTable.h>

#include <algorithm>

namespace LpmTools {

using LpmTrie::Node;

namespace {

constexpr U32 hwTable = 1;

Nimbal::IpGenPrefix defaultPrefix(Nimbal::AddressFamily af) {
    return af == Nimbal::AddressFamily::ipv6 ? Nimbal::IpGenPrefix(Nimbal::Ip6Addr(), 0)
                                             : Nimbal::IpGenPrefix(Nimbal::IpAddr(), 0);
}

/** Calls `visit(node, depth)` for every node in pre-order; the root's depth is 1. */
template <class Visit>
void forEachNode(LpmTrie::Trie& trie, Visit const& visit) {
    auto step = trie.preorderNextNode(nullptr, nullptr, 0, false, false);
    while (step.node() != nullptr) {
        visit(step.node(), step.level + 1);
        step = trie.preorderNextNode(nullptr, step.node(), step.level, false, false);
    }
}

}  // namespace

PartitionedTable::PartitionedTable(Nimbal::AddressFamily af, U32 bucket)
    : bucket_(bucket),
      trie_(LpmTrie::trieFactory(0)),
      partitionNumbers_(Torvel::Bitmap::BitmapIs()),
      moved_(LpmTrie::trieNodesInfoFactory()) {
    trie_->afIs(af);
    auto const code =
        trie_->insertFromRoot(defaultPrefix(af), false, true, newPartitionId(), hwTable);
    code.node()->pendingStateIs(LpmTrie::PendingState());
}

PartitionedTable::~PartitionedTable() {
    LpmTrie::removeAll(*trie_);
}

LpmTrie::PartitionId::Ptr PartitionedTable::newPartitionId() {
    LpmTrie::PartitionIdValue const number(partitionNumbers_->takeNextFree());
    return LpmTrie::PartitionId::PartitionIdIs(number, ~U32{0}, partitionNumbers_);
}

void PartitionedTable::insert(Nimbal::IpGenPrefix const& prefix) {
    moved_->nodeInfoDelAll();
    Node* const partitionNode = trie_->findPartitionNode(prefix, false).partitionNode();
    trie_->insert(prefix, partitionNode, true, false, partitionNode->partitionId(),
                  partitionNode->hwTable());
    if (partitionNode->partitionRouteCount() > bucket_) {
        cut(partitionNode);
    }
}

void PartitionedTable::cut(Node* partitionNode) {
    // Half of what is there: a piece too full by one route leaves two that have room again.
    U32 const half = std::max(partitionNode->partitionRouteCount() / 2, U32{1});
    Node* node = trie_->findMergeNodeViaSplitCount(partitionNode, half, false).node();
    if (node == partitionNode) {
        node = trie_->findMergeNodeViaSplitCount(partitionNode, half, true).node();
    }
    LpmTrie::PartitionId::Ptr const oldPartitionId = node->partitionId();
    node->hwTableIs(hwTable);
    node->partitionIdIs(newPartitionId());
    node->partitionNodeIs(true);
    trie_->addMovedNode(node, oldPartitionId, moved_);
    trie_->updateNewPartition(node, moved_, false);
    node->pendingStateIs(LpmTrie::PendingState());
    movedRoutes_ += moved_->nodeInfo().size();
}

bool PartitionedTable::find(Nimbal::IpGenPrefix const& prefix) {
    auto const code = trie_->findPartitionNode(prefix, false);
    Node const* const node = code.node();
    return node != nullptr && node->fibRoute() && node->prefixRef()->prefix() == prefix &&
           code.partitionNode() != nullptr &&
           node->partitionId() == code.partitionNode()->partitionId();
}

void PartitionedTable::remove(Nimbal::IpGenPrefix const& prefix) {
    trie_->remove(prefix);
}

bool PartitionedTable::removePartitions() {
    std::vector<Node*> partitionNodes;
    forEachNode(*trie_, [&](Node* node, U32) {
        if (node->partitionNode()) {
            partitionNodes.push_back(node);
        }
    });
    // From the last one back: a partition node's ancestors are still there when it goes.
    std::for_each(partitionNodes.rbegin(), partitionNodes.rend(),
                  [&](Node* node) { trie_->removeNode(node, true); });
    return trie_->root() == nullptr;
}

TableFigures PartitionedTable::figures() {
    TableFigures figures;
    U64 depths = 0;
    forEachNode(*trie_, [&](Node const* node, U32 depth) {
        ++figures.nodes;
        figures.internalNodes += node->internal() ? U64{1} : U64{0};
        figures.maxDepth = std::max(figures.maxDepth, depth);
        if (node->fibRoute()) {
            ++figures.routes;
            depths += depth;
        }
        if (node->partitionNode()) {
            U64 const routes = node->partitionRouteCount();
            ++figures.partitions;
            figures.emptyPartitions += routes == 0 ? U64{1} : U64{0};
            figures.largestPartition = std::max(figures.largestPartition, routes);
            // The bound belongs to the tenth below it: 10 of 100 is "0 to 10 %".
            ++figures.fillTenths.at(routes == 0 ? 0 : (routes * 10 - 1) / bucket_);
        }
    });
    auto const room = static_cast<double>(bucket_) * static_cast<double>(figures.partitions);
    figures.meanFill = static_cast<double>(figures.routes) / room;
    figures.meanDepth =
        figures.routes == 0 ? 0 : static_cast<double>(depths) / static_cast<double>(figures.routes);
    return figures;
}

}  // namespace LpmTools
