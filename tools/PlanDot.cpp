#include <tools/PlanDot.h>

#include <tools/Texts.h>

#include <client/Window.h>

#include <deque>
#include <set>

namespace LpmTools {

using LpmClient::RouteNode;
using LpmTrie::Node;
using Nimbal::IpGenPrefix;
using Vexo::U32;

namespace {

constexpr std::size_t mostBelow = 60;

/** Quoted as Graphviz wants names; prefixes hold nothing that needs escaping. */
std::string quoted(std::string const& text) {
    return "\"" + text + "\"";
}

std::string nameOf(Node const* node) {
    return quoted(node->prefixRef()->prefix().stringValue());
}

/** From yellow, empty, to green, full, in the HSV that Graphviz reads. */
std::string fillColour(U32 routes, U32 bound) {
    double const fill = ratio(routes, bound);
    return quoted(decimal(0.13 + 0.25 * fill, 3) + " " + decimal(0.2 + 0.3 * fill, 3) + " 0.95");
}

RouteNode const* partitionAbove(RouteNode const* root) noexcept {
    Node const* node = root->parent();
    while (node != nullptr && !node->partitionNode()) {
        node = node->parent();
    }
    return LpmClient::routeNode(node);
}

std::string coverText(RouteNode const* root) {
    Node const* node = root->parent();
    while (node != nullptr && !node->fibRoute()) {
        node = node->parent();
    }
    return node == nullptr ? "no covering route"
                           : "covered by " + node->prefixRef()->prefix().stringValue();
}

void addPartition(std::string& dot, RouteNode const* root, U32 bound) {
    dot += "  " + nameOf(root) + " [label=\"" + root->prefixRef()->prefix().stringValue() +
           "\\nbucket " + std::to_string(LpmClient::bucketOf(root)) + ": " +
           std::to_string(root->partitionRouteCount()) + " of " + std::to_string(bound) +
           " routes\\n" + coverText(root) +
           "\", fillcolor=" + fillColour(root->partitionRouteCount(), bound) + "];\n";
    if (RouteNode const* const above = partitionAbove(root); above != nullptr) {
        dot += "  " + nameOf(above) + " -> " + nameOf(root) + ";\n";
    }
}

/** The nodes whose prefixes cover `prefix`, from the root downwards. */
std::vector<Node*> nodesAbove(LpmTrie::Trie const& trie, IpGenPrefix const& prefix) {
    std::vector<Node*> nodes;
    Node* node = trie.root();
    while (node != nullptr && node->len() <= prefix.len() &&
           node->prefixRef()->prefix().overlaps(prefix)) {
        nodes.push_back(node);
        node = node->len() < prefix.len() ? node->bitNode(prefix.bit(node->len())) : nullptr;
    }
    return nodes;
}

/** The way to `prefix`, and what is nearest below it, level by level, up to `mostBelow` nodes. */
std::vector<Node*> nodesAround(LpmTrie::Trie const& trie, IpGenPrefix const& prefix) {
    std::vector<Node*> nodes = nodesAbove(trie, prefix);
    if (nodes.empty()) {
        return nodes;
    }
    std::deque<Node*> waiting{nodes.back()};
    std::size_t const most = nodes.size() + mostBelow;
    while (!waiting.empty() && nodes.size() < most) {
        Node* const above = waiting.front();
        waiting.pop_front();
        for (U32 const bit : {0U, 1U}) {
            Node* const below = above->bitNode(bit);
            if (below != nullptr && below->prefixRef()->prefix().overlaps(prefix)) {
                nodes.push_back(below);
                waiting.push_back(below);
            }
        }
    }
    return nodes;
}

std::string nodeText(Node const* node, IpGenPrefix const& prefix) {
    bool const isSought = node->prefixRef()->prefix() == prefix;
    return "    " + nameOf(node) + " [shape=" + (node->fibRoute() ? "box" : "ellipse") +
           (isSought ? ", penwidth=3" : "") +
           (node->fibRoute() ? ", fillcolor=" + quoted("0.13 0.2 0.95") : "") + "];\n";
}

}  // namespace

std::string partitionsDot(std::vector<LpmClient::PartitionManager*> const& managers) {
    std::string dot = "digraph partitions {\n  rankdir=LR;\n  node [shape=box, style=filled];\n";
    for (LpmClient::PartitionManager const* manager : managers) {
        for (auto const& [prefix, root] : manager->roots()) {
            addPartition(dot, root, manager->bucketRoutes());
        }
    }
    return dot + "}\n";
}

std::string neighbourhoodDot(LpmClient::PartitionManager& manager, IpGenPrefix const& prefix) {
    std::vector<Node*> const nodes = nodesAround(manager.trie(), prefix);
    std::map<IpGenPrefix, std::string> clusters;  // by the partition's prefix
    std::set<Node const*> drawn;
    std::string arrows;
    for (Node* const node : nodes) {
        RouteNode const* const root = LpmClient::partitionRootOf(LpmClient::routeNode(node));
        std::string& cluster = clusters[root->prefixRef()->prefix()];
        if (cluster.empty()) {
            std::string const name = root->prefixRef()->prefix().stringValue();
            cluster = "  subgraph " + quoted("cluster " + name) + " {\n    label=" +
                      quoted(name + ", bucket " + std::to_string(LpmClient::bucketOf(root)) + ": " +
                             std::to_string(root->partitionRouteCount()) + " routes") +
                      ";\n";
        }
        cluster += nodeText(node, prefix);
        drawn.insert(node);
        if (node->parent() != nullptr && drawn.contains(node->parent())) {
            U32 const bit = node->parent()->bitNode(1) == node ? 1 : 0;
            arrows += "  " + nameOf(node->parent()) + " -> " + nameOf(node) +
                      " [label=" + std::to_string(bit) + "];\n";
        }
    }
    std::string dot = "digraph neighbourhood {\n  node [style=filled, fillcolor=white];\n";
    for (auto const& [prefix4, cluster] : clusters) {
        dot += cluster + "  }\n";
    }
    return dot + arrows + "}\n";
}

}  // namespace LpmTools
