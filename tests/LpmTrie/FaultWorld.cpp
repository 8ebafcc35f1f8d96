#include <tests/LpmTrie/FaultWorld.h>

#include <algorithm>

namespace TrieTests {

namespace {

String idText(PartitionId const* id) {
    return id != nullptr ? std::to_string(id->id().value()) : "none";
}

/** The node after `node` in the order of `placedNodes`, found without memory of the way. */
Node* next(Node* node) {
    for (U32 const bit : {0U, 1U}) {
        if (node->bitNode(bit) != nullptr) {
            return node->bitNode(bit);
        }
    }
    for (Node* parent = node->parent(); parent != nullptr; node = parent, parent = node->parent()) {
        if (parent->bitNode(0) == node && parent->bitNode(1) != nullptr) {
            return parent->bitNode(1);
        }
    }
    return nullptr;
}

}  // namespace

Node* ClientTrie::allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                               bool partitionNode, PartitionId::Ptr const& partitionId,
                               U32 hwTable) {
    if (inAllocateNode) {
        inAllocateNode();
    }
    if (++allocateCalls == failingAllocate) {
        throw Refusal{allocateCalls};
    }
    Node* const node = Trie::allocateNode(prefixRef, fibRoute, partitionNode, partitionId, hwTable);
    ++nodesAlive;
    return node;
}

void ClientTrie::deallocateNode(Node* node) {
    if (inDeallocateNode) {
        inDeallocateNode();
    }
    Trie::deallocateNode(node);
    --nodesAlive;
}

void ClientTrie::movedNode(Node* node, PartitionId::Ptr const& oldPartitionId, U32 oldHwTable) {
    if (inMovedNode) {
        inMovedNode();
    }
    ASSERT_LT(reports.size(), reports.capacity());
    reports.push_back(
        {node, oldPartitionId.get(), oldHwTable, node->partitionId().get(), node->hwTable()});
    if (failingReport && failingReport(reports.size())) {
        throw Refusal{reports.size()};
    }
}

FaultWorld::FaultWorld(FaultOperation const& operation) {
    trie_->afIs(AddressFamily::ipv4);
    if (operation.filled) {
        fill();
    }
    operation.prepare(*this);
    trie_->allocateCalls = 0;
    trie_->reports.clear();
}

FaultWorld::~FaultWorld() {
    trie_->inDeallocateNode = nullptr;
    removeAll(*trie_);
    EXPECT_EQ(trie_->nodesAlive, 0U);
}

void FaultWorld::fill() const {
    auto const route = [this](String const& text, PartitionId::Ptr const& id) {
        trie_->insertFromRoot(prefix(text), true, false, id, hwTable);
    };
    trie_->insertFromRoot(prefix("10.0.0.0/8"), false, true, outer, hwTable);
    trie_->insertFromRoot(prefix("10.2.0.0/16"), true, true, inner, hwTable);
    for (char const* const text : {"10.1.0.0/16", "10.1.1.0/24", "10.1.2.0/24"}) {
        route(text, outer);
    }
    for (U32 third = 0; third < 12; ++third) {
        route("10.200." + std::to_string(third) + ".0/24", outer);
    }
    for (char const* const text : {"10.2.1.0/24", "10.2.2.0/24"}) {
        route(text, inner);
    }
}

Node* FaultWorld::at(IpGenPrefix const& prefix) const {
    Node* node = trie_->root();
    while (node != nullptr && node->prefixRef()->prefix() != prefix) {
        node = next(node);
    }
    return node;
}

FaultWorld::State FaultWorld::state() const {
    State state{snapshot(*trie_),
                {},
                {},
                bitmap->count(),
                trie_->nodesAlive,
                TestSupport::liveObjects(),
                trie_->reports.size()};
    for (PartitionId::Ptr const& id : {outer, inner, fresh}) {
        state.references.push_back(id->references());
    }
    for (PlacedNode const& placed : placedNodes(trie_->root())) {
        state.references.push_back(placed.node->prefixRef()->references());
    }
    if (moved) {
        state.references.push_back(moved->references());
        for (TrieNodesInfo::VexoNodeInfo const& entry : moved->nodeInfo()) {
            state.records.emplace_back(entry.key().prefixRef().get(),
                                       entry.key().oldPartitionId().get(),
                                       entry.key().newPartitionId().get(), entry.value());
        }
        std::ranges::sort(state.records);
    }
    return state;
}

std::vector<String> FaultWorld::picture() const {
    std::vector<String> lines = drawing(*trie_);
    for (PlacedNode const& placed : placedNodes(trie_->root())) {
        lines.push_back("pending " + std::to_string(placed.node->pendingState().value()));
    }
    for (ClientTrie::Report const& report : trie_->reports) {
        std::ostringstream text;
        text << "report " << report.node->prefixRef()->prefix() << " from " << idText(report.oldId)
             << " in " << report.oldHwTable << " to " << idText(report.newId) << " in "
             << report.newHwTable;
        lines.push_back(text.str());
    }
    std::vector<String> records;
    if (moved) {
        for (TrieNodesInfo::VexoNodeInfo const& entry : moved->nodeInfo()) {
            records.push_back("record " + entry.key().prefixRef()->prefix().stringValue() +
                              " from " + idText(entry.key().oldPartitionId().get()) + " to " +
                              idText(entry.key().newPartitionId().get()) +
                              (entry.value() ? "" : ", not set"));
        }
    }
    std::ranges::sort(records);
    lines.insert(lines.end(), records.begin(), records.end());
    return lines;
}

void expectEqual(FaultWorld::State const& state, FaultWorld::State const& before) {
    EXPECT_EQ(state.nodes, before.nodes);
    EXPECT_EQ(state.references, before.references);
    EXPECT_EQ(state.records, before.records);
    EXPECT_EQ(state.bits, before.bits);
    EXPECT_EQ(state.nodesAlive, before.nodesAlive);
    EXPECT_EQ(state.liveObjects, before.liveObjects);
    EXPECT_EQ(state.reports, before.reports);
}

}  // namespace TrieTests
