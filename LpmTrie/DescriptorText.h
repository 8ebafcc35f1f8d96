#pragma once

/* Formatted writes of the dumps. Private to this folder's sources. */

#include <Vexo/Types.h>

namespace LpmTrie {

/** One formatted write to a file descriptor, as by `dprintf` (POSIX). Errors are ignored. */
[[gnu::format(printf, 2, 3)]] void printTo(Vexo::U32 socket, char const* format, ...) noexcept;

}  // namespace LpmTrie
