#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

/*
 * Worlds of a few prefixes and the answers to all searches in them, found by asking of every node
 * whether it is the one. There are no links and no counters here, only the question which prefix
 * covers which, and nothing of the library.
 */

namespace LpmTrieTest {

struct OracleNode {
    std::uint32_t address;
    std::uint32_t len;
    bool route;
    bool partition;
    std::uint32_t hwTable;
    unsigned pending;

    auto place() const { return std::pair(address, len); }
};

struct OracleMerge {
    OracleNode const* from = nullptr;
    OracleNode const* to = nullptr;
    bool dirty = false;
};

class SearchOracle {
public:
    using Node = OracleNode const*;

    /** Random prefixes of at most 4 bits with random roles, tables and pending states. */
    explicit SearchOracle(std::mt19937& random) {
        std::size_t const wanted = 2 + random() % 8;
        while (nodes_.size() < wanted) {
            std::uint32_t const len = static_cast<std::uint32_t>(random() % 5);
            auto const bits = static_cast<std::uint32_t>(random() % 16) << 28;
            add(truncated(bits, len), len, static_cast<unsigned>(1 + random() % 3));
        }
        for (std::size_t i = 0; i < wanted; ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                std::uint32_t const len = std::min({static_cast<std::uint32_t>(std::countl_zero(
                                                        nodes_[i].address ^ nodes_[j].address)),
                                                    nodes_[i].len, nodes_[j].len});
                add(truncated(nodes_[i].address, len), len, 0);
            }
        }
        std::ranges::sort(nodes_, {}, &OracleNode::place);
        for (OracleNode& node : nodes_) {
            node.hwTable = random() % 7 == 0 ? 2 : 1;
            node.pending = random() % 3 == 0 ? static_cast<unsigned>(random() % 16) : 0;
        }
    }

    /** In pre-order. */
    std::vector<OracleNode> const& nodes() const { return nodes_; }

    static bool covers(Node a, Node b) {
        return a->len <= b->len && truncated(b->address, a->len) == a->address;
    }
    static bool isAbove(Node a, Node b) { return a != b && covers(a, b); }
    static bool isPartition(Node node) { return node->partition || (node->pending & 2) != 0; }
    /** FIB routes at and below the node with no other partition between. */
    std::uint32_t count(Node node) const { return weight(node, std::nullopt); }

    OracleMerge mergeTo(Node candidate, Node source, std::uint32_t bound) const {
        auto const onTheWay = [&](Node x) {
            return isAbove(x, candidate) && (!isAbove(source, candidate) || isAbove(source, x));
        };
        auto const blocks = [&](Node x) {
            return isPartition(x) || (count(x) != 0 && count(x) + count(candidate) > bound);
        };
        Node const best = shortest([&](Node x) {
            return onTheWay(x) && count(x) != 0 &&
                   none([&](Node y) { return onTheWay(y) && covers(x, y) && blocks(y); });
        });
        return best == nullptr
                   ? OracleMerge()
                   : OracleMerge{candidate, best, candidate->pending != 0 || best->pending != 0};
    }

    OracleMerge redistribute(Node source, std::uint32_t bound, bool toSource) const {
        for (OracleNode const& each : nodes_) {
            Node const x = &each;
            bool const nested = isAbove(source, x) && isPartition(x) && none([&](Node y) {
                                    return isAbove(source, y) && isAbove(y, x) && isPartition(y);
                                });
            if (!nested || x->hwTable != source->hwTable || count(x) > bound) {
                continue;
            }
            if (toSource && count(x) + count(source) <= bound) {
                return {x, source, x->pending != 0};
            }
            OracleMerge const between = toSource ? OracleMerge() : mergeTo(x, source, bound);
            if (between.to != nullptr) {
                return between;
            }
        }
        return {};
    }

