#include <tools/MrtNames.h>

#include <array>
#include <span>

namespace LpmTools {

using Vexo::U16;

namespace {

// At the place of each type its name; null where the number is not assigned.
constexpr std::array typeNames = std::to_array<char const*>({
    "NULL",      "START", "DIE",      "I_AM_DEAD",   "PEER_DOWN", "BGP",        "RIP",
    "IDRP",      "RIPNG", "BGP4PLUS", "BGP4PLUS_01", "OSPFv2",    "TABLE_DUMP", "TABLE_DUMP_V2",
    nullptr,     nullptr, "BGP4MP",   "BGP4MP_ET",   nullptr,     nullptr,      nullptr,
    nullptr,     nullptr, nullptr,    nullptr,       nullptr,     nullptr,      nullptr,
    nullptr,     nullptr, nullptr,    nullptr,       "ISIS",      "ISIS_ET",    nullptr,
    nullptr,     nullptr, nullptr,    nullptr,       nullptr,     nullptr,      nullptr,
    nullptr,     nullptr, nullptr,    nullptr,       nullptr,     nullptr,      "OSPFv3",
    "OSPFv3_ET",
});

constexpr std::array tableDumpNames = std::to_array<char const*>({nullptr, "AFI_IPv4", "AFI_IPv6"});

constexpr std::array tableDumpV2Names = std::to_array<char const*>({
    nullptr,
    "PEER_INDEX_TABLE",
    "RIB_IPV4_UNICAST",
    "RIB_IPV4_MULTICAST",
    "RIB_IPV6_UNICAST",
    "RIB_IPV6_MULTICAST",
    "RIB_GENERIC",
    "GEO_PEER_TABLE",
    "RIB_IPV4_UNICAST_ADDPATH",
    "RIB_IPV4_MULTICAST_ADDPATH",
    "RIB_IPV6_UNICAST_ADDPATH",
    "RIB_IPV6_MULTICAST_ADDPATH",
    "RIB_GENERIC_ADDPATH",
});

constexpr std::array bgp4mpNames = std::to_array<char const*>({
    "BGP4MP_STATE_CHANGE",
    "BGP4MP_MESSAGE",
    "BGP4MP_ENTRY",
    "BGP4MP_SNAPSHOT",
    "BGP4MP_MESSAGE_AS4",
    "BGP4MP_STATE_CHANGE_AS4",
    "BGP4MP_MESSAGE_LOCAL",
    "BGP4MP_MESSAGE_AS4_LOCAL",
    "BGP4MP_MESSAGE_ADDPATH",
    "BGP4MP_MESSAGE_AS4_ADDPATH",
    "BGP4MP_MESSAGE_LOCAL_ADDPATH",
    "BGP4MP_MESSAGE_AS4_LOCAL_ADDPATH",
});

std::span<char const* const> subtypeNames(U16 type) noexcept {
    switch (type) {
    case MrtType::tableDump:
        return tableDumpNames;
    case MrtType::tableDumpV2:
        return tableDumpV2Names;
    case MrtType::bgp4mp:
    case MrtType::bgp4mpEt:
        return bgp4mpNames;
    default:
        return {};
    }
}

/** Null where there is none. */
char const* nameAt(std::span<char const* const> names, U16 number) noexcept {
    return number < names.size() ? names[number] : nullptr;
}

}  // namespace

bool isMrtType(U16 type) noexcept {
    return nameAt(typeNames, type) != nullptr;
}

std::string mrtName(MrtKind kind) {
    char const* const type = nameAt(typeNames, kind.type);
    auto const subtypes = subtypeNames(kind.type);
    std::string name = type != nullptr ? type : "type " + std::to_string(kind.type);
    if (kind.subtype == 0 && type != nullptr && subtypes.empty()) {
        return name;
    }
    char const* const subtype = nameAt(subtypes, kind.subtype);
    name += '/';
    name += subtype != nullptr ? subtype : std::to_string(kind.subtype);
    return name;
}

}  // namespace LpmTools
