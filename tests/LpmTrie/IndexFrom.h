#pragma once

#include <LpmTrie/TrieIndex.h>

namespace TrieTests {

/** While it lives, tries make themselves an index from that many routes on. */
class IndexFrom {
public:
    explicit IndexFrom(Vexo::U32 routes)
        : before_(LpmTrie::TrieIndex::threshold.exchange(routes)) {}
    IndexFrom(IndexFrom const&) = delete;
    IndexFrom& operator=(IndexFrom const&) = delete;
    ~IndexFrom() { LpmTrie::TrieIndex::threshold = before_; }

private:
    Vexo::U32 const before_;
};

constexpr Vexo::U32 never = ~Vexo::U32{0};

}  // namespace TrieTests
