#pragma once

#include <LpmTrie/LpmTrie.h>

#include <vector>

namespace LpmTools {

using Vexo::U32;
using Vexo::U64;

/** What one table looks like in its trie. */
struct TableFigures {
    U64 routes = 0;
    U64 nodes = 0;
    U64 internalNodes = 0;
    double meanDepth = 0;  // nodes on the path from the root to a route, both included
    U32 maxDepth = 0;
    U64 partitions = 0;
    U64 emptyPartitions = 0;
    U64 largestPartition = 0;          // routes
    std::array<U64, 10> fillTenths{};  // partitions by fill: 0 to 10 %, ..., over 90 %
    double meanFill = 0;               // routes a partition, as a part of its bound
};

/**
 * A table of one family in one trie, under a default partition at the prefix of length 0, and cut
 * into partitions of at most `bucket` routes. Each cut counts as carried out at once: nothing stays
 * pending. Emptied, and its partition numbers given back, at the end.
 */
class PartitionedTable {
public:
    PartitionedTable(Nimbal::AddressFamily af, U32 bucket);
    PartitionedTable(PartitionedTable const&) = delete;
    PartitionedTable& operator=(PartitionedTable const&) = delete;
    ~PartitionedTable();

    /** A new route, in the partition that covers it, which is cut if it is too full then. */
    void insert(Nimbal::IpGenPrefix const& prefix);
    /** A look-up along the prefix ends at its route, which carries its partition's label. */
    bool find(Nimbal::IpGenPrefix const& prefix);
    void remove(Nimbal::IpGenPrefix const& prefix);
    /** Takes all partitions away; routes must have gone. True when the trie is empty then. */
    bool removePartitions();

    LpmTrie::Trie& trie() noexcept { return *trie_; }
    /** Routes that have changed their partition so far, the cut nodes' own included. */
    U64 movedRoutes() const noexcept { return movedRoutes_; }
    /** Those that the last insertion has moved. */
    LpmTrie::TrieNodesInfo::Map const& lastMoves() const noexcept { return moved_->nodeInfo(); }
    TableFigures figures();

private:
    LpmTrie::PartitionId::Ptr newPartitionId();
    void cut(LpmTrie::Node* partitionNode);

    U32 const bucket_;
    LpmTrie::Trie::Ptr trie_;
    Torvel::Bitmap::Ptr partitionNumbers_;
    LpmTrie::TrieNodesInfo::Ptr moved_;
    U64 movedRoutes_ = 0;
};

}  // namespace LpmTools
