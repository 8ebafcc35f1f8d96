#pragma once

#include <Nimbal/IpPrefix.h>
#include <Vexo/CharRange.h>

#include <compare>
#include <cstddef>
#include <functional>

namespace Nimbal {

/**
 * IPv4 or IPv6 prefix: 24 bytes, the family's code, 16 address bytes in network order, the length
 * in bits.
 *
 * Address and length are kept as given, host bits and lengths over the family's limit included;
 * only reading text is strict. The last 12 address bytes of a prefix that is not IPv6 are always
 * zero. Ordered by family, then address, then length: the pre-order of a prefix trie. A plain
 * value, to be read by any number of threads, and a key of `std::unordered_map`; by default of no
 * family, all zeros.
 */
class LPMTRIE_API IpGenPrefix {
public:
    constexpr IpGenPrefix() noexcept = default;
    /** @{ Of the address's family, as given. */
    constexpr IpGenPrefix(IpAddr const& address, U32 len) noexcept
        : af_(AddressFamily::ipv4), len_(len) {
        auto const bytes = address.bytes();
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            address_[i] = bytes[i];
        }
    }
    constexpr IpGenPrefix(Ip6Addr const& address, U32 len) noexcept
        : af_(AddressFamily::ipv6), address_(address.bytes()), len_(len) {}
    /** @} */
    /**
     * From raw bytes in network order. Takes the first 4 (IPv6: 16) of `bytes`, zeros for those
     * that are missing, so the short form of routing protocols (RFC 4271, 4.3) will do.
     */
    IpGenPrefix(AddressFamily af, std::span<U8 const> bytes, U32 len) noexcept;
    /**
     * The text form of a value: a quoted prefix, or the framed form of one that no text can give.
     */
    explicit IpGenPrefix(Vexo::CharRange& range);

    /**
     * Address, slash, length, as in "10.0.0.0/8" or "2001:db8::/32". Strict: throws a
     * RangeException that names the text for a malformed address, a length that is missing or over
     * the family's limit, a bit set past the length, or text left over.
     */
    static IpGenPrefix fromString(std::string_view text);
    /**
     * The same, but bits past the length are cleared; `cleared`, if given, tells whether any was
     * set.
     */
    static IpGenPrefix fromStringClearingHostBits(std::string_view text, bool* cleared = nullptr);

    /** The family. */
    constexpr AddressFamily af() const noexcept { return af_; }
    /** The length in bits, as given. */
    constexpr U32 len() const noexcept { return len_; }
    /** The address in network order, host bits included; of IPv4 the first 4 bytes. */
    constexpr std::array<U8, 16> const& address() const noexcept { return address_; }
    /** Bits 32 * `index` to 32 * `index` + 31 of the address, as a number. `index` is 0 to 3. */
    constexpr U32 word(U32 index) const noexcept {
        std::size_t const at = 4 * std::size_t{index};
        return (U32{address_[at]} << 24) | (U32{address_[at + 1]} << 16) |
               (U32{address_[at + 2]} << 8) | address_[at + 3];
    }
    /** The first 64 bits of the address, as a number. */
    constexpr Vexo::U64 head() const noexcept { return Vexo::U64{word(0)} << 32 | word(1); }
    /** The last 64 bits of the address, as a number. */
    constexpr Vexo::U64 tail() const noexcept { return Vexo::U64{word(2)} << 32 | word(3); }
    /**
     * Bit `position` of the address, 0 the most significant one. RangeException for 128 and more.
     */
    constexpr U32 bit(U32 position) const {
        if (position >= 128) [[unlikely]] {
            throwIp6AddrU32(position / 32);
        }
        return (U32{address_[position / 8]} >> (7 - position % 8)) & 1U;
    }

    /** @{ The same bytes and length as a prefix of that family; the own family is not looked at. */
    IpPrefix v4Prefix() const noexcept { return {IpAddr(word(0)), len_}; }
    Ip6Prefix v6Prefix() const noexcept { return {Ip6Addr(address_), len_}; }
    /** @} */
    /** Same family and the two agree on the leading bits of the shorter one. */
    bool overlaps(IpGenPrefix const& other) const noexcept;
    /** The same family and length, and no bit set past the length. */
    IpGenPrefix hostBitsCleared() const noexcept;
    /** Of all 24 bytes; the same within one process only. */
    U32 hash() const noexcept;
    /** Address, slash, length; RFC 5952 for IPv6, mixed notation for ::ffff:0:0/96 and below it. */
    String stringValue() const;

    constexpr auto operator<=>(IpGenPrefix const&) const noexcept = default;

    static Vexo::FwkType const fwkType_;

private:
    AddressFamily af_ = AddressFamily::none;
    std::array<U8, 16> address_{};
    U32 len_ = 0;
};
static_assert(sizeof(IpGenPrefix) == 24);

LPMTRIE_API std::ostream& operator<<(std::ostream& out, IpGenPrefix const& prefix);

/**
 * The text form of the value, which reads back into an equal one: "'10.0.0.0/8'"; for a prefix that
 * strict text cannot give, "Value('Nimbal::IpGenPrefix', ** {'af': 1, 'address': '10.0.0.1', 'len':
 * 8})".
 */
LPMTRIE_API String valueToStrep(IpGenPrefix const& prefix);

}  // namespace Nimbal

/** @cond Doxygen does not find the scope of a specialisation. */
template <>
struct std::hash<Nimbal::IpGenPrefix> {
    std::size_t operator()(Nimbal::IpGenPrefix const& prefix) const noexcept {
        return prefix.hash();
    }
};
/** @endcond */
