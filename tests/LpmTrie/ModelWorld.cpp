#include <tests/LpmTrie/ModelWorld.h>

namespace TrieModel {

using LpmTrie::PartitionId;
using LpmTrie::PendingState;
using LpmTrie::TrieNodesInfo;
using TrieNode = LpmTrie::Node;

namespace {

/** The collection that a step reports to, or null for the hook. */
TrieNodesInfo::Ptr collection(bool collect) {
    return collect ? LpmTrie::trieNodesInfoFactory() : nullptr;
}

MaybePrefix prefixOf(TrieNode const* node) {
    return node == nullptr ? MaybePrefix{} : modelPrefix(*node);
}

}  // namespace

World::World(Nimbal::AddressFamily af, Model model)
    : trie_(new RecordingTrie(af)), model_(std::move(model)), before_(model_.nodes()) {
    std::vector<TrieNode*> nodes;
    for (Node const& wanted : model_.nodes()) {
        TrieNode* const node =
            trie_->allocateNode(Nimbal::IpGenPrefixRef::IpGenPrefixRefIs(ip(wanted.prefix)),
                                wanted.route, wanted.partition, id(wanted.label), wanted.table);
        node->pendingStateIs(PendingState(static_cast<unsigned char>(wanted.pending)));
        node->routeCountInc(wanted.routeCount);
        node->partitionRouteCountInc(wanted.partitionRouteCount);
        if (nodes.empty()) {
            trie_->rootIs(node);
        } else {
            Node const& parent = model_.nodes()[wanted.parent];
            node->parentIs(nodes[wanted.parent]);
            nodes[wanted.parent]->bitNodeIs(bitAt(wanted.prefix, parent.prefix.len), node);
        }
        nodes.push_back(node);
    }
    trie_->takeCalls();
}

World::~World() {
    LpmTrie::removeAll(*trie_);
}

void World::insert(Prefix const& prefix, MaybePrefix const& start, bool route, bool partition,
                   Label label) {
    PartitionId::Ptr const partitionId = id(label);
    TrieNode* const from = start ? nodeAt(*start) : nullptr;
    auto const refusal =
        LpmTrie::insertionRefusal(*trie_, ip(prefix), from, route, partition, partitionId, table);
    agree("refusal of insertion", refusal.value_or(""), std::string());
    auto const code = start
                          ? trie_->insert(ip(prefix), from, route, partition, partitionId, table)
                          : trie_->insertFromRoot(ip(prefix), route, partition, partitionId, table);
    Reports reports;
    Found const expected = model_.insert(prefix, route, partition, label, table, reports);
    agree("insert", found(code), expected);
    compare(reports, nullptr, prefix);
}

void World::remove(Prefix const& prefix) {
    Removed const actual = removed(trie_->remove(ip(prefix)));
    agree("remove", actual, model_.remove(prefix));
    compare({}, nullptr);
}

void World::removeNode(Prefix const& prefix) {
    Removed const actual = removed(trie_->removeNode(nodeAt(prefix), false));
    agree("removeNode", actual, model_.removeNode(prefix));
    compare({}, nullptr);
}

void World::cut(Prefix const& prefix, Label label, bool collect) {
    TrieNodesInfo::Ptr const moved = collection(collect);
    startPartition(nodeAt(prefix), label, moved);
    compare(model_.cut(prefix, label, table), moved);
}

/** What a client does to make a partition of a node that is there. */
void World::startPartition(TrieNode* node, Label label, TrieNodesInfo::Ptr const& moved) {
    PartitionId::Ptr const oldId = node->partitionId();
    node->hwTableIs(table);
    node->partitionIdIs(id(label));
    node->partitionNodeIs(true);
    agree("addMovedNode", trie_->addMovedNode(node, oldId, moved), node->fibRoute());
    trie_->updateNewPartition(node, moved, false);
}

void World::dissolve(Prefix const& prefix, bool takeRoute, bool later, bool collect) {
    TrieNodesInfo::Ptr const moved = collection(collect);
    TrieNode* const node = nodeAt(prefix);
    if (takeRoute) {
        Removed const actual = removed(trie_->removeNode(node, false));
        agree("removeNode of a partition's route", actual, Removed{prefix, false});
    }
    fold(node, later, moved);
    compare(model_.dissolve(prefix, takeRoute, later), moved);
}

/** What a client does to fold a partition into the one above by hand. */
void World::fold(TrieNode* node, bool later, TrieNodesInfo::Ptr const& moved) {
    TrieNode* above = node->parent();
    while (above != nullptr && !above->partitionNode()) {
        above = above->parent();
    }
    trie_->mergePartitionNodeCount(node);
    if (later || node->fibRoute()) {
        node->partitionNodeIs(false);
        node->pendingStateIs(later ? PendingState::removePartition_() : PendingState());
    } else {
        agree("removeNode of a partition", removed(trie_->removeNode(node, true)),
              Removed{{}, true});
    }
    if (above != nullptr) {
        trie_->updatePartitionId(above, moved);
    }
}

void World::mergePartition(Prefix const& from, Prefix const& to, Label label,
                           bool createNewPartition, bool collect) {
    TrieNodesInfo::Ptr const moved = collection(collect);
    trie_->mergePartition(nodeAt(from), nodeAt(to), id(label), createNewPartition, moved);
    compare(model_.mergePartition(from, to, label), moved);
}

void World::pendingIs(Prefix const& prefix, unsigned pending) {
    nodeAt(prefix)->pendingStateIs(PendingState(static_cast<unsigned char>(pending)));
    model_.pendingIs(prefix, pending);
    compare({}, nullptr);
}

void World::complete(Prefix const& prefix) {
    TrieNode* const node = nodeAt(prefix);
    node->pendingStateIs(PendingState());
    if (node->internal()) {
        Removed const actual = removed(trie_->removeNode(node, false));
        agree("removeNode of a node that was pending", actual, Removed{{}, true});
    }
    model_.complete(prefix);
    compare({}, nullptr);
}

void World::lookUp(Prefix const& prefix) {
    for (bool const includePending : {false, true}) {
        agree({"findPartitionNode", prefix},
              found(trie_->findPartitionNode(ip(prefix), includePending)),
              model_.findPartitionNode(prefix, includePending));
    }
    agree({"longestMatch", prefix}, prefixOf(LpmTrie::longestMatch(*trie_, ip(prefix))),
          model_.longestMatch(prefix));
    Node const* const exact = model_.find(prefix);
    agree({"findExact", prefix}, prefixOf(LpmTrie::findExact(*trie_, ip(prefix))),
          exact == nullptr ? MaybePrefix{} : prefix);
}

void World::askRefusal(Prefix const& prefix, bool route, bool partition) {
    auto const refusal =
        LpmTrie::insertionRefusal(*trie_, ip(prefix), nullptr, route, partition, nullptr, table);
    agree({"refusal to insert", prefix}, refusal.has_value(), true);
}

MaybePrefix World::findSplit(Prefix const& source, U32 splitCount, bool disallowSplitOnParent) {
    MaybePrefix const expected = model_.findSplit(source, splitCount, disallowSplitOnParent);
    if (expected) {
        agree("findMergeNodeViaSplitCount",
              found(trie_->findMergeNodeViaSplitCount(nodeAt(source), splitCount,
                                                      disallowSplitOnParent)),
              Found{expected, {}, {}, false});
    }
    return expected;
}

FoundMerge World::findMergeToNode(Prefix const& candidate, Prefix const& source, U32 most) {
    FoundMerge const expected = model_.findMergeToNode(candidate, source, most);
    agree("findMergeToNode", found(trie_->findMergeToNode(nodeAt(candidate), nodeAt(source), most)),
          expected);
    return expected;
}

FoundMerge World::findRedistribution(Prefix const& source, U32 most, bool toSource) {
    FoundMerge const expected = model_.findRedistribution(source, most, toSource);
    agree("findMergeNodeViaPartitionRedistribution",
          found(trie_->findMergeNodeViaPartitionRedistribution(nodeAt(source), most, toSource)),
          expected);
    return expected;
}

Found World::findParentToMerge(Prefix const& source, U32 most) {
    Found const expected = model_.findParentToMerge(source, most);
    agree("findParentNodeToMerge", found(trie_->findParentNodeToMerge(nodeAt(source), most)),
          expected);
    return expected;
}

Found World::found(LpmTrie::TrieReturnCode const& code) const {
    return {prefixOf(code.node()), prefixOf(code.partitionNode()),
            prefixOf(code.coveringPrefixNode()), code.dirty};
}

FoundMerge World::found(LpmTrie::TrieFindMergeReturnCode const& code) const {
    return {prefixOf(code.fromNode()), prefixOf(code.toNode()), code.dirty};
}

Removed World::removed(LpmTrie::TrieNodeReturnCode const& code) const {
    return {prefixOf(code.node()), code.success};
}

/** Follows the bits of a prefix to its node. */
TrieNode* World::nodeAt(Prefix const& prefix) const {
    TrieNode* node = trie_->root();
    while (node != nullptr && node->len() < prefix.len) {
        node = node->bitNode(bitAt(prefix, node->len()));
    }
    return node != nullptr && modelPrefix(*node) == prefix ? node : nullptr;
}

}  // namespace TrieModel
