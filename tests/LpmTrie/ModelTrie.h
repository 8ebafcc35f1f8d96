#pragma once

#include <tests/LpmTrie/ModelPrefix.h>

#include <LpmTrie/LpmTrie.h>

#include <utility>
#include <vector>

namespace TrieModel {

Nimbal::IpGenPrefix ipPrefix(Nimbal::AddressFamily af, Prefix const& prefix);
Prefix modelPrefix(Nimbal::IpGenPrefix const& prefix);
inline Prefix modelPrefix(LpmTrie::Node const& node) {
    return modelPrefix(node.prefixRef()->prefix());
}

/** A trie that notes the calls of its hooks. */
class RecordingTrie : public LpmTrie::Trie {
public:
    struct Move {
        LpmTrie::Node* node;
        LpmTrie::PartitionId::Ptr oldPartitionId;
        LpmTrie::PartitionId::Ptr newPartitionId;
        Vexo::U32 oldHwTable;
    };
    struct Calls {
        std::vector<Prefix> made;
        std::vector<Prefix> freed;
        std::vector<Move> moves;
    };

    explicit RecordingTrie(Nimbal::AddressFamily af) : Trie(1) { afIs(af); }
    /** The calls since it was last asked. */
    Calls takeCalls() { return std::exchange(calls_, {}); }

    LpmTrie::Node* allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                                bool partitionNode, LpmTrie::PartitionId::Ptr const& partitionId,
                                Vexo::U32 hwTable) override;
    void deallocateNode(LpmTrie::Node* node) override;
    void movedNode(LpmTrie::Node* node, LpmTrie::PartitionId::Ptr const& oldPartitionId,
                   Vexo::U32 oldHwTable) override;

private:
    Calls calls_;
};

}  // namespace TrieModel
