/*
 * Inputs, packed or not. A file is read in blocks; the first block tells by its first bytes how the
 * rest is packed. The unpackers differ only in the library that they call, so one class drives
 * both: it feeds blocks in, starts anew behind a stream's end while there is more, and turns every
 * way in which a file can be damaged into one error that names it.
 */

#include <tools/ByteSource.h>
#include <tools/Output.h>

#include <bzlib.h>
#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

namespace LpmTools {

namespace {

class File {
public:
    explicit File(std::string const& path)
        : name_(inputName(path)), file_(path == "-" ? ::dup(0) : ::open(path.c_str(), O_RDONLY)) {
        if (file_ < 0) {
            throw InputError(name_ + ": cannot open: " + std::strerror(errno));
        }
    }
    File(File const&) = delete;
    File& operator=(File const&) = delete;
    ~File() { ::close(file_); }

    std::string const& name() const noexcept { return name_; }

    std::size_t read(std::span<char> buffer) const {
        for (;;) {
            ssize_t const count = ::read(file_, buffer.data(), buffer.size());
            if (count >= 0) {
                return static_cast<std::size_t>(count);
            }
            if (errno != EINTR) {
                throw InputError(name_ + ": cannot read: " + std::strerror(errno));
            }
        }
    }

private:
    std::string name_;
    int file_;
};

/** A file and the block of it that is next. */
class Blocks {
public:
    explicit Blocks(std::string const& path) : file_(path) {
        // A pipe may hand out its first bytes one by one; the magic number needs three.
        while (length_ < 3) {
            std::size_t const more = file_.read(std::span(block_).subspan(length_));
            if (more == 0) {
                break;
            }
            length_ += more;
        }
    }

    std::string const& name() const noexcept { return file_.name(); }
    /** What is left of the block; read on when it is empty. Empty again at the end of the file. */
    std::span<char> rest() {
        if (at_ == length_) {
            length_ = file_.read(block_);
            at_ = 0;
        }
        return std::span(block_).subspan(at_, length_ - at_);
    }
    bool startsWith(std::string_view magic) const noexcept {
        return std::string_view(block_.data(), length_).starts_with(magic);
    }
    void advance(std::size_t bytes) noexcept { at_ += bytes; }

private:
    File file_;
    std::array<char, 65536> block_{};
    std::size_t at_ = 0;
    std::size_t length_ = 0;
};

class PlainSource final : public ByteSource {
public:
    explicit PlainSource(std::unique_ptr<Blocks> blocks) : blocks_(std::move(blocks)) {}

    std::size_t read(std::span<char> buffer) override {
        auto const rest = blocks_->rest();
        std::size_t const count = std::min(buffer.size(), rest.size());
        std::memcpy(buffer.data(), rest.data(), count);
        blocks_->advance(count);
        return count;
    }

private:
    std::unique_ptr<Blocks> blocks_;
};

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

template <class Unpacker>
class PackedSource final : public ByteSource {
public:
    explicit PackedSource(std::unique_ptr<Blocks> blocks)
        : blocks_(std::move(blocks)), unpacker_(std::make_unique<Unpacker>()) {}

    std::size_t read(std::span<char> buffer) override {
        while (unpacker_ != nullptr) {
            auto const rest = blocks_->rest();
            Step const step = unpacker_->step(rest, buffer);
            blocks_->advance(step.in);
            if (step.damaged) {
                fail("damaged %s data");
            }
            if (step.atEnd) {
                startNext();
            } else if (rest.empty() && step.out == 0) {
                fail("%s data ends too early");
            }
            if (step.out > 0) {
                return step.out;
            }
        }
        return 0;
    }

private:
    void startNext() {
        unpacker_.reset();
        if (!blocks_->rest().empty()) {
            unpacker_ = std::make_unique<Unpacker>();
        }
    }

    [[noreturn]] void fail(char const* what) const {
        std::string text = what;
        text.replace(text.find("%s"), 2, Unpacker::name_);
        throw InputError(blocks_->name() + ": " + text);
    }

    std::unique_ptr<Blocks> blocks_;
    std::unique_ptr<Unpacker> unpacker_;
};

}  // namespace

std::string inputName(std::string const& path) {
    return path == "-" ? "standard input" : onOneLine(path);
}

std::unique_ptr<ByteSource> openInput(std::string const& path) {
    auto blocks = std::make_unique<Blocks>(path);
    if (blocks->startsWith(Gzip::magic_)) {
        return std::make_unique<PackedSource<Gzip>>(std::move(blocks));
    }
    if (blocks->startsWith(Bzip2::magic_)) {
        return std::make_unique<PackedSource<Bzip2>>(std::move(blocks));
    }
    return std::make_unique<PlainSource>(std::move(blocks));
}

}  // namespace LpmTools
