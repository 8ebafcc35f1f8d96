#include <tests/LpmTrie/Model.h>

#include <algorithm>

/*
 * What a node holds on to: a branching point is born without label and with the table of the node
 * above it (0 at the root). A node that loses its last role loses its label, but keeps its table
 * and its pending state if it stays as a branching point. Labels are given to routes alone, so that
 * an internal node waiting for removal keeps the one that it had.
 */

namespace TrieModel {

Node const* Model::find(Prefix const& prefix) const {
    std::size_t const index = at(prefix);
    return index == none ? nullptr : &nodes_[index];
}

Node const* Model::partitionOf(Prefix const& prefix) const {
    Node const* partition = nullptr;
    for (Node const& node : nodes_) {
        if (node.partition && covers(node.prefix, prefix)) {
            partition = &node;
        }
    }
    return partition;
}

Found Model::insert(Prefix const& prefix, bool route, bool partition, Label label, U32 table,
                    Reports& reports) {
    made_.clear();
    if (find(prefix) == nullptr) {
        made_.push_back(prefix);
        Node node;
        node.prefix = prefix;
        nodes_.insert(std::ranges::lower_bound(nodes_, prefix, {}, &Node::prefix), node);
    }
    Record& inserted = record(prefix);
    inserted.label = label;
    inserted.table = table;
    inserted.route = inserted.route || route;
    if (partition) {
        inserted.partition = true;
        inserted.pending = createPending;
    }
    settle();
    if (!partition) {
        return {prefix, {}, {}, false};
    }
    relabelBelow(prefix, reports);
    return {prefix, prefix, closestFibRoute(prefix), false};
}

Removed Model::remove(Prefix const& prefix) {
    made_.clear();
    freed_.clear();
    return find(prefix) == nullptr ? Removed{} : removeNode(prefix);
}

Removed Model::removeNode(Prefix const& prefix) {
    made_.clear();
    Record& removed = record(prefix);
    removed.route = false;
    bool const stays = removed.stands();
    if (!stays) {
        removed.label = 0;
    }
    settle();
    return stays ? Removed{prefix, false} : Removed{{}, true};
}

Reports Model::cut(Prefix const& prefix, Label label, U32 table) {
    made_.clear();
    Reports reports;
    Record& top = record(prefix);
    top.table = table;
    moveTo(prefix, label, reports);
    top.partition = true;
    top.pending = createPending;
    settle();
    relabelBelow(prefix, reports);
    return reports;
}

Reports Model::dissolve(Prefix const& prefix, bool takeRoute, bool later) {
    made_.clear();
    Reports reports;
    Record& dissolved = record(prefix);
    dissolved.route = dissolved.route && !takeRoute;
    dissolved.partition = false;
    dissolved.pending = later ? removePending : 0;
    if (!dissolved.stands()) {
        dissolved.label = 0;
    }
    settle();
    if (Node const* above = partitionOf(prefix)) {
        relabelBelow(above->prefix, reports);
    }
    return reports;
}

Reports Model::mergePartition(Prefix const& from, Prefix const& to, Label label) {
    made_.clear();
    Reports reports;
    if (Record& target = record(to); !target.partition) {
        target.partition = true;
        target.pending = createPending;
        moveTo(to, label, reports);
        settle();
        relabelBelow(to, reports);
    }
    Record& source = record(from);
    source.partition = false;
    source.pending = removePending;
    moveTo(from, label, reports);
    settle();
    relabelBelow(from, reports);
    return reports;
}

void Model::pendingIs(Prefix const& prefix, unsigned pending) {
    made_.clear();
    record(prefix).pending = pending;
    settle();
}

void Model::complete(Prefix const& prefix) {
    made_.clear();
    Record& completed = record(prefix);
    completed.pending = 0;
    if (!completed.hasRole()) {
        completed.label = 0;
    }
    settle();
}

std::size_t Model::at(Prefix const& prefix) const {
    auto const place = std::ranges::lower_bound(nodes_, prefix, {}, &Node::prefix);
    return place != nodes_.end() && place->prefix == prefix
               ? static_cast<std::size_t>(place - nodes_.begin())
               : none;
}

MaybePrefix Model::prefixAt(std::size_t index) const {
    return index == none ? MaybePrefix{} : nodes_[index].prefix;
}

Record& Model::record(Prefix const& prefix) {
    return nodes_[at(prefix)];
}

/** Labels the routes of the node's own partition and table below it as the node itself. */
void Model::relabelBelow(Prefix const& prefix, Reports& reports) {
    std::size_t const top = at(prefix);
    for (std::size_t i = top + 1; i < nodes_[top].end; ++i) {
        Node const& node = nodes_[i];
        if (node.route && node.home == nodes_[top].home && node.table == nodes_[top].table) {
            moveTo(node.prefix, nodes_[top].label, reports);
        }
    }
}

/** Gives a node a label, and reports that if it carries a route. */
void Model::moveTo(Prefix const& prefix, Label label, Reports& reports) {
    Record& moved = record(prefix);
    if (moved.route) {
        reports.push_back({prefix, moved.label, label, moved.table});
    }
    moved.label = label;
}

}  // namespace TrieModel
