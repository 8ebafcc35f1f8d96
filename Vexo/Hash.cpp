#include <Vexo/Hash.h>

#include <array>

namespace Vexo {

namespace {
constexpr U32 fnvPrime = 0x01000193U;
}

void Hash::hashMix(void const* bytes, std::size_t count) noexcept {
    auto const* const from = static_cast<U8 const*>(bytes);
    for (std::size_t i = 0; i < count; ++i) {
        state_ = (state_ ^ from[i]) * fnvPrime;
    }
}

U32 Hash::result() const noexcept {
    // FNV alone leaves the last byte's effect in the low bits; two multiply-shift rounds spread it.
    U32 hash = state_;
    hash = (hash ^ (hash >> 16)) * 0x7feb352dU;
    hash = (hash ^ (hash >> 15)) * 0x846ca68bU;
    return hash ^ (hash >> 16);
}

U32 hashOf(U32 number) noexcept {
    std::array<U8, 4> const bytes{static_cast<U8>(number), static_cast<U8>(number >> 8),
                                  static_cast<U8>(number >> 16), static_cast<U8>(number >> 24)};
    Hash hash;
    hash.hashMix(bytes.data(), bytes.size());
    return hash.result();
}

}  // namespace Vexo
