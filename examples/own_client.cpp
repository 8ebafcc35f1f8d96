/*
 * A client with a node class of its own and a hook that tells which routes have moved. It keeps a
 * chip of two stages: a binding leads from a partition's prefix to a bucket, a bucket holds routes
 * and the covering route, which answers where none of them does. Its driver writes nothing, but
 * prints what is to be written. docs/writing-a-client.md goes through it step by step.
 */

#include <LpmTrie/LpmTrie.h>

#include <cstdio>
#include <vector>

using namespace LpmTrie;
using Nimbal::IpGenPrefix;

/** A node that knows where its route's packets go, and which bucket of the chip holds the route. */
class RouteNode : public Node {
public:
    using Node::Node;
    String getHwTableStr() const override {
        return fibRoute() ? "port:" + std::to_string(port) : Node::getHwTableStr();
    }

    static constexpr U32 noBucket = ~0U;
    U32 port = 0;
    U32 bucket = noBucket;
};

/** A trie of such nodes, which keeps what its hook is told. */
class RouteTrie : public Trie {
public:
    using Trie::Trie;

    Node* allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                       bool partitionNode, PartitionId::Ptr const& partitionId,
                       U32 hwTable) override {
        return new RouteNode(prefixRef, fibRoute, partitionNode, partitionId, hwTable);
    }
    void deallocateNode(Node* node) override { delete node; }
    void movedNode(Node* node, PartitionId::Ptr const& /*oldPartitionId*/,
                   U32 /*oldHwTable*/) override {
        moved.push_back(static_cast<RouteNode*>(node));
    }

    std::vector<RouteNode*> moved;
};

/** The driver: what is to be written to the chip. */
static void tellChip(char const* what, U32 bucket, Node const* node) {
    String const text =
        node ? node->prefixRef()->prefix().stringValue() + " " + node->getHwTableStr() : "nothing";
    std::printf("  %-6s bucket %u: %s\n", what, bucket, text.c_str());
}

/** The number of a partition is that of its bucket. */
static U32 bucketOf(Node const* node) {
    return node->partitionId()->id().value();
}

class Client {
public:
    explicit Client(U32 bucketRoutes);
    ~Client() { removeAll(*trie_); }
    Client(Client const&) = delete;
    Client& operator=(Client const&) = delete;

    void announce(char const* prefix, U32 port);
    void withdraw(char const* prefix);
    void show() const;

private:
    static constexpr U32 hwTable_ = 1;

    PartitionId::Ptr newId() const;
    void split(Node* root);
    void mergeUpwards(Node* root);
    template <class Change>
    void moveRoutes(Change change);

    U32 const bucketRoutes_;
    Torvel::Bitmap::Ptr const numbers_ = Torvel::Bitmap::BitmapIs();
    Vexo::Ptr<RouteTrie> const trie_{new RouteTrie(0)};  // routing instance 0
};

/** An id owns its number until the last node or record lets go of it. */
PartitionId::Ptr Client::newId() const {
    return PartitionId::PartitionIdIs(PartitionIdValue(numbers_->takeNextFree()), ~0U, numbers_);
}

Client::Client(U32 bucketRoutes) : bucketRoutes_(bucketRoutes) {
    trie_->afIs(Nimbal::AddressFamily::ipv4);
    auto const everything = IpGenPrefix::fromString("0.0.0.0/0");
    Node* const top = trie_->insertFromRoot(everything, false, true, newId(), hwTable_).node();
    tellChip("bind", bucketOf(top), top);
    top->pendingStateIs(PendingState());
}

void Client::announce(char const* text, U32 port) {
    std::printf("announce %s\n", text);
    auto const prefix = IpGenPrefix::fromString(text);
    Node* const root = trie_->findPartitionNode(prefix, false).partitionNode();
    auto* const route = static_cast<RouteNode*>(
        trie_->insert(prefix, root, true, false, root->partitionId(), hwTable_).node());
    route->port = port;
    if (root->partitionRouteCount() > bucketRoutes_) {
        split(root);
    }
    if (route->bucket == RouteNode::noBucket) {
        route->bucket = bucketOf(route);
        tellChip("write", route->bucket, route);
    }
}

/** Cuts about half of the partition at `root` off, as a partition of its own. */
void Client::split(Node* root) {
    U32 const half = root->partitionRouteCount() / 2;
    Node* const cut = trie_->findMergeNodeViaSplitCount(root, half, true).node();
    PartitionId::Ptr const oldId = cut->partitionId();
    cut->hwTableIs(hwTable_);
    cut->partitionIdIs(newId());
    cut->partitionNodeIs(true);  // creation is pending from here on
    trie_->addMovedNode(cut, oldId, nullptr);
    trie_->updateNewPartition(cut, nullptr, false);

    tellChip("cover", bucketOf(cut), trie_->getClosestFibRouteNode(cut->parent()));
    moveRoutes([&] { tellChip("bind", bucketOf(cut), cut); });
    cut->pendingStateIs(PendingState());
}

/** Makes before it breaks: old copies go only when no packet meets them any more. */
template <class Change>
void Client::moveRoutes(Change change) {
    for (RouteNode const* route : trie_->moved) {
        tellChip("write", bucketOf(route), route);
    }
    change();
    for (RouteNode* const route : trie_->moved) {
        if (route->bucket != RouteNode::noBucket) {
            tellChip("erase", route->bucket, route);
        }
        route->bucket = bucketOf(route);
    }
    trie_->moved.clear();
}

void Client::withdraw(char const* text) {
    std::printf("withdraw %s\n", text);
    auto const prefix = IpGenPrefix::fromString(text);
    Node* const root = trie_->findPartitionNode(prefix, false).partitionNode();
    Node* const route = findExact(*trie_, prefix);
    if (route == nullptr || !route->fibRoute()) {
        return;
    }
    tellChip("erase", bucketOf(route), route);
    static_cast<RouteNode*>(route)->bucket = RouteNode::noBucket;  // the node may stay
    trie_->removeNode(route, false);
    if (root->parent() != nullptr) {
        mergeUpwards(root);
    }
}

/** Dissolves the partition at `root` into the one above it, if one bucket holds both and has room.
 */
void Client::mergeUpwards(Node* root) {
    auto const above = root->parent()->prefixRef()->prefix();
    Node* const target = trie_->findPartitionNode(above, false).partitionNode();
    U32 const routes = root->partitionRouteCount();
    U32 const together = routes + target->partitionRouteCount();
    if (routes != 0 && together > bucketRoutes_ * 3 / 4) {  // or the next one would split it again
        return;
    }
    U32 const freed = bucketOf(root);
    trie_->mergePartition(root, target, target->partitionId(), false, nullptr);
    moveRoutes([&] { tellChip("unbind", freed, root); });
    root->pendingStateIs(PendingState());  // its removal was pending until here
    if (root->internal()) {
        trie_->removeNode(root, false);
    }
}

void Client::show() const {
    std::fflush(stdout);  // the dump goes to the descriptor
    trie_->verify();
    trie_->dump(1);
}

int main() {
    Client client(4);  // routes a bucket
    client.announce("10.0.0.0/8", 1);
    client.announce("10.1.0.0/16", 2);
    client.announce("10.1.2.0/24", 3);
    client.announce("192.168.0.0/16", 4);
    client.show();
    client.announce("10.1.3.0/24", 5);
    client.show();
    client.withdraw("192.168.0.0/16");
    client.withdraw("10.1.2.0/24");
    client.show();
}
