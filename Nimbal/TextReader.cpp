#include <Nimbal/TextReader.h>
#include <Vexo/CharRange.h>

#include <optional>

namespace Nimbal {

namespace {

constexpr std::size_t groupCount = 8;

bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

int hexDigit(char c) noexcept {
    if (isDigit(c)) {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

}  // namespace

void TextReader::fail(String const& wrong) const {
    throw Vexo::RangeException(Vexo::quotedForMessage(text_) + ": " + wrong);
}

void TextReader::failMissing(char const* what) const {
    String const wrong = String(what) + " is missing";
    fail(at_ == text_.size() ? wrong
                             : wrong + " before " + Vexo::quotedForMessage(text_.substr(at_)));
}

void TextReader::checkAllRead() const {
    if (at_ != text_.size()) {
        fail("unexpected text " + Vexo::quotedForMessage(text_.substr(at_)) + " at the end");
    }
}

bool TextReader::consume(std::string_view literal) noexcept {
    if (!text_.substr(at_).starts_with(literal)) {
        return false;
    }
    at_ += literal.size();
    return true;
}

U32 TextReader::readNumber(U32 largest, char const* what) {
    std::size_t const begin = at_;
    U32 number = 0;
    for (; isDigit(front()); ++at_) {
        number = number * 10 + static_cast<U32>(front() - '0');
        if (number > largest) {
            fail(Vexo::formatString("%s is over %u", what, largest));
        }
        if (at_ > begin && text_[begin] == '0') {
            fail(Vexo::formatString("%s has a leading zero", what));
        }
    }
    if (at_ == begin) {
        failMissing(what);
    }
    return number;
}

IpAddr TextReader::readIpAddr() {
    U32 value = 0;
    for (int part = 0; part < 4; ++part) {
        if (part > 0 && !consume(".")) {
            fail("an IPv4 address has four parts with dots between them");
        }
        value = (value << 8) | readNumber(255, "a part of the IPv4 address");
    }
    return IpAddr(value);
}

U32 TextReader::readGroup() {
    U32 group = 0;
    int digits = 0;
    for (int digit = hexDigit(front()); digit >= 0; digit = hexDigit(front())) {
        if (++digits > 4) {
            fail("a group of the IPv6 address has more than four digits");
        }
        group = group * 16 + static_cast<U32>(digit);
        ++at_;
    }
    if (digits == 0) {
        failMissing("a group of the IPv6 address");
    }
    return group;
}

bool TextReader::dotFollowsDigits() const noexcept {
    std::size_t end = at_;
    while (end < text_.size() && isDigit(text_[end])) {
        ++end;
    }
    return end > at_ && end < text_.size() && text_[end] == '.';
}

Ip6Addr TextReader::readIp6Addr() {
    std::array<U32, groupCount> groups{};
    std::size_t count = 0;
    std::optional<std::size_t> gap;  // the group before which "::" stands
    if (consume("::")) {
        gap = 0;
    }
    bool more = !gap || hexDigit(front()) >= 0;
    while (more && count < groupCount) {
        if (dotFollowsDigits() && count <= groupCount - 2) {
            U32 const low = readIpAddr().value();
            groups[count++] = low >> 16;
            groups[count++] = low & 0xffffU;
            break;
        }
        groups[count++] = readGroup();
        if (consume("::")) {
            if (gap) {
                fail("an IPv6 address has \"::\" twice");
            }
            gap = count;
            more = hexDigit(front()) >= 0;
        } else {
            more = consume(":");
            if (more && count == groupCount) {
                fail("an IPv6 address has more than eight groups");
            }
        }
    }
    if (count == groupCount ? gap.has_value() : !gap) {
        fail(gap ? "\"::\" stands for no group" : "an IPv6 address has eight groups, or a \"::\"");
    }
    std::array<U32, 4> words{};
    for (std::size_t i = 0; i < count; ++i) {
        std::size_t const place = gap && i >= *gap ? groupCount - count + i : i;
        words[place / 2] |= groups[i] << (place % 2 == 0 ? 16 : 0);
    }
    return Ip6Addr::fromWords(words);
}

U32 TextReader::readLength(U32 largest) {
    if (at_ != text_.size() && front() != '/') {
        fail("unexpected text " + Vexo::quotedForMessage(text_.substr(at_)) + " after the address");
    }
    if (!consume("/")) {
        failMissing("the prefix length");
    }
    return readNumber(largest, "the prefix length");
}

}  // namespace Nimbal
