#include <tests/LpmTrie/FaultWorld.h>

/* A `movedNode` hook throws: the operation is completed, all reports are made, the first exception
 * arrives. */

namespace {

using namespace TrieTests;

class FaultHookTest : public TestSupport::LeakChecked<testing::TestWithParam<FaultOperation>> {
protected:
    static FaultOperation const& operation() { return GetParam(); }
    static std::vector<String> completed() {
        FaultWorld world(operation());
        operation().run(world);
        EXPECT_EQ(world.trie().reports.size(), operation().reports);
        return world.picture();
    }
    /** Runs the operation in a new world; `first` is the number of the first report that throws. */
    static void expectCompleted(std::function<bool(U64)> failing, U64 first) {
        FaultWorld world(operation());
        world.trie().failingReport = std::move(failing);
        U64 arrived = 0;
        try {
            operation().run(world);
        } catch (Refusal const& refusal) {
            arrived = refusal.call;
        }
        EXPECT_EQ(arrived, first);
        EXPECT_EQ(world.picture(), completed());
        world.trie().verify();
        // Nothing of the failure is left behind.
        world.trie().failingReport = nullptr;
        world.trie().insertFromRoot(prefix("203.0.113.0/24"), true, false, {}, 0);
        world.trie().remove(prefix("203.0.113.0/24"));
        world.trie().verify();
        EXPECT_EQ(world.picture(), completed());
    }
};

TEST_P(FaultHookTest, aReportThatThrows) {
    for (U64 report = 1; report <= operation().reports; ++report) {
        expectCompleted([report](U64 number) { return number == report; }, report);
    }
}

TEST_P(FaultHookTest, reportsThatThrowFromOneOn) {
    for (U64 report = 1; report <= operation().reports; ++report) {
        expectCompleted([report](U64 number) { return number >= report; }, report);
    }
}

std::vector<FaultOperation> reportingOperations() {
    std::vector<FaultOperation> reporting;
    for (FaultOperation& operation : faultyOperations()) {
        if (operation.reports != 0) {
            reporting.push_back(operation);
        }
    }
    return reporting;
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultHookTest, testing::ValuesIn(reportingOperations()),
                         operationName);

/** Where a collection takes the reports, the hook is never called. */
TEST(FaultHookCollectionTest, noHookIsCalledThatCouldThrow) {
    for (FaultOperation const& operation : faultyOperations()) {
        if (operation.name.find("Collection") != String::npos) {
            SCOPED_TRACE(operation.name);
            FaultWorld world(operation);
            world.trie().failingReport = [](U64) { return true; };
            EXPECT_NO_THROW(operation.run(world));
        }
    }
}

/** Whatever is thrown arrives as it was thrown. */
TEST(FaultHookExceptionTest, theExceptionItselfArrives) {
    FaultOperation const operation{.name = "insert", .run = [](FaultWorld& world) {
                                       world.trie().insertFromRoot(prefix("10.1.0.0/22"), true,
                                                                   true, world.fresh,
                                                                   FaultWorld::hwTable);
                                   }};
    {
        FaultWorld world(operation);
        world.trie().inMovedNode = [] { throw 17; };
        EXPECT_THROW(operation.run(world), int);
        EXPECT_NE(world.at("10.1.0.0/22"), nullptr);
        world.trie().verify();
    }
    {
        FaultWorld world(operation);
        std::bad_alloc const* thrown = nullptr;
        std::bad_alloc const* arrived = nullptr;
        world.trie().inMovedNode = [&] {
            try {
                throw std::bad_alloc();
            } catch (std::bad_alloc const& error) {
                thrown = thrown == nullptr ? &error : thrown;
                throw;
            }
        };
        try {
            operation.run(world);
        } catch (std::bad_alloc const& error) {
            arrived = &error;
        }
        EXPECT_NE(arrived, nullptr);
        EXPECT_EQ(arrived, thrown);
        world.trie().verify();
    }
}

}  // namespace
