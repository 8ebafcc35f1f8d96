#include <LpmTrie/LpmTrieTypes.h>

#include <Vexo/Hash.h>
#include <tests/LpmTrie/RecordParsing.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string_view>
#include <type_traits>
#include <vector>

namespace {

using namespace std::string_view_literals;
using LpmTrie::PendingState;
using LpmTrieTest::expectForeignBytesRefused;
using LpmTrieTest::expectRefused;
using LpmTrieTest::expectTruncationsRefused;
using Vexo::strepToValue;
using Vexo::String;
using Vexo::U32;
using Vexo::U8;

std::vector<PendingState> allStates() {
    std::vector<PendingState> states;
    for (U32 value = 0; value < 16; ++value) {
        states.emplace_back(static_cast<unsigned char>(value));
    }
    return states;
}

static_assert(sizeof(PendingState) == 1);
static_assert(PendingState().value() == 0);
static_assert(PendingState::createPartition_().value() == 1);
static_assert(PendingState::removePartition_().value() == 2);
static_assert(PendingState::splittingPartition_().value() == 4);
static_assert(PendingState::maxPendingState_().value() == 8);
static_assert(!std::is_convertible_v<unsigned char, PendingState>);
static_assert(!std::is_convertible_v<PendingState, bool>);

TEST(PendingStateTest, isTheSetOfItsFourFlags) {
    for (U32 value = 0; value < 16; ++value) {
        PendingState const state(static_cast<unsigned char>(value));
        EXPECT_EQ(state.value(), value);
        EXPECT_EQ(state.createPartition(), (value & 1) != 0) << value;
        EXPECT_EQ(state.removePartition(), (value & 2) != 0) << value;
        EXPECT_EQ(state.splittingPartition(), (value & 4) != 0) << value;
        EXPECT_EQ(state.maxPendingState(), (value & 8) != 0) << value;
        EXPECT_EQ(static_cast<bool>(state), value != 0) << value;
    }
}

TEST(PendingStateTest, aSetterChangesItsOwnBitAlone) {
    struct Flag {
        U32 mask;
        void (PendingState::*set)(bool) noexcept;
    };
    for (Flag const& flag :
         {Flag{1, &PendingState::createPartition}, Flag{2, &PendingState::removePartition},
          Flag{4, &PendingState::splittingPartition}, Flag{8, &PendingState::maxPendingState}}) {
        for (PendingState const& before : allStates()) {
            PendingState state = before;
            (state.*flag.set)(true);
            EXPECT_EQ(state.value(), before.value() | flag.mask);
            (state.*flag.set)(false);
            EXPECT_EQ(state.value(), before.value() & ~flag.mask);
        }
    }
}

TEST(PendingStateTest, setOperationsStayWithinTheFourFlags) {
    for (PendingState const& a : allStates()) {
        for (PendingState const& b : allStates()) {
            EXPECT_EQ((a & b).value(), a.value() & b.value());
            EXPECT_EQ((a | b).value(), a.value() | b.value());
            EXPECT_EQ((a ^ b).value(), a.value() ^ b.value());
            EXPECT_EQ((a - b).value(), a.value() & (15 - b.value()));
        }
        EXPECT_EQ((~a).value(), 15 - a.value());
    }
}

TEST(PendingStateTest, differenceAndComplementOfSingleFlags) {
    PendingState const both = PendingState::createPartition_() | PendingState::removePartition_();
    EXPECT_EQ(both - PendingState::removePartition_(), PendingState::createPartition_());
    EXPECT_EQ((~PendingState()).value(), 15);
}

TEST(PendingStateTest, isComparedByItsNumber) {
    for (PendingState const& a : allStates()) {
        for (PendingState const& b : allStates()) {
            EXPECT_EQ(a == b, a.value() == b.value());
            EXPECT_EQ(a < b, a.value() < b.value());
        }
    }
}

TEST(PendingStateTest, itsHashIsThatOfTheByteAsA32BitNumber) {
    for (PendingState const& state : allStates()) {
        Vexo::Hash hash;
        U8 const bytes[4] = {state.value(), 0, 0, 0};
        hash.hashMix(bytes, sizeof(bytes));
        EXPECT_EQ(state.hash(), hash.result());
    }
}

TEST(PendingStateTest, numbersWithOtherBitsAreRefused) {
    for (U32 value = 16; value < 256; ++value) {
        EXPECT_THAT([&] { PendingState{static_cast<unsigned char>(value)}; },
                    testing::ThrowsMessage<Vexo::RangeException>(
                        testing::AllOf(testing::HasSubstr("LpmTrie::PendingState"),
                                       testing::HasSubstr(std::to_string(value)))));
    }
}

String textOf(U32 value) {
    auto const flag = [&](U32 mask) { return (value & mask) != 0 ? "True" : "False"; };
    return String("Value('LpmTrie::PendingState', ** {'createPartition': ") + flag(1) +
           ", 'removePartition': " + flag(2) + ", 'splittingPartition': " + flag(4) +
           ", 'maxPendingState': " + flag(8) + "})";
}

TEST(PendingStateTextTest, tellsAllFourFlagsAndReadsBack) {
    for (U32 value = 0; value < 16; ++value) {
        PendingState const state(static_cast<unsigned char>(value));
        std::ostringstream stream;
        stream << '<' << state << '>';
        EXPECT_EQ(valueToStrep(state), textOf(value));
        EXPECT_EQ(stream.str(), "<" + textOf(value) + ">");
        EXPECT_EQ(strepToValue<PendingState>(textOf(value)), state);
    }
}

TEST(PendingStateTextTest, ofTheEmptyStateIsFourTimesFalse) {
    String const text = "Value('LpmTrie::PendingState', ** {'createPartition': False, "
                        "'removePartition': False, 'splittingPartition': False, "
                        "'maxPendingState': False})";
    EXPECT_EQ(valueToStrep(PendingState()), text);
    EXPECT_EQ(strepToValue<PendingState>(text), PendingState());
}

TEST(PendingStateTextTest, isReadUpToItsEnd) {
    String const text = textOf(6) + "})";
    Vexo::CharRange range(text);
    EXPECT_EQ(PendingState(range).value(), 6);
    EXPECT_EQ(range.rest(), "})");
    expectRefused<PendingState>(text, "");
}

TEST(PendingStateTextTest, isRefusedWhenDamaged) {
    for (U32 const value : {0U, 5U, 15U}) {
        expectTruncationsRefused<PendingState>(textOf(value));
        expectForeignBytesRefused<PendingState>(textOf(value));
    }
}

TEST(PendingStateTextTest, isRefusedByTheNameOfTheFlagWhoseValueIsWrong) {
    for (std::string_view const name :
         {"createPartition", "removePartition", "splittingPartition", "maxPendingState"}) {
        String const old = "'" + String(name) + "': False";
        for (std::string_view const value :
             {""sv, "0"sv, "1"sv, "true"sv, "TRUE"sv, "None"sv, "'False'"sv, "0x1"sv, "\0"sv}) {
            String text = textOf(0);
            text.replace(text.find(old) + old.size() - 5, 5, value);
            expectRefused<PendingState>(text, name);
        }
    }
}

TEST(PendingStateTextTest, isRefusedInAnyOtherShape) {
    for (String const& text :
         {String("0"), String("15"), String("None"), String("False"),
          String("Value('LpmTrie::PendingState', ** {})"),
          String("Value('LpmTrie::PendingState', ** {'value': 1})"),
          String("Value('LpmTrie::PendingState', ** {'removePartition': False, "
                 "'createPartition': False, 'splittingPartition': False, "
                 "'maxPendingState': False})"),
          "Value('LpmTrie::PartitionId" + textOf(0).substr(textOf(0).find("',"))}) {
        expectRefused<PendingState>(text, "");
    }
}

}  // namespace
