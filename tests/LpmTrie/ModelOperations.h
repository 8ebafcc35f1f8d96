#pragma once

#include <tests/LpmTrie/ModelWorld.h>

#include <random>

namespace TrieModel {

enum class Kind {
    insert,
    askRefusal,
    lookUp,
    remove,
    removeNode,
    cut,
    dissolve,
    merge,
    split,
    mergeToNode,
    redistribute,
    parentMerge,
    pending,
    complete,
};
constexpr std::size_t kinds = 14;

/** Which id object an operation brings along. */
enum class WhichId { fresh, sameAsPartition, null };

/** One operation as a value, so that it can be played again in another world. */
struct Operation {
    Kind kind = Kind::lookUp;
    Prefix prefix;
    /** The start node of an insertion, the target of a merge, the source of a search. */
    MaybePrefix other;
    bool route = false;
    bool partition = false;
    bool collect = false;
    /** dissolve: the route goes too; merge: `createNewPartition`; searches: the flag they take. */
    bool flag = false;
    /** dissolve: removal stays pending. */
    bool later = false;
    WhichId id = WhichId::fresh;
    /** The bound of a search, or the pending state. */
    U32 number = 0;
};

/**
 * Does the operation, if it is legal in the world as it stands and leaves a trie that verifies. A
 * search acts upon what it finds, if that is legal. False: nothing has been done.
 */
bool play(World& world, Operation const& operation);

/** Chooses operations at random. */
class Chooser {
public:
    explicit Chooser(std::uint64_t seed) : random_(seed) {}

    /**
     * From now on about `routes` routes are alive; and in half of all phases no short prefix is
     * chosen anew, so that once the trie has been empty its root is a branching point.
     */
    void beginPhase(std::size_t routes);
    /** Often legal, but not always. */
    Operation choose(World const& world);

private:
    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(random_() % bound); }
    bool oneIn(std::size_t bound) { return below(bound) == 0; }
    Kind chooseKind(World const& world);
    Prefix anyPrefix(World const& world);
    Prefix nearOrFarPrefix(World const& world);
    Prefix farPrefix(unsigned maxLen);
    Prefix nearPrefix(Prefix prefix, unsigned maxLen);
    template <class Predicate>
    MaybePrefix anyNode(World const& world, Predicate const& suits);
    Prefix workplace(World const& world, Kind kind);
    MaybePrefix otherPlace(World const& world, Operation const& operation);

    std::mt19937_64 random_;
    std::size_t routes_ = 64;
    std::size_t shortest_ = 0;
};

/** Takes everything out, the world comparing as ever. */
void removeEverything(World& world);

}  // namespace TrieModel
