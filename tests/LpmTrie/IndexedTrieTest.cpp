#include <tests/LpmTrie/AbortedTrie.h>
#include <tests/LpmTrie/IndexFrom.h>
#include <tests/LpmTrie/IndexPrefixes.h>
#include <tests/Support/AllocationFailure.h>

#include <LpmTrie/RouteQueries.h>

namespace {

using namespace TrieTests;
using LpmTrie::TrieIndex;
using Vexo::U8;

/* Tries with an index beside tries without: what they answer, trace and look like is the same. */

/** One trie with all that a client does to it, told by texts, so that two can be compared. */
class Client {
public:
    Client(AddressFamily af, U32 indexFrom) : indexFrom_(indexFrom) { trie_->afIs(af); }
    ~Client() { removeAll(*trie_); }

    Trie& trie() { return *trie_; }
    String insert(IpGenPrefix const& prefix, bool fromPartition) {
        IndexFrom const from(indexFrom_);
        Node* const start =
            fromPartition ? trie_->findPartitionNode(prefix, false).partitionNode() : nullptr;
        PartitionId::Ptr const id = start != nullptr ? start->partitionId() : nullptr;
        if (insertionRefusal(*trie_, prefix, start, true, false, id, 0)) {
            return "refused";
        }
        return text(trie_->insert(prefix, start, true, false, id, 0));
    }
    String insertPartition(IpGenPrefix const& prefix, U32 number) {
        IndexFrom const from(indexFrom_);
        auto const id = PartitionId::PartitionIdIs(PartitionIdValue(number), ~0U, nullptr);
        bool const route = number % 2 == 0;
        if (insertionRefusal(*trie_, prefix, nullptr, route, true, id, 0)) {
            return "refused";
        }
        return text(trie_->insertFromRoot(prefix, route, true, id, 0));
    }
    String remove(IpGenPrefix const& prefix) {
        TrieNodeReturnCode const code = trie_->remove(prefix);
        return text(code.node()) + (code.success ? " gone" : " stays");
    }
    String find(IpGenPrefix const& prefix, bool pending) {
        return text(trie_->findPartitionNode(prefix, pending));
    }
    /** Takes the partition above `prefix` down, or makes it wait for that. */
    String end(IpGenPrefix const& prefix, bool wait) {
        Node* const node = trie_->findPartitionNode(prefix, false).partitionNode();
        if (node == nullptr) {
            return "none";
        }
        trie_->mergePartitionNodeCount(node);
        if (wait) {
            node->pendingStateIs(PendingState::removePartition_());
            node->partitionNodeIs(false);
            return text(node);
        }
        return text(trie_->removeNode(node, true).node());
    }

private:
    static String text(Node const* node) {
        std::ostringstream out;
        out << node;
        return out.str();
    }
    static String text(TrieReturnCode const& code) {
        return text(code.node()) + " " + text(code.partitionNode()) + " " +
               text(code.coveringPrefixNode());
    }

