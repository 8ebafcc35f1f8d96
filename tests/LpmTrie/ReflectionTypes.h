#pragma once

#include <tests/LpmTrie/Reflection.h>

/* What each type shows by name: one row an attribute, in the order that binds. */

namespace ReflectionTests {

enum class Offers { nothing, reading, writing, calling, entries };

struct DeclaredParameter {
    char const* name;
    char const* type;
};

struct DeclaredAttribute {
    char const* name;
    Offers offers;
    /** Of the value, of a function's result, of a collection's values; empty: nothing. A reference
     * is the object's type behind an ampersand. */
    String type = "";
    std::vector<DeclaredParameter> parameters = {};
    String keyType = "";
};

struct DeclaredType {
    FwkType const* type;
    char const* name;
    bool value;
    std::vector<DeclaredAttribute> attributes;
    /** Another one at each call. */
    Value (*sample)();
};

inline std::vector<DeclaredAttribute> attributesOfTrie() {
    char const* const bool_ = "bool";
    char const* const u32 = "U32";
    char const* const prefix = "Nimbal::IpGenPrefix";
    return {
        {"vrfId", Offers::reading, u32},
        {"root", Offers::nothing},
        {"allocateNode", Offers::nothing},
        {"deallocateNode", Offers::nothing},
        {"insertFromRoot",
         Offers::calling,
         "LpmTrie::TrieReturnCode",
         {{"prefix", prefix},
          {"isFibRoute", bool_},
          {"isPartitionNode", bool_},
          {"partitionId", "&LpmTrie::PartitionId"},
          {"hwTable", u32}}},
        {"findPartitionNode",
         Offers::calling,
         "LpmTrie::TrieReturnCode",
         {{"prefix", prefix}, {"includePendingRmPartition", bool_}}},
        {"remove", Offers::calling, "LpmTrie::TrieNodeReturnCode", {{"prefix", prefix}}},
        {"verify", Offers::calling},
        {"dump", Offers::calling, "", {{"socket", u32}}},
        {"dumpLimit", Offers::writing, u32},
        {"dumpPrefix", Offers::calling, "", {{"socket", u32}, {"prefix", prefix}}},
        {"dumpPartition", Offers::calling, "", {{"socket", u32}}},
        {"af", Offers::writing, u32},
    };
}

inline std::vector<DeclaredType> declaredTypes() {
    using enum Offers;
    char const* const pendingState = "LpmTrie::PendingState";
    char const* const partitionId_ = "&LpmTrie::PartitionId";
    return {
        {&Trie::fwkType_, "LpmTrie::Trie", false, attributesOfTrie(),
         [] { return box(ipv4Trie()); }},
        {&TrieNodesInfo::fwkType_,
         "LpmTrie::TrieNodesInfo",
         false,
         {{"nodeInfo", entries, "bool", {}, "LpmTrie::TrieNodeInfo"}},
         [] { return box(LpmTrie::trieNodesInfoFactory()); }},
        {&TrieNodeInfo::fwkType_,
         "LpmTrie::TrieNodeInfo",
         true,
         {{"prefixRef", writing, "&Nimbal::IpGenPrefixRef"},
          {"oldPartitionId", writing, partitionId_},
          {"newPartitionId", writing, partitionId_},
          {"hash", calling, "U32"}},
         [] { return box(TrieNodeInfo(holder("10.0.0.0/8"), partitionId(1), nullptr)); }},
        {&TrieReturnCode::fwkType_,
         "LpmTrie::TrieReturnCode",
         true,
         {{"node", nothing},
          {"partitionNode", nothing},
          {"coveringPrefixNode", nothing},
          {"dirty", writing, "bool"}},
         [] { return box(TrieReturnCode(nodeAt(8), nodeAt(16), nodeAt(24), true)); }},
        {&TrieNodeReturnCode::fwkType_,
         "LpmTrie::TrieNodeReturnCode",
         true,
         {{"node", nothing}, {"success", writing, "bool"}},
         [] { return box(TrieNodeReturnCode(nodeAt(8), true)); }},
        {&TrieTraversalReturnCode::fwkType_,
         "LpmTrie::TrieTraversalReturnCode",
         true,
         {{"node", nothing}, {"bit", reading, "U32"}, {"level", reading, "U32"}},
         [] { return box(TrieTraversalReturnCode(nodeAt(8), 1, 7)); }},
        {&TrieFindMergeReturnCode::fwkType_,
         "LpmTrie::TrieFindMergeReturnCode",
         true,
         {{"fromNode", nothing}, {"toNode", nothing}, {"dirty", writing, "bool"}},
         [] { return box(TrieFindMergeReturnCode()); }},
        {&PartitionIdValue::fwkType_,
         "LpmTrie::PartitionIdValue",
         true,
         {{"value", reading, "U32"}, {"hash", reading, "U32"}},
         [] { return box(PartitionIdValue(17)); }},
        {&PendingState::fwkType_,
         pendingState,
         true,
         {{"createPartition", writing, "bool"},
          {"removePartition", writing, "bool"},
          {"splittingPartition", writing, "bool"},
          {"maxPendingState", writing, "bool"},
          {"value", reading, "U32"},
          {"createPartition_", reading, pendingState},
          {"removePartition_", reading, pendingState},
          {"splittingPartition_", reading, pendingState},
          {"maxPendingState_", reading, pendingState}},
         [] { return box(PendingState(5)); }},
        {&PartitionId::fwkType_,
         "LpmTrie::PartitionId",
         false,
         {{"id", reading, "LpmTrie::PartitionIdValue"},
          {"mask", reading, "U32"},
          {"handleConstruction", calling},
          {"handleDestruction", calling},
          {"bitMap", reading, "&Torvel::Bitmap"}},
         [] { return box(partitionId(5)); }},
    };
}

}  // namespace ReflectionTests
