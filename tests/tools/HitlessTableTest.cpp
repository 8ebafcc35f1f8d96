#include <tests/Support/Instrumented.h>
#include <tests/Support/LeakCheck.h>
#include <tests/client/WatchedChip.h>
#include <tools/NaiveTable.h>
#include <tools/RouteGenerator.h>
#include <tools/TableReader.h>
#include <tools/Xoshiro.h>

#include <client/PartitionManager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

/*
 * No packet meets a wrong answer while a whole table is built and changed: after every hardware
 * write some addresses are looked up, most of them under the prefix that was written. The table has
 * the shape of the Internet's; LPMTRIE_REAL_TABLE can name a file with a real one, a prefix a line,
 * and where LPMTRIE_DATA names a directory with one, a sample of it is taken.
 */

namespace {

using LpmClient::Outcome;
using LpmClient::Route;
using LpmTools::NaiveTable;
using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;
using Vexo::U32;
using Vexo::U64;
using Vexo::U8;

#if LPMTRIE_INSTRUMENTED
constexpr U32 tableSize = 3'000;
#else
constexpr U32 tableSize = 20'000;
#endif

std::vector<IpGenPrefix> readTable(std::string const& file, AddressFamily af) {
    auto const real = LpmTools::readTables({file}, {});
    return af == AddressFamily::ipv6 ? real.ipv6 : real.ipv4;
}

/** So many of the prefixes that lie side by side: with the nesting that they have. */
std::vector<IpGenPrefix> sampleOf(std::vector<IpGenPrefix> prefixes, std::size_t size) {
    std::sort(prefixes.begin(), prefixes.end());
    std::size_t const first = (prefixes.size() - size) / 3;
    return {prefixes.begin() + static_cast<std::ptrdiff_t>(first),
            prefixes.begin() + static_cast<std::ptrdiff_t>(first + size)};
}

std::vector<IpGenPrefix> table(AddressFamily af) {
    if (char const* const file = std::getenv("LPMTRIE_REAL_TABLE"); file != nullptr) {
        return readTable(file, af);
    }
    if (char const* const directory = std::getenv("LPMTRIE_DATA"); directory != nullptr) {
        std::string const file = std::string(directory) + "/internet-prefixes.txt.gz";
        return sampleOf(readTable(file, af), std::size_t{3} * tableSize);
    }
    return LpmTools::generateTable(af, tableSize, 7);
}

class HitlessTableTest : public TestSupport::LeakChecked<testing::TestWithParam<AddressFamily>> {
protected:
    HitlessTableTest() {
        chip_.written = [this](LpmClient::Write const& write) { look(write); };
    }

    void update(IpGenPrefix const& prefix, std::optional<U64> nextHop) {
        if (nextHop) {
            after_.announce({prefix, *nextHop});
        } else {
            after_.withdraw(prefix);
        }
        Outcome const outcome =
            nextHop ? manager_.announce({prefix, *nextHop}) : manager_.withdraw(prefix);
        ASSERT_EQ(outcome, Outcome::done) << prefix;
        if (nextHop) {
            before_.announce({prefix, *nextHop});
        } else {
            before_.withdraw(prefix);
        }
    }

    /** An address under `prefix`; the rest of it at random. */
    IpGenPrefix addressUnder(IpGenPrefix const& prefix) {
        auto bytes = prefix.address();
        U32 const bits = GetParam() == AddressFamily::ipv6 ? 128 : 32;
        for (U32 bit = prefix.len(); bit < bits; ++bit) {
            U32 const flip = random_.below(2) << (7 - bit % 8);
            bytes[bit / 8] = static_cast<U8>(bytes[bit / 8] | flip);
        }
        return IpGenPrefix(GetParam(), bytes, bits);
    }

    /** After each write: it gives the answer from before the update in hand, or the one after it.
     */
    void look(LpmClient::Write const& write) {
        check(addressUnder(write.route.prefix));
        check(addressUnder(prefixes_[random_.below(prefixes_.size())]));
    }
    void check(IpGenPrefix const& address) {
        auto const answer = simulated_.lookup(0, address).route;
        bool const right = answer == before_.match(address) || answer == after_.match(address);
        ++looked_;
        EXPECT_TRUE(right) << address;
    }

    static LpmClient::ManagerOptions options() {
        LpmClient::ManagerOptions options;
        options.af = GetParam();
        return options;
    }

