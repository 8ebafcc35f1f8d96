#include <tests/Support/Instrumented.h>
#include <tests/Support/LeakCheck.h>
#include <tools/RouteGenerator.h>

#include <LpmTrie/LpmTrie.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

/*
 * The order of insertion leaves no trace in what a trie holds: shuffles of one table, its routes
 * and partitions in any order, give the same nodes in the same places with the same labels and
 * counts.
 *
 * The table is a generated one with the shape of the Internet's. LPMTRIE_REAL_TABLE can name a file
 * with a real one, a prefix a line, of which prefixes are drawn.
 */

namespace {

using LpmTrie::Node;
using LpmTrie::PartitionId;
using LpmTrie::PartitionIdValue;
using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;
using Vexo::U32;
using Vexo::U64;

constexpr U32 tableSize = 10'000;
constexpr U32 partitions = 40;
constexpr U32 runs = 10;
#if LPMTRIE_INSTRUMENTED
constexpr U32 shufflesInRun = 5;
#else
constexpr U32 shufflesInRun = 50;  // 500 of each family
#endif

/** One insertion: a route, or a partition with a number. */
struct Item {
    IpGenPrefix prefix;
    U32 partition = 0;
};

/** What a node is, wherever it lies in memory. */
struct Shape {
    IpGenPrefix prefix;
    bool fibRoute;
    bool partitionNode;
    U32 partition;
    U32 routeCount;
    U32 partitionRouteCount;
    std::array<bool, 2> children;

    bool operator==(Shape const&) const = default;
};

Shape shapeOf(Node const& node) {
    PartitionId const* const id = node.partitionId().get();
    return {node.prefixRef()->prefix(),
            node.fibRoute(),
            node.partitionNode(),
            id == nullptr ? 0 : id->id().value(),
            node.routeCount(),
            node.partitionRouteCount(),
            {node.bitNode(0) != nullptr, node.bitNode(1) != nullptr}};
}

/** Calls `visit` with every node, in pre-order. */
template <class Visit>
void forEachNode(Node const* root, Visit const& visit) {
    std::vector<Node const*> open{root};
    while (!open.empty()) {
        Node const* const node = open.back();
        open.pop_back();
        if (node != nullptr) {
            visit(*node);
            open.push_back(node->bitNode(1));
            open.push_back(node->bitNode(0));
        }
    }
}

std::vector<Shape> shapes(Node const* root) {
    std::vector<Shape> all;
    forEachNode(root, [&](Node const& node) { all.push_back(shapeOf(node)); });
    return all;
}

U64 hashOf(Node const* root) {
    U64 hash = 0;
    auto const mix = [&](U64 value) {
        hash = ((hash << 5 | hash >> 59) ^ value) * 0x9e3779b97f4a7c15;
    };
    forEachNode(root, [&](Node const& node) {
        Shape const shape = shapeOf(node);
        for (U32 word = 0; word < 4; ++word) {
            mix(shape.prefix.word(word));
        }
        mix(shape.prefix.len());
        mix(U64{shape.partition} << 32 | (shape.fibRoute ? 1U : 0U) |
            (shape.partitionNode ? 2U : 0U) | (shape.children[0] ? 4U : 0U) |
            (shape.children[1] ? 8U : 0U));
        mix(U64{shape.routeCount} << 32 | shape.partitionRouteCount);
    });
    return hash;
}

/** A trie with the items inserted in their order; routes take the id of the partition they meet. */
class ShuffledTrie {
public:
    ShuffledTrie(AddressFamily af, std::vector<Item> const& items) {
        trie_->afIs(af);
        for (Item const& item : items) {
            insert(item);
        }
    }
    ~ShuffledTrie() { LpmTrie::removeAll(*trie_); }
    ShuffledTrie(ShuffledTrie const&) = delete;
    ShuffledTrie& operator=(ShuffledTrie const&) = delete;

    LpmTrie::Trie& trie() { return *trie_; }

private:
    static constexpr U32 table_ = 1;

    void insert(Item const& item) {
        if (item.partition != 0) {
            auto const id =
                PartitionId::PartitionIdIs(PartitionIdValue(item.partition), ~0U, nullptr);
            trie_->insertFromRoot(item.prefix, false, true, id, table_);
            return;
        }
        Node* const partition = trie_->findPartitionNode(item.prefix, false).partitionNode();
        PartitionId::Ptr const id = partition != nullptr ? partition->partitionId() : nullptr;
        trie_->insert(item.prefix, partition, true, false, id, table_);
    }

