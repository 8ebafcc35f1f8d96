#include <tests/LpmTrie/ModelTrie.h>

namespace TrieModel {

using LpmTrie::Node;
using LpmTrie::PartitionId;
using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;
using Vexo::U32;

IpGenPrefix ipPrefix(AddressFamily af, Prefix const& prefix) {
    std::array<U32, 4> words{};
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = static_cast<U32>(prefix.bits[i / 2] >> (i % 2 == 0 ? 32 : 0));
    }
    return af == AddressFamily::ipv6 ? IpGenPrefix(Nimbal::Ip6Addr::fromWords(words), prefix.len)
                                     : IpGenPrefix(Nimbal::IpAddr(words[0]), prefix.len);
}

Prefix modelPrefix(IpGenPrefix const& prefix) {
    auto const pair = [&](U32 word) {
        return std::uint64_t{prefix.word(word)} << 32 | prefix.word(word + 1);
    };
    return {{pair(0), pair(2)}, prefix.len()};
}

Node* RecordingTrie::allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                                  bool partitionNode, PartitionId::Ptr const& partitionId,
                                  U32 hwTable) {
    calls_.made.push_back(modelPrefix(prefixRef->prefix()));
    return Trie::allocateNode(prefixRef, fibRoute, partitionNode, partitionId, hwTable);
}

void RecordingTrie::deallocateNode(Node* node) {
    calls_.freed.push_back(modelPrefix(*node));
    Trie::deallocateNode(node);
}

void RecordingTrie::movedNode(Node* node, PartitionId::Ptr const& oldPartitionId, U32 oldHwTable) {
    calls_.moves.push_back({node, oldPartitionId, node->partitionId(), oldHwTable});
    Trie::movedNode(node, oldPartitionId, oldHwTable);
}

}  // namespace TrieModel
