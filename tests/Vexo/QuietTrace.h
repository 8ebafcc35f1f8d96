#pragma once

#include <Vexo/Trace.h>

#include <gtest/gtest.h>

namespace VexoTest {

/** Fixture whose tests begin and end with all levels off and the writer to standard error in place.
 */
class QuietTrace : public testing::Test {
public:
    QuietTrace() { Vexo::traceLevelsIs("*/off"); }
    ~QuietTrace() override {
        Vexo::traceLevelsIs("*/off");
        Vexo::traceSinkIs({});
    }
};

}  // namespace VexoTest
