/*
 * Text dumps, written piece by piece straight to a file descriptor; write errors are ignored. The
 * whole trie and its partitions are drawn from the root at level 1; one prefix's neighbourhood
 * starts at level 0, and its walk, bounded by the root in its first step only, may climb above its
 * start.
 */

#include <LpmTrie/DescriptorText.h>
#include <LpmTrie/Trie.h>

namespace LpmTrie {

namespace {

constexpr char const* rule = " ----------------------- \n";
constexpr char const* longRule = " ------------------------------ \n";
constexpr U32 startBit = 3;

}  // namespace

void Trie::dump(U32 socket) {
    printTo(socket, "\n%s", rule);
    printTo(socket, " Dumping Trie %d\n", static_cast<int>(vrfId_));
    printTo(socket, "%s", rule);
    U32 count = 0;
    TrieTraversalReturnCode step(root_, startBit, 1);
    while (step.node() != nullptr && count < dumpLimit_) {
        ++count;
        step.node()->dump(step.bit, step.level, socket);
        step = preorderNextNode(nullptr, step.node(), step.level, false, false);
    }
    // Deliberate: said too when the trie has exactly that many nodes, and all were written.
    if (dumpLimit_ <= count) {
        printTo(socket, " Trie has greater than %u nodes, ending output\n", dumpLimit_);
    }
}

void Trie::dumpPartition(U32 socket) {
    printTo(socket, "\n%s", rule);
    printTo(socket, " Dumping Trie %d Partitions\n", static_cast<int>(vrfId_));
    printTo(socket, "%s", rule);
    TrieTraversalReturnCode step(root_, startBit, 1);
    while (step.node() != nullptr) {
        if (step.node()->partitionNode() || step.node()->pendingState().removePartition()) {
            step.node()->dump(step.bit, step.level, socket);
        }
        step = preorderNextNode(nullptr, step.node(), step.level, false, false);
    }
}

void Trie::dumpPrefix(U32 socket, Nimbal::IpGenPrefix const& prefix) {
    printTo(socket, "\n%s", longRule);
    printTo(socket, " Dumping Trie %d Prefix %s\n", static_cast<int>(vrfId_),
            prefix.stringValue().c_str());
    printTo(socket, "%s", longRule);
    Node* const startNode = findPartitionNode(prefix, false).node();
    if (startNode == nullptr) {
        return;
    }
    startNode->dump(0, 0, socket);
    // Deliberate: the first step is bounded by the root, the later ones by the start node.
    auto step = preorderNextNode(root_, startNode, 0, false, false);
    while (step.node() != nullptr) {
        bool const aboveStart = static_cast<int>(step.level) < 0;
        step.node()->dump(step.bit, aboveStart ? 0 : step.level, socket);
        step = preorderNextNode(startNode, step.node(), step.level, false, false);
    }
}

}  // namespace LpmTrie
