#include <tests/LpmTrie/IndexFrom.h>
#include <tests/LpmTrie/IndexPrefixes.h>
#include <tests/Support/AllocationFailure.h>

#include <LpmTrie/RouteQueries.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace {

using namespace TrieTests;
using LpmTrie::TrieIndex;
using TestSupport::AllocationFailure;

/* An index that cannot go on forgets every node. */

class IndexGivesUpTest : public TrieFixture {
protected:
    IndexGivesUpTest() {
        Random random(20260721);
        while (routes_.size() < 300) {
            IpGenPrefix const wanted = sparsePrefix(AddressFamily::ipv4, random);
            if (!insertionRefusal(trie(), wanted, nullptr, true, false, nullptr, 0)) {
                routes_.push_back(trie().insertFromRoot(wanted, true, false, nullptr, 0).node());
            }
        }
    }
    ~IndexGivesUpTest() override {
        for (Node* const node : strays_) {
            trie().deallocateNode(node);
        }
    }

    std::unique_ptr<TrieIndex> index() const {
        return TrieIndex::of(trie().root(), AddressFamily::ipv4);
    }
    std::vector<Node*> const& routes() const { return routes_; }
    /** A node of a route's prefix that hangs nowhere. */
    Node* twin(Node const* route) {
        strays_.push_back(trie().allocateNode(route->prefixRef(), false, false, nullptr, 0));
        return strays_.back();
    }
    /** Two of 22 to 27 bits that part behind the 16th bit and before the 22nd. */
    std::pair<Node*, Node*> routesOfNeighbouringBlocks() const {
        for (Node* const first : routes_) {
            for (Node* const other : routes_) {
                U32 const common = first->commonLen(other->prefixRef()->prefix());
                if (common >= 16 && common < 22 && std::min(first->len(), other->len()) >= 22 &&
                    std::max(first->len(), other->len()) <= 27) {
                    return {first, other};
                }
            }
        }
        return {nullptr, nullptr};
    }
    void takeAllOut(TrieIndex& index) {
        for (PlacedNode const& placed : placedNodes(trie().root())) {
            index.del(placed.node);
        }
    }
    /** Lets the next nodes be entered one by one, as they are after a search. */
    static void comeOutOfOrder(TrieIndex& index, Node* deleted) {
        index.del(deleted);
        EXPECT_EQ(index.nearLast(deleted->prefixRef()->prefix()), nullptr);
    }
    void expectForgotten(TrieIndex const& index) const {
        EXPECT_FALSE(index.ready());
        EXPECT_EQ(index.nodeCount(), 0U);
        EXPECT_EQ(index.candidateCount(), 0U);
        for (Node const* const node : routes_) {
            ASSERT_FALSE(index.entered(node)) << node;
            EXPECT_EQ(index.find(node->prefixRef()->prefix()).node, nullptr);
        }
        for (Node const* const node : strays_) {
            ASSERT_FALSE(index.entered(node)) << node;
        }
    }
    /** Lets each allocation of `change` fail in turn, each time in an index made anew. */
    template <class Change>
    void failEach(Change const& change) const {
        U64 site = 1;
        for (bool happened = true; happened; ++site) {
            SCOPED_TRACE(testing::Message() << "failing allocation number " << site);
            auto const index = this->index();
            ASSERT_NE(index, nullptr);
            {
                AllocationFailure const failure(site);
                change(*index);
                happened = failure.hasHappened();
            }
            if (happened) {
                expectForgotten(*index);
            } else {
                EXPECT_TRUE(index->ready());
            }
            for (Node* const node : routes_) {
                node->partitionNodeIs(false);
                node->pendingStateIs(PendingState());
            }
        }
        EXPECT_GT(site, 5U) << "there was hardly anything to fail";
    }

private:
    IndexFrom const none_{never};
    std::vector<Node*> routes_;
    std::vector<Node*> strays_;
};

TEST_F(IndexGivesUpTest, whenThereIsNoMemoryToLetANodeGo) {
    failEach([this](TrieIndex& index) {
        for (Node* const node : routes()) {
            index.del(node);
        }
    });
}

TEST_F(IndexGivesUpTest, whenThereIsNoMemoryToMarkANode) {
    failEach([this](TrieIndex const&) {
        for (Node* const node : routes()) {
            node->partitionNodeIs(true);
        }
    });
}

TEST_F(IndexGivesUpTest, whenThereIsNoMemoryToEnterANode) {
    failEach([this](TrieIndex& index) {
        for (Node* const node : routes()) {
            index.del(node);
        }
        comeOutOfOrder(index, routes().front());
        for (Node* const node : routes()) {
            node->partitionNodeIs(true);
            index.add(node);
        }
    });
}

TEST_F(IndexGivesUpTest, whenThereIsNoMemoryToEnterNodesThatWait) {
    failEach([this](TrieIndex& index) {
        for (Node* const node : routes()) {
            index.del(node);
        }
        for (Node* const node : routes()) {
            index.add(node);
        }
        index.settle();
    });
}

