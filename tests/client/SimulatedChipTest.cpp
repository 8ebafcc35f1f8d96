#include <tests/Support/LeakCheck.h>
#include <tests/client/Space.h>

#include <client/SimulatedChip.h>

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

namespace ClientTest {
namespace {

using LpmClient::Bucket;
using LpmClient::ChipAnswer;
using LpmClient::SimulatedChip;
using LpmClient::Write;
using LpmClient::WriteKind;
using LpmClient::WriteStatus;

Write make(WriteKind kind, Bucket bucket, char const* prefix, NextHop nextHop = 0, U32 vrfId = 1) {
    return {kind, bucket, vrfId, {IpGenPrefix::fromString(prefix), nextHop}, false};
}

class SimulatedChipTest : public TestSupport::LeakCheck {
protected:
    WriteStatus write(WriteKind kind, Bucket bucket, char const* prefix = "0.0.0.0/0",
                      NextHop nextHop = 0, U32 vrfId = 1) {
        return chip_.write(make(kind, bucket, prefix, nextHop, vrfId));
    }

    SimulatedChip chip_{{3, 2, 2}};
};

TEST_F(SimulatedChipTest, allocatesEachBucketOnceAndNoneBeyondItsSize) {
    EXPECT_EQ(write(WriteKind::allocate, 3), WriteStatus::noBuckets);
    for (Bucket bucket = 0; bucket < 3; ++bucket) {
        EXPECT_EQ(write(WriteKind::allocate, bucket), WriteStatus::done);
        EXPECT_EQ(write(WriteKind::allocate, bucket), WriteStatus::bucketInUse);
    }
    EXPECT_EQ(write(WriteKind::allocate, 4), WriteStatus::noBuckets);
    EXPECT_EQ(chip_.bucketsUsed(), 3U);
    EXPECT_EQ(write(WriteKind::free, 1), WriteStatus::done);
    EXPECT_EQ(chip_.bucketsUsed(), 2U);
    EXPECT_EQ(chip_.buckets(1, AddressFamily::ipv4), (std::vector<Bucket>{0, 2}));
    EXPECT_TRUE(chip_.buckets(1, AddressFamily::ipv6).empty());
    EXPECT_TRUE(chip_.buckets(2, AddressFamily::ipv4).empty());
}

TEST_F(SimulatedChipTest, refusesWhatNamesNoBucket) {
    for (WriteKind const kind : {WriteKind::writeRoute, WriteKind::eraseRoute,
                                 WriteKind::writeCover, WriteKind::bind, WriteKind::free}) {
        EXPECT_EQ(write(kind, 0), WriteStatus::unknownBucket) << text(kind);
        EXPECT_EQ(write(kind, LpmClient::noBucket), WriteStatus::unknownBucket) << text(kind);
    }
    EXPECT_EQ(write(WriteKind::unbind, 0), WriteStatus::unknownBinding);
    EXPECT_FALSE(chip_.contents(0));
}

TEST_F(SimulatedChipTest, bucketHoldsItsBoundAndTakesNewNextHopsWhenFull) {
    write(WriteKind::allocate, 0);
    EXPECT_EQ(write(WriteKind::writeRoute, 0, "10.0.0.0/8", 1), WriteStatus::done);
    EXPECT_EQ(write(WriteKind::writeRoute, 0, "11.0.0.0/8", 2), WriteStatus::done);
    EXPECT_EQ(write(WriteKind::writeRoute, 0, "12.0.0.0/8", 3), WriteStatus::bucketFull);
    EXPECT_EQ(write(WriteKind::writeRoute, 0, "11.0.0.0/8", 4), WriteStatus::done);
    EXPECT_EQ(write(WriteKind::writeCover, 0, "0.0.0.0/0", 5), WriteStatus::done);
    EXPECT_EQ(write(WriteKind::eraseRoute, 0, "12.0.0.0/8"), WriteStatus::unknownRoute);
    EXPECT_EQ(write(WriteKind::eraseRoute, 0, "10.0.0.0/8"), WriteStatus::done);
    EXPECT_EQ(write(WriteKind::eraseRoute, 0, "10.0.0.0/8"), WriteStatus::unknownRoute);
    auto const contents = chip_.contents(0);
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->routes, (std::vector<Route>{{IpGenPrefix::fromString("11.0.0.0/8"), 4}}));
    EXPECT_EQ(contents->cover, (Route{IpGenPrefix::fromString("0.0.0.0/0"), 5}));
}

TEST_F(SimulatedChipTest, refusesTheOtherFamily) {
    write(WriteKind::allocate, 0);
    for (WriteKind const kind :
         {WriteKind::writeRoute, WriteKind::eraseRoute, WriteKind::writeCover, WriteKind::bind}) {
        EXPECT_EQ(write(kind, 0, "::/0"), WriteStatus::wrongFamily) << text(kind);
    }
}

TEST_F(SimulatedChipTest, refusesPrefixesThatAreLongerThanAnAddress) {
    write(WriteKind::allocate, 0);
    for (WriteKind const kind :
         {WriteKind::writeRoute, WriteKind::eraseRoute, WriteKind::writeCover, WriteKind::bind}) {
        for (U32 const len : {33U, 128U, 129U, 255U}) {
            LpmClient::Write write;
            write.kind = kind;
            write.bucket = 0;
            write.route.prefix = IpGenPrefix(AddressFamily::ipv4, {}, len);
            EXPECT_EQ(chip_.write(write), WriteStatus::wrongFamily) << text(kind) << ' ' << len;
        }
    }
    EXPECT_EQ(chip_.bindingsUsed(), 0U);
}

TEST_F(SimulatedChipTest, bindsWithinItsTableAndRebindsWhenThatIsFull) {
    write(WriteKind::allocate, 0);
    write(WriteKind::allocate, 1);
    EXPECT_EQ(write(WriteKind::bind, 0, "10.0.0.0/8"), WriteStatus::done);
    EXPECT_EQ(write(WriteKind::bind, 0, "11.0.0.0/8"), WriteStatus::done);
    EXPECT_EQ(write(WriteKind::bind, 1, "12.0.0.0/8"), WriteStatus::tableFull);
    EXPECT_EQ(write(WriteKind::bind, 1, "11.0.0.0/8"), WriteStatus::done);
    EXPECT_EQ(write(WriteKind::free, 1), WriteStatus::bucketInUse);
    EXPECT_EQ(write(WriteKind::free, 0), WriteStatus::bucketInUse);
    EXPECT_EQ(write(WriteKind::unbind, 0, "11.0.0.0/8"), WriteStatus::done);
    EXPECT_EQ(write(WriteKind::unbind, 0, "11.0.0.0/8"), WriteStatus::unknownBinding);
    EXPECT_EQ(write(WriteKind::free, 1), WriteStatus::done);
    EXPECT_EQ(chip_.bindingsUsed(), 1U);
    EXPECT_EQ(write(WriteKind::bind, 0, "11.0.0.0/8", 0, 2), WriteStatus::unknownBucket);
}

TEST_F(SimulatedChipTest, countsWritesByKindAndRefusedOnesApart) {
    write(WriteKind::allocate, 0);
    write(WriteKind::allocate, 0);
    write(WriteKind::allocate, 1);
    write(WriteKind::unbind, 0);
    auto const counts = chip_.counts();
    EXPECT_EQ(counts.of(WriteKind::allocate), 2U);
    EXPECT_EQ(counts.refusedOf(WriteKind::allocate), 1U);
    EXPECT_EQ(counts.of(WriteKind::unbind), 0U);
    EXPECT_EQ(counts.refusedOf(WriteKind::unbind), 1U);
    EXPECT_EQ(counts.total(), 2U);
    EXPECT_EQ(counts.totalRefused(), 2U);
}

TEST_F(SimulatedChipTest, bucketThatIsFreedIsEmptyWhenAllocatedAgain) {
    write(WriteKind::allocate, 0);
    write(WriteKind::writeRoute, 0, "10.0.0.0/8");
    write(WriteKind::writeCover, 0, "0.0.0.0/0");
    write(WriteKind::free, 0);
    write(WriteKind::allocate, 0);
    EXPECT_TRUE(chip_.contents(0)->routes.empty());
    EXPECT_FALSE(chip_.contents(0)->cover);
}

TEST(WriteTextTest, namesWhatIsWritten) {
    auto const line = [](Write const& write) {
        std::ostringstream out;
        out << write;
        return out.str();
    };
    EXPECT_EQ(line(make(WriteKind::allocate, 4, "::/0")), "allocate bucket 4");
    EXPECT_EQ(line(make(WriteKind::writeRoute, 4, "10.0.0.0/8", 7)),
              "write route 10.0.0.0/8 to 7 in bucket 4");
    EXPECT_EQ(line(make(WriteKind::eraseRoute, 4, "10.0.0.0/8", 7)),
              "erase route 10.0.0.0/8 in bucket 4");
    EXPECT_EQ(line(make(WriteKind::bind, 4, "10.0.0.0/8")),
              "bind 10.0.0.0/8 of instance 1 to bucket 4");
    EXPECT_EQ(line(make(WriteKind::unbind, 4, "10.0.0.0/8")), "unbind 10.0.0.0/8 of instance 1");
    Write none = make(WriteKind::writeCover, 4, "0.0.0.0/0");
    none.empty = true;
    EXPECT_EQ(line(none), "write cover none in bucket 4");
    EXPECT_EQ(line(make(WriteKind::free, 4, "::/0")), "free bucket 4");
    EXPECT_EQ(text(WriteStatus::transientError), "transient error");
}

/** What the chip should hold, with nothing but lists. */
struct PlainChip {
    struct Bound {
        IpGenPrefix prefix;
        Bucket bucket;
    };
    std::vector<Bound> bound;
    std::map<Bucket, Table> routes;
    std::map<Bucket, Route> covers;

