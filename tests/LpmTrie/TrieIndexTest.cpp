#include <tests/LpmTrie/IndexFrom.h>
#include <tests/LpmTrie/IndexPrefixes.h>

#include <LpmTrie/RouteQueries.h>

#include <algorithm>

namespace {

using namespace TrieTests;
using LpmTrie::TrieIndex;

/* The index by itself, against a look at all nodes. */

struct TrieIndexTest : TestSupport::LeakChecked<testing::TestWithParam<AddressFamily>> {
    TrieIndexTest() { trie->afIs(GetParam()); }
    ~TrieIndexTest() override { removeAll(*trie); }

    void grow(U32 routes) {
        for (U32 i = 0; i < routes; ++i) {
            IpGenPrefix const prefix = sparsePrefix(GetParam(), random, 0xc1);
            if (!insertionRefusal(*trie, prefix, nullptr, true, false, nullptr, 0)) {
                trie->insertFromRoot(prefix, true, false, nullptr, 0);
            }
        }
    }
    std::vector<Node*> nodes() const {
        std::vector<Node*> all;
        for (PlacedNode const& placed : placedNodes(trie->root())) {
            all.push_back(placed.node);
        }
        return all;
    }
    /** The longest node of at most `TrieIndex::longest` bits that covers the prefix and fits. */
    template <class Fits>
    Node* longestCovering(IpGenPrefix const& prefix, Fits const& fits) const {
        Node* longest = nullptr;
        for (Node* node : nodes()) {
            U32 const len = node->len();
            if (len <= prefix.len() && len <= TrieIndex::longest && fits(node) &&
                node->prefixRef()->prefix().overlaps(prefix) &&
                (longest == nullptr || len > longest->len())) {
                longest = node;
            }
        }
        return longest;
    }
    void expectRightAnswers(TrieIndex const& index) {
        for (U32 i = 0; i < 300; ++i) {
            IpGenPrefix const prefix = sparsePrefix(GetParam(), random, 0xc1);
            auto const [node, candidate] = index.find(prefix);
            EXPECT_EQ(node, longestCovering(prefix, [](Node*) { return true; })) << prefix;
            EXPECT_EQ(candidate, longestCovering(prefix,
                                                 [](Node const* of) {
                                                     return of->partitionNode() ||
                                                            of->pendingState().removePartition();
                                                 }))
                << prefix;
        }
    }

