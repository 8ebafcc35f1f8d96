#include <tools/RouteGenerator.h>
#include <tools/TableShape.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <iterator>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace LpmTools {
namespace {

using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;

using Table = std::vector<IpGenPrefix>;

U64 checksum(Table const& table) {
    U64 hash = 0xcbf29ce484222325;
    auto const add = [&hash](U64 byte) { hash = (hash ^ byte) * 0x100000001b3; };
    for (IpGenPrefix const& prefix : table) {
        std::ranges::for_each(prefix.address(), add);
        add(prefix.len());
    }
    return hash;
}

U32 sharedBits(IpGenPrefix const& a, IpGenPrefix const& b) {
    U32 const most = std::min(a.len(), b.len());
    for (std::size_t i = 0; i < 16; ++i) {
        auto const difference = static_cast<Vexo::U8>(a.address()[i] ^ b.address()[i]);
        if (difference != 0) {
            U32 const equal =
                static_cast<U32>(8 * i) + static_cast<U32>(std::countl_zero(difference));
            return std::min(most, equal);
        }
    }
    return most;
}

bool covers(IpGenPrefix const& shorter, IpGenPrefix const& longer) {
    return shorter.len() <= longer.len() && sharedBits(shorter, longer) == shorter.len();
}

IpGenPrefix truncated(IpGenPrefix const& prefix, U32 len) {
    return IpGenPrefix(prefix.af(), prefix.address(), len).hostBitsCleared();
}

/** The other half of the block that is one bit shorter. */
IpGenPrefix otherHalf(IpGenPrefix const& prefix) {
    std::array<Vexo::U8, 16> address = prefix.address();
    U32 const bit = prefix.len() - 1;
    address[bit / 8] = static_cast<Vexo::U8>(address[bit / 8] ^ (0x80U >> (bit % 8)));
    return IpGenPrefix(prefix.af(), address, prefix.len());
}

/** What a table makes of a path-compressed binary trie, and how its prefixes lie to each other. */
struct Facts {
    double nodesPerRoute = 0;
    double meanDepth = 0;
    double covered = 0;
    /** Share of routes whose block's neighbour, the other half of the same block, is a route. */
    double twins = 0;
    std::map<U32, double> share;
    std::map<U32, double> neighbourBits;
};

/** Calls `visit` for each prefix, in order, with those that cover it and itself, shortest first. */
template <typename Visit>
void forEachPath(Table const& sorted, Visit visit) {
    Table path;
    for (IpGenPrefix const& prefix : sorted) {
        while (!path.empty() && !covers(path.back(), prefix)) {
            path.pop_back();
        }
        path.push_back(prefix);
        visit(path);
    }
}

Facts factsOf(Table table) {
    Facts facts;
    std::ranges::sort(table);
    auto const routes = static_cast<double>(table.size());
    Table nodes = table;
    for (std::size_t i = 0; i < table.size(); ++i) {
        facts.share[table[i].len()] += 1 / routes;
        if (i > 0) {
            U32 const bits = sharedBits(table[i - 1], table[i]);
            facts.neighbourBits[bits] += 1 / routes;
            bool const halves = std::ranges::binary_search(table, otherHalf(table[i]));
            facts.twins += halves ? 1 / routes : 0;
            nodes.push_back(truncated(table[i], bits));
        }
    }
    std::ranges::sort(nodes);
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    facts.nodesPerRoute = static_cast<double>(nodes.size()) / routes;
    forEachPath(nodes, [&](Table const& path) {
        if (std::ranges::binary_search(table, path.back())) {
            facts.meanDepth += static_cast<double>(path.size()) / routes;
        }
    });
    forEachPath(table,
                [&](Table const& path) { facts.covered += path.size() > 1 ? 1 / routes : 0; });
    return facts;
}

/** Share of the measured table's routes that have the length. */
double measuredShare(TableShape const& shape, U32 len) {
    U64 sum = 0;
    for (std::size_t i = 0; i < blockStates * outcomes; ++i) {
        sum += isRoute(static_cast<Outcome>(i % outcomes)) ? shape.level(len)[i] : 0;
    }
    return static_cast<double>(sum) / (shape.routes + shape.hostRoutes);
}

/** Lengths that have `least` of the measured routes are as common as there, give or take
 * `tolerance`. */
void expectNearShape(Facts const& facts, AddressFamily af, double least, double tolerance) {
    TableShape const& shape = tableShape(af);
    for (U32 len = shape.firstLen; len <= shape.lastLen; ++len) {
        double const measured = measuredShare(shape, len);
        if (measured >= least) {
            ASSERT_TRUE(facts.share.contains(len)) << "/" << len;
            EXPECT_NEAR(facts.share.at(len), measured, tolerance * measured) << "/" << len;
        }
    }
}

bool isUnicast(IpGenPrefix const& prefix) {
    U32 const first = prefix.address()[0];
    if (prefix.af() == AddressFamily::ipv6) {
        return first >> 5 == 1;
    }
    return first >= 1 && first <= 223 && first != 10 && first != 127;
}

class TableSizeTest : public testing::TestWithParam<std::tuple<AddressFamily, U32>> {};

TEST_P(TableSizeTest, prefixesAreDistinctAndWellFormed) {
    auto const [af, count] = GetParam();
    for (U64 seed = 0; seed < (count <= 1000 ? 50U : 1U); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Table table = generateTable(af, count, seed);
        ASSERT_EQ(table.size(), count);
        for (IpGenPrefix const& prefix : table) {
            ASSERT_EQ(prefix.af(), af);
            ASSERT_GE(prefix.len(), tableShape(af).firstLen) << prefix;
            ASSERT_LE(prefix.len(), maxPrefixLen(af)) << prefix;
            ASSERT_EQ(prefix, prefix.hostBitsCleared());
            ASSERT_TRUE(isUnicast(prefix)) << prefix;
        }
        std::ranges::sort(table);
        EXPECT_EQ(std::ranges::adjacent_find(table), table.end());
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, TableSizeTest,
                         testing::Combine(testing::Values(AddressFamily::ipv4, AddressFamily::ipv6),
                                          testing::Values(0, 1, 2, 3, 10, 100, 1000, 100'000,
                                                          1'100'000)));

class RouteGeneratorTest : public testing::TestWithParam<AddressFamily> {};

INSTANTIATE_TEST_SUITE_P(Families, RouteGeneratorTest,
                         testing::Values(AddressFamily::ipv4, AddressFamily::ipv6));

TEST_P(RouteGeneratorTest, sameSeedSameTable) {
    EXPECT_EQ(generateTable(GetParam(), 5000, 11), generateTable(GetParam(), 5000, 11));
}

TEST_P(RouteGeneratorTest, anotherSeedIsAnotherTable) {
    Table first = generateTable(GetParam(), 1000, 11);
    Table second = generateTable(GetParam(), 1000, 12);
    std::ranges::sort(first);
    std::ranges::sort(second);
    Table common;
    std::ranges::set_intersection(first, second, std::back_inserter(common));
    EXPECT_LT(common.size(), 50U);
}

TEST_P(RouteGeneratorTest, orderIsRandom) {
    Table const table = generateTable(GetParam(), 10'000, 5);
    U32 rises = 0;
    U32 longer = 0;
    U32 shorter = 0;
    for (std::size_t i = 1; i < table.size(); ++i) {
        rises += U32{table[i - 1] < table[i]};
        longer += U32{table[i - 1].len() < table[i].len()};
        shorter += U32{table[i - 1].len() > table[i].len()};
    }
    EXPECT_NEAR(rises, 5000, 200);
    EXPECT_NEAR(longer, shorter, 200);
}

TEST_P(RouteGeneratorTest, refusesMoreThanTheMaximum) {
    U32 const maximum = maximumTableSize(GetParam());
    for (U32 const count : {maximum + 1, std::numeric_limits<U32>::max()}) {
        try {
            generateTable(GetParam(), count, 1);
            ADD_FAILURE() << count << " prefixes were generated";
        } catch (std::invalid_argument const& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(std::to_string(count)));
            EXPECT_THAT(error.what(), testing::HasSubstr(std::to_string(maximum)));
        }
    }
}

TEST_P(RouteGeneratorTest, smallerAndLargerTablesKeepLengthsAndNesting) {
    Facts const full = factsOf(generateTable(GetParam(), tableShape(GetParam()).routes, 1));
    bool const ip6 = GetParam() == AddressFamily::ipv6;
    for (U32 const count : {50'000U, 100'000U, ip6 ? 500'000U : 950'000U}) {
        SCOPED_TRACE(count);
        Facts const facts = factsOf(generateTable(GetParam(), count, 2));
        expectNearShape(facts, GetParam(), 0.005, 0.15);
        EXPECT_NEAR(facts.covered, full.covered, 0.06);
        EXPECT_NEAR(facts.nodesPerRoute, full.nodesPerRoute, 0.03);
    }
}

TEST(RouteGeneratorIp4Test, tableIsTheSameEverywhere) {
    Table const table = generateTable(AddressFamily::ipv4, 1000, 42);
    EXPECT_EQ(checksum(table), 0x728a064aff139705U);
}

TEST(RouteGeneratorIp6Test, tableIsTheSameEverywhere) {
    Table const table = generateTable(AddressFamily::ipv6, 1000, 42);
    EXPECT_EQ(checksum(table), 0x5a4209ed0b5cfacdU);
}

// The expected numbers are those of a full Internet table of the 2020s.
TEST(RouteGeneratorIp4Test, fullTableHasTheInternetsShape) {
    Facts const facts = factsOf(generateTable(AddressFamily::ipv4, 901'899, 1));
    expectNearShape(facts, AddressFamily::ipv4, 0.001, 0.01);
    EXPECT_NEAR(facts.nodesPerRoute, 1.8325, 0.01);
    EXPECT_NEAR(facts.meanDepth, 22.909, 0.02 * 22.909);
    EXPECT_NEAR(facts.covered, 0.5069, 0.005);
    EXPECT_NEAR(facts.twins, 0.701, 0.08);
    EXPECT_NEAR(facts.neighbourBits.at(23), 0.2506, 0.005);
    EXPECT_NEAR(facts.neighbourBits.at(20), 0.1224, 0.005);
    EXPECT_NEAR(facts.neighbourBits.at(16), 0.0295, 0.001);
}

TEST(RouteGeneratorIp6Test, fullTableHasTheInternetsShape) {
    Facts const facts = factsOf(generateTable(AddressFamily::ipv6, 160'147, 1));
    expectNearShape(facts, AddressFamily::ipv6, 0.001, 0.01);
    EXPECT_NEAR(facts.nodesPerRoute, 1.9001, 0.01);
    EXPECT_NEAR(facts.meanDepth, 24.943, 0.05 * 24.943);
    EXPECT_NEAR(facts.covered, 0.5688, 0.005);
    EXPECT_NEAR(facts.twins, 0.575, 0.08);
    EXPECT_NEAR(facts.neighbourBits.at(47), 0.1489, 0.005);
    EXPECT_NEAR(facts.neighbourBits.at(32), 0.0465, 0.002);
}

TEST(RouteGeneratorIp6Test, someRoutesAreLongerThanHalfAnAddress) {
    Table const table = generateTable(AddressFamily::ipv6, 160'147, 1);
    auto const longer = std::ranges::count_if(table, [](auto const& p) { return p.len() > 64; });
    EXPECT_EQ(longer, 83);
}

TEST(RouteGeneratorIp4Test, anyOtherFamilyIsHandledAsIp4) {
    EXPECT_EQ(generateTable(AddressFamily::none, 100, 1),
              generateTable(AddressFamily::ipv4, 100, 1));
}

}  // namespace
}  // namespace LpmTools
