#pragma once

#include <LpmTrie/LpmTrie.h>
#include <tests/LpmTrie/TrieSnapshot.h>
#include <tests/Support/AssertionText.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Support/TraceCapture.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <random>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

/* What the tests of the trie share: a trie that is empty again at a test's end, ways to build one
 * by its operations or by hand, and ways to look at all of it without any operation of its own. */

namespace TrieTests {

using LpmTrie::PartitionIdValue;
using LpmTrie::TrieNodeReturnCode;
using LpmTrie::TrieReturnCode;
using LpmTrie::TrieTraversalReturnCode;
using Nimbal::AddressFamily;
using Nimbal::IpGenPrefix;
using Vexo::U64;

inline IpGenPrefix prefix(std::string_view text) {
    return IpGenPrefix::fromString(text);
}

/** As streams print it. */
inline String address(void const* object) {
    std::ostringstream text;
    text << object;
    return text.str();
}

/** The same numbers for a seed everywhere. */
class Random {
public:
    explicit Random(U32 seed) : engine_(seed) {}
    U32 any() { return static_cast<U32>(engine_()); }
    U32 below(U32 limit) { return any() % limit; }

private:
    std::mt19937 engine_;
};

/** A fixture's trie has one family, IPv4 unless told. A test must not leave nodes unlinked. */
class TrieFixture : public TestSupport::LeakCheck {
protected:
    explicit TrieFixture(AddressFamily af = AddressFamily::ipv4) {
        trieIs(LpmTrie::trieFactory(1), af);
    }
    ~TrieFixture() override {
        removeAll(*trie_);
        EXPECT_EQ(trie_->root(), nullptr);
        EXPECT_EQ(bitmap_->count(), 0U) << "an id is still held";
    }

    Trie& trie() const { return *trie_; }
    Torvel::Bitmap const& bitmap() const { return *bitmap_; }
    /** Replaces the trie, which must be empty, by one with hooks of the test's own. */
    void trieIs(Trie::Ptr trie, AddressFamily af = AddressFamily::ipv4) {
        trie_ = std::move(trie);
        trie_->afIs(af);
    }

    /** A new id whose number is taken in the bitmap. The caller holds the only reference. */
    PartitionId::Ptr partitionId(U32 value) const {
        return PartitionId::PartitionIdIs(PartitionIdValue(value), 0xffff, bitmap_);
    }

    Node* route(std::string_view text, PartitionId::Ptr const& id = {}, U32 hwTable = 0) const {
        return trie_->insertFromRoot(prefix(text), true, false, id, hwTable).node();
    }
    Node* partition(std::string_view text, PartitionId::Ptr const& id = {}, U32 hwTable = 0) const {
        return trie_->insertFromRoot(prefix(text), false, true, id, hwTable).node();
    }
    Node* routeAndPartition(std::string_view text, PartitionId::Ptr const& id = {},
                            U32 hwTable = 0) const {
        return trie_->insertFromRoot(prefix(text), true, true, id, hwTable).node();
    }
    /** A route that descends from `start` and carries its id and table. */
    Node* routeFrom(Node* start, std::string_view text) const {
        return trie_
            ->insert(prefix(text), start, true, false, start->partitionId(), start->hwTable())
            .node();
    }
    /** The node of that very prefix, found by looking at all of them; null when there is none. */
    Node* find(std::string_view text) const {
        IpGenPrefix const wanted = prefix(text);
        for (PlacedNode const& placed : placedNodes(trie_->root())) {
            if (placed.node->prefixRef()->prefix() == wanted) {
                return placed.node;
            }
        }
        return nullptr;
    }

    /** A node that hangs nowhere yet. */
    Node* make(std::string_view text, bool fibRoute = false, bool partitionNode = false,
               PartitionId::Ptr const& id = {}, U32 hwTable = 0) const {
        return trie_->allocateNode(Nimbal::IpGenPrefixRef::IpGenPrefixRefIs(prefix(text)), fibRoute,
                                   partitionNode, id, hwTable);
    }
    Node* makeRoute(std::string_view text, U32 hwTable = 0) const {
        return make(text, true, false, {}, hwTable);
    }
    static void hang(Node* parent, U32 bit, Node* child) {
        parent->bitNodeIs(bit, child);
        child->parentIs(parent);
    }
    /** Adds to the counters, which are 0 in a node just made. */
    static void count(Node* node, U32 routes, U32 partitionRoutes) {
        node->routeCountInc(routes);
        node->partitionRouteCountInc(partitionRoutes);
    }

private:
    Torvel::Bitmap::Ptr const bitmap_ = Torvel::Bitmap::BitmapIs();
    Trie::Ptr trie_;
};

class V6TrieFixture : public TrieFixture {
protected:
    V6TrieFixture() : TrieFixture(AddressFamily::ipv6) {}
};

namespace Detail {

inline void eyeCatcherIs(Node* node, U32 before, U32 after) {
    // The first field, so it stands right behind the pointer to the virtual operations.
    unsigned char* const at = reinterpret_cast<unsigned char*>(node) + sizeof(void*);
    U32 value = 0;
    std::memcpy(&value, at, sizeof value);
    if (value != before) {
        std::abort();
    }
    std::memcpy(at, &after, sizeof after);
}
constexpr U32 brokenEyeCatcherValue = 0xBADBEEFF;

}  // namespace Detail

/** Makes the node look like one that has been freed or overwritten. For death tests. */
inline void breakEyeCatcher(Node* node) {
    Detail::eyeCatcherIs(node, LpmTrie::TRIE_NODE_EYECATCHER, Detail::brokenEyeCatcherValue);
}
inline void mendEyeCatcher(Node* node) {
    Detail::eyeCatcherIs(node, Detail::brokenEyeCatcherValue, LpmTrie::TRIE_NODE_EYECATCHER);
}

inline testing::KilledBySignal const aborts(SIGABRT);

/** For `EXPECT_EXIT(…, aborts, trieAssertion(…))`. */
inline testing::Matcher<std::string const&> trieAssertion(String condition,
                                                          testing::Matcher<std::string> context,
                                                          String const& signature) {
    return TestSupport::assertionText(std::move(condition), std::move(context), "LpmTrie/LpmTrie",
                                      signature);
}
/** The same for the checks that the node itself makes. */
inline testing::Matcher<std::string const&> nodeAssertion(String condition,
                                                          testing::Matcher<std::string> context,
                                                          String const& signature) {
    return TestSupport::assertionText(std::move(condition), std::move(context),
                                      "LpmTrie/LpmTrieNode", signature);
}
inline testing::Matcher<std::string const&> brokenEyeCatcher(Node const* node,
                                                             String const& signature) {
    return nodeAssertion("eyeCatcher_ == TRIE_NODE_EYECATCHER", address(node), signature);
}

/** A line of the trie's own trace. */
inline TestSupport::CapturedLine line(U32 level, String text) {
    return {"LpmTrie", level, "LpmTrie/LpmTrie", std::move(text)};
}

}  // namespace TrieTests
