#pragma once

#include <client/SimulatedChip.h>
#include <tools/NaiveTable.h>
#include <tools/PlanReport.h>
#include <tools/Xoshiro.h>

namespace LpmTools {

/** The last address of a prefix, or its first one, as a prefix of its family's full length. */
Nimbal::IpGenPrefix lastAddress(Nimbal::IpGenPrefix const& prefix);
Nimbal::IpGenPrefix firstAddress(Nimbal::IpGenPrefix const& prefix);
/** Without the length: "10.0.0.1". */
std::string addressText(Nimbal::IpGenPrefix const& address);

/**
 * Compares the chip's answers for a family with those of `right`, for the first and the last
 * address of every prefix there and for `random` addresses, half of them anywhere and half within a
 * prefix drawn at random. Adds to `check`.
 */
void checkAnswers(LpmClient::SimulatedChip const& chip, Nimbal::AddressFamily af,
                  NaiveTable const& right, U64 random, Xoshiro& numbers, AnswerCheck& check);

}  // namespace LpmTools
