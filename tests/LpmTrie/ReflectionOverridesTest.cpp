#include <tests/LpmTrie/DumpedText.h>
#include <tests/LpmTrie/Reflection.h>

#include <Vexo/Attribute.h>

#include <functional>

/* A client's subclass, driven by name: virtual operations are reached through the virtual table,
 * the others are not. */

namespace {

using namespace ReflectionTests;
using Vexo::U8;

struct Calls {
    U32 insertFromRoot = 0;
    U32 findPartitionNode = 0;
    U32 verify = 0;
    U32 dump = 0;
    U32 remove = 0;
    U32 dumpPrefix = 0;
    U32 dumpPartition = 0;
    bool operator==(Calls const&) const = default;
};

std::ostream& operator<<(std::ostream& stream, Calls const& calls) {
    return stream << calls.insertFromRoot << calls.findPartitionNode << calls.verify << calls.dump
                  << ' ' << calls.remove << calls.dumpPrefix << calls.dumpPartition;
}

/** Registered nowhere: it answers its base's type. */
class CountingTrie : public Trie {
public:
    using Trie::Trie;

    TrieReturnCode insertFromRoot(IpGenPrefix const& newPrefix, bool fibRoute, bool partitionNode,
                                  PartitionId::Ptr const& id, U32 hwTable) override {
        ++calls_.insertFromRoot;
        if (onInsertion_) {
            onInsertion_(id);
        }
        return Trie::insertFromRoot(newPrefix, fibRoute, partitionNode, id, hwTable);
    }
    TrieReturnCode findPartitionNode(IpGenPrefix const& of, bool includePending) override {
        ++calls_.findPartitionNode;
        return Trie::findPartitionNode(of, includePending);
    }
    void verify() override {
        ++calls_.verify;
        Trie::verify();
    }
    void dump(U32 socket) override {
        ++calls_.dump;
        Trie::dump(socket);
    }
    // Not virtual in the base: these hide, and override nothing.
    [[maybe_unused]] TrieNodeReturnCode remove(IpGenPrefix const& of) {
        ++calls_.remove;
        return Trie::remove(of);
    }
    [[maybe_unused]] void dumpPrefix(U32 socket, IpGenPrefix const& of) {
        ++calls_.dumpPrefix;
        Trie::dumpPrefix(socket, of);
    }
    [[maybe_unused]] void dumpPartition(U32 socket) {
        ++calls_.dumpPartition;
        Trie::dumpPartition(socket);
    }

    Calls& calls() { return calls_; }
    void onInsertionIs(std::function<void(PartitionId::Ptr const&)> work) {
        onInsertion_ = std::move(work);
    }

private:
    Calls calls_;
    std::function<void(PartitionId::Ptr const&)> onInsertion_;
};

/** Registered as a type of its own, with an attribute more. */
class NamedTrie : public CountingTrie {
public:
    using CountingTrie::CountingTrie;
    FwkType const* fwkType() const override { return &fwkType_; }
    U32 lookUps() { return calls().findPartitionNode; }

    static FwkType const fwkType_;
};

constinit Vexo::FwkModule const clientModule("ReflectionOverrides", "tests/LpmTrie");
constexpr std::array attributes{Vexo::valueAttribute<&NamedTrie::lookUps>("lookUps")};
constinit Vexo::TypeDescription const description{
    .base = &Trie::fwkType_, .attributes = attributes, .value = nullptr, .constructor = nullptr};
constinit FwkType const NamedTrie::fwkType_("ReflectionOverrides::NamedTrie", clientModule, 1,
                                            description);

class ReflectionOverridesTest : public TestSupport::LeakCheck {
protected:
    ReflectionOverridesTest() { trie_->afIs(AddressFamily::ipv4); }
    ~ReflectionOverridesTest() override { LpmTrie::removeAll(*trie_); }

