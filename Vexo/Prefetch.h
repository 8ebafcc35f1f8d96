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
    auto const address = reinterpret_cast<std::uintptr_t>(object) + offset;
    __builtin_prefetch(reinterpret_cast<void const*>(address), 1);
    // No instruction: g++ drops calls of functions that do nothing but prefetch.
    asm volatile("" : : "r"(address));
}

}  // namespace Vexo
