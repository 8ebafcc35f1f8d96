#include <tests/Support/LeakCheck.h>
#include <tests/client/ClientWorld.h>

#include <gtest/gtest.h>

#include <sstream>

/*
 * What somebody else writes to the chip is found, told to the letter, and repaired.
 */

namespace ClientTest {
namespace {

using LpmClient::Bucket;
using LpmClient::Difference;
using LpmClient::Write;
using LpmClient::WriteKind;

constexpr U32 vrfId = ClientWorld::vrfId;

IpGenPrefix prefix(char const* text) {
    return IpGenPrefix::fromString(text);
}

Write make(WriteKind kind, Bucket bucket, char const* text, NextHop nextHop = 0) {
    return {kind, bucket, vrfId, {prefix(text), nextHop}, false};
}

std::vector<std::string> texts(std::vector<Difference> const& differences) {
    std::vector<std::string> lines;
    for (Difference const& difference : differences) {
        std::ostringstream line;
        line << difference;
        lines.push_back(line.str());
    }
    return lines;
}

/**
 * Two partitions: the top in bucket 0 with 10.0.0.0/8, 10.1.0.0/16 and 11.0.0.0/8, and 10.1.0.0/22
 * in bucket 1 with two routes.
 */
class AuditTest : public TestSupport::LeakCheck {
protected:
    AuditTest() {
        for (char const* const text :
             {"10.0.0.0/8", "10.1.0.0/16", "10.1.1.0/24", "10.1.2.0/24", "11.0.0.0/8"}) {
            Route const route{prefix(text), ++nextHop_};
            EXPECT_EQ(manager_.announce(route), Outcome::done);
        }
        EXPECT_EQ(chip_.bindings(vrfId, AddressFamily::ipv4).size(), 2U);
        EXPECT_EQ(manager_.roots().rbegin()->first, prefix("10.1.0.0/22"));
        EXPECT_EQ(bucketOf(manager_.roots().rbegin()->second), 1U);
    }

    void write(Write const& write) { ASSERT_EQ(chip_.write(write), WriteStatus::done) << write; }
    /** The difference is the only one, and repaired. */
    void expect(std::vector<std::string> const& lines) {
        EXPECT_EQ(texts(manager_.audit()), lines);
        EXPECT_TRUE(manager_.repair().empty());
        EXPECT_TRUE(manager_.audit().empty());
        EXPECT_EQ(numbers_->count(), 2U);
        EXPECT_EQ(chip_.bucketsUsed(), 2U);
    }

    Space const space_{AddressFamily::ipv4};
    SimulatedChip chip_{{4, 4, 4}};
    Torvel::Bitmap::Ptr const numbers_ = Torvel::Bitmap::BitmapIs(4);
    NextHop nextHop_ = 0;
    PartitionManager manager_{chip_, numbers_, {vrfId, AddressFamily::ipv4, 4, "half", 1}};
};

TEST_F(AuditTest, throwsWhatAChipThrowsThatCannotBeRead) {
    WatchedChip watched(chip_);
    PartitionManager manager(watched, Torvel::Bitmap::BitmapIs(4),
                             {vrfId, AddressFamily::ipv4, 4, "half", 1});
    ASSERT_TRUE(manager.restart());
    U64 number = 0;
    for (;; ++number) {
        watched.asked = unreadableAt(number);
        try {
            EXPECT_TRUE(manager.audit().empty());
            break;
        } catch (Unreadable const&) {
            EXPECT_TRUE(manager.settled());
        }
    }
    EXPECT_EQ(number, 4U);  // the bindings, the buckets, and each of the two
}

TEST_F(AuditTest, missingRoute) {
    write(make(WriteKind::eraseRoute, 1, "10.1.1.0/24"));
    expect({"bucket 1 lacks the route 10.1.1.0/24 to 3"});
}

TEST_F(AuditTest, strayRoute) {
    write(make(WriteKind::writeRoute, 1, "10.1.3.0/24", 9));
    expect({"bucket 1 holds a stray route 10.1.3.0/24 to 9"});
}

TEST_F(AuditTest, routeToAnotherNextHop) {
    write(make(WriteKind::writeRoute, 0, "11.0.0.0/8", 9));
    expect({"bucket 0 holds 11.0.0.0/8 to 9 instead of 11.0.0.0/8 to 5"});
}

TEST_F(AuditTest, anotherCoveringRoute) {
    write(make(WriteKind::writeCover, 1, "0.0.0.0/0", 9));
    expect({"bucket 1 has the covering route 0.0.0.0/0 to 9 instead of 10.1.0.0/16 to 2"});
}

TEST_F(AuditTest, missingAndStrayCoveringRoute) {
    Write none = make(WriteKind::writeCover, 1, "0.0.0.0/0");
    none.empty = true;
    write(none);
    write(make(WriteKind::writeCover, 0, "0.0.0.0/0", 9));
    expect({"bucket 0 has the covering route 0.0.0.0/0 to 9 instead of none",
            "bucket 1 has the covering route none instead of 10.1.0.0/16 to 2"});
}

TEST_F(AuditTest, strayBucket) {
    write(make(WriteKind::allocate, 3, "0.0.0.0/0"));
    expect({"bucket 3 serves no partition"});
}

TEST_F(AuditTest, missingBinding) {
    write(make(WriteKind::unbind, 0, "10.1.0.0/22"));
    expect({"bucket 1 is not bound to its prefix 10.1.0.0/22"});
}

TEST_F(AuditTest, strayBinding) {
    write(make(WriteKind::bind, 0, "10.1.1.0/24"));
    expect({"bucket 0 is bound to 10.1.1.0/24, which is no partition"});
}

TEST_F(AuditTest, bindingToAnotherBucket) {
    write(make(WriteKind::bind, 0, "10.1.0.0/22"));
    expect({"bucket 0 is bound to 10.1.0.0/22, another partition's prefix"});
}

TEST_F(AuditTest, missingBucketIsFilledAgain) {
    write(make(WriteKind::unbind, 0, "10.1.0.0/22"));
    write(make(WriteKind::free, 1, "0.0.0.0/0"));
    expect({"bucket 1 is not bound to its prefix 10.1.0.0/22", "bucket 1 is not allocated"});
    EXPECT_EQ(chip_.contents(1)->routes.size(), 2U);
    EXPECT_EQ(chip_.contents(1)->cover, (Route{prefix("10.1.0.0/16"), 2}));
}

TEST_F(AuditTest, otherTablesAreNoDifference) {
    Write other = make(WriteKind::allocate, 3, "0.0.0.0/0");
    other.vrfId = vrfId + 1;
    write(other);
    other.kind = WriteKind::bind;
    write(other);
    write(make(WriteKind::allocate, 2, "::/0"));
    EXPECT_TRUE(manager_.audit().empty());
}

}  // namespace
}  // namespace ClientTest
