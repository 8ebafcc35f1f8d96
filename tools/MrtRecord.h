#pragma once

#include <Nimbal/IpGenPrefix.h>
#include <tools/MrtCursor.h>
#include <tools/MrtPeers.h>
#include <tools/NextHop.h>

#include <array>
#include <vector>

namespace LpmTools {

/** One path that a peer announces or withdraws, or that a dump says it has. */
struct MrtEvent {
    Nimbal::IpGenPrefix prefix;  // host bits are cleared
    U32 peer = 0;                // its number in MrtPeers
    U32 pathId = 0;              // of several to one prefix (RFC 7911); 0 where there is but one
    NextHop nextHop;             // empty for a withdrawal
    U32 seconds = 0;             // of the record, since 1970
    U32 microseconds = 0;        // where the record tells them
    bool isWithdrawal = false;
    bool isFromDump = false;

    bool operator==(MrtEvent const&) const = default;
};

/** What has been read, of records that were read whole. */
struct MrtCounts {
    U64 records = 0;
    U64 dumpEntries = 0;  // paths of dumps; no announcements
    U64 announcements = 0;
    U64 withdrawals = 0;
    U64 updates = 0;          // messages, whatever they held
    U64 endOfRibMarkers = 0;  // updates among them
    /** Messages of each further type, at its number (RFC 4271, 4.1); at 0 of unknown types. */
    std::array<U64, 6> otherMessages{};
    U64 stateChanges = 0;
    U64 peerTables = 0;
    U64 otherFamilies = 0;    // updates' parts and records about others than IP unicast: skipped
    U64 hostBitsCleared = 0;  // events whose prefix had bits set past its length
    U64 cutRoutes = 0;        // lists of routes in updates that end within a route: it is left out
    U64 recordsWithMore = 0;  // bytes left over behind all that they should hold: ignored
    U64 unknownRecords = 0;

    bool operator==(MrtCounts const&) const = default;
};

/** Decoding of one record: what it stands in, and what has come out of it. */
struct MrtRecord {
    MrtPeers& peers;
    MrtCounts& counts;
    std::vector<MrtEvent>& events;
    bool strict = false;  // refuse host bits and lists of routes that end within one
    U32 seconds = 0;
    U32 microseconds = 0;
    bool hasMore = false;  // set when a part of the record has bytes left over

    /** Adds an event; refuses, or clears and counts, host bits. */
    void add(MrtEvent event);
};

/** A family as routing protocols number it; `none` for one whose routes are not read. */
Nimbal::AddressFamily mrtFamily(U16 afi) noexcept;
/** The same, none also for others than unicast routes. */
Nimbal::AddressFamily mrtUnicastFamily(U16 afi, U8 safi) noexcept;
/** A whole address of the family, as the longest prefix. */
Nimbal::IpGenPrefix readMrtAddress(MrtCursor& from, Nimbal::AddressFamily af, char const* what);
/** Length, and as many bytes as it needs (RFC 4271, 4.3). */
Nimbal::IpGenPrefix readMrtPrefix(MrtCursor& from, Nimbal::AddressFamily af);
/** A prefix of the family's full width with the length behind it. */
void checkMrtPrefixLen(Nimbal::AddressFamily af, U32 len);

}  // namespace LpmTools
