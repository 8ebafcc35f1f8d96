#include <tests/LpmTrie/DumpedText.h>

/* The dump of what lies under one prefix, and of what follows it. */

namespace {

using namespace TrieTests;

class DumpPrefixTest : public TrieFixture {
protected:
    /** Routes of all of these lengths, so that each level has a branch to climb to. */
    void fill() const {
        for (char const* text :
             {"0.0.0.0/0", "10.0.0.0/8", "10.0.0.0/16", "10.128.0.0/16", "10.0.0.0/24",
              "10.0.128.0/24", "10.128.0.0/24", "10.128.0.0/32", "192.0.0.0/8", "192.0.0.0/16"}) {
            route(text);
        }
    }
    String dump(String const& text) const {
        return dumped([&](U32 socket) { trie().dumpPrefix(socket, prefix(text)); });
    }
    static String banner(String const& text) {
        return prefixBanner(" Dumping Trie 1 Prefix " + text);
    }
};

TEST_F(DumpPrefixTest, anEmptyTrieIsABanner) {
    EXPECT_EQ(dump("10.0.0.0/8"), banner("10.0.0.0/8"));
}

/** From its second step on the walk is bounded by the start, so it never comes to child 1. */
TEST_F(DumpPrefixTest, theSubtreeOfTheFirstChildIsDrawnFromLevelZero) {
    fill();
    EXPECT_EQ(dump("10.0.0.0/8"), golden("dump-prefix"));
    EXPECT_EQ(dump("0.0.0.0/0"), golden("dump-prefix-root"));
    EXPECT_EQ(dump("10.128.0.0/16"), banner("10.128.0.0/16") +
                                         "bit0 [Fib,10.128.0.0/16,3,3,nil,hw:0]\n"
                                         "|-bit0 [Fib,10.128.0.0/24,2,2,nil,hw:0]\n"
                                         "| |-bit0 [Fib,10.128.0.0/32,1,1,nil,hw:0]\n");
    EXPECT_EQ(dump("192.0.0.0/8"), banner("192.0.0.0/8") +
                                       "bit0 [Fib,192.0.0.0/8,2,2,nil,hw:0]\n"
                                       "|-bit0 [Fib,192.0.0.0/16,1,1,nil,hw:0]\n");
}

TEST_F(DumpPrefixTest, theSecondChildIsTheFirstWhereItIsTheOnlyOne) {
    PartitionId::Ptr const id = partitionId(5);
    route("10.0.0.0/8");
    Node* const child = partition("10.128.0.0/16", id, 1);
    routeFrom(child, "10.128.0.0/24");
    routeFrom(child, "10.128.128.0/24");
    EXPECT_EQ(dump("10.0.0.0/8"), banner("10.0.0.0/8") +
                                      "bit0 [Fib,10.0.0.0/8,3,1,nil,hw:0]\n"
                                      "|-bit1 [Partition,10.128.0.0/16,2,2,0x5,hw:1,cp]\n"
                                      "| |-bit0 [Fib,10.128.0.0/24,1,1,0x5,hw:1]\n"
                                      "| |-bit1 [Fib,10.128.128.0/24,1,1,0x5,hw:1]\n");
}

TEST_F(DumpPrefixTest, aRootWithoutChildrenIsOneLine) {
    route("10.0.0.0/8");
    EXPECT_EQ(dump("10.0.0.0/8"), banner("10.0.0.0/8") + "bit0 [Fib,10.0.0.0/8,1,1,nil,hw:0]\n");
}

TEST_F(DumpPrefixTest, aPrefixThatIsNotInTheTrieShowsWhatTheLookupFinds) {
    fill();
    String const subtree = "bit0 [Fib,10.0.0.0/16,3,3,nil,hw:0]\n"
                           "|-bit0 [Fib,10.0.0.0/24,1,1,nil,hw:0]\n";
    EXPECT_EQ(dump("10.0.0.0/12"), banner("10.0.0.0/12") + subtree);
    EXPECT_EQ(dump("10.1.0.0/16"), banner("10.1.0.0/16") + subtree);
    EXPECT_EQ(dump("192.0.2.0/24"),
              banner("192.0.2.0/24") + "bit0 [Fib,192.0.0.0/16,1,1,nil,hw:0]\n");
}

TEST_F(DumpPrefixTest, aPrefixOutsideTheRootShowsTheRoot) {
    route("10.0.0.0/8");
    route("10.1.0.0/16");
    EXPECT_EQ(dump("11.0.0.0/8"), banner("11.0.0.0/8") + "bit0 [Fib,10.0.0.0/8,2,2,nil,hw:0]\n"
                                                         "|-bit0 [Fib,10.1.0.0/16,1,1,nil,hw:0]\n");
}

TEST_F(DumpPrefixTest, aLeafBelowTheRootEndsTheWalk) {
    route("0.0.0.0/0");
    route("10.0.0.0/8");
    route("192.0.0.0/8");
    EXPECT_EQ(dump("10.0.0.0/8"), banner("10.0.0.0/8") + "bit0 [Fib,10.0.0.0/8,1,1,nil,hw:0]\n");
    EXPECT_EQ(dump("192.0.0.0/8"), banner("192.0.0.0/8") + "bit0 [Fib,192.0.0.0/8,1,1,nil,hw:0]\n");
}

/** The first step is bounded by the root alone, and no later one is: all that follows is drawn. */
TEST_F(DumpPrefixTest, aLeafFurtherDownGoesOnWithAllThatFollowsIt) {
    fill();
    EXPECT_EQ(dump("10.0.0.0/24"), golden("dump-prefix-climb"));
    EXPECT_EQ(dump("10.0.128.0/24"), banner("10.0.128.0/24") +
                                         "bit0 [Fib,10.0.128.0/24,1,1,nil,hw:0]\n"
                                         "bit1 [Fib,10.128.0.0/16,3,3,nil,hw:0]\n"
                                         "bit0 [Fib,10.128.0.0/24,2,2,nil,hw:0]\n"
                                         "|-bit0 [Fib,10.128.0.0/32,1,1,nil,hw:0]\n"
                                         "bit1 [Fib,192.0.0.0/8,2,2,nil,hw:0]\n"
                                         "bit0 [Fib,192.0.0.0/16,1,1,nil,hw:0]\n");
}

TEST_F(DumpPrefixTest, aLeafThatNothingFollowsBelowTheRootIsOneLine) {
    fill();
    EXPECT_EQ(dump("10.128.0.0/32"),
              banner("10.128.0.0/32") + "bit0 [Fib,10.128.0.0/32,1,1,nil,hw:0]\n");
    EXPECT_EQ(dump("192.0.0.0/16"),
              banner("192.0.0.0/16") + "bit0 [Fib,192.0.0.0/16,1,1,nil,hw:0]\n");
}

/** Climbs from the deepest of 32 levels, each with a sibling to the right. */
TEST_F(DumpPrefixTest, aLevelAboveTheStartIsDrawnAsZero) {
    route("0.0.0.0/0");
    String expected = banner("0.0.0.0/32") + "bit0 [Fib,0.0.0.0/32,1,1,nil,hw:0]\n";
    for (U32 len = 1; len <= 32; ++len) {
        trie().insertFromRoot(IpGenPrefix(Nimbal::IpAddr(0), len), true, false, {}, 0);
    }
    for (U32 len = 32; len >= 2; --len) {
        IpGenPrefix const sibling(Nimbal::IpAddr(1U << (32 - len)), len);
        trie().insertFromRoot(sibling, true, false, {}, 0);
        expected += "bit1 [Fib," + sibling.stringValue() + ",1,1,nil,hw:0]\n";
    }
    EXPECT_EQ(dump("0.0.0.0/32"), expected);
}

class AnsweringTrie : public LpmTrie::Trie {
public:
    using Trie::Trie;
    TrieReturnCode findPartitionNode(IpGenPrefix const& wanted, bool includePending) override {
        asked.push_back(wanted.stringValue() + (includePending ? " with pending" : ""));
        return {answer, nullptr, nullptr, false};
    }
    Node* answer = nullptr;
    std::vector<String> asked;
};

TEST_F(DumpPrefixTest, theLookupGoesThroughTheVirtualTableOnce) {
    auto* const answering = new AnsweringTrie(1);
    trieIs(answering);
    fill();
    EXPECT_EQ(dump("192.0.0.0/8"), banner("192.0.0.0/8"));
    answering->answer = find("10.0.0.0/16");
    EXPECT_EQ(dump("10.0.0.0/8"), banner("10.0.0.0/8") + "bit0 [Fib,10.0.0.0/16,3,3,nil,hw:0]\n"
                                                         "|-bit0 [Fib,10.0.0.0/24,1,1,nil,hw:0]\n");
    EXPECT_EQ(answering->asked, (std::vector<String>{"192.0.0.0/8", "10.0.0.0/8"}));
}

}  // namespace
