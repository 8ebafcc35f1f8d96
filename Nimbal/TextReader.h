#pragma once

#include <Nimbal/Ip6Addr.h>
#include <Nimbal/IpAddr.h>

#include <cstddef>
#include <string_view>

namespace Nimbal {

/**
 * Reads addresses and prefix lengths from a text, front to back. Private to this folder's sources.
 * Errors are RangeExceptions that quote the whole text and say what is wrong with it.
 */
class TextReader {
public:
    explicit TextReader(std::string_view text) noexcept : text_(text) {}

    IpAddr readIpAddr();
    Ip6Addr readIp6Addr();
    /** "/" and a decimal number of at most `largest` without leading zeros. */
    U32 readLength(U32 largest);
    void checkAllRead() const;
    [[noreturn]] void fail(String const& wrong) const;

private:
    char front() const noexcept { return at_ < text_.size() ? text_[at_] : '\0'; }
    bool consume(std::string_view literal) noexcept;
    /** `what` should stand next, and nothing or something else does. */
    [[noreturn]] void failMissing(char const* what) const;
    /** Decimal digits; `what` names the number in an error. */
    U32 readNumber(U32 largest, char const* what);
    /** One group of one to four hexadecimal digits. */
    U32 readGroup();
    /** An IPv4 address stands next, not a hexadecimal group. */
    bool dotFollowsDigits() const noexcept;

    std::string_view text_;
    std::size_t at_ = 0;
};

}  // namespace Nimbal
