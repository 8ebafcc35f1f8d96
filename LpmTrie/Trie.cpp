#include <LpmTrie/Module.h>
#include <LpmTrie/Trie.h>
#include <LpmTrie/TrieHooks.h>

namespace LpmTrie {

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
    LPM_TRACE(8, signature, " prefix:", prefixRef.get(), " fibRoute:", fibRoute,
              " partitionNode:", partitionNode, " partitionid:", partitionId.get(),
              " hwTable:", hwTable);
    auto* const node = new Node(prefixRef, fibRoute, partitionNode, partitionId, hwTable);
    LPM_TRACE(8, signature, "node:", node);
    return node;
}

void Trie::deallocateNode(Node* node) {
    static constexpr char const* signature =
        "virtual void LpmTrie::Trie::deallocateNode(LpmTrie::Node*)";
    LPM_TRACE(8, signature, node);
    LPM_SASSERT(!node->partitionNode() && !node->fibRoute(), " node ", node);
    delete node;
}

Node* Trie::makeNode(Nimbal::IpGenPrefix const& prefix, bool fibRoute, bool partitionNode,
                     PartitionId::Ptr const& partitionId, U32 hwTable) {
    auto const prefixRef = Nimbal::IpGenPrefixRef::IpGenPrefixRefIs(prefix);
    HookCall const hook(*this);
    return allocateNode(prefixRef, fibRoute, partitionNode, partitionId, hwTable);
}

void Trie::freeNode(Node* node) noexcept {
    HookCall const hook(*this);
    deallocateNode(node);
}

/** Hangs `node` under `parent`, or makes it the root; the only place where such a link is made. */
void Trie::hangUnder(Node* parent, U32 bit, Node* node) {
    if (node != nullptr) {
        node->parentIs(parent);
    }
    if (parent == nullptr) {
        rootIs(node);
    } else {
        parent->bitNodeIs(bit, node);
    }
}

}  // namespace LpmTrie
