#include <LpmTrie/LpmTrie.h>
using namespace LpmTrie;

int main() {
    auto const prefix = [](char const* text) { return Nimbal::IpGenPrefix::fromString(text); };
    auto const numbers = Torvel::Bitmap::BitmapIs();
    auto const newId = [&](U32 n) {
        return PartitionId::PartitionIdIs(PartitionIdValue(n), ~0U, numbers);
    };
    auto const trie = trieFactory(0);  // routing instance 0
    trie->afIs(Nimbal::AddressFamily::ipv4);
    Node* const top = trie->insertFromRoot(prefix("0.0.0.0/0"), false, true, newId(1), 7).node();
    for (auto const* text : {"10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24", "192.168.0.0/16"}) {
        trie->insert(prefix(text), top, true, false, top->partitionId(), top->hwTable());
    }
    // Too many for a bucket of three: cut off about two, as partition 2 of hardware table 7.
    Node* const cut = trie->findMergeNodeViaSplitCount(top, 2, true).node();
    PartitionId::Ptr const oldId = cut->partitionId();
    auto const moved = trieNodesInfoFactory();  // the routes that the hardware must rewrite
    cut->hwTableIs(7);
    cut->partitionIdIs(newId(2));
    cut->partitionNodeIs(true);
    trie->addMovedNode(cut, oldId, moved);
    trie->updateNewPartition(cut, moved, false);
    trie->verify();
    trie->dump(1);  // to standard output
    removeAll(*trie);
}
