#pragma once

#include <Vexo/RangeException.h>
#include <Vexo/Types.h>

#include <string_view>

namespace Vexo {

class FwkType;

/**
 * The unread rest of a text that is being parsed. Holds a view: the text must outlive it. Any byte
 * may occur, NUL too. Errors are `RangeException`s that quote the text and tell the offset in
 * bytes.
 */
class LPMTRIE_API CharRange {
public:
    /** All of `text`, of which nothing is read yet. */
    explicit CharRange(std::string_view text) noexcept : text_(text) {}

    /** Whether all has been read. */
    bool empty() const noexcept { return offset_ == text_.size(); }
    /** The next byte; a NUL when the range is empty. */
    char front() const noexcept { return empty() ? '\0' : text_[offset_]; }
    /** What has not been read yet. */
    std::string_view rest() const noexcept { return text_.substr(offset_); }
    /** The whole text. */
    std::string_view text() const noexcept { return text_; }
    /** Bytes read so far. */
    std::size_t offset() const noexcept { return offset_; }

    /** Skips `bytes` bytes, at most what is left. */
    void advance(std::size_t bytes) noexcept;
    /** Skips `literal` if it follows exactly; false, with nothing read, otherwise. */
    bool consume(std::string_view literal) noexcept;
    /** The literal must follow exactly and is skipped; no white space is. Throws RangeException. */
    void needString(std::string_view literal);
    /** Throws RangeException when characters are left. */
    void checkAllDataConsumed() const;
    /** Throws a RangeException that tells what was wanted and what stands there. */
    [[noreturn]] void fail(String const& wanted) const;

    /** What was just read is not a value of `type`. */
    [[noreturn]] static void cannotConvert(CharRange const& range, FwkType const& type);

private:
    std::string_view text_;
    std::size_t offset_ = 0;
};

/** `text` in single quotes, with bytes that do not print in hexadecimal; a long text is cut with
 * "...". */
LPMTRIE_API String quotedForMessage(std::string_view text);

}  // namespace Vexo
