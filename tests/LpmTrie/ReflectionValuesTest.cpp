#include <tests/LpmTrie/ReflectionTypes.h>

#include <limits>

/* The value types as the framework sees them: truth, equality, order, hash, text, parser, copy, and
 * what reading and writing their attributes does. */

namespace {

using namespace ReflectionTests;

class ReflectionValuesTest : public TestSupport::LeakCheck {};

Value state(unsigned char bits) {
    return box(PendingState(bits));
}
Value number(U32 value) {
    return box(PartitionIdValue(value));
}

TEST_F(ReflectionValuesTest, aFlagIsItsOwnBit) {
    struct Flag {
        char const* name;
        U32 mask;
    };
    for (Flag const& flag : {Flag{"createPartition", 1}, Flag{"removePartition", 2},
                             Flag{"splittingPartition", 4}, Flag{"maxPendingState", 8}}) {
        for (unsigned char bits = 0; bits < 16; ++bits) {
            for (bool const on : {false, true}) {
                SCOPED_TRACE(testing::Message() << flag.name << ' ' << +bits << ' ' << on);
                Value self = state(bits);
                EXPECT_EQ(getAs<bool>(self, flag.name), (bits & flag.mask) != 0);
                set(self, flag.name, box(on));
                EXPECT_EQ(getAs<bool>(self, flag.name), on);
                EXPECT_EQ(getAs<U32>(self, "value"), on ? bits | flag.mask : bits & ~flag.mask);
            }
        }
    }
}

TEST_F(ReflectionValuesTest, writingRemovePartitionFalseOnThreeLeavesOne) {
    Value self = state(3);
    set(self, "removePartition", box(false));
    EXPECT_EQ(unbox<PendingState>(self, "state"), PendingState(1));
}

TEST_F(ReflectionValuesTest, theConstantsAreTheSameWhateverTheValueAtHand) {
    for (unsigned char bits = 0; bits < 16; ++bits) {
        Value self = state(bits);
        EXPECT_EQ(getAs<PendingState>(self, "createPartition_"), PendingState(1));
        EXPECT_EQ(getAs<PendingState>(self, "removePartition_"), PendingState(2));
        EXPECT_EQ(getAs<PendingState>(self, "splittingPartition_"), PendingState(4));
        EXPECT_EQ(getAs<PendingState>(self, "maxPendingState_"), PendingState(8));
        EXPECT_EQ(getAs<U32>(self, "value"), bits);
    }
}

TEST_F(ReflectionValuesTest, pendingStatesAreTrueComparedAndHashedByTheirByte) {
    for (unsigned char a = 0; a < 16; ++a) {
        EXPECT_EQ(isTrue(state(a)), a != 0);
        EXPECT_EQ(Vexo::valueHash(state(a)), PendingState(a).hash());
        for (unsigned char b = 0; b < 16; ++b) {
            EXPECT_EQ(areEqual(state(a), state(b)), a == b);
            EXPECT_EQ(isLess(state(a), state(b)), a < b);
        }
    }
}

TEST_F(ReflectionValuesTest, partitionNumbersAreTrueComparedAndHashedAsNumbers) {
    U32 const numbers[] = {0, 1, 2, 0x80000000U, std::numeric_limits<U32>::max()};
    for (U32 const a : numbers) {
        Value self = number(a);
        EXPECT_EQ(getAs<U32>(self, "value"), a);
        EXPECT_EQ(getAs<U32>(self, "hash"), a);
        EXPECT_EQ(Vexo::valueHash(self), a);
        EXPECT_EQ(isTrue(self), a != 0);
        for (U32 const b : numbers) {
            EXPECT_EQ(areEqual(self, number(b)), a == b);
            EXPECT_EQ(isLess(self, number(b)), a < b);
        }
    }
}

struct TruthOfRecord {
    Value record;
    bool isTrue;
};

TEST_F(ReflectionValuesTest, aRecordIsTrueWhenAnyOfItsFieldsIsSet) {
    using Merge = TrieFindMergeReturnCode;
    auto const merge = [](auto const& fill) {
        Merge record;
        fill(record);
        return box(record);
    };
    LpmTrie::Node* const node = nodeAt(8);
    std::vector<TruthOfRecord> const records{
        {box(TrieReturnCode()), false},
        {box(TrieReturnCode(node, nullptr, nullptr, false)), true},
        {box(TrieReturnCode(nullptr, node, nullptr, false)), true},
        {box(TrieReturnCode(nullptr, nullptr, node, false)), true},
        {box(TrieReturnCode(nullptr, nullptr, nullptr, true)), true},
        {box(TrieNodeReturnCode()), false},
        {box(TrieNodeReturnCode(node, false)), true},
        {box(TrieNodeReturnCode(nullptr, true)), true},
        {box(TrieTraversalReturnCode()), false},
        {box(TrieTraversalReturnCode(node, 0, 0)), true},
        {box(TrieTraversalReturnCode(nullptr, 1, 0)), true},
        {box(TrieTraversalReturnCode(nullptr, 0, 1)), true},
        {merge([](Merge&) {}), false},
        {merge([&](Merge& record) { record.fromNodeIs(node); }), true},
        {merge([&](Merge& record) { record.toNodeIs(node); }), true},
        {merge([](Merge& record) { record.dirty = true; }), true},
        {box(TrieNodeInfo()), false},
        {box(TrieNodeInfo(holder("10.0.0.0/8"), nullptr, nullptr)), true},
        {box(TrieNodeInfo(nullptr, partitionId(1), nullptr)), true},
        {box(TrieNodeInfo(nullptr, nullptr, partitionId(1))), true},
    };
    for (TruthOfRecord const& row : records) {
        EXPECT_EQ(isTrue(row.record), row.isTrue)
            << row.record.type()->name() << ' ' << valueText(row.record);
        for (TruthOfRecord const& other : records) {
            if (other.record.type() == row.record.type()) {
                EXPECT_EQ(areEqual(row.record, other.record), &row == &other);
            }
        }
    }
}

TEST_F(ReflectionValuesTest, onlyTheServedFieldOfAResultRecordIsReachedAndItAlone) {
    Value found = box(TrieReturnCode(nodeAt(8), nodeAt(16), nodeAt(24), false));
    set(found, "dirty", box(true));
    EXPECT_TRUE(getAs<bool>(found, "dirty"));
    EXPECT_EQ(unbox<TrieReturnCode>(found, ""),
              TrieReturnCode(nodeAt(8), nodeAt(16), nodeAt(24), true));
    Value removed = box(TrieNodeReturnCode(nodeAt(8), false));
    set(removed, "success", box(true));
    EXPECT_EQ(unbox<TrieNodeReturnCode>(removed, ""), TrieNodeReturnCode(nodeAt(8), true));
    TrieFindMergeReturnCode merge;
    merge.fromNodeIs(nodeAt(8));
    Value proposed = box(merge);
    merge.dirty = true;
    set(proposed, "dirty", box(true));
    EXPECT_EQ(unbox<TrieFindMergeReturnCode>(proposed, ""), merge);
    Value step = box(TrieTraversalReturnCode(nodeAt(8), 1, 7));
    EXPECT_EQ(getAs<U32>(step, "bit"), 1U);
    EXPECT_EQ(getAs<U32>(step, "level"), 7U);
}

TEST_F(ReflectionValuesTest, theResultRecordsHaveNoHash) {
    for (FwkType const* type :
         {&TrieReturnCode::fwkType_, &TrieNodeReturnCode::fwkType_,
          &TrieTraversalReturnCode::fwkType_, &TrieFindMergeReturnCode::fwkType_}) {
        Value const record = Vexo::createByType(*type, {});
        EXPECT_EQ(messageOf<UnhashableException>([&] { Vexo::valueHash(record); }),
                  String("a value of type ") + type->name() + " has no hash");
    }
}

TEST_F(ReflectionValuesTest, textsAreThoseOfTheTypes) {
    EXPECT_EQ(valueText(number(17)), "17");
    EXPECT_EQ(valueText(state(2)),
              "Value('LpmTrie::PendingState', ** {'createPartition': False, 'removePartition': "
              "True, 'splittingPartition': False, 'maxPendingState': False})");
    EXPECT_EQ(valueText(box(TrieReturnCode(nodeAt(8), nullptr, nullptr, true))), "True");
    EXPECT_EQ(valueText(box(TrieNodeReturnCode(nodeAt(8), false))), "False");
    EXPECT_EQ(valueText(box(TrieFindMergeReturnCode())), "False");
    EXPECT_EQ(valueText(box(TrieTraversalReturnCode(nodeAt(8), 1, 7))),
              "Value('LpmTrie::TrieTraversalReturnCode', ** {'bit': 1, 'level': 7})");
    EXPECT_EQ(valueText(box(TrieNodeInfo(holder("10.0.0.0/8"), nullptr, nullptr))),
              "Value('LpmTrie::TrieNodeInfo', ** {'prefixRef': '10.0.0.0/8', 'oldPartitionId': "
              "None, 'newPartitionId': None})");
}

TEST_F(ReflectionValuesTest, textsAreReadIntoValues) {
    struct Readable {
        String text;
        Value value;
    };
    std::vector<Readable> const readable{
        {"17", number(17)},
        {valueText(state(13)), state(13)},
        {"Value('LpmTrie::TrieReturnCode', ** {'node': 0x8, 'partitionNode': None, "
         "'coveringPrefixNode': 0x18, 'dirty': True})",
         box(TrieReturnCode(nodeAt(8), nullptr, nodeAt(24), true))},
        {"Value('LpmTrie::TrieNodeReturnCode', ** {'node': None, 'success': True})",
         box(TrieNodeReturnCode(nullptr, true))},
        {"Value('LpmTrie::TrieTraversalReturnCode', ** {'node': None, 'bit': 0, 'level': 1})",
         box(TrieTraversalReturnCode(nullptr, 0, 1))},
        {"Value('LpmTrie::TrieFindMergeReturnCode', ** {'fromNode': None, 'toNode': None, 'dirty': "
         "False})",
         box(TrieFindMergeReturnCode())},
        {valueText(box(TrieNodeInfo())), box(TrieNodeInfo())},
    };
    for (Readable const& row : readable) {
        Value const read = Vexo::valueFromText(*row.value.type(), row.text);
        EXPECT_EQ(read.type(), row.value.type());
        EXPECT_TRUE(areEqual(read, row.value)) << row.text;
        EXPECT_THROW(Vexo::valueFromText(*row.value.type(), row.text + " "), RangeException);
        EXPECT_THROW(Vexo::valueFromText(*row.value.type(), " " + row.text), RangeException);
        EXPECT_THROW(Vexo::valueFromText(*row.value.type(), ""), RangeException);
    }
    // What three of the records and a step print, does not read back.
    EXPECT_THROW(Vexo::valueFromText(TrieReturnCode::fwkType_, "True"), RangeException);
    EXPECT_THROW(
        Vexo::valueFromText(TrieTraversalReturnCode::fwkType_,
                            "Value('LpmTrie::TrieTraversalReturnCode', ** {'bit': 0, 'level': 0})"),
        RangeException);
}

TEST_F(ReflectionValuesTest, defaultsAreEmpty) {
    for (DeclaredType const& declared : declaredTypes()) {
        if (declared.value) {
            EXPECT_FALSE(isTrue(Vexo::createByType(*declared.type, {}))) << declared.name;
        }
    }
}

TEST_F(ReflectionValuesTest, aCopyIsEqualAndGoesItsOwnWay) {
    for (DeclaredType const& declared : declaredTypes()) {
        if (declared.value) {
            Value const original = declared.sample();
            Value const copy = original;
            EXPECT_EQ(copy.type(), declared.type);
            EXPECT_NE(copy.data(), original.data());
            EXPECT_TRUE(areEqual(copy, original)) << declared.name;
        }
    }
    Value const original = state(5);
    Value copy = original;
    set(copy, "createPartition", box(false));
    EXPECT_FALSE(areEqual(copy, original));
    EXPECT_EQ(unbox<PendingState>(original, ""), PendingState(5));
}

TEST_F(ReflectionValuesTest, aStateIsMadeFromFourBitsAlone) {
    for (U32 bits = 0; bits < 16; ++bits) {
        Value const made = Vexo::createByType(PendingState::fwkType_, Operands{box(bits)});
        EXPECT_EQ(unbox<PendingState>(made, "").value(), bits);
    }
    for (U32 const bits : {16U, 255U, 256U, 0xffffffffU}) {
        EXPECT_THROW(Vexo::createByType(PendingState::fwkType_, Operands{box(bits)}),
                     RangeException)
            << bits;
    }
    EXPECT_TRUE(
        areEqual(Vexo::createByType(PartitionIdValue::fwkType_, Operands{box(9U)}), number(9)));
}

}  // namespace
