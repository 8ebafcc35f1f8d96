#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

/*
 * What the fuzz targets share. A target is one source with `LLVMFuzzerTestOneInput`: linked with
 * libFuzzer it looks for inputs that break what the target states by `require`; linked with
 * Replay.cpp it goes through the inputs that are kept in corpus/.
 */

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace Fuzz {

/** Ends the process, which the fuzzer takes for a find, unless what is stated holds. */
inline void require(bool holds, char const* statement) {
    if (!holds) {
        static_cast<void>(std::fprintf(stderr, "does not hold: %s\n", statement));
        std::abort();
    }
}

/** An input read piece by piece, front to back; zeros come once it is used up. */
class Input {
public:
    Input(std::uint8_t const* data, std::size_t size) : rest_(data, size) {}

    bool empty() const { return rest_.empty(); }
    std::uint8_t byte() {
        if (rest_.empty()) {
            return 0;
        }
        std::uint8_t const first = rest_.front();
        rest_ = rest_.subspan(1);
        return first;
    }
    bool flag() { return (byte() & 1U) != 0; }
    std::size_t below(std::size_t bound) { return byte() % bound; }
    /** A text of a length that stands in front of it, as far as there are bytes. */
    std::string_view text() { return take(byte()); }
    std::string_view all() { return take(rest_.size()); }

private:
    std::string_view take(std::size_t size) {
        std::span const front = rest_.first(size < rest_.size() ? size : rest_.size());
        rest_ = rest_.subspan(front.size());
        return {reinterpret_cast<char const*>(front.data()), front.size()};
    }

    std::span<std::uint8_t const> rest_;
};

}  // namespace Fuzz
