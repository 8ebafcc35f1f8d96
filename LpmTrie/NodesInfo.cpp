#include <LpmTrie/Module.h>
#include <LpmTrie/NodesInfo.h>
#include <Torvel/HashMix.h>

#include <ostream>

namespace LpmTrie {

constinit Vexo::FwkType const TrieNodesInfo::fwkType_("LpmTrie::TrieNodesInfo", lpmTrieModule, 2);
constinit Vexo::FwkType const TrieNodeInfo::fwkType_("LpmTrie::TrieNodeInfo", lpmTrieModule, 8);

TrieNodeInfo::TrieNodeInfo(Vexo::CharRange& range) {
    Vexo::readRecord(range, *this);
}

U32 TrieNodeInfo::hash() const noexcept {
    Torvel::HashMix mix(0);
    mix.mix(&prefixRef_->prefix(), sizeof(Nimbal::IpGenPrefix));
    return static_cast<U32>(mix);
}

std::ostream& operator<<(std::ostream& out, TrieNodeInfo const& info) {
    return out << Vexo::valueToStrep(info);
}

U32 TrieNodesInfo::Keys::order(VexoNodeInfo const* first, TrieNodeInfo const& probe,
                               VexoNodeInfo const& second) noexcept {
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
    if (VexoNodeInfo* const entry = nodeInfo_.find(info)) {
        entry->valueIs(value);
    } else {
        nodeInfo_.insert(info, VexoNodeInfo(info, value));
    }
}

bool TrieNodesInfo::nodeInfoDel(TrieNodeInfo const& info) {
    return nodeInfo_.erase(info);
}

void TrieNodesInfo::nodeInfoDelAll() noexcept {
    nodeInfo_.clear();
}

}  // namespace LpmTrie
