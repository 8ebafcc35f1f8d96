#include <LpmTrie/ReturnCodes.h>

#include <tests/LpmTrie/RecordParsing.h>
#include <tests/Support/RefusedText.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using LpmTrie::Node;
using LpmTrie::TrieFindMergeReturnCode;
using LpmTrie::TrieNodeReturnCode;
using LpmTrie::TrieReturnCode;
using LpmTrie::TrieTraversalReturnCode;
using LpmTrieTest::expectForeignBytesRefused;
using LpmTrieTest::expectRefused;
using LpmTrieTest::expectTruncationsRefused;
using LpmTrieTest::expectValuesRefused;
using LpmTrieTest::refusalOf;
using Vexo::strepToValue;
using Vexo::String;
using Vexo::U64;
using Vexo::valueToStrep;

/** Nodes that are nowhere: in a text a node is a number, of as many bits as the machine's. */
#if UINTPTR_MAX > 0xffffffff
#define TWO "0x7fff12345678"
#define THREE "0xffffffffffffffff"
#else
#define TWO "0x12345678"
#define THREE "0xffffffff"
#endif
Node* nodeAt(U64 address) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address to print, that nobody looks at
    return reinterpret_cast<Node*>(address);
}
Node* const one = nodeAt(0x10);
Node* const two = nodeAt(0x7fff12345678);
Node* const three = nodeAt(0xffffffffffffffff);

TrieFindMergeReturnCode findMerge(Node* fromNode, Node* toNode, bool dirty) {
    TrieFindMergeReturnCode code;
    code.fromNodeIs(fromNode);
    code.toNodeIs(toNode);
    code.dirty = dirty;
    return code;
}

/** A text with a value in every field, and what it is read as; one with every field zero. */
template <class R>
struct Sample;
template <>
struct Sample<TrieReturnCode> {
    static constexpr auto text =
        "Value('LpmTrie::TrieReturnCode', ** {'node': 0x10, "
        "'partitionNode': " TWO ", 'coveringPrefixNode': " THREE ", 'dirty': True})"sv;
    static constexpr auto zeros = "Value('LpmTrie::TrieReturnCode', ** {'node': None, "
                                  "'partitionNode': None, 'coveringPrefixNode': None, "
                                  "'dirty': False})"sv;
    static TrieReturnCode value() { return {one, two, three, true}; }
};
template <>
struct Sample<TrieNodeReturnCode> {
    static constexpr auto text =
        "Value('LpmTrie::TrieNodeReturnCode', ** {'node': 0x10, 'success': True})"sv;
    static constexpr auto zeros =
        "Value('LpmTrie::TrieNodeReturnCode', ** {'node': None, 'success': False})"sv;
    static TrieNodeReturnCode value() { return {one, true}; }
};
template <>
struct Sample<TrieTraversalReturnCode> {
    static constexpr auto text = "Value('LpmTrie::TrieTraversalReturnCode', ** {'node': 0x10, "
                                 "'bit': 12, 'level': 4294967295})"sv;
    static constexpr auto zeros = "Value('LpmTrie::TrieTraversalReturnCode', ** {'node': None, "
                                  "'bit': 0, 'level': 0})"sv;
    static TrieTraversalReturnCode value() { return {one, 12, 0xffffffffU}; }
};
template <>
struct Sample<TrieFindMergeReturnCode> {
    static constexpr auto text = "Value('LpmTrie::TrieFindMergeReturnCode', ** {'fromNode': 0x10, "
                                 "'toNode': " TWO ", 'dirty': True})"sv;
    static constexpr auto zeros = "Value('LpmTrie::TrieFindMergeReturnCode', ** {'fromNode': None, "
                                  "'toNode': None, 'dirty': False})"sv;
    static TrieFindMergeReturnCode value() { return findMerge(one, two, true); }
};

template <class R>
class ReturnCodesParserTest : public testing::Test {};
using Records = testing::Types<TrieReturnCode, TrieNodeReturnCode, TrieTraversalReturnCode,
                               TrieFindMergeReturnCode>;
TYPED_TEST_SUITE(ReturnCodesParserTest, Records);

TYPED_TEST(ReturnCodesParserTest, readsTheFullFrameWithEveryField) {
    using S = Sample<TypeParam>;
    EXPECT_EQ(strepToValue<TypeParam>(String(S::text)), S::value());
    EXPECT_EQ(strepToValue<TypeParam>(String(S::zeros)), TypeParam());
}

TYPED_TEST(ReturnCodesParserTest, leavesWhatFollowsToItsCaller) {
    String const text = String(Sample<TypeParam>::text) + ", more";
    Vexo::CharRange range(text);
    EXPECT_EQ(TypeParam(range), Sample<TypeParam>::value());
    EXPECT_EQ(range.rest(), ", more");
    expectRefused<TypeParam>(text, "");
}

TYPED_TEST(ReturnCodesParserTest, refusesEveryTruncation) {
    expectTruncationsRefused<TypeParam>(Sample<TypeParam>::text);
    expectTruncationsRefused<TypeParam>(Sample<TypeParam>::zeros);
}

