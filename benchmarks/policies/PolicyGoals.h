#pragma once

#include "PolicyReport.h"

namespace PolicyFigures {

/** "IPv4" or "IPv6". */
std::string familyName(Nimbal::AddressFamily af);
/** Whether a policy comes with the client, and is no setting of one. */
bool isNamed(std::string const& policy);
/** Buckets to the fewest at moves. */
std::string figures(Row const& row, int moreDigits = 0);
/** Rows of one work, family and bucket. */
std::vector<Row> rowsOf(std::vector<Row> const& all, std::string const& work,
                        Nimbal::AddressFamily af, U32 bucketRoutes);

/** What is aimed at, what is reached, and what can be had where it is not. `rows`: the worst. */
void writeGoals(std::ostream& out, std::vector<Row> const& rows);

}  // namespace PolicyFigures
