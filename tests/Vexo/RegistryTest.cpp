#include <Vexo/Attribute.h>
#include <Vexo/Registry.h>
#include <tests/Support/AttributeRequests.h>
#include <tests/Support/LeakCheck.h>
#include <tests/Vexo/Orchard.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <optional>

namespace {

using Orchard::Apple;
using Orchard::orchardModule;
using Orchard::PearTree;
using Orchard::Tree;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using Vexo::Attribute;
using Vexo::AttributeOperation;
using Vexo::AttributeStatus;
using Vexo::box;
using Vexo::FwkModule;
using Vexo::FwkType;
using Vexo::ModuleRegistration;
using Vexo::PtrInterface;
using Vexo::String;
using Vexo::U32;
using Vexo::unbox;
using Vexo::Value;
using namespace TestSupport;

class RegistryTest : public TestSupport::LeakCheck {};

constinit FwkModule const lateModule("Late", "tests/Late");
constinit FwkType const lateFirst("Late::First", lateModule, 1);
constinit FwkType const lateSecond("Late::Second", lateModule, 2);

U32 answer() {
    return 42;
}
constexpr std::array lateFunctions{Vexo::functionAttribute<&answer>("answer")};

std::vector<String> namesOf(std::vector<FwkType const*> const& types) {
    std::vector<String> names;
    std::ranges::transform(types, std::back_inserter(names), &FwkType::name);
    return names;
}

std::vector<String> attributesOf(FwkType const& type) {
    std::vector<String> names;
    for (Attribute const* row : Vexo::servedAttributes(type)) {
        names.emplace_back(row->name);
    }
    return names;
}

TEST_F(RegistryTest, aModulesTypesAreListedByTheirNumbersWhateverTheOrderOfRegistration) {
    EXPECT_THAT(namesOf(Vexo::registeredTypes(orchardModule)),
                ElementsAre("Orchard::Tree", "Orchard::PearTree", "Orchard::Apple", "Orchard::Leaf",
                            "Orchard::Seed"));
    EXPECT_EQ(Vexo::findModule("Orchard"), &orchardModule);
    EXPECT_EQ(Vexo::registeredFunctions(orchardModule).size(), 5U);
}

TEST_F(RegistryTest, theFrameworksOwnTypesAreThereBeforeAnyOther) {
    EXPECT_THAT(namesOf(Vexo::registeredTypes(Vexo::vexoModule)),
                ElementsAre("Vexo::PtrInterface", "bool", "U32", "U64", "String"));
    EXPECT_EQ(Vexo::findType("U32"), &Vexo::u32Type);
    EXPECT_EQ(Vexo::findModule("Vexo"), &Vexo::vexoModule);
    EXPECT_TRUE(Vexo::registeredFunctions(Vexo::vexoModule).empty());
}

TEST_F(RegistryTest, aModuleIsKnownAsLongAsItsRegistrationLives) {
    auto const before = Vexo::registeredModules();
    EXPECT_THAT(before, Not(Contains(&lateModule)));
    {
        ModuleRegistration const late(lateModule, {&lateSecond, &lateFirst}, lateFunctions);
        auto modules = Vexo::registeredModules();
        ASSERT_EQ(modules.size(), before.size() + 1);
        EXPECT_EQ(modules.back(), &lateModule);
        modules.pop_back();
        EXPECT_EQ(modules, before);
        EXPECT_EQ(Vexo::findModule("Late"), &lateModule);
        EXPECT_EQ(Vexo::findType("Late::Second"), &lateSecond);
        EXPECT_THAT(namesOf(Vexo::registeredTypes(lateModule)),
                    ElementsAre("Late::First", "Late::Second"));
        Value result;
        EXPECT_EQ(Vexo::callFunction(lateModule, "answer", {}, &result), AttributeStatus::done);
        EXPECT_EQ(unbox<U32>(result, "answer"), 42U);
    }
    EXPECT_EQ(Vexo::registeredModules(), before);
    EXPECT_EQ(Vexo::findModule("Late"), nullptr);
    EXPECT_EQ(Vexo::findType("Late::First"), nullptr);
    EXPECT_TRUE(Vexo::registeredTypes(lateModule).empty());
    EXPECT_TRUE(Vexo::registeredFunctions(lateModule).empty());
    EXPECT_EQ(Vexo::callFunction(lateModule, "answer", {}, nullptr),
              AttributeStatus::noSuchAttribute);
}

TEST_F(RegistryTest, modulesLeaveInAnyOrder) {
    static constinit FwkModule const otherModule("Other", "tests/Other");
    auto const before = Vexo::registeredModules();
    std::optional<ModuleRegistration> late;
    late.emplace(lateModule, std::vector{&lateFirst});
    std::optional<ModuleRegistration> other;
    other.emplace(otherModule, std::vector<FwkType const*>{});
    late.reset();
    EXPECT_EQ(Vexo::findModule("Other"), &otherModule);
    EXPECT_EQ(Vexo::findModule("Late"), nullptr);
    EXPECT_TRUE(Vexo::registeredTypes(otherModule).empty());
    late.emplace(lateModule, std::vector{&lateFirst});
    EXPECT_EQ(Vexo::registeredModules().back(), &lateModule);
    other.reset();
    late.reset();
    EXPECT_EQ(Vexo::registeredModules(), before);
}

TEST_F(RegistryTest, onlyWholeNamesAreFound) {
    for (char const* const name : {"", "Orchard", "Tree", "orchard::Tree", "Orchard::Tre",
                                   "Orchard::Trees", "Orchard::Tree "}) {
        EXPECT_EQ(Vexo::findType(name), nullptr) << name;
    }
    EXPECT_EQ(Vexo::findType(String("Orchard::Tree\0", 14)), nullptr);
    EXPECT_EQ(Vexo::findModule("Orchar"), nullptr);
    EXPECT_EQ(Vexo::findModule(""), nullptr);
}

TEST_F(RegistryTest, aTypeIsItselfAndAllItIsDerivedFrom) {
    EXPECT_TRUE(PearTree::fwkType_.isA(PearTree::fwkType_));
    EXPECT_TRUE(PearTree::fwkType_.isA(Tree::fwkType_));
    EXPECT_TRUE(PearTree::fwkType_.isA(PtrInterface::fwkType_));
    EXPECT_FALSE(Tree::fwkType_.isA(PearTree::fwkType_));
    EXPECT_FALSE(Apple::fwkType_.isA(PtrInterface::fwkType_));
    EXPECT_FALSE(PtrInterface::fwkType_.isA(Apple::fwkType_));
    EXPECT_EQ(lateFirst.description().base, nullptr);
    EXPECT_EQ(&lateFirst.description(), &Vexo::emptyDescription);
}

TEST_F(RegistryTest, attributesAreInheritedWithTheirNumbers) {
    EXPECT_THAT(attributesOf(Tree::fwkType_),
                ElementsAre("references", "height", "age", "ground", "name", "neighbour", "apple",
                            "grow", "fruit", "weigh", "fell", "apples"));
    EXPECT_EQ(Vexo::attributeNumber(Apple::fwkType_, "worm"), 2U);
    EXPECT_EQ(Vexo::attributeNumber(Apple::fwkType_, "hash"), 5U);
    EXPECT_EQ(Vexo::attributeNumber(Tree::fwkType_, "references"), 2U);
    EXPECT_EQ(Vexo::attributeNumber(Tree::fwkType_, "height"), 3U);
    EXPECT_EQ(Vexo::attributeNumber(Tree::fwkType_, "roots"), 6U);
    EXPECT_EQ(Vexo::attributeNumber(Tree::fwkType_, "apples"), 14U);
    EXPECT_EQ(Vexo::attributeNumber(PearTree::fwkType_, "apples"), 14U);
    EXPECT_EQ(Vexo::attributeNumber(PearTree::fwkType_, "pears"), 17U);
    EXPECT_EQ(Vexo::attributeNumber(Tree::fwkType_, "pears"), 0U);
    EXPECT_EQ(Vexo::findAttribute(PearTree::fwkType_, "apples"),
              Vexo::findAttribute(Tree::fwkType_, "apples"));
    EXPECT_EQ(Vexo::findAttribute(Tree::fwkType_, "roots"), nullptr);
}

TEST_F(RegistryTest, aNameDeclaredAnewStandsForTheNewRow) {
    Tree::Ptr const pear = PearTree::PearTreeIs();
    Value self = box(pear);
    EXPECT_EQ(getAs<U32>(self, "height"), 10U);
    EXPECT_EQ(statusOf(self, "height", AttributeOperation::set, {box(1U)}),
              AttributeStatus::operationNotAllowed);
    EXPECT_EQ(pear->height(), 5U);
    EXPECT_EQ(statusOf(self, "ground", AttributeOperation::get), AttributeStatus::noSuchAttribute);
    // Listed once, where it is declared anew; what is hidden there is not listed at all.
    EXPECT_THAT(attributesOf(PearTree::fwkType_),
                ElementsAre("references", "age", "name", "neighbour", "apple", "grow", "fruit",
                            "weigh", "fell", "apples", "height", "pears"));
    EXPECT_EQ(Vexo::attributeNumber(PearTree::fwkType_, "height"), 15U);
    EXPECT_EQ(Vexo::attributeNumber(PearTree::fwkType_, "ground"), 16U);
    EXPECT_EQ(Vexo::attributeNumber(Tree::fwkType_, "height"), 3U);
}

TEST_F(RegistryTest, functionsOfAModuleAreCalledByName) {
    Value result;
    EXPECT_EQ(Vexo::callFunction(orchardModule, "square", Operands{box(9U)}, &result),
              AttributeStatus::done);
    EXPECT_EQ(unbox<U32>(result, "square"), 81U);
    EXPECT_EQ(Vexo::callFunction(orchardModule, "square", Operands{box(9U)}, nullptr),
              AttributeStatus::done);
    EXPECT_EQ(messageOf<Vexo::ConversionException>([&] {
                  Vexo::callFunction(orchardModule, "sum", Operands{box(1U), box(true)}, &result);
              }),
              "function 'sum' of Orchard, parameter 'b': wants U64, given bool");
    EXPECT_EQ(messageOf<Vexo::ConversionException>(
                  [&] { Vexo::callFunction(orchardModule, "sum", Operands{box(1U)}, &result); }),
              "function 'sum' of Orchard: wants 2 operands, given 1");
    EXPECT_THROW(Vexo::callFunction(orchardModule, "frost", {}, &result), std::runtime_error);
    EXPECT_EQ(unbox<U32>(result, "square"), 81U);
    for (char const* const name : {"", "squar", "closed", "height"}) {
        EXPECT_EQ(Vexo::callFunction(orchardModule, name, {}, &result),
                  AttributeStatus::noSuchAttribute)
            << name;
    }
}

}  // namespace
