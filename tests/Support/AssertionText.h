#pragma once

#include <gmock/gmock.h>

#include <errno.h>
#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

namespace TestSupport {

/**
 * Matches the whole text on standard error of a process that a fatal assertion has ended. The
 * number of the line is any.
 *
 *     EXPECT_EXIT(node.lenIs(200), testing::KilledBySignal(SIGABRT),
 *                 assertionText("len <= 128", "len:200", "LpmTrie/LpmTrieNode", "void …"));
 *
 * `context` is all that the context pieces print, as a text or as a matcher; without pieces, leave
 * it empty.
 */
class AssertionTextMatcher {
public:
    using is_gtest_matcher = void;

    AssertionTextMatcher(std::string condition, testing::Matcher<std::string> context,
                         std::string const& source, std::string const& signature)
        : condition_(std::move(condition)),
          context_(std::move(context)),
          beforeLine_(std::string(program_invocation_short_name) + ": " + source + ":"),
          afterLine_(": " + signature + ": Assertion `" + condition_ + "' failed.") {}

    bool MatchAndExplain(std::string const& text, std::ostream* explanation) const {
        std::string_view rest = text;
        std::size_t const lineEnd = rest.substr(0, rest.size() - !rest.empty()).rfind('\n');
        if (!rest.starts_with(condition_) || !rest.ends_with('\n') ||
            lineEnd == std::string_view::npos || lineEnd < condition_.size()) {
            return fails(explanation, "which does not consist of the condition's line and another");
        }
        std::string context(rest.substr(condition_.size(), lineEnd - condition_.size()));
        if (context.starts_with(": ")) {
            context.erase(0, 2);
        } else if (!context.empty()) {
            return fails(explanation, "where something else follows the condition");
        }
        if (!context_.Matches(context)) {
            return fails(explanation, "whose context is \"" + context + "\"");
        }
        rest = rest.substr(lineEnd + 1, rest.size() - lineEnd - 2);
        if (!rest.starts_with(beforeLine_) || !rest.ends_with(afterLine_) ||
            rest.size() <= beforeLine_.size() + afterLine_.size()) {
            return fails(explanation, "whose last line is different");
        }
        rest.remove_prefix(beforeLine_.size());
        rest.remove_suffix(afterLine_.size());
        return std::ranges::all_of(rest, [](unsigned char c) { return std::isdigit(c) != 0; }) ||
               fails(explanation, "whose last line tells no line's number");
    }

    void DescribeTo(std::ostream* stream) const {
        *stream << "is \"" << condition_ << "\", a context that ";
        context_.DescribeTo(stream);
        *stream << ", and \"" << beforeLine_ << "<line>" << afterLine_ << "\"";
    }
    void DescribeNegationTo(std::ostream* stream) const {
        *stream << "not: ";
        DescribeTo(stream);
    }

private:
    static bool fails(std::ostream* explanation, std::string const& why) {
        if (explanation != nullptr) {
            *explanation << why;
        }
        return false;
    }

    std::string condition_;
    testing::Matcher<std::string> context_;
    std::string beforeLine_;
    std::string afterLine_;
};

inline testing::Matcher<std::string const&> assertionText(std::string condition,
                                                          testing::Matcher<std::string> context,
                                                          std::string const& source,
                                                          std::string const& signature) {
    return AssertionTextMatcher(std::move(condition), std::move(context), source, signature);
}

}  // namespace TestSupport
