#include <tests/client/UndisturbedRun.h>

#include <algorithm>
#include <iostream>

namespace ClientTest {

namespace {

U64 recutsOf(PartitionManager const& manager) {
    auto const& counts = manager.counts();
    return counts.splits + counts.merges + counts.shifts;
}

}  // namespace

UndisturbedRun::UndisturbedRun(U32 routes) {
    std::cout << "LPMTRIE_CLIENT_SEED=" << seed_ << '\n';
    Random random(seed_);
    ClientWorld world(space_, policy_, size_);
    world.watch(false);
    for (Update const& update : history(space_, Order::random, routes, random)) {
        U64 const recuts = recutsOf(world.manager());
        bool const wasEmpty = world.table.empty();
        world.watched.countAnew();
        world.update(update);
        bool const sameCut =
            recuts == recutsOf(world.manager()) && !wasEmpty && !world.table.empty();
        steps_.push_back({update, world.watched.writes(), world.state(), sameCut});
    }
}

U64 UndisturbedRun::mostWrites() const {
    return std::max_element(steps_.begin(), steps_.end(),
                            [](Step const& a, Step const& b) { return a.writes < b.writes; })
        ->writes;
}

}  // namespace ClientTest
