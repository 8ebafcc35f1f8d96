#include <tests/LpmTrie/DumpedText.h>
#include <tests/LpmTrie/Reflection.h>
#include <tests/LpmTrie/VerifySignatures.h>

/* What the trie's attributes do. */

namespace {

using namespace ReflectionTests;

class ReflectionTrieTest : public TestSupport::LeakCheck {
protected:
    ~ReflectionTrieTest() override { LpmTrie::removeAll(*trie_); }

    Trie& trie() const { return *trie_; }
    Value& self() { return self_; }
    PartitionId::Ptr const& id() const { return id_; }

    Operands insertion(std::string_view text, bool isFibRoute, bool isPartitionNode) const {
        return {box(prefix(text)), box(isFibRoute), box(isPartitionNode), box(id_), box(4U)};
    }
    TrieReturnCode insert(std::string_view text, bool isFibRoute, bool isPartitionNode) {
        return callAs<TrieReturnCode>(self_, "insertFromRoot",
                                      insertion(text, isFibRoute, isPartitionNode));
    }
    /** A partition with two routes. */
    void fill() {
        insert("10.0.0.0/8", false, true);
        insert("10.1.0.0/16", true, false);
        insert("10.2.0.0/16", true, false);
    }
    /** What a function that is given a descriptor, and `more` behind it, writes there. */
    String written(String const& function, Operands const& more = {}) {
        return TrieTests::dumped([&](U32 socket) {
            Operands operands{box(socket)};
            operands.insert(operands.end(), more.begin(), more.end());
            EXPECT_TRUE(call(self_, function, operands).isNone());
        });
    }

private:
    Trie::Ptr const trie_ = ipv4Trie(7);
    PartitionId::Ptr const id_ = partitionId(5);
    Value self_ = box(trie_);
};

TEST_F(ReflectionTrieTest, theVrfIdIsTheConstructorsArgumentAndStays) {
    EXPECT_EQ(getAs<U32>(self(), "vrfId"), 7U);
    EXPECT_EQ(statusOf(self(), "vrfId", AttributeOperation::set, {box(8U)}),
              AttributeStatus::operationNotAllowed);
    EXPECT_EQ(getAs<U32>(self(), "vrfId"), 7U);
    EXPECT_EQ(trie().vrfId(), 7U);
}

TEST_F(ReflectionTrieTest, theDumpLimitIsReadAndWritten) {
    EXPECT_EQ(getAs<U32>(self(), "dumpLimit"), 200000U);
    set(self(), "dumpLimit", box(0xffffffffU));
    EXPECT_EQ(getAs<U32>(self(), "dumpLimit"), 0xffffffffU);
    EXPECT_EQ(trie().dumpLimit(), 0xffffffffU);
}

TEST_F(ReflectionTrieTest, theDumpLimitChangesWhatADumpPrints) {
    fill();
    String const unlimited = written("dump");
    EXPECT_THAT(unlimited, testing::HasSubstr("10.2.0.0/16"));
    EXPECT_THAT(unlimited, testing::Not(testing::HasSubstr("ending output")));
    set(self(), "dumpLimit", box(2U));
    String const limited = written("dump");
    EXPECT_THAT(limited, testing::EndsWith(" Trie has greater than 2 nodes, ending output\n"));
    EXPECT_THAT(limited, testing::Not(testing::HasSubstr("10.2.0.0/16")));
    EXPECT_EQ(limited, TrieTests::dumped([this](U32 socket) { trie().dump(socket); }));
}

TEST_F(ReflectionTrieTest, theFamilyIsReadAndWrittenAsItsNumber) {
    EXPECT_EQ(getAs<U32>(self(), "af"), 1U);
    set(self(), "af", box(2U));
    EXPECT_EQ(trie().af(), AddressFamily::ipv6);
    EXPECT_EQ(getAs<U32>(self(), "af"), 2U);
    set(self(), "af", box(7U));
    EXPECT_EQ(trie().af(), static_cast<AddressFamily>(7));
    EXPECT_EQ(getAs<U32>(self(), "af"), 7U);
    Value fresh = box(LpmTrie::trieFactory(1));
    EXPECT_EQ(getAs<U32>(fresh, "af"), 0U);
}

TEST_F(ReflectionTrieTest, aFamilyThatIsWrittenIsThatOfTheFirstInsertion) {
    set(self(), "af", box(2U));
    insert("2001:db8::/32", true, false);
    ASSERT_NE(trie().root(), nullptr);
    EXPECT_EQ(trie().root()->prefixRef()->prefix(), prefix("2001:db8::/32"));
}

TEST_F(ReflectionTrieTest, anInsertionPlacesTheNodeWithTheParametersInTheirOrder) {
    TrieReturnCode const route = insert("10.0.0.0/8", true, false);
    ASSERT_NE(route.node(), nullptr);
    EXPECT_EQ(route.node()->prefixRef()->prefix(), prefix("10.0.0.0/8"));
    EXPECT_TRUE(route.node()->fibRoute());
    EXPECT_FALSE(route.node()->partitionNode());
    EXPECT_EQ(route.node()->partitionId(), id());
    EXPECT_EQ(route.node()->hwTable(), 4U);
    TrieReturnCode const partition = insert("10.1.0.0/16", false, true);
    EXPECT_FALSE(partition.node()->fibRoute());
    EXPECT_TRUE(partition.node()->partitionNode());
    EXPECT_EQ(partition.partitionNode(), partition.node());
    EXPECT_EQ(partition.coveringPrefixNode(), route.node());
    trie().verify();
}

TEST_F(ReflectionTrieTest, aLookupAnswersAsTheOperationDoes) {
    fill();
    for (char const* const text : {"10.1.2.0/24", "10.1.0.0/16", "11.0.0.0/8", "0.0.0.0/0"}) {
        auto const found =
            callAs<TrieReturnCode>(self(), "findPartitionNode", {box(prefix(text)), box(false)});
        EXPECT_EQ(found, trie().findPartitionNode(prefix(text), false)) << text;
    }
}

TEST_F(ReflectionTrieTest, aLookupCountsAPendingRemovalOnlyWhenTold) {
    fill();
    LpmTrie::Node* const top = LpmTrie::findExact(trie(), prefix("10.0.0.0/8"));
    top->partitionNodeIs(false);
    top->pendingStateIs(PendingState::removePartition_());
    auto const found = [&](bool includePendingRmPartition) {
        return callAs<TrieReturnCode>(self(), "findPartitionNode",
                                      {box(prefix("10.1.0.0/16")), box(includePendingRmPartition)})
            .partitionNode();
    };
    EXPECT_EQ(found(true), top);
    EXPECT_EQ(found(false), nullptr);
}

TEST_F(ReflectionTrieTest, aRemovalTakesTheRouteOut) {
    fill();
    Operands const route{box(prefix("10.1.0.0/16"))};
    EXPECT_EQ(callAs<TrieNodeReturnCode>(self(), "remove", route),
              TrieNodeReturnCode(nullptr, true));
    EXPECT_EQ(LpmTrie::findExact(trie(), prefix("10.1.0.0/16")), nullptr);
    EXPECT_EQ(callAs<TrieNodeReturnCode>(self(), "remove", route),
              TrieNodeReturnCode(nullptr, false));
    trie().verify();
}

TEST_F(ReflectionTrieTest, theDumpsWriteToTheDescriptor) {
    fill();
    EXPECT_EQ(written("dump"), TrieTests::dumped([this](U32 socket) { trie().dump(socket); }));
    EXPECT_EQ(written("dumpPartition"),
              TrieTests::dumped([this](U32 socket) { trie().dumpPartition(socket); }));
    EXPECT_EQ(written("dumpPrefix", {box(prefix("10.1.0.0/16"))}),
              TrieTests::dumped(
                  [this](U32 socket) { trie().dumpPrefix(socket, prefix("10.1.0.0/16")); }));
    EXPECT_THAT(written("dumpPartition"), testing::HasSubstr(" Dumping Trie 7 Partitions\n"));
    EXPECT_THAT(written("dumpPrefix", {box(prefix("10.1.0.0/16"))}),
                testing::HasSubstr(" Dumping Trie 7 Prefix 10.1.0.0/16\n"));
}

TEST_F(ReflectionTrieTest, verificationOfASoundTrieAnswersNothing) {
    EXPECT_TRUE(call(self(), "verify").isNone());
    fill();
    EXPECT_TRUE(call(self(), "verify").isNone());
}

TEST_F(ReflectionTrieTest, verificationOfABrokenTrieIsFatal) {
    fill();
    LpmTrie::Node* const top = LpmTrie::findExact(trie(), prefix("10.0.0.0/8"));
    top->partitionRouteCountInc(1);
    EXPECT_EXIT(call(self(), "verify"), TrieTests::aborts,
                TrieTests::trieAssertion(
                    "childTotalPartitionRouteCount == totalPartitionRouteCount",
                    "current: Partition,10.0.0.0/8,2,3,0x5,hw:4,cp totalPartitionRouteCount:3 "
                    "children: 2",
                    TrieTests::Signature::verify));
    top->partitionRouteCountDec(1);
}

TEST_F(ReflectionTrieTest, aFailureInsideAnOperationIsTheOperations) {
    fill();
    EXPECT_EXIT(
        call(self(), "insertFromRoot", insertion("10.1.0.0/16", true, false)), TrieTests::aborts,
        TrieTests::trieAssertion("!current->fibRoute()", " node Fib,10.1.0.0/16,1,1,0x5,hw:4",
                                 TrieTests::Signature::insert));
    // Two lengths past the last bit of an address: no bit tells them apart.
    auto const insertLong = [this](U32 len) {
        IpGenPrefix const tooLong(AddressFamily::ipv4, std::array<Vexo::U8, 2>{10, 3}, len);
        call(self(), "insertFromRoot", {box(tooLong), box(true), box(false), box(id()), box(4U)});
    };
    insertLong(150);
    EXPECT_THROW(insertLong(151), RangeException);
    trie().verify();
}

TEST_F(ReflectionTrieTest, aRouteNeedsNoId) {
    Operands const operands{box(prefix("10.0.0.0/8")), box(true), box(false), Value(), box(0U)};
    EXPECT_EQ(callAs<TrieReturnCode>(self(), "insertFromRoot", operands).node()->partitionId(),
              nullptr);
}

TEST_F(ReflectionTrieTest, isMadeByName) {
    Value made = Vexo::createByType(Trie::fwkType_, Operands{box(42U)});
    EXPECT_EQ(made.type(), &Trie::fwkType_);
    EXPECT_EQ(getAs<U32>(made, "vrfId"), 42U);
    EXPECT_EQ(getAs<U32>(made, "references"), 1U);
    EXPECT_TRUE(made.object()->hasNotificationActive());
}

}  // namespace
