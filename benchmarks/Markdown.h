#pragma once

#include <array>
#include <cstdio>
#include <string>
#include <vector>

namespace LpmBenchmarks {

inline std::string number(double value, int decimals) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    return text.data();
}

/** A table of Markdown, line by line. */
class MarkdownTable {
public:
    explicit MarkdownTable(std::vector<std::string> const& heads) {
        add(heads);
        add(std::vector<std::string>(heads.size(), "---"));
    }
    void add(std::vector<std::string> const& cells) {
        text_ += '|';
        for (std::string const& cell : cells) {
            text_ += ' ' + cell + " |";
        }
        text_ += '\n';
    }
    std::string const& text() const noexcept { return text_; }

private:
    std::string text_;
};

}  // namespace LpmBenchmarks
