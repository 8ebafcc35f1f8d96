#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

namespace {

using namespace TrieTests;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::TraceCapture;

class WalkTraceTest : public TrieFixture {
protected:
    static TestSupport::CapturedLine stepped(String const& arguments) {
        return line(8, Signature::preorderNextNode + arguments);
    }
    static TestSupport::CapturedLine soughtRight(String const& arguments) {
        return line(8, Signature::findNextRightNode + arguments);
    }
};

TEST_F(WalkTraceTest, aStepDownIsOneLine) {
    Node* const root = route("10.0.0.0/8");
    Node* const child = route("10.1.0.0/16");
    TraceCapture const trace;
    trie().preorderNextNode(nullptr, root, 4, false, false);
    trie().preorderNextNode(root, child, 5, true, false);
    EXPECT_THAT(trace.lines(),
                ElementsAre(stepped(" stopNode:(nil) startNode:Fib,10.0.0.0/8,2,2,nil,hw:0 level:4 "
                                    "stopAtFibRoute0 stopAtPartitionNode:0"),
                            stepped(" stopNode:Fib,10.0.0.0/8,2,2,nil,hw:0 "
                                    "startNode:Fib,10.1.0.0/16,1,1,nil,hw:0 level:5 "
                                    "stopAtFibRoute0 stopAtPartitionNode:1")));
}

TEST_F(WalkTraceTest, theStartFromTheRoot) {
    TraceCapture const trace;
    trie().preorderNextNode(nullptr, nullptr, 4, false, true);
    EXPECT_THAT(trace.lines(), ElementsAre(stepped(" stopNode:(nil) startNode:(nil) level:4 "
                                                   "stopAtFibRoute1 stopAtPartitionNode:0"),
                                           line(9, "Starting from root (nil)")));
}

TEST_F(WalkTraceTest, theStartFromARootThatIsThere) {
    route("10.0.0.0/8");
    TraceCapture const trace("LpmTrie/9");
    trie().preorderNextNode(nullptr, nullptr, 0, false, false);
    EXPECT_THAT(trace.lines(),
                ElementsAre(line(9, "Starting from root Fib,10.0.0.0/8,1,1,nil,hw:0")));
}

TEST_F(WalkTraceTest, eachNodeOnTheWayUpWithItsParent) {
    Node* const root = route("0.0.0.0/0");
    route("10.0.0.0/8");
    Node* const leaf = route("10.1.0.0/16");
    TraceCapture const trace;
    trie().preorderNextNode(leaf, leaf, 2, false, false);
    EXPECT_EQ(root->parent(), nullptr);
    EXPECT_THAT(trace.lines(),
                ElementsAre(stepped(" stopNode:Fib,10.1.0.0/16,1,1,nil,hw:0 "
                                    "startNode:Fib,10.1.0.0/16,1,1,nil,hw:0 level:2 "
                                    "stopAtFibRoute0 stopAtPartitionNode:0"),
                            line(9, "Current Fib,10.1.0.0/16,1,1,nil,hw:0 "
                                    "parentFib,10.0.0.0/8,2,2,nil,hw:0"),
                            line(9, "Current Fib,10.0.0.0/8,2,2,nil,hw:0 "
                                    "parentFib,0.0.0.0/0,3,3,nil,hw:0"),
                            line(9, "Current Fib,0.0.0.0/0,3,3,nil,hw:0 parent(nil)")));
}

TEST_F(WalkTraceTest, theEndAtTheStopNodeIsNotAStepUp) {
    route("0.0.0.0/0");
    route("10.0.0.0/8");
    Node* const leaf = route("10.1.0.0/16");
    route("128.0.0.0/1");
    TraceCapture const trace("LpmTrie/9");
    trie().preorderNextNode(leaf->parent(), leaf, 2, false, false);
    EXPECT_THAT(trace.lines(), IsEmpty());
    trie().preorderNextNode(nullptr, leaf, 2, false, false);
    EXPECT_THAT(trace.lines(), ElementsAre(line(9, "Current Fib,10.1.0.0/16,1,1,nil,hw:0 "
                                                   "parentFib,10.0.0.0/8,2,2,nil,hw:0"),
                                           line(9, "Current Fib,10.0.0.0/8,2,2,nil,hw:0 "
                                                   "parentFib,0.0.0.0/0,4,4,nil,hw:0")));
}

TEST_F(WalkTraceTest, aRightNeighbour) {
    Node* const root = route("10.0.0.0/8");
    Node* const left = route("10.0.0.0/9");
    route("10.128.0.0/9");
    TraceCapture const trace;
    trie().findNextRightNode(left, root);
    EXPECT_THAT(trace.lines(),
                ElementsAre(soughtRight(" startNode:Fib,10.0.0.0/9,1,1,nil,hw:0 "
                                        "stopNode:Fib,10.0.0.0/8,3,3,nil,hw:0"),
                            line(7, "found right node:Fib,10.128.0.0/9,1,1,nil,hw:0"),
                            soughtRight(" node:Fib,10.128.0.0/9,1,1,nil,hw:0")));
}

TEST_F(WalkTraceTest, noRightNeighbour) {
    Node* const root = route("10.0.0.0/8");
    Node* const only = route("10.128.0.0/9");
    TraceCapture const trace;
    trie().findNextRightNode(only, root);
    trie().findNextRightNode(root, root);
    EXPECT_THAT(trace.lines(), ElementsAre(soughtRight(" startNode:Fib,10.128.0.0/9,1,1,nil,hw:0 "
                                                       "stopNode:Fib,10.0.0.0/8,2,2,nil,hw:0"),
                                           soughtRight(" node:(nil)"),
                                           soughtRight(" startNode:Fib,10.0.0.0/8,2,2,nil,hw:0 "
                                                       "stopNode:Fib,10.0.0.0/8,2,2,nil,hw:0"),
                                           soughtRight(" node:(nil)")));
}

}  // namespace