    U32 const seed = 20260421;
    Random random{seed};
    IndexFrom const none{never};
    Trie::Ptr const trie = LpmTrie::trieFactory(0);
};

TEST_P(TrieIndexTest, findsTheLongestCoveringNode) {
    SCOPED_TRACE(seed);
    grow(400);
    auto const index = TrieIndex::of(trie->root(), GetParam());
    ASSERT_NE(index, nullptr);
    expectRightAnswers(*index);
}

TEST_P(TrieIndexTest, findsNothingAliveBelowABrokenNode) {
    SCOPED_TRACE(seed);
    grow(150);
    auto const index = TrieIndex::of(trie->root(), GetParam());
    ASSERT_NE(index, nullptr);
    U32 below = 0;
    U32 beside = 0;
    for (Node* broken : nodes()) {
        IpGenPrefix const itself = broken->prefixRef()->prefix();
        for (U32 i = 0; i < 40; ++i) {
            IpGenPrefix const prefix = sparsePrefix(GetParam(), random, 0xc1);
            bool const covered = itself.len() <= prefix.len() &&
                                 itself.len() <= TrieIndex::longest && itself.overlaps(prefix);
            if (!covered && itself.overlaps(prefix)) {
                continue;  // whether a longer node is looked at as well does not matter
            }
            auto const [node, candidate] = index->find(prefix);
            breakEyeCatcher(broken);
            auto const again = index->findAlive(prefix);
            index->find(sparsePrefix(GetParam(), random, 0xc1));
            auto const anew = index->findAlive(prefix);
            mendEyeCatcher(broken);
            EXPECT_EQ(again.node, covered ? nullptr : node) << prefix << " " << broken;
            EXPECT_EQ(anew.node, covered ? nullptr : node) << prefix << " " << broken;
            EXPECT_EQ(again.candidate, covered ? nullptr : candidate) << prefix << " " << broken;
            EXPECT_EQ(anew.candidate, covered ? nullptr : candidate) << prefix << " " << broken;
            (covered ? below : beside) += 1;
        }
    }
    EXPECT_GT(below, 100U);
    EXPECT_GT(beside, 1000U);
}

TEST_P(TrieIndexTest, knowsEveryNodeAndNoOther) {
    SCOPED_TRACE(seed);
    grow(400);
    auto const index = TrieIndex::of(trie->root(), GetParam());
    ASSERT_NE(index, nullptr);
    U64 known = 0;
    for (Node* node : nodes()) {
        EXPECT_TRUE(index->knows(node)) << node;
        known += node->len() <= TrieIndex::longest ? 1U : 0U;
    }
    EXPECT_EQ(index->nodeCount(), known);
}

TEST_P(TrieIndexTest, hearsOfRolesGivenByHand) {
    SCOPED_TRACE(seed);
    grow(300);
    auto const index = TrieIndex::of(trie->root(), GetParam());
    ASSERT_NE(index, nullptr);
    std::vector<Node*> const all = nodes();
    for (U32 i = 0; i < 60; ++i) {
        Node* const node = all[random.below(static_cast<U32>(all.size()))];
        switch (random.below(3)) {
        case 0:
            node->pendingStateIs(PendingState::removePartition_());
            break;
        case 1:
            node->pendingStateIs(PendingState());
            node->partitionNodeIs(!node->partitionNode());
            break;
        default:
            node->partitionNodeIs(false);
            node->pendingStateIs(PendingState());
        }
        EXPECT_TRUE(index->knows(node)) << node;
    }
    EXPECT_TRUE(index->ready());
    expectRightAnswers(*index);
    for (Node* node : all) {
        node->partitionNodeIs(false);
        node->pendingStateIs(PendingState());
    }
    expectRightAnswers(*index);
}

TEST_P(TrieIndexTest, followsNodesThatComeAndGo) {
    SCOPED_TRACE(seed);
    grow(300);
    for (Node* node : nodes()) {
        node->partitionNodeIs(random.below(3) == 0);
        node->pendingStateIs(PendingState());
    }
    auto const index = TrieIndex::of(trie->root(), GetParam());
    ASSERT_NE(index, nullptr);
    std::vector<Node*> gone;
    for (U32 i = 0; i < 1000; ++i) {
        std::vector<Node*> const all = nodes();
        Node* const node = all[random.below(static_cast<U32>(all.size()))];
        auto const place = std::find(gone.begin(), gone.end(), node);
        bool const comes = place != gone.end();
        if (!comes) {
            index->del(node);
            gone.push_back(node);
        } else {
            index->add(node);
            gone.erase(place);
        }
        index->settle();
        EXPECT_EQ(index->knows(node), comes || node->len() > TrieIndex::longest) << node;
    }
    for (Node* node : gone) {
        index->add(node);
    }
    index->settle();
    expectRightAnswers(*index);
}

TEST_P(TrieIndexTest, letsNodesWaitThatComeInAnyOrder) {
    SCOPED_TRACE(seed);
    grow(400);
    auto const index = TrieIndex::of(trie->root(), GetParam());
    ASSERT_NE(index, nullptr);
    std::vector<Node*> all = nodes();
    U64 const count = index->nodeCount();
    for (U32 const settledAfter : {1000U, 100U, 10U}) {
        for (Node* const node : all) {
            index->del(node);
        }
        EXPECT_EQ(index->nodeCount(), 0U);
        std::shuffle(all.begin(), all.end(), std::mt19937(seed + settledAfter));
        for (Node* const node : all) {
            index->add(node);
            if (random.below(settledAfter) == 0) {
                index->settle();
            }
        }
        index->settle();
        for (Node* const node : all) {
            EXPECT_TRUE(index->knows(node)) << node;
        }
        EXPECT_EQ(index->nodeCount(), count);
        EXPECT_TRUE(index->ready());
        expectRightAnswers(*index);
    }
}

TEST_P(TrieIndexTest, givesItsStorageBackWithTheLastNode) {
    grow(300);
    auto const storage = [] { return Vexo::allocationCounts("LpmTrie::IndexBlock").liveBytes(); };
    U64 const before = storage();
    auto const index = TrieIndex::of(trie->root(), GetParam());
    ASSERT_NE(index, nullptr);
    EXPECT_GT(storage(), before + 300 * sizeof(void*));
    for (Node* const node : nodes()) {
        index->del(node);
    }
    EXPECT_TRUE(index->ready());
    EXPECT_EQ(storage(), before);
}

TEST_P(TrieIndexTest, givesUpWhenALinkIsSetByHand) {
    grow(100);
    auto const index = TrieIndex::of(trie->root(), GetParam());
    ASSERT_NE(index, nullptr);
    Node* const root = trie->root();
    root->bitNodeIs(0, root->bitNode(0));
    EXPECT_FALSE(index->ready());
    EXPECT_EQ(index->nodeCount(), 0U);
    EXPECT_EQ(index->find(sparsePrefix(GetParam(), random, 0xc1)).node, nullptr);
    root->partitionNodeIs(true);  // tells nobody any more
    root->partitionNodeIs(false);
    root->pendingStateIs(PendingState());
}

TEST_P(TrieIndexTest, isNotMadeForATrieWhoseLinksAreWrong) {
    grow(100);
    std::vector<Node*> const all = nodes();
    for (Node* node : all) {
        Node* const parent = node->parent();
        node->parentIs(all.back());
        EXPECT_EQ(TrieIndex::of(trie->root(), GetParam()), nullptr) << node;
        node->parentIs(parent);
        if (parent != nullptr) {
            U32 const bit = parent->bitNode(0) == node ? 0 : 1;
            Node* const other = parent->bitNode(1 - bit);
            parent->bitNodeIs(bit, other);
            parent->bitNodeIs(1 - bit, node);
            EXPECT_EQ(TrieIndex::of(trie->root(), GetParam()), nullptr) << node;
            parent->bitNodeIs(bit, node);
            parent->bitNodeIs(1 - bit, other);
        }
    }
    auto const index = TrieIndex::of(trie->root(), GetParam());
    ASSERT_NE(index, nullptr);
    EXPECT_EQ(TrieIndex::of(trie->root(), GetParam()), nullptr) << "its nodes know another already";
}

TEST_P(TrieIndexTest, isNotMadeForATrieOfTheOtherFamily) {
    grow(10);
    EXPECT_EQ(TrieIndex::of(trie->root(), GetParam() == AddressFamily::ipv4 ? AddressFamily::ipv6
                                                                            : AddressFamily::ipv4),
              nullptr);
}

class TrieIndexByHandTest : public TrieFixture {
protected:
    /** No index is made for a root and what hangs from it at that bit. Frees both. */
    void expectNone(Node* root, U32 bit, Node* child) const {
        hang(root, bit, child);
        EXPECT_EQ(TrieIndex::of(root, AddressFamily::ipv4), nullptr);
        root->bitNodeIs(bit, nullptr);
        EXPECT_NE(TrieIndex::of(root, AddressFamily::ipv4), nullptr)
            << "the root is as it should be";
        trie().deallocateNode(child);
        trie().deallocateNode(root);
    }
};

TEST_F(TrieIndexByHandTest, isNotMadeWhenANodeHangsWhereItsPrefixDoesNot) {
    struct Case {
        char const* root;
        U32 bit;
        char const* child;
    };
    for (auto const& [root, bit, child] : {Case{"10.0.0.0/8", 1, "10.0.0.0/9"},
                                           {"10.0.0.0/8", 0, "10.0.0.0/8"},
                                           {"10.0.0.0/8", 0, "8.0.0.0/6"},
                                           {"10.0.0.0/8", 0, "20.0.0.0/9"},
                                           {"0.0.0.0/0", 0, "::/9"}}) {
        SCOPED_TRACE(child);
        expectNone(make(root), bit, make(child));
    }
}

TEST_F(TrieIndexByHandTest, isNotMadeForAPrefixLongerThanAnAddress) {
    IpGenPrefix const tooLong(Nimbal::IpAddr(0x0a000000), 40);
    expectNone(make("10.0.0.0/8"), 0,
               trie().allocateNode(Nimbal::IpGenPrefixRef::IpGenPrefixRefIs(tooLong), false, false,
                                   {}, 0));
}

TEST_F(TrieIndexByHandTest, isNotMadeForANodeWithoutAPrefix) {
    expectNone(make("10.0.0.0/8"), 0, trie().allocateNode({}, false, false, {}, 0));
}

TEST_F(TrieIndexByHandTest, isNotMadeForABrokenNode) {
    Node* const root = make("10.0.0.0/8");
    Node* const child = make("10.1.0.0/16");
    hang(root, 0, child);
    breakEyeCatcher(child);
    EXPECT_EQ(TrieIndex::of(root, AddressFamily::ipv4), nullptr);
    mendEyeCatcher(child);
    EXPECT_NE(TrieIndex::of(root, AddressFamily::ipv4), nullptr);
    trie().deallocateNode(child);
    trie().deallocateNode(root);
}

INSTANTIATE_TEST_SUITE_P(Families, TrieIndexTest,
                         testing::Values(AddressFamily::ipv4, AddressFamily::ipv6));

}  // namespace
