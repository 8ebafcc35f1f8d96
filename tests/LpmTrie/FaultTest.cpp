#include <tests/LpmTrie/FaultWorld.h>
#include <tests/Support/AllocationFailure.h>

#include <Vexo/RangeException.h>

/* Memory runs out, or a client's `allocateNode` throws: the trie is exactly as it was. */

namespace {

using namespace TrieTests;
using TestSupport::AfterFailure;
using TestSupport::AllocationFailure;

class FaultTest : public TestSupport::LeakChecked<testing::TestWithParam<FaultOperation>> {
protected:
    static FaultOperation const& operation() { return GetParam(); }

    /** As the operation leaves a world when nothing fails. */
    static std::vector<String> completed() {
        FaultWorld world(operation());
        operation().run(world);
        EXPECT_EQ(world.trie().allocateCalls, operation().nodes);
        EXPECT_EQ(world.trie().reports.size(), operation().reports);
        world.trie().verify();
        return world.picture();
    }
    static void expectUnchanged(FaultWorld& world, FaultWorld::State const& before) {
        expectEqual(world.state(), before);
        if (operation().verifiesBefore) {
            world.trie().verify();
        }
    }
};

TEST_P(FaultTest, anAllocationThatFailsLeavesAllAsItWas) {
    for (AfterFailure const after : {AfterFailure::succeed, AfterFailure::fail}) {
        FaultWorld world(operation());
        FaultWorld::State const before = world.state();
        U64 const sites = TestSupport::failEachAllocation(
            [&] { operation().run(world); }, [&] { expectUnchanged(world, before); }, after);
        if (operation().allocations) {
            EXPECT_EQ(sites, *operation().allocations);
        } else {
            EXPECT_GT(sites, 0U);
        }
        EXPECT_EQ(world.picture(), completed());
        world.trie().verify();
    }
}

TEST_P(FaultTest, anAllocateNodeThatThrowsLeavesAllAsItWas) {
    FaultWorld world(operation());
    FaultWorld::State const before = world.state();
    for (U64 call = 1; call <= operation().nodes; ++call) {
        world.trie().allocateCalls = 0;
        world.trie().failingAllocate = call;
        try {
            operation().run(world);
            ADD_FAILURE() << "call " << call << " has thrown in vain";
        } catch (Refusal const& refusal) {
            EXPECT_EQ(refusal.call, call);
        }
        expectUnchanged(world, before);
    }
    world.trie().failingAllocate = 0;
    operation().run(world);
    EXPECT_EQ(world.picture(), completed());
    world.trie().verify();
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultTest, testing::ValuesIn(faultyOperations()),
                         operationName);

class FaultTraceTest : public FaultTest {};

/** Lines are lost then, but never is an operation left half done. */
TEST_P(FaultTraceTest, anAllocationThatFailsWhileTracingIsOn) {
    TestSupport::TraceCapture const capture("*/0-9");
    std::vector<String> const whole = completed();
    U64 undone = 0;
    U64 done = 0;
    for (U64 site = 1;; ++site) {
        FaultWorld world(operation());
        FaultWorld::State const before = world.state();
        bool happened = false;
        bool thrown = false;
        {
            AllocationFailure const failure(site);
            try {
                operation().run(world);
            } catch (std::bad_alloc const&) {
                thrown = true;
            }
            happened = failure.hasHappened();
        }
        if (thrown) {
            ++undone;
            ASSERT_TRUE(happened);
            expectUnchanged(world, before);
        } else {
            ASSERT_EQ(world.picture(), whole) << "after failing allocation number " << site;
            world.trie().verify();
            if (!happened) {
                break;
            }
            ++done;
        }
    }
    EXPECT_GT(done, 0U);
    EXPECT_GE(undone, operation().allocations.value_or(1));
}

std::vector<FaultOperation> tracedOperations() {
    std::vector<FaultOperation> chosen;
    for (FaultOperation& operation : faultyOperations()) {
        for (char const* const name :
             {"insertBranchBothFromRoot", "insertParentPartitionFromOuter", "removeLeaf",
              "mergeIntoNewPartitionToCollection", "mergeIntoPartitionToHook"}) {
            if (operation.name == name) {
                chosen.push_back(operation);
            }
        }
    }
    return chosen;
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultTraceTest, testing::ValuesIn(tracedOperations()),
                         operationName);

/** A length over any address's is accepted until a bit past the address is asked for. */
class FaultLengthTest : public TrieFixture {
protected:
    FaultLengthTest() : TrieFixture(AddressFamily::ipv6) {}
    static IpGenPrefix ofLength(U32 len) {
        return {prefix("2001:db8::1/128").v6Prefix().address(), len};
    }
    void insert(IpGenPrefix const& newPrefix) const {
        trie().insertFromRoot(newPrefix, true, false, {}, 0);
    }
    void expectRefused(U32 len) const {
        auto const before = snapshot(trie());
        auto const objects = TestSupport::liveObjects();
        for (auto const& [fibRoute, partitionNode] :
             {std::pair{true, false}, std::pair{false, true}, std::pair{true, true}}) {
            EXPECT_THROW(trie().insertFromRoot(ofLength(len), fibRoute, partitionNode, {}, 0),
                         Vexo::RangeException);
            EXPECT_EQ(snapshot(trie()), before);
            EXPECT_EQ(TestSupport::liveObjects(), objects);
            trie().verify();
        }
    }
};

TEST_F(FaultLengthTest, aBitPastTheAddressBelowARoute) {
    insert(prefix("2001:db8::/32"));
    insert(ofLength(128));
    expectRefused(129);
}

TEST_F(FaultLengthTest, aBitPastTheAddressAtABranch) {
    insert(prefix("2001:db8::/32"));
    insert(ofLength(129));
    expectRefused(130);
}

TEST_F(FaultLengthTest, aBitPastTheAddressAtANewParent) {
    insert(prefix("2001:db8::/32"));
    insert(ofLength(129));
    expectRefused(128);
}

class LookupRefusingTrie : public ClientTrie {
public:
    TrieReturnCode findPartitionNode(IpGenPrefix const&, bool) override { throw Refusal{1}; }
};

TEST(FaultLookupTest, aLookupThatThrowsRemovesNothing) {
    Vexo::Ptr<LookupRefusingTrie> const trie(new LookupRefusingTrie);
    trie->afIs(AddressFamily::ipv4);
    trie->insertFromRoot(prefix("10.0.0.0/8"), true, false, {}, 0);
    auto const before = snapshot(*trie);
    EXPECT_THROW(trie->remove(prefix("10.0.0.0/8")), Refusal);
    EXPECT_EQ(snapshot(*trie), before);
    removeAll(*trie);
}

}  // namespace
