#pragma once

#include <Nimbal/IpGenPrefix.h>
#include <Vexo/Types.h>

#include <memory>
#include <span>

namespace LpmBenchmarks {

using Nimbal::IpGenPrefix;
using Vexo::U32;
using Vexo::U64;

/** One step of a stream of updates: a look-up, and then what it leads to. */
struct Update {
    IpGenPrefix prefix;
    bool announced = true;
};

/** What the answers of a table come to; the same for all tables that hold the same routes. */
struct Answers {
    U64 found = 0;
    U64 sum = 0;
    bool operator==(Answers const&) const = default;

    /** Counts one answer: the length of the longest match, or none. */
    void add(U32 len) noexcept {
        ++found;
        sum = sum * 31 + len;
    }
    void addNone() noexcept { sum = sum * 31 + 255; }
};

/**
 * A routing table under measurement. An operation works on a whole list, so that its call costs
 * nothing. Prefixes are distinct and have no host bits.
 */
class Table {
public:
    Table() = default;
    Table(Table const&) = delete;
    Table& operator=(Table const&) = delete;
    virtual ~Table() = default;

    virtual void insert(std::span<IpGenPrefix const> routes) = 0;
    /** Longest matches, timed: what is found is only looked at as far as the table tells it. */
    virtual U64 find(std::span<IpGenPrefix const> queries) = 0;
    /** The same by an operation for many at once; one by one where the table has none. */
    virtual U64 findTogether(std::span<IpGenPrefix const> queries) { return find(queries); }
    /** Longest matches, told. Not timed. */
    virtual Answers answers(std::span<IpGenPrefix const> queries) = 0;
    /** Visits all routes in order; answers how many. 0 for a table that has no order. */
    virtual U64 walk() = 0;
    /** Answers how many steps changed the table. */
    virtual U64 replay(std::span<Update const> updates) = 0;
    virtual void remove(std::span<IpGenPrefix const> routes) = 0;
    /** Bytes that the table's objects take, as far as it can tell. */
    virtual U64 bytes() const = 0;
    /** Checks itself, for what that is worth; false when it cannot. */
    virtual bool verify() { return false; }
};

/** How many bytes a page has on which a table lives. */
enum class Pages { small, huge };

std::unique_ptr<Table> libraryTable(Nimbal::AddressFamily af);
/** The same in partitions of at most 512 routes, by a client's calls. */
std::unique_ptr<Table> partitionedTable(Nimbal::AddressFamily af);
/** `rte_rib` or `rte_rib6`, with room for `nodes` nodes. */
std::unique_ptr<Table> rteRibTable(Nimbal::AddressFamily af, U32 nodes, Pages pages);
std::unique_ptr<Table> mapTable(Nimbal::AddressFamily af);
std::unique_ptr<Table> hashTable(Nimbal::AddressFamily af);

}  // namespace LpmBenchmarks
