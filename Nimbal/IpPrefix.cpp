#include <Nimbal/IpPrefix.h>
#include <Nimbal/TextReader.h>

#include <algorithm>
#include <ostream>

namespace Nimbal {

namespace {

/** The top `len` bits of a 32-bit word: 8 gives 0xff000000; none for 0, all for 32 and more. */
constexpr U32 topBits(U32 len) noexcept {
    if (len == 0) {
        return 0;
    }
    return len >= 32 ? ~U32{0} : ~U32{0} << (32 - len);
}

/** The bits of word `index` (32 a word) that a prefix of length `len` covers. */
constexpr U32 wordMask(U32 len, U32 index) noexcept {
    return len <= 32 * index ? 0 : topBits(len - 32 * index);
}

void checkHostBits(TextReader const& reader, bool clear) {
    if (!clear) {
        reader.fail("a bit is set past the prefix length");
    }
}

}  // namespace

IpPrefix IpPrefix::fromString(std::string_view text) {
    TextReader reader(text);
    IpAddr const address = reader.readIpAddr();
    IpPrefix const prefix(address, reader.readLength(32));
    reader.checkAllRead();
    checkHostBits(reader, prefix == prefix.hostBitsCleared());
    return prefix;
}

bool IpPrefix::overlaps(IpPrefix const& other) const noexcept {
    U32 const mask = topBits(std::min(len_, other.len_));
    return ((address_.value() ^ other.address_.value()) & mask) == 0;
}

IpPrefix IpPrefix::hostBitsCleared() const noexcept {
    return {IpAddr(address_.value() & topBits(len_)), len_};
}

String IpPrefix::stringValue() const {
    return address_.stringValue() + Vexo::formatString("/%u", len_);
}

Ip6Prefix Ip6Prefix::fromString(std::string_view text) {
    TextReader reader(text);
    Ip6Addr const address = reader.readIp6Addr();
    Ip6Prefix const prefix(address, reader.readLength(128));
    reader.checkAllRead();
    checkHostBits(reader, prefix == prefix.hostBitsCleared());
    return prefix;
}

bool Ip6Prefix::overlaps(Ip6Prefix const& other) const noexcept {
    U32 const len = std::min(len_, other.len_);
    for (U32 i = 0; i < 4; ++i) {
        if (((address_.u32(i) ^ other.address_.u32(i)) & wordMask(len, i)) != 0) {
            return false;
        }
    }
    return true;
}

Ip6Prefix Ip6Prefix::hostBitsCleared() const noexcept {
    std::array<U32, 4> words{};
    for (U32 i = 0; i < words.size(); ++i) {
        words[i] = address_.u32(i) & wordMask(len_, i);
    }
    return {Ip6Addr::fromWords(words), len_};
}

String Ip6Prefix::stringValue() const {
    String const address = len_ >= 96 ? address_.stringValue() : address_.hexStringValue();
    return address + Vexo::formatString("/%u", len_);
}

std::ostream& operator<<(std::ostream& out, IpPrefix const& prefix) {
    return out << prefix.stringValue();
}
std::ostream& operator<<(std::ostream& out, Ip6Prefix const& prefix) {
    return out << prefix.stringValue();
}

}  // namespace Nimbal
