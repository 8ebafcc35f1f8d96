#pragma once

#include <Vexo/Types.h>

#include <cstdint>
#include <cstring>

namespace LpmTrieTest {

/**
 * The place of a virtual operation in its class's table, 0 the first, as the Itanium C++ ABI keeps
 * it in a pointer to the member (2.3, "Member Function Pointers"). A virtual destructor, to which
 * there are no pointers, takes two places.
 */
template <class Operation>
Vexo::U32 slotOf(Operation operation) {
    std::intptr_t words[2];
    static_assert(sizeof(operation) == sizeof(words));
    std::memcpy(words, &operation, sizeof(words));
#if defined(__aarch64__) || defined(__arm__)
    std::intptr_t const offset = words[0];  // that it is virtual, stands in the other word there
#else
    std::intptr_t const offset = words[0] - 1;
#endif
    return static_cast<Vexo::U32>(offset / static_cast<std::intptr_t>(sizeof(void*)));
}

}  // namespace LpmTrieTest
