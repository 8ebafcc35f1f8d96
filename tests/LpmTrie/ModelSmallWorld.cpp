#include <tests/LpmTrie/ModelSmallWorld.h>

#include <array>

namespace TrieModel {

std::vector<Prefix> allPrefixes() {
    std::vector<Prefix> prefixes{{}};
    for (std::size_t i = 0; i < prefixes.size(); ++i) {
        if (prefixes[i].len < addressBits) {
            prefixes.push_back(extended(prefixes[i], 0));
            prefixes.push_back(extended(prefixes[i], 1));
        }
    }
    return prefixes;
}

unsigned numberOf(Prefix const& prefix) {
    return 1U << prefix.len |
           (prefix.len == 0 ? 0U : static_cast<unsigned>(prefix.bits[0] >> (64 - prefix.len)));
}

void play(World& world, Step const& step) {
    Node const* const home = world.model().partitionOf(step.prefix);
    switch (step.act) {
    case Act::insert: {
        Label const own = numberOf(step.prefix);
        Label const label = step.partition ? own : home != nullptr ? home->label : 0;
        world.insert(step.prefix, step.fromPartition ? home->prefix : MaybePrefix{}, step.route,
                     step.partition, label);
        break;
    }
    case Act::remove:
        world.remove(step.prefix);
        break;
    case Act::dissolve:
    case Act::dissolveLater:
        world.dissolve(step.prefix, false, step.act == Act::dissolveLater,
                       numberOf(step.prefix) % 2 == 0);
        break;
    case Act::complete:
        world.complete(step.prefix);
    }
}

std::string text(World const& world, std::vector<Step> const& steps) {
    std::string lines;
    for (Step const& step : steps) {
        static constexpr std::array<char const*, 5> acts{"insert", "remove", "dissolve",
                                                         "dissolveLater", "complete"};
        lines += std::string("\n  ") + acts[static_cast<std::size_t>(step.act)] + " " +
                 world.text(step.prefix) + (step.route ? ", route" : "") +
                 (step.partition ? ", partition" : "") +
                 (step.fromPartition ? ", from its partition" : "");
    }
    return lines;
}

}  // namespace TrieModel
