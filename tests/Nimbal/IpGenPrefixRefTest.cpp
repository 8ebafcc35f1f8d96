#include <tests/Nimbal/Parsing.h>
#include <tests/Support/AllocationFailure.h>
#include <tests/Support/LeakCheck.h>

#include <Nimbal/IpGenPrefixRef.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace NimbalTest;
using Nimbal::Ip6Addr;
using Nimbal::IpAddr;
using Nimbal::IpGenPrefix;
using Nimbal::IpGenPrefixRef;
using Vexo::AllocationCounts;
using Vexo::Ptr;

IpGenPrefix const ten(IpAddr(0x0a000000), 8);

AllocationCounts counts() {
    return Vexo::allocationCounts("Nimbal::IpGenPrefixRef");
}

template <class Holder>
Ptr<Holder> read(String const& text) {
    Vexo::CharRange range(text);
    auto const holder = Vexo::deserializeAttr<Ptr<Holder>>(range, "prefixRef");
    range.checkAllDataConsumed();
    return holder;
}

auto const parser = [](std::string_view text) { read<IpGenPrefixRef>(String(text)); };

class IpGenPrefixRefTest : public TestSupport::LeakCheck {};

TEST_F(IpGenPrefixRefTest, theFactoryMakesOneTrackedHolderWithNotificationOn) {
    AllocationCounts const before = counts();
    auto const holder = IpGenPrefixRef::IpGenPrefixRefIs(ten);
    EXPECT_EQ(counts().allocations, before.allocations + 1);
    EXPECT_EQ(counts().releases, before.releases);
    EXPECT_EQ(counts().bytesAllocated, before.bytesAllocated + sizeof(IpGenPrefixRef));
    EXPECT_EQ(holder->prefix(), ten);
    EXPECT_EQ(holder->references(), 1U);
    EXPECT_TRUE(holder->hasNotificationActive());
}

TEST_F(IpGenPrefixRefTest, theConstructorAloneLeavesNotificationOff) {
    Ptr<IpGenPrefixRef> const holder(new IpGenPrefixRef(ten));
    EXPECT_FALSE(holder->hasNotificationActive());
    EXPECT_EQ(holder->prefix(), ten);
}

TEST_F(IpGenPrefixRefTest, keepsAPrefixAsGiven) {
    IpGenPrefix const odd(Ip6Addr::fromString("::1"), 1000);
    EXPECT_EQ(IpGenPrefixRef::IpGenPrefixRefIs(odd)->prefix(), odd);
}

TEST_F(IpGenPrefixRefTest, diesWithItsLastReference) {
    AllocationCounts const before = counts();
    auto holder = IpGenPrefixRef::IpGenPrefixRefIs(ten);
    auto second = holder;
    EXPECT_EQ(holder->references(), 2U);
    holder = nullptr;
    EXPECT_EQ(second->references(), 1U);
    EXPECT_EQ(counts().live(), before.live() + 1);
    second = nullptr;
    EXPECT_EQ(counts().live(), before.live());
    EXPECT_EQ(counts().bytesReleased, before.bytesReleased + sizeof(IpGenPrefixRef));
}

TEST_F(IpGenPrefixRefTest, tellsItsType) {
    auto const holder = IpGenPrefixRef::IpGenPrefixRefIs(ten);
    EXPECT_EQ(holder->fwkType(), &IpGenPrefixRef::fwkType_);
    EXPECT_STREQ(IpGenPrefixRef::fwkType_.name(), "Nimbal::IpGenPrefixRef");
    EXPECT_STREQ(IpGenPrefix::fwkType_.name(), "Nimbal::IpGenPrefix");
    EXPECT_EQ(&IpGenPrefixRef::fwkType_.module(), &Nimbal::nimbalModule);
    EXPECT_EQ(&IpGenPrefix::fwkType_.module(), &Nimbal::nimbalModule);
    EXPECT_NE(IpGenPrefix::fwkType_.number(), IpGenPrefixRef::fwkType_.number());
}

TEST_F(IpGenPrefixRefTest, anAllocationThatFailsIsNotRecorded) {
    AllocationCounts const before = counts();
    Ptr<IpGenPrefixRef> holder;
    auto const sites =
        TestSupport::failEachAllocation([&] { holder = IpGenPrefixRef::IpGenPrefixRefIs(ten); },
                                        [&] {
                                            EXPECT_EQ(counts(), before);
                                            EXPECT_EQ(holder, nullptr);
                                        });
    EXPECT_EQ(sites, 1U);
    EXPECT_EQ(counts().live(), before.live() + 1);
}

TEST_F(IpGenPrefixRefTest, aConstructionThatThrowsUndoesItsAllocation) {
    struct Throwing : IpGenPrefixRef {
        explicit Throwing(AllocationCounts& during) : IpGenPrefixRef(ten) {
            during = counts();
            throw std::runtime_error("construction");
        }
    };
    AllocationCounts const before = counts();
    AllocationCounts during;
    EXPECT_THROW(new Throwing(during), std::runtime_error);
    EXPECT_EQ(during.live(), before.live() + 1);
    EXPECT_EQ(counts().allocations, before.allocations + 1);
    EXPECT_EQ(counts().releases, before.releases + 1);
    EXPECT_EQ(counts().liveBytes(), before.liveBytes());
}

