#include <fuzz/Fuzz.h>

#include <Nimbal/IpGenPrefix.h>
#include <Vexo/RangeException.h>

#include <arpa/inet.h>

#include <array>
#include <optional>
#include <string>
#include <type_traits>

/*
 * A text, read as an address and as a prefix of either family. The C library's inet_pton judges
 * addresses; prefixes are judged by what the two ways to read them, strict and clearing host bits,
 * say of the same text and of each other's results.
 */

namespace {

using namespace Nimbal;
using Fuzz::require;

template <class Read>
auto readOrNone(Read const& read, std::string_view text)
    -> std::optional<std::invoke_result_t<Read, std::string_view>> {
    try {
        return read(text);
    } catch (Vexo::RangeException const& error) {
        require(error.what()[0] != '\0', "an error tells what is wrong");
        return std::nullopt;
    }
}

template <class Address>
void checkAddress(int family, std::string_view text) {
    auto const address = readOrNone(&Address::fromString, text);
    std::remove_cvref_t<decltype(Address().bytes())> bytes{};
    // A NUL would end the text for the C library.
    bool const isText = text.find('\0') == std::string_view::npos;
    bool const theirs = isText && inet_pton(family, std::string(text).c_str(), bytes.data()) == 1;
    require(address.has_value() == theirs, "an address is one for the C library too");
    if (address) {
        require(address->bytes() == bytes, "an address is the C library's");
        require(Address::fromString(address->stringValue()) == *address,
                "an address reads back from its text");
    }
}

template <class Prefix>
void checkPrefix(std::string_view text, std::optional<IpGenPrefix> const& general,
                 AddressFamily family) {
    auto const prefix = readOrNone(&Prefix::fromString, text);
    require(prefix.has_value() == (general && general->af() == family),
            "a prefix of one family is a general one");
    if (prefix) {
        require(prefix->hostBitsCleared() == *prefix, "strict reading leaves no host bit");
        require(Prefix::fromString(prefix->stringValue()) == *prefix,
                "a prefix reads back from its text");
        require(prefix->stringValue() == general->stringValue(), "both have one text");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    checkAddress<IpAddr>(AF_INET, text);
    checkAddress<Ip6Addr>(AF_INET6, text);

    auto const strict = readOrNone(&IpGenPrefix::fromString, text);
    bool cleared = false;
    auto const loose = readOrNone(
        [&](std::string_view any) {
            return IpGenPrefix::fromStringClearingHostBits(any, &cleared);
        },
        text);
    checkPrefix<IpPrefix>(text, strict, AddressFamily::ipv4);
    checkPrefix<Ip6Prefix>(text, strict, AddressFamily::ipv6);
    require(strict.has_value() == (loose && !cleared), "strict reading refuses host bits alone");
    if (loose) {
        require(!strict || *strict == *loose, "both ways to read give one prefix");
        require(loose->hostBitsCleared() == *loose, "no host bit is left");
        require(IpGenPrefix::fromString(loose->stringValue()) == *loose,
                "what has been cleared is read strictly");
        require(loose->len() <= (loose->af() == AddressFamily::ipv4 ? 32U : 128U),
                "a length is within its family");
    }
    return 0;
}
