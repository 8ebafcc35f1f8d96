#include <tests/LpmTrie/PartitionWorld.h>
#include <tests/LpmTrie/SearchOracle.h>

namespace {

using namespace LpmTrieTest;
using LpmTrie::TrieFindMergeReturnCode;
using LpmTrie::TrieReturnCode;

constexpr U32 worlds = 1500;
constexpr U32 largestBound = 7;

/** The searches, against a search of all nodes for the one that answers. */
class MergeSearchBruteForceTest : public PartitionWorld {
protected:
    /** Runs `check` in one world after another, to the first that fails. */
    template <class Check>
    void inManyWorlds(Check const& check) {
        for (U32 seed = 1; seed <= worlds && !HasFailure(); ++seed) {
            SCOPED_TRACE(testing::Message() << "world of seed " << seed);
            std::mt19937 random(seed);
            oracle_.emplace(random);
            build(random);
            if (!HasFailure()) {
                check();
            }
            LpmTrie::removeAll(*trie_);
        }
    }
    std::vector<OracleNode> const& all() const { return oracle_->nodes(); }

    Node* nodeOf(OracleNode const* node) const {
        return node == nullptr ? nullptr : LpmTrie::findExact(*trie_, prefixOf(*node));
    }
    TrieFindMergeReturnCode answer(OracleMerge const& merge) const {
        TrieFindMergeReturnCode code;
        code.fromNodeIs(nodeOf(merge.from));
        code.toNodeIs(nodeOf(merge.to));
        code.dirty = merge.dirty;
        return code;
    }
    /** Of a failure: what was asked, with both answers. */
    static String told(OracleNode const& node, U32 bound) {
        return " for " + streamed(prefixOf(node)) + " and " + streamed(bound);
    }
    static String told(TrieFindMergeReturnCode const& code) {
        return "from " + streamed(code.fromNode()) + " to " + streamed(code.toNode()) +
               (code.dirty ? " dirty" : "");
    }

    std::optional<SearchOracle> oracle_;

private:
    static IpGenPrefix prefixOf(OracleNode const& node) {
        return {Nimbal::IpAddr(node.address), node.len};
    }

    /** The oracle's routes and partitions, inserted in any order. */
    void build(std::mt19937& random) {
        std::vector<OracleNode> order = all();
        std::ranges::shuffle(order, random);
        for (OracleNode const& node : order) {
            if (node.route || node.partition) {
                trie_->insertFromRoot(prefixOf(node), node.route, node.partition, nullptr, 1);
            }
        }
        trie_->reports.clear();
        ASSERT_EQ(nodes().size(), all().size());
        for (OracleNode const& node : all()) {
            Node* const made = nodeOf(&node);
            ASSERT_NE(made, nullptr) << prefixOf(node);
            ASSERT_EQ(made->partitionRouteCount(), oracle_->count(&node)) << made;
            made->hwTableIs(node.hwTable);
            made->pendingStateIs(pending(node.pending));
        }
    }
};

TEST_F(MergeSearchBruteForceTest, theSearchUpwards) {
    U32 found = 0;
    U32 dirty = 0;
    inManyWorlds([&] {
        for (OracleNode const& candidate : all()) {
            for (OracleNode const& source : all()) {
                for (U32 bound = 0; bound <= largestBound; ++bound) {
                    OracleMerge const expected = oracle_->mergeTo(&candidate, &source, bound);
                    TrieFindMergeReturnCode const code =
                        trie_->findMergeToNode(nodeOf(&candidate), nodeOf(&source), bound);
                    ASSERT_TRUE(code == answer(expected))
                        << told(code) << " instead of " << told(answer(expected))
                        << told(candidate, bound) << " below " << told(source, bound);
                    found += expected.to != nullptr;
                    dirty += expected.dirty;
                }
            }
        }
    });
    EXPECT_GT(dirty, 1000U) << "or the worlds show too little";
    EXPECT_GT(found, 1000U);
}

TEST_F(MergeSearchBruteForceTest, theSearchForANestedPartition) {
    U32 found[2] = {0, 0};
    U32 asked = 0;
    inManyWorlds([&] {
        for (OracleNode const& source : all()) {
            for (U32 bound = 0; source.partition && bound <= largestBound; ++bound) {
                for (bool const toSource : {false, true}) {
                    OracleMerge const expected = oracle_->redistribute(&source, bound, toSource);
                    TrieFindMergeReturnCode const code =
                        trie_->findMergeNodeViaPartitionRedistribution(nodeOf(&source), bound,
                                                                       toSource);
                    ASSERT_TRUE(code == answer(expected))
                        << told(code) << " instead of " << told(answer(expected))
                        << told(source, bound) << (toSource ? " into it" : " between");
                    found[toSource] += expected.to != nullptr;
                    ++asked;
                }
            }
        }
    });
    EXPECT_GT(found[false], 300U);
    EXPECT_GT(found[true], 3000U);
    EXPECT_GT(asked, 2 * (found[0] + found[1]));
}

TEST_F(MergeSearchBruteForceTest, theSearchForASplitPoint) {
    U32 found = 0;
    U32 equalChildren = 0;
    U32 equalDistances = 0;
    inManyWorlds([&] {
        for (OracleNode const& source : all()) {
            U32 const bound = source.partition ? oracle_->count(&source) : 0;
            for (U32 wanted = 0; wanted < bound; ++wanted) {
                for (bool const disallowParent : {false, true}) {
                    auto const expected = oracle_->split(&source, wanted, disallowParent);
                    if (!expected) {
                        // A way that ends at a route or a partition: only where none is wanted.
                        ASSERT_EQ(wanted, 0U) << told(source, wanted);
                        continue;
                    }
                    TrieReturnCode const code =
                        trie_->findMergeNodeViaSplitCount(nodeOf(&source), wanted, disallowParent);
                    Node* const answer = nodeOf(expected->node);
                    ASSERT_TRUE(code == TrieReturnCode(answer, nullptr, nullptr, false))
                        << code.node() << " instead of " << answer << told(source, wanted)
                        << (disallowParent ? " without parents" : "");
                    ++found;
                    equalChildren += expected->equalChildren;
                    equalDistances += expected->equalDistances;
                }
            }
        }
    });
    EXPECT_GT(found, 2000U);
    EXPECT_GT(equalChildren, 500U);
    EXPECT_GT(equalDistances, 100U);
}

TEST_F(MergeSearchBruteForceTest, theSearchForATargetAbove) {
    U32 asked = 0;
    U32 partitions = 0;
    U32 others = 0;
    inManyWorlds([&] {
        for (OracleNode const& source : all()) {
            for (U32 bound = 0; bound <= largestBound; ++bound) {
                OracleMerge const expected = oracle_->parentToMerge(&source, bound);
                TrieReturnCode const code = trie_->findParentNodeToMerge(nodeOf(&source), bound);
                TrieReturnCode const answer(nodeOf(expected.to), nodeOf(expected.from), nullptr,
                                            expected.dirty);
                ASSERT_TRUE(code == answer)
                    << code.node() << " in " << code.partitionNode() << " instead of "
                    << answer.node() << " in " << answer.partitionNode() << told(source, bound);
                ++asked;
                partitions += expected.to != nullptr && expected.to->partition;
                others += expected.to != nullptr && !expected.to->partition;
            }
        }
    });
    EXPECT_GT(partitions, 5000U);
    EXPECT_GT(others, 500U);
    EXPECT_GT(asked, partitions + others + 5000U);
}

}  // namespace
