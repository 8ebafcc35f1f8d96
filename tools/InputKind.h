#pragma once

#include <tools/ByteSource.h>

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace LpmTools {

/** So many of a stream's first bytes tell what it is. */
inline constexpr std::size_t inputHeadSize = 8;

/**
 * Do the first bytes of an unpacked stream begin an MRT file? No text table ever does; a stream
 * that is empty or too short to tell is text.
 */
bool looksLikeMrt(std::span<char const> head) noexcept;

/**
 * What an input is, by its first bytes, when that cannot be read although many programs write it:
 * another packing, UTF-16; else empty. Asked of what looks neither like MRT nor is packed by gzip
 * or bzip2.
 */
std::string_view unsupportedKind(std::span<char const> head) noexcept;

/** A source whose first bytes can be looked at before they are read. */
class PeekedSource final : public ByteSource {
public:
    /** Reads the first bytes. Throws InputError. */
    explicit PeekedSource(std::unique_ptr<ByteSource> source);

    /** As many of the first `inputHeadSize` bytes as there are, read on or not. */
    std::span<char const> head() const noexcept { return std::span(head_).first(size_); }
    std::size_t read(std::span<char> buffer) override;

private:
    std::unique_ptr<ByteSource> source_;
    std::array<char, inputHeadSize> head_{};
    std::size_t size_ = 0;
    std::size_t at_ = 0;
};

/** Opens an input as `openInput` does. Throws InputError also for one that is of no known kind. */
std::unique_ptr<PeekedSource> openUnpacked(std::string const& path);

}  // namespace LpmTools
