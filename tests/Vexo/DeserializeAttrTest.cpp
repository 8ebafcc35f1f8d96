#include <Vexo/Strep.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <new>

namespace {

using Vexo::CharRange;
using Vexo::RangeException;
using Vexo::strepToValue;
using Vexo::String;
using Vexo::U32;

/** Reads itself, two letters. */
struct Code {
    explicit Code(CharRange& range) {
        if (range.rest().size() < 2) {
            range.fail("two letters");
        }
        letters_ = range.rest().substr(0, 2);
        range.advance(2);
    }
    String letters_;
};

TEST(StrepClassTest, readsItselfByItsConstructor) {
    EXPECT_EQ(strepToValue<Code>("ab").letters_, "ab");
    EXPECT_THROW(strepToValue<Code>("a"), RangeException);
    EXPECT_THROW(strepToValue<Code>("abc"), RangeException);
}

template <class T>
void expectFailureOf(String const& attribute, String const& text) {
    CharRange range(text);
    try {
        Vexo::deserializeAttr<T>(range, attribute.c_str());
        ADD_FAILURE() << text << " has been read";
    } catch (RangeException const& error) {
        EXPECT_EQ(error.attribute(), attribute);
        EXPECT_THAT(error.what(), testing::HasSubstr("'" + attribute + "'"));
        EXPECT_THAT(error.what(), testing::HasSubstr(Vexo::quotedForMessage(text)));
    }
}

TEST(DeserializeAttrTest, anErrorNamesTheAttribute) {
    expectFailureOf<bool>("dirty", "dirty");
    expectFailureOf<U32>("level", "4294967296");
    expectFailureOf<String>("name", "name");
    expectFailureOf<void*>("node", "0xzz");
    expectFailureOf<Code>("code", "a");
}

TEST(DeserializeAttrTest, readsOneValueAndLeavesTheRest) {
    String const text = "True17'x'0xa0ab!";
    CharRange range(text);
    EXPECT_TRUE(Vexo::deserializeAttr<bool>(range, "a"));
    EXPECT_EQ(Vexo::deserializeAttr<unsigned int>(range, "b"), 17U);
    EXPECT_EQ(Vexo::deserializeAttr<String>(range, "c"), "x");
    EXPECT_EQ(Vexo::deserializeAttr<void*>(range, "d"),
              reinterpret_cast<void*>(std::uintptr_t{0xa0ab}));
    EXPECT_EQ(range.rest(), "!");
}

struct Throwing {
    explicit Throwing(CharRange&) { throw std::bad_alloc(); }
};

TEST(DeserializeAttrTest, otherExceptionsPassUntouched) {
    CharRange range("x");
    EXPECT_THROW(Vexo::deserializeAttr<Throwing>(range, "a"), std::bad_alloc);
}

}  // namespace
