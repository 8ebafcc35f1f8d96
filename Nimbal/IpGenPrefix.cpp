#include <Nimbal/IpGenPrefix.h>
#include <Nimbal/TextReader.h>
#include <Torvel/HashMix.h>
#include <Vexo/Attribute.h>

#include <algorithm>
#include <ostream>

namespace Nimbal {

namespace {

constexpr char const* frame = "Value('Nimbal::IpGenPrefix', ** {";

bool isIpv6(IpGenPrefix const& prefix) noexcept {
    return prefix.af() == AddressFamily::ipv6;
}

/** A colon stands in every IPv6 address and in no IPv4 address. */
IpGenPrefix readPrefix(TextReader& reader, std::string_view text) {
    if (text.find(':') == std::string_view::npos) {
        IpAddr const address = reader.readIpAddr();
        return {address, reader.readLength(maxPrefixLen(AddressFamily::ipv4))};
    }
    Ip6Addr const address = reader.readIp6Addr();
    return {address, reader.readLength(maxPrefixLen(AddressFamily::ipv6))};
}

IpGenPrefix fromAddressText(AddressFamily af, String const& text) {
    if (af == AddressFamily::ipv6) {
        return {af, Ip6Addr::fromString(text).bytes(), 0};
    }
    return {af, IpAddr::fromString(text).bytes(), 0};
}

IpGenPrefix readAddress(Vexo::CharRange& range, AddressFamily af) {
    auto const text = Vexo::deserializeAttr<String>(range, "address");
    try {
        return fromAddressText(af, text);
    } catch (Vexo::RangeException const& error) {
        Vexo::rethrowFromDeserializeAttr(error, "address");
    }
}

IpGenPrefix readFramed(Vexo::CharRange& range) {
    range.needString(frame);
    range.needString("'af': ");
    auto const af = static_cast<AddressFamily>(Vexo::deserializeAttr<U32>(range, "af"));
    range.needString(", 'address': ");
    auto const address = readAddress(range, af).address();
    range.needString(", 'len': ");
    auto const len = Vexo::deserializeAttr<U32>(range, "len");
    range.needString("})");
    return {af, address, len};
}

}  // namespace

namespace {

using namespace Vexo;

IpGenPrefix prefixFromText(String const& text) {
    return IpGenPrefix::fromString(text);
}

constexpr std::array attributes{
    valueAttribute<&IpGenPrefix::af>("af"),
    valueAttribute<&IpGenPrefix::len>("len"),
    functionAttribute<&IpGenPrefix::stringValue>("stringValue"),
    functionAttribute<&IpGenPrefix::overlaps>("overlaps", "other"),
    functionAttribute<&IpGenPrefix::hostBitsCleared>("hostBitsCleared"),
};
constexpr ValueOps ops = valueOps<IpGenPrefix>();
constexpr Attribute constructor = functionAttribute<&prefixFromText>("IpGenPrefix", "text");
constinit TypeDescription const description{
    .attributes = attributes, .value = &ops, .constructor = &constructor};

}  // namespace

constinit Vexo::FwkType const IpGenPrefix::fwkType_("Nimbal::IpGenPrefix", nimbalModule, 1,
                                                    description);

IpGenPrefix::IpGenPrefix(AddressFamily af, std::span<U8 const> bytes, U32 len) noexcept
    : af_(af), len_(len) {
    std::size_t const wanted = maxPrefixLen(af) / 8;
    std::copy_n(bytes.begin(), std::min(bytes.size(), wanted), address_.begin());
}

IpGenPrefix::IpGenPrefix(Vexo::CharRange& range) {
    if (range.front() == '\'') {
        String text;
        Vexo::sequenceToValue(range, &text);
        *this = fromString(text);
    } else {
        *this = readFramed(range);
    }
}

IpGenPrefix IpGenPrefix::fromString(std::string_view text) {
    TextReader reader(text);
    IpGenPrefix const prefix = readPrefix(reader, text);
    reader.checkAllRead();
    if (prefix != prefix.hostBitsCleared()) {
        reader.fail("a bit is set past the prefix length");
    }
    return prefix;
}

IpGenPrefix IpGenPrefix::fromStringClearingHostBits(std::string_view text, bool* cleared) {
    TextReader reader(text);
    IpGenPrefix const given = readPrefix(reader, text);
    reader.checkAllRead();
    IpGenPrefix const prefix = given.hostBitsCleared();
    if (cleared != nullptr) {
        *cleared = prefix != given;
    }
    return prefix;
}

bool IpGenPrefix::overlaps(IpGenPrefix const& other) const noexcept {
    if (af_ != other.af_) {
        return false;
    }
    return isIpv6(*this) ? v6Prefix().overlaps(other.v6Prefix())
                         : v4Prefix().overlaps(other.v4Prefix());
}

IpGenPrefix IpGenPrefix::hostBitsCleared() const noexcept {
    auto const v4 = v4Prefix().hostBitsCleared().address().bytes();
    return isIpv6(*this) ? IpGenPrefix(v6Prefix().hostBitsCleared().address(), len_)
                         : IpGenPrefix(af_, v4, len_);
}

String IpGenPrefix::stringValue() const {
    return isIpv6(*this) ? v6Prefix().stringValue() : v4Prefix().stringValue();
}

U32 IpGenPrefix::hash() const noexcept {
    Torvel::HashMix mix(0);
    mix.mix(this, sizeof *this);
    return static_cast<U32>(mix);
}

std::ostream& operator<<(std::ostream& out, IpGenPrefix const& prefix) {
    return out << prefix.stringValue();
}

String valueToStrep(IpGenPrefix const& prefix) {
    bool const known = prefix.af() == AddressFamily::ipv4 || isIpv6(prefix);
    if (known && prefix.len() <= maxPrefixLen(prefix.af()) && prefix == prefix.hostBitsCleared()) {
        return Vexo::valueToStrep(prefix.stringValue());
    }
    String const address = isIpv6(prefix) ? prefix.v6Prefix().address().stringValue()
                                          : prefix.v4Prefix().address().stringValue();
    return Vexo::formatString("%s'af': %u, 'address': '%s', 'len': %u})", frame,
                              static_cast<U32>(prefix.af()), address.c_str(), prefix.len());
}

}  // namespace Nimbal
