#pragma once

/** Everything that a client of the library needs. */

#include <LpmTrie/LpmTrieNode.h>
#include <LpmTrie/LpmTrieTypes.h>
#include <LpmTrie/NodesInfo.h>
#include <LpmTrie/PrefixBits.h>
#include <LpmTrie/ReturnCodes.h>
#include <LpmTrie/RouteQueries.h>
#include <LpmTrie/Trie.h>
