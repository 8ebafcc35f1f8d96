#pragma once

#include <tools/PartitionedTable.h>
#include <tools/TableReader.h>

#include <string>
#include <vector>

namespace LpmTools {

/** What loading one family's table showed. Times in seconds of the wall clock. */
struct FamilyReport {
    Nimbal::AddressFamily af = Nimbal::AddressFamily::none;
    U32 bucket = 0;
    TableFigures figures;
    U64 movedRoutes = 0;
    double bytesPerRoute = 0;  // of tracked objects: nodes, prefix holders, partition ids
    double insertSeconds = 0;
    double verifySeconds = 0;
    double lookUpSeconds = 0;
    double removeSeconds = 0;
    U64 notFound = 0;     // routes that a look-up did not find in their partition; must be 0
    U64 leftObjects = 0;  // tracked objects alive after all has been removed; must be 0

    bool good() const noexcept { return notFound == 0 && leftObjects == 0; }
};

/** Inserts, verifies, looks every prefix up, and removes everything. */
FamilyReport loadFamily(Nimbal::AddressFamily af, std::vector<Nimbal::IpGenPrefix> const& prefixes,
                        U32 bucket);

/** The summary for a person, ending in a line feed. */
std::string reportText(Table const& table, std::vector<FamilyReport> const& reports);
/** The same figures as one JSON document, ending in a line feed. */
std::string reportJson(Table const& table, std::vector<FamilyReport> const& reports);

}  // namespace LpmTools
