/*
 * An MRT file begins with a time of four bytes, a type of two and a subtype of two. Numbers of
 * types and subtypes are small, so that the high byte of each is 0.
 *
 * In a text table such a byte can stand in a comment alone, and for it to be the fifth of the file
 * the comment must begin within the first four bytes, with nothing but blanks before it: the
 * shortest prefix, "::/0", fills them all. As a time, blanks and a '#' are a day before 1989, when
 * nobody wrote MRT. So neither is ever taken for the other.
 */

#include <tools/InputKind.h>

#include <tools/MrtNames.h>

#include <algorithm>
#include <string_view>

namespace LpmTools {

using Vexo::U8;

namespace {

bool beginsWithComment(std::string_view bytes) noexcept {
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

}  // namespace LpmTools
