#pragma once

#include <Vexo/Types.h>

#include <algorithm>
#include <array>
#include <compare>
#include <cstddef>
#include <span>

namespace LpmTools {

/**
 * Where a path leads: bytes that are compared, never interpreted. An IPv4 or IPv6 address, or an
 * IPv6 address with a link-local one behind it; empty where the input tells none.
 */
struct NextHop {
    static constexpr std::size_t longest = 32;

    NextHop() noexcept = default;
    /** The first `longest` of `from`. */
    explicit NextHop(std::span<Vexo::U8 const> from) noexcept
        : size(static_cast<Vexo::U8>(std::min(from.size(), longest))) {
        std::copy_n(from.begin(), size, bytes.begin());
    }

    std::array<Vexo::U8, longest> bytes{};
    Vexo::U8 size = 0;

    auto operator<=>(NextHop const&) const noexcept = default;
};

}  // namespace LpmTools
