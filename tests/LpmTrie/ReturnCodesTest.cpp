#include <LpmTrie/ReturnCodes.h>

#include <LpmTrie/LpmTrieTypes.h>
#include <Vexo/AttributeAccess.h>
#include <Vexo/Value.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <type_traits>
#include <vector>

namespace {

using LpmTrie::Node;
using LpmTrie::TrieFindMergeReturnCode;
using LpmTrie::TrieNodeReturnCode;
using LpmTrie::TrieReturnCode;
using LpmTrie::TrieTraversalReturnCode;
using Vexo::String;
using Vexo::U64;
using Vexo::valueToStrep;

/** Nodes that are nowhere: the records only carry their addresses. */
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

/** The first record is the default one; no two are equal. */
template <class R>
std::vector<R> differentRecords();
template <>
std::vector<TrieReturnCode> differentRecords() {
    return {{},
            {one, nullptr, nullptr, false},
            {two, nullptr, nullptr, false},
            {nullptr, one, nullptr, false},
            {nullptr, nullptr, one, false},
            {nullptr, nullptr, nullptr, true},
            {one, two, three, false},
            {one, two, three, true}};
}
template <>
std::vector<TrieNodeReturnCode> differentRecords() {
    return {{}, {one, false}, {two, false}, {nullptr, true}, {one, true}};
}
template <>
std::vector<TrieTraversalReturnCode> differentRecords() {
    return {{}, {one, 0, 0}, {nullptr, 1, 0}, {nullptr, 0, 1}, {one, 1, 7}, {one, 7, 1}};
}
template <>
std::vector<TrieFindMergeReturnCode> differentRecords() {
    return {{},
            findMerge(one, nullptr, false),
            findMerge(nullptr, one, false),
            findMerge(nullptr, nullptr, true),
            findMerge(one, two, true)};
}

template <class R>
class ReturnCodesTest : public testing::Test {};
using Records = testing::Types<TrieReturnCode, TrieNodeReturnCode, TrieTraversalReturnCode,
                               TrieFindMergeReturnCode>;
TYPED_TEST_SUITE(ReturnCodesTest, Records);

TYPED_TEST(ReturnCodesTest, areEqualWhenAllFieldsAre) {
    auto const all = differentRecords<TypeParam>();
    for (std::size_t i = 0; i < all.size(); ++i) {
        TypeParam const copy = all[i];
        EXPECT_TRUE(copy == all[i]) << i;
        for (std::size_t j = 0; j < all.size(); ++j) {
            EXPECT_EQ(all[i] == all[j], i == j) << i << ' ' << j;
            EXPECT_EQ(all[i] != all[j], i != j) << i << ' ' << j;
        }
    }
    EXPECT_EQ(TypeParam(), TypeParam());
}

TYPED_TEST(ReturnCodesTest, areTrueWhenAnyFieldIsSet) {
    auto const all = differentRecords<TypeParam>();
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(static_cast<bool>(all[i]), i != 0) << i;
    }
}

template <class R>
concept HasHash = requires(R const& record) {
    record.hash();
};

TYPED_TEST(ReturnCodesTest, haveNoHash) {
    static_assert(!HasHash<TypeParam> && HasHash<LpmTrie::PendingState>);
    static_assert(!std::is_default_constructible_v<std::hash<TypeParam>>);
    EXPECT_THAT([] { Vexo::valueHash(Vexo::box(TypeParam())); },
                testing::ThrowsMessage<Vexo::UnhashableException>(
                    testing::HasSubstr(TypeParam::fwkType_.name())));
}

template <class R>
concept SettersTakeTemporaries = requires {
    R().nodeIs(nullptr);
}
|| requires {
    R().fromNodeIs(nullptr);
};

TYPED_TEST(ReturnCodesTest, areValuesOfPlainMembersWhoseSettersWantAnLvalue) {
    static_assert(std::is_trivially_copyable_v<TypeParam>);
    static_assert(!SettersTakeTemporaries<TypeParam>);
    static_assert(!std::is_convertible_v<TypeParam, bool>);
}

TEST(TrieReturnCodeTest, settersChangeTheirOwnFieldAlone) {
    TrieReturnCode code;
    static_assert(std::is_void_v<decltype(code.nodeIs(one))>);
    code.nodeIs(one);
    EXPECT_EQ(code, TrieReturnCode(one, nullptr, nullptr, false));
    code.partitionNodeIs(two);
    EXPECT_EQ(code, TrieReturnCode(one, two, nullptr, false));
    code.coveringPrefixNodeIs(three);
    EXPECT_EQ(code, TrieReturnCode(one, two, three, false));
    code.dirty = true;
    EXPECT_EQ(code.node(), one);
    EXPECT_EQ(code.partitionNode(), two);
    EXPECT_EQ(code.coveringPrefixNode(), three);
}

TEST(TrieNodeReturnCodeTest, constructorAndSetterGiveTheFields) {
    TrieNodeReturnCode code(one, true);
    EXPECT_EQ(code.node(), one);
    EXPECT_TRUE(code.success);
    code.nodeIs(two);
    EXPECT_EQ(code, TrieNodeReturnCode(two, true));
}

TEST(TrieTraversalReturnCodeTest, constructorGivesTheFieldsInOrder) {
    TrieTraversalReturnCode const code(one, 3, 17);
    EXPECT_EQ(code.node(), one);
    EXPECT_EQ(code.bit, 3U);
    EXPECT_EQ(code.level, 17U);
}

TEST(TrieFindMergeReturnCodeTest, isFilledByItsSettersOnly) {
    static_assert(!std::is_constructible_v<TrieFindMergeReturnCode, Node*, Node*, bool>);
    TrieFindMergeReturnCode code;
    code.fromNodeIs(one);
    EXPECT_EQ(code, findMerge(one, nullptr, false));
    code.toNodeIs(two);
    EXPECT_EQ(code, findMerge(one, two, false));
    EXPECT_EQ(code.fromNode(), one);
    EXPECT_EQ(code.toNode(), two);
}

template <class R>
void expectText(R const& record, String const& text) {
    std::ostringstream stream;
    stream << '<' << record << '>';
    EXPECT_EQ(valueToStrep(record), text);
    EXPECT_EQ(stream.str(), "<" + text + ">");
}

TEST(ReturnCodesTextTest, isTheOneFieldThatIsNoPointer) {
    expectText(TrieReturnCode(), "False");
    expectText(TrieReturnCode(one, two, three, false), "False");
    expectText(TrieReturnCode(one, two, three, true), "True");
    expectText(TrieNodeReturnCode(), "False");
    expectText(TrieNodeReturnCode(one, true), "True");
    expectText(TrieFindMergeReturnCode(), "False");
    expectText(findMerge(one, two, true), "True");
}

TEST(ReturnCodesTextTest, ofAStepIsFramedAndLeavesTheNodeOut) {
    expectText(TrieTraversalReturnCode(),
               "Value('LpmTrie::TrieTraversalReturnCode', ** {'bit': 0, 'level': 0})");
    expectText(TrieTraversalReturnCode(one, 1, 7),
               "Value('LpmTrie::TrieTraversalReturnCode', ** {'bit': 1, 'level': 7})");
    expectText(TrieTraversalReturnCode(one, 0x80000000U, 0xffffffffU),
               "Value('LpmTrie::TrieTraversalReturnCode', ** "
               "{'bit': 2147483648, 'level': 4294967295})");
}

}  // namespace
