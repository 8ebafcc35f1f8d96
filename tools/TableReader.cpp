#include <tools/TableReader.h>

#include <Vexo/CharRange.h>
#include <Vexo/RangeException.h>
#include <tools/InputKind.h>
#include <tools/LineReader.h>

#include <algorithm>
#include <string_view>
#include <unordered_set>

namespace LpmTools {

namespace {

/** "A 10.0.0.0/8", "W 10.0.0.0/8" */
bool isUpdate(std::string_view text) noexcept {
    return text.size() > 1 && (text[0] == 'A' || text[0] == 'W') &&
           lineBlanks.find(text[1]) != std::string_view::npos;
}

/** Not so a hole in a file, whose zeros could be an empty record. */
bool isMrt(std::span<char const> head) noexcept {
    return looksLikeMrt(head) && std::ranges::count(head, '\0') < std::ssize(head);
}

class TableBuilder {
public:
    explicit TableBuilder(TableOptions const& options) : options_(options) {}

    void add(std::string const& path) {
        auto source = openUnpacked(path);
        if (isMrt(source->head())) {
            throw InputError(inputName(path) +
                             ": is MRT, which the commands plan, diff and lookup read");
        }
        LineReader reader(std::move(source));
        omissions_ = {};
        omissions_.input = inputName(path);
        while (reader.next()) {
            ++table_.lines;
            try {
                addLine(reader);
            } catch (Vexo::RangeException const& error) {
                addBadLine(inputName(path) + ":" + std::to_string(reader.number()) + ": " +
                           error.what());
            }
        }
        if (omissions_.any()) {
            table_.omissions.push_back(omissions_);
        }
    }
    Table take() { return std::move(table_); }

private:
    void addLine(LineReader const& reader) {
        std::string_view const text = reader.text();
        if (!text.empty()) {
            addPrefix(text);
        }
    }

    void addPrefix(std::string_view text) {
        if (isUpdate(text)) {
            throw Vexo::RangeException(
                Vexo::quotedForMessage(text) +
                " is an update, which the commands plan, diff and lookup read");
        }
        bool cleared = false;
        auto const prefix = options_.strict
                                ? Nimbal::IpGenPrefix::fromString(text)
                                : Nimbal::IpGenPrefix::fromStringClearingHostBits(text, &cleared);
        omissions_.hostBitsCleared += cleared ? U64{1} : U64{0};
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
        if (omissions_.badLines++ == 0) {
            omissions_.firstBadLine = std::move(message);
        }
    }

    TableOptions const options_;
    Table table_;
    Omissions omissions_;  // of the input in hand
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
