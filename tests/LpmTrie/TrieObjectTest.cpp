#include <LpmTrie/Trie.h>

#include <tests/LpmTrie/Signatures.h>
#include <tests/LpmTrie/TrieFixture.h>
#include <tests/LpmTrie/VirtualSlots.h>
#include <tests/Support/AllocationFailure.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Support/TraceCapture.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace {

using LpmTrie::Node;
using LpmTrie::PartitionId;
using LpmTrie::PartitionIdValue;
using LpmTrie::Trie;
using LpmTrie::trieFactory;
using LpmTrieTest::slotOf;
using Nimbal::AddressFamily;
using Nimbal::IpGenPrefixRef;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::TraceCapture;
using TrieTests::aborts;
using TrieTests::line;
using TrieTests::prefix;
using TrieTests::trieAssertion;
using Vexo::U32;
using Vexo::U64;
namespace Signature = TrieTests::Signature;

U64 liveTries() {
    return Vexo::allocationCounts("LpmTrie::Trie").live();
}
U64 liveNodes() {
    return Vexo::allocationCounts("LpmTrie::Node").live();
}

class TrieObjectTest : public TestSupport::LeakCheck {};

TEST_F(TrieObjectTest, bothFactoriesGiveAnEmptyTrieWithNotificationOn) {
    for (auto* const factory : {&trieFactory, &Trie::TrieIs}) {
        U64 const before = liveTries();
        Trie::Ptr trie = factory(0xfffffffeU);
        EXPECT_EQ(trie->vrfId(), 0xfffffffeU);
        EXPECT_EQ(trie->dumpLimit(), 200000U);
        EXPECT_EQ(trie->af(), AddressFamily::none);
        EXPECT_EQ(static_cast<U32>(trie->af()), 0U);
        EXPECT_EQ(trie->root(), nullptr);
        EXPECT_TRUE(trie->hasNotificationActive());
        EXPECT_EQ(trie->references(), 1U);
        EXPECT_EQ(liveTries(), before + 1);
        trie = nullptr;
        EXPECT_EQ(liveTries(), before);
    }
}

TEST_F(TrieObjectTest, aConstructedTrieHasNotificationOff) {
    Trie const trie(7);
    EXPECT_EQ(trie.vrfId(), 7U);
    EXPECT_EQ(trie.dumpLimit(), 200000U);
    EXPECT_EQ(trie.af(), AddressFamily::none);
    EXPECT_EQ(trie.root(), nullptr);
    EXPECT_FALSE(trie.hasNotificationActive());
    EXPECT_EQ(trie.references(), 0U);
}

TEST_F(TrieObjectTest, attributesAreSetOneByOne) {
    Trie::Ptr const trie = trieFactory(1);
    trie->dumpLimitIs(0);
    EXPECT_EQ(trie->dumpLimit(), 0U);
    trie->dumpLimitIs(0xffffffffU);
    EXPECT_EQ(trie->dumpLimit(), 0xffffffffU);
    for (U32 const code : {2U, 1U, 77U, 0U}) {
        trie->afIs(AddressFamily{code});
        EXPECT_EQ(trie->af(), AddressFamily{code});
    }
    EXPECT_EQ(trie->vrfId(), 1U);
    EXPECT_EQ(trie->root(), nullptr);
}

TEST_F(TrieObjectTest, theFactoryLeavesNothingBehindWhenMemoryRunsOut) {
    U64 const before = liveTries();
    Trie::Ptr trie;
    auto const sites = TestSupport::failEachAllocation([&] { trie = trieFactory(1); },
                                                       [&] {
                                                           EXPECT_EQ(trie, nullptr);
                                                           EXPECT_EQ(liveTries(), before);
                                                       });
    EXPECT_GE(sites, 1U);
    EXPECT_EQ(liveTries(), before + 1);
}

TEST_F(TrieObjectTest, isTypeSixOfItsModule) {
    Trie::Ptr const trie = trieFactory(1);
    EXPECT_EQ(trie->fwkType(), &Trie::fwkType_);
    EXPECT_STREQ(Trie::fwkType_.name(), "LpmTrie::Trie");
    EXPECT_EQ(Trie::fwkType_.number(), 6U);
    EXPECT_STREQ(Trie::fwkType_.module().name(), "LpmTrie");
    EXPECT_STREQ(Trie::fwkType_.module().source(), "LpmTrie/LpmTrie");
}

class AddsAnOperation : public Trie {
public:
    using Trie::Trie;
    virtual void added() {}
};

