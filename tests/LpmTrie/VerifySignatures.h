#pragma once

#include <tests/LpmTrie/Signatures.h>

/* The signatures by which the five operations of the verification name themselves. */

namespace TrieTests::Signature {

inline String const verify = "virtual void LpmTrie::Trie::verify()";
inline String const verifyPartition = "virtual void LpmTrie::Trie::verifyPartition(LpmTrie::Node*)";
inline String const verifyFibRoutes = "virtual void LpmTrie::Trie::verifyFibRoutes(LpmTrie::Node*)";
inline String const verifyFibRoute =
    "virtual void LpmTrie::Trie::verifyFibRoute(LpmTrie::Node*, LpmTrie::Node*)";

}  // namespace TrieTests::Signature
