/*
 * An MRT file begins with a time of four bytes, a type of two and a subtype of two. Numbers of
 * types and subtypes are small, so that the high byte of each is 0.
 *
 * In a text table such a byte can stand in a comment alone, and for it to be the fifth of the file
 * the comment must begin within the first four bytes, with nothing but blanks before it: the
 * shortest prefix, "::/0", fills them all. As a time, blanks and a '#' are a day before 1989, when
 * nobody wrote MRT. A byte order mark before the '#' makes it a day in 2097. So neither is ever
 * taken for the other.
 *
 * Other kinds begin with numbers of their own. That of zip is also a second of 2012, but then comes
 * a version, which is never 0: what looks like MRT is MRT.
 */

#include <tools/InputKind.h>

#include <tools/LineReader.h>
#include <tools/MrtNames.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace LpmTools {

using Vexo::U8;

namespace {

using namespace std::string_view_literals;

constexpr std::array unsupportedKinds{
    std::pair("\xfd"
              "7zXZ\0"sv,
              "xz"sv),
    std::pair("\x28\xb5\x2f\xfd"sv, "zstd"sv),
    std::pair("PK\3\4"sv, "zip"sv),
    std::pair("7z\xbc\xaf\x27\x1c"sv, "7z"sv),
    std::pair("\x04\x22\x4d\x18"sv, "lz4"sv),
    std::pair("LZIP"sv, "lzip"sv),
    std::pair("\x1f\x9d"sv, "compress (.Z)"sv),
    std::pair("\xff\xfe"sv, "UTF-16"sv),
    std::pair("\xfe\xff"sv, "UTF-16"sv),
};

bool beginsWithComment(std::string_view bytes) noexcept {
    if (bytes.starts_with(byteOrderMark)) {
        bytes.remove_prefix(byteOrderMark.size());
    }
    std::size_t const first = bytes.find_first_not_of(" \t\r\v\f\n");
    return first != std::string_view::npos && bytes[first] == '#';
}

}  // namespace

bool looksLikeMrt(std::span<char const> head) noexcept {
    constexpr U8 mostSubtypes = 32;  // 12 are the most that any type has
    if (head.size() < inputHeadSize || beginsWithComment({head.data(), 4})) {
        return false;
    }
    return head[4] == 0 && isMrtType(static_cast<U8>(head[5])) && head[6] == 0 &&
           static_cast<U8>(head[7]) < mostSubtypes;
}

std::string_view unsupportedKind(std::span<char const> head) noexcept {
    std::string_view const bytes(head.data(), head.size());
    for (auto const& [begin, kind] : unsupportedKinds) {
        if (bytes.starts_with(begin)) {
            return kind;
        }
    }
    return {};
}

PeekedSource::PeekedSource(std::unique_ptr<ByteSource> source) : source_(std::move(source)) {
    while (size_ < head_.size()) {
        std::size_t const count = source_->read(std::span(head_).subspan(size_));
        if (count == 0) {
            break;
        }
        size_ += count;
    }
}

std::size_t PeekedSource::read(std::span<char> buffer) {
    if (at_ == size_) {
        return source_->read(buffer);
    }
    std::size_t const count = std::min(buffer.size(), size_ - at_);
    std::copy_n(&head_[at_], count, buffer.begin());
    at_ += count;
    return count;
}

std::unique_ptr<PeekedSource> openUnpacked(std::string const& path) {
    auto source = std::make_unique<PeekedSource>(openInput(path));
    auto const head = source->head();
    std::string_view const packing = packingOf({head.data(), head.size()});
    // As a time, gzip's number is a day of 1986, and that of bzip2 one of 2005.
    if (packing != "gzip" && looksLikeMrt(head)) {
        return source;
    }
    // What comes out of an unpacker and is packed again.
    if (!packing.empty()) {
        throw InputError(inputName(path) + ": is packed twice, inside by " + std::string(packing));
    }
    if (auto const kind = unsupportedKind(head); !kind.empty()) {
        throw InputError(inputName(path) + ": is " + std::string(kind) +
                         ", which is not supported");
    }
    return source;
}

}  // namespace LpmTools
