#include <tests/LpmTrie/ReflectionTypes.h>

#include <Vexo/Attribute.h>

#include <map>
#include <set>

/* Which modules, types and attributes are registered, and how they are declared. */

namespace {

using namespace ReflectionTests;
using Vexo::Attribute;
using Vexo::AttributeKind;
using Vexo::FwkModule;
using Vexo::TypeRef;

String nameOf(TypeRef const& ref) {
    return ref.type == nullptr ? "" : String(ref.reference ? "&" : "") + ref.type->name();
}

AttributeKind kindOf(Offers offers) {
    return offers == Offers::calling   ? AttributeKind::function
           : offers == Offers::entries ? AttributeKind::collection
                                       : AttributeKind::value;
}

std::set<String> typesOf(char const* moduleName) {
    std::set<String> names;
    FwkModule const* const module = Vexo::findModule(moduleName);
    EXPECT_NE(module, nullptr) << moduleName;
    for (FwkType const* type : Vexo::registeredTypes(*module)) {
        names.insert(type->name());
        EXPECT_EQ(&type->module(), module) << type->name();
    }
    return names;
}

TEST(ReflectionDeclarationTest, theTwoModulesHaveTheirSourcesAndTypes) {
    EXPECT_STREQ(Vexo::findModule("LpmTrie")->source(), "LpmTrie/LpmTrie");
    EXPECT_STREQ(Vexo::findModule("LpmTrieTypes")->source(), "LpmTrie/LpmTrieTypes");
    EXPECT_EQ(
        typesOf("LpmTrie"),
        (std::set<String>{"LpmTrie::Trie", "LpmTrie::TrieNodesInfo", "LpmTrie::TrieNodeInfo",
                          "LpmTrie::TrieReturnCode", "LpmTrie::TrieNodeReturnCode",
                          "LpmTrie::TrieTraversalReturnCode", "LpmTrie::TrieFindMergeReturnCode"}));
    EXPECT_EQ(typesOf("LpmTrieTypes"),
              (std::set<String>{"LpmTrie::PartitionId", "LpmTrie::PendingState",
                                "LpmTrie::PartitionIdValue"}));
}

TEST(ReflectionDeclarationTest, eachModuleIsRegisteredOnce) {
    std::map<String, U32> times;
    for (FwkModule const* module : Vexo::registeredModules()) {
        ++times[module->name()];
    }
    for (char const* const name : {"Vexo", "Torvel", "Nimbal", "LpmTrieTypes", "LpmTrie"}) {
        EXPECT_EQ(times[name], 1U) << name;
    }
}

TEST(ReflectionDeclarationTest, typesHaveTheirFixedNumbersAndNoTwoOfAModuleTheSame) {
    EXPECT_EQ(PartitionId::fwkType_.number(), 1U);
    EXPECT_EQ(PendingState::fwkType_.number(), 2U);
    EXPECT_EQ(TrieNodesInfo::fwkType_.number(), 2U);
    EXPECT_EQ(Trie::fwkType_.number(), 6U);
    for (FwkModule const* module : Vexo::registeredModules()) {
        std::set<U32> numbers;
        for (FwkType const* type : Vexo::registeredTypes(*module)) {
            EXPECT_TRUE(numbers.insert(type->number()).second) << type->name();
        }
    }
}

TEST(ReflectionDeclarationTest, objectsAnswerTheirTypes) {
    EXPECT_EQ(ipv4Trie()->fwkType(), &Trie::fwkType_);
    EXPECT_EQ(LpmTrie::trieNodesInfoFactory()->fwkType(), &TrieNodesInfo::fwkType_);
    EXPECT_EQ(partitionId(1)->fwkType(), &PartitionId::fwkType_);
}

TEST(ReflectionDeclarationTest, typesAreFoundByTheirQualifiedNames) {
    for (DeclaredType const& declared : declaredTypes()) {
        EXPECT_STREQ(declared.type->name(), declared.name);
        EXPECT_EQ(Vexo::findType(declared.name), declared.type);
    }
    EXPECT_EQ(Vexo::findType("Trie"), nullptr);
    EXPECT_EQ(Vexo::findType("LpmTrie::Trie "), nullptr);
}

TEST(ReflectionDeclarationTest, valuesAreValuesAndObjectsAreDerivedFromTheCountedBase) {
    for (DeclaredType const& declared : declaredTypes()) {
        SCOPED_TRACE(declared.name);
        Vexo::TypeDescription const& description = declared.type->description();
        EXPECT_EQ(description.value != nullptr, declared.value);
        EXPECT_EQ(description.base, declared.value ? nullptr : &Vexo::PtrInterface::fwkType_);
        EXPECT_TRUE(declared.type->isA(*declared.type));
        EXPECT_EQ(declared.type->isA(Vexo::PtrInterface::fwkType_), !declared.value);
    }
}

TEST(ReflectionDeclarationTest, attributesAreNumberedInTheirOrder) {
    // The base of the counted objects has one attribute of its own.
    U32 const ofBase = 1;
    ASSERT_EQ(Vexo::servedAttributes(Vexo::PtrInterface::fwkType_).size(), ofBase);
    for (DeclaredType const& declared : declaredTypes()) {
        U32 number = declared.value ? 2 : 2 + ofBase;
        for (DeclaredAttribute const& row : declared.attributes) {
            EXPECT_EQ(Vexo::attributeNumber(*declared.type, row.name), number)
                << declared.name << ' ' << row.name;
            ++number;
        }
        EXPECT_EQ(Vexo::attributeNumber(*declared.type, "nothing of that name"), 0U);
    }
}

TEST(ReflectionDeclarationTest, listedAreTheServedAttributesAlone) {
    for (DeclaredType const& declared : declaredTypes()) {
        std::vector<String> listed;
        for (Attribute const* row : Vexo::servedAttributes(*declared.type)) {
            listed.emplace_back(row->name);
        }
        std::vector<String> served;
        if (!declared.value) {
            served.emplace_back("references");
        }
        for (DeclaredAttribute const& row : declared.attributes) {
            if (row.offers != Offers::nothing) {
                served.emplace_back(row.name);
            }
        }
        EXPECT_EQ(listed, served) << declared.name;
    }
}

void expectDeclared(Attribute const& row, DeclaredAttribute const& declared) {
    EXPECT_STREQ(row.name, declared.name);
    EXPECT_EQ(row.kind, kindOf(declared.offers));
    EXPECT_EQ(row.readable,
              declared.offers == Offers::reading || declared.offers == Offers::writing);
    EXPECT_EQ(row.writable, declared.offers == Offers::writing);
    EXPECT_EQ(nameOf(row.type), declared.type);
    EXPECT_EQ(nameOf(row.keyType), declared.keyType);
    ASSERT_EQ(row.parameterCount, declared.parameters.size());
    for (U32 i = 0; i < row.parameterCount; ++i) {
        EXPECT_STREQ(row.parameters.at(i).name, declared.parameters[i].name);
        EXPECT_EQ(nameOf(row.parameters.at(i).type), declared.parameters[i].type);
    }
}

TEST(ReflectionDeclarationTest, eachAttributeHasItsKindItsTypeAndItsParameters) {
    for (DeclaredType const& declared : declaredTypes()) {
        for (DeclaredAttribute const& row : declared.attributes) {
            SCOPED_TRACE(String(declared.name) + ' ' + row.name);
            Attribute const* const found = Vexo::findAttribute(*declared.type, row.name);
            ASSERT_EQ(found != nullptr, row.offers != Offers::nothing);
            if (found != nullptr) {
                expectDeclared(*found, row);
            }
        }
    }
}

TEST(ReflectionDeclarationTest, constructorsHaveTheirParameters) {
    struct Constructor {
        FwkType const* type;
        std::vector<DeclaredParameter> parameters;
    };
    std::vector<Constructor> const constructors{
        {&Trie::fwkType_, {{"vrfId", "U32"}}},
        {&TrieNodesInfo::fwkType_, {}},
        {&TrieNodeInfo::fwkType_,
         {{"prefixRef", "&Nimbal::IpGenPrefixRef"},
          {"oldPartitionId", "&LpmTrie::PartitionId"},
          {"newPartitionId", "&LpmTrie::PartitionId"}}},
        {&PartitionIdValue::fwkType_, {{"value", "U32"}}},
        {&PendingState::fwkType_, {{"value", "U32"}}},
        {&PartitionId::fwkType_,
         {{"id", "LpmTrie::PartitionIdValue"}, {"mask", "U32"}, {"bitMap", "&Torvel::Bitmap"}}},
    };
    for (Constructor const& declared : constructors) {
        SCOPED_TRACE(declared.type->name());
        Attribute const* const row = declared.type->description().constructor;
        ASSERT_NE(row, nullptr);
        bool const isValue = declared.type->description().value != nullptr;
        expectDeclared(*row,
                       {row->name, Offers::calling,
                        String(isValue ? "" : "&") + declared.type->name(), declared.parameters});
    }
}

}  // namespace
