#include <LpmTrie/RouteQueries.h>
#include <tests/LpmTrie/Reflection.h>

/* The functions of the module, which scripts call without an object. */

namespace {

using namespace ReflectionTests;

class ReflectionFunctionsTest : public TestSupport::LeakCheck {
protected:
    ReflectionFunctionsTest() {
        trie_->insertFromRoot(prefix("0.0.0.0/0"), false, true, top_, 4);
        trie_->insertFromRoot(prefix("10.0.0.0/8"), true, true, id_, 4);
        trie_->insertFromRoot(prefix("10.1.0.0/16"), true, false, id_, 4);
    }
    ~ReflectionFunctionsTest() override { LpmTrie::removeAll(*trie_); }

    Trie const& trie() const { return *trie_; }
    Value const& self() const { return self_; }
    PartitionId::Ptr const& top() const { return top_; }
    PartitionId::Ptr const& id() const { return id_; }

    static AttributeStatus statusOf(String const& function, Operands const& operands) {
        return Vexo::callFunction(module(), function, operands, nullptr);
    }
    static Value call(String const& function, Operands const& operands) {
        Value result;
        EXPECT_EQ(Vexo::callFunction(module(), function, operands, &result), AttributeStatus::done);
        return result;
    }
    template <class T>
    static T callAs(String const& function, Operands const& operands) {
        return unbox<T>(call(function, operands), function);
    }
    String refusal(std::string_view text, bool isFibRoute, bool isPartitionNode) const {
        return callAs<String>("insertionRefusal", {self_, box(prefix(text)), box(isFibRoute),
                                                   box(isPartitionNode), box(id_), box(4U)});
    }
    /** The prefix of the longest match, "-" when there is none. */
    String match(std::string_view text) const {
        auto const found = callAs<IpGenPrefixRef::Ptr>("longestMatch", {self_, box(prefix(text))});
        return found ? found->prefix().stringValue() : "-";
    }
    PartitionId::Ptr partitionOf(std::string_view text) const {
        return callAs<PartitionId::Ptr>("partitionOf", {self_, box(prefix(text))});
    }

private:
    static Vexo::FwkModule const& module() { return *Vexo::findModule("LpmTrie"); }

    Trie::Ptr const trie_ = ipv4Trie();
    PartitionId::Ptr const top_ = partitionId(1);
    PartitionId::Ptr const id_ = partitionId(5);
    Value const self_ = box(trie_);
};

TEST_F(ReflectionFunctionsTest, aRefusalIsTheOneThatCppGets) {
    EXPECT_EQ(refusal("10.2.0.0/16", true, false), "");
    for (char const* const text : {"10.1.0.0/16", "::/0"}) {
        String const told = refusal(text, true, false);
        EXPECT_NE(told, "") << text;
        EXPECT_EQ(told,
                  LpmTrie::insertionRefusal(trie(), prefix(text), nullptr, true, false, id(), 4))
            << text;
    }
    EXPECT_NE(refusal("10.2.0.0/16", false, false), "");
    EXPECT_EQ(LpmTrie::findExact(trie(), prefix("10.2.0.0/16")), nullptr) << "only asked";
}

TEST_F(ReflectionFunctionsTest, theLongestMatchIsItsHolder) {
    EXPECT_EQ(match("10.1.2.0/24"), "10.1.0.0/16");
    EXPECT_EQ(match("10.2.0.0/16"), "10.0.0.0/8");
    EXPECT_EQ(match("11.0.0.0/8"), "-") << "a partition node is no route";
    EXPECT_EQ(match("::/0"), "-");
}

TEST_F(ReflectionFunctionsTest, thePartitionIsItsId) {
    EXPECT_EQ(partitionOf("10.1.2.0/24"), id());
    EXPECT_EQ(partitionOf("11.0.0.0/8"), top());
    EXPECT_EQ(partitionOf("::/0"), nullptr) << "a prefix of the other family is in none";
    Value const empty = box(ipv4Trie());
    EXPECT_EQ(callAs<PartitionId::Ptr>("partitionOf", {empty, box(prefix("11.0.0.0/8"))}), nullptr);
}

TEST_F(ReflectionFunctionsTest, allNodesAreRemovedAtOnce) {
    EXPECT_TRUE(call("removeAll", {self()}).isNone());
    EXPECT_EQ(trie().root(), nullptr);
    EXPECT_TRUE(call("removeAll", {self()}).isNone()) << "of an empty trie too";
}

TEST_F(ReflectionFunctionsTest, noTrieIsAnErrorThatNamesTheParameter) {
    Value const none = box(Trie::Ptr());
    Operands const route{none, box(prefix("10.0.0.0/8"))};
    Operands const insertion{none,   box(prefix("10.0.0.0/8")), box(true), box(false), box(id()),
                             box(4U)};
    auto const told = [](String const& function, Operands const& operands) {
        return messageOf<ConversionException>([&] { statusOf(function, operands); });
    };
    for (String const& message : {told("insertionRefusal", insertion), told("longestMatch", route),
                                  told("partitionOf", route), told("removeAll", {none})}) {
        EXPECT_THAT(message, testing::HasSubstr("parameter 'trie'"));
        EXPECT_THAT(message, testing::HasSubstr("None"));
    }
}

TEST_F(ReflectionFunctionsTest, aPrefixIsMadeFromItsText) {
    auto const* const type = Vexo::findType("Nimbal::IpGenPrefix");
    ASSERT_NE(type, nullptr);
    Value const made = Vexo::createByType(*type, Operands{box(String("10.1.0.0/16"))});
    EXPECT_EQ(unbox<IpGenPrefix>(made, "prefix"), prefix("10.1.0.0/16"));
    EXPECT_THROW(Vexo::createByType(*type, Operands{box(String("10.1.0.0/33"))}), RangeException);
}

}  // namespace
