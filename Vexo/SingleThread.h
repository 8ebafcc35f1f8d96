#pragma once

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

namespace Vexo {

/**
 * The process certainly has one thread only: what threads share may then be changed without atomic
 * read-modify-writes. False where the C library does not tell.
 */
inline bool singleThread() noexcept {
#if __has_include(<sys/single_threaded.h>)
    return __libc_single_threaded != 0;
#else
    return false;
#endif
}

}  // namespace Vexo
