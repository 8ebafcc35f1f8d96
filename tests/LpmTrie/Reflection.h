#pragma once

#include <LpmTrie/LpmTrie.h>
#include <Vexo/AttributeAccess.h>
#include <Vexo/Registry.h>
#include <tests/Support/LeakCheck.h>

#include <gmock/gmock.h>

#include <array>
#include <string_view>
#include <vector>

/* What the tests of the attributes by name share: requests that are expected to be served, and an
 * object or value of each type. */

namespace ReflectionTests {

using LpmTrie::PartitionId;
using LpmTrie::PartitionIdValue;
using LpmTrie::PendingState;
using LpmTrie::Trie;
using LpmTrie::TrieFindMergeReturnCode;
using LpmTrie::TrieNodeInfo;
using LpmTrie::TrieNodeReturnCode;
using LpmTrie::TrieNodesInfo;
using LpmTrie::TrieReturnCode;
using LpmTrie::TrieTraversalReturnCode;
using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;
using Nimbal::IpGenPrefixRef;
using Torvel::Bitmap;
using Vexo::AttributeOperation;
using Vexo::AttributeStatus;
using Vexo::box;
using Vexo::ConversionException;
using Vexo::FwkType;
using Vexo::RangeException;
using Vexo::String;
using Vexo::U32;
using Vexo::U64;
using Vexo::unbox;
using Vexo::UnhashableException;
using Vexo::Value;
using Vexo::valueText;

using Operands = std::vector<Value>;

struct NamedOperation {
    AttributeOperation operation;
    char const* name;
};
inline constexpr std::array<NamedOperation, 13> allOperations{{
    {AttributeOperation::get, "get"},
    {AttributeOperation::set, "set"},
    {AttributeOperation::call, "call"},
    {AttributeOperation::truth, "truth"},
    {AttributeOperation::equal, "equal"},
    {AttributeOperation::less, "less"},
    {AttributeOperation::lookUp, "look up"},
    {AttributeOperation::put, "put"},
    {AttributeOperation::erase, "erase"},
    {AttributeOperation::count, "count"},
    {AttributeOperation::capacity, "capacity"},
    {AttributeOperation::contains, "contains"},
    {AttributeOperation::keyAt, "key at"},
}};

inline std::ostream& operator<<(std::ostream& stream, NamedOperation const& named) {
    return stream << named.name;
}

inline AttributeStatus statusOf(Value& self, String const& attribute, AttributeOperation operation,
                                Operands const& operands = {}) {
    return Vexo::attributeOperation(self, attribute, operation, operands, nullptr);
}

/** The result of a request that must be served. */
inline Value ask(Value& self, String const& attribute, AttributeOperation operation,
                 Operands const& operands = {}) {
    Value result;
    EXPECT_EQ(Vexo::attributeOperation(self, attribute, operation, operands, &result),
              AttributeStatus::done)
        << attribute;
    return result;
}
inline Value get(Value& self, String const& attribute) {
    return ask(self, attribute, AttributeOperation::get);
}
template <class T>
T getAs(Value& self, String const& attribute) {
    return unbox<T>(get(self, attribute), attribute);
}
inline void set(Value& self, String const& attribute, Value const& operand) {
    ask(self, attribute, AttributeOperation::set, {operand});
}
inline Value call(Value& self, String const& attribute, Operands const& operands = {}) {
    return ask(self, attribute, AttributeOperation::call, operands);
}
template <class T>
T callAs(Value& self, String const& attribute, Operands const& operands = {}) {
    return unbox<T>(call(self, attribute, operands), attribute);
}

/** The answer of an operation on a value as a whole, which must be served. */
inline bool askWhole(Value const& self, AttributeOperation operation,
                     Operands const& operands = {}) {
    Value result;
    EXPECT_EQ(Vexo::valueOperation(self, operation, operands, &result), AttributeStatus::done);
    return unbox<bool>(result, "answer");
}
inline bool isTrue(Value const& self) {
    return askWhole(self, AttributeOperation::truth);
}
inline bool areEqual(Value const& a, Value const& b) {
    return askWhole(a, AttributeOperation::equal, {b});
}
inline bool isLess(Value const& a, Value const& b) {
    return askWhole(a, AttributeOperation::less, {b});
}

inline IpGenPrefix prefix(std::string_view text) {
    return IpGenPrefix::fromString(text);
}
inline IpGenPrefixRef::Ptr holder(std::string_view text) {
    return IpGenPrefixRef::IpGenPrefixRefIs(prefix(text));
}
/** With a bitmap of its own. */
inline PartitionId::Ptr partitionId(U32 id, U32 mask = 0xffff) {
    return PartitionId::PartitionIdIs(PartitionIdValue(id), mask, Bitmap::BitmapIs());
}
inline Trie::Ptr ipv4Trie(U32 vrfId = 7) {
    Trie::Ptr trie = LpmTrie::trieFactory(vrfId);
    trie->afIs(AddressFamily::ipv4);
    return trie;
}
/** A pointer field's content; the node is never looked at. */
inline LpmTrie::Node* nodeAt(std::uintptr_t address) {
    return reinterpret_cast<LpmTrie::Node*>(address);
}

/** The message of the E that `work` must end in. */
template <class E, class Work>
String messageOf(Work const& work) {
    try {
        work();
    } catch (E const& error) {
        return error.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return "";
}

}  // namespace ReflectionTests
