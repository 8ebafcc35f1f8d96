#pragma once

#include <LpmTrie/LpmTrie.h>
#include <Vexo/Registry.h>
#include <tests/Support/AttributeRequests.h>
#include <tests/Support/LeakCheck.h>

#include <gmock/gmock.h>

#include <string_view>

/* What the tests of the attributes by name share: short ways to the objects they ask. */

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

using namespace TestSupport;

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

}  // namespace ReflectionTests
