#include <Vexo/CharRange.h>
#include <Vexo/FwkType.h>

#include <algorithm>

namespace Vexo {

namespace {
constexpr std::size_t longestQuote = 120;
}

void CharRange::advance(std::size_t bytes) noexcept {
    offset_ += std::min(bytes, text_.size() - offset_);
}

bool CharRange::consume(std::string_view literal) noexcept {
    if (!rest().starts_with(literal)) {
        return false;
    }
    offset_ += literal.size();
    return true;
}

void CharRange::needString(std::string_view literal) {
    if (!consume(literal)) {
        fail(quotedForMessage(literal));
    }
}

void CharRange::checkAllDataConsumed() const {
    if (!empty()) {
        fail("the end of the text");
    }
}

void CharRange::fail(String const& wanted) const {
    throw RangeException(quotedForMessage(text_) + ": expected " + wanted +
                         formatString(" at offset %zu, found ", offset_) +
                         (empty() ? String("the end of the text") : quotedForMessage(rest())));
}

void CharRange::cannotConvert(CharRange const& range, FwkType const& type) {
    throw RangeException(quotedForMessage(range.text().substr(0, range.offset())) +
                         ": cannot be converted to " + type.name());
}

String quotedForMessage(std::string_view text) {
    String quoted = "'";
    for (char const c : text.substr(0, longestQuote)) {
        if (c >= ' ' && c <= '~') {
            quoted += c;
        } else {
            quoted += formatString("\\x%02x", static_cast<unsigned char>(c));
        }
    }
    quoted += text.size() > longestQuote ? "'..." : "'";
    return quoted;
}

}  // namespace Vexo
