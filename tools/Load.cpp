#include <tools/Load.h>
#include <tools/Progress.h>

#include <chrono>
#include <sstream>

namespace LpmTools {

namespace {

/** Seconds that `work` takes. */
template <class Work>
double timed(Work const& work) {
    auto const start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

U64 liveBytes() {
    U64 bytes = 0;
    for (Vexo::TypeAllocationCounts const& type : Vexo::allocationCounts()) {
        bytes += type.counts.liveBytes();
    }
    return bytes;
}

}  // namespace

FamilyReport loadFamily(Nimbal::AddressFamily af, std::vector<Nimbal::IpGenPrefix> const& prefixes,
                        U32 bucket) {
    FamilyReport report;
    report.af = af;
    report.bucket = bucket;
    std::ostringstream name;
    name << af;
    auto const forEachPrefix = [&](char const* work, auto const& action) {
        return timed([&] {
            Progress progress(name.str() + ": " + work, prefixes.size());
            for (Nimbal::IpGenPrefix const& prefix : prefixes) {
                action(prefix);
                progress.step();
            }
        });
    };
    U64 const objectsBefore = Vexo::liveAllocations();
    U64 const bytesBefore = liveBytes();
    {
        PartitionedTable table(af, bucket);
        report.insertSeconds = forEachPrefix("insert", [&](auto& prefix) { table.insert(prefix); });
        report.movedRoutes = table.movedRoutes();
        report.figures = table.figures();
        report.bytesPerRoute = prefixes.empty() ? 0
                                                : static_cast<double>(liveBytes() - bytesBefore) /
                                                      static_cast<double>(prefixes.size());
        report.verifySeconds = timed([&] { table.trie().verify(); });
        report.lookUpSeconds = forEachPrefix("look up", [&](auto& prefix) {
            report.notFound += table.find(prefix) ? U64{0} : U64{1};
        });
        report.removeSeconds = forEachPrefix("remove", [&](auto& prefix) { table.remove(prefix); });
        if (!table.removePartitions()) {
            report.leftObjects = Vexo::liveAllocations() - objectsBefore;
        }
    }
    report.leftObjects += Vexo::liveAllocations() - objectsBefore;
    return report;
}

}  // namespace LpmTools
