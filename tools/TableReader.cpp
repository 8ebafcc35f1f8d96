#include <tools/TableReader.h>

#include <Vexo/CharRange.h>
#include <Vexo/RangeException.h>

#include <array>
#include <string_view>
#include <unordered_set>

namespace LpmTools {

namespace {

/**
 * Longer lines are cut, so that memory stays bounded. What is cut off must be comment, or the line
 * is bad.
 */
constexpr std::size_t longestLine = 512;

/** Cuts a stream into lines. What `line` gives is good until the next call. */
class LineReader {
public:
    explicit LineReader(std::string const& path) : source_(openInput(path)) {}

    bool next() {
        line_.clear();
        bool any = false;
        for (char c = 0; take(c);) {
            any = true;
            if (c == '\n') {
                break;
            }
            if (line_.size() <= longestLine) {
                line_ += c;
            }
        }
        number_ += any ? U64{1} : U64{0};
        return any;
    }
    std::string_view line() const noexcept { return line_; }
    /** What `line` gives is not all of it. */
    bool isCut() const noexcept { return line_.size() > longestLine; }
    U64 number() const noexcept { return number_; }

private:
    bool take(char& c) {
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

    std::unique_ptr<ByteSource> source_;
    std::array<char, 65536> block_{};
    std::size_t at_ = 0;
    std::size_t length_ = 0;
    std::string line_;
    U64 number_ = 0;
};

std::string_view trimmed(std::string_view line) {
    constexpr std::string_view blanks = " \t\r\v\f";
    line = line.substr(0, line.find('#'));
    std::size_t const first = line.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return line.substr(first, line.find_last_not_of(blanks) - first + 1);
}

class TableBuilder {
public:
    explicit TableBuilder(TableOptions const& options) : options_(options) {}

    void add(std::string const& path) {
        LineReader reader(path);
        while (reader.next()) {
            ++table_.lines;
            try {
                addLine(reader);
            } catch (Vexo::RangeException const& error) {
                addBadLine(inputName(path) + ":" + std::to_string(reader.number()) + ": " +
                           error.what());
            }
        }
    }
    Table take() { return std::move(table_); }

private:
    void addLine(LineReader const& reader) {
        std::string_view const line = reader.line();
        std::string_view const text = trimmed(line);
        if (reader.isCut() && line.find('#') == std::string_view::npos) {
            throw Vexo::RangeException(
                Vexo::quotedForMessage(text) +
                Vexo::formatString(": the line is longer than %zu characters", longestLine));
        }
        if (!text.empty()) {
            addPrefix(text);
        }
    }

    void addPrefix(std::string_view text) {
        bool cleared = false;
        auto const prefix = options_.strict
                                ? Nimbal::IpGenPrefix::fromString(text)
                                : Nimbal::IpGenPrefix::fromStringClearingHostBits(text, &cleared);
        table_.hostBitsCleared += cleared ? U64{1} : U64{0};
        if (!seen_.insert(prefix).second) {
            ++table_.duplicates;
        } else if (prefix.af() == Nimbal::AddressFamily::ipv6) {
            table_.ipv6.push_back(prefix);
        } else {
            table_.ipv4.push_back(prefix);
        }
    }

    void addBadLine(std::string message) {
        if (!options_.keepGoing) {
            throw BadLine(message);
        }
        if (table_.badLines++ == 0) {
            table_.firstBadLine = std::move(message);
        }
    }

    TableOptions const options_;
    Table table_;
    std::unordered_set<Nimbal::IpGenPrefix> seen_;
};

}  // namespace

Table readTables(std::vector<std::string> const& paths, TableOptions const& options) {
    TableBuilder builder(options);
    for (std::string const& path : paths) {
        builder.add(path);
    }
    return builder.take();
}

}  // namespace LpmTools
