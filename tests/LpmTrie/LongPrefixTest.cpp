#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

#include <Vexo/RangeException.h>

#include <optional>

namespace {

using namespace TrieTests;
using testing::ElementsAre;

/* Prefixes longer than any address. They are taken as given until a bit is asked for that no
 * address has; whatever then was done already is undone. */

IpGenPrefix v6(U32 len, U32 firstWord = 0) {
    return {Nimbal::Ip6Addr::fromWords({firstWord, 0, 0, 0}), len};
}
IpGenPrefix v4(U32 len) {
    return {Nimbal::IpAddr(0x0a000000), len};
}

String textOf(Vexo::RangeException const& exception) {
    return exception.what();
}

/** What the network types say of bit 128. */
String addressRangeError() {
    try {
        Nimbal::throwIp6AddrU32(4);
    } catch (Vexo::RangeException const& exception) {
        return textOf(exception);
    }
}

struct LongPrefixCase {
    char const* name;
    std::vector<IpGenPrefix> present;
    IpGenPrefix inserted;
};

class LongPrefixTest : public TrieFixture, public testing::WithParamInterface<LongPrefixCase> {
protected:
    LongPrefixTest() {
        trie().afIs(GetParam().inserted.af());
        for (IpGenPrefix const& present : GetParam().present) {
            last_ = trie().insertFromRoot(present, true, false, id_, 1).node();
        }
    }

    void expectRefusedWithoutATrace(Node* start, bool fibRoute, bool partitionNode) {
        std::vector<NodeState> const before = snapshot(trie());
        U64 const nodesBefore = Vexo::allocationCounts("LpmTrie::Node").live();
        std::optional<String> error;
        try {
            trie().insert(GetParam().inserted, start, fibRoute, partitionNode, id_, 1);
        } catch (Vexo::RangeException const& exception) {
            error = textOf(exception);
        }
        EXPECT_EQ(error, addressRangeError());
        EXPECT_EQ(snapshot(trie()), before);
        EXPECT_EQ(Vexo::allocationCounts("LpmTrie::Node").live(), nodesBefore);
        EXPECT_TRUE(
            insertionRefusal(trie(), GetParam().inserted, start, fibRoute, partitionNode, id_, 1));
    }

    PartitionId::Ptr const id_ = partitionId(5);
    Node* last_ = nullptr;
};

TEST_P(LongPrefixTest, anInsertionRaisesTheAddressRangeErrorAndLeavesNoMark) {
    for (Node* const start : {static_cast<Node*>(nullptr), trie().root()}) {
        if (start == nullptr || start->len() <= 128) {
            expectRefusedWithoutATrace(start, true, false);
            expectRefusedWithoutATrace(start, false, true);
            expectRefusedWithoutATrace(start, true, true);
        }
    }
}

TEST_P(LongPrefixTest, thePresentPrefixesAreRemovedAsAnyOther) {
    for (IpGenPrefix const& present : GetParam().present) {
        if (present.len() <= 128) {
            EXPECT_TRUE(trie().remove(present).success) << present;
        }
    }
    for (PlacedNode const& placed : placedNodes(trie().root())) {
        EXPECT_GT(placed.node->len(), 128U);
    }
}

INSTANTIATE_TEST_SUITE_P(
    AllPlacements, LongPrefixTest,
    testing::Values(LongPrefixCase{"BelowTheLastBit", {v6(0), v6(64), v6(128)}, v6(129)},
                    LongPrefixCase{"BelowTheOnlyNode", {v6(128)}, v6(0xffffffff)},
                    LongPrefixCase{"EqualPrefixes", {v6(0), v6(200)}, v6(200)},
                    LongPrefixCase{"EqualRoots", {v6(200)}, v6(200)},
                    LongPrefixCase{"LongerAndShorter", {v6(64), v6(200)}, v6(150)},
                    LongPrefixCase{"ShorterAndLonger", {v6(64), v6(150)}, v6(200)},
                    LongPrefixCase{"ParentOfALongOne", {v6(64), v6(200)}, v6(128)},
                    LongPrefixCase{"ParentOfALongRoot", {v6(129)}, v6(128)},
                    LongPrefixCase{"Ipv4BelowTheLastBit", {v4(8), v4(32), v4(128)}, v4(129)},
                    LongPrefixCase{"Ipv4EqualPrefixes", {v4(8), v4(300)}, v4(300)}),
    [](auto const& each) { return each.param.name; });

class LongPrefixAloneTest : public V6TrieFixture {};

TEST_F(LongPrefixAloneTest, isTakenWhereNoBitBeyondTheAddressIsAskedFor) {
    trie().insertFromRoot(v6(500), true, false, {}, 0);
    trie().insertFromRoot(v6(500, 0x80000000), true, false, {}, 0);
    trie().insertFromRoot(v6(0), true, false, {}, 0);
    ASSERT_EQ(trie().root()->routeCount(), 3U);
    EXPECT_EQ(trie().root()->bitNode(0)->prefixRef()->prefix(), v6(500));
    EXPECT_EQ(trie().root()->bitNode(1)->prefixRef()->prefix(), v6(500, 0x80000000));
}

TEST_F(LongPrefixAloneTest, isSoughtAndRemovedByTheSameRule) {
    trie().insertFromRoot(v6(0), true, true, {}, 0);
    trie().insertFromRoot(v6(128), true, false, {}, 0);
    std::vector<NodeState> const before = snapshot(trie());
    for (bool const pending : {false, true}) {
        EXPECT_THROW(trie().findPartitionNode(v6(129), pending), Vexo::RangeException);
    }
    EXPECT_THROW(trie().remove(v6(129)), Vexo::RangeException);
    EXPECT_EQ(snapshot(trie()), before);
    Node* const root = trie().root();
    EXPECT_EQ(trie().findPartitionNode(v6(129, 0x80000000), false),
              TrieReturnCode(root, root, root, false));
    EXPECT_EQ(trie().remove(v6(129, 0x80000000)), TrieNodeReturnCode(nullptr, false));
}

class LongIpv4PrefixTest : public TrieFixture {};

TEST_F(LongIpv4PrefixTest, lengthsFrom33To128ArePlacedByTheBitsBehindTheAddressWhichAreZero) {
    trie().insertFromRoot(v4(128), true, false, {}, 0);
    trie().insertFromRoot(v4(32), true, false, {}, 0);
    trie().insertFromRoot(v4(40), true, false, {}, 0);
    Node* const root = trie().root();
    EXPECT_EQ(root->prefixRef()->prefix(), v4(32));
    ASSERT_NE(root->bitNode(0), nullptr);
    EXPECT_EQ(root->bitNode(0)->prefixRef()->prefix(), v4(40));
    ASSERT_NE(root->bitNode(0)->bitNode(0), nullptr);
    EXPECT_EQ(root->bitNode(0)->bitNode(0)->prefixRef()->prefix(), v4(128));
    EXPECT_EQ(root->routeCount(), 3U);
}

}  // namespace
