#pragma once

#include <Nimbal/IpGenPrefix.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <random>
#include <string>

namespace NimbalTest {

/** A prefix as a row of bits, bit 0 the most significant: what the tests compare the library with.
 */
struct BitsPrefix {
    Nimbal::AddressFamily af;
    std::array<bool, 128> bits{};
    Vexo::U32 len;

    Vexo::U32 reach() const { return std::min(len, Nimbal::maxPrefixLen(af)); }

    std::array<Vexo::U8, 16> bytes() const {
        std::array<Vexo::U8, 16> bytes{};
        for (std::size_t i = 0; i < bits.size(); ++i) {
            bytes[i / 8] = static_cast<Vexo::U8>(bytes[i / 8] * 2U + (bits[i] ? 1U : 0U));
        }
        return bytes;
    }

    Nimbal::IpGenPrefix prefix() const { return {af, bytes(), len}; }

    BitsPrefix hostBitsCleared() const {
        BitsPrefix cleared = *this;
        for (std::size_t i = reach(); i < bits.size(); ++i) {
            cleared.bits[i] = false;
        }
        return cleared;
    }

    /** The leading bits as '0' and '1': a prefix covers those whose text its own begins. */
    std::string leadingBits() const {
        std::string text;
        for (std::size_t i = 0; i < reach(); ++i) {
            text += bits[i] ? '1' : '0';
        }
        return text;
    }

    bool overlaps(BitsPrefix const& other) const {
        if (af != other.af) {
            return false;
        }
        for (std::size_t i = 0; i < std::min(reach(), other.reach()); ++i) {
            if (bits[i] != other.bits[i]) {
                return false;
            }
        }
        return true;
    }
};

class RandomPrefixes {
public:
    explicit RandomPrefixes(Vexo::U32 seed) : random_(seed) {}

    Vexo::U32 below(Vexo::U32 limit) { return static_cast<Vexo::U32>(random_() % limit); }

    /** Any address, host bits and all, and a length that is over the family's limit now and then.
     */
    BitsPrefix any(Nimbal::AddressFamily af) {
        BitsPrefix prefix{af, {}, below(Nimbal::maxPrefixLen(af) + 8)};
        for (std::size_t i = 0; i < Nimbal::maxPrefixLen(af); ++i) {
            prefix.bits[i] = below(2) == 1;
        }
        return prefix;
    }

    /** The same with at most one bit turned over and a length of its own. */
    BitsPrefix near(BitsPrefix prefix) {
        Vexo::U32 const size = Nimbal::maxPrefixLen(prefix.af);
        if (below(4) != 0) {
            prefix.bits[below(size)] ^= true;
        }
        prefix.len = below(size + 8);
        return prefix;
    }

private:
    std::mt19937_64 random_;
};

}  // namespace NimbalTest
