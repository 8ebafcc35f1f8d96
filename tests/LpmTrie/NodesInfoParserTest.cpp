#include <LpmTrie/NodesInfo.h>

#include <tests/LpmTrie/PartitionWorld.h>
#include <tests/Support/RefusedText.h>

namespace {

using namespace std::string_literals;
using LpmTrieTest::IpGenPrefix;
using LpmTrieTest::newId;
using LpmTrieTest::PartitionId;
using LpmTrieTest::prefix;
using LpmTrieTest::String;
using LpmTrieTest::TrieNodeInfo;
using Nimbal::IpGenPrefixRef;
using Vexo::CharRange;
using Vexo::RangeException;
using Vexo::strepToValue;
using Vexo::valueToStrep;

String recordText(String const& prefixRef, String const& oldId, String const& newId) {
    return "Value('LpmTrie::TrieNodeInfo', ** {'prefixRef': " + prefixRef +
           ", 'oldPartitionId': " + oldId + ", 'newPartitionId': " + newId + "})";
}
/** The attribute that the refusal of `text` names; "accepted" when it is not refused. */
String refusedAttribute(String const& text) {
    try {
        strepToValue<TrieNodeInfo>(text);
    } catch (RangeException const& error) {
        return error.attribute();
    }
    return "accepted";
}

class NodesInfoParserTest : public TestSupport::LeakCheck {
protected:
    IpGenPrefixRef::Ptr const held_ = IpGenPrefixRef::IpGenPrefixRefIs(prefix("10.0.0.0/8"));
    PartitionId::Ptr const old_ = newId(1);
    PartitionId::Ptr const new_ = newId(2);
    String const text_ = valueToStrep(TrieNodeInfo(held_, old_, new_));
};

TEST_F(NodesInfoParserTest, aTextReadsBackWithTheSameIdsAndANewHolder) {
    TrieNodeInfo const info = strepToValue<TrieNodeInfo>(text_);
    ASSERT_NE(info.prefixRef(), nullptr);
    EXPECT_NE(info.prefixRef(), held_);
    EXPECT_EQ(info.prefixRef()->prefix(), held_->prefix());
    EXPECT_EQ(info.prefixRef()->references(), 1U);
    EXPECT_EQ(info.oldPartitionId(), old_);
    EXPECT_EQ(info.newPartitionId(), new_);
    EXPECT_EQ(old_->references(), 2U);
    EXPECT_FALSE(info == TrieNodeInfo(held_, old_, new_)) << "the holder is another";
    EXPECT_EQ(valueToStrep(info), text_);
}

TEST_F(NodesInfoParserTest, withoutMemoryNothingIsReadAndNothingKept) {
    EXPECT_GT(TestSupport::failEachAllocation(
                  [this] { EXPECT_EQ(strepToValue<TrieNodeInfo>(text_).newPartitionId(), new_); },
                  [this] {
                      EXPECT_EQ(held_->references(), 1U);
                      EXPECT_EQ(old_->references(), 1U);
                      EXPECT_EQ(new_->references(), 1U);
                  }),
              5U);
}

TEST_F(NodesInfoParserTest, withoutMemoryARefusalIsWantOfMemory) {
    TestSupport::expectRefusedOrNoMemory<TrieNodeInfo>(recordText("None", "nothing", "None"));
}

TEST_F(NodesInfoParserTest, nullFieldsReadBack) {
    EXPECT_EQ(strepToValue<TrieNodeInfo>(recordText("None", "None", "None")), TrieNodeInfo());
    for (TrieNodeInfo const& info :
         {TrieNodeInfo(nullptr, old_, nullptr), TrieNodeInfo(nullptr, nullptr, new_),
          TrieNodeInfo(nullptr, old_, old_)}) {
        EXPECT_EQ(strepToValue<TrieNodeInfo>(valueToStrep(info)), info) << info;
    }
}

TEST_F(NodesInfoParserTest, everyPrefixThatIsWrittenIsReadBack) {
    for (IpGenPrefix const& value :
         {prefix("0.0.0.0/0"), prefix("255.255.255.255/32"), prefix("2001:db8::/32"),
          prefix("::ffff:10.0.0.0/104"), IpGenPrefix(Nimbal::IpAddr(0x0a000001), 8),
          IpGenPrefix(Nimbal::IpAddr(0), 200), IpGenPrefix()}) {
        TrieNodeInfo const info(IpGenPrefixRef::IpGenPrefixRefIs(value), nullptr, nullptr);
        TrieNodeInfo const read = strepToValue<TrieNodeInfo>(valueToStrep(info));
        ASSERT_NE(read.prefixRef(), nullptr) << info;
        EXPECT_EQ(read.prefixRef()->prefix(), value);
    }
}

TEST_F(NodesInfoParserTest, aTextCutAtAnyByteIsRefused) {
    for (std::size_t length = 0; length < text_.size(); ++length) {
        EXPECT_THROW(strepToValue<TrieNodeInfo>(text_.substr(0, length)), RangeException)
            << text_.substr(0, length);
    }
    EXPECT_EQ(old_->references(), 1U);
    EXPECT_EQ(new_->references(), 1U);
}

TEST_F(NodesInfoParserTest, aTextWithAnyByteChangedToNulIsRefused) {
    for (std::size_t at = 0; at < text_.size(); ++at) {
        String changed = text_;
        changed[at] = '\0';
        EXPECT_THROW(strepToValue<TrieNodeInfo>(changed), RangeException) << at;
    }
    EXPECT_EQ(old_->references(), 1U);
}

TEST_F(NodesInfoParserTest, trailingTextIsRefusedInAWholeTextAlone) {
    for (String const& rest : {" "s, "\0"s, "}"s, "\n"s, text_}) {
        EXPECT_THROW(strepToValue<TrieNodeInfo>(text_ + rest), RangeException) << rest;
        String const longer = text_ + rest;
        CharRange range(longer);
        TrieNodeInfo const info(range);
        EXPECT_EQ(info.newPartitionId(), new_);
        EXPECT_EQ(range.rest(), rest);
    }
}

TEST_F(NodesInfoParserTest, nothingButTheFrameToTheLetterIsRead) {
    String const oldName = valueToStrep(old_);
    for (String const& text :
         {" " + text_, "'10.0.0.0/8'"s, "None"s, "Value('LpmTrie::TrieNodeInfo', ** {})"s,
          "Value('LpmTrie::TrieReturnCode" + text_.substr(28),
          "Value('LpmTrie::TrieNodeInfo', ** { " + text_.substr(35),
          "Value('LpmTrie::TrieNodeInfo',** {" + text_.substr(35),
          "Value('LpmTrie::TrieNodeInfo', ** {'oldPartitionId': None, 'prefixRef': None, "
          "'newPartitionId': None})"s,
          "Value('LpmTrie::TrieNodeInfo', ** {'prefixRef': None, 'newPartitionId': None, "
          "'oldPartitionId': None})"s,
          "Value('LpmTrie::TrieNodeInfo', ** {'prefixRef': None, 'oldPartitionId': None})"s,
          "Value('LpmTrie::TrieNodeInfo', ** {'prefixref': None, 'oldPartitionId': None, "
          "'newPartitionId': None})"s,
          "Value('LpmTrie::TrieNodeInfo', ** {'prefixRef': None,'oldPartitionId': None, "
          "'newPartitionId': None})"s,
          "Value('LpmTrie::TrieNodeInfo', ** {'prefixRef': None, 'oldPartitionId': None, "
          "'newPartitionId': None, })"s}) {
        EXPECT_EQ(refusedAttribute(text), "") << text;
    }
    ASSERT_EQ(text_.substr(0, 35), "Value('LpmTrie::TrieNodeInfo', ** {");
    EXPECT_EQ(refusedAttribute(text_), "accepted");
}

TEST_F(NodesInfoParserTest, anIdThatHasGoneIsRefusedByTheNameOfItsAttribute) {
    PartitionId::Ptr gone = newId(3);
    String const name = valueToStrep(gone);
    EXPECT_EQ(refusedAttribute(recordText("None", name, "None")), "accepted");
    gone = nullptr;
    EXPECT_EQ(refusedAttribute(recordText("None", name, "None")), "oldPartitionId");
    EXPECT_EQ(refusedAttribute(recordText("None", "None", name)), "newPartitionId");
    EXPECT_EQ(refusedAttribute(recordText("None", name, name)), "oldPartitionId") << "the first";
}

TEST_F(NodesInfoParserTest, anObjectOfAnotherTypeIsRefusedByTheNameOfItsAttribute) {
    Torvel::Bitmap::Ptr const bitmap = Torvel::Bitmap::BitmapIs();
    String const name = Vexo::objectToStrep(bitmap.get());
    EXPECT_EQ(refusedAttribute(recordText("None", name, "None")), "oldPartitionId");
    EXPECT_EQ(refusedAttribute(recordText("None", "None", name)), "newPartitionId");
    EXPECT_EQ(refusedAttribute(recordText(name, "None", "None")), "prefixRef");
    EXPECT_EQ(bitmap->references(), 1U);
}

TEST_F(NodesInfoParserTest, aWrongValueIsRefusedByTheNameOfItsAttribute) {
    for (char const* const text : {"'10.0.0.0/33'", "'10.0.0.1/8'", "'10.0.0.0'", "'10.0.0.0/8 '",
                                   "'10.0.0.0/8\\x00'", "'10.0.0.0/4294967304'", "10.0.0.0/8", "''",
                                   "'2001:db8::/129'", "'2001:db8::1/32'", "none", "0x10"}) {
        EXPECT_EQ(refusedAttribute(recordText(text, "None", "None")), "prefixRef") << text;
    }
    for (char const* const text :
         {"1", "0x10", "True", "'PartitionId'", "none", "Object('LpmTrie::PartitionId', 0x0)",
          "Object('LpmTrie::PartitionId', 0x10000000000000000)", "Object('LpmTrie::PartitionId')",
          "Object('LpmTrie::PartitionId', None)", "PartitionId:1 references:1"}) {
        EXPECT_EQ(refusedAttribute(recordText("None", text, "None")), "oldPartitionId") << text;
        EXPECT_EQ(refusedAttribute(recordText("None", "None", text)), "newPartitionId") << text;
    }
}

TEST_F(NodesInfoParserTest, aFailureBehindThePrefixLeavesNoHolder) {
    EXPECT_EQ(refusedAttribute(recordText("'10.0.0.0/8'", "wrong", "None")), "oldPartitionId");
    EXPECT_EQ(refusedAttribute(recordText("'10.0.0.0/8'", valueToStrep(old_), "wrong")),
              "newPartitionId");
    EXPECT_EQ(old_->references(), 1U);
}

}  // namespace
