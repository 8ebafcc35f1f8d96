#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

namespace {

using namespace TrieTests;

class LookupTest : public TrieFixture {
protected:
    TrieReturnCode lookup(std::string_view text, bool includePendingRmPartition = false) const {
        return trie().findPartitionNode(prefix(text), includePendingRmPartition);
    }
};

TEST_F(LookupTest, theClosestRouteIsTheNodeItselfOrTheFirstOneAbove) {
    Node* const top = route("0.0.0.0/0");
    Node* const middle = partition("10.0.0.0/8");
    Node* const low = route("10.1.0.0/16");
    Node* const other = route("10.2.0.0/16");
    Node* const joint = find("10.0.0.0/14");
    ASSERT_NE(joint, nullptr);
    EXPECT_EQ(trie().getClosestFibRouteNode(top), top);
    EXPECT_EQ(trie().getClosestFibRouteNode(middle), top);
    EXPECT_EQ(trie().getClosestFibRouteNode(joint), top);
    EXPECT_EQ(trie().getClosestFibRouteNode(low), low);
    EXPECT_EQ(trie().getClosestFibRouteNode(other), other);
    Trie const& readOnly = trie();
    EXPECT_EQ(readOnly.getClosestFibRouteNode(low), low);
}

TEST_F(LookupTest, thereIsNoClosestRouteWhereNoneStandsAbove) {
    Node* const top = partition("0.0.0.0/0");
    Node* const low = partition("10.0.0.0/8");
    route("10.1.0.0/16");
    EXPECT_EQ(trie().getClosestFibRouteNode(low), nullptr);
    EXPECT_EQ(trie().getClosestFibRouteNode(top), nullptr);
}

TEST_F(LookupTest, setTrieRcCoversThePartitionNodeAndNotTheNode) {
    Node* const top = route("0.0.0.0/0");
    Node* const middle = partition("10.0.0.0/8");
    Node* const low = route("10.1.0.0/16");
    EXPECT_EQ(trie().setTrieRc(low, middle), TrieReturnCode(low, middle, top, false));
    EXPECT_EQ(trie().setTrieRc(low, low), TrieReturnCode(low, low, low, false));
    EXPECT_EQ(trie().setTrieRc(nullptr, middle), TrieReturnCode(nullptr, middle, top, false));
    EXPECT_EQ(trie().setTrieRc(low, nullptr), TrieReturnCode(low, nullptr, nullptr, false));
    EXPECT_EQ(trie().setTrieRc(nullptr, nullptr), TrieReturnCode());
}

TEST_F(LookupTest, anEmptyTrieHasNothing) {
    EXPECT_EQ(lookup("10.0.0.0/8"), TrieReturnCode());
    EXPECT_EQ(lookup("0.0.0.0/0", true), TrieReturnCode());
}

TEST_F(LookupTest, aPrefixThatIsNotUnderTheRootStopsThere) {
    Node* const root = routeAndPartition("10.0.0.0/8");
    for (char const* text : {"11.0.0.0/8", "11.1.0.0/16", "10.0.0.0/7", "0.0.0.0/0"}) {
        EXPECT_EQ(lookup(text, true), TrieReturnCode(root, nullptr, nullptr, false)) << text;
    }
}

TEST_F(LookupTest, anExactMatchIsFoundWhateverItIs) {
    Node* const top = route("0.0.0.0/0");
    Node* const low = partition("10.1.0.0/16");
    partition("10.2.0.0/16");
    Node* const joint = find("10.0.0.0/14");
    EXPECT_EQ(lookup("0.0.0.0/0"), TrieReturnCode(top, nullptr, nullptr, false));
    EXPECT_EQ(lookup("10.0.0.0/14"), TrieReturnCode(joint, nullptr, nullptr, false));
    EXPECT_EQ(lookup("10.1.0.0/16"), TrieReturnCode(low, low, top, false));
}

TEST_F(LookupTest, theDeepestPartitionNodeThatCoversThePrefixIsTheOne) {
    Node* const top = routeAndPartition("0.0.0.0/0");
    Node* const middle = partition("10.0.0.0/8");
    Node* const low = routeAndPartition("10.1.0.0/16");
    Node* const leaf = route("10.1.1.0/24");
    EXPECT_EQ(lookup("10.1.1.1/32"), TrieReturnCode(leaf, low, low, false));
    EXPECT_EQ(lookup("10.1.1.0/24"), TrieReturnCode(leaf, low, low, false));
    EXPECT_EQ(lookup("10.1.128.0/17"), TrieReturnCode(low, low, low, false));
    EXPECT_EQ(lookup("10.1.0.0/16"), TrieReturnCode(low, low, low, false));
    EXPECT_EQ(lookup("10.0.0.0/8"), TrieReturnCode(middle, middle, top, false));
    EXPECT_EQ(lookup("10.128.0.0/9"), TrieReturnCode(middle, middle, top, false));
    EXPECT_EQ(lookup("128.0.0.0/8"), TrieReturnCode(top, top, top, false));
}

TEST_F(LookupTest, aPrefixShorterThanTheChildItLeadsToStopsAtThatChild) {
    Node* const top = partition("10.0.0.0/8");
    Node* const child = routeAndPartition("10.1.0.0/16");
    EXPECT_EQ(lookup("10.0.0.0/12"), TrieReturnCode(child, top, nullptr, false));
}

TEST_F(LookupTest, aPrefixThatPartsFromTheChildItLeadsToStopsAtThatChild) {
    Node* const top = partition("10.0.0.0/8");
    Node* const child = routeAndPartition("10.1.0.0/16");
    EXPECT_EQ(lookup("10.2.0.0/16"), TrieReturnCode(child, top, nullptr, false));
}

TEST_F(LookupTest, theCoveringPrefixIsThatOfThePartitionAndNotTheLongestMatch) {
    Node* const top = route("0.0.0.0/0");
    Node* const middle = partition("10.0.0.0/8");
    Node* const low = route("10.1.0.0/16");
    EXPECT_EQ(lookup("10.1.1.1/32"), TrieReturnCode(low, middle, top, false));
}

TEST_F(LookupTest, aPartitionWithoutARouteAboveHasNoCoveringPrefix) {
    Node* const top = partition("10.0.0.0/8");
    EXPECT_EQ(lookup("10.0.0.0/8"), TrieReturnCode(top, top, nullptr, false));
}

TEST_F(LookupTest, aPartitionPendingRemovalIsFoundOnRequestOnly) {
    Node* const top = routeAndPartition("0.0.0.0/0");
    Node* const low = route("10.0.0.0/8");
    low->pendingStateIs(PendingState::removePartition_() | PendingState::splittingPartition_());
    EXPECT_EQ(lookup("10.1.0.0/16"), TrieReturnCode(low, top, top, false));
    EXPECT_EQ(lookup("10.1.0.0/16", true), TrieReturnCode(low, low, low, false));
    EXPECT_EQ(lookup("10.0.0.0/8", true), TrieReturnCode(low, low, low, false));
    low->pendingStateIs(PendingState::createPartition_());
    EXPECT_EQ(lookup("10.1.0.0/16", true), TrieReturnCode(low, top, top, false));
}

TEST_F(LookupTest, aLookupChangesNothing) {
    routeAndPartition("0.0.0.0/0");
    route("10.1.0.0/16");
    std::vector<NodeState> const before = snapshot(trie());
    for (char const* text : {"0.0.0.0/0", "10.0.0.0/8", "10.1.2.3/32", "200.0.0.0/8"}) {
        lookup(text, true);
    }
    EXPECT_EQ(snapshot(trie()), before);
}

/** What the lookup has to answer, told from all the nodes at once. */
TrieReturnCode expectedFor(std::vector<PlacedNode> const& nodes, IpGenPrefix const& wanted,
                           bool includePendingRmPartition) {
    Node* deepest = nullptr;
    Node* partitionNode = nullptr;
    Node* coveringPrefixNode = nullptr;
    Node* route = nullptr;
    for (PlacedNode const& placed : nodes) {  // each before what it covers
        Node* const node = placed.node;
        IpGenPrefix const& own = node->prefixRef()->prefix();
        if (own.len() > wanted.len() || !own.overlaps(wanted)) {
            continue;
        }
        deepest = node;
        route = node->fibRoute() ? node : route;
        if (node->partitionNode() ||
            (includePendingRmPartition && node->pendingState().removePartition())) {
            partitionNode = node;
            coveringPrefixNode = route;
        }
    }
    if (deepest == nullptr) {
        deepest = nodes.front().node;
    } else if (deepest->prefixRef()->prefix() != wanted) {
        Node* const child = deepest->bitNode(wanted.bit(deepest->prefixRef()->prefix().len()));
        deepest = child != nullptr ? child : deepest;
    }
    return {deepest, partitionNode, coveringPrefixNode, false};
}

class LookupModelTest : public LookupTest, public testing::WithParamInterface<U32> {};

TEST_P(LookupModelTest, agreesWithASearchThroughAllNodes) {
    Random random(GetParam());
    auto const anyPrefix = [&random] {
        // Few addresses, so that prefixes nest and meet.
        U32 const len = random.below(9);
        return IpGenPrefix(Nimbal::IpAddr(random.below(256) << 24), len).hostBitsCleared();
    };
    for (U32 i = 0; i < 40; ++i) {
        IpGenPrefix const wanted = anyPrefix();
        U32 const roles = 1 + random.below(3);
        if (!insertionRefusal(trie(), wanted, nullptr, (roles & 1) != 0, (roles & 2) != 0, {}, 0)) {
            Node* const node =
                trie().insertFromRoot(wanted, (roles & 1) != 0, (roles & 2) != 0, {}, 0).node();
            if (random.below(8) == 0) {
                node->pendingStateIs(PendingState::removePartition_());
            }
        }
        std::vector<PlacedNode> const nodes = placedNodes(trie().root());
        for (U32 probe = 0; probe < 50; ++probe) {
            IpGenPrefix const sought = anyPrefix();
            for (bool const pending : {false, true}) {
                EXPECT_EQ(trie().findPartitionNode(sought, pending),
                          expectedFor(nodes, sought, pending))
                    << sought << " pending:" << pending << " seed " << GetParam();
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, LookupModelTest, testing::Range(1U, 9U));

using LookupDeathTest = LookupTest;

TEST_F(LookupDeathTest, aBrokenNodeOnTheWayIsNamedByItsAddress) {
    Node* const root = route("10.0.0.0/8");
    Node* const child = route("10.1.0.0/16");
    auto const lookupPast = [&](Node* broken) {
        breakEyeCatcher(broken);
        lookup("10.1.1.0/24");
    };
    String const signature = "U32 LpmTrie::Node::commonLen(const Nimbal::IpGenPrefix&) const";
    EXPECT_EXIT(lookupPast(root), aborts, brokenEyeCatcher(root, signature));
    EXPECT_EXIT(lookupPast(child), aborts, brokenEyeCatcher(child, signature));
}

}  // namespace
