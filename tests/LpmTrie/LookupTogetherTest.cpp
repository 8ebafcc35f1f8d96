#include <tests/LpmTrie/IndexFrom.h>
#include <tests/LpmTrie/IndexPrefixes.h>

#include <LpmTrie/RouteQueries.h>

namespace {

using namespace TrieTests;

/* Look-ups of many prefixes at once, beside the same ones one after the other. */

struct LookupTogetherTest
    : TestSupport::LeakChecked<testing::TestWithParam<std::tuple<AddressFamily, U32>>> {
    LookupTogetherTest() { trie->afIs(af); }
    ~LookupTogetherTest() override { removeAll(*trie); }

    void grow(U32 routes) {
        auto const id = PartitionId::PartitionIdIs(PartitionIdValue(3), ~0U, nullptr);
        for (U32 i = 0; i < routes; ++i) {
            IpGenPrefix const prefix = sparsePrefix(af, random);
            bool const partition = random.below(20) == 0;
            auto const& label = partition ? id : noId;
            if (!insertionRefusal(*trie, prefix, nullptr, !partition, partition, label, 0)) {
                Node* const node =
                    trie->insertFromRoot(prefix, !partition, partition, label, 0).node();
                if (partition && random.below(3) == 0) {
                    trie->mergePartitionNodeCount(node);
                    node->partitionNodeIs(false);
                    node->pendingStateIs(PendingState::removePartition_());
                }
            }
        }
    }
    std::vector<IpGenPrefix> queries(U32 count) {
        std::vector<IpGenPrefix> all;
        for (U32 i = 0; i < count; ++i) {
            all.push_back(sparsePrefix(af, random));
        }
        return all;
    }
    std::vector<TrieReturnCode> oneByOne(std::vector<IpGenPrefix> const& prefixes, bool pending) {
        std::vector<TrieReturnCode> results;
        for (IpGenPrefix const& prefix : prefixes) {
            results.push_back(trie->findPartitionNode(prefix, pending));
        }
        return results;
    }
    std::vector<TrieReturnCode> together(std::vector<IpGenPrefix> const& prefixes, bool pending) {
        std::vector<TrieReturnCode> results(prefixes.size());
        trie->findPartitionNodes(prefixes, pending, results);
        return results;
    }

    AddressFamily const af = std::get<0>(GetParam());
    U32 const seed = 20261122;
    Random random{seed};
    IndexFrom const from{std::get<1>(GetParam())};
    PartitionId::Ptr const noId;
    Trie::Ptr const trie = LpmTrie::trieFactory(0);
};

TEST_P(LookupTogetherTest, answersAreThoseOfOneAfterTheOther) {
    SCOPED_TRACE(seed);
    for (U32 round = 0; round < 8; ++round) {
        for (U32 const count : {0U, 1U, 15U, 16U, 17U, 100U}) {
            std::vector<IpGenPrefix> const prefixes = queries(count);
            for (bool const pending : {false, true}) {
                EXPECT_EQ(together(prefixes, pending), oneByOne(prefixes, pending));
            }
        }
        grow(round * 20);
    }
}

TEST_P(LookupTogetherTest, tracesAreThoseOfOneAfterTheOther) {
    SCOPED_TRACE(seed);
    grow(100);
    std::vector<IpGenPrefix> const prefixes = queries(40);
    for (String const levels : {"LpmTrie/7-9", "LpmTrie/7", "LpmTrie/8"}) {
        TestSupport::TraceCapture const single(levels);
        oneByOne(prefixes, true);
        std::vector<String> const expected = single.texts();
        EXPECT_FALSE(expected.empty());
        TestSupport::TraceCapture const capture(levels);
        together(prefixes, true);
        EXPECT_EQ(capture.texts(), expected) << levels;
    }
}

INSTANTIATE_TEST_SUITE_P(Tries, LookupTogetherTest,
                         testing::Combine(testing::Values(AddressFamily::ipv4, AddressFamily::ipv6),
                                          testing::Values(U32{3}, never)));

using LookupTogetherDeathTest = TrieFixture;

TEST_F(LookupTogetherDeathTest, asManyResultsAsPrefixesAreWanted) {
    std::vector<IpGenPrefix> const prefixes(2, prefix("10.0.0.0/8"));
    std::vector<TrieReturnCode> results(3);
    EXPECT_EXIT(trie().findPartitionNodes(prefixes, false, results), aborts,
                trieAssertion("prefixes.size() == results.size()", "prefixes:2 results:3",
                              "void LpmTrie::Trie::findPartitionNodes(std::span<const "
                              "Nimbal::IpGenPrefix>, bool, std::span<LpmTrie::TrieReturnCode>)"));
}

}  // namespace