    LpmTools::Xoshiro random_{11};
    std::vector<IpGenPrefix> prefixes_ = table(GetParam());
    NaiveTable before_;
    NaiveTable after_;
    LpmClient::SimulatedChip simulated_{{1U << 20, 64, 1U << 20}};
    ClientTest::WatchedChip chip_{simulated_};
    LpmClient::PartitionManager manager_{chip_, Torvel::Bitmap::BitmapIs(1U << 20), options()};
    U64 looked_ = 0;
};

TEST_P(HitlessTableTest, buildingAndChangingATableShowsNoWrongAnswerAtAnyWrite) {
    for (std::size_t i = prefixes_.size(); i > 1; --i) {
        std::swap(prefixes_[i - 1], prefixes_[random_.below(i)]);
    }
    std::size_t const live = prefixes_.size() / 10 * 9;
    for (std::size_t i = 0; i < live && !HasFailure(); ++i) {
        update(prefixes_[i], i);
    }
    for (std::size_t i = 0; i < live && !HasFailure(); ++i) {
        std::size_t const goes = random_.below(live);
        std::size_t const comes = live + random_.below(prefixes_.size() - live);
        update(prefixes_[goes], std::nullopt);
        update(prefixes_[comes], i);
        std::swap(prefixes_[goes], prefixes_[comes]);
    }
    EXPECT_GT(manager_.counts().moves, live / 2);
    EXPECT_GT(manager_.counts().merges + manager_.counts().shifts, 10U);
    EXPECT_EQ(looked_, 2 * chip_.writes());
    EXPECT_TRUE(manager_.audit().empty());
    manager_.trie().verify();
}

/** The number of differences of a kind that an audit tells. */
std::size_t count(std::vector<LpmClient::Difference> const& differences,
                  LpmClient::DifferenceKind kind) {
    return static_cast<std::size_t>(
        std::ranges::count(differences, kind, &LpmClient::Difference::kind));
}

TEST_P(HitlessTableTest, wholeTableIsTakenOverWithoutAWriteAuditedAndRepaired) {
    for (std::size_t i = prefixes_.size(); i > 1; --i) {
        std::swap(prefixes_[i - 1], prefixes_[random_.below(i)]);
    }
    chip_.written = nullptr;
    for (std::size_t i = 0; i < prefixes_.size(); ++i) {
        update(prefixes_[i], i);
    }
    chip_.countAnew();
    LpmClient::PartitionManager later(chip_, Torvel::Bitmap::BitmapIs(1U << 20), options());
    ASSERT_TRUE(later.restart());
    EXPECT_EQ(chip_.writes(), 0U);
    EXPECT_EQ(later.routes(), manager_.routes());
    EXPECT_EQ(later.buckets(), manager_.buckets());
    EXPECT_TRUE(later.audit().empty());

    // Somebody erases every thousandth route, and changes the next hop of as many others.
    std::size_t damaged = 0;
    auto const damage = [&](LpmClient::WriteKind kind, std::size_t number) {
        LpmClient::Write write;
        write.kind = kind;
        write.route = {prefixes_[number], 7'000'000};
        auto const found = later.trie().findPartitionNode(write.route.prefix, false);
        write.bucket = LpmClient::bucketOf(found.partitionNode());
        ASSERT_EQ(simulated_.write(write), LpmClient::WriteStatus::done);
    };
    for (std::size_t i = 0; i + 500 < prefixes_.size(); i += 1000) {
        damage(LpmClient::WriteKind::eraseRoute, i);
        damage(LpmClient::WriteKind::writeRoute, i + 500);
        ++damaged;
    }
    auto const differences = later.audit();
    EXPECT_EQ(differences.size(), 2 * damaged);
    EXPECT_EQ(count(differences, LpmClient::DifferenceKind::routeMissing), damaged);
    EXPECT_EQ(count(differences, LpmClient::DifferenceKind::routeWrong), damaged);
    EXPECT_TRUE(later.repair().empty());
    EXPECT_EQ(chip_.writes(), 2 * damaged);
    for (IpGenPrefix const& prefix : prefixes_) {
        check(addressUnder(prefix));
    }
    later.trie().verify();
}

INSTANTIATE_TEST_SUITE_P(, HitlessTableTest,
                         testing::Values(AddressFamily::ipv4, AddressFamily::ipv6),
                         [](auto const& family) {
                             return family.param == AddressFamily::ipv6 ? "ipv6" : "ipv4";
                         });

}  // namespace
