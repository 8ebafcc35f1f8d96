#include <tests/LpmTrie/ReflectionTypes.h>

/* Operands of a wrong type are errors that name the attribute, the type wanted and the type given,
 * and change nothing. */

namespace {

using namespace ReflectionTests;

class ReflectionConversionTest : public TestSupport::LeakCheck {
protected:
    Trie::Ptr const object_ = ipv4Trie();
    Value trie_ = box(object_);
    Value info_ = box(TrieNodeInfo());
    Value state_ = box(PendingState(5));
    Value id_ = box(partitionId(1));
    Value moved_ = box(LpmTrie::trieNodesInfoFactory());
    Value const aPrefix_ = box(prefix("10.0.0.0/8"));

    static void expectRefused(Value& self, String const& attribute, AttributeOperation operation,
                              Operands const& operands, String const& message) {
        String const before = valueText(self);
        Value result = box(String("as it was"));
        EXPECT_EQ(messageOf<ConversionException>([&] {
                      Vexo::attributeOperation(self, attribute, operation, operands, &result);
                  }),
                  message);
        EXPECT_EQ(valueText(result), "'as it was'");
        EXPECT_EQ(valueText(self), before);
    }
};

TEST_F(ReflectionConversionTest, aWrittenValueMustBeOfTheAttributesType) {
    constexpr auto set = AttributeOperation::set;
    String const ofTrie = " of LpmTrie::Trie: wants ";
    String const ofInfo = " of LpmTrie::TrieNodeInfo: wants reference to ";
    String const ofState = " of LpmTrie::PendingState: wants bool, given ";
    expectRefused(trie_, "dumpLimit", set, {box(true)},
                  "attribute 'dumpLimit'" + ofTrie + "U32, given bool");
    expectRefused(trie_, "dumpLimit", set, {Value()},
                  "attribute 'dumpLimit'" + ofTrie + "U32, given nothing");
    expectRefused(trie_, "af", set, {box(String("ipv4"))},
                  "attribute 'af'" + ofTrie + "U32, given String");
    expectRefused(info_, "oldPartitionId", set, {trie_},
                  "attribute 'oldPartitionId'" + ofInfo +
                      "LpmTrie::PartitionId, given reference to LpmTrie::Trie");
    expectRefused(info_, "newPartitionId", set, {box(PartitionIdValue(1))},
                  "attribute 'newPartitionId'" + ofInfo +
                      "LpmTrie::PartitionId, given LpmTrie::PartitionIdValue");
    expectRefused(info_, "prefixRef", set, {aPrefix_},
                  "attribute 'prefixRef'" + ofInfo +
                      "Nimbal::IpGenPrefixRef, given Nimbal::IpGenPrefix");
    for (char const* const flag :
         {"createPartition", "removePartition", "splittingPartition", "maxPendingState"}) {
        expectRefused(state_, flag, set, {box(1U)},
                      String("attribute '") + flag + "'" + ofState + "U32");
        expectRefused(state_, flag, set, {state_},
                      String("attribute '") + flag + "'" + ofState + "LpmTrie::PendingState");
    }
    Value found = box(TrieReturnCode());
    expectRefused(found, "dirty", set, {box(0U)},
                  "attribute 'dirty' of LpmTrie::TrieReturnCode: wants bool, given U32");
}

TEST_F(ReflectionConversionTest, eachParameterIsNamed) {
    Operands const right{aPrefix_, box(true), box(false), id_, box(1U)};
    struct Wrong {
        std::size_t index;
        Value operand;
        String message;
    };
    String const head = "attribute 'insertFromRoot' of LpmTrie::Trie, parameter ";
    for (Wrong const& wrong :
         {Wrong{0, box(String("10.0.0.0/8")), "'prefix': wants Nimbal::IpGenPrefix, given String"},
          Wrong{1, box(1U), "'isFibRoute': wants bool, given U32"},
          Wrong{2, Value(), "'isPartitionNode': wants bool, given nothing"},
          Wrong{3, trie_,
                "'partitionId': wants reference to LpmTrie::PartitionId, given reference to "
                "LpmTrie::Trie"},
          Wrong{4, id_, "'hwTable': wants U32, given reference to LpmTrie::PartitionId"}}) {
        Operands operands = right;
        operands[wrong.index] = wrong.operand;
        expectRefused(trie_, "insertFromRoot", AttributeOperation::call, operands,
                      head + wrong.message);
    }
    EXPECT_EQ(object_->root(), nullptr);
    expectRefused(trie_, "findPartitionNode", AttributeOperation::call, {aPrefix_, Value()},
                  "attribute 'findPartitionNode' of LpmTrie::Trie, parameter "
                  "'includePendingRmPartition': wants bool, given nothing");
    expectRefused(trie_, "remove", AttributeOperation::call, {Value()},
                  "attribute 'remove' of LpmTrie::Trie, parameter 'prefix': wants "
                  "Nimbal::IpGenPrefix, given nothing");
    expectRefused(trie_, "dumpPrefix", AttributeOperation::call, {aPrefix_, box(1U)},
                  "attribute 'dumpPrefix' of LpmTrie::Trie, parameter 'socket': wants U32, given "
                  "Nimbal::IpGenPrefix");
}

TEST_F(ReflectionConversionTest, theFirstWrongParameterIsTheOneNamed) {
    Operands const allWrong(5, Value());
    expectRefused(trie_, "insertFromRoot", AttributeOperation::call, allWrong,
                  "attribute 'insertFromRoot' of LpmTrie::Trie, parameter 'prefix': wants "
                  "Nimbal::IpGenPrefix, given nothing");
}

TEST_F(ReflectionConversionTest, theNumberOfOperandsIsChecked) {
    for (DeclaredType const& declared : declaredTypes()) {
        for (DeclaredAttribute const& row : declared.attributes) {
            Value self = declared.sample();
            String const place = String("attribute '") + row.name + "' of " + declared.name;
            auto const refused = [&](AttributeOperation operation, std::size_t wanted) {
                for (std::size_t given = 0; given <= wanted + 2; ++given) {
                    if (given != wanted) {
                        expectRefused(self, row.name, operation, Operands(given, box(true)),
                                      place + ": wants " + std::to_string(wanted) + " operand" +
                                          (wanted == 1 ? "" : "s") + ", given " +
                                          std::to_string(given));
                    }
                }
            };
            if (row.offers == Offers::calling) {
                refused(AttributeOperation::call, row.parameters.size());
            } else if (row.offers == Offers::entries) {
                refused(AttributeOperation::put, 2);
                refused(AttributeOperation::lookUp, 1);
                refused(AttributeOperation::erase, 1);
                refused(AttributeOperation::contains, 1);
                refused(AttributeOperation::keyAt, 1);
                refused(AttributeOperation::count, 0);
                refused(AttributeOperation::capacity, 0);
            } else if (row.offers != Offers::nothing) {
                refused(AttributeOperation::get, 0);
            }
            if (row.offers == Offers::writing) {
                refused(AttributeOperation::set, 1);
            }
        }
    }
}

TEST_F(ReflectionConversionTest, keysAndEntriesMustBeOfTheCollectionsTypes) {
    String const place = "attribute 'nodeInfo' of LpmTrie::TrieNodesInfo, ";
    Value const key = box(TrieNodeInfo(holder("10.0.0.0/8"), nullptr, nullptr));
    String const wrongKey = place + "key: wants LpmTrie::TrieNodeInfo, given U32";
    expectRefused(moved_, "nodeInfo", AttributeOperation::lookUp, {box(5U)}, wrongKey);
    expectRefused(moved_, "nodeInfo", AttributeOperation::contains, {box(5U)}, wrongKey);
    expectRefused(moved_, "nodeInfo", AttributeOperation::erase, {box(5U)}, wrongKey);
    expectRefused(moved_, "nodeInfo", AttributeOperation::put, {box(5U), box(true)}, wrongKey);
    expectRefused(moved_, "nodeInfo", AttributeOperation::put, {key, box(1U)},
                  place + "value: wants bool, given U32");
    expectRefused(moved_, "nodeInfo", AttributeOperation::keyAt, {box(true)},
                  place + "index: wants U64, given bool");
    EXPECT_EQ(valueText(ask(moved_, "nodeInfo", AttributeOperation::count)), "0");
}

TEST_F(ReflectionConversionTest, numbersThatDoNotFitAreOutOfRange) {
    constexpr U64 tooLarge = U64{1} << 32;
    EXPECT_EQ(messageOf<RangeException>([&] { set(trie_, "dumpLimit", box(tooLarge)); }),
              "attribute 'dumpLimit' of LpmTrie::Trie: 4294967296 is over 4294967295");
    EXPECT_THROW(set(trie_, "af", box(tooLarge)), RangeException);
    EXPECT_EQ(getAs<U32>(trie_, "dumpLimit"), 200000U);
    EXPECT_EQ(getAs<U32>(trie_, "af"), 1U);
}

TEST_F(ReflectionConversionTest, valuesOfTwoTypesAreNotCompared) {
    for (auto const operation : {AttributeOperation::equal, AttributeOperation::less}) {
        EXPECT_EQ(messageOf<ConversionException>(
                      [&] { Vexo::valueOperation(state_, operation, Operands{box(5U)}, nullptr); }),
                  "comparison of LpmTrie::PendingState: wants LpmTrie::PendingState, given U32");
        EXPECT_THROW(Vexo::valueOperation(state_, operation, Operands{Value()}, nullptr),
                     ConversionException);
        EXPECT_THROW(Vexo::valueOperation(state_, operation, Operands{trie_}, nullptr),
                     ConversionException);
    }
}

TEST_F(ReflectionConversionTest, aSlotIsConvertedToItsOwnTypeAlone) {
    for (DeclaredType const& from : declaredTypes()) {
        Value const slot = from.sample();
        EXPECT_EQ(from.type == &PendingState::fwkType_, [&] {
            try {
                unbox<PendingState>(slot, "place");
                return true;
            } catch (ConversionException const& error) {
                EXPECT_EQ(String(error.what()),
                          "place: wants LpmTrie::PendingState, given " + slot.typeName());
                return false;
            }
        }()) << from.name;
    }
}

TEST_F(ReflectionConversionTest, constructorsNameTheirParameters) {
    EXPECT_EQ(messageOf<ConversionException>(
                  [] { Vexo::createByType(Trie::fwkType_, Operands{Value()}); }),
              "constructor of LpmTrie::Trie, parameter 'vrfId': wants U32, given nothing");
    EXPECT_EQ(messageOf<ConversionException>([] { Vexo::createByType(Trie::fwkType_, {}); }),
              "constructor of LpmTrie::Trie: wants 1 operand, given 0");
    EXPECT_EQ(messageOf<ConversionException>([this] {
                  Vexo::createByType(TrieReturnCode::fwkType_, Operands{box(true), trie_});
              }),
              "LpmTrie::TrieReturnCode cannot be made by name from operands");
}

}  // namespace
