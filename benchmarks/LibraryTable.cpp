#include <tools/PartitionedTable.h>
#include <benchmarks/Table.h>

#include <algorithm>
#include <array>

namespace LpmBenchmarks {

namespace {

using LpmTrie::Node;

/** The library under a client that inserts from the root, or from partition nodes. */
class LibraryTable : public Table {
public:
    explicit LibraryTable(Nimbal::AddressFamily af) : trie_(LpmTrie::trieFactory(0)) {
        trie_->afIs(af);
    }
    ~LibraryTable() override { LpmTrie::removeAll(*trie_); }

    void insert(std::span<IpGenPrefix const> routes) override {
        for (IpGenPrefix const& route : routes) {
            trie_->insertFromRoot(route, true, false, nullptr, 0);
        }
    }
    U64 find(std::span<IpGenPrefix const> queries) override { return findIn(*trie_, queries); }
    U64 findTogether(std::span<IpGenPrefix const> queries) override {
        return findTogetherIn(*trie_, queries);
    }
    Answers answers(std::span<IpGenPrefix const> queries) override {
        return answersOf(*trie_, queries);
    }
    U64 walk() override { return walkOver(*trie_); }
    U64 replay(std::span<Update const> updates) override {
        U64 changes = 0;
        for (Update const& update : updates) {
            Node const* const node = trie_->findPartitionNode(update.prefix, false).node();
            bool const there = isRoute(node, update.prefix);
            if (there == update.announced) {
                continue;
            }
            ++changes;
            if (there) {
                trie_->remove(update.prefix);
            } else {
                trie_->insertFromRoot(update.prefix, true, false, nullptr, 0);
            }
        }
        return changes;
    }
    void remove(std::span<IpGenPrefix const> routes) override {
        for (IpGenPrefix const& route : routes) {
            trie_->remove(route);
        }
    }
    U64 bytes() const override { return trackedBytes(); }
    bool verify() override {
        trie_->verify();
        return true;
    }

    static U64 findIn(LpmTrie::Trie& trie, std::span<IpGenPrefix const> queries) {
        U64 sum = 0;
        for (IpGenPrefix const& query : queries) {
            sum += trie.findPartitionNode(query, false).node() != nullptr ? 1U : 0U;
        }
        return sum;
    }
    static U64 findTogetherIn(LpmTrie::Trie& trie, std::span<IpGenPrefix const> queries) {
        constexpr std::size_t most = 64;
        std::array<LpmTrie::TrieReturnCode, most> results{};
        U64 sum = 0;
        while (!queries.empty()) {
            std::size_t const count = std::min(most, queries.size());
            auto const found = std::span(results).first(count);
            trie.findPartitionNodes(queries.first(count), false, found);
            for (auto const& result : found) {
                sum += result.node() != nullptr ? 1U : 0U;
            }
            queries = queries.subspan(count);
        }
        return sum;
    }
    static Answers answersOf(LpmTrie::Trie& trie, std::span<IpGenPrefix const> queries) {
        Answers answers;
        for (IpGenPrefix const& query : queries) {
            Node* node = trie.findPartitionNode(query, false).node();
            while (node != nullptr && !(node->fibRoute() && covers(node, query))) {
                node = node->parent();
            }
            node != nullptr ? answers.add(node->len()) : answers.addNone();
        }
        return answers;
    }
    static U64 walkOver(LpmTrie::Trie& trie) {
        U64 routes = 0;
        auto step = trie.preorderNextNode(nullptr, nullptr, 0, false, false);
        while (step.node() != nullptr) {
            routes += step.node()->fibRoute() ? 1U : 0U;
            step = trie.preorderNextNode(nullptr, step.node(), step.level, false, false);
        }
        return routes;
    }
    static bool isRoute(Node const* node, IpGenPrefix const& prefix) {
        return node != nullptr && node->fibRoute() && node->prefixRef()->prefix() == prefix;
    }
    static bool covers(Node const* node, IpGenPrefix const& prefix) {
        return node->len() <= prefix.len() && node->commonLen(prefix) == node->len();
    }
    static U64 trackedBytes() {
        U64 bytes = 0;
        for (auto const& entry : Vexo::allocationCounts()) {
            bytes += entry.counts.liveBytes();
        }
        return bytes;
    }

private:
    LpmTrie::Trie::Ptr trie_;
};

class PartitionedLibraryTable : public Table {
public:
    explicit PartitionedLibraryTable(Nimbal::AddressFamily af) : table_(af, 512) {}

    void insert(std::span<IpGenPrefix const> routes) override {
        for (IpGenPrefix const& route : routes) {
            table_.insert(route);
        }
    }
    U64 find(std::span<IpGenPrefix const> queries) override {
        return LibraryTable::findIn(table_.trie(), queries);
    }
    U64 findTogether(std::span<IpGenPrefix const> queries) override {
        return LibraryTable::findTogetherIn(table_.trie(), queries);
    }
    Answers answers(std::span<IpGenPrefix const> queries) override {
        return LibraryTable::answersOf(table_.trie(), queries);
    }
    U64 walk() override { return LibraryTable::walkOver(table_.trie()); }
    U64 replay(std::span<Update const> updates) override {
        U64 changes = 0;
        for (Update const& update : updates) {
            Node const* const node = table_.trie().findPartitionNode(update.prefix, false).node();
            bool const there = LibraryTable::isRoute(node, update.prefix);
            if (there == update.announced) {
                continue;
            }
            ++changes;
            there ? table_.remove(update.prefix) : table_.insert(update.prefix);
        }
        return changes;
    }
    void remove(std::span<IpGenPrefix const> routes) override {
        for (IpGenPrefix const& route : routes) {
            table_.remove(route);
        }
    }
    U64 bytes() const override { return LibraryTable::trackedBytes(); }
    bool verify() override {
        table_.trie().verify();
        return true;
    }

private:
    LpmTools::PartitionedTable table_;
};

}  // namespace

std::unique_ptr<Table> libraryTable(Nimbal::AddressFamily af) {
    return std::make_unique<LibraryTable>(af);
}

std::unique_ptr<Table> partitionedTable(Nimbal::AddressFamily af) {
    return std::make_unique<PartitionedLibraryTable>(af);
}

}  // namespace LpmBenchmarks
