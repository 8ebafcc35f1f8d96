#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using namespace TrieTests;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::TraceCapture;

/*       top
 *      /   \
 *     a     d
 *    / \     \
 *   b   c     e
 *    \
 *    leaf           all internal until a test says otherwise
 */
class WalkTest : public TrieFixture {
protected:
    WalkTest() {
        trie().rootIs(top_);
        hang(top_, 0, a_);
        hang(a_, 0, b_);
        hang(b_, 1, leaf_);
        hang(a_, 1, c_);
        hang(top_, 1, d_);
        hang(d_, 1, e_);
    }

    TrieTraversalReturnCode next(Node* stop, Node* start, U32 level,
                                 bool stopAtPartitionNode = false,
                                 bool stopAtFibRoute = false) const {
        return trie().preorderNextNode(stop, start, level, stopAtPartitionNode, stopAtFibRoute);
    }
    /** All that follows `start`, which is at level 1, until the walk is over. */
    std::vector<Node*> walk(Node* stop, Node* start, bool stopAtPartitionNode,
                            bool stopAtFibRoute) const {
        std::vector<Node*> nodes;
        TrieTraversalReturnCode step = next(stop, start, 1, stopAtPartitionNode, stopAtFibRoute);
        while (step.node() != nullptr) {
            nodes.push_back(step.node());
            step = next(stop, step.node(), step.level, stopAtPartitionNode, stopAtFibRoute);
        }
        return nodes;
    }
    TrieReturnCode right(Node* start, Node* stop) const {
        return trie().findNextRightNode(start, stop);
    }
    static TrieReturnCode only(Node* node) { return {node, nullptr, nullptr, false}; }
    static TrieTraversalReturnCode over(U32 level) { return {nullptr, 3, level}; }

    Node* const top_ = make("0.0.0.0/0");
    Node* const a_ = make("0.0.0.0/1");
    Node* const b_ = make("0.0.0.0/2");
    Node* const leaf_ = make("32.0.0.0/3");
    Node* const c_ = make("64.0.0.0/2");
    Node* const d_ = make("128.0.0.0/1");
    Node* const e_ = make("192.0.0.0/2");
};

TEST_F(WalkTest, aWalkOfTheWholeTrieMeetsEachNodeBeforeItsChildren) {
    std::vector<TrieTraversalReturnCode> const expected{{top_, 3, 0},  {a_, 0, 1}, {b_, 0, 2},
                                                        {leaf_, 1, 3}, {c_, 1, 2}, {d_, 1, 1},
                                                        {e_, 1, 2},    over(0)};
    TrieTraversalReturnCode step;
    for (TrieTraversalReturnCode const& reached : expected) {
        step = next(nullptr, step.node(), step.level);
        EXPECT_EQ(step, reached);
    }
}

TEST_F(WalkTest, withoutAStartTheRootIsNextAtLevelZero) {
    EXPECT_EQ(next(nullptr, nullptr, 17), TrieTraversalReturnCode(top_, 3, 0));
    EXPECT_EQ(next(a_, nullptr, 17, true, true), TrieTraversalReturnCode(top_, 3, 0));
}

TEST_F(WalkTest, levelsAreRelativeToTheCallers) {
    EXPECT_EQ(next(nullptr, top_, 10), TrieTraversalReturnCode(a_, 0, 11));
    EXPECT_EQ(next(nullptr, b_, 10), TrieTraversalReturnCode(leaf_, 1, 11));
    EXPECT_EQ(next(nullptr, leaf_, 10), TrieTraversalReturnCode(c_, 1, 9));
    EXPECT_EQ(next(nullptr, c_, 10), TrieTraversalReturnCode(d_, 1, 9));
    EXPECT_EQ(next(nullptr, e_, 10), over(8));
    a_->bitNodeIs(0, c_);  // c is then the only leaf under a, with no sibling
    a_->bitNodeIs(1, nullptr);
    EXPECT_EQ(next(nullptr, c_, 10), TrieTraversalReturnCode(d_, 1, 9));
    hang(a_, 0, b_);
    hang(a_, 1, c_);
}

TEST_F(WalkTest, theRightSiblingIsAtTheSameLevel) {
    b_->bitNodeIs(1, nullptr);
    EXPECT_EQ(next(nullptr, b_, 2), TrieTraversalReturnCode(c_, 1, 2));
    hang(b_, 1, leaf_);
}

TEST_F(WalkTest, aStopNodeAboveKeepsTheWalkInTheSubtree) {
    EXPECT_THAT(walk(top_, a_, false, false), ElementsAre(b_, leaf_, c_));
    EXPECT_EQ(next(top_, c_, 2), over(1));
    EXPECT_THAT(walk(a_, b_, false, false), ElementsAre(leaf_));
    EXPECT_EQ(next(a_, leaf_, 2), over(1)) << "the sibling of b is not entered";
    EXPECT_EQ(next(d_, e_, 5), over(5));
}

TEST_F(WalkTest, aStopNodeThatIsNeverMetEndsTheWalkBeyondTheRoot) {
    EXPECT_EQ(next(b_, e_, 5), over(2));
    EXPECT_EQ(next(b_, e_, 2), over(0xffffffff));
}

TEST_F(WalkTest, partitionNodesAreLeftOutWithAllBelowThem) {
    for (Node* const node : {a_, c_}) {
        node->partitionNodeIs(true);
    }
    EXPECT_THAT(walk(nullptr, top_, true, false), ElementsAre(d_, e_));
    EXPECT_THAT(walk(nullptr, top_, false, false), ElementsAre(a_, b_, leaf_, c_, d_, e_));
    EXPECT_THAT(walk(top_, a_, true, false), ElementsAre(b_, leaf_)) << "a itself is the start";
}

