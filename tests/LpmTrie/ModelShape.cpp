#include <tests/LpmTrie/Model.h>

#include <algorithm>

/*
 * Which nodes there are: every prefix that stands for its own sake, and every prefix where two such
 * part. Of a sorted list, neighbours are enough to find all the places where two part: the place
 * where two distant ones part is the shortest among those of the neighbours between them.
 */

namespace TrieModel {

/** In pre-order, all prefixes that stand and all places where two of them part. */
std::vector<Prefix> Model::neededPrefixes() const {
    std::vector<Prefix> needed;
    MaybePrefix before;
    for (Node const& node : nodes_) {
        if (node.stands()) {
            if (before) {
                Prefix const parting = common(*before, node.prefix);
                auto const place = std::ranges::lower_bound(needed, parting);
                if (place == needed.end() || *place != parting) {
                    needed.insert(place, parting);
                }
            }
            needed.push_back(node.prefix);
            before = node.prefix;
        }
    }
    return needed;
}

/** Drops and adds branching points, and works out anew all that follows from the nodes. */
void Model::settle() {
    std::vector<Node> nodes;
    MaybePrefix branch;
    freed_.clear();
    auto known = nodes_.begin();
    auto const freeUntil = [&](auto const& isReached) {
        for (; known != nodes_.end() && !isReached(known->prefix); ++known) {
            freed_.push_back(known->prefix);
        }
    };
    for (Prefix const& prefix : neededPrefixes()) {
        freeUntil([&](Prefix const& other) { return other >= prefix; });
        Node& node = nodes.emplace_back();
        node.prefix = prefix;
        if (known != nodes_.end() && known->prefix == prefix) {
            static_cast<Record&>(node) = *known++;
        } else {
            branch = prefix;
        }
    }
    freeUntil([](Prefix const&) { return false; });
    // Nodes are freed from the one that was removed upwards.
    std::ranges::sort(freed_, std::ranges::greater(), &Prefix::len);
    nodes_ = std::move(nodes);
    deriveLinks();
    deriveCounts();
    if (branch) {
        Node& made = nodes_[at(*branch)];
        made.table = made.parent == none ? 0 : nodes_[made.parent].table;
        made_.push_back(*branch);
    }
}

/** In pre-order, what a node covers follows it without a gap, so the last that covers a node wins.
 */
void Model::deriveLinks() {
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        Node& node = nodes_[i];
        for (node.end = i; node.end < nodes_.size(); ++node.end) {
            Node& covered = nodes_[node.end];
            if (!covers(node.prefix, covered.prefix)) {
                break;
            }
            if (node.end != i) {
                covered.parent = i;
            }
            if (node.partition) {
                covered.home = i;
            }
        }
    }
    for (std::size_t i = 1; i < nodes_.size(); ++i) {
        Node& parent = nodes_[nodes_[i].parent];
        parent.child[bitAt(nodes_[i].prefix, parent.prefix.len)] = i;
    }
}

/** A route counts in a node's partition count when no partition begins between the two. */
void Model::deriveCounts() {
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        for (std::size_t j = i; j < nodes_[i].end; ++j) {
            if (nodes_[j].route) {
                ++nodes_[i].routeCount;
                if (nodes_[j].home == none || nodes_[j].home <= i) {
                    ++nodes_[i].partitionRouteCount;
                }
            }
        }
    }
}

}  // namespace TrieModel
