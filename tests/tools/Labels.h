#pragma once

#include <LpmTrie/LpmTrie.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace ToolsTest {

using LpmTrie::PartitionId;

/** The partition id of each route. */
using Labels = std::map<Nimbal::IpGenPrefix, PartitionId::Ptr>;

inline Labels labelsOf(LpmTrie::Trie const& trie) {
    Labels labels;
    for (LpmTrie::Node const* const node : LpmTrie::allRoutes(trie)) {
        labels[node->prefixRef()->prefix()] = node->partitionId();
    }
    return labels;
}

/** Moves as "10.0.0.0/8: 0 -> 1"; the same route may move from and to an id of the same number. */
using Moves = std::multiset<std::string>;

inline std::string moveText(Nimbal::IpGenPrefix const& prefix, PartitionId::Ptr const& from,
                            PartitionId::Ptr const& to) {
    auto const number = [](PartitionId::Ptr const& id) {
        return id ? std::to_string(id->id().value()) : "none";
    };
    return prefix.stringValue() + ": " + number(from) + " -> " + number(to);
}

/** The routes whose label is another object after than before. Both have the same routes. */
inline Moves changes(Labels const& before, Labels const& after) {
    Moves moves;
    for (auto const& [prefix, id] : after) {
        PartitionId::Ptr const& old = before.at(prefix);
        if (old != id) {
            moves.insert(moveText(prefix, old, id));
        }
    }
    return moves;
}

/** Reports of routes that went from one id to another, and of those that stayed where they were. */
struct Reports {
    Moves moved;
    Moves stayed;
};

inline Reports reportsOf(LpmTrie::TrieNodesInfo::Map const& records) {
    Reports reports;
    for (auto const& entry : records) {
        LpmTrie::TrieNodeInfo const& move = entry.key();
        bool const stayed = move.oldPartitionId() == move.newPartitionId();
        (stayed ? reports.stayed : reports.moved)
            .insert(
                moveText(move.prefixRef()->prefix(), move.oldPartitionId(), move.newPartitionId()));
    }
    return reports;
}

}  // namespace ToolsTest
