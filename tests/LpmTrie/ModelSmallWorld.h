#pragma once

#include <tests/LpmTrie/ModelWorld.h>

#include <string>
#include <vector>

/* Steps in a world of so few addresses that all that can happen there can be tried. */

namespace TrieModel {

constexpr unsigned addressBits = 3;

std::vector<Prefix> allPrefixes();
/** 1 for the empty prefix, then as the nodes of a heap are numbered: 2 and 3, 4 to 7, 8 to 15. */
unsigned numberOf(Prefix const& prefix);

enum class Act { insert, remove, dissolve, dissolveLater, complete };

struct Step {
    Act act = Act::insert;
    Prefix prefix;
    bool route = false;
    bool partition = false;
    /** Inserted from the partition node that the prefix is in, not from the root. */
    bool fromPartition = false;
};

/** The partition at a prefix has an id of its own; a route takes that of the partition it is in. */
void play(World& world, Step const& step);

std::string text(World const& world, std::vector<Step> const& steps);

}  // namespace TrieModel