    ChipAnswer lookup(IpGenPrefix const& address) const {
        ChipAnswer answer;
        for (Bound const& binding : bound) {
            if (binding.prefix.overlaps(address) &&
                (!answer.binding || answer.binding->len() < binding.prefix.len())) {
                answer.binding = binding.prefix;
                answer.bucket = binding.bucket;
            }
        }
        if (!answer.binding) {
            return answer;
        }
        for (auto const& [prefix, nextHop] : routes.at(answer.bucket)) {
            if (prefix.overlaps(address) &&
                (!answer.route || answer.route->prefix.len() < prefix.len())) {
                answer.route = Route{prefix, nextHop};
            }
        }
        if (auto const cover = covers.find(answer.bucket); !answer.route && cover != covers.end()) {
            answer.route = cover->second;
            answer.fromCover = true;
        }
        return answer;
    }
};

TEST(SimulatedChipLookupTest, twoStagesAgreeWithTryingEveryBindingAndRoute) {
    U64 const seed = fromEnvironment("LPMTRIE_CLIENT_SEED", 1);
    std::cout << "LPMTRIE_CLIENT_SEED=" << seed << '\n';
    Random random(seed);
    for (AddressFamily const af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
        Space const space(af, 6);
        SimulatedChip chip({6, 20, 10});
        PlainChip plain;
        for (Bucket bucket = 0; bucket < 6; ++bucket) {
            Write write{WriteKind::allocate, bucket, 3, {space.at(0), 0}, false};
            ASSERT_EQ(chip.write(write), WriteStatus::done);
            write.kind = WriteKind::writeRoute;
            for (auto const& prefix : randomPrefixes(space, Order::random, 20, random)) {
                write.route = {prefix, random.below(100)};
                ASSERT_EQ(chip.write(write), WriteStatus::done);
                plain.routes[bucket][prefix] = write.route.nextHop;
            }
            write.kind = WriteKind::writeCover;
            write.route.prefix = space.randomPrefix(random);
            if (bucket % 3 != 0) {
                ASSERT_EQ(chip.write(write), WriteStatus::done);
                plain.covers[bucket] = write.route;
            }
        }
        for (auto const& prefix : randomPrefixes(space, Order::random, 10, random)) {
            Write const write{WriteKind::bind, random.below(6), 3, {prefix, 0}, false};
            ASSERT_EQ(chip.write(write), WriteStatus::done);
            plain.bound.push_back({prefix, write.bucket});
            for (IpGenPrefix const& address : space.addresses()) {
                ASSERT_EQ(chip.lookup(3, address), plain.lookup(address)) << address;
                ASSERT_EQ(chip.lookup(4, address), ChipAnswer());
            }
        }
    }
}

}  // namespace
}  // namespace ClientTest
