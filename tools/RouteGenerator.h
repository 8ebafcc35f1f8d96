#pragma once

#include <Nimbal/IpGenPrefix.h>
#include <Vexo/Types.h>

#include <vector>

namespace LpmTools {

/** The most prefixes that `generateTable` makes of a family. */
Vexo::U32 maximumTableSize(Nimbal::AddressFamily af);

/**
 * A routing table with the shape of the Internet's: `count` distinct prefixes of the family (IPv4
 * for any that is not IPv6), host bits clear, in random order. They are out of 2000::/3, or out of
 * 1.0.0.0 to 223.255.255.255 without 10.0.0.0/8 and 127.0.0.0/8.
 *
 * The same seed gives the same table on every machine. Tables of one seed and several sizes are
 * unrelated. Throws std::invalid_argument, naming both numbers, for more than `maximumTableSize`.
 */
std::vector<Nimbal::IpGenPrefix> generateTable(Nimbal::AddressFamily af, Vexo::U32 count,
                                               Vexo::U64 seed);

}  // namespace LpmTools
