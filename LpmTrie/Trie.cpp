#include <LpmTrie/Module.h>
#include <LpmTrie/Trie.h>
#include <LpmTrie/TrieNodes.h>

namespace LpmTrie {

Trie::Trie(U32 vrfId) noexcept : vrfId_(vrfId) {}

Trie::Ptr Trie::TrieIs(U32 vrfId) {
    Ptr trie(new Trie(vrfId));
    trie->hasNotificationActiveIs(true);
    return trie;
}

Trie::Ptr trieFactory(U32 vrfId) {
    return Trie::TrieIs(vrfId);
}

Vexo::FwkType const* Trie::fwkType() const {
    return &fwkType_;
}

// Deliberate: nodes that are still in the trie are not freed.
Trie::~Trie() = default;

Node* Trie::allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                         bool partitionNode, PartitionId::Ptr const& partitionId, U32 hwTable) {
    static constexpr char const* signature =
        "virtual LpmTrie::Node* LpmTrie::Trie::allocateNode(const Ptr&, bool, bool, const Ptr&, "
        "U32)";
    bool const traced = Detail::trace.mayBeOn(8, 8);
    LPM_TRACE_IF(traced, 8, signature, " prefix:", prefixRef.get(), " fibRoute:", fibRoute,
                 " partitionNode:", partitionNode, " partitionid:", partitionId.get(),
                 " hwTable:", hwTable);
    auto* const node = new Node(prefixRef, fibRoute, partitionNode, partitionId, hwTable);
    LPM_TRACE_IF(traced, 8, signature, "node:", node);
    return node;
}

void Trie::deallocateNode(Node* node) {
    static constexpr char const* signature =
        "virtual void LpmTrie::Trie::deallocateNode(LpmTrie::Node*)";
    LPM_TRACE(8, signature, node);
    LPM_SASSERT(!node->partitionNode() && !node->fibRoute(), " node ", node);
    delete node;
}

/** The index, when there is one that may lead a search and knows all nodes. */
TrieIndex const* Trie::usableIndex() const noexcept {
    return settled(unsettledIndex());
}

void Trie::makeIndexWhenLarge() {
    U32 const routes = root_->routeCount();
    if (routes >= TrieIndex::threshold.load(std::memory_order_relaxed) &&
        routes / 2 >= indexTriedAt_) [[unlikely]] {
        index_ = TrieIndex::of(root_, af_);
        indexTriedAt_ = routes;
    }
}

/** Whose root or family has been set by hand goes without an index until it has been empty. */
void Trie::giveIndexUp() noexcept {
    index_->giveUp();
}

}  // namespace LpmTrie
