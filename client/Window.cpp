#include <client/Window.h>

#include <algorithm>

namespace LpmClient {

using LpmTrie::Node;

namespace {

/** Of a partition, about: so that a window's memory is taken at once. */
constexpr std::size_t expectedItems = 64;

}  // namespace

std::vector<RouteNode*> nestedRoots(RouteNode* root) {
    std::vector<RouteNode*> nested;
    Node* node = root;
    Node* next = nullptr;
    for (;; node = next) {
        next = nullptr;
        bool const isNested = node != root && node->partitionNode();
        if (isNested) {
            nested.push_back(routeNode(node));
        }
        // Where all routes are the partition's own, nothing is nested: most of it is not read.
        bool const enter = !isNested && node->routeCount() != node->partitionRouteCount();
        for (U32 bit = 0; enter && next == nullptr && bit <= 1; ++bit) {
            next = node->bitNode(bit);
        }
        for (; next == nullptr && node != root; node = node->parent()) {
            Node* const right = node->parent()->bitNode(1);
            if (right != node) {
                next = right;
            }
        }
        if (next == nullptr) {
            return nested;
        }
    }
}

void sortRoots(std::vector<RouteNode*>& roots) {
    std::sort(roots.begin(), roots.end(), [](Node const* a, Node const* b) {
        return a->prefixRef()->prefix() < b->prefixRef()->prefix();
    });
}

Window::Window(std::vector<RouteNode*> roots, U32 grain, U64 mark)
    : roots_(std::move(roots)), grain_(grain), mark_(mark) {
    markPaths(mark);
    for (Node const* const root : roots_) {
        routes_ += root->partitionRouteCount();
    }
    // Item by item: those found so far wait in the list itself for what hangs from them.
    struct Open {
        Node* node;
        U32 above;
        U32 bit;
    };
    items_.reserve(expectedItems * roots_.size());
    std::vector<Open> open;
    open.reserve(expectedItems);
    open.push_back({roots_.front(), noPiece, 0});
    while (!open.empty()) {
        Open const at = open.back();
        open.pop_back();
        add(at.node, at.above, at.bit);
        auto const item = static_cast<U32>(items_.size() - 1);
        for (U32 bit = 2; bit-- > 0;) {  // the right one first: the left one is to come off first
            Node* const child = at.node->bitNode(bit);
            if (child == nullptr) {
                continue;
            }
            if (isItem(child)) {
                open.push_back({child, item, bit});
            } else if (!child->partitionNode()) {
                items_[item].own += child->partitionRouteCount();
            }
        }
    }
}

/** Of the window's partitions; roots of partitions outside of it are not marked. */
bool Window::isItem(Node const* node) const noexcept {
    // Most nodes are told by their counter, which lies nearer than the mark.
    return (!node->partitionNode() && node->partitionRouteCount() >= grain_) ||
           routeNode(node)->mark == mark_;
}

U32 Window::itemAround(Node const* node) const noexcept {
    while (node != roots_.front() && !isItem(node)) {
        node = node->parent();
    }
    auto const item =
        std::find_if(items_.begin(), items_.end(), [&](Item const& at) { return at.node == node; });
    return static_cast<U32>(item - items_.begin());
}

/** The way up from each root to the one above it belongs to the tree, however light it is. */
void Window::markPaths(U64 mark) {
    for (std::size_t i = 1; i < roots_.size(); ++i) {
        for (Node* node = roots_[i]; node != nullptr && routeNode(node)->mark != mark;
             node = node->parent()) {
            routeNode(node)->mark = mark;
            if (node != roots_[i] && node->partitionNode()) {
                break;
            }
        }
    }
}

void Window::add(Node* node, U32 above, U32 bit) {
    auto const index = static_cast<U32>(items_.size());
    Item item;
    item.node = routeNode(node);
    item.above = above;
    item.own = node->fibRoute() ? 1 : 0;
    if (above != noPiece) {
        items_[above].below[bit] = index;
        item.piece = items_[above].piece;
    }
    if (node->partitionNode()) {
        auto const root = std::find(roots_.begin(), roots_.end(), node);
        item.piece = static_cast<U32>(root - roots_.begin());
    }
    items_.push_back(item);
}

U32 Trial::largest() const noexcept {
    return *std::max_element(sizes.begin(), sizes.end());
}

bool Cutter::cut(Window const& window, U32 limit, U32 keep, std::size_t mostPieces) {
    auto const& items = window.items();
    left_.assign(items.size(), 0);
    isCut_.assign(items.size(), 0);
    std::size_t pieces = 1;
    for (std::size_t i = items.size(); i-- > 0;) {
        Window::Item const& item = items[i];
        std::array<U32, 2> branch{};
        for (std::size_t bit = 0; bit <= 1; ++bit) {
            U32 const below = item.below[bit];
            branch[bit] = below == noPiece || isCut_[below] != 0 ? 0 : left_[below];
        }
        U32 together = item.own + branch[0] + branch[1];
        while (together > limit) {
            std::size_t const heavy = branch[0] >= branch[1] ? 0 : 1;
            if (branch[heavy] == 0 || ++pieces > mostPieces) {
                return false;
            }
            isCut_[item.below[heavy]] = 1;
            together -= branch[heavy];
            branch[heavy] = 0;
        }
        left_[i] = together;
        if (i != 0 && item.node->partitionNode() && together >= keep) {
            isCut_[i] = 1;
            if (++pieces > mostPieces) {
                return false;
            }
        }
    }
    return true;
}

std::vector<RouteNode*> Cutter::roots(Window const& window) const {
    std::vector<RouteNode*> roots;
    for (std::size_t i = 0; i < window.items().size(); ++i) {
        if (i == 0 || isCut_[i] != 0) {
            roots.push_back(window.items()[i].node);
        }
    }
    return roots;
}

void Cutter::judge(Window const& window, Trial& trial) {
    auto const& items = window.items();
    std::size_t const olds = window.roots().size();
    trial.sizes.clear();
    piece_.resize(items.size());
    overlap_.clear();
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i == 0 || isCut_[i] != 0) {
            piece_[i] = static_cast<U32>(trial.sizes.size());
            trial.sizes.push_back(0);
            overlap_.resize(overlap_.size() + olds);
        } else {
            piece_[i] = piece_[items[i].above];
        }
        trial.sizes[piece_[i]] += items[i].own;
        overlap_[piece_[i] * olds + items[i].piece] += items[i].own;
    }
    pairs_.clear();
    for (std::size_t at = 0; at < overlap_.size(); ++at) {
        if (overlap_[at] != 0) {
            pairs_.push_back(
                {overlap_[at], static_cast<U32>(at / olds), static_cast<U32>(at % olds)});
        }
    }
    std::sort(pairs_.begin(), pairs_.end(),
              [](Pair const& a, Pair const& b) { return a.overlap > b.overlap; });
    taken_.assign(trial.sizes.size() + olds, 0);
    trial.moves = window.routes();
    for (Pair const& pair : pairs_) {
        char& oldTaken = taken_[trial.sizes.size() + pair.old];
        if (taken_[pair.piece] == 0 && oldTaken == 0) {
            taken_[pair.piece] = oldTaken = 1;
            trial.moves -= pair.overlap;
        }
    }
}

}  // namespace LpmClient
