#pragma once

#include <Nimbal/AddressFamily.h>

#include <array>
#include <compare>
#include <span>
#include <string_view>

namespace Nimbal {

/** Reports the index of a 32-bit word that an IPv6 address does not have. Throws RangeException. */
[[noreturn]] LPMTRIE_API void throwIp6AddrU32(U32 index);

/** IPv6 address, 16 bytes in network order. Ordered as a number. A plain value; "::" by default. */
class LPMTRIE_API Ip6Addr {
public:
    /** In network order. */
    using Bytes = std::array<U8, 16>;

    constexpr Ip6Addr() noexcept = default;
    /** @{ From bytes in network order. */
    explicit constexpr Ip6Addr(Bytes const& bytes) noexcept : bytes_(bytes) {}
    explicit Ip6Addr(std::span<U8 const, 16> bytes) noexcept;
    /** @} */
    /** Four words, word 0 with the most significant bits, each a number in the machine's order. */
    static Ip6Addr fromWords(std::array<U32, 4> const& words) noexcept;
    /** Any form of RFC 4291, 2.2, without a zone. Throws RangeException. */
    static Ip6Addr fromString(std::string_view text);

    /** In network order. */
    constexpr Bytes const& bytes() const noexcept { return bytes_; }
    /**
     * Word `index` as a number, word 0 with the most significant bits. Throws for an index over 3.
     */
    U32 u32(U32 index) const;
    /** In ::ffff:0:0/96, where the last 32 bits are an IPv4 address (RFC 4291, 2.5.5.2). */
    bool isIpv4Mapped() const noexcept;

    /** The canonical form of RFC 5952: mixed notation for IPv4-mapped addresses. */
    String stringValue() const;
    /** Hexadecimal groups only, otherwise as RFC 5952. */
    String hexStringValue() const;

    constexpr auto operator<=>(Ip6Addr const&) const noexcept = default;

private:
    Bytes bytes_{};
};

LPMTRIE_API std::ostream& operator<<(std::ostream& out, Ip6Addr const& address);

}  // namespace Nimbal
