#pragma once

#include <tools/RouteGenerator.h>
#include <tools/TableReader.h>

namespace LpmBenchmarks {

/** The tables named, or, when none is, one of each family with the shape of the Internet's. */
inline LpmTools::Table readOrGenerate(std::vector<std::string> const& paths, Vexo::U32 ipv4,
                                      Vexo::U32 ipv6, Vexo::U64 seed) {
    if (!paths.empty()) {
        return LpmTools::readTables(paths, {});
    }
    LpmTools::Table table;
    table.ipv4 = LpmTools::generateTable(Nimbal::AddressFamily::ipv4, ipv4, seed);
    table.ipv6 = LpmTools::generateTable(Nimbal::AddressFamily::ipv6, ipv6, seed);
    table.seed = seed;
    return table;
}

}  // namespace LpmBenchmarks