    U32 const indexFrom_;
    Trie::Ptr const trie_ = LpmTrie::trieFactory(0);
};

struct IndexedTrieTest : TestSupport::LeakChecked<testing::TestWithParam<AddressFamily>> {};

TEST_P(IndexedTrieTest, isLikeAPlainOneAfterEveryStep) {
    U32 const seed = 20260422;
    SCOPED_TRACE(seed);
    Random random(seed);
    Client plain(GetParam(), never);
    Client indexed(GetParam(), 5);
    U32 const steps = 6000;
    for (U32 step = 0; step < steps && !HasFailure(); ++step) {
        IpGenPrefix const prefix = sparsePrefix(GetParam(), random);
        U32 const kind = random.below(100);
        bool const flag = random.below(2) == 0;
        auto const play = [&](Client& client) {
            return kind < 40   ? client.insert(prefix, flag)
                   : kind < 43 ? client.insertPartition(prefix, step)
                   : kind < 70 ? client.remove(prefix)
                   : kind < 72 ? client.end(prefix, flag)
                               : client.find(prefix, flag);
        };
        String const expected = play(plain);
        ASSERT_EQ(play(indexed), expected) << prefix << ' ' << kind << " at step " << step;
        if (step % 20 == 0) {
            ASSERT_EQ(drawing(indexed.trie()), drawing(plain.trie())) << "at step " << step;
        }
    }
}

TEST_P(IndexedTrieTest, isTracedLikeAPlainOne) {
    U32 const seed = 20260423;
    SCOPED_TRACE(seed);
    auto const traced = [&](U32 indexFrom, String const& levels) {
        Random random(seed);
        Client client(GetParam(), indexFrom);
        for (U32 i = 0; i < 50; ++i) {
            client.insert(sparsePrefix(GetParam(), random), false);
        }
        TestSupport::TraceCapture const capture(levels);
        for (U32 i = 0; i < 50; ++i) {
            IpGenPrefix const prefix = sparsePrefix(GetParam(), random);
            client.insert(prefix, true);
            client.find(prefix, true);
            client.remove(sparsePrefix(GetParam(), random));
        }
        return capture.texts();
    };
    for (String const levels : {"LpmTrie/7-9", "LpmTrie/7", "LpmTrie/8"}) {
        std::vector<String> const plain = traced(never, levels);
        EXPECT_FALSE(plain.empty());
        EXPECT_EQ(traced(5, levels), plain) << levels;
    }
}

INSTANTIATE_TEST_SUITE_P(Families, IndexedTrieTest,
                         testing::Values(AddressFamily::ipv4, AddressFamily::ipv6));

class HandBuiltIndexedTrieTest : public TrieFixture {
protected:
    HandBuiltIndexedTrieTest() {
        for (char const* text : {"0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24",
                                 "10.1.3.0/24", "10.2.0.0/16", "20.0.0.0/8"}) {
            route(text);
        }
    }
    IndexFrom const from_{2};
};

TEST_F(HandBuiltIndexedTrieTest, aRootSetByHandIsWhereEverythingStarts) {
    Node* const first = trie().root();
    Node* const second = makeRoute("10.0.0.0/8");
    count(second, 1, 1);
    trie().rootIs(second);
    EXPECT_EQ(trie().findPartitionNode(prefix("10.1.2.0/24"), false).node(), second);
    route("10.1.2.0/24");
    route("10.1.3.0/24");
    EXPECT_EQ(second->routeCount(), 3U);
    trie().verify();
    removeAll(trie());
    trie().rootIs(first);
}

TEST_F(HandBuiltIndexedTrieTest, aTrieThatHasBeenEmptyMakesItselfAnIndexAgain) {
    // No other index exists now, so that the trie's has the first number.
    EXPECT_TRUE(TrieIndex::numbered(1).entered(trie().root()));
    trie().rootIs(trie().root());
    EXPECT_FALSE(TrieIndex::numbered(1).entered(trie().root()));
    route("30.0.0.0/8");
    EXPECT_FALSE(TrieIndex::numbered(1).entered(trie().root())) << "once set by hand";
    removeAll(trie());
    for (char const* const text : {"10.0.0.0/8", "20.0.0.0/8", "30.0.0.0/8", "40.0.0.0/8"}) {
        route(text);
    }
    EXPECT_TRUE(TrieIndex::numbered(1).entered(trie().root()));
}

TEST_F(HandBuiltIndexedTrieTest, theTriesOwnOperationsLeaveTheIndexInUse) {
    // No other index exists now, so that the trie's has the first number.
    TrieIndex const& index = TrieIndex::numbered(1);
    auto const inUse = [&] { return index.ready() && index.entered(trie().root()); };
    route("10.1.2.128/25");
    EXPECT_TRUE(inUse()) << "a child";
    route("10.0.0.0/7");
    EXPECT_TRUE(inUse()) << "a parent";
    route("10.1.2.64/26");
    EXPECT_TRUE(inUse()) << "a branch";
    auto const id = PartitionId::PartitionIdIs(PartitionIdValue(3), ~0U, nullptr);
    Node* const cut =
        trie().insertFromRoot(prefix("10.1.0.0/17"), false, true, id, 0).partitionNode();
    EXPECT_TRUE(inUse()) << "a partition";
    trie().mergePartitionNodeCount(cut);
    trie().removeNode(cut, true);
    EXPECT_TRUE(inUse()) << "a partition's end";
    for (char const* const text : {"10.1.2.64/26", "10.1.2.0/24", "0.0.0.0/0", "10.0.0.0/7"}) {
        EXPECT_TRUE(trie().remove(prefix(text)).success) << text;
        EXPECT_TRUE(inUse()) << "without " << text;
    }
    trie().verify();
}

TEST_F(HandBuiltIndexedTrieTest, aSlotEmptiedByHandIsEmptyAlsoAfterInsertions) {
    Node* const top = find("10.1.0.0/16");
    Node* const below = top->bitNode(0);
    top->bitNodeIs(0, nullptr);
    EXPECT_EQ(trie().findPartitionNode(prefix("10.1.2.0/24"), false).node(), top);
    Node* const young = route("10.1.2.0/24");
    EXPECT_EQ(top->bitNode(0), young);
    Node* const younger = route("10.1.2.128/25");
    EXPECT_EQ(younger->parent(), young);
    EXPECT_EQ(trie().findPartitionNode(prefix("10.1.3.0/24"), false).node(), young);
    hang(young, 0, below);  // only so that it is freed
}

TEST_F(HandBuiltIndexedTrieTest, aNodeHungElsewhereByHandIsFoundThere) {
    Node* const node = find("20.0.0.0/8");
    Node* const parent = node->parent();
    U32 const bit = parent->bitNode(0) == node ? 0 : 1;
    Node* const elsewhere = find("10.2.0.0/16");
    parent->bitNodeIs(bit, nullptr);
    hang(elsewhere, 1, node);
    EXPECT_EQ(trie().findPartitionNode(prefix("20.0.0.0/8"), false).node(), parent);
    EXPECT_EQ(trie().findPartitionNode(prefix("10.2.128.0/24"), false).node(), node);
    route("10.2.1.0/24");
    EXPECT_EQ(trie().findPartitionNode(prefix("10.2.128.0/24"), false).node(), node);
}

TEST_F(HandBuiltIndexedTrieTest, rolesSetByHandAreHonoured) {
    Node* const node = find("10.1.0.0/16");
    node->partitionNodeIs(true);
    EXPECT_EQ(trie().findPartitionNode(prefix("10.1.2.0/24"), false).partitionNode(), node);
    U32 const before = find("10.0.0.0/8")->partitionRouteCount();
    route("10.1.4.0/24");
    EXPECT_EQ(find("10.0.0.0/8")->partitionRouteCount(), before) << "counting stops there";
    node->partitionNodeIs(false);
    node->pendingStateIs(PendingState::removePartition_());
    EXPECT_EQ(trie().findPartitionNode(prefix("10.1.2.0/24"), false).partitionNode(), nullptr);
    EXPECT_EQ(trie().findPartitionNode(prefix("10.1.2.0/24"), true).partitionNode(), node);
    node->pendingStateIs(PendingState());
    EXPECT_EQ(trie().findPartitionNode(prefix("10.1.2.0/24"), true).partitionNode(), nullptr);
}

/* Of prefixes that differ in host bits or family alone, the one that is meant is taken out. */

class ExactRemovalTest : public TestSupport::LeakChecked<testing::TestWithParam<U32>> {
protected:
    ~ExactRemovalTest() override { removeAll(*trie_); }

