#include <tests/LpmTrie/TrieFixture.h>

#include <gmock/gmock.h>

namespace {

using namespace TrieTests;
using testing::ElementsAre;
using testing::IsEmpty;

/** Says which nodes leave, and finds nothing when told so. */
class LeavingTrie : public Trie {
public:
    LeavingTrie() : Trie(1) {}
    void deallocateNode(Node* node) override {
        left_.push_back(node->stringValue());
        Trie::deallocateNode(node);
    }
    TrieReturnCode findPartitionNode(IpGenPrefix const& sought, bool includePending) override {
        sought_.push_back(sought.stringValue() + (includePending ? " with pending" : ""));
        return findsNothing_ ? TrieReturnCode() : Trie::findPartitionNode(sought, includePending);
    }
    std::vector<String> left_;
    std::vector<String> sought_;
    bool findsNothing_ = false;
};

class RemoveHooksTest : public TrieFixture {
protected:
    RemoveHooksTest() { trieIs(leaving_); }

    TrieNodeReturnCode remove(std::string_view text) const { return trie().remove(prefix(text)); }

    LeavingTrie* const leaving_ = new LeavingTrie();
};

TEST_F(RemoveHooksTest, everyNodeThatLeavesGoesThroughTheClientsDeallocateNode) {
    route("10.0.0.0/8");
    route("11.0.0.0/8");
    remove("11.0.0.0/8");
    remove("10.0.0.0/8");
    EXPECT_THAT(leaving_->left_,
                ElementsAre("Int,11.0.0.0/8,0,0,nil,hw:0", "Int,10.0.0.0/7,1,1,nil,hw:0",
                            "Int,10.0.0.0/8,0,0,nil,hw:0"));
}

TEST_F(RemoveHooksTest, theClientsFindPartitionNodeDecidesWhatIsThere) {
    EXPECT_EQ(remove("10.0.0.0/8"), TrieNodeReturnCode(nullptr, false));
    EXPECT_THAT(leaving_->sought_, IsEmpty()) << "nothing is sought in an empty trie";
    route("10.0.0.0/8");
    leaving_->findsNothing_ = true;
    EXPECT_EQ(remove("10.0.0.0/8"), TrieNodeReturnCode(nullptr, false));
    leaving_->findsNothing_ = false;
    EXPECT_EQ(remove("10.0.0.0/8"), TrieNodeReturnCode(nullptr, true));
    EXPECT_THAT(leaving_->sought_,
                ElementsAre("10.0.0.0/8 with pending", "10.0.0.0/8 with pending"));
}

}  // namespace
