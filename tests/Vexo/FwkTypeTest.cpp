#include <Vexo/FwkType.h>
#include <Vexo/PtrInterface.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using Vexo::FwkModule;
using Vexo::FwkType;

constexpr FwkModule module_("Garden", "Garden/Beds");
constexpr FwkType rose("Garden::Rose", module_, 3);
constexpr FwkType sameNameAsRose("Garden::Rose", module_, 3);

TEST(FwkTypeTest, tellsItsNameItsModuleAndItsNumber) {
    EXPECT_STREQ(rose.name(), "Garden::Rose");
    EXPECT_EQ(rose.number(), 3U);
    EXPECT_EQ(&rose.module(), &module_);
    EXPECT_STREQ(rose.module().name(), "Garden");
    EXPECT_STREQ(rose.module().source(), "Garden/Beds");
}

TEST(FwkTypeTest, isKnownByItsAddressAndNotCopied) {
    EXPECT_NE(&rose, &sameNameAsRose);
    EXPECT_FALSE(std::is_copy_constructible_v<FwkType>);
    EXPECT_FALSE(std::is_copy_assignable_v<FwkType>);
    EXPECT_FALSE(std::is_copy_constructible_v<FwkModule>);
    EXPECT_FALSE(std::is_copy_assignable_v<FwkModule>);
}

TEST(FwkTypeTest, theFrameworkHasAModuleOfItsOwn) {
    EXPECT_STREQ(Vexo::vexoModule.name(), "Vexo");
    EXPECT_EQ(&Vexo::PtrInterface::fwkType_.module(), &Vexo::vexoModule);
    EXPECT_STREQ(Vexo::PtrInterface::fwkType_.name(), "Vexo::PtrInterface");
}

}  // namespace
