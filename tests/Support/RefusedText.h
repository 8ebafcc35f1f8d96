#pragma once

#include <Vexo/Strep.h>
#include <tests/Support/AllocationFailure.h>

#include <gtest/gtest.h>

#include <string_view>

namespace TestSupport {

/** The text is refused; where memory ends on the way, that is told instead. */
template <class T>
void expectRefusedOrNoMemory(std::string_view text) {
    Vexo::String const copy(text);
    bool refused = false;
    Vexo::U64 const sites = failEachAllocation(
        [&] {
            try {
                static_cast<void>(Vexo::strepToValue<T>(copy));
            } catch (Vexo::RangeException const&) {
                refused = true;
            }
        },
        [&] { EXPECT_FALSE(refused) << text; });
    EXPECT_GT(sites, 0U) << text;
    EXPECT_TRUE(refused) << text;
}

}  // namespace TestSupport
