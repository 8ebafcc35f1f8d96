#include <tests/LpmTrie/Reflection.h>

#include <algorithm>

/* The collection of moved routes, by name. */

namespace {

using namespace ReflectionTests;

class ReflectionCollectionTest : public TestSupport::LeakCheck {
protected:
    TrieNodesInfo& moved() const { return *moved_; }
    Value& self() { return self_; }

    bool lookUp(TrieNodeInfo const& key) { return answer(AttributeOperation::lookUp, key); }
    bool contains(TrieNodeInfo const& key) { return answer(AttributeOperation::contains, key); }
    bool erase(TrieNodeInfo const& key) { return answer(AttributeOperation::erase, key); }
    void put(TrieNodeInfo const& key, bool value) {
        ask(self_, "nodeInfo", AttributeOperation::put, {box(key), box(value)});
    }
    U64 count() { return number(AttributeOperation::count); }
    U64 capacity() { return number(AttributeOperation::capacity); }
    TrieNodeInfo keyAt(U64 index) {
        return unbox<TrieNodeInfo>(ask(self_, "nodeInfo", AttributeOperation::keyAt, {box(index)}),
                                   "key");
    }

private:
    bool answer(AttributeOperation operation, TrieNodeInfo const& key) {
        return unbox<bool>(ask(self_, "nodeInfo", operation, {box(key)}), "answer");
    }
    U64 number(AttributeOperation operation) {
        return unbox<U64>(ask(self_, "nodeInfo", operation), "number");
    }

