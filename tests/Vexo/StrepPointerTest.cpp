#include <Vexo/Strep.h>

#include <tests/Vexo/StrepChecks.h>

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using namespace std::string_literals;
using Vexo::strepToValue;
using Vexo::String;
using Vexo::valueToStrep;
using VexoTest::expectNothingAround;
using VexoTest::expectRefused;
using VexoTest::expectRoundTrip;
using VexoTest::expectTruncationsRefused;

TEST(StrepPointerTest, isANumberOrNone) {
    expectRoundTrip<void*>(nullptr, "None");
    int object = 0;
    void* const pointer = &object;
    EXPECT_EQ(valueToStrep(pointer), Vexo::formatString("%p", pointer));
    EXPECT_EQ(strepToValue<void*>(valueToStrep(pointer)), pointer);
    expectRoundTrip(reinterpret_cast<void*>(std::uintptr_t{0xabcdef}), "0xabcdef");
    expectRoundTrip(reinterpret_cast<void*>(UINTPTR_MAX), "0x" + String(2 * sizeof(void*), 'f'));
}

TEST(StrepPointerTest, anyClassOfObjectIsWrittenSo) {
    class Unknown;
    auto* const object = reinterpret_cast<Unknown*>(std::uintptr_t{0x40});
    EXPECT_EQ(valueToStrep(object), "0x40");
}

TEST(StrepPointerTest, mayBePaddedToItsFullWidth) {
    String const digits = "000000000000abcd";
    EXPECT_EQ(strepToValue<void*>("0x" + digits.substr(16 - 2 * sizeof(void*))),
              reinterpret_cast<void*>(std::uintptr_t{0xabcd}));
    EXPECT_EQ(strepToValue<void*>("0x0"), nullptr);
}

TEST(StrepPointerTest, isRefusedWithMoreDigitsThanAPointerHas) {
    std::size_t const digits = 2 * sizeof(void*);
    expectRefused<void*>("0x1" + String(digits, '0'));
    expectRefused<void*>("0x" + String(digits + 1, 'f'));
    expectRefused<void*>("0x" + String(digits, '0') + "1");
    expectRefused<void*>("0x" + String(100'000, '0'));
    expectRefused<void*>("0x" + String(100'000, 'f'));
}

TEST(StrepPointerTest, isRefusedInAnyOtherForm) {
    for (char const* text : {"", "0x", "0", "12", "abcd", "0Xab", "0xAB", "0xg", "x1", "none",
                             "null", "(nil)", "True", "'0x1'", "0x-1", "0x 1", "None0x1"}) {
        expectRefused<void*>(text);
    }
    expectTruncationsRefused<void*>("None");
    expectNothingAround<void*>("None");
    expectNothingAround<void*>("0x12");
    expectRefused<void*>("0x\0001"s);
}

}  // namespace
