#pragma once

#include <Nimbal/AddressFamily.h>
#include <Vexo/Types.h>

#include <string>

/* How reports write what they tell. */

namespace LpmTools {

/** "ipv4" or "ipv6". */
std::string familyCode(Nimbal::AddressFamily af);
/** 1234567 as "1,234,567". */
std::string grouped(Vexo::U64 number);
std::string decimal(double number, int places);
/** The quotient, 0 where there is nothing to divide by. */
double ratio(Vexo::U64 number, Vexo::U64 of) noexcept;
/** One line of a family's figures: label, number, and what there is to say about it. */
void addLine(std::string& text, char const* label, std::string const& number,
             std::string const& rest);

}  // namespace LpmTools