TEST_F(WalkTest, aRightSiblingThatIsLeftOutIsPassedOnTheWayUp) {
    c_->partitionNodeIs(true);
    EXPECT_EQ(next(nullptr, leaf_, 3, true), TrieTraversalReturnCode(d_, 1, 1));
    EXPECT_EQ(next(nullptr, leaf_, 3, false, true), TrieTraversalReturnCode(c_, 1, 2));
    c_->fibRouteIs(true);
    EXPECT_EQ(next(nullptr, leaf_, 3, false, true), TrieTraversalReturnCode(d_, 1, 1));
}

TEST_F(WalkTest, routesAreLeftOutWithAllBelowThemAndThisDoesNotTouchPartitions) {
    a_->partitionNodeIs(true);
    b_->fibRouteIs(true);
    d_->fibRouteIs(true);
    EXPECT_THAT(walk(nullptr, top_, false, true), ElementsAre(a_, c_));
    EXPECT_THAT(walk(nullptr, top_, true, false), ElementsAre(d_, e_));
    EXPECT_THAT(walk(nullptr, top_, true, true), IsEmpty());
    EXPECT_THAT(walk(nullptr, d_, true, true), ElementsAre(e_));
}

TEST_F(WalkTest, aNodeThatIsBothIsLeftOutByEither) {
    b_->partitionNodeIs(true);
    b_->fibRouteIs(true);
    EXPECT_THAT(walk(top_, a_, true, false), ElementsAre(c_));
    EXPECT_THAT(walk(top_, a_, false, true), ElementsAre(c_));
}

TEST_F(WalkTest, theRightNeighbourIsTheSiblingOrThatOfTheNearestAncestorThatHasOne) {
    EXPECT_EQ(right(b_, top_), only(c_));
    EXPECT_EQ(right(leaf_, top_), only(c_));
    EXPECT_EQ(right(c_, top_), only(d_));
    EXPECT_EQ(right(a_, top_), only(d_));
    EXPECT_EQ(right(b_, a_), only(c_));
    EXPECT_EQ(right(leaf_, a_), only(c_));
}

TEST_F(WalkTest, thereIsNoRightNeighbourBelowTheStopNode) {
    EXPECT_EQ(right(c_, a_), only(nullptr));
    EXPECT_EQ(right(leaf_, b_), only(nullptr));
    EXPECT_EQ(right(e_, top_), only(nullptr));
    EXPECT_EQ(right(d_, top_), only(nullptr));
    EXPECT_EQ(right(top_, top_), only(nullptr));
    EXPECT_EQ(right(b_, b_), only(nullptr));
}

TEST_F(WalkTest, aChildWithoutASiblingLooksFurtherUp) {
    hang(d_, 0, e_);
    d_->bitNodeIs(1, nullptr);
    EXPECT_EQ(right(e_, top_), only(nullptr));
    EXPECT_EQ(right(e_, d_), only(nullptr));
}

TEST_F(WalkTest, aRightNeighbourCanBeAnything) {
    c_->partitionNodeIs(true);
    c_->fibRouteIs(true);
    EXPECT_EQ(right(b_, top_), only(c_));
    EXPECT_EQ(right(leaf_, top_), only(c_));
}

using WalkDeathTest = WalkTest;

TEST_F(WalkDeathTest, aRightNeighbourNeedsBothNodes) {
    EXPECT_EXIT(right(nullptr, top_), aborts,
                trieAssertion("startNode", "no startNode", Signature::findNextRightNode));
    EXPECT_EXIT(right(top_, nullptr), aborts,
                trieAssertion("stopNode", "no stopNode", Signature::findNextRightNode));
    EXPECT_EXIT(right(nullptr, nullptr), aborts,
                trieAssertion("startNode", "no startNode", Signature::findNextRightNode));
}

class WalkOfSmallTriesTest : public TrieFixture {};

TEST_F(WalkOfSmallTriesTest, anEmptyTrieHasNoFirstNode) {
    EXPECT_EQ(trie().preorderNextNode(nullptr, nullptr, 4, false, false),
              TrieTraversalReturnCode(nullptr, 3, 0));
}

TEST_F(WalkOfSmallTriesTest, afterTheOnlyNodeTheWalkIsOverAtItsLevel) {
    Node* const root = routeAndPartition("10.0.0.0/8");
    EXPECT_EQ(trie().preorderNextNode(nullptr, nullptr, 4, true, true),
              TrieTraversalReturnCode(root, 3, 0));
    EXPECT_EQ(trie().preorderNextNode(nullptr, root, 4, true, true),
              TrieTraversalReturnCode(nullptr, 3, 4));
}

TEST_F(WalkOfSmallTriesTest, aWalkOfARandomTrieMeetsAllNodesInOrderOfTheirPrefixes) {
    Random random(7);
    for (U32 i = 0; i < 300; ++i) {
        IpGenPrefix const any =
            IpGenPrefix(Nimbal::IpAddr(random.any()), random.below(33)).hostBitsCleared();
        if (!insertionRefusal(trie(), any, nullptr, true, false, {}, 0)) {
            trie().insertFromRoot(any, true, false, {}, 0);
        }
    }
    std::vector<IpGenPrefix> met;
    TrieTraversalReturnCode step = trie().preorderNextNode(nullptr, nullptr, 0, false, false);
    while (step.node() != nullptr) {
        met.push_back(step.node()->prefixRef()->prefix());
        step = trie().preorderNextNode(nullptr, step.node(), step.level, false, false);
    }
    EXPECT_EQ(met.size(), placedNodes(trie().root()).size());
    EXPECT_TRUE(std::is_sorted(met.begin(), met.end()));
    EXPECT_EQ(std::adjacent_find(met.begin(), met.end()), met.end());
}

}  // namespace
