#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

namespace {

using namespace TrieTests;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::TraceCapture;

class CountersTraceTest : public TrieFixture {
protected:
    CountersTraceTest() {
        trie().rootIs(top_);
        hang(top_, 0, middle_);
        hang(middle_, 0, route_);
        for (Node* const node : {top_, middle_, route_}) {
            count(node, 5, 5);
        }
    }

    Node* const top_ = make("0.0.0.0/0", false, true);
    Node* const middle_ = make("10.0.0.0/8");
    Node* const route_ = makeRoute("10.1.0.0/16");
};

TEST_F(CountersTraceTest, updateParentRouteCountIsOneLineWhateverItPasses) {
    TraceCapture const trace;
    trie().updateParentRouteCount(route_, true);
    trie().updateParentRouteCount(top_, false);
    trie().updateParentRouteCount(nullptr, true);
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(
            line(8, Signature::updateParentRouteCount + "Fib,10.1.0.0/16,5,5,nil,hw:0 incr:1"),
            line(8, Signature::updateParentRouteCount + "Partition,0.0.0.0/0,6,5,nil,hw:0 incr:0"),
            line(8, Signature::updateParentRouteCount + "(nil) incr:1")));
}

TEST_F(CountersTraceTest, updatePartitionRouteCountTellsEachNodeBeforeItChangesIt) {
    TraceCapture const trace;
    trie().updatePartitionRouteCount(route_, true, 2);
    trie().updatePartitionRouteCount(middle_, false, 7);
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(
            line(8, Signature::updatePartitionRouteCount + "Fib,10.1.0.0/16,5,5,nil,hw:0"),
            line(7, "incrementing partitionCount for node:Fib,10.1.0.0/16,5,5,nil,hw:0 value:2"),
            line(7, "incrementing partitionCount for node:Int,10.0.0.0/8,5,5,nil,hw:0 value:2"),
            line(7, "incrementing partitionCount for node:Partition,0.0.0.0/0,5,5,nil,hw:0 "
                    "value:2"),
            line(8, Signature::updatePartitionRouteCount + "Int,10.0.0.0/8,5,7,nil,hw:0"),
            line(7, "decrementing partitionCount for node:Int,10.0.0.0/8,5,7,nil,hw:0 value:7"),
            line(7, "decrementing partitionCount for node:Partition,0.0.0.0/0,5,7,nil,hw:0 "
                    "value:7")));
}

TEST_F(CountersTraceTest, updatePartitionRouteCountByZeroSaysSoAndOfNothingDoesNot) {
    TraceCapture const trace;
    trie().updatePartitionRouteCount(route_, false, 0);
    trie().updatePartitionRouteCount(nullptr, true, 0);
    trie().updatePartitionRouteCount(nullptr, true, 1);
    EXPECT_THAT(
        trace.lines(),
        ElementsAre(line(8, Signature::updatePartitionRouteCount + "Fib,10.1.0.0/16,5,5,nil,hw:0"),
                    line(7, "nothing to be done"),
                    line(8, Signature::updatePartitionRouteCount + "(nil)"),
                    line(7, "nothing to be done"),
                    line(8, Signature::updatePartitionRouteCount + "(nil)")));
}

TEST_F(CountersTraceTest, updatePartitionRouteCountByZeroSaysNoMoreThanItsLevel) {
    TraceCapture const trace("LpmTrie/8");
    trie().updatePartitionRouteCount(route_, false, 0);
    EXPECT_THAT(trace.lines(), ElementsAre(line(8, Signature::updatePartitionRouteCount +
                                                       "Fib,10.1.0.0/16,5,5,nil,hw:0")));
}

TEST_F(CountersTraceTest, mergePartitionNodeCountAndDecRouteCountersTellTheirNodeAlone) {
    middle_->partitionNodeIs(true);
    TraceCapture const trace;
    trie().mergePartitionNodeCount(middle_);
    trie().decRouteCounters(route_);
    EXPECT_THAT(trace.lines(),
                ElementsAre(line(8, Signature::mergePartitionNodeCount +
                                        "Partition,10.0.0.0/8,5,5,nil,hw:0,cp"),
                            line(8, Signature::decRouteCounters + "Fib,10.1.0.0/16,5,5,nil,hw:0")));
}

TEST_F(CountersTraceTest, nothingAtAnyOtherLevel) {
    TraceCapture const trace("LpmTrie/0-6,LpmTrie/9");
    trie().updateParentRouteCount(route_, true);
    trie().updatePartitionRouteCount(route_, true, 1);
    trie().updatePartitionRouteCount(route_, true, 0);
    trie().mergePartitionNodeCount(top_);
    trie().decRouteCounters(route_);
    EXPECT_THAT(trace.lines(), IsEmpty());
}

}  // namespace
