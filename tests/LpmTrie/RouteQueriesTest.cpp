#include <tests/LpmTrie/TrieFixture.h>

#include <LpmTrie/RouteQueries.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using namespace TrieTests;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::TraceCapture;

class RouteQueriesTest : public TrieFixture {
protected:
    Node* match(std::string_view text) const { return longestMatch(trie(), prefix(text)); }
    Node* exact(std::string_view text) const { return findExact(trie(), prefix(text)); }
    std::vector<String> under(std::string_view text) const {
        std::vector<String> routes;
        for (Node* const node : routesUnder(trie(), prefix(text))) {
            routes.push_back(node->prefixRef()->prefix().stringValue());
        }
        return routes;
    }
};

TEST_F(RouteQueriesTest, theLongestMatchIsARouteAndNothingElse) {
    Node* const top = route("0.0.0.0/0");
    partition("10.0.0.0/8");
    Node* const low = route("10.1.0.0/16");
    route("10.2.0.0/16");
    EXPECT_EQ(match("0.0.0.0/0"), top);
    EXPECT_EQ(match("10.0.0.0/8"), top) << "a partition node is none";
    EXPECT_EQ(match("10.0.0.0/14"), top) << "an internal node is none";
    EXPECT_EQ(match("10.3.0.0/16"), top);
    EXPECT_EQ(match("10.1.0.0/16"), low);
    EXPECT_EQ(match("10.1.2.3/32"), low);
    EXPECT_EQ(longestMatch(trie(), Nimbal::IpAddr::fromString("10.1.255.255")), low);
    EXPECT_EQ(longestMatch(trie(), Nimbal::IpAddr::fromString("255.255.255.255")), top);
}

TEST_F(RouteQueriesTest, thereIsNoMatchWithoutACoveringRoute) {
    EXPECT_EQ(match("10.0.0.0/8"), nullptr);
    EXPECT_EQ(longestMatch(trie(), Nimbal::IpAddr()), nullptr);
    EXPECT_THAT(under("0.0.0.0/0"), IsEmpty());
    route("10.0.0.0/8");
    EXPECT_EQ(match("0.0.0.0/0"), nullptr);
    EXPECT_EQ(match("11.0.0.0/8"), nullptr);
    EXPECT_EQ(longestMatch(trie(), Nimbal::IpAddr()), nullptr);
}

TEST_F(RouteQueriesTest, theOtherFamilyIsNeverFound) {
    route("0.0.0.0/0");
    EXPECT_EQ(longestMatch(trie(), Nimbal::Ip6Addr()), nullptr);
    EXPECT_EQ(match("::/0"), nullptr);
    EXPECT_EQ(exact("::/0"), nullptr);
    EXPECT_THAT(under("::/0"), IsEmpty());
    removeAll(trie());
    trie().afIs(AddressFamily::ipv6);
    Node* const root = route("::/0");
    EXPECT_EQ(longestMatch(trie(), Nimbal::IpAddr()), nullptr);
    EXPECT_EQ(match("0.0.0.0/0"), nullptr);
    EXPECT_EQ(longestMatch(trie(), Nimbal::Ip6Addr()), root);
    EXPECT_EQ(longestMatch(trie(), Nimbal::Ip6Addr::fromString("ffff::1")), root);
}

TEST_F(RouteQueriesTest, anExactFindTakesAnyKindOfNode) {
    EXPECT_EQ(exact("10.0.0.0/8"), nullptr);
    partition("10.0.0.0/8");
    route("10.1.0.0/16");
    route("10.2.0.0/16");
    for (char const* text : {"10.0.0.0/8", "10.1.0.0/16", "10.2.0.0/16", "10.0.0.0/14"}) {
        EXPECT_EQ(exact(text), find(text)) << text;
        EXPECT_NE(exact(text), nullptr) << text;
    }
    for (char const* text : {"0.0.0.0/0", "10.0.0.0/7", "10.0.0.0/9", "10.0.0.0/13", "10.0.0.0/15",
                             "10.2.0.0/15", "10.1.0.0/17", "10.3.0.0/16", "10.1.2.3/32"}) {
        EXPECT_EQ(exact(text), nullptr) << text;
    }
}

TEST_F(RouteQueriesTest, anExactFindComparesHostBitsToo) {
    IpGenPrefix const withHostBits(Nimbal::IpAddr(0x0a0000ff), 8);
    trie().insertFromRoot(withHostBits, true, false, {}, 0);
    EXPECT_EQ(findExact(trie(), withHostBits), trie().root());
    EXPECT_EQ(exact("10.0.0.0/8"), nullptr);
}

TEST_F(RouteQueriesTest, theRoutesUnderAPrefixComeInOrderOfAddressThenLength) {
    for (char const* text :
         {"11.0.0.0/8", "10.128.0.0/9", "10.1.2.0/24", "10.0.0.0/8", "10.1.0.0/16", "0.0.0.0/0"}) {
        route(text);
    }
    partition("10.64.0.0/10");
    EXPECT_THAT(under("0.0.0.0/0"), ElementsAre("0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16",
                                                "10.1.2.0/24", "10.128.0.0/9", "11.0.0.0/8"));
    EXPECT_THAT(under("10.0.0.0/8"),
                ElementsAre("10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24", "10.128.0.0/9"));
    EXPECT_THAT(under("10.0.0.0/9"), ElementsAre("10.1.0.0/16", "10.1.2.0/24"))
        << "no node has this prefix";
    EXPECT_THAT(under("10.1.2.0/24"), ElementsAre("10.1.2.0/24"));
    EXPECT_THAT(under("10.64.0.0/10"), IsEmpty());
    EXPECT_THAT(under("10.1.2.3/32"), IsEmpty());
    EXPECT_THAT(under("12.0.0.0/8"), IsEmpty());
}

