#include <tests/Support/LeakCheck.h>
#include <tests/client/ClientWorld.h>

#include <gtest/gtest.h>

/*
 * A restart from a chip that holds prefixes with host bits set. No address meets them: they are
 * stray as any other, and go.
 */

namespace ClientTest {
namespace {

using LpmClient::Bucket;
using LpmClient::Write;
using LpmClient::WriteKind;

IpGenPrefix prefix(char const* text) {
    return IpGenPrefix::fromString(text);
}

/** `address` and a length behind which bits are set. */
IpGenPrefix withHostBits(char const* address, U32 len) {
    IpGenPrefix const whole = prefix(address);
    return IpGenPrefix(whole.af(), whole.address(), len);
}

class RestartStrayTest : public TestSupport::LeakCheck {
protected:
    /** Two partitions: the top in bucket 0, and 10.1.0.0/22 in bucket 1. */
    RestartStrayTest() {
        world_.watch(false);
        NextHop nextHop = 0;
        for (char const* const text :
             {"10.0.0.0/8", "10.1.0.0/16", "10.1.1.0/24", "10.1.2.0/24", "11.0.0.0/8"}) {
            EXPECT_EQ(world_.update({prefix(text), ++nextHop}), Outcome::done);
        }
        EXPECT_EQ(world_.chip.bindingsUsed(), 2U);
    }

    void write(WriteKind kind, Bucket bucket, IpGenPrefix const& prefix) {
        Write const write{kind, bucket, ClientWorld::vrfId, {prefix, 99}, false};
        ASSERT_EQ(world_.chip.write(write), WriteStatus::done) << write;
    }

    /** Takes over what the chip holds; all is as it was before anybody disturbed it. */
    void restart() {
        world_.newManager();
        world_.watch(true);
        ASSERT_TRUE(world_.quietly([&] { return world_.manager().restart(); }));
        ASSERT_NO_FATAL_FAILURE(world_.check());
        EXPECT_EQ(world_.state(), state_);
        EXPECT_FALSE(world_.failed());
    }

    Space const space_{AddressFamily::ipv4};
    ClientWorld world_{space_, "half", {4, 4, 8}};
    std::string state_;
};

TEST_F(RestartStrayTest, erasesARouteWithHostBits) {
    state_ = world_.state();
    write(WriteKind::writeRoute, 1, withHostBits("10.1.3.7/32", 24));
    write(WriteKind::writeRoute, 0, withHostBits("12.1.2.3/32", 0));
    restart();
}

TEST_F(RestartStrayTest, unbindsAPrefixWithHostBits) {
    state_ = world_.state();
    write(WriteKind::bind, 1, withHostBits("10.1.2.1/32", 23));
    write(WriteKind::bind, 0, withHostBits("10.1.1.1/32", 24));
    write(WriteKind::bind, 1, withHostBits("12.0.0.1/32", 8));
    restart();
}

TEST_F(RestartStrayTest, freesABucketThatOnlyAPrefixWithHostBitsIsBoundTo) {
    state_ = world_.state();
    write(WriteKind::allocate, 3, prefix("0.0.0.0/0"));
    write(WriteKind::writeRoute, 3, prefix("13.0.0.0/8"));
    write(WriteKind::bind, 3, withHostBits("13.0.0.1/32", 8));
    restart();
    EXPECT_EQ(world_.chip.bucketsUsed(), 2U);
}

TEST_F(RestartStrayTest, writesAnotherCoveringRouteThanOneWithHostBits) {
    state_ = world_.state();
    write(WriteKind::writeCover, 1, withHostBits("10.1.0.1/32", 16));
    world_.newManager();
    ASSERT_TRUE(world_.manager().restart());
    ASSERT_NO_FATAL_FAILURE(world_.check());
    EXPECT_EQ(world_.state(), state_);
}

}  // namespace
}  // namespace ClientTest