TEST_F(IpGenPrefixRefTest, printsAsItsPrefixAndNullAsNone) {
    Ptr<IpGenPrefixRef> const holder = IpGenPrefixRef::IpGenPrefixRefIs(ten);
    EXPECT_EQ(valueToStrep(holder), "'10.0.0.0/8'");
    EXPECT_EQ(valueToStrep(Ptr<IpGenPrefixRef const>(holder)), "'10.0.0.0/8'");
    EXPECT_EQ(valueToStrep(Ptr<IpGenPrefixRef>()), "None");
    EXPECT_EQ(valueToStrep(Ptr<IpGenPrefixRef const>()), "None");
    EXPECT_EQ(valueToStrep(IpGenPrefixRef::IpGenPrefixRefIs(IpGenPrefix(IpAddr(1), 0))),
              "Value('Nimbal::IpGenPrefix', ** {'af': 1, 'address': '0.0.0.1', 'len': 0})");
}

template <class Holder>
void expectReadsBackIntoNewHolder(IpGenPrefix const& prefix) {
    Ptr<Holder> const holder = IpGenPrefixRef::IpGenPrefixRefIs(prefix);
    AllocationCounts const before = counts();
    auto const another = read<Holder>(valueToStrep(holder));
    ASSERT_NE(another, nullptr);
    EXPECT_NE(another, holder);
    EXPECT_EQ(another->prefix(), prefix);
    EXPECT_EQ(another->references(), 1U);
    EXPECT_TRUE(another->hasNotificationActive());
    EXPECT_EQ(holder->references(), 1U);
    EXPECT_EQ(counts().live(), before.live() + 1);
}

TEST_F(IpGenPrefixRefTest, readsBackIntoANewHolder) {
    for (IpGenPrefix const& prefix : {ten, IpGenPrefix(), IpGenPrefix(IpAddr(0x0a000001), 40),
                                      IpGenPrefix(Ip6Addr::fromString("::ffff:1.2.3.4"), 128),
                                      IpGenPrefix(Ip6Addr::fromString("2001:db8::1"), 32)}) {
        expectReadsBackIntoNewHolder<IpGenPrefixRef>(prefix);
        expectReadsBackIntoNewHolder<IpGenPrefixRef const>(prefix);
    }
}

TEST_F(IpGenPrefixRefTest, noneReadsAsNullAndAllocatesNothing) {
    AllocationCounts const before = counts();
    EXPECT_EQ(read<IpGenPrefixRef>("None"), nullptr);
    EXPECT_EQ(read<IpGenPrefixRef const>("None"), nullptr);
    EXPECT_EQ(counts(), before);
}

TEST_F(IpGenPrefixRefTest, aRefusedTextNamesTheAttributeAndLeavesNothingBehind) {
    struct Case {
        char const* text;
        char const* attribute;
        char const* message;
    };
    for (
        auto const& [text, attribute, message] :
        {Case{"'10.0.0.1/8'", "prefixRef",
              "attribute 'prefixRef': '10.0.0.1/8': a bit is set past the prefix length"},
         Case{"'10.0.0.0'", "prefixRef",
              "attribute 'prefixRef': '10.0.0.0': the prefix length is missing"},
         Case{
             "Value('Nimbal::IpGenPrefix', ** {'af': 1, 'address': '::', 'len': 8})",
             "prefixRef.address",
             "attribute 'prefixRef': attribute 'address': '::': a part of the IPv4 address is missing before "
             "'::'"}}) {
        try {
            read<IpGenPrefixRef>(text);
            ADD_FAILURE() << text << " is accepted";
        } catch (Vexo::RangeException const& error) {
            EXPECT_EQ(error.attribute(), attribute);
            EXPECT_STREQ(error.what(), message);
        }
        EXPECT_THROW(read<IpGenPrefixRef const>(text), Vexo::RangeException);
    }
}

TEST_F(IpGenPrefixRefTest, aTextThatNamesAnObjectIsNotFollowed) {
    auto const holder = IpGenPrefixRef::IpGenPrefixRefIs(ten);
    String const name = Vexo::objectToStrep(holder.get());
    EXPECT_THROW(read<IpGenPrefixRef>(name), Vexo::RangeException);
    EXPECT_THROW(read<IpGenPrefixRef>("0x0"), Vexo::RangeException);
    EXPECT_EQ(holder->references(), 1U);
}

TEST_F(IpGenPrefixRefTest, refusesTruncationsForeignBytesAndTextLeftOver) {
    expectTruncationsRefused(parser, "None");
    expectTruncationsRefused(parser, "'10.0.0.0/8'");
    expectTruncationsRefused(parser, valueToStrep(IpGenPrefix()));
    expectForeignBytesRefused(parser, "None");
    expectForeignBytesRefused(parser, "'10.0.0.0/8'");
    expectForeignBytesRefused(parser, valueToStrep(IpGenPrefix()));
    EXPECT_FALSE(accepts(parser, "NoneNone"));
    EXPECT_FALSE(accepts(parser, "none"));
    EXPECT_FALSE(accepts(parser, ""));
}

TEST_F(IpGenPrefixRefTest, aFailedAllocationWhileReadingLeavesNothingBehind) {
    AllocationCounts const before = counts();
    String const text = valueToStrep(IpGenPrefix(Ip6Addr::fromString("1:2:3:4:5:6:7:8"), 300));
    Ptr<IpGenPrefixRef> holder;
    auto const sites =
        TestSupport::failEachAllocation([&] { holder = read<IpGenPrefixRef>(text); },
                                        [&] { EXPECT_EQ(counts().live(), before.live()); });
    EXPECT_GE(sites, 1U);
    EXPECT_EQ(counts().live(), before.live() + 1);
}

}  // namespace