TEST(TrieLayoutTest, virtualOperationsStandBehindThoseOfEveryCountedObjectInTheirOrder) {
    std::array const slots{
        slotOf(&Trie::notifieeList), slotOf(&Trie::hasNotificationActiveIs),
        slotOf(&Trie::zeroReferencesIs), slotOf(&Trie::fwkType),
        // 4 and 5: the destructor
        slotOf(&Trie::allocateNode), slotOf(&Trie::deallocateNode), slotOf(&Trie::insert),
        slotOf(&Trie::insertFromRoot), slotOf(&Trie::movedNode), slotOf(&Trie::findPartitionNode),
        slotOf(&Trie::verifyFibRoute), slotOf(&Trie::verifyFibRoutes),
        slotOf(&Trie::verifyPartition), slotOf(&Trie::verifyNodeProperties), slotOf(&Trie::verify),
        slotOf(&Trie::dump), slotOf(&AddsAnOperation::added)};
    EXPECT_THAT(slots, ElementsAre(0, 1, 2, 3, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18));
}

TEST_F(TrieObjectTest, rootIsOnlySetsTheRoot) {
    Trie::Ptr const trie = trieFactory(1);
    Node node(IpGenPrefixRef::IpGenPrefixRefIs(prefix("10.0.0.0/8")), true, true, {}, 3);
    TrieTests::NodeState const before(&node);
    TraceCapture const capture;
    trie->rootIs(&node);
    EXPECT_EQ(trie->root(), &node);
    EXPECT_EQ(TrieTests::NodeState(&node), before);
    trie->rootIs(nullptr);
    EXPECT_EQ(trie->root(), nullptr);
    EXPECT_THAT(capture.lines(), IsEmpty());
}

TEST_F(TrieObjectTest, itsEndFreesNoNode) {
    Trie::Ptr trie = trieFactory(1);
    trie->afIs(AddressFamily::ipv4);
    Node* const child = trie->insertFromRoot(prefix("10.0.0.0/8"), true, false, {}, 0).node();
    trie->insertFromRoot(prefix("0.0.0.0/0"), true, false, {}, 0);
    Node* const root = trie->root();
    U64 const nodes = liveNodes();
    TraceCapture const capture;
    trie = nullptr;
    EXPECT_THAT(capture.lines(), IsEmpty());
    EXPECT_EQ(liveNodes(), nodes);
    EXPECT_EQ(root->stringValue(), "Fib,0.0.0.0/0,2,2,nil,hw:0");
    EXPECT_EQ(root->bitNode(0), child);
    EXPECT_EQ(child->parent(), root);
    delete child;
    delete root;
}

TEST_F(TrieObjectTest, movedNodeOnlyTracesWhatItIsTold) {
    Trie::Ptr const trie = trieFactory(1);
    PartitionId::Ptr const id = PartitionId::PartitionIdIs(PartitionIdValue(5), 0xffff, {});
    Node node(IpGenPrefixRef::IpGenPrefixRefIs(prefix("10.0.0.0/8")), true, false, id, 3);
    TrieTests::NodeState const before(&node);
    TraceCapture const capture;
    trie->movedNode(&node, id, 4);
    trie->movedNode(&node, {}, 0xffffffffU);
    trie->movedNode(nullptr, {}, 0);
    EXPECT_THAT(
        capture.lines(),
        ElementsAre(line(8, Signature::movedNode + " Node:Fib,10.0.0.0/8,0,0,0x5,hw:3" +
                                " oldPartitionId:PartitionId:5 references:2 oldHwTable:4"),
                    line(8, Signature::movedNode + " Node:Fib,10.0.0.0/8,0,0,0x5,hw:3" +
                                " oldPartitionId:PartitionId null oldHwTable:4294967295"),
                    line(8, Signature::movedNode +
                                " Node:(nil) oldPartitionId:PartitionId null oldHwTable:0")));
    EXPECT_EQ(TrieTests::NodeState(&node), before);
}

TEST_F(TrieObjectTest, verifyNodePropertiesDoesNothing) {
    Trie::Ptr const trie = trieFactory(1);
    Node node(IpGenPrefixRef::IpGenPrefixRefIs(prefix("10.0.0.0/8")), true, false, {}, 3);
    TrieTests::NodeState const before(&node);
    TraceCapture const capture;
    trie->verifyNodeProperties(&node);
    trie->verifyNodeProperties(nullptr);
    EXPECT_THAT(capture.lines(), IsEmpty());
    EXPECT_EQ(TrieTests::NodeState(&node), before);
}

using TrieObjectDeathTest = TrieObjectTest;

TEST_F(TrieObjectDeathTest, aTrieWithoutAFamilyTakesNoPrefix) {
    Trie::Ptr const trie = trieFactory(1);
    EXPECT_EXIT(
        trie->insertFromRoot(prefix("10.0.0.0/8"), true, false, {}, 0), aborts,
        trieAssertion("af() == newPrefix.af()", "Trie af:none newPrefix:ipv4", Signature::insert));
    EXPECT_EXIT(
        trie->insertFromRoot(prefix("::/0"), true, false, {}, 0), aborts,
        trieAssertion("af() == newPrefix.af()", "Trie af:none newPrefix:ipv6", Signature::insert));
}

}  // namespace
