#include <tests/LpmTrie/TrieFixture.h>

namespace {

using namespace TrieTests;

class InsertV6Test : public V6TrieFixture {};

TEST_F(InsertV6Test, everyBitOfTheAddressCanPartTwoRoutes) {
    Nimbal::Ip6Addr::Bytes const zero{};
    for (U32 position = 0; position < 128; ++position) {
        Nimbal::Ip6Addr::Bytes other{};
        other[position / 8] = static_cast<Vexo::U8>(0x80U >> (position % 8));
        IpGenPrefix const low(Nimbal::Ip6Addr(zero), 128);
        IpGenPrefix const high(Nimbal::Ip6Addr(other), 128);
        trie().insertFromRoot(high, true, false, {}, 0);
        trie().insertFromRoot(low, true, false, {}, 0);
        ASSERT_EQ(trie().root()->prefixRef()->prefix(),
                  IpGenPrefix(Nimbal::Ip6Addr(zero), position));
        EXPECT_EQ(trie().root()->bitNode(0)->prefixRef()->prefix(), low);
        EXPECT_EQ(trie().root()->bitNode(1)->prefixRef()->prefix(), high);
        removeAll(trie());
    }
}

class NestedPrefixesTest : public V6TrieFixture, public testing::WithParamInterface<bool> {};

TEST_P(NestedPrefixesTest, hangInOneChainOf129) {
    Nimbal::Ip6Addr const ones = Nimbal::Ip6Addr::fromWords({~0U, ~0U, ~0U, ~0U});
    for (U32 i = 0; i <= 128; ++i) {
        U32 const len = GetParam() ? i : 128 - i;
        trie().insertFromRoot(LpmTrie::prefixFromLen(IpGenPrefix(ones, 128), len), true, false, {},
                              0);
    }
    Node* node = trie().root();
    for (U32 len = 0; len <= 128; ++len) {
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(node->len(), len);
        EXPECT_EQ(node->bitNode(0), nullptr);
        EXPECT_EQ(node->routeCount(), 129 - len);
        EXPECT_EQ(node->partitionRouteCount(), 129 - len);
        node = node->bitNode(1);
    }
    EXPECT_EQ(node, nullptr);
    trie().verify();
}

INSTANTIATE_TEST_SUITE_P(FromBothEnds, NestedPrefixesTest, testing::Bool());

}  // namespace
