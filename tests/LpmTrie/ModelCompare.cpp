#include <tests/LpmTrie/ModelWorld.h>

#include <algorithm>
#include <iterator>

/*
 * The comparison after each step. The trie's nodes are collected by their links alone; where the
 * sequence is the model's, each node is compared with the model's in the same place.
 */

namespace TrieModel {

using LpmTrie::PartitionId;
using LpmTrie::PartitionIdValue;
using LpmTrie::TrieNodesInfo;
using TrieNode = LpmTrie::Node;

namespace {

/** Ids carry a bit that their mask keeps out of the bitmap. */
constexpr U32 idMask = 0xffff;
constexpr U32 idBitOutsideMask = 0x10000;

/** Pre-order, by the links down; stops when there are more than `most`. */
std::vector<TrieNode*> nodesOf(TrieNode* root, std::size_t most) {
    std::vector<TrieNode*> nodes;
    std::vector<TrieNode*> open{root};
    while (!open.empty() && nodes.size() <= most) {
        TrieNode* const node = open.back();
        open.pop_back();
        if (node != nullptr) {
            nodes.push_back(node);
            open.push_back(node->bitNode(1));
            open.push_back(node->bitNode(0));
        }
    }
    return nodes;
}

}  // namespace

void World::compare(Reports const& expected, TrieNodesInfo::Ptr const& moved,
                    MaybePrefix const& inserted) {
    ++steps_;
    {
        RecordingTrie::Calls const calls = trie_->takeCalls();
        agree("nodes made", calls.made, model_.made());
        agree("nodes freed", calls.freed, model_.freed());
        compareReports(expected, hookReports(calls.moves), moved);
        compareWithLabels(expected, inserted);
    }
    if (moved) {
        moved->nodeInfoDelAll();
    }
    forgetDeadIds();
    compareState();
    if (disagreement_.empty()) {
        trie_->verify();
    }
}

/** The hook hears of each move in turn; a collection keeps each triple once, in no order. */
void World::compareReports(Reports expected, Reports const& hooked,
                           TrieNodesInfo::Ptr const& moved) {
    if (!moved) {
        agree("calls of the hook", hooked, expected);
        return;
    }
    agree("calls of the hook beside a collection", hooked, Reports{});
    std::ranges::sort(expected);
    expected.erase(std::unique(expected.begin(), expected.end()), expected.end());
    agree("moves collected", collectedReports(*moved), expected);
}

/**
 * The reports tell each route that stayed but changed its label, and beyond that only such as had
 * the new label already. An insertion does not report the node that it makes a partition.
 */
void World::compareWithLabels(Reports told, MaybePrefix const& inserted) {
    std::erase_if(told, [](Report const& report) { return report.oldLabel == report.newLabel; });
    std::ranges::sort(told);
    Reports changed;
    auto after = model_.nodes().begin();
    for (Node const& before : before_) {
        while (after != model_.nodes().end() && after->prefix < before.prefix) {
            ++after;
        }
        bool const stayed = after != model_.nodes().end() && after->prefix == before.prefix &&
                            before.route && after->route;
        if (stayed && after->label != before.label && before.prefix != inserted) {
            changed.push_back({before.prefix, before.label, after->label, after->table});
        }
    }
    agree("moves by reports and by labels", told, changed);
    before_ = model_.nodes();
}

Reports World::hookReports(std::vector<RecordingTrie::Move> const& moves) const {
    Reports reports;
    for (RecordingTrie::Move const& move : moves) {
        reports.push_back({modelPrefix(*move.node), labelOf(move.oldPartitionId.get()),
                           labelOf(move.newPartitionId.get()), move.oldHwTable});
    }
    return reports;
}

Reports World::collectedReports(TrieNodesInfo const& moved) {
    Reports reports;
    for (TrieNodesInfo::VexoNodeInfo const& entry : moved.nodeInfo()) {
        LpmTrie::TrieNodeInfo const& info = entry.key();
        Prefix const prefix = modelPrefix(info.prefixRef()->prefix());
        TrieNode const* const node = nodeAt(prefix);
        if (node == nullptr) {
            agree({"a node is there for", prefix}, false, true);
            continue;
        }
        agree({"the holder is the node's own,", prefix}, info.prefixRef() == node->prefixRef(),
              true);
        agree({"value of the entry for", prefix}, entry.value(), true);
        reports.push_back({prefix, labelOf(info.oldPartitionId().get()),
                           labelOf(info.newPartitionId().get()), node->hwTable()});
    }
    std::ranges::sort(reports);
    return reports;
}

void World::compareState() {
    std::vector<Node> const& expected = model_.nodes();
    std::vector<TrieNode*> const nodes = nodesOf(trie_->root(), expected.size());
    auto const prefixOf = [](TrieNode const* node) { return modelPrefix(*node); };
    if (!std::ranges::equal(nodes, expected, {}, prefixOf, &Node::prefix)) {
        std::vector<Prefix> prefixes;
        std::vector<Prefix> expectedPrefixes;
        std::ranges::transform(nodes, std::back_inserter(prefixes), prefixOf);
        std::ranges::transform(expected, std::back_inserter(expectedPrefixes), &Node::prefix);
        agree("nodes", prefixes, expectedPrefixes);
    }
    for (std::size_t i = 0; i < nodes.size() && disagreement_.empty(); ++i) {
        compareNode(*nodes[i], expected[i]);
    }
    if (disagreement_.empty()) {
        compareLinks(nodes);
    }
}

void World::compareNode(TrieNode const& node, Node const& expected) {
    Record const record{node.fibRoute(), node.partitionNode(), node.pendingState().value(),
                        labelOf(node.partitionId().get()), node.hwTable()};
    bool const same = record == expected && node.routeCount() == expected.routeCount &&
                      node.partitionRouteCount() == expected.partitionRouteCount;
    if (!same) {
        agree({"record of", expected.prefix}, record, static_cast<Record const&>(expected));
        agree({"route count of", expected.prefix}, node.routeCount(), expected.routeCount);
        agree({"partition route count of", expected.prefix}, node.partitionRouteCount(),
              expected.partitionRouteCount);
    }
}

void World::compareLinks(std::vector<TrieNode*> const& nodes) {
    auto const nodeOrNull = [&](std::size_t index) -> TrieNode* {
        return index == none ? nullptr : nodes[index];
    };
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        Node const& expected = model_.nodes()[i];
        bool const same = nodes[i]->parent() == nodeOrNull(expected.parent) &&
                          nodes[i]->bitNode(0) == nodeOrNull(expected.child[0]) &&
                          nodes[i]->bitNode(1) == nodeOrNull(expected.child[1]);
        if (!same) {
            agree({"right links of", expected.prefix}, false, true);
        }
    }
}

