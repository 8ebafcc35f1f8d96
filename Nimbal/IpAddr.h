#pragma once

#include <Nimbal/AddressFamily.h>

#include <array>
#include <compare>
#include <span>
#include <string_view>

namespace Nimbal {

/** IPv4 address. Ordered as a number. A plain value; 0.0.0.0 by default. */
class LPMTRIE_API IpAddr {
public:
    constexpr IpAddr() noexcept = default;
    /** The address as a number: 10.0.0.1 is 0x0a000001, whatever the machine's byte order. */
    explicit constexpr IpAddr(U32 value) noexcept : value_(value) {}
    /** Four bytes in network order. */
    explicit constexpr IpAddr(std::span<U8 const, 4> bytes) noexcept
        : value_((U32{bytes[0]} << 24) | (U32{bytes[1]} << 16) | (U32{bytes[2]} << 8) | bytes[3]) {}
    /** Dotted decimal: four numbers 0 to 255 without leading zeros. Throws RangeException. */
    static IpAddr fromString(std::string_view text);

    /** The address as a number, as at construction. */
    constexpr U32 value() const noexcept { return value_; }
    /** In network order. */
    constexpr std::array<U8, 4> bytes() const noexcept {
        return {static_cast<U8>(value_ >> 24), static_cast<U8>(value_ >> 16),
                static_cast<U8>(value_ >> 8), static_cast<U8>(value_)};
    }
    /** Dotted decimal, as `fromString` reads it. */
    String stringValue() const;

    constexpr auto operator<=>(IpAddr const&) const noexcept = default;

private:
    U32 value_ = 0;
};

LPMTRIE_API std::ostream& operator<<(std::ostream& out, IpAddr const& address);

}  // namespace Nimbal
