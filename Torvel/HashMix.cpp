#include <Torvel/HashMix.h>

#include <bit>
#include <cstring>

namespace Torvel {

namespace {
// Odd constants from the binary expansions of the golden ratio and of the square root of 2.
constexpr U64 goldenRatio = 0x9e3779b97f4a7c15U;
constexpr U64 rootOfTwo = 0x6a09e667f3bcc909U;
}  // namespace

void HashMix::mix(void const* bytes, std::size_t count) noexcept {
    auto const* from = static_cast<unsigned char const*>(bytes);
    while (count > 0) {
        // A short last step is told from one that ends in zero bytes by its count, mixed in beside.
        U64 step = 0;
        std::size_t const now = count < sizeof step ? count : sizeof step;
        std::memcpy(&step, from, now);
        // Two products: through one alone a changed top bit stays a single bit, which the same
        // change of one bit in the next step would always undo.
        state_ = (std::rotl(state_ + now * rootOfTwo, 29) ^ step) * goldenRatio;
        state_ = (state_ ^ (state_ >> 32)) * rootOfTwo;
        from += now;
        count -= now;
    }
}

HashMix::operator U32() const noexcept {
    U64 hash = (state_ ^ (state_ >> 32)) * rootOfTwo;
    hash ^= hash >> 29;
    return static_cast<U32>(hash >> 16);
}

}  // namespace Torvel
