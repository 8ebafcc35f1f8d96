/*
 * What the trie shows by name. The order of the rows is binding; a row that reaches a virtual
 * operation calls it through the virtual table, so that a client's overrides are what a script
 * reaches.
 */

#include <LpmTrie/Module.h>
#include <LpmTrie/RouteQueries.h>
#include <LpmTrie/Trie.h>
#include <Vexo/Attribute.h>
#include <Vexo/Registry.h>

#include <ios>

namespace LpmTrie {

namespace {

using namespace Vexo;

constexpr std::array attributes{
    valueAttribute<&Trie::vrfId>("vrfId"),
    unservedAttribute("root"),
    unservedAttribute("allocateNode"),
    unservedAttribute("deallocateNode"),
    functionAttribute<&Trie::insertFromRoot>("insertFromRoot", "prefix", "isFibRoute",
                                             "isPartitionNode", "partitionId", "hwTable"),
    functionAttribute<&Trie::findPartitionNode>("findPartitionNode", "prefix",
                                                "includePendingRmPartition"),
    functionAttribute<&Trie::remove>("remove", "prefix"),
    functionAttribute<&Trie::verify>("verify"),
    functionAttribute<&Trie::dump>("dump", "socket"),
    valueAttribute<&Trie::dumpLimit, &Trie::dumpLimitIs>("dumpLimit"),
    functionAttribute<&Trie::dumpPrefix>("dumpPrefix", "socket", "prefix"),
    functionAttribute<&Trie::dumpPartition>("dumpPartition", "socket"),
    valueAttribute<&Trie::af, &Trie::afIs>("af"),
};
constexpr Attribute constructor = functionAttribute<&Trie::TrieIs>("Trie", "vrfId");
constinit TypeDescription const description{
    .base = &PtrInterface::fwkType_, .attributes = attributes, .constructor = &constructor};

/** A script may hand in None; a question to no trie is an error, not a crash. */
Trie& needed(Trie::Ptr const& trie) {
    if (!trie) {
        throw ConversionException("parameter 'trie'", "reference to LpmTrie::Trie", "None");
    }
    return *trie;
}

String refusalOf(Trie::Ptr const& trie, Nimbal::IpGenPrefix const& prefix, bool isFibRoute,
                 bool isPartitionNode, PartitionId::Ptr const& partitionId, U32 hwTable) {
    return insertionRefusal(needed(trie), prefix, nullptr, isFibRoute, isPartitionNode, partitionId,
                            hwTable)
        .value_or("");
}

Vexo::Ptr<Nimbal::IpGenPrefixRef> longestMatchOf(Trie::Ptr const& trie,
                                                 Nimbal::IpGenPrefix const& prefix) {
    Node const* const node = longestMatch(needed(trie), prefix);
    return node != nullptr ? node->prefixRef() : nullptr;
}

PartitionId::Ptr partitionOf(Trie::Ptr const& trie, Nimbal::IpGenPrefix const& prefix) {
    // A look-up does not compare families.
    if (needed(trie).af() != prefix.af()) {
        return nullptr;
    }
    Node const* const node = trie->findPartitionNode(prefix, false).partitionNode();
    return node != nullptr ? node->partitionId() : nullptr;
}

void removeAllOf(Trie::Ptr const& trie) {
    removeAll(needed(trie));
}

constexpr std::array functions{
    functionAttribute<&refusalOf>("insertionRefusal", "trie", "prefix", "isFibRoute",
                                  "isPartitionNode", "partitionId", "hwTable"),
    functionAttribute<&longestMatchOf>("longestMatch", "trie", "prefix"),
    functionAttribute<&partitionOf>("partitionOf", "trie", "prefix"),
    functionAttribute<&removeAllOf>("removeAll", "trie"),
};

// The stream library first: traces of the registered types may run before main().
std::ios_base::Init const streams;
ModuleRegistration const registration(lpmTrieModule,
                                      {&Trie::fwkType_, &TrieNodesInfo::fwkType_,
                                       &TrieNodeInfo::fwkType_, &TrieReturnCode::fwkType_,
                                       &TrieNodeReturnCode::fwkType_,
                                       &TrieTraversalReturnCode::fwkType_,
                                       &TrieFindMergeReturnCode::fwkType_},
                                      functions);

}  // namespace

constinit FwkType const Trie::fwkType_("LpmTrie::Trie", lpmTrieModule, 6, description);

}  // namespace LpmTrie