    TrieNodesInfo::Ptr const moved_ = LpmTrie::trieNodesInfoFactory();
    Value self_ = box(moved_);
};

TrieNodeInfo record(char const* text, PartitionId::Ptr const& old = {}) {
    return {holder(text), old, nullptr};
}

TEST_F(ReflectionCollectionTest, anEmptyOneHoldsNothing) {
    TrieNodeInfo const key = record("10.0.0.0/8");
    EXPECT_EQ(count(), 0U);
    EXPECT_EQ(capacity(), moved().nodeInfo().capacity());
    EXPECT_FALSE(lookUp(key));
    EXPECT_FALSE(contains(key));
    EXPECT_FALSE(erase(key));
    EXPECT_EQ(count(), 0U);
}

TEST_F(ReflectionCollectionTest, anEntryIsSetLookedUpAndDeleted) {
    TrieNodeInfo const key = record("10.0.0.0/8", partitionId(1));
    put(key, true);
    EXPECT_TRUE(lookUp(key));
    EXPECT_TRUE(contains(key));
    EXPECT_EQ(count(), 1U);
    EXPECT_TRUE(moved().nodeInfo(key));
    put(key, true);
    EXPECT_EQ(count(), 1U);
    EXPECT_TRUE(erase(key));
    EXPECT_FALSE(contains(key));
    EXPECT_FALSE(erase(key));
    EXPECT_EQ(count(), 0U);
}

TEST_F(ReflectionCollectionTest, membershipIsNotTheValue) {
    TrieNodeInfo const key = record("10.0.0.0/8");
    put(key, false);
    EXPECT_FALSE(lookUp(key));
    EXPECT_TRUE(contains(key));
    EXPECT_EQ(count(), 1U);
    put(key, true);
    EXPECT_TRUE(lookUp(key));
    put(key, false);
    EXPECT_FALSE(lookUp(key));
    EXPECT_TRUE(erase(key));
}

TEST_F(ReflectionCollectionTest, aKeyIsFoundByIdentityOfItsObjects) {
    PartitionId::Ptr const old = partitionId(1);
    TrieNodeInfo const key = record("10.0.0.0/8", old);
    put(key, true);
    TrieNodeInfo const otherHolder(holder("10.0.0.0/8"), old, nullptr);
    TrieNodeInfo const otherId(key.prefixRef(), partitionId(1), nullptr);
    EXPECT_EQ(otherHolder.hash(), key.hash());
    EXPECT_FALSE(contains(otherHolder));
    EXPECT_FALSE(contains(otherId));
    EXPECT_FALSE(erase(otherId));
    put(otherId, false);
    EXPECT_EQ(count(), 2U);
    EXPECT_TRUE(lookUp(key));
    EXPECT_TRUE(contains(TrieNodeInfo(key)));
}

TEST_F(ReflectionCollectionTest, anEntryKeepsItsObjectsAlive) {
    Vexo::Ptr<Bitmap> const bitmap = Bitmap::BitmapIs();
    {
        TrieNodeInfo const key =
            record("10.0.0.0/8", PartitionId::PartitionIdIs(PartitionIdValue(4), 15, bitmap));
        put(key, true);
    }
    EXPECT_TRUE(bitmap->isSet(4));
    EXPECT_TRUE(erase(keyAt(0)));
    EXPECT_FALSE(bitmap->isSet(4));
}

TEST_F(ReflectionCollectionTest, everyEntryIsReachedByItsNumber) {
    std::vector<TrieNodeInfo> keys;
    for (U32 i = 0; i < 100; ++i) {
        keys.push_back(record(("10." + std::to_string(i) + ".0.0/16").c_str()));
        put(keys.back(), i % 2 == 0);
    }
    EXPECT_EQ(count(), 100U);
    EXPECT_GE(capacity(), 100U);
    EXPECT_EQ(capacity(), moved().nodeInfo().capacity());
    std::vector<TrieNodeInfo> listed;
    for (U64 i = 0; i < count(); ++i) {
        listed.push_back(keyAt(i));
    }
    EXPECT_TRUE(std::ranges::is_permutation(listed, keys));
    for (U32 i = 0; i < 100; ++i) {
        EXPECT_EQ(lookUp(keys[i]), i % 2 == 0) << i;
    }
    for (TrieNodeInfo const& key : keys) {
        EXPECT_TRUE(erase(key));
    }
    EXPECT_EQ(count(), 0U);
}

TEST_F(ReflectionCollectionTest, aNumberPastTheLastEntryIsOutOfRange) {
    EXPECT_THROW(keyAt(0), RangeException);
    put(record("10.0.0.0/8"), true);
    keyAt(0);
    for (U64 const index : {U64{1}, U64{1} << 32, ~U64{0}}) {
        EXPECT_EQ(messageOf<RangeException>([&] { keyAt(index); }),
                  "attribute 'nodeInfo' of LpmTrie::TrieNodesInfo: no entry number " +
                      std::to_string(index));
    }
}

TEST_F(ReflectionCollectionTest, aRecordWithoutAPrefixIsNoKey) {
    TrieNodeInfo const withoutPrefix(nullptr, partitionId(1), nullptr);
    // In an empty collection and in one with entries.
    for (int round = 0; round < 2; ++round) {
        EXPECT_THROW(put(withoutPrefix, true), RangeException);
        EXPECT_THROW(lookUp(withoutPrefix), RangeException);
        EXPECT_THROW(contains(withoutPrefix), RangeException);
        EXPECT_THROW(erase(withoutPrefix), RangeException);
        put(record("10.0.0.0/8"), true);
        EXPECT_EQ(count(), static_cast<U64>(round) + 1);
    }
}

TEST_F(ReflectionCollectionTest, aHandedOutKeyIsACopy) {
    TrieNodeInfo const key = record("10.0.0.0/8", partitionId(1));
    put(key, true);
    Value handedOut = ask(self(), "nodeInfo", AttributeOperation::keyAt, {box(0U)});
    set(handedOut, "oldPartitionId", Value());
    EXPECT_TRUE(contains(key));
    EXPECT_FALSE(contains(unbox<TrieNodeInfo>(handedOut, "")));
}

TEST_F(ReflectionCollectionTest, theTriesReportsAreReadByName) {
    Trie::Ptr const trie = ipv4Trie();
    PartitionId::Ptr const old = partitionId(1);
    LpmTrie::Node* const node =
        trie->insertFromRoot(prefix("10.0.0.0/8"), true, false, partitionId(2), 0).node();
    EXPECT_TRUE(trie->addMovedNode(node, old, Vexo::Ptr<TrieNodesInfo>(&moved())));
    Value key = ask(self(), "nodeInfo", AttributeOperation::keyAt, {box(0U)});
    EXPECT_EQ(get(key, "prefixRef").object(), node->prefixRef());
    EXPECT_EQ(get(key, "oldPartitionId").object(), old);
    EXPECT_EQ(get(key, "newPartitionId").object(), node->partitionId());
    LpmTrie::removeAll(*trie);
}

TEST_F(ReflectionCollectionTest, isMadeByNameWithNotificationOn) {
    Value made = Vexo::createByType(TrieNodesInfo::fwkType_, {});
    EXPECT_EQ(made.type(), &TrieNodesInfo::fwkType_);
    EXPECT_TRUE(made.object()->hasNotificationActive());
    EXPECT_EQ(made.object()->references(), 1U);
}

}  // namespace
