#include <tests/LpmTrie/IndexFrom.h>
#include <tests/LpmTrie/IndexPrefixes.h>

#include <LpmTrie/RouteQueries.h>

#include <algorithm>

namespace {

using namespace TrieTests;

/* Routes that come in order, and walks, each in a trie with an index beside one without. */

IpGenPrefix randomPrefix(AddressFamily af, Random& random) {
    auto const address = sparseAddress(af, random, 0xff);
    U32 const longest = af == AddressFamily::ipv6 ? 128 : 32;
    // Long ones abound, as in the Internet's tables; the index does not know all of these.
    U32 const len =
        random.below(8) == 0 ? random.below(longest + 1) : longest / 2 + random.below(longest / 2);
    return IpGenPrefix(af, address, len).hostBitsCleared();
}

std::vector<IpGenPrefix> orderedPrefixes(AddressFamily af, Random& random, U32 count) {
    std::vector<IpGenPrefix> prefixes;
    for (U32 i = 0; i < count; ++i) {
        prefixes.push_back(randomPrefix(af, random));
    }
    std::sort(prefixes.begin(), prefixes.end());
    prefixes.erase(std::unique(prefixes.begin(), prefixes.end()), prefixes.end());
    return prefixes;
}

struct IndexOrderTest : TestSupport::LeakChecked<testing::TestWithParam<AddressFamily>> {
    IndexOrderTest() {
        plain->afIs(GetParam());
        indexed->afIs(GetParam());
    }
    ~IndexOrderTest() override {
        removeAll(*plain);
        removeAll(*indexed);
    }

    /** The same on both; answers what it did in the first. */
    template <class Action>
    void onBoth(Action const& action) {
        {
            IndexFrom const none(never);
            action(*plain);
        }
        IndexFrom const early(3);
        action(*indexed);
    }
    void insertOnBoth(IpGenPrefix const& prefix) {
        onBoth([&](Trie& trie) { trie.insertFromRoot(prefix, true, false, nullptr, 0); });
    }
    void expectAlike() {
        ASSERT_EQ(drawing(*indexed), drawing(*plain));
        indexed->verify();
    }
    std::vector<IpGenPrefix> walked(Trie& trie, bool stopAtPartition, U32 skipped) {
        std::vector<IpGenPrefix> prefixes;
        auto step = trie.preorderNextNode(nullptr, nullptr, 0, stopAtPartition, false);
        for (U32 i = 0; step.node() != nullptr; ++i) {
            prefixes.push_back(step.node()->prefixRef()->prefix());
            bool const skips = skipped != 0 && i % skipped == skipped - 1;
            step = trie.preorderNextNode(nullptr, step.node(), step.level, stopAtPartition, skips);
        }
        return prefixes;
    }

