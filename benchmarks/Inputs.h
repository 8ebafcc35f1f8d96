#pragma once

#include <benchmarks/Table.h>

#include <string>
#include <vector>

namespace LpmBenchmarks {

/** What all tables of one measurement are given. */
struct Input {
    Nimbal::AddressFamily af;
    std::vector<IpGenPrefix> routes;   // in random order
    std::vector<IpGenPrefix> ordered;  // the same in address order
    std::vector<IpGenPrefix> leaving;  // the same in another random order
    std::vector<IpGenPrefix> queries;  // random addresses, each inside a route
    std::vector<Update> updates;       // generated, to be replayed on the full table
    std::vector<Update> stream;        // recorded, the same; empty without
    std::size_t newRoutes = 0;         // that the recorded updates bring for a while
};

/** From routes of one family. The same seed gives the same input. */
Input inputOf(Nimbal::AddressFamily af, std::vector<IpGenPrefix> routes, U64 seed);

/**
 * Adds recorded updates, text or MRT: each that announces a route or takes its last path away. What
 * they change in the table is put back at their end. Throws LpmTools::InputError.
 */
void addStream(Input& input, std::vector<std::string> const& paths);

}  // namespace LpmBenchmarks