    CountingTrie& trie() const { return *trie_; }
    Value& self() { return self_; }
    void insertByName(String const& text) {
        call(self_, "insertFromRoot", {box(prefix(text)), box(true), box(false), Value(), box(0U)});
    }

private:
    Vexo::Ptr<CountingTrie> const trie_{new CountingTrie(3)};
    Value self_ = box(Trie::Ptr(trie_));
};

TEST_F(ReflectionOverridesTest, virtualOperationsAreCalledThroughTheVirtualTable) {
    EXPECT_EQ(self().type(), &Trie::fwkType_);
    insertByName("10.0.0.0/8");
    EXPECT_EQ(trie().calls(), (Calls{.insertFromRoot = 1}));
    call(self(), "findPartitionNode", {box(prefix("10.0.0.0/8")), box(false)});
    EXPECT_EQ(trie().calls(), (Calls{.insertFromRoot = 1, .findPartitionNode = 1}));
    trie().calls() = {};
    call(self(), "verify");
    EXPECT_EQ(trie().calls().verify, 1U);
    TrieTests::UnnamedFile const file;
    call(self(), "dump", {box(file.descriptor())});
    EXPECT_EQ(trie().calls().dump, 1U);
}

TEST_F(ReflectionOverridesTest, theOtherOperationsAreCalledDirectly) {
    insertByName("10.0.0.0/8");
    insertByName("10.1.0.0/16");
    TrieTests::UnnamedFile const file;
    call(self(), "dumpPrefix", {box(file.descriptor()), box(prefix("10.0.0.0/8"))});
    call(self(), "dumpPartition", {box(file.descriptor())});
    EXPECT_TRUE(callAs<TrieNodeReturnCode>(self(), "remove", {box(prefix("10.1.0.0/16"))}).success);
    EXPECT_EQ(trie().calls().dumpPrefix, 0U);
    EXPECT_EQ(trie().calls().dumpPartition, 0U);
    EXPECT_EQ(trie().calls().remove, 0U);
    // Both look up through the virtual table, each once.
    EXPECT_EQ(trie().calls().findPartitionNode, 2U);
}

TEST_F(ReflectionOverridesTest, anInsertionHoldsItsOwnReferenceToTheIdMeanwhile) {
    PartitionId::Ptr id = partitionId(9);
    Vexo::Ptr<Bitmap> const bitmap = id->bitMap();
    Operands operands{box(prefix("10.0.0.0/8")), box(true), box(false), box(id), box(1U)};
    id = nullptr;
    U32 seen = 0;
    trie().onInsertionIs([&](PartitionId::Ptr const& held) {
        operands.clear();  // the caller's own reference, and the last one but the call's
        EXPECT_TRUE(bitmap->isSet(9));
        seen = held->references();
    });
    call(self(), "insertFromRoot", operands);
    EXPECT_EQ(seen, 1U);
    LpmTrie::Node const* const node = LpmTrie::findExact(trie(), prefix("10.0.0.0/8"));
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->partitionId()->references(), 1U);
    call(self(), "remove", {box(prefix("10.0.0.0/8"))});
    EXPECT_FALSE(bitmap->isSet(9));
}

TEST_F(ReflectionOverridesTest, anOverridesExceptionReachesTheCallerAndHoldsNothing) {
    PartitionId::Ptr const id = partitionId(9);
    trie().onInsertionIs([](PartitionId::Ptr const&) { throw std::runtime_error("no room"); });
    Operands const operands{box(prefix("10.0.0.0/8")), box(true), box(false), box(id), box(1U)};
    EXPECT_THROW(call(self(), "insertFromRoot", operands), std::runtime_error);
    EXPECT_EQ(id->references(), 2U);
    EXPECT_EQ(trie().root(), nullptr);
}

TEST_F(ReflectionOverridesTest, aTypeOfTheClientsOwnHasTheTriesAttributesAndItsOwnBehindThem) {
    Vexo::Ptr<NamedTrie> const named(new NamedTrie(4));
    named->afIs(AddressFamily::ipv4);
    // The static type of the reference does not count.
    Value slot = box(Trie::Ptr(named));
    EXPECT_EQ(slot.type(), &NamedTrie::fwkType_);
    EXPECT_TRUE(NamedTrie::fwkType_.isA(Trie::fwkType_));
    EXPECT_FALSE(Trie::fwkType_.isA(NamedTrie::fwkType_));
    EXPECT_EQ(getAs<U32>(slot, "vrfId"), 4U);
    call(slot, "findPartitionNode", {box(prefix("10.0.0.0/8")), box(false)});
    EXPECT_EQ(getAs<U32>(slot, "lookUps"), 1U);
    EXPECT_EQ(Vexo::attributeNumber(NamedTrie::fwkType_, "lookUps"),
              Vexo::attributeNumber(Trie::fwkType_, "af") + 1);
    EXPECT_EQ(statusOf(self(), "lookUps", AttributeOperation::get),
              AttributeStatus::noSuchAttribute);
}

TEST_F(ReflectionOverridesTest, aTypeRegisteredLaterIsKnownUntilItsModuleLeaves) {
    EXPECT_EQ(Vexo::findType("ReflectionOverrides::NamedTrie"), nullptr);
    {
        Vexo::ModuleRegistration const registration(clientModule, {&NamedTrie::fwkType_});
        EXPECT_EQ(Vexo::findType("ReflectionOverrides::NamedTrie"), &NamedTrie::fwkType_);
        EXPECT_EQ(Vexo::findModule("ReflectionOverrides"), &clientModule);
    }
    EXPECT_EQ(Vexo::findType("ReflectionOverrides::NamedTrie"), nullptr);
    EXPECT_EQ(Vexo::findModule("ReflectionOverrides"), nullptr);
}

}  // namespace
