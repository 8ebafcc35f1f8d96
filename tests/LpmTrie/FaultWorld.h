#pragma once

#include <tests/LpmTrie/TrieFixture.h>

#include <functional>
#include <map>
#include <optional>
#include <tuple>

/* Worlds in which an operation is made to fail, and what must be as it was before. */

namespace TrieTests {

using LpmTrie::TrieNodesInfo;

/** Thrown by the hooks of `ClientTrie` in the call of that number, 1 the first. */
struct Refusal {
    U64 call;
};

/** A client's trie whose hooks throw in the calls they are told to. */
class ClientTrie : public LpmTrie::Trie {
public:
    struct Report {
        Node* node;
        PartitionId const* oldId;
        U32 oldHwTable;
        PartitionId const* newId;
        U32 newHwTable;
    };

    ClientTrie() : Trie(1) { reports.reserve(64); }
    Node* allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                       bool partitionNode, PartitionId::Ptr const& partitionId,
                       U32 hwTable) override;
    void deallocateNode(Node* node) override;
    void movedNode(Node* node, PartitionId::Ptr const& oldPartitionId, U32 oldHwTable) override;

    U64 allocateCalls = 0;
    /** The call of `allocateNode` that throws; 0: none. */
    U64 failingAllocate = 0;
    U64 nodesAlive = 0;

    /** What `movedNode` was told, and what the node carried then. Never grows beyond its room. */
    std::vector<Report> reports;
    /** The calls of `movedNode` that throw. */
    std::function<bool(U64)> failingReport;
    /** Runs in each hook, before anything else; may be empty. */
    std::function<void()> inMovedNode;
    std::function<void()> inAllocateNode;
    std::function<void()> inDeallocateNode;
};

class FaultWorld;

/** Something to do in a world, and what it needs. */
struct FaultOperation {
    String name;
    /** All but the trie's own operation: allocations made here do not fail. */
    std::function<void(FaultWorld&)> prepare = [](FaultWorld&) {};
    /** The operation, which alone allocates. */
    std::function<void(FaultWorld&)> run;
    /** Calls of `allocateNode`. */
    U64 nodes = 0;
    /** Calls of `movedNode`. */
    U64 reports = 0;
    /** Allocations, where they are told. */
    std::optional<U64> allocations = std::nullopt;
    bool filled = true;
    /** Whether the world verifies after `prepare`. */
    bool verifiesBefore = true;
};

/**
 * A trie with a partition, one nested in it, and routes in both:
 *
 *     10.0.0.0/8        partition, `outer`
 *       10.0.0.0/14     internal
 *         10.1.0.0/16   route, `outer`
 *           10.1.0.0/22 internal
 *             10.1.1.0/24, 10.1.2.0/24    routes, `outer`
 *         10.2.0.0/16   route and partition, `inner`
 *           10.2.0.0/22 internal
 *             10.2.1.0/24, 10.2.2.0/24    routes, `inner`
 *       10.200.0.0/20   internal
 *         10.200.0.0/24 to 10.200.11.0/24 routes, `outer`
 */
class FaultWorld {
public:
    explicit FaultWorld(FaultOperation const& operation);
    ~FaultWorld();
    FaultWorld(FaultWorld const&) = delete;
    FaultWorld& operator=(FaultWorld const&) = delete;

    ClientTrie& trie() const { return *trie_; }
    /** The node of that very prefix, or null. Allocates nothing. */
    Node* at(IpGenPrefix const& prefix) const;
    Node* at(std::string_view text) const { return at(prefix(text)); }

    /** Everything that can change, addresses and reference counts included. */
    struct State {
        std::vector<NodeState> nodes;
        std::vector<U32> references;
        std::vector<std::tuple<void const*, void const*, void const*, bool>> records;
        U32 bits;
        U64 nodesAlive;
        std::map<String, U64> liveObjects;
        std::size_t reports;
    };
    State state() const;
    /** The trie, the reports and the records by their texts: equal in equal worlds. */
    std::vector<String> picture() const;

    static constexpr U32 hwTable = 1;
    Torvel::Bitmap::Ptr const bitmap = Torvel::Bitmap::BitmapIs();
    PartitionId::Ptr const outer = partitionId(1);
    PartitionId::Ptr const inner = partitionId(2);
    PartitionId::Ptr const fresh = partitionId(3);
    TrieNodesInfo::Ptr moved;

private:
    PartitionId::Ptr partitionId(U32 number) const {
        return PartitionId::PartitionIdIs(PartitionIdValue(number), 0xff, bitmap);
    }
    void fill() const;

    Vexo::Ptr<ClientTrie> const trie_{new ClientTrie};
};

/** Fails the test where the two differ. */
void expectEqual(FaultWorld::State const& state, FaultWorld::State const& before);

/** Insertions at every placement, in every role, from the root and from partition nodes. */
std::vector<FaultOperation> faultyInsertions();
/** The other operations, those that report moves with and without a collection. */
std::vector<FaultOperation> otherFaultyOperations();

inline std::vector<FaultOperation> faultyOperations() {
    std::vector<FaultOperation> all = faultyInsertions();
    for (FaultOperation& operation : otherFaultyOperations()) {
        all.push_back(std::move(operation));
    }
    return all;
}

/** The names of the cases of a suite that runs over operations. */
inline String operationName(testing::TestParamInfo<FaultOperation> const& info) {
    return info.param.name;
}
inline std::ostream& operator<<(std::ostream& stream, FaultOperation const& operation) {
    return stream << operation.name;
}

}  // namespace TrieTests
