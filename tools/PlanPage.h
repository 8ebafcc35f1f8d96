#pragma once

#include <tools/PlanReport.h>

/*
 * The parts of a plan's page.
 */

namespace LpmTools {

/** "IPv4", "IPv6", or what the family's code is called. */
std::string familyName(Nimbal::AddressFamily af);
/** A number for each of so many things; 0 of none. */
double perEach(U64 number, U64 things) noexcept;
/** 0.7704 as "77.0 %". */
std::string percentText(double part);

/** All rules of the page and of its charts. */
std::string planStyle();
/** One family: its tiles, charts and counts. */
std::string planFamily(PlanReport const& report, FamilyPlan const& plan);
/** The family's charts alone. */
std::string planCharts(FamilyPlan const& plan);

/** At most so many rows of the samples' table. */
constexpr std::size_t planSampleRows = 101;

}  // namespace LpmTools