TEST_F(RouteQueriesTest, theRangeGoesByTheLanguagesRulesOfAnInputRange) {
    EXPECT_EQ(allRoutes(trie()).begin(), allRoutes(trie()).end());
    EXPECT_EQ(LpmTrie::RoutesUnder::Iterator(), allRoutes(trie()).end());
    Node* const first = route("10.0.0.0/8");
    Node* const second = route("11.0.0.0/8");
    LpmTrie::RoutesUnder const all = allRoutes(trie());
    auto at = all.begin();
    EXPECT_EQ(*at, first);
    EXPECT_EQ(*at++, first);
    EXPECT_EQ(*at, second);
    EXPECT_EQ(++at, all.end());
    EXPECT_EQ(*all.begin(), first) << "a range can be gone through again";
    EXPECT_EQ(std::distance(all.begin(), all.end()), 2);
}

TEST_F(RouteQueriesTest, questionsChangeNothingAndTraceNothing) {
    routeAndPartition("0.0.0.0/0");
    route("10.0.0.0/8");
    route("11.0.0.0/8");
    std::vector<NodeState> const before = snapshot(trie());
    TraceCapture const trace;
    match("11.1.0.0/16");
    exact("11.0.0.0/8");
    under("0.0.0.0/0");
    longestMatch(trie(), Nimbal::IpAddr());
    insertionRefusal(trie(), prefix("11.0.0.0/8"), trie().root(), true, true, {}, 0);
    insertionRefusal(trie(), prefix("12.0.0.0/8"), nullptr, true, true, {}, 0);
    EXPECT_THAT(trace.lines(), IsEmpty());
    EXPECT_EQ(snapshot(trie()), before);
}

struct Family {
    char const* name;
    AddressFamily af;
    U32 seed;
};

class RouteQueriesModelTest : public TrieFixture, public testing::WithParamInterface<Family> {
protected:
    RouteQueriesModelTest() { trie().afIs(GetParam().af); }

    /** Lengths of all sorts, addresses that agree for long. */
    IpGenPrefix anyPrefix() {
        std::array<Vexo::U8, 16> bytes{};
        for (Vexo::U8& byte : bytes) {
            byte = random_.below(3) == 0 ? 0x80 : 0;
        }
        U32 const len = random_.below(maxPrefixLen(GetParam().af) + 1);
        return IpGenPrefix(GetParam().af, bytes, len).hostBitsCleared();
    }
    Node* bruteLongestMatch(IpGenPrefix const& sought) const {
        Node* longest = nullptr;
        for (PlacedNode const& placed : placedNodes(trie().root())) {
            IpGenPrefix const& own = placed.node->prefixRef()->prefix();
            if (placed.node->fibRoute() && own.len() <= sought.len() && own.overlaps(sought) &&
                (longest == nullptr || own.len() > longest->len())) {
                longest = placed.node;
            }
        }
        return longest;
    }
    std::vector<Node*> bruteRoutesUnder(IpGenPrefix const& top) const {
        std::vector<Node*> routes;
        for (PlacedNode const& placed : placedNodes(trie().root())) {
            IpGenPrefix const& own = placed.node->prefixRef()->prefix();
            if (placed.node->fibRoute() && own.len() >= top.len() && own.overlaps(top)) {
                routes.push_back(placed.node);
            }
        }
        std::sort(routes.begin(), routes.end(), [](Node const* a, Node const* b) {
            return a->prefixRef()->prefix() < b->prefixRef()->prefix();
        });
        return routes;
    }

    Random random_{GetParam().seed};
};

TEST_P(RouteQueriesModelTest, agreesWithASearchThroughAllNodes) {
    for (U32 i = 0; i < 150; ++i) {
        IpGenPrefix const any = anyPrefix();
        bool const isPartition = random_.below(4) == 0;
        if (!insertionRefusal(trie(), any, nullptr, !isPartition, isPartition, {}, 0)) {
            trie().insertFromRoot(any, !isPartition, isPartition, {}, 0);
        }
    }
    U32 matched = 0;
    for (U32 i = 0; i < 1000; ++i) {
        IpGenPrefix const sought = anyPrefix();
        Node* const longest = bruteLongestMatch(sought);
        matched += longest != nullptr ? 1 : 0;
        ASSERT_EQ(longestMatch(trie(), sought), longest) << sought;
        LpmTrie::RoutesUnder const routes = routesUnder(trie(), sought);
        ASSERT_EQ(std::vector<Node*>(routes.begin(), routes.end()), bruteRoutesUnder(sought))
            << sought;
    }
    EXPECT_GT(matched, 100U);
    LpmTrie::RoutesUnder const all = allRoutes(trie());
    EXPECT_EQ(std::distance(all.begin(), all.end()), trie().root()->routeCount());
}

INSTANTIATE_TEST_SUITE_P(Families, RouteQueriesModelTest,
                         testing::Values(Family{"Ipv4", AddressFamily::ipv4, 1},
                                         Family{"Ipv4Again", AddressFamily::ipv4, 2},
                                         Family{"Ipv6", AddressFamily::ipv6, 3},
                                         Family{"Ipv6Again", AddressFamily::ipv6, 4}),
                         [](auto const& each) { return each.param.name; });

}  // namespace