    LpmTrie::Trie::Ptr const trie_ = LpmTrie::trieFactory(0);
};

std::vector<IpGenPrefix> realTable(AddressFamily af, std::string const& file) {
    std::ifstream in(file);
    EXPECT_TRUE(in) << file;
    std::set<IpGenPrefix> prefixes;
    for (std::string line; std::getline(in, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        if (line.empty() || line.front() == '#') {
            continue;
        }
        IpGenPrefix const prefix = IpGenPrefix::fromStringClearingHostBits(line);
        if (prefix.af() == af) {
            prefixes.insert(prefix);
        }
    }
    std::vector<IpGenPrefix> drawn;
    std::ranges::sample(prefixes, std::back_inserter(drawn), tableSize, std::mt19937_64(1));
    EXPECT_EQ(drawn.size(), tableSize) << file;
    return drawn;
}

using Parameter = std::tuple<AddressFamily, std::string, U32>;

class ShuffleTest : public TestSupport::LeakChecked<testing::TestWithParam<Parameter>> {
protected:
    AddressFamily af() const { return std::get<AddressFamily>(GetParam()); }

    /** The table's prefixes as routes; some of them, one bit shorter, and all addresses as
     * partitions. */
    std::vector<Item> items(std::vector<IpGenPrefix> const& table) const {
        std::set<IpGenPrefix> roots{LpmTrie::prefixFromLen(table.front(), 0)};
        for (std::size_t i = 0; roots.size() < partitions; ++i) {
            U32 const shorter = std::min(static_cast<U32>(i % 12), table[i].len());
            roots.insert(LpmTrie::prefixFromLen(table[i], table[i].len() - shorter));
        }
        std::vector<Item> items;
        for (IpGenPrefix const& prefix : table) {
            items.push_back({prefix, 0});
        }
        for (IpGenPrefix const& root : roots) {
            items.push_back({root, static_cast<U32>(items.size())});
        }
        return items;
    }

    void shuffles(std::vector<IpGenPrefix> const& table) {
        std::vector<Item> shuffled = items(table);
        ShuffledTrie first(af(), shuffled);
        first.trie().verify();
        ASSERT_EQ(first.trie().root()->routeCount(), tableSize);
        std::vector<Shape> const expected = shapes(first.trie().root());
        U64 const expectedHash = hashOf(first.trie().root());
        std::mt19937_64 random(std::get<U32>(GetParam()));
        for (U32 i = 0; i < shufflesInRun; ++i) {
            std::ranges::shuffle(shuffled, random);
            ShuffledTrie again(af(), shuffled);
            ASSERT_EQ(hashOf(again.trie().root()), expectedHash) << i;
            if (i == 0) {
                again.trie().verify();
                ASSERT_TRUE(shapes(again.trie().root()) == expected);
            }
        }
    }
};

TEST_P(ShuffleTest, anyOrderOfInsertionGivesTheSameTrie) {
    static std::map<std::tuple<AddressFamily, std::string>, std::vector<IpGenPrefix>> tables;
    std::string const& file = std::get<std::string>(GetParam());
    std::vector<IpGenPrefix>& table = tables[{af(), file}];
    if (table.empty()) {
        table = file.empty() ? LpmTools::generateTable(af(), tableSize, 1) : realTable(af(), file);
    }
    shuffles(table);
}

/** The files to read tables from; empty for the generated one. */
std::vector<std::string> files() {
    char const* const real = std::getenv("LPMTRIE_REAL_TABLE");
    return real == nullptr ? std::vector<std::string>{""} : std::vector<std::string>{"", real};
}

std::string nameOf(testing::TestParamInfo<Parameter> const& test) {
    auto const& [af, file, run] = test.param;
    return std::string(af == AddressFamily::ipv6 ? "Ipv6" : "Ipv4") +
           (file.empty() ? "Generated" : "Real") + std::to_string(run);
}

INSTANTIATE_TEST_SUITE_P(Tables, ShuffleTest,
                         testing::Combine(testing::Values(AddressFamily::ipv4, AddressFamily::ipv6),
                                          testing::ValuesIn(files()), testing::Range(0U, runs)),
                         nameOf);

}  // namespace
