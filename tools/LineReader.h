#pragma once

#include <tools/ByteSource.h>

#include <Vexo/Types.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>

namespace LpmTools {

/**
 * Cuts a stream into the lines of a text table; a byte order mark before the first is skipped. What
 * `line` and `text` give is good until the next call of `next`.
 */
class LineReader {
public:
    /**
     * Longer lines are cut, so that memory stays bounded. What is cut off must be comment, or the
     * line is bad.
     */
    static constexpr std::size_t longest = 512;

    explicit LineReader(std::unique_ptr<ByteSource> source) : source_(std::move(source)) {}

    /** False at the end. Throws InputError. */
    bool next();
    std::string_view line() const noexcept { return line_; }
    Vexo::U64 number() const noexcept { return number_; }
    /**
     * The line without its comment and blanks around it; empty where it holds nothing else. Throws
     * RangeException for a line that is too long.
     */
    std::string_view text() const;

private:
    bool take(char& c);

    std::unique_ptr<ByteSource> source_;
    std::array<char, 65536> block_{};
    std::size_t at_ = 0;
    std::size_t length_ = 0;
    std::string line_;
    Vexo::U64 number_ = 0;
};

/** What some editors begin a text in UTF-8 with. */
inline constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";

/** Blanks in a text table; a line feed ends the line. */
inline constexpr std::string_view lineBlanks = " \t\r\v\f";

}  // namespace LpmTools
