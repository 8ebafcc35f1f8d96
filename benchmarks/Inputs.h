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
    std::vector<Update> updates;       // to be replayed on the full table
};

/** From routes of one family. The same seed gives the same input. */
Input inputOf(Nimbal::AddressFamily af, std::vector<IpGenPrefix> routes, U64 seed);

}  // namespace LpmBenchmarks
