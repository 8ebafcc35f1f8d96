#include <tools/MrtRecord.h>

namespace LpmTools {

using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;

void MrtRecord::add(MrtEvent event) {
    IpGenPrefix const cleared = event.prefix.hostBitsCleared();
    if (cleared != event.prefix) {
        if (strict) {
            throw MrtFault("host bits are set in " + event.prefix.stringValue());
        }
        event.prefix = cleared;
        ++counts.hostBitsCleared;
    }
    event.seconds = seconds;
    event.microseconds = microseconds;
    if (event.isFromDump) {
        ++counts.dumpEntries;
    } else if (event.isWithdrawal) {
        ++counts.withdrawals;
    } else {
        ++counts.announcements;
    }
    events.push_back(event);
}

AddressFamily mrtFamily(U16 afi) noexcept {
    return afi == 1 ? AddressFamily::ipv4 : afi == 2 ? AddressFamily::ipv6 : AddressFamily::none;
}

AddressFamily mrtUnicastFamily(U16 afi, U8 safi) noexcept {
    return safi == 1 ? mrtFamily(afi) : AddressFamily::none;
}

IpGenPrefix readMrtAddress(MrtCursor& from, AddressFamily af, char const* what) {
    U32 const bits = Nimbal::maxPrefixLen(af);
    return {af, from.bytes(bits / 8, what), bits};
}

void checkMrtPrefixLen(AddressFamily af, U32 len) {
    if (len > Nimbal::maxPrefixLen(af)) {
        throw MrtFault("a prefix length of " + std::to_string(len) + " is over the " +
                       std::to_string(Nimbal::maxPrefixLen(af)) + " of its family");
    }
}

IpGenPrefix readMrtPrefix(MrtCursor& from, AddressFamily af) {
    U32 const len = from.u8("prefix length");
    checkMrtPrefixLen(af, len);
    return {af, from.bytes((len + 7) / 8, "prefix"), len};
}

}  // namespace LpmTools
