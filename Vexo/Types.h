#pragma once

#include <Vexo/Export.h>

#include <cstdint>
#include <string>

namespace Vexo {

/** @{ Unsigned numbers of so many bits. */
using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;
/** @} */

/** Text of the framework: bytes in the order they are printed, UTF-8 where it holds letters. */
using String = std::string;

/** A String formatted as by printf (ISO C, 7.21.6.1). Throws std::bad_alloc when memory ends. */
[[gnu::format(printf, 1, 2)]] LPMTRIE_API String formatString(char const* format, ...);

}  // namespace Vexo
