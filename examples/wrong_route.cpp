/*
 * One wrong answer of a chip, and whose fault it is. The reference client programs a chip that
 * loses one write and says that it has done it; then the question goes down from the trie to the
 * chip. docs/debugging.md goes through it step by step.
 */

#include <client/PartitionManager.h>
#include <client/SimulatedChip.h>

#include <iostream>

using namespace LpmClient;
using Nimbal::IpGenPrefix;

/** Loses the first write of one route, as a driver with a fault would. */
class LosingChip : public SimulatedChip {
public:
    using SimulatedChip::SimulatedChip;

protected:
    WriteStatus apply(Write const& write) override {
        bool const loses = write.kind == WriteKind::writeRoute &&
                           write.route.prefix == IpGenPrefix::fromString("10.1.2.0/24");
        return loses && ++lost_ == 1 ? WriteStatus::done : SimulatedChip::apply(write);
    }

private:
    U32 lost_ = 0;
};

static void tellTrie(PartitionManager& manager, IpGenPrefix const& address) {
    auto* const match = LpmTrie::longestMatch(manager.trie(), address);
    std::cout << "trie: " << match << '\n'
              << "      in the partition of " << partitionRootOf(match) << '\n';
}

static void tellChip(SimulatedChip const& chip, IpGenPrefix const& address) {
    ChipAnswer const answer = chip.lookup(0, address);
    std::cout << "chip: " << *answer.route << ", by " << *answer.binding << " in bucket "
              << answer.bucket << (answer.fromCover ? ", its covering route\n" : "\n");
}

int main() {
    LosingChip chip({.buckets = 16, .bucketRoutes = 4, .bindings = 16});
    PartitionManager manager(chip, Torvel::Bitmap::BitmapIs(16), {});
    NextHop nextHop = 0;
    for (auto const* text : {"0.0.0.0/0", "10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24", "10.1.3.0/24",
                             "192.168.0.0/16"}) {
        manager.announce({IpGenPrefix::fromString(text), ++nextHop});
    }

    auto const address = IpGenPrefix::fromString("10.1.2.3/32");
    tellTrie(manager, address);
    tellChip(chip, address);
    manager.trie().verify();  // would stop the process
    for (Difference const& difference : manager.audit()) {
        std::cout << "audit: " << difference << '\n';
    }
    std::cout << "left after repair: " << manager.repair().size() << '\n';
    tellChip(chip, address);
}
