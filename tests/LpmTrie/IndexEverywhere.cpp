#include <LpmTrie/TrieIndex.h>

#include <cstdlib>

/*
 * LPMTRIE_TEST_INDEX lets every trie of the tests have an index from its second insertion on, so
 * that all that is shown of the plain algorithm is shown of the index as well.
 */

namespace {

[[maybe_unused]] bool const everywhere = [] {
    bool const asked = std::getenv("LPMTRIE_TEST_INDEX") != nullptr;
    if (asked) {
        LpmTrie::TrieIndex::threshold = 0;
    }
    return asked;
}();

}  // namespace