    static IpGenPrefix v6(U8 site, U8 host, U32 len) {
        std::array<U8, 16> address{0x20, 0x01, 0x0d, 0xb8};
        address[5] = site;
        address[15] = host;
        return {AddressFamily::ipv6, address, len};
    }
    static IpGenPrefix v4(U8 first, U8 last, U32 len) {
        return {AddressFamily::ipv4, std::array<U8, 4>{first, 0, 0, last}, len};
    }
    void insertAll(std::initializer_list<IpGenPrefix> routes) {
        trie_->afIs(routes.begin()->af());
        for (IpGenPrefix const& route : routes) {
            trie_->insertFromRoot(route, true, false, nullptr, 0);
        }
    }
    Trie& trie() { return *trie_; }
    void expectRemoved(IpGenPrefix const& route) {
        U32 const routes = trie_->root()->routeCount();
        EXPECT_EQ(trie_->remove(route), TrieNodeReturnCode(nullptr, true)) << route;
        EXPECT_EQ(trie_->root()->routeCount(), routes - 1) << route;
        trie_->verify();
    }
    void expectNotThere(IpGenPrefix const& prefix) {
        U32 const routes = trie_->root()->routeCount();
        EXPECT_EQ(trie_->remove(prefix), TrieNodeReturnCode()) << prefix;
        EXPECT_EQ(trie_->root()->routeCount(), routes) << prefix;
        trie_->verify();
    }

private:
    IndexFrom const from_{GetParam()};
    Trie::Ptr const trie_ = LpmTrie::trieFactory(0);
};

TEST_P(ExactRemovalTest, tellsHostBitsOfTheSecondHalfApart) {
    insertAll({v6(1, 0, 48), v6(2, 0, 48), v6(3, 0, 48), v6(4, 0, 128)});
    expectNotThere(v6(1, 1, 48));
    expectNotThere(v6(1, 0, 47));
    expectNotThere(v6(4, 1, 128));
    expectRemoved(v6(1, 0, 48));
    insertAll({v6(5, 1, 48)});
    expectNotThere(v6(5, 0, 48));
    expectNotThere(v6(2, 1, 48));
    expectRemoved(v6(5, 1, 48));
    expectRemoved(v6(2, 0, 48));
}

TEST_P(ExactRemovalTest, tellsHostBitsOfTheFirstHalfApart) {
    insertAll({v4(10, 0, 8), v4(20, 0, 8), v4(30, 0, 8), v4(40, 1, 8)});
    expectNotThere(v4(10, 1, 8));
    expectNotThere(v4(40, 0, 8));
    expectRemoved(v4(10, 0, 8));
    expectRemoved(v4(40, 1, 8));
}

TEST_P(ExactRemovalTest, tellsFamiliesApart) {
    IpGenPrefix const likeTheFirst(AddressFamily::ipv6, std::array<U8, 1>{10}, 8);
    insertAll({v4(10, 0, 8), v4(20, 0, 8), v4(30, 0, 8)});
    expectNotThere(likeTheFirst);
    trie().afIs(AddressFamily::ipv6);
    expectNotThere(likeTheFirst);
    trie().afIs(AddressFamily::ipv4);
    expectRemoved(v4(10, 0, 8));
}

INSTANTIATE_TEST_SUITE_P(Tries, ExactRemovalTest, testing::Values(2U, never),
                         [](testing::TestParamInfo<U32> const& tested) {
                             return tested.param == never ? "plain" : "indexed";
                         });

using IndexedTrieDeathTest = HandBuiltIndexedTrieTest;

/** Routes of one block, in order, in a trie with an index. */
struct OrderedTrie {
    OrderedTrie() {
        trie->afIs(AddressFamily::ipv4);
        for (U32 third = 0; third < 64; ++third) {
            String const text = "10.0." + std::to_string(third) + ".0/24";
            trie->insertFromRoot(prefix(text), true, false, nullptr, 0);
        }
    }
    ~OrderedTrie() { removeAll(*trie); }

