#pragma once

#include <Vexo/Types.h>
#include <tools/ByteSource.h>

#include <cstddef>
#include <span>

namespace LpmTools {

using Vexo::U16;
using Vexo::U32;
using Vexo::U64;
using Vexo::U8;

/** What is wrong with a record, in words. The reader adds which record of which file it is. */
class MrtFault : public InputError {
public:
    using InputError::InputError;
};

/**
 * Reads numbers in network order from the front of a span and never past its end: what does not
 * fit is an MrtFault, "<what> runs past the end of the <place>". Both names are literals.
 */
class MrtCursor {
public:
    MrtCursor(std::span<U8 const> bytes, char const* place) noexcept
        : bytes_(bytes), place_(place) {}

    bool atEnd() const noexcept { return bytes_.empty(); }
    std::size_t left() const noexcept { return bytes_.size(); }
    /** The byte that comes next, or 0 at the end. */
    U8 peek() const noexcept { return bytes_.empty() ? U8{0} : bytes_.front(); }

    std::span<U8 const> bytes(std::size_t count, char const* what) {
        if (count > bytes_.size()) [[unlikely]] {
            throwPastEnd(what);
        }
        auto const taken = bytes_.first(count);
        bytes_ = bytes_.subspan(count);
        return taken;
    }
    U8 u8(char const* what) { return bytes(1, what)[0]; }
    U16 u16(char const* what) {
        auto const taken = bytes(2, what);
        return static_cast<U16>((U32{taken[0]} << 8) | taken[1]);
    }
    U32 u32(char const* what) {
        U32 const high = u16(what);
        return (high << 16) | u16(what);
    }
    /** A part of its own, `place` in messages about what stands in it. */
    MrtCursor part(std::size_t count, char const* place) { return {bytes(count, place), place}; }

private:
    [[noreturn]] void throwPastEnd(char const* what) const;

    std::span<U8 const> bytes_;
    char const* place_;
};

}  // namespace LpmTools
