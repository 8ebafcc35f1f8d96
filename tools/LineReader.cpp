#include <tools/LineReader.h>

#include <Vexo/CharRange.h>
#include <Vexo/RangeException.h>

namespace LpmTools {

using Vexo::U64;

namespace {

std::string_view trimmed(std::string_view line) {
    line = line.substr(0, line.find('#'));
    std::size_t const first = line.find_first_not_of(lineBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return line.substr(first, line.find_last_not_of(lineBlanks) - first + 1);
}

}  // namespace

bool LineReader::next() {
    line_.clear();
    bool any = false;
    for (char c = 0; take(c);) {
        any = true;
        if (c == '\n') {
            break;
        }
        if (line_.size() <= longest) {
            line_ += c;
        }
    }
    number_ += any ? U64{1} : U64{0};
    if (number_ == 1 && line_.starts_with(byteOrderMark)) {
        line_.erase(0, byteOrderMark.size());
    }
    return any;
}

std::string_view LineReader::text() const {
    std::string_view const text = trimmed(line_);
    if (line_.size() > longest && line_.find('#') == std::string::npos) {
        throw Vexo::RangeException(
            Vexo::quotedForMessage(text) +
            Vexo::formatString(": the line is longer than %zu characters", longest));
    }
    return text;
}

bool LineReader::take(char& c) {
    if (at_ == length_) {
        length_ = source_->read(block_);
        at_ = 0;
        if (length_ == 0) {
            return false;
        }
    }
    c = block_[at_++];
    return true;
}

}  // namespace LpmTools