    IndexFrom const from{2};
    Trie::Ptr const trie = LpmTrie::trieFactory(0);
};

TEST_F(IndexedTrieDeathTest, anInsertionBelowABrokenNodeNamesItAsThePlainOneDoes) {
    Node* const broken = find("10.0.0.0/8");
    EXPECT_EXIT(
        {
            breakEyeCatcher(broken);
            route("10.1.2.128/25");
        },
        aborts,
        brokenEyeCatcher(broken, "U32 LpmTrie::Node::commonLen(const Nimbal::IpGenPrefix&) const"));
}

TEST_F(IndexedTrieDeathTest, anInsertionBelowABrokenNodeCountsAsThePlainOneDoes) {
    routeAndPartition("10.1.3.0/25");
    routeAndPartition("10.1.3.0/26");
    Node* const broken = find("10.0.0.0/8");
    auto const insertBelow = [this, broken] {
        breakEyeCatcher(broken);
        route("10.1.3.0/28");
    };
    std::vector<String> expected = drawing(trie());
    ASSERT_EQ(expected[0], "Fib,0.0.0.0/0,9,7,nil,hw:0");
    ASSERT_EQ(expected[1], "  0 Int,0.0.0.0/3,8,6,nil,hw:0");
    // Where the plain one has passed on its way down; the way up from below is taken back.
    expected[0] = "Fib,0.0.0.0/0,10,7,nil,hw:0";
    expected[1] = "  0 Int,0.0.0.0/3,9,6,nil,hw:0";
    EXPECT_EQ(drawingAfterAssertion(trie(), insertBelow, broken), expected);
}

TEST_F(IndexedTrieDeathTest, aBrokenNodeThatIsFoundIsNamed) {
    Node* const broken = find("10.1.2.0/24");
    EXPECT_EXIT(
        {
            breakEyeCatcher(broken);
            trie().findPartitionNode(prefix("10.1.2.0/25"), false);
        },
        aborts,
        brokenEyeCatcher(broken, "U32 LpmTrie::Node::commonLen(const Nimbal::IpGenPrefix&) const"));
}

TEST_F(HandBuiltIndexedTrieTest, aWalkGoesOverABrokenNodeAsThePlainOneDoes) {
    std::vector<Node*> expected;
    for (PlacedNode const& placed : placedNodes(trie().root())) {
        expected.push_back(placed.node);
    }
    Node* const broken = find("10.1.2.0/24");
    breakEyeCatcher(broken);
    std::vector<Node*> visited{trie().root()};
    for (auto step = trie().preorderNextNode(nullptr, trie().root(), 0, false, false);
         step.node() != nullptr;
         step = trie().preorderNextNode(nullptr, step.node(), step.level, false, false)) {
        visited.push_back(step.node());
    }
    mendEyeCatcher(broken);
    EXPECT_EQ(visited, expected);
}

/* Routes that came in order wait to be entered; with the memory for that an index may end. */

TEST(IndexMemoryTest, aLookupFindsRoutesThatThereIsNoMemoryToEnter) {
    OrderedTrie const ordered;
    TestSupport::AllocationFailure const failure(1, TestSupport::AfterFailure::fail);
    Node* const found = ordered.trie->findPartitionNode(prefix("10.0.63.0/24"), false).node();
    EXPECT_TRUE(failure.hasHappened());
    EXPECT_EQ(found->prefixRef()->prefix(), prefix("10.0.63.0/24"));
}

TEST(IndexMemoryTest, anInsertionGoesOnWhenThereIsNoMemoryToEnterTheRoutesBefore) {
    OrderedTrie const ordered;
    {
        TestSupport::AllocationFailure const failure(1);
        ordered.trie->insertFromRoot(prefix("200.0.0.0/8"), true, false, nullptr, 0);
        EXPECT_TRUE(failure.hasHappened());
    }
    EXPECT_EQ(LpmTrie::findExact(*ordered.trie, prefix("200.0.0.0/8"))->routeCount(), 1U);
    ordered.trie->verify();
}

TEST(IndexMemoryTest, aTrieGoesWithoutAnIndexWhenMemoryEndsForIt) {
    IndexFrom const from(2);
    Trie::Ptr const trie = LpmTrie::trieFactory(0);
    trie->afIs(AddressFamily::ipv4);
    for (char const* text : {"10.0.0.0/8", "20.0.0.0/8"}) {
        trie->insertFromRoot(prefix(text), true, false, nullptr, 0);
    }
    {
        TestSupport::AllocationFailure const failure(1);
        EXPECT_TRUE(trie->findPartitionNode(prefix("10.0.0.0/8"), false).node()->fibRoute());
        try {
            trie->insertFromRoot(prefix("30.0.0.0/8"), true, false, nullptr, 0);
        } catch (std::bad_alloc const&) {
            ADD_FAILURE() << "an insertion fails for want of an index";
        }
    }
    trie->verify();
    removeAll(*trie);
}

}  // namespace
