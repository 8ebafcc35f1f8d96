#pragma once

#include <LpmTrie/LpmTrie.h>

#include <span>

namespace LpmBenchmarks {

/**
 * A trie that holds one partition, at length 0, to be split in two and merged again. The searches
 * ask what a client asks before it does so. Half of the routes are cut off, as nearly as it goes.
 */
class PartitionWork {
public:
    /** `routes` in random order, of one family. */
    explicit PartitionWork(std::span<Nimbal::IpGenPrefix const> routes);
    PartitionWork(PartitionWork const&) = delete;
    PartitionWork& operator=(PartitionWork const&) = delete;
    ~PartitionWork();

    /** What the searches find is what `split` would cut off; null if there is nothing. */
    LpmTrie::Node* findSplit();
    /** Cuts off what `findSplit` has found. */
    void split(LpmTrie::Node* node);
    /** The searches for what can be merged; there must have been a split. */
    LpmTrie::Node* findRedistribution();
    LpmTrie::Node* findParent();
    /** Undoes the split. */
    void merge();

    Vexo::U32 routes() const noexcept { return routes_; }
    /** How many routes the last split or merge has moved. */
    std::size_t moved() const noexcept { return moved_->nodeInfo().size(); }

private:
    LpmTrie::PartitionId::Ptr newId();

    LpmTrie::Trie::Ptr const trie_ = LpmTrie::trieFactory(0);
    Torvel::Bitmap::Ptr const numbers_ = Torvel::Bitmap::BitmapIs();
    LpmTrie::TrieNodesInfo::Ptr const moved_ = LpmTrie::trieNodesInfoFactory();
    LpmTrie::Node* top_ = nullptr;
    LpmTrie::Node* cut_ = nullptr;
    Vexo::U32 routes_ = 0;
};

}  // namespace LpmBenchmarks
