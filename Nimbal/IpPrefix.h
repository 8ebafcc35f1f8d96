#pragma once

#include <Nimbal/Ip6Addr.h>
#include <Nimbal/IpAddr.h>

namespace Nimbal {

/** IPv4 prefix. Keeps address and length as given; a length over 32 reaches no further than 32. */
class LPMTRIE_API IpPrefix {
public:
    constexpr IpPrefix() noexcept = default;
    /** As given: host bits are not cleared. */
    constexpr IpPrefix(IpAddr const& address, U32 len) noexcept : address_(address), len_(len) {}
    /** Address, slash, length, with no bit set past the length. Throws RangeException. */
    static IpPrefix fromString(std::string_view text);

    /** The address, host bits included. */
    constexpr IpAddr const& address() const noexcept { return address_; }
    /** The length in bits. */
    constexpr U32 len() const noexcept { return len_; }
    /** The two agree on the leading bits of the shorter one. */
    bool overlaps(IpPrefix const& other) const noexcept;
    /** The same length, and no bit set past it. */
    IpPrefix hostBitsCleared() const noexcept;
    /** Address, slash, length. */
    String stringValue() const;

    constexpr auto operator<=>(IpPrefix const&) const noexcept = default;

private:
    IpAddr address_;
    U32 len_ = 0;
};

/**
 * IPv6 prefix. Keeps address and length as given; a length over 128 reaches no further than 128.
 */
class LPMTRIE_API Ip6Prefix {
public:
    constexpr Ip6Prefix() noexcept = default;
    /** As given: host bits are not cleared. */
    constexpr Ip6Prefix(Ip6Addr const& address, U32 len) noexcept : address_(address), len_(len) {}
    /** Address, slash, length, with no bit set past the length. Throws RangeException. */
    static Ip6Prefix fromString(std::string_view text);

    /** The address, host bits included. */
    constexpr Ip6Addr const& address() const noexcept { return address_; }
    /** The length in bits. */
    constexpr U32 len() const noexcept { return len_; }
    /** The two agree on the leading bits of the shorter one. */
    bool overlaps(Ip6Prefix const& other) const noexcept;
    /** The same length, and no bit set past it. */
    Ip6Prefix hostBitsCleared() const noexcept;
    /**
     * RFC 5952; mixed notation for ::ffff:0:0/96 and below it, hexadecimal for every other prefix.
     */
    String stringValue() const;

    constexpr auto operator<=>(Ip6Prefix const&) const noexcept = default;

private:
    Ip6Addr address_;
    U32 len_ = 0;
};

LPMTRIE_API std::ostream& operator<<(std::ostream& out, IpPrefix const& prefix);
LPMTRIE_API std::ostream& operator<<(std::ostream& out, Ip6Prefix const& prefix);

}  // namespace Nimbal
