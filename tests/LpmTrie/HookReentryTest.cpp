#include <tests/LpmTrie/FaultWorld.h>
#include <tests/LpmTrie/Signatures.h>

/* What a hook may do with the trie that calls it. */

namespace {

using namespace TrieTests;

/** Makes two nodes, lets a partition take two routes over, and frees two nodes. */
FaultOperation const insertion{.name = "insert", .run = [](FaultWorld& world) {
                                   world.trie().insertFromRoot(prefix("10.1.9.0/24"), true, false,
                                                               world.outer, FaultWorld::hwTable);
                                   world.trie().insertFromRoot(prefix("10.1.0.0/22"), false, true,
                                                               world.fresh, FaultWorld::hwTable);
                                   world.trie().remove(prefix("10.200.3.0/24"));
                               }};

class HookReentryTest : public TestSupport::LeakCheck {};

TEST_F(HookReentryTest, aHookMayReadTheTrieThatCallsIt) {
    FaultWorld world(insertion);
    U64 reads = 0;
    auto const read = [&] {
        ++reads;
        ClientTrie& trie = world.trie();
        trie.findPartitionNode(prefix("10.1.1.0/24"), true);
        trie.getClosestFibRouteNode(trie.root());
        trie.preorderNextNode(nullptr, nullptr, 0, false, false);
        trie.setTrieRc(trie.root(), trie.root());
    };
    world.trie().inMovedNode = read;
    world.trie().inAllocateNode = read;
    world.trie().inDeallocateNode = read;
    insertion.run(world);
    EXPECT_EQ(reads, 2U + 2U + 2U);
    world.trie().verify();
}

TEST_F(HookReentryTest, aHookMayChangeAnotherTrie) {
    FaultWorld world(insertion);
    FaultWorld other(insertion);
    U32 changes = 0;
    auto const change = [&] {
        ++changes;
        IpGenPrefix const another(Nimbal::IpAddr(0xcb007100 + changes), 32);
        other.trie().insertFromRoot(another, true, false, {}, 0);
    };
    world.trie().inMovedNode = change;
    world.trie().inAllocateNode = change;
    world.trie().inDeallocateNode = change;
    insertion.run(world);
    EXPECT_EQ(changes, 2U + 2U + 2U);
    world.trie().verify();
    other.trie().verify();
}

TEST_F(HookReentryTest, aTrieIsChangedAgainAfterItsHookHasThrown) {
    FaultWorld world(insertion);
    world.trie().inMovedNode = [] { throw Refusal{1}; };
    EXPECT_THROW(insertion.run(world), Refusal);
    world.trie().inMovedNode = nullptr;
    world.trie().inAllocateNode = [] { throw Refusal{2}; };
    EXPECT_THROW(world.trie().insertFromRoot(prefix("10.5.0.0/16"), true, false, world.outer, 1),
                 Refusal);
    world.trie().inAllocateNode = nullptr;
    EXPECT_NE(
        world.trie().insertFromRoot(prefix("10.5.0.0/16"), true, false, world.outer, 1).node(),
        nullptr);
    world.trie().verify();
}

/** It is called where nothing may be thrown any more. */
TEST_F(HookReentryTest, aDeallocateNodeThatThrowsEndsTheProcess) {
    FaultWorld world(insertion);
    world.trie().inDeallocateNode = [] { throw Refusal{1}; };
    EXPECT_EXIT(
        {
            try {
                world.trie().remove(prefix("10.200.3.0/24"));
            } catch (...) {
            }
        },
        aborts, testing::HasSubstr("terminate called after throwing an instance of"));
}

#ifndef NDEBUG

struct Change {
    char const* name;
    void (*make)(FaultWorld&);
    String signature;
};

Change const changes[]{
    {"insert",
     [](FaultWorld& world) {
         world.trie().insert(prefix("10.9.0.0/16"), world.at("10.0.0.0/8"), true, false,
                             world.outer, 1);
     },
     Signature::insert},
    {"insertFromRoot",
     [](FaultWorld& world) {
         world.trie().insertFromRoot(prefix("10.9.0.0/16"), true, false, world.outer, 1);
     },
     Signature::insert},
    {"updateNode",
     [](FaultWorld& world) {
         world.trie().updateNode(world.at("10.0.0.0/14"), true, nullptr, false, false);
     },
     Signature::updateNode},
    {"updateParentRouteCount",
     [](FaultWorld& world) { world.trie().updateParentRouteCount(world.at("10.1.0.0/16"), true); },
     Signature::updateParentRouteCount},
    {"updatePartitionRouteCount",
     [](FaultWorld& world) {
         world.trie().updatePartitionRouteCount(world.at("10.1.0.0/16"), true, 1);
     },
     Signature::updatePartitionRouteCount},
    {"mergePartitionNodeCount",
     [](FaultWorld& world) { world.trie().mergePartitionNodeCount(world.at("10.2.0.0/16")); },
     Signature::mergePartitionNodeCount},
    {"decRouteCounters",
     [](FaultWorld& world) { world.trie().decRouteCounters(world.at("10.2.1.0/24")); },
     Signature::decRouteCounters},
    {"remove", [](FaultWorld& world) { world.trie().remove(prefix("10.2.1.0/24")); },
     Signature::remove},
    {"removeNode",
     [](FaultWorld& world) { world.trie().removeNode(world.at("10.2.1.0/24"), false); },
     Signature::removeNode},
    {"updatePartitionId",
     [](FaultWorld& world) { world.trie().updatePartitionId(world.at("10.2.0.0/16"), nullptr); },
     Signature::updatePartitionId},
    {"updateNewPartition",
     [](FaultWorld& world) {
         world.trie().updateNewPartition(world.at("10.2.0.0/16"), nullptr, false);
     },
     Signature::updateNewPartition},
    {"mergePartition",
     [](FaultWorld& world) {
         world.trie().mergePartition(world.at("10.2.0.0/16"), world.at("10.0.0.0/8"), world.outer,
                                     false, nullptr);
     },
     "void LpmTrie::Trie::mergePartition(LpmTrie::Node*, LpmTrie::Node*, const Ptr&, bool, "
     "const Ptr&)"},
};

TEST_F(HookReentryTest, aHookMustNotChangeTheTrieThatCallsIt) {
    FaultWorld world(insertion);
    for (Change const& change : changes) {
        SCOPED_TRACE(change.name);
        world.trie().inMovedNode = [&] { change.make(world); };
        EXPECT_EXIT(insertion.run(world), aborts,
                    trieAssertion("!hookRunning_",
                                  "a hook must not change the trie that has called it",
                                  change.signature));
    }
}

TEST_F(HookReentryTest, theHooksOfNodesMustNotChangeTheTrieEither) {
    FaultWorld world(insertion);
    auto const expectRefused = [&] {
        EXPECT_EXIT(insertion.run(world), aborts,
                    trieAssertion("!hookRunning_",
                                  "a hook must not change the trie that has called it",
                                  Signature::remove));
    };
    auto const change = [&] { world.trie().remove(prefix("10.2.1.0/24")); };
    world.trie().inAllocateNode = change;
    expectRefused();
    world.trie().inAllocateNode = nullptr;
    world.trie().inDeallocateNode = change;
    expectRefused();
}

#endif

}  // namespace
