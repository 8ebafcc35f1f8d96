#pragma once

#include <tests/LpmTrie/PartitionWorld.h>

namespace LpmTrieTest {

/**
 * Three partitions of table 1 with nothing pending, and no report yet; `id` is a node's partition:
 *
 *     top      10.0.0.0/8      partition 1
 *                10.0.0.0/16     route, 1
 *     between    10.128.0.0/9    internal
 *                  10.128.0.0/16   route, 1
 *     from         10.192.0.0/10   partition 2
 *                    10.192.0.0/11   internal
 *                      10.192.0.0/16   route, 2
 *                      10.208.0.0/12   partition 3 and route
 *                        10.208.0.0/16   route, 3
 *                    10.224.0.0/16   route, 2
 */
class MergeWorld : public PartitionWorld {
protected:
    MergeWorld() { build(); }

    void build() {
        partition("10.0.0.0/8", 1);
        route("10.0.0.0/16", 1);
        route("10.128.0.0/16", 1);
        partition("10.192.0.0/10", 2);
        route("10.192.0.0/16", 2);
        route("10.224.0.0/16", 2);
        routeAndPartition("10.208.0.0/12", 3);
        route("10.208.0.0/16", 3);
        settle();
    }
    Node* top() const { return at("10.0.0.0/8"); }
    Node* between() const { return at("10.128.0.0/9"); }
    Node* from() const { return at("10.192.0.0/10"); }

    void merge(Node* to, U32 number) {
        trie_->mergePartition(from(), to, id(number), false, moved_);
    }
    void create(Node* to, U32 number) {
        trie_->mergePartition(from(), to, id(number), true, moved_);
    }
    /** The numbers of all nodes' ids in pre-order, "-" for none. */
    String idNumbers() const {
        String text;
        for (Node const* const node : nodes()) {
            text += text.empty() ? "" : " ";
            text += node->partitionId() ? streamed(node->partitionId()->id()) : "-";
        }
        return text;
    }

    TrieNodesInfo::Ptr moved_ = LpmTrie::trieNodesInfoFactory();
};

}  // namespace LpmTrieTest
