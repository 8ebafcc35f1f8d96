#include <tests/LpmTrie/TrieFixture.h>

#include <LpmTrie/RouteQueries.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using namespace TrieTests;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

class LeavingTrie : public Trie {
public:
    LeavingTrie() : Trie(1) {}
    void deallocateNode(Node* node) override {
        left_.push_back(node->prefixRef()->prefix().stringValue());
        Trie::deallocateNode(node);
    }
    std::vector<String> left_;
};

class RemoveAllTest : public TrieFixture {
protected:
    RemoveAllTest() { trieIs(leaving_); }

    LeavingTrie* const leaving_ = new LeavingTrie();
};

TEST_F(RemoveAllTest, anEmptyTrieStaysEmpty) {
    removeAll(trie());
    EXPECT_EQ(trie().root(), nullptr);
    EXPECT_THAT(leaving_->left_, ElementsAre());
}

TEST_F(RemoveAllTest, everyKindOfNodeGoesThroughTheClientsDeallocateNode) {
    PartitionId::Ptr const outer = partitionId(1);
    routeAndPartition("0.0.0.0/0", outer);
    partition("10.0.0.0/8", partitionId(2));
    route("10.0.0.0/9", partitionId(3));
    route("10.128.0.0/9");
    route("11.0.0.0/8");
    removeAll(trie());
    EXPECT_EQ(trie().root(), nullptr);
    EXPECT_THAT(leaving_->left_, UnorderedElementsAre("0.0.0.0/0", "10.0.0.0/7", "10.0.0.0/8",
                                                      "10.0.0.0/9", "10.128.0.0/9", "11.0.0.0/8"));
    EXPECT_EQ(bitmap().count(), 1U) << "all ids but the test's own are given back";
    EXPECT_EQ(Vexo::allocationCounts("LpmTrie::Node").live(), 0U);
}

TEST_F(RemoveAllTest, whateverIsPendingIsNoObstacle) {
    for (U32 flags = 0; flags < 16; ++flags) {
        PendingState const pending(static_cast<unsigned char>(flags));
        route("10.0.0.0/8")->pendingStateIs(pending);
        partition("11.0.0.0/8")->pendingStateIs(pending);
        Node* const joint = find("10.0.0.0/7");
        ASSERT_NE(joint, nullptr);
        joint->pendingStateIs(pending);
        removeAll(trie());
        EXPECT_EQ(trie().root(), nullptr) << pending;
    }
    EXPECT_EQ(leaving_->left_.size(), 48U);
}

TEST_F(RemoveAllTest, aNodePendingRemovalThatNoRemovalTakesGoes) {
    Node* const node = route("10.0.0.0/8", partitionId(5));
    node->pendingStateIs(PendingState::removePartition_());
    trie().remove(prefix("10.0.0.0/8"));
    EXPECT_EQ(trie().root(), node);
    removeAll(trie());
    EXPECT_EQ(trie().root(), nullptr);
    EXPECT_EQ(bitmap().count(), 0U);
}

TEST_F(RemoveAllTest, theTrieCanBeFilledAgain) {
    route("10.0.0.0/8");
    routeAndPartition("11.0.0.0/8");
    removeAll(trie());
    route("20.0.0.0/8");
    route("20.1.0.0/16");
    EXPECT_THAT(drawing(trie()), ElementsAre("Fib,20.0.0.0/8,2,2,nil,hw:0",  //
                                             "  0 Fib,20.1.0.0/16,1,1,nil,hw:0"));
    trie().verify();
}

class RemoveAllV6Test : public V6TrieFixture {};

TEST_F(RemoveAllV6Test, theDeepestTrieGoes) {
    Nimbal::Ip6Addr const ones = Nimbal::Ip6Addr::fromWords({~0U, ~0U, ~0U, ~0U});
    for (U32 len = 0; len <= 128; ++len) {
        trie().insertFromRoot(LpmTrie::prefixFromLen(IpGenPrefix(ones, 128), len), true,
                              len % 2 == 0, {}, 0);
    }
    EXPECT_EQ(Vexo::allocationCounts("LpmTrie::Node").live(), 129U);
    removeAll(trie());
    EXPECT_EQ(Vexo::allocationCounts("LpmTrie::Node").live(), 0U);
}

}  // namespace
