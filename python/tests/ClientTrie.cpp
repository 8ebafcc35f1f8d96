/*
 * What a client's own library looks like to scripts: a trie and a node class of its own, in a
 * module of its own. Loading it is all that has to be done; its type then appears beside the
 * library's.
 */

#include <LpmTrie/LpmTrie.h>
#include <Vexo/Attribute.h>
#include <Vexo/Registry.h>

namespace Client {

using Vexo::U32;

class ClientNode : public LpmTrie::Node {
public:
    using Node::Node;
    Vexo::String getHwTableStr() const override { return Vexo::formatString("bank:%u", hwTable()); }
};

class ClientTrie : public LpmTrie::Trie {
public:
    explicit ClientTrie(U32 vrfId) : Trie(vrfId) {}
    static Vexo::Ptr<ClientTrie> ClientTrieIs(U32 vrfId) {
        Vexo::Ptr<ClientTrie> trie(new ClientTrie(vrfId));
        trie->hasNotificationActiveIs(true);
        return trie;
    }
    Vexo::FwkType const* fwkType() const override { return &fwkType_; }

    LpmTrie::Node* allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                                bool partitionNode, LpmTrie::PartitionId::Ptr const& partitionId,
                                U32 hwTable) override {
        if (nodesLeft_ == 0) {
            throw std::runtime_error("the client has no nodes left");
        }
        --nodesLeft_;
        return new ClientNode(prefixRef, fibRoute, partitionNode, partitionId, hwTable);
    }
    void deallocateNode(LpmTrie::Node* node) override {
        ++nodesLeft_;
        Trie::deallocateNode(node);
    }
    void movedNode(LpmTrie::Node*, LpmTrie::PartitionId::Ptr const&, U32) override { ++moves_; }
    LpmTrie::TrieReturnCode findPartitionNode(Nimbal::IpGenPrefix const& prefix,
                                              bool includePendingRmPartition) override {
        ++lookUps_;
        return Trie::findPartitionNode(prefix, includePendingRmPartition);
    }
    void verifyNodeProperties(LpmTrie::Node*) override { ++verifiedPartitions_; }

    U32 moves() const { return moves_; }
    U32 lookUps() const { return lookUps_; }
    U32 verifiedPartitions() const { return verifiedPartitions_; }
    U32 nodesLeft() const { return nodesLeft_; }
    void nodesLeftIs(U32 nodes) { nodesLeft_ = nodes; }

    static Vexo::FwkType const fwkType_;

private:
    U32 moves_ = 0;
    U32 lookUps_ = 0;
    U32 verifiedPartitions_ = 0;
    U32 nodesLeft_ = 1000;
};

namespace {

using namespace Vexo;

constinit FwkModule const clientModule("Client", "Client/ClientTrie");
constexpr std::array attributes{
    valueAttribute<&ClientTrie::moves>("moves"),
    valueAttribute<&ClientTrie::lookUps>("lookUps"),
    valueAttribute<&ClientTrie::verifiedPartitions>("verifiedPartitions"),
    valueAttribute<&ClientTrie::nodesLeft, &ClientTrie::nodesLeftIs>("nodesLeft"),
};
constexpr Attribute constructor = functionAttribute<&ClientTrie::ClientTrieIs>("Trie", "vrfId");
constinit TypeDescription const description{.base = &LpmTrie::Trie::fwkType_,
                                            .attributes = attributes,
                                            .value = nullptr,
                                            .constructor = &constructor};
ModuleRegistration const registration(clientModule, {&ClientTrie::fwkType_});

}  // namespace

constinit FwkType const ClientTrie::fwkType_("Client::ClientTrie", clientModule, 1, description);

}  // namespace Client
