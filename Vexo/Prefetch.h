#pragma once

#include <cstddef>
#include <cstdint>

namespace Vexo {

/**
 * Fetches the byte `offset` behind `object` into the cache, to be changed soon. There need not be
 * an object: null and broken pointers do no harm.
 */
inline void prefetch(void const* object, std::size_t offset = 0) noexcept {
    // As a number: a pointer must not move where there is no object.
    __builtin_prefetch(
        reinterpret_cast<void const*>(reinterpret_cast<std::uintptr_t>(object) + offset), 1);
}

}  // namespace Vexo
