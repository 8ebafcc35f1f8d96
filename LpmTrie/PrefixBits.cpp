/*
 * All bit arithmetic on prefixes. An address is read as four 32-bit words, bit 0 the top bit of
 * word 0:
 *
 *   10.0.0.0/8      00001010 ........            bits past 8 are host bits, not compared
 *   10.1.0.0/16     00001010 00000001 ........   common length 8: the bound is the shorter one
 *   11.0.0.0/8      00001011 ........            against 10.0.0.0/8: 7, the first 7 bits agree
 *
 * The comparison goes word by word and never past the word that holds the shorter prefix's last
 * bit, so word 0 alone decides for IPv4.
 */

#include <LpmTrie/PrefixBits.h>

#include <algorithm>
#include <bit>

namespace LpmTrie {

namespace {

constexpr U32 wordBits = 32;
constexpr U32 wordCount = 4;

/** A word with its top `bits` bits set, 1 to 32. */
constexpr U32 topBits(U32 bits) noexcept {
    // The shift count is taken within a word: a length far beyond any prefix must not be undefined.
    return 0U - (0x80000000U >> ((bits - 1) & (wordBits - 1)));
}

}  // namespace

U32 commonPrefixLen(Nimbal::IpGenPrefix const& a, Nimbal::IpGenPrefix const& b) noexcept {
    U32 const bound = std::min(a.len(), b.len());
    if (bound == 0) {
        return 0;
    }
    U32 const lastWord = (bound - 1) / wordBits;
    for (U32 i = 0; i < wordCount; ++i) {
        U32 const difference = a.word(i) ^ b.word(i);
        if (difference != 0) {
            U32 const agreeing = static_cast<U32>(std::countl_zero(difference));
            return wordBits * i + std::min(bound - wordBits * i, agreeing);
        }
        if (i == lastWord) {
            return bound;
        }
    }
    return wordBits * wordCount;
}

Nimbal::IpGenPrefix prefixFromLen(Nimbal::IpGenPrefix const& p, U32 len) noexcept {
    if (p.af() != Nimbal::AddressFamily::ipv6) {
        U32 const word = p.word(0);
        if (static_cast<int>(wordBits - len) < 0) {
            return {Nimbal::IpAddr(word), len};
        }
        return {Nimbal::IpAddr(len == 0 ? 0 : word & topBits(len)), len};
    }
    std::array<U32, wordCount> words{};
    for (U32 i = 0; i < wordCount; ++i) {
        int const rest = static_cast<int>(len - wordBits * i);
        if (rest > static_cast<int>(wordBits)) {
            words[i] = p.word(i);
        } else if (rest > 0) {
            words[i] = p.word(i) & topBits(static_cast<U32>(rest));
        }
    }
    return {Nimbal::Ip6Addr::fromWords(words), len};
}

}  // namespace LpmTrie
