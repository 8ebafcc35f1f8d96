#include <LpmTrie/NodesInfo.h>

#include <tests/LpmTrie/PartitionWorld.h>
#include <tests/Support/AllocationFailure.h>

#include <vector>

namespace {

using LpmTrieTest::newId;
using LpmTrieTest::PartitionId;
using LpmTrieTest::prefix;
using LpmTrieTest::TrieNodeInfo;
using LpmTrieTest::TrieNodesInfo;
using LpmTrieTest::U32;
using Nimbal::IpGenPrefixRef;
using TestSupport::AllocationCount;
using TestSupport::failEachAllocation;

using Keys = TrieNodesInfo::Keys;
using Entry = TrieNodesInfo::VexoNodeInfo;

IpGenPrefixRef::Ptr holder(char const* text) {
    return IpGenPrefixRef::IpGenPrefixRefIs(prefix(text));
}

class NodesInfoCollectionTest : public TestSupport::LeakCheck {
protected:
    TrieNodesInfo::Ptr const moved_ = LpmTrie::trieNodesInfoFactory();
    IpGenPrefixRef::Ptr const held_ = holder("10.0.0.0/8");
    PartitionId::Ptr const old_ = newId(1);
    PartitionId::Ptr const new_ = newId(2);
    TrieNodeInfo const info_{held_, old_, new_};
};

TEST_F(NodesInfoCollectionTest, bothCreatorsMakeAnEmptyTrackedCollectionWithNotificationOn) {
    for (TrieNodesInfo::Ptr (*const create)() :
         {&LpmTrie::trieNodesInfoFactory, &TrieNodesInfo::TrieNodesInfoIs}) {
        Vexo::U64 const before = Vexo::allocationCounts("LpmTrie::TrieNodesInfo").live();
        TrieNodesInfo::Ptr const moved = create();
        ASSERT_NE(moved, nullptr);
        EXPECT_TRUE(moved->nodeInfo().empty());
        EXPECT_TRUE(moved->hasNotificationActive());
        EXPECT_EQ(moved->references(), 1U);
        EXPECT_EQ(moved->fwkType(), &TrieNodesInfo::fwkType_);
        EXPECT_EQ(Vexo::allocationCounts("LpmTrie::TrieNodesInfo").live(), before + 1);
    }
}

TEST_F(NodesInfoCollectionTest, aCollectionThatCannotBeAllocatedLeavesNothing) {
    TrieNodesInfo::Ptr made;
    EXPECT_GE(failEachAllocation([&] { made = TrieNodesInfo::TrieNodesInfoIs(); },
                                 [&] { EXPECT_EQ(made, nullptr); }),
              1U);
}

TEST_F(NodesInfoCollectionTest, anEntryIsACopyOfTheRecordAndItsValue) {
    moved_->nodeInfoIs(info_, true);
    ASSERT_EQ(moved_->nodeInfo().size(), 1U);
    EXPECT_EQ(moved_->nodeInfo().begin()->key(), info_);
    EXPECT_TRUE(moved_->nodeInfo().begin()->value());
    EXPECT_TRUE(moved_->nodeInfo(info_));
    EXPECT_EQ(held_->references(), 3U);
    EXPECT_EQ(old_->references(), 3U);
    EXPECT_EQ(new_->references(), 3U);
}

TEST_F(NodesInfoCollectionTest, anEqualRecordsEntryGetsTheNewValue) {
    moved_->nodeInfoIs(info_, true);
    moved_->nodeInfoIs(TrieNodeInfo(held_, old_, new_), false);
    EXPECT_EQ(moved_->nodeInfo().size(), 1U);
    EXPECT_FALSE(moved_->nodeInfo(info_));
    ASSERT_NE(moved_->nodeInfo().find(info_), nullptr) << "there all the same";
    moved_->nodeInfoIs(info_, true);
    EXPECT_EQ(moved_->nodeInfo().size(), 1U);
    EXPECT_TRUE(moved_->nodeInfo(info_));
}

TEST_F(NodesInfoCollectionTest, lookingUpWhatIsNotThereAddsNothing) {
    EXPECT_FALSE(moved_->nodeInfo(info_));
    EXPECT_EQ(moved_->nodeInfo().find(info_), nullptr);
    moved_->nodeInfoIs(info_, true);
    EXPECT_FALSE(moved_->nodeInfo(TrieNodeInfo(holder("10.0.0.0/8"), old_, new_)));
    EXPECT_FALSE(moved_->nodeInfo(TrieNodeInfo(held_, newId(1), new_)));
    EXPECT_EQ(moved_->nodeInfo().size(), 1U);
}

TEST_F(NodesInfoCollectionTest, anotherOldIdMakesASecondEntryWithTheSameHash) {
    TrieNodeInfo const other(held_, newId(1), new_);
    moved_->nodeInfoIs(info_, true);
    moved_->nodeInfoIs(other, false);
    EXPECT_EQ(moved_->nodeInfo().size(), 2U);
    EXPECT_EQ(Keys::hash(info_), Keys::hash(other));
    EXPECT_TRUE(moved_->nodeInfo(info_));
    EXPECT_FALSE(moved_->nodeInfo(other));
    ASSERT_NE(moved_->nodeInfo().find(other), nullptr);
}

TEST_F(NodesInfoCollectionTest, deletingRemovesTheEqualEntryAndNoOther) {
    TrieNodeInfo const other(held_, nullptr, new_);
    moved_->nodeInfoIs(info_, true);
    moved_->nodeInfoIs(other, true);
    moved_->nodeInfoDel(info_);
    EXPECT_EQ(moved_->nodeInfo().size(), 1U);
    EXPECT_FALSE(moved_->nodeInfo(info_));
    EXPECT_TRUE(moved_->nodeInfo(other));
    EXPECT_EQ(old_->references(), 2U);
}

TEST_F(NodesInfoCollectionTest, deletingAnAbsentRecordChangesNothing) {
    moved_->nodeInfoDel(info_);
    EXPECT_TRUE(moved_->nodeInfo().empty());
    moved_->nodeInfoIs(info_, true);
    moved_->nodeInfoDel(TrieNodeInfo(held_, old_, nullptr));
    moved_->nodeInfoDel(TrieNodeInfo(holder("10.0.0.0/8"), old_, new_));
    EXPECT_EQ(moved_->nodeInfo().size(), 1U);
    EXPECT_TRUE(moved_->nodeInfo(info_));
}

TEST_F(NodesInfoCollectionTest, deletingAllEmptiesAndLetsGo) {
    moved_->nodeInfoDelAll();
    moved_->nodeInfoIs(info_, true);
    moved_->nodeInfoIs(TrieNodeInfo(holder("11.0.0.0/8"), old_, nullptr), true);
    moved_->nodeInfoDelAll();
    EXPECT_TRUE(moved_->nodeInfo().empty());
    EXPECT_EQ(moved_->nodeInfo().begin(), moved_->nodeInfo().end());
    EXPECT_EQ(held_->references(), 2U);
    EXPECT_EQ(old_->references(), 2U);
    moved_->nodeInfoIs(info_, true);
    EXPECT_TRUE(moved_->nodeInfo(info_));
}

TEST_F(NodesInfoCollectionTest, keysAreOrderedInThreeWays) {
    Entry const low(TrieNodeInfo(holder("10.0.0.0/8"), old_, new_), true);
    Entry const high(TrieNodeInfo(holder("11.0.0.0/8"), old_, new_), true);
    Entry const lowAgain(TrieNodeInfo(holder("10.0.0.0/8"), old_, new_), true);
    TrieNodeInfo const copyOfLow = low.key();
    enum : U32 { equal, less, neither };

    EXPECT_EQ(Keys::order(nullptr, low.key(), high), less);
    EXPECT_EQ(Keys::order(nullptr, high.key(), low), neither);
    EXPECT_EQ(Keys::order(nullptr, copyOfLow, low), equal);
    EXPECT_EQ(Keys::order(nullptr, lowAgain.key(), low), neither) << "equal prefixes, unequal";
    EXPECT_EQ(Keys::order(nullptr, low.key(), lowAgain), neither);

    // With a first entry the probe is of no account, whatever it holds.
    for (TrieNodeInfo const& probe : {low.key(), high.key(), TrieNodeInfo()}) {
        EXPECT_EQ(Keys::order(&low, probe, high), less);
        EXPECT_EQ(Keys::order(&high, probe, low), neither);
        EXPECT_EQ(Keys::order(&low, probe, low), equal);
        EXPECT_EQ(Keys::order(&lowAgain, probe, low), neither);
    }
}

TEST_F(NodesInfoCollectionTest, theValueTakesNoPartInTheOrderOfKeys) {
    EXPECT_EQ(Keys::order(nullptr, info_, Entry(info_, false)), 0U);
    EXPECT_EQ(Keys::order(nullptr, info_, Entry(info_, true)), 0U);
}

TEST_F(NodesInfoCollectionTest, entriesKeepTheirObjectsAlive) {
    auto const live = [](char const* type) { return Vexo::allocationCounts(type).live(); };
    Vexo::U64 const ids = live("LpmTrie::PartitionId");
    Vexo::U64 const holders = live("Nimbal::IpGenPrefixRef");
    moved_->nodeInfoIs(TrieNodeInfo(holder("10.1.0.0/16"), newId(3), newId(4)), true);
    EXPECT_EQ(live("LpmTrie::PartitionId"), ids + 2);
    EXPECT_EQ(live("Nimbal::IpGenPrefixRef"), holders + 1);
    Entry const& entry = *moved_->nodeInfo().begin();
    EXPECT_EQ(entry.key().prefixRef()->prefix(), prefix("10.1.0.0/16"));
    EXPECT_EQ(entry.key().oldPartitionId()->id().value(), 3U);
    EXPECT_EQ(entry.key().newPartitionId()->references(), 1U);
    moved_->nodeInfoDelAll();
    EXPECT_EQ(live("LpmTrie::PartitionId"), ids);
    EXPECT_EQ(live("Nimbal::IpGenPrefixRef"), holders);
}

TEST_F(NodesInfoCollectionTest, manyRecordsOfOnePrefixAreToldApart) {
    std::vector<TrieNodeInfo> infos;
    for (U32 number = 0; number < 200; ++number) {
        infos.emplace_back(held_, newId(number), new_);
        moved_->nodeInfoIs(infos.back(), number % 3 == 0);
    }
    ASSERT_EQ(moved_->nodeInfo().size(), infos.size());
    for (std::size_t i = 0; i < infos.size(); i += 2) {
        moved_->nodeInfoDel(infos[i]);
    }
    EXPECT_EQ(moved_->nodeInfo().size(), infos.size() / 2);
    for (std::size_t i = 0; i < infos.size(); ++i) {
        Entry const* const entry = moved_->nodeInfo().find(infos[i]);
        ASSERT_EQ(entry != nullptr, i % 2 == 1) << i;
        EXPECT_EQ(moved_->nodeInfo(infos[i]), i % 2 == 1 && i % 3 == 0) << i;
    }
}

TEST_F(NodesInfoCollectionTest, theReservedAdditionsDoNotAllocate) {
    std::vector<TrieNodeInfo> infos;
    for (U32 number = 0; number < 100; ++number) {
        infos.emplace_back(held_, newId(number), new_);
    }
    moved_->nodeInfoIs(info_, true);
    moved_->nodeInfoReserve(infos.size());
    EXPECT_EQ(moved_->nodeInfo().size(), 1U);
    AllocationCount const allocations;
    for (TrieNodeInfo const& info : infos) {
        moved_->nodeInfoIs(info, true);
    }
    EXPECT_EQ(allocations.value(), 0U);
    EXPECT_EQ(moved_->nodeInfo().size(), 101U);
}

TEST_F(NodesInfoCollectionTest, anAdditionWithoutMemoryChangesNothing) {
    for (U32 number = 0; number < 40; ++number) {
        TrieNodeInfo const info(held_, newId(number), new_);
        failEachAllocation([&] { moved_->nodeInfoIs(info, true); },
                           [&] {
                               EXPECT_EQ(moved_->nodeInfo().size(), number);
                               EXPECT_FALSE(moved_->nodeInfo(info));
                               EXPECT_EQ(info.oldPartitionId()->references(), 1U);
                           });
        EXPECT_TRUE(moved_->nodeInfo(info));
    }
}

TEST_F(NodesInfoCollectionTest, aReservationWithoutMemoryChangesNothing) {
    moved_->nodeInfoIs(info_, true);
    EXPECT_GE(failEachAllocation([&] { moved_->nodeInfoReserve(1000); },
                                 [&] {
                                     EXPECT_EQ(moved_->nodeInfo().size(), 1U);
                                     EXPECT_TRUE(moved_->nodeInfo(info_));
                                 }),
              1U);
}

TEST_F(NodesInfoCollectionTest, settingAnEntryThatIsThereNeedsNoMemory) {
    moved_->nodeInfoIs(info_, true);
    AllocationCount const allocations;
    moved_->nodeInfoIs(info_, false);
    moved_->nodeInfoDel(info_);
    EXPECT_EQ(allocations.value(), 0U);
}

}  // namespace
