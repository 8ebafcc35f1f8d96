#include <tools/TableReader.h>

#include <Vexo/RangeException.h>
#include <tools/LineReader.h>

#include <string_view>
#include <unordered_set>

namespace LpmTools {

namespace {

class TableBuilder {
public:
    explicit TableBuilder(TableOptions const& options) : options_(options) {}

    void add(std::string const& path) {
        LineReader reader(openInput(path));
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
        std::string_view const text = reader.text();
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
