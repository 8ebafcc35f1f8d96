#include <LpmTrie/DescriptorText.h>
#include <LpmTrie/LpmTrieNode.h>
#include <LpmTrie/Module.h>
#include <LpmTrie/TrieIndex.h>
#include <Vexo/Sassert.h>

#include <ostream>
#include <sstream>

namespace LpmTrie {

namespace {

constexpr char const* nodeSource = "LpmTrie/LpmTrieNode";
constexpr U32 destroyedEyeCatcher = 0xBADBEEFFU;

}  // namespace

constinit Vexo::FwkType const Node::fwkType_("LpmTrie::Node", lpmTrieModule, 1);

Node::~Node() {
    // Volatile both ways: the storage may be looked at after its object is gone, and an optimiser
    // may drop a plain store to a dying object or believe that its constructor's value still
    // stands.
    U32 volatile& eyeCatcher = eyeCatcher_;
    if (Vexo::guardsOn && eyeCatcher != TRIE_NODE_EYECATCHER) [[unlikely]] {
        Vexo::SassertHelper("eyeCatcher_ == TRIE_NODE_EYECATCHER", nodeSource, __LINE__,
                            "virtual LpmTrie::Node::~Node()")
            .fail("Freeing invalid node:", static_cast<void const*>(this));
    }
    indexLinkChanged();
    eyeCatcher = destroyedEyeCatcher;
    parent_ = nullptr;
    bitNode_ = {};
    partitionId_ = nullptr;
    prefixRef_ = nullptr;
}

void Node::verifyPartition(Node* /*partitionNode*/) {}

String Node::getHwTableStr() const {
    return Vexo::formatString("hw:%d", static_cast<int>(hwTable_));
}

String Node::getPendingStateStr() const {
    String text;
    text += pendingState_.createPartition() ? ",cp" : "";
    text += pendingState_.removePartition() ? ",dp" : "";
    text += pendingState_.splittingPartition() ? ",sp" : "";
    return text;
}

String Node::stringValue() const {
    String text;
    text += partitionNode_ ? "Partition," : "";
    text += fibRoute_ ? "Fib," : "";
    text += internal() ? "Int," : "";
    text += prefixRef_ ? prefixRef_->prefix().stringValue() : String("prefixRef null");
    // Deliberate: signed decimals, as everywhere in the diagnostics; a count over 2^31 shows as
    // negative.
    auto const routes = static_cast<int>(routeCount_);
    auto const partitionRoutes = static_cast<int>(partitionRouteCount_);
    text += partitionId_ ? Vexo::formatString(",%d,%d,0x%x,", routes, partitionRoutes,
                                              partitionId_->id().value())
                         : Vexo::formatString(",%d,%d,nil,", routes, partitionRoutes);
    text += getHwTableStr();
    if (pendingState_.value() != 0) {
        text += getPendingStateStr();
    }
    return text;
}

void Node::dump(U32 bit, U32 level, U32 socket) const {
    for (U32 above = 1; above < level; ++above) {
        printTo(socket, "| ");
    }
    if (level > 0) {
        printTo(socket, "|-");
    }
    std::ostringstream line;
    line << (bit == 3 ? "root" : bit == 0 ? "bit0" : "bit1") << " [" << stringValue() << "]\n";
    printTo(socket, "%s", line.str().c_str());
}

void Node::tellIndexOfLink() noexcept {
    TrieIndex::numbered(index_).giveUp();
}

void Node::tellIndexOfRole() noexcept {
    TrieIndex::numbered(index_).roleChanged(this);
}

void Node::failEyeCatcher(char const* signature, unsigned line) const {
    Vexo::SassertHelper("eyeCatcher_ == TRIE_NODE_EYECATCHER", nodeSource, line, signature)
        .fail(static_cast<void const*>(this));
}

void Node::failPending() const {
    Vexo::SassertHelper("pendingState_.value() == 0", nodeSource, __LINE__,
                        "void LpmTrie::Node::partitionNodeIs(bool)")
        .fail("node:", static_cast<void const*>(this), " pendingState:", pendingState_);
}

void Node::failRouteCount(U32 decr) const {
    Vexo::SassertHelper("routeCount_ >= decr", nodeSource, __LINE__,
                        "void LpmTrie::Node::routeCountDec(U32)")
        .fail(" routeCount_:", routeCount_, " decr:", decr, " node ", this);
}

void Node::failPartitionRouteCount(U32 decr) const {
    Vexo::SassertHelper("partitionRouteCount_ >= decr", nodeSource, __LINE__,
                        "void LpmTrie::Node::partitionRouteCountDec(U32)")
        .fail(" partitionRouteCount_:", partitionRouteCount_, " decr:", decr, " node ", this);
}

std::ostream& operator<<(std::ostream& out, Node const* node) {
    return node == nullptr ? out << "(nil)" : out << node->stringValue();
}

}  // namespace LpmTrie
