#include <LpmTrie/NodesInfo.h>

#include <Torvel/HashMix.h>

#include <tests/LpmTrie/PartitionWorld.h>

#include <array>
#include <type_traits>

namespace {

using LpmTrieTest::newId;
using LpmTrieTest::PartitionId;
using LpmTrieTest::prefix;
using LpmTrieTest::streamed;
using LpmTrieTest::String;
using LpmTrieTest::TrieNodeInfo;
using LpmTrieTest::U32;
using Nimbal::IpGenPrefixRef;
using Vexo::valueToStrep;

IpGenPrefixRef::Ptr holder(char const* text) {
    return IpGenPrefixRef::IpGenPrefixRefIs(prefix(text));
}
String recordText(String const& prefixRef, String const& oldId, String const& newId) {
    return "Value('LpmTrie::TrieNodeInfo', ** {'prefixRef': " + prefixRef +
           ", 'oldPartitionId': " + oldId + ", 'newPartitionId': " + newId + "})";
}

class NodesInfoTest : public TestSupport::LeakCheck {
protected:
    IpGenPrefixRef::Ptr const held_ = holder("10.0.0.0/8");
    PartitionId::Ptr const old_ = newId(1);
    PartitionId::Ptr const new_ = newId(2);
    TrieNodeInfo const info_{held_, old_, new_};
};

TEST_F(NodesInfoTest, aRecordSharesItsThreeObjects) {
    EXPECT_EQ(info_.prefixRef(), held_);
    EXPECT_EQ(info_.oldPartitionId(), old_);
    EXPECT_EQ(info_.newPartitionId(), new_);
    EXPECT_EQ(held_->references(), 2U);
    {
        TrieNodeInfo const copy = info_;
        EXPECT_EQ(copy, info_);
        EXPECT_EQ(held_->references(), 3U);
        EXPECT_EQ(old_->references(), 3U);
        EXPECT_EQ(new_->references(), 3U);
    }
    EXPECT_EQ(held_->references(), 2U);
    EXPECT_EQ(old_->references(), 2U);
    EXPECT_EQ(new_->references(), 2U);
}

TEST_F(NodesInfoTest, aDefaultRecordIsAllNull) {
    TrieNodeInfo const info;
    EXPECT_EQ(info.prefixRef(), nullptr);
    EXPECT_EQ(info.oldPartitionId(), nullptr);
    EXPECT_EQ(info.newPartitionId(), nullptr);
    EXPECT_EQ(info, TrieNodeInfo());
    EXPECT_FALSE(info == info_);
}

TEST_F(NodesInfoTest, fieldsAreSetOneByOne) {
    TrieNodeInfo info;
    info.prefixRefIs(held_);
    EXPECT_EQ(info, TrieNodeInfo(held_, nullptr, nullptr));
    info.oldPartitionIdIs(old_);
    EXPECT_EQ(info, TrieNodeInfo(held_, old_, nullptr));
    info.newPartitionIdIs(new_);
    EXPECT_EQ(info, info_);
    info.oldPartitionIdIs(nullptr);
    EXPECT_EQ(info, TrieNodeInfo(held_, nullptr, new_));
}

TEST_F(NodesInfoTest, equalRecordsHaveTheVerySameObjects) {
    EXPECT_TRUE(info_ == TrieNodeInfo(held_, old_, new_));
    EXPECT_FALSE(info_ == TrieNodeInfo(holder("10.0.0.0/8"), old_, new_)) << "an equal prefix";
    EXPECT_FALSE(info_ == TrieNodeInfo(held_, newId(1), new_)) << "an id of that number";
    EXPECT_FALSE(info_ == TrieNodeInfo(held_, old_, newId(2))) << "an id of that number";
    EXPECT_FALSE(info_ == TrieNodeInfo(held_, new_, old_)) << "the ids the other way round";
    EXPECT_FALSE(info_ == TrieNodeInfo(nullptr, old_, new_));
    EXPECT_FALSE(info_ == TrieNodeInfo(held_, nullptr, new_));
    EXPECT_FALSE(info_ == TrieNodeInfo(held_, old_, nullptr));
}

TEST_F(NodesInfoTest, aRecordIsTrueWhenAnyFieldIsSet) {
    static_assert(!std::is_convertible_v<TrieNodeInfo, bool>);
    EXPECT_FALSE(TrieNodeInfo());
    EXPECT_TRUE(TrieNodeInfo(held_, nullptr, nullptr));
    EXPECT_TRUE(TrieNodeInfo(nullptr, old_, nullptr));
    EXPECT_TRUE(TrieNodeInfo(nullptr, nullptr, new_));
    EXPECT_TRUE(TrieNodeInfo(nullptr, nullptr, newId(0))) << "the number does not matter";
    EXPECT_TRUE(info_);
}

/** Family, 16 address bytes in network order, length: as the prefix lies in memory. */
U32 hashOf(U32 family, std::array<unsigned char, 16> const& address, U32 len) {
    struct {
        U32 family;
        std::array<unsigned char, 16> address;
        U32 len;
    } const value{family, address, len};
    static_assert(sizeof value == 24);
    Torvel::HashMix mix(0);
    mix.mix(&value, sizeof value);
    return U32(mix);
}

TEST_F(NodesInfoTest, theHashIsThatOfThePrefixValueAlone) {
    EXPECT_EQ(info_.hash(), hashOf(1, {10}, 8));
    EXPECT_EQ(TrieNodeInfo(held_, nullptr, nullptr).hash(), info_.hash());
    EXPECT_EQ(TrieNodeInfo(held_, new_, old_).hash(), info_.hash());
    EXPECT_EQ(TrieNodeInfo(holder("10.0.0.0/8"), old_, new_).hash(), info_.hash());
    EXPECT_EQ(TrieNodeInfo(holder("10.0.0.0/9"), old_, new_).hash(), hashOf(1, {10}, 9));
    EXPECT_EQ(TrieNodeInfo(holder("a00::/8"), old_, new_).hash(), hashOf(2, {10}, 8));
    EXPECT_EQ(TrieNodeInfo(holder("2001:db8::1/128"), old_, new_).hash(),
              hashOf(2, {0x20, 1, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 128));
}

TEST_F(NodesInfoTest, familyAddressAndLengthEachTakePartInTheHash) {
    U32 const hash = info_.hash();
    EXPECT_NE(TrieNodeInfo(holder("10.0.0.0/9"), old_, new_).hash(), hash);
    EXPECT_NE(TrieNodeInfo(holder("11.0.0.0/8"), old_, new_).hash(), hash);
    EXPECT_NE(TrieNodeInfo(holder("a00::/8"), old_, new_).hash(), hash);
}

TEST_F(NodesInfoTest, recordsAreOrderedByFamilyThenAddressThenLength) {
    std::array const ascending{"0.0.0.0/0",   "0.0.0.0/32", "10.0.0.0/8",  "10.0.0.0/9",
                               "10.0.0.1/32", "11.0.0.0/8", "128.0.0.0/1", "255.255.255.255/32",
                               "::/0",        "::1/128",    "a00::/8",     "8000::/1"};
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        for (std::size_t j = 0; j < ascending.size(); ++j) {
            // The ids run the other way, and are of no account.
            TrieNodeInfo const a(holder(ascending[i]), j < i ? old_ : new_, nullptr);
            TrieNodeInfo const b(holder(ascending[j]), j < i ? new_ : old_, nullptr);
            EXPECT_EQ(a < b, i < j) << ascending[i] << " and " << ascending[j];
        }
    }
}

TEST_F(NodesInfoTest, recordsOfEqualPrefixesAreUnorderedThoughUnequal) {
    TrieNodeInfo const other(holder("10.0.0.0/8"), new_, old_);
    EXPECT_FALSE(info_ < other);
    EXPECT_FALSE(other < info_);
    EXPECT_FALSE(info_ == other);
}

TEST_F(NodesInfoTest, theTextFormNamesTheThreeFields) {
    EXPECT_EQ(valueToStrep(info_),
              recordText("'10.0.0.0/8'", valueToStrep(old_), valueToStrep(new_)));
    EXPECT_EQ(valueToStrep(info_),
              Vexo::formatString("Value('LpmTrie::TrieNodeInfo', ** {'prefixRef': '10.0.0.0/8', "
                                 "'oldPartitionId': Object('LpmTrie::PartitionId', %p), "
                                 "'newPartitionId': Object('LpmTrie::PartitionId', %p)})",
                                 static_cast<void*>(old_.get()), static_cast<void*>(new_.get())));
    EXPECT_EQ(streamed(info_), valueToStrep(info_));
}

TEST_F(NodesInfoTest, aNullFieldsTextIsNone) {
    EXPECT_EQ(valueToStrep(TrieNodeInfo()),
              "Value('LpmTrie::TrieNodeInfo', ** {'prefixRef': None, 'oldPartitionId': None, "
              "'newPartitionId': None})");
    EXPECT_EQ(streamed(TrieNodeInfo()), valueToStrep(TrieNodeInfo()));
    EXPECT_EQ(valueToStrep(TrieNodeInfo(holder("2001:db8::/32"), nullptr, nullptr)),
              recordText("'2001:db8::/32'", "None", "None"));
    EXPECT_EQ(valueToStrep(TrieNodeInfo(nullptr, old_, nullptr)),
              recordText("None", valueToStrep(old_), "None"));
}

}  // namespace