TYPED_TEST(ReturnCodesParserTest, refusesBlanksNulsAndForeignBytesAnywhere) {
    expectForeignBytesRefused<TypeParam>(Sample<TypeParam>::text);
    expectForeignBytesRefused<TypeParam>(Sample<TypeParam>::zeros);
}

TYPED_TEST(ReturnCodesParserTest, refusesTheFrameOfAnyOtherType) {
    for (auto const text :
         {Sample<TrieReturnCode>::text, Sample<TrieNodeReturnCode>::text,
          Sample<TrieTraversalReturnCode>::text, Sample<TrieFindMergeReturnCode>::text}) {
        EXPECT_EQ(refusalOf<TypeParam>(text).has_value(), text != Sample<TypeParam>::text) << text;
    }
}

TYPED_TEST(ReturnCodesParserTest, refusesItsOwnPrintedForm) {
    expectRefused<TypeParam>(valueToStrep(TypeParam()), "");
    expectRefused<TypeParam>(valueToStrep(Sample<TypeParam>::value()), "");
}

TYPED_TEST(ReturnCodesParserTest, refusesABlankAfterTheBrace) {
    String text(Sample<TypeParam>::text);
    text.insert(text.find('{') + 1, 1, ' ');
    expectRefused<TypeParam>(text, "");
}

struct FieldText {
    std::string_view name;
    std::string_view value;
};

template <class R>
void expectNodesRefused(std::initializer_list<FieldText> fields) {
    for (FieldText const& field : fields) {
        expectValuesRefused<R>(Sample<R>::text, field.name, field.value,
                               {"", "0x", "x10", "10", "True", "none", "'0x10'", "-0x10", "0xg",
                                "0x1ffffffffffffffff", "Object('LpmTrie::Node', 0x10)", "\0x10"sv});
    }
}
template <class R>
void expectBooleansRefused(std::string_view name) {
    expectValuesRefused<R>(Sample<R>::text, name, "True",
                           {"", "1", "0", "true", "TRUE", "Tru", "None", "'True'", "0x1", "\0"sv});
}

TEST(TrieReturnCodeParserTest, namesTheFieldWhoseValueIsWrong) {
    expectNodesRefused<TrieReturnCode>(
        {{"node", "0x10"}, {"partitionNode", TWO}, {"coveringPrefixNode", THREE}});
    expectBooleansRefused<TrieReturnCode>("dirty");
}

TEST(TrieNodeReturnCodeParserTest, namesTheFieldWhoseValueIsWrong) {
    expectNodesRefused<TrieNodeReturnCode>({{"node", "0x10"}});
    expectBooleansRefused<TrieNodeReturnCode>("success");
}

TEST(TrieTraversalReturnCodeParserTest, namesTheFieldWhoseValueIsWrong) {
    expectNodesRefused<TrieTraversalReturnCode>({{"node", "0x10"}});
    for (FieldText const& field : {FieldText{"bit", "12"}, FieldText{"level", "4294967295"}}) {
        expectValuesRefused<TrieTraversalReturnCode>(
            Sample<TrieTraversalReturnCode>::text, field.name, field.value,
            {"", "4294967296", "18446744073709551616", "99999999999999999999999999", "-1", "+1",
             "x", "True", "None", "'1'", "\0001"sv});
    }
}

TEST(TrieFindMergeReturnCodeParserTest, namesTheFieldWhoseValueIsWrong) {
    expectNodesRefused<TrieFindMergeReturnCode>({{"fromNode", "0x10"}, {"toNode", TWO}});
    expectBooleansRefused<TrieFindMergeReturnCode>("dirty");
}

TEST(NodePointerTextTest, isReadAsTheFrameworkWritesIt) {
    for (U64 const address : {U64{0}, U64{1}, U64{0x7fff12345678}, ~U64{0}}) {
        Node* const node = nodeAt(address);
        String const text = Vexo::valueToStrep(static_cast<void const*>(node));
        Vexo::CharRange range(text);
        EXPECT_EQ(Vexo::deserializeAttr<Node*>(range, "node"), node) << text;
        EXPECT_TRUE(range.empty()) << text;
    }
}

TEST(NodePointerTextTest, isRefusedByTheNameOfItsField) {
    Vexo::CharRange range("somewhere");
    try {
        static_cast<void>(Vexo::deserializeAttr<Node*>(range, "fromNode"));
        FAIL() << "has been read";
    } catch (Vexo::RangeException const& error) {
        EXPECT_EQ(error.attribute(), "fromNode");
    }
}

TEST(ReturnCodesParserTest, withoutMemoryARefusalIsWantOfMemory) {
    TestSupport::expectRefusedOrNoMemory<TrieReturnCode>(
        "Value('LpmTrie::TrieReturnCode', ** {'node': nothing, 'partitionNode': None, "
        "'coveringPrefixNode': None, 'dirty': True})");
}

}  // namespace
