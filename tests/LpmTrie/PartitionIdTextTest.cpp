#include <LpmTrie/LpmTrieTypes.h>

#include <Nimbal/IpGenPrefixRef.h>
#include <Vexo/Strep.h>
#include <tests/Support/LeakCheck.h>

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <sstream>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using LpmTrie::PartitionId;
using LpmTrie::PartitionIdValue;
using Torvel::Bitmap;
using Vexo::String;
using Vexo::U32;
using Vexo::valueToStrep;

String printed(PartitionId const* id) {
    std::ostringstream stream;
    stream << '<' << id << '>';
    return stream.str();
}

class PartitionIdTextTest : public TestSupport::LeakCheck {
protected:
    static PartitionId::Ptr partitionId(U32 id) {
        return PartitionId::PartitionIdIs(PartitionIdValue(id), 0xffff, {});
    }
};

TEST_F(PartitionIdTextTest, isItsNumberAndItsReferences) {
    PartitionId::Ptr const id = partitionId(5);
    EXPECT_EQ(printed(id.get()), "<PartitionId:5 references:1>");
    std::array<PartitionId::Ptr, 2> const others{id, id};
    EXPECT_EQ(printed(id.get()), "<PartitionId:5 references:3>");
    EXPECT_EQ(printed(partitionId(0xffffffffU).get()), "<PartitionId:4294967295 references:1>");
}

TEST_F(PartitionIdTextTest, ofAnObjectThatNobodyHoldsTellsNoReference) {
    PartitionId const id(PartitionIdValue(7), 0xffff, {});
    EXPECT_EQ(printed(&id), "<PartitionId:7 references:0>");
}

TEST_F(PartitionIdTextTest, ofNull) {
    EXPECT_EQ(printed(nullptr), "<PartitionId null>");
    EXPECT_EQ(printed(PartitionId::Ptr().get()), "<PartitionId null>");
}

TEST_F(PartitionIdTextTest, neverShowsTheFlagsOfTheReferenceWord) {
    PartitionId::Ptr const id(new PartitionId(PartitionIdValue(5), 0xffff, {}));
    EXPECT_EQ(printed(id.get()), "<PartitionId:5 references:1>");
    id->hasNotificationActiveIs(true);
    EXPECT_EQ(printed(id.get()), "<PartitionId:5 references:1>");
    EXPECT_NE(valueToStrep(id), "None");  // names the object, which is marked for it
    EXPECT_EQ(printed(id.get()), "<PartitionId:5 references:1>");
}

/** Reads the attribute "owner". */
PartitionId::Ptr read(std::string_view text) {
    Vexo::CharRange range(text);
    PartitionId::Ptr const id = Vexo::deserializeAttr<PartitionId::Ptr>(range, "owner");
    range.checkAllDataConsumed();
    return id;
}

void expectRefused(std::string_view text) {
    Vexo::CharRange range(text);
    try {
        static_cast<void>(Vexo::deserializeAttr<PartitionId::Ptr>(range, "owner"));
        ADD_FAILURE() << text << " has been read";
    } catch (Vexo::RangeException const& error) {
        EXPECT_EQ(error.attribute(), "owner") << text;
        EXPECT_STRNE(error.what(), "") << text;
    }
}

TEST_F(PartitionIdTextTest, namesTheObjectAndReadsBackAsTheSame) {
    PartitionId::Ptr const id = partitionId(5);
    PartitionId::Ptr const equal = partitionId(5);
    String const text = valueToStrep(id);
    EXPECT_EQ(read(text), id);
    EXPECT_EQ(read(valueToStrep(equal)), equal);
    PartitionId::Ptr const held = read(text);
    EXPECT_EQ(printed(id.get()), "<PartitionId:5 references:2>");
}

TEST_F(PartitionIdTextTest, ofANullReferenceReadsBackAsNull) {
    EXPECT_EQ(valueToStrep(PartitionId::Ptr()), "None");
    EXPECT_EQ(read("None"), nullptr);
}

TEST_F(PartitionIdTextTest, isReadUpToItsEnd) {
    PartitionId::Ptr const id = partitionId(5);
    String const text = valueToStrep(id) + ", 'next': None";
    Vexo::CharRange range(text);
    EXPECT_EQ(Vexo::deserializeAttr<PartitionId::Ptr>(range, "owner"), id);
    EXPECT_EQ(range.rest(), ", 'next': None");
}

TEST_F(PartitionIdTextTest, isRefusedWhenTheObjectHasGone) {
    PartitionId::Ptr id = partitionId(5);
    String const text = valueToStrep(id);
    id = nullptr;
    expectRefused(text);
}

TEST_F(PartitionIdTextTest, isRefusedWhenItNamesAnObjectOfAnotherType) {
    Bitmap::Ptr const bitmap = Bitmap::BitmapIs();
    expectRefused(valueToStrep(bitmap));
    String text = valueToStrep(bitmap);
    text.replace(text.find("Torvel::Bitmap"), String("Torvel::Bitmap").size(),
                 "LpmTrie::PartitionId");
    expectRefused(text);
    expectRefused("'10.0.0.0/8'");
}

TEST_F(PartitionIdTextTest, isRefusedWhenItIsNoName) {
    PartitionId::Ptr const id = partitionId(5);
    String const text = valueToStrep(id);
    for (std::size_t size = 0; size < text.size(); ++size) {
        expectRefused(text.substr(0, size));
    }
    for (auto const wrong :
         {""sv, "none"sv, "Non"sv, "False"sv, "5"sv, "0x0"sv, " None"sv, "\0None"sv,
          "PartitionId:5 references:1"sv, "Object('LpmTrie::PartitionId', 0x0)"sv,
          "Object('LpmTrie::PartitionId', 0xfffffffffffffffff)"sv}) {
        expectRefused(wrong);
    }
    expectRefused(valueToStrep(static_cast<void const*>(id.get())));
}

}  // namespace
