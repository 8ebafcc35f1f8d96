#pragma once

#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace LpmTools {

/** An input that cannot be opened, read or unpacked. The message names it. */
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** A stream of bytes, read front to back. */
class ByteSource {
public:
    virtual ~ByteSource() = default;
    /** Fills `buffer` from its front. Bytes read; 0 only at the end. Throws InputError. */
    virtual std::size_t read(std::span<char> buffer) = 0;
};

/** The name under which an input is reported, on one line: "-" is standard input. */
std::string inputName(std::string const& path);

/** "gzip" or "bzip2" for what begins a stream packed so; else empty. */
std::string_view packingOf(std::string_view head) noexcept;

/**
 * Opens a file, or standard input for "-". A gzip or bzip2 stream (RFC 1952 and the format of bzip2
 * 1.0), or several behind each other, is unpacked; it is recognised by its first bytes, never by
 * the name. Zeros behind gzip streams, with which tapes and disks are filled up, are nothing.
 * Throws InputError.
 */
std::unique_ptr<ByteSource> openInput(std::string const& path);

}  // namespace LpmTools
