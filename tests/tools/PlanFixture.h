#pragma once

#include <tools/PlanReport.h>

#include <algorithm>
#include <cmath>

/*
 * A report as a run could give it, of both families and with updates; all made up.
 */

namespace ToolsTest {

using LpmTools::FamilyPlan;
using LpmTools::InputReport;
using LpmTools::PlanReport;
using LpmTools::PlanSample;
using LpmTools::U64;

/** Counts in the shape of a bell, wider to the left, the highest at `peak`. */
inline U64 bell(std::size_t at, std::size_t peak, double width, double height) {
    double const from = static_cast<double>(at) - static_cast<double>(peak);
    double const part = from / (from < 0 ? width : width / 3);
    return static_cast<U64>(height * std::exp(-part * part));
}

/** So many samples of a table that grows for half of the time and is then kept at its size. */
inline std::vector<PlanSample> madeUpSamples(std::size_t count, U64 routes, U64 bound) {
    std::vector<PlanSample> samples;
    for (std::size_t number = 1; number <= count; ++number) {
        double const time = static_cast<double>(number) / static_cast<double>(count);
        double const wave = 1.05 + 0.02 * std::sin(time * 40);
        PlanSample sample;
        sample.update = static_cast<U64>(2 * time * static_cast<double>(routes));
        sample.routes = std::min(sample.update, routes);
        sample.optimum = std::max<U64>(sample.routes * 10 / (bound * 8), 1);
        sample.buckets = static_cast<U64>(static_cast<double>(*sample.optimum) * wave) + 1;
        sample.fill =
            static_cast<double>(sample.routes) / static_cast<double>(sample.buckets * bound);
        sample.moves = sample.routes * 93 / 100 + (sample.update - sample.routes) / 19;
        sample.writes = sample.update + sample.moves * 2 + sample.buckets * 3;
        samples.push_back(sample);
    }
    return samples;
}

inline FamilyPlan madeUpFamily(Nimbal::AddressFamily af, U64 routes, std::size_t samples) {
    bool const isV6 = af == Nimbal::AddressFamily::ipv6;
    FamilyPlan plan;
    plan.af = af;
    plan.samples = madeUpSamples(samples, routes, 512);
    plan.routes = routes;
    plan.buckets = plan.samples.empty() ? 0 : plan.samples.back().buckets;
    plan.optimum = plan.samples.empty() ? 0 : plan.samples.back().optimum;
    plan.fill = plan.samples.empty() ? 0 : plan.samples.back().fill;
    for (std::size_t bin = 0; bin < plan.fillHistogram.size(); ++bin) {
        plan.fillHistogram[bin] = bell(bin, 17, 7, static_cast<double>(plan.buckets) / 6);
    }
    std::size_t const last = isV6 ? 64 : 32;
    for (std::size_t length = 8; length <= last; ++length) {
        plan.lengths[length] =
            bell(length, isV6 ? 48 : 24, 2.5, static_cast<double>(routes) * 0.55);
    }
    plan.lengths[isV6 ? 32 : 16] += routes / 11;
    for (std::size_t depth = 0; depth < 41; ++depth) {
        plan.depths.push_back(bell(depth, 25, 9, static_cast<double>(routes) / 9));
    }
    plan.counts = {routes, 1'207, routes / 2 + 3, 5, 4'321, 2'109, 8'765, routes * 97 / 100};
    plan.writes.done = {5'432, routes * 21 / 10, routes * 6 / 5, 7'654, 6'789, 3'456, 2'345};
    plan.writes.refused = {11, 22, 33, 44, 55, 66, 77};
    plan.answers = {{}, 205'017, 0, {}};
    plan.seconds = static_cast<double>(routes) * 2.7e-6;
    return plan;
}

inline PlanReport madeUpReport(std::size_t samples = 300) {
    PlanReport report;
    InputReport table{"rib.2014.mrt.bz2", "MRT", 1'048'577, 901'899, 0, 12, {}, {}};
    table.skipped = {{"BGP4MP state change", 1'713}, {"type 99, subtype 3", 4}};
    InputReport updates{"updates.2014.mrt.gz", "MRT", 70'305, 51'202, 19'108, 0, {}, {}};
    updates.error = "a record of 4,294,967,295 bytes at offset 6,291,456 is too long";
    report.inputs = {table, updates, {"more routes.txt", "text", 404, 403, 0, 1, {}, {}}};
    report.policy = "window";
    report.start = "one by one";
    report.bucketRoutes = 512;
    report.bucketLimit = 8'192;
    report.bucketsUsed = 2'900;
    report.seed = 20'260'118;
    report.isGenerated = true;
    report.families = {madeUpFamily(Nimbal::AddressFamily::ipv4, 901'899, samples),
                       madeUpFamily(Nimbal::AddressFamily::ipv6, 160'147, samples)};
    return report;
}

}  // namespace ToolsTest
