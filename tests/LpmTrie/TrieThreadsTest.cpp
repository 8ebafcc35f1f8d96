#include <LpmTrie/LpmTrie.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Support/ThreadSafeMode.h>
#include <tests/Support/Threads.h>

#include <gtest/gtest.h>

#include <atomic>
#include <vector>

using namespace LpmTrie;

namespace {

using TrieThreadsTest = TestSupport::LeakCheck;

constexpr U32 routes = 400;

Nimbal::IpGenPrefix route(U32 number) {
    return {Nimbal::IpAddr(0x0a000000U + (number << 8)), 24};
}

PartitionId::Ptr newId(Torvel::Bitmap::Ptr const& numbers) {
    PartitionIdValue const number(numbers->takeNextFree());
    return PartitionId::PartitionIdIs(number, ~0U, numbers);
}

/** One thread's work: a trie of its own, cut into partitions with numbers from the shared bitmap.
 */
void fillAndEmpty(Torvel::Bitmap::Ptr const& numbers,
                  std::vector<Vexo::Ptr<Nimbal::IpGenPrefixRef>> const& shared) {
    auto const trie = trieFactory(0);
    trie->afIs(Nimbal::AddressFamily::ipv4);
    auto const top = trie->insertFromRoot({Nimbal::IpAddr(), 0}, false, true, newId(numbers), 1);
    for (auto const& holder : shared) {
        Vexo::Ptr<Nimbal::IpGenPrefixRef> const mine = holder;
        Node* const partition = trie->findPartitionNode(mine->prefix(), false).partitionNode();
        trie->insert(mine->prefix(), partition, true, false, partition->partitionId(),
                     partition->hwTable());
        if (partition->partitionRouteCount() > 32) {
            auto const moved = trieNodesInfoFactory();
            Node* const cut = trie->findMergeNodeViaSplitCount(partition, 16, true).node();
            PartitionId::Ptr const oldId = cut->partitionId();
            cut->hwTableIs(1);
            cut->partitionIdIs(newId(numbers));
            cut->partitionNodeIs(true);
            trie->addMovedNode(cut, oldId, moved);
            trie->updateNewPartition(cut, moved, false);
            cut->pendingStateIs(PendingState());
        }
    }
    trie->verify();
    ASSERT_EQ(top.node()->routeCount(), shared.size());
    for (auto const& holder : shared) {
        trie->remove(holder->prefix());
    }
    ASSERT_EQ(top.node()->routeCount(), 0U);
    removeAll(*trie);
}

TEST_F(TrieThreadsTest, TriesOnTwoThreadsShareABitmapAndPrefixHolders) {
    TestSupport::ThreadSafeMode const mode;
    auto const numbers = Torvel::Bitmap::BitmapIs();
    std::vector<Vexo::Ptr<Nimbal::IpGenPrefixRef>> shared;
    for (U32 number = 0; number < routes; ++number) {
        shared.push_back(Nimbal::IpGenPrefixRef::IpGenPrefixRefIs(route(number)));
    }
    TestSupport::inThreads(2, [&](std::size_t) {
        for (int round = 0; round < 3; ++round) {
            fillAndEmpty(numbers, shared);
        }
    });
    EXPECT_EQ(numbers->count(), 0U);
    for (auto const& holder : shared) {
        EXPECT_EQ(holder->references(), 1U);
    }
}

}  // namespace