    U32 const seed = 20261121;
    Random random{seed};
    Trie::Ptr const plain = LpmTrie::trieFactory(0);
    Trie::Ptr const indexed = LpmTrie::trieFactory(0);
};

TEST_P(IndexOrderTest, routesInOrderMakeTheSameTrie) {
    SCOPED_TRACE(seed);
    std::vector<IpGenPrefix> const prefixes = orderedPrefixes(GetParam(), random, 3000);
    for (IpGenPrefix const& prefix : prefixes) {
        insertOnBoth(prefix);
    }
    expectAlike();
}

TEST_P(IndexOrderTest, routesInReverseOrderMakeTheSameTrie) {
    SCOPED_TRACE(seed);
    std::vector<IpGenPrefix> prefixes = orderedPrefixes(GetParam(), random, 1500);
    std::reverse(prefixes.begin(), prefixes.end());
    for (IpGenPrefix const& prefix : prefixes) {
        insertOnBoth(prefix);
    }
    expectAlike();
}

TEST_P(IndexOrderTest, routesNearlyInOrderMakeTheSameTrie) {
    SCOPED_TRACE(seed);
    for (std::ptrdiff_t const apart : {2, 10, 60}) {
        std::vector<IpGenPrefix> prefixes = orderedPrefixes(GetParam(), random, 3000);
        std::mt19937 order(seed);
        for (auto at = prefixes.begin(); at != prefixes.end();) {
            auto const end = at + std::min(apart, prefixes.end() - at);
            std::shuffle(at, end, order);
            at = end;
        }
        for (IpGenPrefix const& prefix : prefixes) {
            insertOnBoth(prefix);
        }
        expectAlike();
        onBoth([](Trie& trie) { removeAll(trie); });
    }
}

TEST_P(IndexOrderTest, anythingMayHappenBetweenRoutesInOrder) {
    SCOPED_TRACE(seed);
    std::vector<IpGenPrefix> const prefixes = orderedPrefixes(GetParam(), random, 2000);
    auto const id = PartitionId::PartitionIdIs(PartitionIdValue(3), ~0U, nullptr);
    for (std::size_t i = 0; i < prefixes.size(); ++i) {
        insertOnBoth(prefixes[i]);
        IpGenPrefix const earlier = prefixes[i - std::min<std::size_t>(i, random.below(6))];
        bool const flag = random.below(2) == 0;
        switch (random.below(20)) {
        case 0:
        case 1:
            onBoth([&](Trie& trie) { trie.remove(earlier); });
            break;
        case 2:
            onBoth([&](Trie& trie) {
                Node* const node = LpmTrie::findExact(trie, earlier);
                if (node != nullptr && node->pendingState().value() == 0 && !node->internal()) {
                    node->pendingStateIs(flag ? PendingState::removePartition_() : PendingState());
                }
            });
            break;
        case 3:
            onBoth([&](Trie& trie) {
                if (!insertionRefusal(trie, earlier, nullptr, false, true, id, 0)) {
                    trie.insertFromRoot(earlier, false, true, id, 0);
                }
            });
            break;
        case 4:
            EXPECT_EQ(walked(*indexed, flag, 0), walked(*plain, flag, 0));
            break;
        default:
            break;
        }
        if (i % 100 == 0) {
            ASSERT_EQ(drawing(*indexed), drawing(*plain)) << "at route " << i;
        }
    }
    ASSERT_EQ(drawing(*indexed), drawing(*plain));
}

TEST_P(IndexOrderTest, walksVisitTheSameNodes) {
    SCOPED_TRACE(seed);
    std::vector<IpGenPrefix> prefixes = orderedPrefixes(GetParam(), random, 2000);
    std::shuffle(prefixes.begin(), prefixes.end(), std::mt19937(seed));
    for (IpGenPrefix const& prefix : prefixes) {
        insertOnBoth(prefix);
    }
    for (U32 const skipped : {0U, 2U, 7U, 50U}) {
        EXPECT_EQ(walked(*indexed, false, skipped), walked(*plain, false, skipped)) << skipped;
    }
}

TEST_P(IndexOrderTest, walksGoOnWhenRoutesComeBetweenTheirSteps) {
    SCOPED_TRACE(seed);
    std::vector<IpGenPrefix> prefixes = orderedPrefixes(GetParam(), random, 2000);
    std::shuffle(prefixes.begin(), prefixes.end(), std::mt19937(seed));
    auto const step = [](Trie& trie, auto& at) {
        at = trie.preorderNextNode(nullptr, at.node(), at.level, false, false);
        return at.node() != nullptr ? at.node()->stringValue() : String("the end");
    };
    LpmTrie::TrieTraversalReturnCode inPlain;  // begins at the root, and begins again at the end
    LpmTrie::TrieTraversalReturnCode inIndexed;
    U32 ends = 0;
    for (std::size_t i = 0; i < prefixes.size(); ++i) {
        insertOnBoth(prefixes[i]);
        for (U32 steps = random.below(20); steps != 0; --steps) {
            String const expected = step(*plain, inPlain);
            ASSERT_EQ(step(*indexed, inIndexed), expected) << "behind route " << i;
            ends += inPlain.node() == nullptr ? 1U : 0U;
        }
    }
    EXPECT_GT(ends, 5U);
}

TEST_P(IndexOrderTest, anIndexMadeLaterKnowsAllNodesAndRoles) {
    SCOPED_TRACE(seed);
    auto const id = PartitionId::PartitionIdIs(PartitionIdValue(3), ~0U, nullptr);
    IndexFrom const none(never);
    for (IpGenPrefix const& prefix : orderedPrefixes(GetParam(), random, 1000)) {
        bool const partition = random.below(30) == 0;
        indexed->insertFromRoot(prefix, !partition, partition, partition ? id : nullptr, 0);
    }
    U64 nodes = 0;
    U64 candidates = 0;
    auto const index = LpmTrie::TrieIndex::of(indexed->root(), GetParam());
    ASSERT_NE(index, nullptr);
    for (PlacedNode const& placed : placedNodes(indexed->root())) {
        EXPECT_TRUE(index->knows(placed.node)) << placed.node;
        bool const indexable = placed.node->len() <= LpmTrie::TrieIndex::longest;
        nodes += indexable ? 1U : 0U;
        candidates += indexable && placed.node->partitionNode() ? 1U : 0U;
    }
    EXPECT_EQ(index->nodeCount(), nodes);
    EXPECT_EQ(index->candidateCount(), candidates);
}

INSTANTIATE_TEST_SUITE_P(Families, IndexOrderTest,
                         testing::Values(AddressFamily::ipv4, AddressFamily::ipv6));

}  // namespace
