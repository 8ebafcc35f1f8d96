#include <tests/Vexo/ScriptSlots.h>

/* What there is, as a script sees it: modules, types and attributes. */

namespace {

using namespace ScriptTests;
using testing::Contains;
using testing::ElementsAre;

class ScriptListingTest : public TestSupport::LeakCheck {};

std::vector<VexoModule const*> modules() {
    return listed([](std::size_t index) { return vexoModule(index); });
}
VexoModule const* moduleOf(std::string const& name) {
    for (VexoModule const* module : modules()) {
        if (vexoModuleName(module) == name) {
            return module;
        }
    }
    ADD_FAILURE() << "no module " << name;
    return nullptr;
}
std::vector<std::string> attributesOf(char const* typeName) {
    VexoType const* const type = typeOf(typeName);
    std::vector<std::string> names;
    for (VexoAttribute const* attribute :
         listed([&](std::size_t index) { return vexoTypeAttribute(type, index); })) {
        names.emplace_back(vexoAttributeName(attribute));
    }
    return names;
}
VexoAttribute const* attributeOf(char const* typeName, std::string const& name) {
    VexoType const* const type = typeOf(typeName);
    for (std::size_t i = 0; vexoTypeAttribute(type, i) != nullptr; ++i) {
        if (vexoAttributeName(vexoTypeAttribute(type, i)) == name) {
            return vexoTypeAttribute(type, i);
        }
    }
    ADD_FAILURE() << typeName << " lists no " << name;
    return nullptr;
}
std::string nameOrNone(VexoType const* type) {
    return type == nullptr ? "" : vexoTypeName(type);
}

TEST_F(ScriptListingTest, modulesTellTheirNamesAndSources) {
    std::vector<std::string> names;
    for (VexoModule const* module : modules()) {
        names.emplace_back(vexoModuleName(module));
    }
    EXPECT_THAT(names, Contains("Vexo"));
    EXPECT_THAT(names, Contains("Orchard"));
    EXPECT_STREQ(vexoModuleSource(moduleOf("Orchard")), "tests/Orchard");
    EXPECT_STREQ(vexoModuleSource(moduleOf("Vexo")), "Vexo/Vexo");
    EXPECT_EQ(modules(), modules());
}

TEST_F(ScriptListingTest, typesAreListedByTheirNumbersAndFoundByTheirNames) {
    VexoModule const* const orchard = moduleOf("Orchard");
    std::vector<std::string> names;
    std::uint32_t number = 0;
    for (VexoType const* type :
         listed([&](std::size_t index) { return vexoModuleType(orchard, index); })) {
        names.emplace_back(vexoTypeName(type));
        EXPECT_EQ(vexoTypeNumber(type), ++number);
        EXPECT_EQ(vexoTypeModule(type), orchard);
        EXPECT_EQ(vexoFindType(vexoTypeName(type)), type);
    }
    EXPECT_THAT(names, ElementsAre("Orchard::Tree", "Orchard::PearTree", "Orchard::Apple",
                                   "Orchard::Leaf", "Orchard::Seed"));
    EXPECT_EQ(vexoFindType("Orchard::Plum"), nullptr);
    EXPECT_EQ(vexoFindType(""), nullptr);
}

TEST_F(ScriptListingTest, typesTellWhatTheyAre) {
    struct Kind {
        char const* name;
        int isValue;
        int hasHash;
        int hasOrder;
        char const* base;
    };
    for (Kind const& kind :
         {Kind{"Orchard::Tree", 0, 1, 0, "Vexo::PtrInterface"},
          Kind{"Orchard::PearTree", 0, 1, 0, "Orchard::Tree"}, Kind{"Orchard::Apple", 1, 1, 1, ""},
          Kind{"Orchard::Leaf", 1, 0, 0, ""}, Kind{"Orchard::Seed", 1, 0, 0, ""},
          Kind{"Vexo::PtrInterface", 0, 1, 0, ""}, Kind{"bool", 1, 1, 1, ""},
          Kind{"String", 1, 1, 1, ""}, Kind{"U64", 1, 1, 1, ""}}) {
        VexoType const* const type = typeOf(kind.name);
        EXPECT_EQ(vexoTypeIsValue(type), kind.isValue) << kind.name;
        EXPECT_EQ(vexoTypeHasHash(type), kind.hasHash) << kind.name;
        EXPECT_EQ(vexoTypeHasOrder(type), kind.hasOrder) << kind.name;
        EXPECT_EQ(nameOrNone(vexoTypeBase(type)), kind.base) << kind.name;
    }
}

TEST_F(ScriptListingTest, servedAttributesAreListedThoseOfTheBaseFirst) {
    EXPECT_THAT(attributesOf("Orchard::Apple"), ElementsAre("weight", "ripe", "hash"));
    EXPECT_THAT(attributesOf("Vexo::PtrInterface"), ElementsAre("references"));
    EXPECT_THAT(attributesOf("Orchard::Seed"), ElementsAre());
    EXPECT_THAT(attributesOf("Orchard::PearTree"),
                ElementsAre("references", "age", "name", "neighbour", "apple", "grow", "fruit",
                            "weigh", "fell", "apples", "height", "pears"));
    EXPECT_EQ(vexoTypeAttributeNumber(typeOf("Orchard::Apple"), "worm"), 2U);
    EXPECT_EQ(vexoTypeAttributeNumber(typeOf("Orchard::Apple"), "weight"), 3U);
    EXPECT_EQ(vexoTypeAttributeNumber(typeOf("Orchard::Tree"), "apples"), 14U);
    EXPECT_EQ(vexoTypeAttributeNumber(typeOf("Orchard::Tree"), "pears"), 0U);
}

TEST_F(ScriptListingTest, attributesTellTheirKindTypeAndAccess) {
    struct Row {
        char const* name;
        VexoKind kind;
        int readable;
        int writable;
        char const* type;
        int isReference;
        char const* keyType;
    };
    for (Row const& row :
         {Row{"references", VEXO_VALUE, 1, 0, "U32", 0, ""},
          Row{"height", VEXO_VALUE, 1, 1, "U32", 0, ""}, Row{"age", VEXO_VALUE, 1, 1, "U32", 0, ""},
          Row{"ground", VEXO_VALUE, 1, 1, "U32", 0, ""},
          Row{"name", VEXO_VALUE, 1, 1, "String", 0, ""},
          Row{"neighbour", VEXO_VALUE, 1, 1, "Orchard::Tree", 1, ""},
          Row{"apple", VEXO_VALUE, 1, 1, "Orchard::Apple", 0, ""},
          Row{"grow", VEXO_FUNCTION, 0, 0, "", 0, ""},
          Row{"fruit", VEXO_FUNCTION, 0, 0, "String", 0, ""},
          Row{"weigh", VEXO_FUNCTION, 0, 0, "U64", 0, ""},
          Row{"apples", VEXO_COLLECTION, 0, 0, "U32", 0, "Orchard::Apple"}}) {
        VexoAttribute const* const attribute = attributeOf("Orchard::Tree", row.name);
        EXPECT_EQ(vexoAttributeKind(attribute), row.kind) << row.name;
        EXPECT_EQ(vexoAttributeIsReadable(attribute), row.readable) << row.name;
        EXPECT_EQ(vexoAttributeIsWritable(attribute), row.writable) << row.name;
        EXPECT_EQ(nameOrNone(vexoAttributeType(attribute)), row.type) << row.name;
        EXPECT_EQ(vexoAttributeIsReference(attribute), row.isReference) << row.name;
        EXPECT_EQ(nameOrNone(vexoAttributeKeyType(attribute)), row.keyType) << row.name;
    }
}

void expectParameters(VexoAttribute const* function, std::vector<std::string> const& names,
                      std::vector<std::string> const& types, std::vector<int> const& references) {
    ASSERT_EQ(vexoParameterCount(function), names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(vexoParameterName(function, i), names[i]);
        EXPECT_EQ(vexoTypeName(vexoParameterType(function, i)), types[i]);
        EXPECT_EQ(vexoParameterIsReference(function, i), references[i]);
    }
    for (std::size_t const past : {names.size(), std::size_t{100}, ~std::size_t{0}}) {
        EXPECT_EQ(vexoParameterName(function, past), nullptr);
        EXPECT_EQ(vexoParameterType(function, past), nullptr);
        EXPECT_EQ(vexoParameterIsReference(function, past), 0);
    }
}

TEST_F(ScriptListingTest, functionsTellTheirParameters) {
    expectParameters(attributeOf("Orchard::Tree", "weigh"), {"apple", "times"},
                     {"Orchard::Apple", "U32"}, {0, 0});
    expectParameters(attributeOf("Orchard::Tree", "fruit"), {}, {}, {});
    expectParameters(attributeOf("Orchard::Tree", "height"), {}, {}, {});
    VexoAttribute const* const ofApple = vexoTypeConstructor(typeOf("Orchard::Apple"));
    EXPECT_EQ(vexoAttributeKind(ofApple), VEXO_FUNCTION);
    EXPECT_EQ(vexoAttributeType(ofApple), typeOf("Orchard::Apple"));
    EXPECT_EQ(vexoAttributeIsReference(ofApple), 0);
    expectParameters(ofApple, {"weight", "ripe"}, {"U32", "bool"}, {0, 0});
    VexoAttribute const* const ofTree = vexoTypeConstructor(typeOf("Orchard::Tree"));
    EXPECT_EQ(vexoAttributeIsReference(ofTree), 1);
    expectParameters(ofTree, {"height", "name"}, {"U32", "String"}, {0, 0});
    EXPECT_EQ(vexoTypeConstructor(typeOf("Orchard::Leaf")), nullptr);
    EXPECT_EQ(vexoTypeConstructor(typeOf("Vexo::PtrInterface")), nullptr);
}

TEST_F(ScriptListingTest, functionsOfAModuleAreListed) {
    VexoModule const* const orchard = moduleOf("Orchard");
    std::vector<std::string> names;
    for (VexoAttribute const* function :
         listed([&](std::size_t index) { return vexoModuleFunction(orchard, index); })) {
        names.emplace_back(vexoAttributeName(function));
        EXPECT_EQ(vexoAttributeKind(function), VEXO_FUNCTION);
    }
    // The one that is declared and not served is not there.
    EXPECT_THAT(names, ElementsAre("square", "sum", "frost", "taller"));
    expectParameters(vexoModuleFunction(orchard, 3), {"a", "b"}, {"Orchard::Tree", "Orchard::Tree"},
                     {1, 1});
    EXPECT_EQ(vexoModuleFunction(moduleOf("Vexo"), 0), nullptr);
}

}  // namespace
