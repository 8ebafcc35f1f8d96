#include <Nimbal/Ip6Addr.h>
#include <Nimbal/IpAddr.h>
#include <Nimbal/TextReader.h>
#include <Vexo/RangeException.h>

#include <algorithm>
#include <ostream>

namespace Nimbal {

namespace {

constexpr std::size_t groupCount = 8;
using Groups = std::array<U32, groupCount>;

Groups groupsOf(Ip6Addr const& address) noexcept {
    Groups groups{};
    for (std::size_t i = 0; i < groupCount; ++i) {
        groups[i] = (U32{address.bytes()[2 * i]} << 8) | address.bytes()[2 * i + 1];
    }
    return groups;
}

struct Run {
    std::size_t begin = 0;
    std::size_t length = 0;
};

/** The run that "::" stands for: the longest of two zero groups or more, the first of equals. */
Run longestZeroRun(Groups const& groups, std::size_t count) noexcept {
    Run longest;
    Run current;
    for (std::size_t i = 0; i < count; ++i) {
        if (groups[i] != 0) {
            current = {i + 1, 0};
        } else if (++current.length > longest.length) {
            longest = current;
        }
    }
    return longest.length >= 2 ? longest : Run{count, 0};
}

/** The first `count` groups. */
String groupsText(Groups const& groups, std::size_t count) {
    Run const zeros = longestZeroRun(groups, count);
    String text;
    for (std::size_t i = 0; i < count; ++i) {
        if (zeros.length > 0 && i == zeros.begin) {
            text += "::";
            i += zeros.length - 1;
            continue;
        }
        if (!text.empty() && text.back() != ':') {
            text += ':';
        }
        text += Vexo::formatString("%x", groups[i]);
    }
    return text;
}

}  // namespace

void throwIp6AddrU32(U32 index) {
    throw Vexo::RangeException(
        Vexo::formatString("an IPv6 address has no 32-bit word %u, only 0 to 3", index));
}

Ip6Addr::Ip6Addr(std::span<U8 const, 16> bytes) noexcept {
    std::copy(bytes.begin(), bytes.end(), bytes_.begin());
}

Ip6Addr Ip6Addr::fromWords(std::array<U32, 4> const& words) noexcept {
    Ip6Addr address;
    for (std::size_t i = 0; i < words.size(); ++i) {
        auto const bytes = IpAddr(words[i]).bytes();
        std::copy(bytes.begin(), bytes.end(), address.bytes_.begin() + static_cast<long>(4 * i));
    }
    return address;
}

Ip6Addr Ip6Addr::fromString(std::string_view text) {
    TextReader reader(text);
    Ip6Addr const address = reader.readIp6Addr();
    reader.checkAllRead();
    return address;
}

U32 Ip6Addr::u32(U32 index) const {
    if (index > 3) {
        throwIp6AddrU32(index);
    }
    return IpAddr(std::span<U8 const, 4>(&bytes_[4 * std::size_t{index}], 4)).value();
}

bool Ip6Addr::isIpv4Mapped() const noexcept {
    return u32(0) == 0 && u32(1) == 0 && u32(2) == 0xffffU;
}

String Ip6Addr::stringValue() const {
    return isIpv4Mapped() ? groupsText(groupsOf(*this), 6) + ':' + IpAddr(u32(3)).stringValue()
                          : hexStringValue();
}

String Ip6Addr::hexStringValue() const {
    return groupsText(groupsOf(*this), groupCount);
}

std::ostream& operator<<(std::ostream& out, Ip6Addr const& address) {
    return out << address.stringValue();
}

}  // namespace Nimbal
