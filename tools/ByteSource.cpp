/*
 * Inputs, packed or not. A file is read in blocks; the first block tells by its first bytes how the
 * rest is packed. The unpackers differ only in the library that they call, so one class drives
 * both: it feeds blocks in, starts anew behind a stream's end while there is more, and turns every
 * way in which a file can be damaged into one error that names it.
 */

#include <tools/ByteSource.h>
#include <tools/Output.h>
#include <tools/Unpackers.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
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
    /** The first block, as long as it has not been read. */
    std::string_view head() const noexcept { return {block_.data(), length_}; }
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
        if (blocks_->rest().empty()) {
            return;
        }
        if (Unpacker::zerosMayFollow_ && blocks_->rest().front() == '\0') {
            skipZeros();
            return;
        }
        unpacker_ = std::make_unique<Unpacker>();
    }

    /** To the end of the file, up to which there must be nothing else. */
    void skipZeros() {
        for (auto rest = blocks_->rest(); !rest.empty(); rest = blocks_->rest()) {
            if (std::ranges::any_of(rest, [](char byte) { return byte != '\0'; })) {
                fail("damaged %s data");
            }
            blocks_->advance(rest.size());
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

std::string_view packingOf(std::string_view head) noexcept {
    return head.starts_with(Gzip::magic_)    ? Gzip::name_
           : head.starts_with(Bzip2::magic_) ? Bzip2::name_
                                             : "";
}

std::unique_ptr<ByteSource> openInput(std::string const& path) {
    auto blocks = std::make_unique<Blocks>(path);
    std::string_view const packing = packingOf(blocks->head());
    if (packing == Gzip::name_) {
        return std::make_unique<PackedSource<Gzip>>(std::move(blocks));
    }
    if (packing == Bzip2::name_) {
        return std::make_unique<PackedSource<Bzip2>>(std::move(blocks));
    }
    return std::make_unique<PlainSource>(std::move(blocks));
}

}  // namespace LpmTools
