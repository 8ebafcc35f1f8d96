#include <LpmTrie/Module.h>
#include <LpmTrie/NodesInfo.h>
#include <Vexo/Attribute.h>

#include <ostream>

namespace LpmTrie {

namespace {

using namespace Vexo;

constexpr auto infoAttributes = joinRows(
    recordAttributes<TrieNodeInfo>(), std::array{functionAttribute<&TrieNodeInfo::hash>("hash")});
constexpr ValueOps infoOps = valueOps<TrieNodeInfo>();
constexpr Attribute infoConstructor = functionAttribute<
    &construct<TrieNodeInfo, TrieNodeInfo::PrefixRef, PartitionId::Ptr, PartitionId::Ptr>>(
    "TrieNodeInfo", "prefixRef", "oldPartitionId", "newPartitionId");
constinit TypeDescription const infoDescription{
    .attributes = infoAttributes, .value = &infoOps, .constructor = &infoConstructor};

/** How the collection is reached by name. */
struct NodeInfoCollection {
    using Object = TrieNodesInfo;
    using Key = TrieNodeInfo;
    using Mapped = bool;
    static TrieNodesInfo::Map const& map(Object const& object) { return object.nodeInfo(); }
    static bool lookUp(Object const& object, Key const& key) { return object.nodeInfo(key); }
    static void put(Object& object, Key const& key, bool value) { object.nodeInfoIs(key, value); }
    static bool erase(Object& object, Key const& key) { return object.nodeInfoDel(key); }
};

constexpr std::array nodesInfoAttributes{collectionAttribute<NodeInfoCollection>("nodeInfo")};
constexpr Attribute nodesInfoConstructor =
    functionAttribute<&TrieNodesInfo::TrieNodesInfoIs>("TrieNodesInfo");
constinit TypeDescription const nodesInfoDescription{.base = &PtrInterface::fwkType_,
                                                     .attributes = nodesInfoAttributes,
                                                     .constructor = &nodesInfoConstructor};

}  // namespace

constinit FwkType const TrieNodesInfo::fwkType_("LpmTrie::TrieNodesInfo", lpmTrieModule, 2,
                                                nodesInfoDescription);
constinit FwkType const TrieNodeInfo::fwkType_("LpmTrie::TrieNodeInfo", lpmTrieModule, 8,
                                               infoDescription);

TrieNodeInfo::TrieNodeInfo(Vexo::CharRange& range) {
    Vexo::readRecord(range, *this);
}

Nimbal::IpGenPrefix const& TrieNodeInfo::neededPrefix() const {
    if (!prefixRef_) {
        throw RangeException("a record without a prefix has neither hash nor order");
    }
    return prefixRef_->prefix();
}

U32 TrieNodeInfo::hash() const {
    return neededPrefix().hash();
}

std::ostream& operator<<(std::ostream& out, TrieNodeInfo const& info) {
    return out << Vexo::valueToStrep(info);
}

U32 TrieNodesInfo::Keys::order(VexoNodeInfo const* first, TrieNodeInfo const& probe,
                               VexoNodeInfo const& second) {
    TrieNodeInfo const& key = first != nullptr ? first->key() : probe;
    if (key == second.key()) {
        return 0;
    }
    return key < second.key() ? 1 : 2;
}

TrieNodesInfo::Ptr TrieNodesInfo::TrieNodesInfoIs() {
    Ptr nodesInfo(new TrieNodesInfo);
    nodesInfo->hasNotificationActiveIs(true);
    return nodesInfo;
}

TrieNodesInfo::Ptr trieNodesInfoFactory() {
    return TrieNodesInfo::TrieNodesInfoIs();
}

Vexo::FwkType const* TrieNodesInfo::fwkType() const {
    return &fwkType_;
}

bool TrieNodesInfo::nodeInfo(TrieNodeInfo const& info) const {
    VexoNodeInfo const* const entry = nodeInfo_.find(info);
    return entry != nullptr && entry->value();
}

void TrieNodesInfo::nodeInfoIs(TrieNodeInfo const& info, bool value) {
    auto const [entry, added] =
        nodeInfo_.findOrInsert(info, [&] { return VexoNodeInfo(info, value); });
    if (!added) {
        entry->valueIs(value);
    }
}

bool TrieNodesInfo::nodeInfoDel(TrieNodeInfo const& info) {
    return nodeInfo_.erase(info);
}

void TrieNodesInfo::nodeInfoDelAll() noexcept {
    nodeInfo_.clear();
}

}  // namespace LpmTrie
