#pragma once

#include <bzlib.h>
#include <zlib.h>

#include <cstddef>
#include <new>
#include <span>
#include <string_view>

/* The libraries that unpack, alike: one object unpacks one stream, a step at a time. */

namespace LpmTools {

/** What one step of an unpacker took in and gave out. */
struct Step {
    std::size_t in;
    std::size_t out;
    bool atEnd;    // of the packed stream, not of the file
    bool damaged;  // what was given in is not such a stream
};

class Gzip {
public:
    static constexpr std::string_view magic_ = "\x1f\x8b";
    static constexpr char const* name_ = "gzip";
    static constexpr bool zerosMayFollow_ = true;

    Gzip() {
        if (::inflateInit2(&stream_, MAX_WBITS + 16) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    Gzip(Gzip const&) = delete;
    Gzip& operator=(Gzip const&) = delete;
    ~Gzip() { ::inflateEnd(&stream_); }

    Step step(std::span<char> in, std::span<char> out) {
        stream_.next_in = reinterpret_cast<Bytef*>(in.data());
        stream_.avail_in = static_cast<uInt>(in.size());
        stream_.next_out = reinterpret_cast<Bytef*>(out.data());
        stream_.avail_out = static_cast<uInt>(out.size());
        int const result = ::inflate(&stream_, Z_NO_FLUSH);
        if (result == Z_MEM_ERROR) {
            throw std::bad_alloc();
        }
        bool const good = result == Z_OK || result == Z_STREAM_END || result == Z_BUF_ERROR;
        return {in.size() - stream_.avail_in, out.size() - stream_.avail_out,
                result == Z_STREAM_END, !good};
    }

private:
    z_stream stream_{};
};

class Bzip2 {
public:
    static constexpr std::string_view magic_ = "BZh";
    static constexpr char const* name_ = "bzip2";
    static constexpr bool zerosMayFollow_ = false;

    Bzip2() {
        if (::BZ2_bzDecompressInit(&stream_, 0, 0) != BZ_OK) {
            throw std::bad_alloc();
        }
    }
    Bzip2(Bzip2 const&) = delete;
    Bzip2& operator=(Bzip2 const&) = delete;
    ~Bzip2() { ::BZ2_bzDecompressEnd(&stream_); }

    Step step(std::span<char> in, std::span<char> out) {
        stream_.next_in = in.data();
        stream_.avail_in = static_cast<unsigned>(in.size());
        stream_.next_out = out.data();
        stream_.avail_out = static_cast<unsigned>(out.size());
        int const result = ::BZ2_bzDecompress(&stream_);
        if (result == BZ_MEM_ERROR) {
            throw std::bad_alloc();
        }
        return {in.size() - stream_.avail_in, out.size() - stream_.avail_out,
                result == BZ_STREAM_END, result != BZ_OK && result != BZ_STREAM_END};
    }

private:
    bz_stream stream_{};
};

}  // namespace LpmTools
