#pragma once

#include <bzlib.h>
#include <zlib.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace ToolsTest {

/** A gzip stream (RFC 1952) of its own. */
inline std::string gzipped(std::string_view text) {
    z_stream stream{};
    if (::deflateInit2(&stream, 9, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("cannot start a gzip stream");
    }
    std::string in(text);
    std::string out(::deflateBound(&stream, static_cast<uLong>(in.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(in.data());
    stream.avail_in = static_cast<uInt>(in.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    int const result = ::deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    ::deflateEnd(&stream);
    if (result != Z_STREAM_END) {
        throw std::runtime_error("cannot write a gzip stream");
    }
    return out;
}

/** A bzip2 stream of its own. */
inline std::string bzip2ed(std::string_view text) {
    std::string in(text);
    // The library's own bound: one in a hundred and 600 bytes more than there were.
    std::string out(in.size() + in.size() / 100 + 600, '\0');
    auto size = static_cast<unsigned>(out.size());
    if (::BZ2_bzBuffToBuffCompress(out.data(), &size, in.data(), static_cast<unsigned>(in.size()),
                                   9, 0, 0) != BZ_OK) {
        throw std::runtime_error("cannot write a bzip2 stream");
    }
    out.resize(size);
    return out;
}

}  // namespace ToolsTest
