#pragma once

#include <Nimbal/IpGenPrefix.h>
#include <tools/ByteSource.h>
#include <tools/Omissions.h>

#include <optional>
#include <string>
#include <vector>

namespace LpmTools {

using Vexo::U32;
using Vexo::U64;

/** How to take what stands in a text table. */
struct TableOptions {
    bool strict = false;     // refuse host bits instead of clearing them
    bool keepGoing = false;  // skip and count a bad line instead of ending
};

/** The prefixes read, in the order of reading, each once, and what happened on the way. */
struct Table {
    std::vector<Nimbal::IpGenPrefix> ipv4;
    std::vector<Nimbal::IpGenPrefix> ipv6;
    U64 lines = 0;                     // all lines, comments and blank ones too
    U64 duplicates = 0;                // prefixes read again
    std::vector<Omissions> omissions;  // of the inputs that have any
    std::optional<U64> seed;           // of a table that was generated, not read

    bool operator==(Table const&) const = default;
};

/** A line that is no prefix. The message names input, line and what is wrong. */
class BadLine : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/**
 * Reads text tables: one prefix a line, blanks around it; blank lines and those that begin with '#'
 * are skipped, as is what follows a '#'. Families may be mixed. Throws InputError, also for MRT,
 * and BadLine.
 */
Table readTables(std::vector<std::string> const& paths, TableOptions const& options);

}  // namespace LpmTools
