#include <tests/LpmTrie/TrieFixture.h>
#include <tests/LpmTrie/VerifySignatures.h>
#include <tests/Support/AllocationFailure.h>

/* Where the verification goes, and what it leaves. */

namespace {

using namespace TrieTests;

class VerifyWalkTest : public TrieFixture {
protected:
    static String routeCountContext(Node* node) {
        Node* const child0 = node->bitNode(0);
        Node* const child1 = node->bitNode(1);
        U32 const below = (child0 != nullptr ? child0->routeCount() : 0) +
                          (child1 != nullptr ? child1->routeCount() : 0);
        std::ostringstream text;
        text << " current: " << node->routeCount() - U32{node->fibRoute()} << " child:" << below
             << " current node:" << node << " child 0:" << child0 << " child 1:" << child1;
        return text.str();
    }
};

/** Whatever node it is, whole trie and nested partitions included. */
TEST_F(VerifyWalkTest, everyNodeIsChecked) {
    PartitionId::Ptr const outer = partitionId(1);
    PartitionId::Ptr const inner = partitionId(2);
    partition("10.0.0.0/8", outer);
    partition("10.1.0.0/16", inner);
    for (char const* text : {"10.1.1.0/24", "10.1.2.0/24", "10.1.2.128/25"}) {
        route(text, inner);
    }
    for (char const* text : {"10.2.0.0/16", "10.200.0.0/16", "10.200.128.0/17"}) {
        route(text, outer);
    }
    route("192.0.2.0/24");
    trie().verify();
    auto const nodes = placedNodes(trie().root());
    ASSERT_EQ(nodes.size(), 12U);
    for (PlacedNode const& placed : nodes) {
        placed.node->routeCountInc(1);
        // The parent, which comes first, finds the sum of its children wrong.
        Node* const finder = placed.bit == 3 ? placed.node : placed.node->parent();
        EXPECT_EXIT(trie().verify(), aborts,
                    trieAssertion("totalRouteCount == childTotalRouteCount",
                                  routeCountContext(finder), Signature::verify));
        placed.node->routeCountDec(1);
    }
}

TEST_F(VerifyWalkTest, changesNothingAndAllocatesNothing) {
    PartitionId::Ptr const id = partitionId(5);
    routeAndPartition("10.0.0.0/8", id, 1);
    route("10.1.0.0/16", id, 1);
    route("10.2.0.0/16", id, 1);
    route("192.0.2.0/24");
    trie().findPartitionNode(prefix("10.1.0.0/16"), false);  // new nodes enter an index at a search
    auto const before = snapshot(trie());
    U32 const references = id->references();
    TestSupport::AllocationCount const allocations;
    trie().verify();
    EXPECT_EQ(allocations.value(), 0U);
    EXPECT_EQ(snapshot(trie()), before);
    EXPECT_EQ(id->references(), references);
}

}  // namespace