PartitionId::Ptr World::id(Label label) {
    if (label == 0) {
        return nullptr;
    }
    auto const known = std::ranges::find(ids_, label, &KnownId::label);
    if (known != ids_.end()) {
        return known->object;
    }
    U32 const index = *bitmap_->nextFree();
    PartitionIdValue const value(index | idBitOutsideMask);
    PartitionId::Ptr made = PartitionId::PartitionIdIs(value, idMask, bitmap_);
    ids_.resize(std::max<std::size_t>(ids_.size(), index + 1));
    ids_[index] = {label, made.get()};
    lastLabel_ = std::max(lastLabel_, label);
    return made;
}

/** The label of an id object that is alive. */
Label World::labelOf(PartitionId const* id) const {
    if (id == nullptr) {
        return 0;
    }
    KnownId const& known = ids_[id->id().value() & idMask];
    return known.object == id ? known.label : ~Label{0};
}

/** An id lives for as long as a node holds it, and so does its number's bit. */
void World::forgetDeadIds() {
    std::vector<Label> held;
    for (Node const& node : model_.nodes()) {
        held.push_back(node.label);
    }
    std::ranges::sort(held);
    U32 alive = 0;
    for (U32 index = 0; index < ids_.size(); ++index) {
        KnownId& known = ids_[index];
        if (!std::ranges::binary_search(held, known.label)) {
            known = {};
        }
        alive += known.label != 0 ? 1 : 0;
        if (bitmap_->isSet(index) != (known.label != 0)) {
            agree("bit of a partition number, set while a node holds it", bitmap_->isSet(index),
                  known.label != 0);
        }
    }
    agree("partition numbers in use", bitmap_->count(), alive);
}

std::string World::show(Found const& found) const {
    return show(found.node) + ", partition " + show(found.partitionNode) + ", covering route " +
           show(found.coveringPrefixNode) + (found.dirty ? ", dirty" : "");
}

std::string World::show(FoundMerge const& found) const {
    return "from " + show(found.fromNode) + " to " + show(found.toNode) +
           (found.dirty ? ", dirty" : "");
}

std::string World::show(Removed const& removed) const {
    return show(removed.node) + ", success " + show(removed.success);
}

std::string World::show(Report const& report) const {
    return text(report.prefix) + " from id " + show(report.oldLabel) + " to id " +
           show(report.newLabel) + " of table " + show(report.table) + ";";
}

std::string World::show(Record const& record) const {
    return std::string(record.partition ? "partition, " : "") + (record.route ? "route, " : "") +
           "id " + show(record.label) + ", table " + show(record.table) + ", pending " +
           show(record.pending);
}

}  // namespace TrieModel
