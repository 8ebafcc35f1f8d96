#include <Vexo/RangeException.h>

#include <Vexo/FwkType.h>
#include <tests/Vexo/CountedTypes.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <type_traits>

namespace {

using testing::HasSubstr;
using Vexo::RangeException;
using Vexo::rethrowFromDeserializeAttr;
using Vexo::String;
using Vexo::UnhashableException;
using VexoTest::Body;

/** What the call throws, which must be an `Exception` and nothing derived from it. */
template <class Exception, class Call>
Exception thrownBy(Call const& call) {
    try {
        call();
    } catch (Exception const& exception) {
        EXPECT_EQ(typeid(exception), typeid(Exception));
        return exception;
    } catch (...) {
        ADD_FAILURE() << "another exception";
        throw;
    }
    ADD_FAILURE() << "no exception";
    return Exception("none");
}

TEST(RangeExceptionTest, tellsWhatIsWrong) {
    RangeException const error("too long");
    EXPECT_STREQ(error.what(), "too long");
    EXPECT_EQ(error.attribute(), "");
    EXPECT_TRUE((std::is_base_of_v<std::exception, RangeException>));
}

TEST(RangeExceptionTest, tellsTheAttribute) {
    RangeException const error("too long", "len");
    EXPECT_STREQ(error.what(), "too long");
    EXPECT_EQ(error.attribute(), "len");
}

TEST(RangeExceptionTest, isRaisedAgainWithTheAttributesName) {
    auto const error = thrownBy<RangeException>(
        [] { rethrowFromDeserializeAttr(RangeException("no number"), "level"); });
    EXPECT_EQ(error.attribute(), "level");
    EXPECT_STREQ(error.what(), "attribute 'level': no number");
}

TEST(RangeExceptionTest, namesNestedAttributesFromTheOutsideIn) {
    auto const inner = thrownBy<RangeException>(
        [] { rethrowFromDeserializeAttr(RangeException("no number"), "bit"); });
    auto const middle =
        thrownBy<RangeException>([&] { rethrowFromDeserializeAttr(inner, "place"); });
    auto const outer =
        thrownBy<RangeException>([&] { rethrowFromDeserializeAttr(middle, "node"); });
    EXPECT_EQ(outer.attribute(), "node.place.bit");
    EXPECT_STREQ(outer.what(), "attribute 'node': attribute 'place': attribute 'bit': no number");
    EXPECT_EQ(inner.attribute(), "bit") << "the first error has changed";
}

TEST(RangeExceptionTest, aSetOfFlagsRefusesANumberWithOtherBits) {
    auto const error = thrownBy<RangeException>(
        [] { Vexo::throwDenseEnumBoolSetRangeException(Body::fwkType_, 4294967295U); });
    EXPECT_THAT(error.what(), HasSubstr("4294967295"));
    EXPECT_THAT(error.what(), HasSubstr("VexoTest::Body"));
    EXPECT_EQ(error.attribute(), "");
}

TEST(UnhashableExceptionTest, namesTheTypeThatHasNoHash) {
    auto const error =
        thrownBy<UnhashableException>([] { Vexo::throwUnhashableException(Body::fwkType_); });
    EXPECT_THAT(error.what(), HasSubstr("VexoTest::Body"));
    EXPECT_TRUE((std::is_base_of_v<std::exception, UnhashableException>));
    EXPECT_FALSE((std::is_base_of_v<RangeException, UnhashableException>));
}

}  // namespace
