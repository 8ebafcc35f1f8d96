/*
 * A client with a trie and a node class of its own: inserts routes, cuts a partition off, merges it
 * back, and prints what its hooks and its nodes tell. Then it looks at what library and client have
 * to share: exceptions, types and counts of allocations.
 */

#include <LpmTrie/LpmTrie.h>
#include <LpmTrie/Version.h>

#include <unistd.h>
#include <cstdio>
#include <string_view>

#define TEXT_OF(number) TEXT(number)
#define TEXT(words) #words
static_assert(LPMTRIE_VERSION_TEXT ==
              std::string_view(TEXT_OF(LPMTRIE_VERSION_MAJOR) "." TEXT_OF(
                  LPMTRIE_VERSION_MINOR) "." TEXT_OF(LPMTRIE_VERSION_PATCH)));
#if LPMTRIE_VERSION < 10000
#error "older than the first release"
#endif

namespace {

using Vexo::U32;

/** Thrown by the client, through the library, to the client. */
struct NoRoom {};

/** Tells a bank of the chip where the library would tell a table. */
class BankNode : public LpmTrie::Node {
public:
    using Node::Node;
    Vexo::String getHwTableStr() const override { return "bank " + std::to_string(hwTable()); }
};

class BankTrie : public LpmTrie::Trie {
public:
    explicit BankTrie(U32 vrfId) : Trie(vrfId) {}
    LpmTrie::Node* allocateNode(Vexo::Ptr<Nimbal::IpGenPrefixRef> const& prefixRef, bool fibRoute,
                                bool partitionNode, LpmTrie::PartitionId::Ptr const& partitionId,
                                U32 hwTable) override {
        if (full_) {
            throw NoRoom();
        }
        ++nodes_;
        return new BankNode(prefixRef, fibRoute, partitionNode, partitionId, hwTable);
    }
    void deallocateNode(LpmTrie::Node* node) override {
        --nodes_;
        Trie::deallocateNode(node);
    }
    void movedNode(LpmTrie::Node* node, LpmTrie::PartitionId::Ptr const&, U32) override {
        std::printf("moved %s\n", node->stringValue().c_str());
    }
    int nodes() const { return nodes_; }
    void fullIs(bool full) { full_ = full; }

private:
    int nodes_ = 0;
    bool full_ = false;
};

Nimbal::IpGenPrefix prefix(char const* text) {
    return Nimbal::IpGenPrefix::fromString(text);
}

void show(BankTrie& trie, char const* title) {
    trie.verify();
    std::printf("%s\n", title);
    std::fflush(stdout);
    trie.dumpPartition(STDOUT_FILENO);
}

void showShared(BankTrie& trie) {
    try {
        prefix("10.0.0.0/33");
    } catch (Vexo::RangeException const& error) {
        std::printf("refused: %s\n", error.what());
    }
    trie.fullIs(true);
    try {
        trie.insertFromRoot(prefix("172.16.0.0/12"), true, false, nullptr, 0);
    } catch (NoRoom const&) {
        std::printf("no room\n");
    }
    trie.fullIs(false);
    Vexo::Ptr<Vexo::PtrInterface> const object(&trie);
    std::printf("a trie: %s, a bitmap: %s\n",
                Vexo::dynamicPtrCast<LpmTrie::Trie>(object) ? "yes" : "no",
                Vexo::dynamicPtrCast<Torvel::Bitmap>(object) ? "yes" : "no");
    auto const other = LpmTrie::trieFactory(1);  // made by the library, as the first one was not
    for (auto const* type : {"LpmTrie::Node", "LpmTrie::Trie", "Torvel::Bitmap"}) {
        auto const counts = Vexo::allocationCounts(type);
        std::printf("%s: %llu alive\n", type, static_cast<unsigned long long>(counts.live()));
    }
    std::size_t types = 0;
    for (auto const& entry : Vexo::allocationCounts()) {
        types += entry.typeName == "LpmTrie::Trie" ? 1U : 0U;
    }
    std::printf("counted in %zu place\n", types);
}

}  // namespace

int main() {
    std::printf("version %s\n", LPMTRIE_VERSION_TEXT);
    auto const numbers = Torvel::Bitmap::BitmapIs();
    auto const newId = [&](U32 n) {
        return LpmTrie::PartitionId::PartitionIdIs(LpmTrie::PartitionIdValue(n), ~0U, numbers);
    };
    Vexo::Ptr<BankTrie> const trie(new BankTrie(0));
    trie->hasNotificationActiveIs(true);
    trie->afIs(Nimbal::AddressFamily::ipv4);
    auto* const top = trie->insertFromRoot(prefix("0.0.0.0/0"), false, true, newId(1), 4).node();
    top->pendingStateIs(LpmTrie::PendingState());
    for (auto const* text : {"10.0.0.0/8", "10.1.0.0/16", "10.1.2.0/24", "192.168.0.0/16"}) {
        trie->insert(prefix(text), top, true, false, top->partitionId(), top->hwTable());
    }
    show(*trie, "inserted");

    auto* const cut = trie->findMergeNodeViaSplitCount(top, 2, true).node();
    LpmTrie::PartitionId::Ptr const oldId = cut->partitionId();
    cut->partitionIdIs(newId(2));
    cut->partitionNodeIs(true);
    trie->addMovedNode(cut, oldId, nullptr);
    trie->updateNewPartition(cut, nullptr, false);
    cut->pendingStateIs(LpmTrie::PendingState());
    show(*trie, "cut");

    trie->mergePartition(cut, top, top->partitionId(), false, nullptr);
    show(*trie, "merged");
    showShared(*trie);

    removeAll(*trie);
    std::printf("nodes left %d\n", trie->nodes());
}