    struct Split {
        Node node;
        bool equalChildren;  // somewhere on the way
        bool equalDistances;
    };
    /** None where the way down ends before the wanted count is reached. */
    std::optional<Split> split(Node source, std::uint32_t wanted, bool disallowParent) const {
        auto const onTheWay = [&](Node x) {
            return isAbove(source, x) && none([&](Node y) {
                       return covers(source, y) && isAbove(y, x) &&
                              (count(y) <= wanted || bit(x, y->len) != largerSide(y));
                   }) &&
                   none([&](Node y) { return isAbove(source, y) && covers(y, x) && y->partition; });
        };
        Node const current = shortest([&](Node x) { return onTheWay(x) && count(x) <= wanted; });
        if (current == nullptr) {
            return std::nullopt;
        }
        Node const parent = longest([&](Node x) { return isAbove(x, current); });
        auto const above = std::int64_t{count(parent)} - wanted;
        auto const below = std::int64_t{wanted} - count(current);
        bool const equalChildren = !none([&](Node y) {
            return covers(source, y) && isAbove(y, current) && weight(y, 0) == weight(y, 1);
        });
        return Split{disallowParent || above > below ? current : parent, equalChildren,
                     above == below};
    }

    /** Into `to`, with the covering partition as `from`. */
    OracleMerge parentToMerge(Node source, std::uint32_t bound) const {
        auto const stops = [&](Node x) {
            bool const tested = !x->route || x->partition;
            return x->hwTable != source->hwTable || (tested && count(x) + count(source) > bound);
        };
        auto const reached = [&](Node x) {
            return isAbove(x, source) && !stops(x) &&
                   none([&](Node y) { return isAbove(x, y) && isAbove(y, source) && stops(y); });
        };
        Node to = longest([&](Node x) { return reached(x) && x->partition; });
        if (to == nullptr) {
            to = shortest([&](Node x) { return reached(x) && !x->route; });
            if (to != nullptr && none([&](Node x) { return isAbove(x, to); })) {
                to = nullptr;
            }
        }
        if (to == nullptr) {
            return {};
        }
        Node const covering = longest([&](Node x) { return covers(x, to) && isPartition(x); });
        return covering == nullptr || covering->hwTable != source->hwTable
                   ? OracleMerge()
                   : OracleMerge{covering, to, covering->pending != 0};
    }

private:
    static std::uint32_t truncated(std::uint32_t address, std::uint32_t len) {
        return len == 0 ? 0 : address >> (32 - len) << (32 - len);
    }
    static unsigned bit(Node node, std::uint32_t position) {
        return node->address >> (31 - position) & 1U;
    }
    void add(std::uint32_t address, std::uint32_t len, unsigned roles) {
        if (std::ranges::find(nodes_, std::pair(address, len), &OracleNode::place) ==
            nodes_.end()) {
            nodes_.push_back({address, len, (roles & 1) != 0, (roles & 2) != 0, 1, 0});
        }
    }
    /** The count, or what one side contributes to it. */
    std::uint32_t weight(Node node, std::optional<unsigned> side) const {
        return static_cast<std::uint32_t>(std::ranges::count_if(nodes_, [&](OracleNode const& r) {
            return r.route && covers(node, &r) &&
                   (!side || (&r != node && bit(&r, node->len) == *side)) &&
                   none([&](Node p) { return isAbove(node, p) && covers(p, &r) && p->partition; });
        }));
    }
    unsigned largerSide(Node node) const { return weight(node, 0) > weight(node, 1) ? 0 : 1; }

    template <class Predicate>
    bool none(Predicate const& holds) const {
        return std::ranges::none_of(nodes_, [&](OracleNode const& node) { return holds(&node); });
    }
    /** Of the nodes for which it holds, which all cover one prefix. */
    template <class Predicate>
    Node shortest(Predicate const& holds) const {
        Node found = nullptr;
        for (OracleNode const& node : nodes_) {
            if (holds(&node) && (found == nullptr || node.len < found->len)) {
                found = &node;
            }
        }
        return found;
    }
    template <class Predicate>
    Node longest(Predicate const& holds) const {
        Node found = nullptr;
        for (OracleNode const& node : nodes_) {
            if (holds(&node) && (found == nullptr || node.len > found->len)) {
                found = &node;
            }
        }
        return found;
    }

    std::vector<OracleNode> nodes_;
};

}  // namespace LpmTrieTest
