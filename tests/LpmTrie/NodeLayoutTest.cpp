#include <LpmTrie/LpmTrieNode.h>

#include <tests/LpmTrie/TrieFixture.h>
#include <tests/LpmTrie/VirtualSlots.h>
#include <tests/Support/AssertionText.h>
#include <tests/Support/LeakCheck.h>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <new>

/* What debuggers, memory dumps and derived classes built elsewhere see of a node: the places of its
 * fields and virtual operations, and what a destroyed one leaves in memory. */

namespace {

using LpmTrie::Node;
using LpmTrie::PartitionId;
using LpmTrie::PartitionIdValue;
using LpmTrie::PendingState;
using LpmTrieTest::slotOf;
using Nimbal::IpGenPrefixRef;
using TrieTests::aborts;
using TrieTests::address;
using TrieTests::brokenEyeCatcher;
using TrieTests::nodeAssertion;
using Vexo::U32;

class AddsAnOperation : public Node {
public:
    using Node::Node;
    virtual void added() {}
};

TEST(NodeLayoutTest, virtualOperationsStandBehindTheDestructorInTheirOrder) {
    EXPECT_EQ(slotOf(&Node::verifyPartition), 2U);
    EXPECT_EQ(slotOf(&Node::getHwTableStr), 3U);
    EXPECT_EQ(slotOf(&Node::getPendingStateStr), 4U);
    EXPECT_EQ(slotOf(&AddsAnOperation::added), 5U);
}

// Apart from their callers, so that the compiler does not know of the node what its caller does.
[[gnu::noinline]] void destroyNode(Node* node) {
    node->~Node();
}
[[gnu::noinline]] void makeRoute(Node* node) {
    node->fibRouteIs(true);
}
[[gnu::noinline]] U32 lengthOf(Node const* node) {
    return node->len();
}

/** Storage that stays owned when the node in it is destroyed. */
class NodeStorage {
public:
    Node* construct(IpGenPrefixRef::Ptr const& holder, PartitionId::Ptr const& id) {
        return new (bytes_.data()) Node(holder, false, true, id, 0x11223344U);
    }
    /**
     * Some sanitizers make a destroyed object lose its virtual table, to find its uses themselves.
     * It gets it back: here the node is to find out.
     */
    void destroy(Node* node) {
        auto const virtualTable = at<void const*>(0);
        destroyNode(node);
        std::memcpy(bytes_.data(), &virtualTable, sizeof(virtualTable));
    }
    /** What stands `offset` bytes from the node's begin, read where the compiler sees no node. */
    template <class T>
    [[gnu::noinline]] T at(std::size_t offset) const {
        T value;
        std::memcpy(&value, bytes_.data() + offset, sizeof(value));
        return value;
    }

private:
    alignas(Node) std::array<std::byte, sizeof(Node)> bytes_{};
};

class NodeStorageTest : public TestSupport::LeakCheck {
protected:
    IpGenPrefixRef::Ptr const holder_ = IpGenPrefixRef::IpGenPrefixRefIs(TrieTests::prefix("::/0"));
    PartitionId::Ptr const id_ = PartitionId::PartitionIdIs(PartitionIdValue(5), 0xffff, {});
    NodeStorage storage_;
};
using NodeStorageDeathTest = NodeStorageTest;

constexpr std::size_t word = sizeof(void*);
constexpr std::size_t eyeCatcherAt = word;
constexpr std::size_t linksAt = word + 16;

TEST_F(NodeStorageTest, fieldsStandInTheirOrder) {
    static_assert(sizeof(bool) == 1 && (word == 8 || word == 4));
    Node* const node = storage_.construct(holder_, id_);
    node->routeCountInc(0x01020304U);
    node->partitionRouteCountIs(0x05060708U);
    node->parentIs(node);
    node->bitNodeIs(0, node + 1);
    node->bitNodeIs(1, node);
    node->pendingStateIs(PendingState::maxPendingState_());
    EXPECT_EQ(storage_.at<U32>(eyeCatcherAt), 0xBADBADBAU);
    EXPECT_EQ(storage_.at<bool>(word + 4), true) << "partition node";
    EXPECT_EQ(storage_.at<bool>(word + 5), false) << "FIB route";
    EXPECT_EQ(storage_.at<U32>(word + 8), 0x01020304U) << "routeCount";
    EXPECT_EQ(storage_.at<U32>(word + 12), 0x05060708U) << "partitionRouteCount";
    EXPECT_EQ(storage_.at<Node*>(linksAt), node) << "parent";
    EXPECT_EQ(storage_.at<Node*>(linksAt + word), node + 1) << "child 0";
    EXPECT_EQ(storage_.at<Node*>(linksAt + 2 * word), node) << "child 1";
    EXPECT_EQ(storage_.at<IpGenPrefixRef*>(linksAt + 3 * word), holder_.get());
    EXPECT_EQ(storage_.at<PartitionId*>(linksAt + 4 * word), id_.get());
    EXPECT_EQ(storage_.at<unsigned char>(linksAt + 5 * word), 8) << "pendingState";
    EXPECT_EQ(storage_.at<U32>(linksAt + 5 * word + 4), 0x11223344U) << "hardware table";
    storage_.destroy(node);
}

TEST_F(NodeStorageTest, aDestroyedNodeLeavesThePoisonAndNoLinks) {
    Node* const node = storage_.construct(holder_, id_);
    node->parentIs(node);
    node->bitNodeIs(0, node);
    node->bitNodeIs(1, node);
    EXPECT_EQ(storage_.at<U32>(eyeCatcherAt), LpmTrie::TRIE_NODE_EYECATCHER);
    storage_.destroy(node);
    EXPECT_EQ(storage_.at<U32>(eyeCatcherAt), 0xBADBEEFFU);
    for (std::size_t link = 0; link < 3; ++link) {
        EXPECT_EQ(storage_.at<Node*>(linksAt + link * word), nullptr) << link;
    }
}

TEST_F(NodeStorageTest, aDestroyedNodeHasReleasedItsReferences) {
    Node* const node = storage_.construct(holder_, id_);
    EXPECT_EQ(holder_->references(), 2U);
    EXPECT_EQ(id_->references(), 2U);
    storage_.destroy(node);
    EXPECT_EQ(holder_->references(), 1U);
    EXPECT_EQ(id_->references(), 1U);
}

TEST_F(NodeStorageDeathTest, destroyingANodeTwiceIsFoundOut) {
    Node* const node = storage_.construct(holder_, id_);
    storage_.destroy(node);
    EXPECT_EXIT(destroyNode(node), aborts,
                nodeAssertion("eyeCatcher_ == TRIE_NODE_EYECATCHER",
                              "Freeing invalid node:" + address(node),
                              "virtual LpmTrie::Node::~Node()"));
}

TEST_F(NodeStorageDeathTest, usingADestroyedNodeIsFoundOut) {
    Node* const node = storage_.construct(holder_, id_);
    storage_.destroy(node);
    EXPECT_EXIT(makeRoute(node), aborts,
                brokenEyeCatcher(node, "void LpmTrie::Node::fibRouteIs(bool)"));
    EXPECT_EXIT(lengthOf(node), aborts, brokenEyeCatcher(node, "U32 LpmTrie::Node::len() const"));
}

}  // namespace
