#pragma once

#include <Vexo/Types.h>

/* The signatures by which trace lines and assertions name the trie's operations. */

namespace TrieTests::Signature {

using Vexo::String;

inline String const allocateNode =
    "virtual LpmTrie::Node* LpmTrie::Trie::allocateNode(const Ptr&, bool, bool, const Ptr&, U32)";
inline String const deallocateNode = "virtual void LpmTrie::Trie::deallocateNode(LpmTrie::Node*)";
inline String const insert =
    "virtual LpmTrie::TrieReturnCode LpmTrie::Trie::insert(const Nimbal::IpGenPrefix&, "
    "LpmTrie::Node*, bool, bool, const Ptr&, U32)";
inline String const movedNode =
    "virtual void LpmTrie::Trie::movedNode(LpmTrie::Node*, const Ptr&, U32)";

inline String const updateNode =
    "void LpmTrie::Trie::updateNode(LpmTrie::Node*, bool, LpmTrie::Node*, bool, bool)";
inline String const updateParentRouteCount =
    "void LpmTrie::Trie::updateParentRouteCount(LpmTrie::Node*, bool)";
inline String const updatePartitionRouteCount =
    "void LpmTrie::Trie::updatePartitionRouteCount(LpmTrie::Node*, bool, U32)";
inline String const mergePartitionNodeCount =
    "void LpmTrie::Trie::mergePartitionNodeCount(LpmTrie::Node*)";
inline String const decRouteCounters = "void LpmTrie::Trie::decRouteCounters(LpmTrie::Node*)";

inline String const findPartitionNode =
    "virtual LpmTrie::TrieReturnCode LpmTrie::Trie::findPartitionNode("
    "const Nimbal::IpGenPrefix&, bool)";
inline String const getClosestFibRouteNode =
    "LpmTrie::Node* LpmTrie::Trie::getClosestFibRouteNode(LpmTrie::Node*) const";
inline String const preorderNextNode =
    "LpmTrie::TrieTraversalReturnCode LpmTrie::Trie::preorderNextNode(LpmTrie::Node*, "
    "LpmTrie::Node*, U32, bool, bool)";
inline String const findNextRightNode =
    "LpmTrie::TrieReturnCode LpmTrie::Trie::findNextRightNode(LpmTrie::Node*, LpmTrie::Node*)";

inline String const remove =
    "LpmTrie::TrieNodeReturnCode LpmTrie::Trie::remove(const Nimbal::IpGenPrefix&)";
inline String const removeNode =
    "LpmTrie::TrieNodeReturnCode LpmTrie::Trie::removeNode(LpmTrie::Node*, bool)";

inline String const updatePartitionId =
    "void LpmTrie::Trie::updatePartitionId(LpmTrie::Node*, const Ptr&)";
inline String const updateNewPartition =
    "void LpmTrie::Trie::updateNewPartition(LpmTrie::Node*, const Ptr&, bool)";

// The node's own checks.
inline String const nodeLen = "U32 LpmTrie::Node::len() const";
inline String const nodePartitionNodeIs = "void LpmTrie::Node::partitionNodeIs(bool)";
inline String const nodeFibRouteIs = "void LpmTrie::Node::fibRouteIs(bool)";
inline String const nodeRouteCountInc = "void LpmTrie::Node::routeCountInc(U32)";
inline String const nodeRouteCountDec = "void LpmTrie::Node::routeCountDec(U32)";
inline String const nodePartitionRouteCountInc = "void LpmTrie::Node::partitionRouteCountInc(U32)";
inline String const nodePartitionRouteCountDec = "void LpmTrie::Node::partitionRouteCountDec(U32)";

}  // namespace TrieTests::Signature
