#include <tests/LpmTrie/DumpedText.h>
#include <tests/LpmTrie/ReflectionTypes.h>

#include <algorithm>

/* What each attribute answers to each operation, and each value to the operations on it as a whole.
 */

namespace {

using namespace ReflectionTests;

class ReflectionStatusTest : public TestSupport::LeakCheck {};

bool offers(Offers offered, AttributeOperation operation) {
    switch (operation) {
    case AttributeOperation::get:
        return offered == Offers::reading || offered == Offers::writing;
    case AttributeOperation::set:
        return offered == Offers::writing;
    case AttributeOperation::call:
        return offered == Offers::calling;
    case AttributeOperation::truth:
    case AttributeOperation::equal:
    case AttributeOperation::less:
        return false;
    default:
        return offered == Offers::entries;
    }
}

/** One right operand for a parameter or a value of that type. */
Value operandOf(String const& type, U32 socket) {
    if (type == "bool") {
        return box(true);
    }
    if (type == "U32") {
        return box(socket);
    }
    if (type == "Nimbal::IpGenPrefix") {
        return box(prefix("10.0.0.0/8"));
    }
    if (type == "&LpmTrie::PartitionId") {
        return box(partitionId(3));
    }
    if (type == "&Nimbal::IpGenPrefixRef") {
        return box(holder("11.0.0.0/8"));
    }
    ADD_FAILURE() << "no operand of type " << type;
    return {};
}

Operands operandsOf(DeclaredAttribute const& row, AttributeOperation operation, U32 socket) {
    Value const key = box(TrieNodeInfo(holder("10.0.0.0/8"), nullptr, nullptr));
    Operands operands;
    switch (operation) {
    case AttributeOperation::set:
        return {operandOf(row.type, socket)};
    case AttributeOperation::call:
        std::ranges::transform(row.parameters, std::back_inserter(operands),
                               [&](auto const& p) { return operandOf(p.type, socket); });
        return operands;
    case AttributeOperation::put:
        return {key, box(true)};
    case AttributeOperation::lookUp:
    case AttributeOperation::erase:
    case AttributeOperation::contains:
        return {key};
    case AttributeOperation::keyAt:
        return {box(0U)};
    default:
        return {};
    }
}

/** Texts of all that can be read, and the number of entries in a collection. */
std::vector<String> contentOf(DeclaredType const& declared, Value& self) {
    std::vector<String> content;
    for (DeclaredAttribute const& row : declared.attributes) {
        if (row.offers == Offers::reading || row.offers == Offers::writing) {
            content.push_back(valueText(get(self, row.name)));
        } else if (row.offers == Offers::entries) {
            content.push_back(valueText(ask(self, row.name, AttributeOperation::count)));
        }
    }
    return content;
}

/** A sample in which every operation that its attributes offer finds what it needs. */
Value readySample(DeclaredType const& declared, AttributeOperation operation) {
    Value self = declared.sample();
    if (operation == AttributeOperation::keyAt && declared.type == &TrieNodesInfo::fwkType_) {
        Value const key = box(TrieNodeInfo(holder("10.0.0.0/8"), nullptr, nullptr));
        ask(self, "nodeInfo", AttributeOperation::put, {key, box(true)});
    }
    return self;
}

void removeNodes(Value const& self) {
    if (auto const trie = Vexo::dynamicPtrCast<Trie>(self.object())) {
        LpmTrie::removeAll(*trie);
    }
}

TEST_F(ReflectionStatusTest, anAttributeServesWhatItOffersAndNothingElse) {
    for (DeclaredType const& declared : declaredTypes()) {
        for (DeclaredAttribute const& row : declared.attributes) {
            for (NamedOperation const& named : allOperations) {
                SCOPED_TRACE(testing::Message()
                             << declared.name << ' ' << row.name << ' ' << named);
                bool const offered = offers(row.offers, named.operation);
                AttributeStatus const expected = row.offers == Offers::nothing
                                                     ? AttributeStatus::noSuchAttribute
                                                 : offered ? AttributeStatus::done
                                                           : AttributeStatus::operationNotAllowed;
                TrieTests::UnnamedFile const file;
                Value self = readySample(declared, named.operation);
                auto const before = contentOf(declared, self);
                Operands const operands =
                    offered ? operandsOf(row, named.operation, file.descriptor()) : Operands{};
                EXPECT_EQ(statusOf(self, row.name, named.operation, operands), expected);
                if (!offered) {
                    EXPECT_EQ(contentOf(declared, self), before);
                }
                removeNodes(self);
            }
        }
    }
}

TEST_F(ReflectionStatusTest, whatIsRefusedIsRefusedWithRightOperandsToo) {
    for (DeclaredType const& declared : declaredTypes()) {
        for (DeclaredAttribute const& row : declared.attributes) {
            if (row.offers == Offers::reading) {
                SCOPED_TRACE(String(declared.name) + ' ' + row.name);
                Value self = declared.sample();
                auto const before = contentOf(declared, self);
                Value const same = get(self, row.name);
                EXPECT_EQ(statusOf(self, row.name, AttributeOperation::set, {same}),
                          AttributeStatus::operationNotAllowed);
                EXPECT_EQ(statusOf(self, row.name, AttributeOperation::equal, {same}),
                          AttributeStatus::operationNotAllowed);
                EXPECT_EQ(contentOf(declared, self), before);
            }
        }
    }
}

TEST_F(ReflectionStatusTest, aNameThatATypeDoesNotDeclareIsNoAttribute) {
    for (DeclaredType const& declared : declaredTypes()) {
        Value self = declared.sample();
        for (NamedOperation const& named : allOperations) {
            for (char const* const name :
                 {"", "rout", "Root", "dirty ", "value_", "operator bool"}) {
                EXPECT_EQ(statusOf(self, name, named.operation), AttributeStatus::noSuchAttribute)
                    << declared.name << ' ' << name << ' ' << named;
            }
        }
    }
}

TEST_F(ReflectionStatusTest, nothingAndAReferenceToNoObjectHaveNoAttributes) {
    Value nothing;
    Value noTrie = box(Trie::Ptr());
    for (NamedOperation const& named : allOperations) {
        EXPECT_EQ(statusOf(nothing, "vrfId", named.operation), AttributeStatus::noSuchAttribute);
        EXPECT_EQ(statusOf(noTrie, "vrfId", named.operation), AttributeStatus::noSuchAttribute);
    }
}

TEST_F(ReflectionStatusTest, objectsShareTheAttributesOfTheirBase) {
    for (DeclaredType const& declared : declaredTypes()) {
        if (!declared.value) {
            Value self = declared.sample();
            EXPECT_EQ(getAs<U32>(self, "references"), 1U) << declared.name;
            Value const second = self;
            EXPECT_EQ(getAs<U32>(self, "references"), 2U) << declared.name;
            EXPECT_EQ(statusOf(self, "references", AttributeOperation::set, {box(5U)}),
                      AttributeStatus::operationNotAllowed);
        }
    }
}

TEST_F(ReflectionStatusTest, valuesAreTestedComparedAndOrderedWhereTheirTypeIs) {
    std::vector<FwkType const*> const ordered{&TrieNodeInfo::fwkType_, &PartitionIdValue::fwkType_,
                                              &PendingState::fwkType_};
    for (DeclaredType const& declared : declaredTypes()) {
        if (!declared.value) {
            continue;
        }
        Value const self = declared.sample();
        Operands const same{self};
        bool const hasOrder = std::ranges::count(ordered, declared.type) != 0;
        for (NamedOperation const& named : allOperations) {
            AttributeOperation const operation = named.operation;
            bool const done = operation == AttributeOperation::truth ||
                              operation == AttributeOperation::equal ||
                              (operation == AttributeOperation::less && hasOrder);
            Operands const operands = operation == AttributeOperation::truth ? Operands{} : same;
            EXPECT_EQ(Vexo::valueOperation(self, operation, operands, nullptr),
                      done ? AttributeStatus::done : AttributeStatus::operationNotAllowed)
                << declared.name << ' ' << named;
        }
    }
}

TEST_F(ReflectionStatusTest, referencesAreTestedAndComparedAndHaveNoOrder) {
    for (DeclaredType const& declared : declaredTypes()) {
        if (declared.value) {
            continue;
        }
        Value const self = declared.sample();
        Value const other = declared.sample();
        EXPECT_TRUE(isTrue(self));
        EXPECT_TRUE(areEqual(self, Value(self)));
        EXPECT_FALSE(areEqual(self, other));
        EXPECT_EQ(Vexo::valueHash(self), Vexo::valueHash(Value(self)));
        EXPECT_EQ(Vexo::valueOperation(self, AttributeOperation::less, Operands{other}, nullptr),
                  AttributeStatus::operationNotAllowed);
    }
    EXPECT_FALSE(isTrue(box(Trie::Ptr())));
}

}  // namespace
