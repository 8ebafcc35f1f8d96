#pragma once

#include <client/PartitionManager.h>
#include <benchmarks/NoChip.h>
#include <benchmarks/Table.h>

namespace LpmBenchmarks {

/** The reference client over a chip that does nothing, with buckets of 512 routes. */
class ClientWork {
public:
    explicit ClientWork(Nimbal::AddressFamily af);

    /** Each throws std::runtime_error if one is not carried out. */
    void announce(std::span<Nimbal::IpGenPrefix const> prefixes);
    void replay(std::span<Update const> updates);
    void withdraw(std::span<Nimbal::IpGenPrefix const> prefixes);

private:
    NoChip chip_;
    LpmClient::PartitionManager manager_;
};

}  // namespace LpmBenchmarks
