/*
 * A project that starts from the reference client: routes into a simulated chip of small buckets,
 * then each looked up there.
 */

#include <client/PartitionManager.h>
#include <client/SimulatedChip.h>

#include <cstdio>

int main() {
    using namespace LpmClient;
    constexpr U32 buckets = 100;
    constexpr U32 routes = 300;
    SimulatedChip chip({.buckets = buckets, .bucketRoutes = 8, .bindings = 100});
    PartitionManager manager(chip, Torvel::Bitmap::BitmapIs(buckets), {});

    auto const address = [](U32 number, char const* length) {
        auto const text = "10." + std::to_string(number % 200) + "." + std::to_string(number / 200);
        return Nimbal::IpGenPrefix::fromString(text + ".0" + length);
    };
    for (U32 number = 0; number < routes; ++number) {
        if (manager.announce({address(number, "/24"), number}) != Outcome::done) {
            std::printf("route %u is not done\n", number);
        }
    }
    U32 found = 0;
    for (U32 number = 0; number < routes; ++number) {
        auto const answer = chip.lookup(0, address(number, "/32"));
        found += answer.route && answer.route->nextHop == number ? 1 : 0;
    }
    std::printf("%u routes, %s, %zu differences\n", found,
                manager.buckets() > 1 ? "over several buckets" : "in one bucket",
                manager.audit().size());
}
