#include <tests/LpmTrie/FaultWorld.h>

#include <algorithm>

namespace TrieTests {

namespace {

struct Role {
    char const* name;
    bool fibRoute;
    bool partitionNode;
};
constexpr Role asRoute{"Route", true, false};
constexpr Role asPartition{"Partition", false, true};
constexpr Role asBoth{"Both", true, true};

struct Placement {
    char const* name;
    char const* prefix;
    /** New nodes. */
    U64 nodes;
    /** Routes that a partition there takes over. */
    U64 moves;
    /** Routes there belong to no partition. */
    bool outside = false;
};

constexpr Placement inEmptyTrie{"EmptyTrie", "10.0.0.0/8", 1, 0, true};
constexpr Placement atTheTop[]{
    {"BranchAtTheRoot", "11.0.0.0/8", 2, 0, true},
    {"ParentOfTheRoot", "0.0.0.0/0", 1, 0, true},
};
constexpr Placement inOuter[]{
    {"FreeSlot", "10.1.1.128/25", 1, 0},
    {"Branch", "10.1.9.0/24", 2, 0},
    {"BranchBesideAPartition", "10.3.0.0/16", 2, 0},
    {"InternalNode", "10.1.0.0/22", 0, 2},
    {"InternalNodeAboveAPartition", "10.0.0.0/14", 0, 3},
    {"Parent", "10.1.0.0/18", 1, 2},
    {"ParentOfMany", "10.200.0.0/16", 1, 12},
    {"ParentOfAPartition", "10.2.0.0/15", 1, 0},
};
constexpr Placement inInner[]{
    {"FreeSlot", "10.2.1.128/25", 1, 0},
    {"Branch", "10.2.9.0/24", 2, 0},
    {"InternalNode", "10.2.0.0/22", 0, 2},
    {"Parent", "10.2.0.0/18", 1, 2},
};

/** The partition from which an insertion starts; none: from the root. */
struct Start {
    char const* name;
    char const* prefix;
    bool inner;
};
constexpr Start root{"FromRoot", nullptr, false};
constexpr Start outerNode{"FromOuter", "10.0.0.0/8", false};
constexpr Start innerNode{"FromInner", "10.2.0.0/16", true};

FaultOperation insertion(Placement const& at, Role const& role, Start const& from) {
    FaultOperation operation;
    operation.name = String("insert") + at.name + role.name + from.name;
    operation.nodes = at.nodes;
    // Each node brings the holder of its prefix.
    operation.allocations = 2 * at.nodes;
    operation.reports = role.partitionNode ? at.moves : 0;
    // A route that starts from a partition node must carry that partition's id.
    bool const ofStart = role.fibRoute && (from.prefix != nullptr || !role.partitionNode);
    operation.run = [at, role, from, ofStart, newPrefix = prefix(at.prefix),
                     start = from.prefix ? prefix(from.prefix) : IpGenPrefix()](FaultWorld& world) {
        PartitionId::Ptr const none;
        bool const unlabelled = at.outside && !role.partitionNode;
        world.trie().insert(newPrefix, from.prefix ? world.at(start) : nullptr, role.fibRoute,
                            role.partitionNode,
                            unlabelled ? none
                            : ofStart  ? (from.inner ? world.inner : world.outer)
                                       : world.fresh,
                            FaultWorld::hwTable);
    };
    return operation;
}

/** The collection that an operation reports to. */
struct Sink {
    char const* name;
    void (*make)(FaultWorld&);
};

/** Some of the very records that will be made, none of them set, and others until it is full. */
void makeFilledCollection(FaultWorld& world) {
    world.moved = LpmTrie::trieNodesInfoFactory();
    for (char const* const text :
         {"10.1.1.0/24", "10.2.1.0/24", "10.200.3.0/24", "10.0.0.0/8", "10.200.7.0/24"}) {
        for (auto const& [oldId, newId] :
             {std::pair{world.outer, world.fresh}, std::pair{world.inner, world.outer},
              std::pair{world.inner, world.fresh}}) {
            world.moved->nodeInfoIs({world.at(text)->prefixRef(), oldId, newId}, false);
        }
    }
    while (world.moved->nodeInfo().size() < world.moved->nodeInfo().capacity()) {
        IpGenPrefix const other(Nimbal::IpAddr(static_cast<U32>(world.moved->nodeInfo().size())),
                                32);
        world.moved->nodeInfoIs(
            {Nimbal::IpGenPrefixRef::IpGenPrefixRefIs(other), world.inner, nullptr}, true);
    }
}

constexpr Sink toHook{"ToHook", [](FaultWorld&) {}};
constexpr Sink toCollection{
    "ToCollection", [](FaultWorld& world) { world.moved = LpmTrie::trieNodesInfoFactory(); }};
constexpr Sink toFilledCollection{"ToFilledCollection", makeFilledCollection};

/** `reports` is the number of routes that move. */
FaultOperation moving(String const& name, Sink const& sink, U64 reports,
                      std::function<void(FaultWorld&)> run,
                      std::function<void(FaultWorld&)> prepare = {}) {
    FaultOperation operation;
    operation.name = name + sink.name;
    operation.prepare = [sink, prepare = std::move(prepare)](FaultWorld& world) {
        if (prepare) {
            prepare(world);
        }
        sink.make(world);
    };
    operation.run = std::move(run);
    if (String(sink.name) == toHook.name) {
        operation.reports = reports;
        operation.allocations = 0;
    }
    return operation;
}

std::vector<FaultOperation> movingOperations(Sink const& sink) {
    IpGenPrefix const eight = prefix("10.0.0.0/8");
    IpGenPrefix const fourteen = prefix("10.0.0.0/14");
    IpGenPrefix const one = prefix("10.1.0.0/16");
    IpGenPrefix const oneOne = prefix("10.1.1.0/24");
    IpGenPrefix const two = prefix("10.2.0.0/16");
    IpGenPrefix const many = prefix("10.200.0.0/20");
    std::vector<FaultOperation> operations{
        moving(
            "updatePartitionId", sink, 15,
            [=](FaultWorld& world) {
                world.trie().updatePartitionId(world.at(eight), world.moved);
            },
            [=](FaultWorld& world) { world.at(eight)->partitionIdIs(world.fresh); }),
        moving(
            "updateNewPartition", sink, 12,
            [=](FaultWorld& world) {
                world.trie().updateNewPartition(world.at(many), world.moved, false);
            },
            [=](FaultWorld& world) {
                world.at(many)->partitionNodeIs(true);
                world.at(many)->partitionIdIs(world.fresh);
            }),
    };
    operations[0].verifiesBefore = false;
    operations[1].verifiesBefore = false;
    auto const merge = [=](IpGenPrefix const& from, IpGenPrefix const& to, bool create) {
        return [=](FaultWorld& world) {
            world.trie().mergePartition(world.at(from), world.at(to),
                                        create ? world.fresh : world.outer, create, world.moved);
        };
    };
    operations.push_back(moving("mergeIntoPartition", sink, 3, merge(two, eight, false)));
    operations.push_back(moving("mergeIntoNewPartition", sink, 6, merge(two, fourteen, true)));
    operations.push_back(moving(
        "mergeIntoNewPartitionAtARoute", sink, 3, merge(oneOne, one, true), [=](FaultWorld& world) {
            world.trie().insertFromRoot(oneOne, false, true, world.inner, FaultWorld::hwTable);
            world.at(oneOne)->pendingStateIs(PendingState());
        }));
    operations.push_back(moving("addMovedNode", sink, 1, [=](FaultWorld& world) {
        world.trie().addMovedNode(world.at(one), world.inner, world.moved);
    }));
    return operations;
}

FaultOperation removal(String const& name, char const* text, bool ofPartition = false) {
    FaultOperation operation;
    operation.name = name;
    operation.allocations = 0;
    operation.run = [wanted = prefix(text), ofPartition](FaultWorld& world) {
        if (ofPartition) {
            world.trie().removeNode(world.at(wanted), false);
        } else {
            world.trie().remove(wanted);
        }
    };
    return operation;
}

}  // namespace

std::vector<FaultOperation> faultyInsertions() {
    std::vector<FaultOperation> operations;
    for (Role const& role : {asRoute, asPartition, asBoth}) {
        operations.push_back(insertion(inEmptyTrie, role, root));
        operations.back().filled = false;
        for (Placement const& placement : atTheTop) {
            operations.push_back(insertion(placement, role, root));
        }
        for (Placement const& placement : inOuter) {
            operations.push_back(insertion(placement, role, root));
            operations.push_back(insertion(placement, role, outerNode));
        }
        for (Placement const& placement : inInner) {
            operations.push_back(insertion(placement, role, innerNode));
        }
    }
    for (Start const& start : {root, outerNode}) {
        operations.push_back(insertion({"ExistingRoute", "10.1.0.0/16", 0, 2}, asPartition, start));
        operations.push_back(insertion({"ExistingPartition", "10.0.0.0/8", 0, 0}, asRoute, start));
    }
    return operations;
}

std::vector<FaultOperation> otherFaultyOperations() {
    std::vector<FaultOperation> operations;
    for (Sink const& sink : {toHook, toCollection, toFilledCollection}) {
        for (FaultOperation& operation : movingOperations(sink)) {
            operations.push_back(std::move(operation));
        }
    }
    operations.push_back(removal("removeLeaf", "10.1.1.0/24"));
    operations.push_back(removal("removeRouteWithOneChild", "10.1.0.0/16"));
    operations.push_back(removal("removeRouteOfAPartitionNode", "10.2.0.0/16"));
    operations.push_back(removal("removeWhatIsNotThere", "10.1.1.0/28"));
    operations.push_back(removal("removeNode", "10.200.3.0/24", true));
    return operations;
}

}  // namespace TrieTests
