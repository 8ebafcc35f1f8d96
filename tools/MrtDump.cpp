/*
 * Dumps of a collector's table. In the first version (RFC 6396, 4.2) each record is one path: a
 * prefix, the peer and the attributes. In the second (4.3) one record lists all peers, and each
 * further one holds a prefix and all its paths, which name their peers by their places in that
 * list; with RFC 8050, a path identifier as well.
 *
 * Attributes of the second version hold an MP_REACH_NLRI that is cut down to its next hop (4.3.4).
 * Some writers leave it whole all the same, also in the first version; it begins with the high byte
 * of a family's number then, which is 0, as no length of a next hop can be.
 */

#include <tools/MrtDump.h>

#include <tools/MrtAttributes.h>

namespace LpmTools {

using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;

namespace {

NextHop readNextHop(MrtRecord& record, MrtCursor from) {
    MrtAttributes const attributes = readMrtAttributes(from);
    if (!attributes.reach) {
        return readMrtNextHop(attributes);
    }
    MrtCursor reach = *attributes.reach;
    if (!reach.atEnd() && reach.peek() == 0) {
        reach.bytes(3, "family");
        return readMrtLongNextHop(reach);
    }
    NextHop const nextHop = readMrtLongNextHop(reach);
    record.hasMore |= !reach.atEnd();
    return nextHop;
}

MrtEvent entry() {
    MrtEvent event;
    event.isFromDump = true;
    return event;
}

void readTableDump(MrtRecord& record, AddressFamily af, MrtCursor& body) {
    MrtEvent event = entry();
    body.bytes(4, "sequence number");
    IpGenPrefix const address = readMrtAddress(body, af, "prefix");
    U32 const len = body.u8("prefix length");
    checkMrtPrefixLen(af, len);
    event.prefix = {af, address.address(), len};
    body.bytes(5, "time");
    MrtPeer peer;
    peer.address = readMrtAddress(body, af, "peer's address");
    peer.as = body.u16("peer's AS");
    std::size_t const length = body.u16("attributes' length");
    event.nextHop = readNextHop(record, body.part(length, "list of attributes"));
    event.peer = record.peers.number(peer);
    record.add(event);
}

void readPeerTable(MrtRecord& record, MrtCursor& body, MrtPeerIndex& peerIndex) {
    constexpr U8 hasIpv6Address = 1;
    constexpr U8 hasLongAs = 2;
    body.u32("collector's identifier");
    body.bytes(body.u16("view name's length"), "view name");
    U32 const count = body.u16("count of peers");
    std::vector<U32> numbers;
    for (U32 i = 0; i < count; ++i) {
        U8 const flags = body.u8("type of a peer");
        body.u32("identifier of a peer");
        bool const isIpv6 = (flags & hasIpv6Address) != 0;
        MrtPeer peer;
        peer.address = readMrtAddress(body, isIpv6 ? AddressFamily::ipv6 : AddressFamily::ipv4,
                                      "address of a peer");
        peer.as = (flags & hasLongAs) != 0 ? body.u32("AS of a peer") : body.u16("AS of a peer");
        numbers.push_back(record.peers.number(peer));
    }
    peerIndex = std::move(numbers);
    ++record.counts.peerTables;
}

void readRib(MrtRecord& record, AddressFamily af, bool hasPathIds, MrtCursor& body,
             MrtPeerIndex const& peerIndex) {
    if (!peerIndex) {
        throw MrtFault("a table's entries come before the table of peers");
    }
    MrtEvent event = entry();
    body.u32("sequence number");
    event.prefix = readMrtPrefix(body, af);
    U32 const count = body.u16("count of entries");
    for (U32 i = 0; i < count; ++i) {
        std::size_t const peer = body.u16("peer of an entry");
        if (peer >= peerIndex->size()) {
            throw MrtFault("an entry names peer " + std::to_string(peer) + " of " +
                           std::to_string(peerIndex->size()));
        }
        event.peer = (*peerIndex)[peer];
        body.u32("time of an entry");
        event.pathId = hasPathIds ? body.u32("path identifier") : 0;
        std::size_t const length = body.u16("attributes' length");
        event.nextHop = readNextHop(record, body.part(length, "list of attributes"));
        record.add(event);
    }
}

bool readTableDumpV2(MrtRecord& record, U16 subtype, MrtCursor& body, MrtPeerIndex& peerIndex) {
    switch (subtype) {
    case 1:
        readPeerTable(record, body, peerIndex);
        return true;
    case 2:
    case 8:
        readRib(record, AddressFamily::ipv4, subtype == 8, body, peerIndex);
        return true;
    case 4:
    case 10:
        readRib(record, AddressFamily::ipv6, subtype == 10, body, peerIndex);
        return true;
    default:
        return false;
    }
}

}  // namespace

bool readMrtDump(MrtRecord& record, MrtKind kind, MrtCursor& body, MrtPeerIndex& peerIndex) {
    if (kind.type == MrtType::tableDumpV2) {
        return readTableDumpV2(record, kind.subtype, body, peerIndex);
    }
    AddressFamily const af = mrtFamily(kind.subtype);
    if (af == AddressFamily::none) {
        return false;
    }
    readTableDump(record, af, body);
    return true;
}

}  // namespace LpmTools
