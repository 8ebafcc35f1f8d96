#include <fuzz/MemoryFile.h>

#include <tools/TableReader.h>

#include <optional>

/*
 * A text table, packed or not, read in all ways to take what is wrong in it. A table that was read,
 * written out again, reads back strictly.
 */

namespace {

using namespace LpmTools;
using Fuzz::require;

std::optional<Table> read(std::string_view text, TableOptions const& options) {
    Fuzz::MemoryFile const file(text);
    try {
        return readTables({file.path()}, options);
    } catch (BadLine const&) {
        require(!options.keepGoing, "a bad line ends no reading that keeps going");
    } catch (InputError const&) {
        // What looks packed, but is not.
    }
    return std::nullopt;
}

std::string written(Table const& table) {
    std::string text;
    for (auto const* const family : {&table.ipv4, &table.ipv6}) {
        for (Nimbal::IpGenPrefix const& prefix : *family) {
            text += prefix.stringValue() + "\n";
        }
    }
    return text;
}

void checkReadsBack(Table const& table) {
    auto const again = read(written(table), {.strict = true});
    require(again.has_value(), "a table reads back");
    require(again->ipv4 == table.ipv4 && again->ipv6 == table.ipv6, "it is the same table");
    require(again->duplicates == 0, "each prefix is there once");
}

void checkCounts(Table const& table) {
    std::size_t const prefixes = table.ipv4.size() + table.ipv6.size();
    Omissions const omitted = sumOf(table.omissions);
    require(prefixes + table.duplicates + omitted.badLines <= table.lines,
            "no line is more than one of these");
    require((omitted.badLines == 0) == omitted.firstBadLine.empty(), "the first bad line is told");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    auto const loose = read(text, {.keepGoing = true});
    if (!loose) {
        return 0;
    }
    checkCounts(*loose);
    checkReadsBack(*loose);

    auto const strict = read(text, {.strict = true});
    require(strict.has_value() == loose->omissions.empty(),
            "strict reading refuses bad lines and host bits, and nothing else");
    require(!strict || *strict == *loose, "what is read strictly is what is read");
    return 0;
}
