#include <tests/LpmTrie/AbortedTrie.h>
#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

#include <unistd.h>

namespace {

using namespace TrieTests;
using testing::ElementsAre;

class InsertDeathTest : public TrieFixture {
protected:
    void insert(std::string_view text, Node* start, bool fibRoute, bool partitionNode,
                PartitionId::Ptr const& id = {}, U32 hwTable = 0) const {
        trie().insert(prefix(text), start, fibRoute, partitionNode, id, hwTable);
    }
    static testing::Matcher<std::string const&> inInsert(String condition, String context) {
        return trieAssertion(std::move(condition), std::move(context), Signature::insert);
    }
};

TEST_F(InsertDeathTest, aTrieWhoseFamilyIsNotSetTakesNoPrefix) {
    trie().afIs(AddressFamily::none);
    EXPECT_EXIT(insert("10.0.0.0/8", nullptr, true, false), aborts,
                inInsert("af() == newPrefix.af()", "Trie af:none newPrefix:ipv4"));
}

TEST_F(InsertDeathTest, thePrefixMustBeOfTheTriesFamily) {
    EXPECT_EXIT(insert("::/0", nullptr, true, false), aborts,
                inInsert("af() == newPrefix.af()", "Trie af:ipv4 newPrefix:ipv6"));
    trie().afIs(AddressFamily::ipv6);
    EXPECT_EXIT(insert("10.0.0.0/8", nullptr, true, false), aborts,
                inInsert("af() == newPrefix.af()", "Trie af:ipv6 newPrefix:ipv4"));
}

TEST_F(InsertDeathTest, anInsertionMustMakeTheNodeSomething) {
    EXPECT_EXIT(insert("10.0.0.0/8", nullptr, false, false), aborts,
                inInsert("fibRoute || partitionNode", "fibRoute:0 partitionNode:0"));
}

TEST_F(InsertDeathTest, theFamilyIsCheckedBeforeTheRole) {
    EXPECT_EXIT(insert("::/0", nullptr, false, false), aborts,
                inInsert("af() == newPrefix.af()", "Trie af:ipv4 newPrefix:ipv6"));
}

TEST_F(InsertDeathTest, theRoleIsCheckedBeforeTheStart) {
    Node* const start = partition("10.0.0.0/8");
    trie().rootIs(nullptr);
    EXPECT_EXIT(insert("10.0.0.0/8", start, false, false), aborts,
                inInsert("fibRoute || partitionNode", "fibRoute:0 partitionNode:0"));
    trie().rootIs(start);
}

TEST_F(InsertDeathTest, anEmptyTrieHasNoNodeToStartAt) {
    Node* const start = partition("10.0.0.0/8");
    trie().rootIs(nullptr);
    EXPECT_EXIT(insert("10.0.0.0/8", start, true, false), aborts,
                inInsert("fromPartitionNode == 0", " fromPartitionNode:" + address(start)));
    trie().rootIs(start);
}

TEST_F(InsertDeathTest, aRouteIsNotInsertedTwice) {
    route("0.0.0.0/0");
    route("10.0.0.0/8", partitionId(5), 3);
    EXPECT_EXIT(insert("10.0.0.0/8", nullptr, true, false), aborts,
                inInsert("!current->fibRoute()", " node Fib,10.0.0.0/8,1,1,0x5,hw:3"));
}

TEST_F(InsertDeathTest, aPartitionIsNotInsertedTwice) {
    route("0.0.0.0/0");
    partition("10.0.0.0/8", partitionId(5), 3);
    EXPECT_EXIT(
        insert("10.0.0.0/8", nullptr, false, true), aborts,
        inInsert("!current->partitionNode()", " node Partition,10.0.0.0/8,0,0,0x5,hw:3,cp"));
}

TEST_F(InsertDeathTest, theRouteIsCheckedBeforeThePartition) {
    routeAndPartition("10.0.0.0/8");
    EXPECT_EXIT(insert("10.0.0.0/8", nullptr, true, true), aborts,
                inInsert("!current->fibRoute()", " node Partition,Fib,10.0.0.0/8,1,1,nil,hw:0,cp"));
}

TEST_F(InsertDeathTest, bothRolesFailOnTheOneThatIsThere) {
    partition("10.0.0.0/8");
    route("11.0.0.0/8");
    EXPECT_EXIT(
        insert("10.0.0.0/8", nullptr, true, true), aborts,
        inInsert("!current->partitionNode()", " node Partition,10.0.0.0/8,0,0,nil,hw:0,cp"));
    EXPECT_EXIT(insert("11.0.0.0/8", nullptr, true, true), aborts,
                inInsert("!current->fibRoute()", " node Fib,11.0.0.0/8,1,1,nil,hw:0"));
}

TEST_F(InsertDeathTest, aStartThatDoesNotCoverThePrefixIsNamedWithIt) {
    Node* const start = partition("10.0.0.0/8");
    auto const doesNotCover = [](String const& text) {
        return inInsert("fromPartitionNode == nullptr || commonLen == fromPartitionNode->len()",
                        " start node Partition,10.0.0.0/8,0,0,nil,hw:0,cp does not cover prefix " +
                            text);
    };
    EXPECT_EXIT(insert("11.0.0.0/8", start, true, false), aborts, doesNotCover("11.0.0.0/8"));
    EXPECT_EXIT(insert("11.1.0.0/16", start, true, false), aborts, doesNotCover("11.1.0.0/16"));
    EXPECT_EXIT(insert("10.0.0.0/7", start, false, true), aborts, doesNotCover("10.0.0.0/7"));
}

TEST_F(InsertDeathTest, aBrokenNodeOnTheWayIsNamedByItsAddress) {
    Node* const root = route("10.0.0.0/8");
    Node* const child = route("10.1.0.0/16");
    auto const insertBelow = [&](Node* broken, char const* text) {
        breakEyeCatcher(broken);
        insert(text, nullptr, true, false);
    };
    // A node is first asked how far it agrees with the new prefix.
    String const signature = "U32 LpmTrie::Node::commonLen(const Nimbal::IpGenPrefix&) const";
    EXPECT_EXIT(insertBelow(root, "10.1.1.0/24"), aborts, brokenEyeCatcher(root, signature));
    EXPECT_EXIT(insertBelow(child, "10.1.1.0/24"), aborts, brokenEyeCatcher(child, signature));
    EXPECT_EXIT(insertBelow(child, "10.1.0.0/16"), aborts, brokenEyeCatcher(child, signature));
    EXPECT_EXIT(insertBelow(child, "10.0.0.0/15"), aborts, brokenEyeCatcher(child, signature));
    EXPECT_EXIT(insertBelow(child, "10.2.0.0/16"), aborts, brokenEyeCatcher(child, signature));
}

TEST_F(InsertDeathTest, aBrokenNodeThatIsNotOnTheWayIsNotSeen) {
    route("10.0.0.0/8");
    Node* const child = route("10.1.0.0/16");
    auto const insertBeside = [&] {
        breakEyeCatcher(child);
        insert("10.128.0.0/9", nullptr, true, false);
        ::_exit(find("10.128.0.0/9")->routeCount() == 1 ? 0 : 1);
    };
    EXPECT_EXIT(insertBeside(), testing::ExitedWithCode(0), "^$");
}

/* What a failed insertion leaves: the descent has counted the route, and nothing is undone. */

TEST_F(InsertDeathTest, theNodesAboveARouteInsertedTwiceHaveCountedIt) {
    route("0.0.0.0/0");
    route("10.0.0.0/8");
    route("10.1.0.0/16", partitionId(5), 1);
    EXPECT_THAT(drawingAfterAssertion(trie(), [&] { insert("10.1.0.0/16", nullptr, true, false); }),
                ElementsAre("Fib,0.0.0.0/0,4,3,nil,hw:0",       //
                            "  0 Fib,10.0.0.0/8,3,2,nil,hw:0",  //
                            "    0 Fib,10.1.0.0/16,1,1,0x5,hw:1"));
}

TEST_F(InsertDeathTest, aPartitionInsertedTwiceHasCountedNothing) {
    route("0.0.0.0/0");
    partition("10.1.0.0/16");
    EXPECT_THAT(drawingAfterAssertion(trie(), [&] { insert("10.1.0.0/16", nullptr, false, true); }),
                ElementsAre("Fib,0.0.0.0/0,1,1,nil,hw:0",  //
                            "  0 Partition,10.1.0.0/16,0,0,nil,hw:0,cp"));
}

TEST_F(InsertDeathTest, aStartThatDoesNotCoverThePrefixLeavesTheTrieAsItWas) {
    route("0.0.0.0/0");
    Node* const start = partition("10.0.0.0/8");
    EXPECT_EQ(drawingAfterAssertion(trie(), [&] { insert("11.0.0.0/8", start, true, false); }),
              drawing(trie()));
}

}  // namespace
