#include <benchmarks/PartitionWork.h>

namespace LpmBenchmarks {

using LpmTrie::Node;

namespace {
constexpr Vexo::U32 hwTable = 1;
}

PartitionWork::PartitionWork(std::span<Nimbal::IpGenPrefix const> routes)
    : routes_(static_cast<Vexo::U32>(routes.size())) {
    trie_->afIs(routes.front().af());
    auto const topPrefix = LpmTrie::prefixFromLen(routes.front(), 0);
    top_ = trie_->insertFromRoot(topPrefix, false, true, newId(), hwTable).node();
    top_->pendingStateIs(LpmTrie::PendingState());
    for (Nimbal::IpGenPrefix const& route : routes) {
        trie_->insert(route, top_, true, false, top_->partitionId(), hwTable);
    }
}

PartitionWork::~PartitionWork() {
    LpmTrie::removeAll(*trie_);
}

LpmTrie::PartitionId::Ptr PartitionWork::newId() {
    LpmTrie::PartitionIdValue const number(numbers_->takeNextFree());
    return LpmTrie::PartitionId::PartitionIdIs(number, ~Vexo::U32{0}, numbers_);
}

Node* PartitionWork::findSplit() {
    Node* const node = trie_->findMergeNodeViaSplitCount(top_, routes_ / 2, true).node();
    return node == top_ ? nullptr : node;
}

void PartitionWork::split(Node* node) {
    moved_->nodeInfoDelAll();
    auto const oldId = node->partitionId();
    node->hwTableIs(hwTable);
    node->partitionIdIs(newId());
    node->partitionNodeIs(true);
    trie_->addMovedNode(node, oldId, moved_);
    trie_->updateNewPartition(node, moved_, false);
    node->pendingStateIs(LpmTrie::PendingState());
    cut_ = node;
}

Node* PartitionWork::findRedistribution() {
    return trie_->findMergeNodeViaPartitionRedistribution(top_, routes_, true).fromNode();
}

Node* PartitionWork::findParent() {
    return trie_->findParentNodeToMerge(cut_, routes_).node();
}

void PartitionWork::merge() {
    moved_->nodeInfoDelAll();
    trie_->mergePartition(cut_, top_, top_->partitionId(), false, moved_);
    // The cut node needs no removal: it is a route, or joins two subtrees.
    cut_->pendingStateIs(LpmTrie::PendingState());
    cut_ = nullptr;
}

}  // namespace LpmBenchmarks
