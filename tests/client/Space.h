#pragma once

#include <client/Hardware.h>

#include <map>
#include <random>
#include <string>

namespace ClientTest {

using LpmClient::NextHop;
using LpmClient::Route;
using LpmClient::U32;
using LpmClient::U64;
using LpmClient::U8;
using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;

/** A routing table with no structure but order. */
using Table = std::map<IpGenPrefix, NextHop>;

/** What a look-up of each address of a space gives. */
using Answers = std::vector<std::optional<Route>>;

/** An announcement, or, without a next hop, a withdrawal. */
struct Update {
    IpGenPrefix prefix;
    std::optional<NextHop> nextHop;
};

enum class Order : U8 { random, ascending, descending };

/** Random numbers that are the same with every standard library. */
class Random {
public:
    explicit Random(U64 seed) : random_(seed) {}
    U32 below(U32 limit) { return static_cast<U32>(random_() % limit); }

private:
    std::mt19937_64 random_;
};

/**
 * A part of the addresses of a family so small that it can be looked up after each write: those
 * that differ in the last `bits` + 4 bits only, and an address far away. Where `bits` is more than
 * `allUpTo`, of the first sixteenth all, of the others a few.
 */
class Space {
public:
    static constexpr U32 allUpTo = 3;

    explicit Space(AddressFamily af, U32 bits = 8);

    AddressFamily af() const noexcept { return af_; }
    U32 bits() const noexcept { return bits_; }
    /** Each a prefix of full length. */
    std::vector<IpGenPrefix> const& addresses() const noexcept { return addresses_; }
    /** Of any length, most of them so long that they nest in the space. */
    IpGenPrefix randomPrefix(Random& random) const;
    /** The address with these last 12 bits, or a prefix around it that is so much shorter. */
    IpGenPrefix at(U32 low, U32 shorter = 0) const;
    /** The longest match of each address, found by trying every route. */
    Answers answers(Table const& table) const;

private:
    AddressFamily af_;
    U32 bits_;
    std::vector<IpGenPrefix> addresses_;
};

/** So many prefixes, all different, in the given order. */
std::vector<IpGenPrefix> randomPrefixes(Space const& space, Order order, U32 count, Random& random);

/**
 * Announces `routes` prefixes in the given order, with a change of something else now and then;
 * then withdraws and announces at random; then withdraws everything in that order.
 */
std::vector<Update> history(Space const& space, Order order, U32 routes, Random& random);

/** Brings the table up to date. */
void takeInto(Table& table, Update const& update);

/** The number in the environment, or `fallback`. */
U64 fromEnvironment(char const* name, U64 fallback);

}  // namespace ClientTest
