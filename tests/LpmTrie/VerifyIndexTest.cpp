#include <tests/LpmTrie/IndexFrom.h>
#include <tests/LpmTrie/TrieFixture.h>
#include <tests/LpmTrie/VerifySignatures.h>

namespace {

using namespace TrieTests;
using LpmTrie::TrieIndex;

/* What verification finds in an index that is not that of the trie. */

class VerifyIndexDeathTest : public TrieFixture {
protected:
    VerifyIndexDeathTest() {
        route("10.0.0.0/8");
        route("10.1.0.0/16");
        route("10.2.0.0/16");
    }
    ~VerifyIndexDeathTest() override { trie().deallocateNode(stray_); }
    /** The trie's own: no other index exists now, so that it has the first number. */
    TrieIndex& index() const {
        EXPECT_TRUE(TrieIndex::numbered(1).entered(trie().root()));
        return TrieIndex::numbered(1);
    }
    Node* stray() const { return stray_; }

private:
    IndexFrom const from_{0};
    Node* const stray_ = make("10.3.0.0/16");
};

TEST_F(VerifyIndexDeathTest, aNodeThatIsMissing) {
    EXPECT_EXIT((index().del(find("10.1.0.0/16")), trie().verify()), aborts,
                trieAssertion("index_->knows( current )",
                              " not in the index: Fib,10.1.0.0/16,1,1,nil,hw:0",
                              Signature::verify));
}

TEST_F(VerifyIndexDeathTest, aNodeTooMany) {
    EXPECT_EXIT((index().add(stray()), trie().verify()), aborts,
                trieAssertion("index_->nodeCount() == census.nodes",
                              " in the index: 5 in the trie: 4", Signature::verify));
}

}  // namespace
