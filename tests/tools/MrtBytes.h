#pragma once

#include <Nimbal/IpGenPrefix.h>

#include <initializer_list>
#include <string>
#include <string_view>

/* MRT streams, put together from their parts. Nothing is checked, so that anything can be wrong. */

namespace ToolsTest {

using Vexo::U32;

inline std::string u8(U32 value) {
    return {static_cast<char>(value & 0xffU)};
}
inline std::string u16(std::size_t value) {
    auto const number = static_cast<U32>(value);
    return u8(number >> 8) + u8(number);
}
inline std::string u32(std::size_t value) {
    return u16(value >> 16) + u16(value & 0xffffU);
}
inline std::string join(std::initializer_list<std::string_view> parts) {
    std::string all;
    for (std::string_view const part : parts) {
        all += part;
    }
    return all;
}
/** A length of two bytes and what it is the length of. */
inline std::string sized(std::string_view bytes) {
    return u16(bytes.size()) + std::string(bytes);
}

inline std::string leadingBytes(Nimbal::IpGenPrefix const& prefix, U32 bits) {
    return {reinterpret_cast<char const*>(prefix.address().data()), (bits + 7) / 8};
}
/** All bytes of an address: "192.0.2.1" or "2001:db8::1". */
inline std::string address(std::string const& text) {
    bool const isIpv6 = text.find(':') != std::string::npos;
    U32 const bits = isIpv6 ? 128 : 32;
    return leadingBytes(Nimbal::IpGenPrefix::fromString(text + "/" + std::to_string(bits)), bits);
}
/** Routes as messages hold them, a length and as many bytes as it needs. */
inline std::string routes(std::initializer_list<char const*> prefixes) {
    std::string all;
    for (char const* const text : prefixes) {
        auto const prefix = Nimbal::IpGenPrefix::fromString(text);
        all += u8(prefix.len()) + leadingBytes(prefix, prefix.len());
    }
    return all;
}

inline std::string record(U32 type, U32 subtype, std::string_view body,
                          U32 seconds = 1'400'000'000) {
    return join({u32(seconds), u16(type), u16(subtype), u32(body.size()), body});
}

inline std::string attribute(U32 type, std::string_view value) {
    return value.size() > 255
               ? join({u8(0x90), u8(type), sized(value)})
               : join({u8(0x80), u8(type), u8(static_cast<U32>(value.size())), value});
}
inline std::string origin() {
    return attribute(1, u8(0));
}
inline std::string nextHop(std::string const& text) {
    return attribute(3, address(text));
}
inline std::string reach(U32 afi, U32 safi, std::string_view hop, std::string_view nlri) {
    return attribute(
        14, join({u16(afi), u8(safi), u8(static_cast<U32>(hop.size())), hop, u8(0), nlri}));
}
inline std::string unreach(U32 afi, U32 safi, std::string_view nlri) {
    return attribute(15, join({u16(afi), u8(safi), nlri}));
}

/** A message with its header. */
inline std::string message(U32 type, std::string_view content) {
    return join({std::string(16, '\xff'), u16(19 + content.size()), u8(type), content});
}
inline std::string update(std::string_view withdrawn, std::string_view attributes,
                          std::string_view nlri) {
    return message(2, join({sized(withdrawn), sized(attributes), nlri}));
}

/** Subtypes of messages, and what their records begin with. */
struct Session {
    std::string peer = "192.0.2.1";
    U32 peerAs = 65001;
    std::string local = "192.0.2.2";

    std::string shortAs() const { return begin(u16(peerAs), u16(65002)); }
    std::string longAs() const { return begin(u32(peerAs), u32(65002)); }

private:
    std::string begin(std::string const& as, std::string const& localAs) const {
        bool const isIpv6 = peer.find(':') != std::string::npos;
        return join({as, localAs, u16(0), u16(isIpv6 ? 2 : 1), address(peer), address(local)});
    }
};

/** BGP4MP_MESSAGE_AS4 with an update. */
inline std::string updateRecord(std::string_view withdrawn, std::string_view attributes,
                                std::string_view nlri, Session const& session = {}) {
    return record(16, 4, session.longAs() + update(withdrawn, attributes, nlri));
}

/** One with a long AS each, of addresses of either family. */
inline std::string peerTable(std::initializer_list<std::pair<char const*, U32>> peers) {
    std::string body = join({u32(0x0a000001), sized("view"), u16(peers.size())});
    for (auto const& [text, as] : peers) {
        std::string const bytes = address(text);
        body += join({u8(bytes.size() == 16 ? 3 : 2), u32(7), bytes, u32(as)});
    }
    return record(13, 1, body);
}
inline std::string ribEntry(U32 peer, std::string_view attributes) {
    return join({u16(peer), u32(1'300'000'000), sized(attributes)});
}
inline std::string ribEntryWithId(U32 peer, U32 pathId, std::string_view attributes) {
    return join({u16(peer), u32(1'300'000'000), u32(pathId), sized(attributes)});
}
/** What a table's record about one prefix holds. */
inline std::string rib(char const* prefix, std::initializer_list<std::string> entries) {
    std::string body = join({u32(5), routes({prefix}), u16(entries.size())});
    for (std::string const& entry : entries) {
        body += entry;
    }
    return body;
}

}  // namespace ToolsTest
