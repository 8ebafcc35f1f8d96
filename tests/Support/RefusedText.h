#pragma once

#include <Vexo/Strep.h>
#include <tests/Support/AllocationFailure.h>

#include <gtest/gtest.h>

#include <new>
#include <string_view>

namespace TestSupport {

/** The text is refused, and each allocation of that, failing in turn, is what is told instead. */
template <class T>
void expectRefusedOrNoMemory(std::string_view text) {
    Vexo::String const copy(text);
    for (Vexo::U64 site = 1;; ++site) {
        bool noMemory = false;
        AllocationFailure const failure(site);
        try {
            static_cast<void>(Vexo::strepToValue<T>(copy));
        } catch (Vexo::RangeException const&) {
        } catch (std::bad_alloc const&) {
            noMemory = true;
        }
        ASSERT_EQ(noMemory, failure.hasHappened()) << text << " at allocation number " << site;
        if (!noMemory) {
            EXPECT_GT(site, 1U) << text;
            return;
        }
    }
}

}  // namespace TestSupport