TEST_F(IndexGivesUpTest, andKnowsNoNodeThatStillWaits) {
    auto const index = this->index();
    ASSERT_NE(index, nullptr);
    Node* const route = routes()[7];
    Node* const young = twin(route);
    index->add(young);
    EXPECT_TRUE(index->entered(young));
    EXPECT_FALSE(index->knows(young)) << "another one has its place";
    EXPECT_TRUE(index->knows(route));
    index->giveUp();

    auto const other = this->index();
    other->del(route);
    other->add(route);
    EXPECT_FALSE(other->knows(route)) << "its place is still free";
    other->settle();
    EXPECT_TRUE(other->knows(route));
}

TEST_F(IndexGivesUpTest, whenTwoNodesOfOnePrefixWait) {
    auto const index = this->index();
    ASSERT_NE(index, nullptr);
    Node* const route = routes()[7];
    index->add(twin(route));
    EXPECT_TRUE(index->ready()) << "the first one has not come to its block yet";
    index->add(twin(route));
    expectForgotten(*index);
}

TEST_F(IndexGivesUpTest, whenANodeThatWaitsFindsItsPlaceTaken) {
    auto const index = this->index();
    ASSERT_NE(index, nullptr);
    index->add(twin(routes()[7]));
    EXPECT_TRUE(index->ready());
    index->settle();
    expectForgotten(*index);
}

TEST_F(IndexGivesUpTest, whenANodeFindsItsPlaceTakenInABlockThatWaits) {
    auto const index = this->index();
    ASSERT_NE(index, nullptr);
    takeAllOut(*index);
    // Of two blocks below one, the first is complete when a node comes for the other.
    auto const [first, other] = routesOfNeighbouringBlocks();
    ASSERT_NE(first, nullptr);
    index->add(first);
    index->add(other);
    index->add(twin(first));
    EXPECT_TRUE(index->ready());
    index->settle();
    expectForgotten(*index);
}

TEST_F(IndexGivesUpTest, andGivesBackWhatBlocksThatWaitHold) {
    auto const storage = [] { return Vexo::allocationCounts("LpmTrie::IndexBlock").liveBytes(); };
    U64 const before = storage();
    auto const index = this->index();
    ASSERT_NE(index, nullptr);
    takeAllOut(*index);
    EXPECT_EQ(storage(), before) << "the index is empty";
    for (PlacedNode const& placed : placedNodes(trie().root())) {
        index->add(placed.node);
    }
    EXPECT_GT(storage(), before);
    EXPECT_EQ(index->nodeCount(), placedNodes(trie().root()).size());
    index->giveUp();
    EXPECT_EQ(storage(), before);
    expectForgotten(*index);
}

TEST_F(IndexGivesUpTest, whenANodeThatWaitsFindsItsPlaceTakenWhileAnotherGoes) {
    auto const index = this->index();
    ASSERT_NE(index, nullptr);
    index->add(twin(routes()[7]));
    index->del(routes()[8]);
    expectForgotten(*index);
}

TEST_F(IndexGivesUpTest, whenANodeThatWaitsFindsItsPlaceTakenWhileAnotherComesOutOfOrder) {
    auto const index = this->index();
    ASSERT_NE(index, nullptr);
    Node* const route = routes()[3];
    index->del(route);
    index->add(twin(routes()[7]));
    EXPECT_EQ(index->nearLast(route->prefixRef()->prefix()), nullptr);
    EXPECT_TRUE(index->ready());
    index->add(route);
    expectForgotten(*index);
}

TEST_F(IndexGivesUpTest, whenANodeThatComesOutOfOrderFindsItsPlaceTaken) {
    auto const index = this->index();
    ASSERT_NE(index, nullptr);
    comeOutOfOrder(*index, routes()[3]);
    index->add(twin(routes()[7]));
    expectForgotten(*index);
}

TEST_F(IndexGivesUpTest, andIsNotMadeWithoutMemory) {
    U64 site = 0;
    for (std::unique_ptr<TrieIndex> made; made == nullptr;) {
        AllocationFailure const failure(++site);
        made = index();
        EXPECT_NE(made != nullptr, failure.hasHappened()) << "failing allocation number " << site;
    }
    EXPECT_GT(site, 5U);
}

TEST_F(IndexGivesUpTest, andIsNotMadeWhenAllNumbersAreTaken) {
    std::vector<Trie::Ptr> tries;
    std::vector<std::unique_ptr<TrieIndex>> indexes;
    for (U32 i = 0; i < TrieIndex::mostIndexes; ++i) {
        tries.push_back(LpmTrie::trieFactory(i));
        tries.back()->afIs(AddressFamily::ipv4);
        tries.back()->insertFromRoot(prefix("10.0.0.0/8"), true, false, nullptr, 0);
        indexes.push_back(TrieIndex::of(tries.back()->root(), AddressFamily::ipv4));
        ASSERT_NE(indexes.back(), nullptr) << i;
    }
    EXPECT_EQ(index(), nullptr);
    indexes[1234].reset();
    auto const made = index();
    ASSERT_NE(made, nullptr) << "a number that is free again";
    EXPECT_EQ(made->nodeCount(), placedNodes(trie().root()).size());
    indexes.clear();
    for (Trie::Ptr const& each : tries) {
        removeAll(*each);
    }
}

}  // namespace
