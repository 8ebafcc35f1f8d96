/*
 * Messages as a collector hears them (RFC 6396, 4.4): who speaks with whom, then one BGP message
 * with its header. Of messages only updates matter; their routes may stand in four places: IPv4
 * routes in the message itself, withdrawn ones first and announced ones at its end, those of any
 * family in the attributes MP_UNREACH_NLRI and MP_REACH_NLRI. All withdrawals are delivered before
 * all announcements, so that a route that stands in both is announced in the end (RFC 7606, 5.1).
 *
 * RFC 8050 adds subtypes in whose updates each route has a path identifier in front.
 *
 * Deliberate: a list of routes whose last one is cut off is taken up to there and counted, unless
 * strict. Such messages stand in archives, from senders that left a byte too many, and the list has
 * a length of its own, so that nothing behind it is in doubt.
 */

#include <tools/MrtMessage.h>

#include <tools/MrtAttributes.h>

#include <algorithm>

namespace LpmTools {

using Nimbal::AddressFamily;

namespace {

/** What the subtype tells of a record. */
struct Form {
    bool isRead = false;
    bool isStateChange = false;
    bool hasLongAs = false;
    bool isLocal = false;
    bool hasPathIds = false;
};

constexpr std::array<Form, 12> forms{{
    {.isRead = true, .isStateChange = true},
    {.isRead = true},
    {},
    {},
    {.isRead = true, .hasLongAs = true},
    {.isRead = true, .isStateChange = true, .hasLongAs = true},
    {.isRead = true, .isLocal = true},
    {.isRead = true, .hasLongAs = true, .isLocal = true},
    {.isRead = true, .hasPathIds = true},
    {.isRead = true, .hasLongAs = true, .hasPathIds = true},
    {.isRead = true, .isLocal = true, .hasPathIds = true},
    {.isRead = true, .hasLongAs = true, .isLocal = true, .hasPathIds = true},
}};

class UpdateReader {
public:
    UpdateReader(MrtRecord& record, MrtPeer const& peer, bool hasPathIds)
        : record_(record), hasPathIds_(hasPathIds) {
        event_.peer = record.peers.number(peer);
    }

    void read(MrtCursor message) {
        MrtCursor const withdrawn =
            message.part(message.u16("withdrawn routes' length"), "list of withdrawn routes");
        MrtCursor const all = message.part(message.u16("attributes' length"), "list of attributes");
        MrtAttributes const attributes = readMrtAttributes(all);
        ++record_.counts.updates;
        withdraw(withdrawn, AddressFamily::ipv4);
        bool const endsOtherRib = readUnreach(attributes.unreach) && !attributes.reach;
        readReach(attributes.reach);
        announce(message, AddressFamily::ipv4, readMrtNextHop(attributes));
        if (withdrawn.atEnd() && message.atEnd() && (all.atEnd() || endsOtherRib)) {
            ++record_.counts.endOfRibMarkers;
        }
    }

private:
    /** Is it of a family that is read, but with no routes (RFC 4724, 2)? Others are skipped. */
    bool readUnreach(std::optional<MrtCursor> value) {
        AddressFamily const af = value ? readFamily(*value) : AddressFamily::none;
        if (af == AddressFamily::none) {
            return false;
        }
        withdraw(*value, af);
        return value->atEnd();
    }

    void readReach(std::optional<MrtCursor> value) {
        AddressFamily const af = value ? readFamily(*value) : AddressFamily::none;
        if (af != AddressFamily::none) {
            NextHop const nextHop = readMrtLongNextHop(*value);
            value->u8("reserved byte");
            announce(*value, af, nextHop);
        }
    }

    AddressFamily readFamily(MrtCursor& value) {
        U16 const afi = value.u16("address family");
        AddressFamily const af = mrtUnicastFamily(afi, value.u8("address family"));
        record_.counts.otherFamilies += af == AddressFamily::none ? U64{1} : U64{0};
        return af;
    }

    void withdraw(MrtCursor routes, AddressFamily af) {
        event_.isWithdrawal = true;
        event_.nextHop = {};
        readRoutes(routes, af);
    }
    void announce(MrtCursor routes, AddressFamily af, NextHop const& nextHop) {
        event_.isWithdrawal = false;
        event_.nextHop = nextHop;
        readRoutes(routes, af);
    }
    void readRoutes(MrtCursor routes, AddressFamily af) {
        while (!routes.atEnd()) {
            if (!record_.strict && endsWithinRoute(routes, af)) {
                ++record_.counts.cutRoutes;
                return;
            }
            event_.pathId = hasPathIds_ ? routes.u32("path identifier") : 0;
            event_.prefix = readMrtPrefix(routes, af);
            record_.add(event_);
        }
    }
    bool endsWithinRoute(MrtCursor routes, AddressFamily af) const {
        std::size_t const before = hasPathIds_ ? 4 : 0;
        if (routes.left() <= before) {
            return true;
        }
        routes.bytes(before, "path identifier");
        U32 const len = routes.u8("prefix length");
        checkMrtPrefixLen(af, len);
        return routes.left() < (len + 7) / 8;
    }

    MrtRecord& record_;
    bool const hasPathIds_;
    MrtEvent event_;
};

void readMessage(MrtRecord& record, MrtPeer const& peer, bool hasPathIds, MrtCursor& body) {
    constexpr std::size_t headerSize = 19;
    constexpr U8 update = 2;
    auto const marker = body.bytes(16, "marker of a message");
    if (!std::ranges::all_of(marker, [](U8 byte) { return byte == 0xff; })) {
        throw MrtFault("no message begins where one should");
    }
    std::size_t const length = body.u16("message's length");
    U8 const type = body.u8("message's type");
    if (length < headerSize) {
        throw MrtFault("a message of " + std::to_string(length) +
                       " bytes is shorter than its header");
    }
    MrtCursor const message = body.part(length - headerSize, "message");
    if (type == update) {
        UpdateReader(record, peer, hasPathIds).read(message);
    } else {
        auto& others = record.counts.otherMessages;
        ++others[type < others.size() ? type : 0];
    }
}

}  // namespace

bool readMrtMessage(MrtRecord& record, U16 subtype, MrtCursor& body) {
    if (subtype >= forms.size() || !forms[subtype].isRead) {
        return false;
    }
    Form const& form = forms[subtype];
    MrtPeer peer;
    peer.isLocal = form.isLocal;
    peer.as = form.hasLongAs ? body.u32("peer's AS") : body.u16("peer's AS");
    body.bytes(form.hasLongAs ? 4 : 2, "collector's AS");
    body.u16("interface's number");
    AddressFamily const af = mrtFamily(body.u16("address family"));
    if (af == AddressFamily::none) {
        // How long the addresses are is not known, nor where the message begins.
        ++record.counts.otherFamilies;
        body.bytes(body.left(), "rest");
        return true;
    }
    peer.address = readMrtAddress(body, af, "peer's address");
    readMrtAddress(body, af, "collector's address");
    if (form.isStateChange) {
        body.u32("pair of states");
        ++record.counts.stateChanges;
    } else {
        readMessage(record, peer, form.hasPathIds, body);
    }
    return true;
}

}  // namespace LpmTools
