#include <tests/Support/LeakCheck.h>
#include <tests/Support/ThreadSafeMode.h>
#include <tests/Vexo/ScriptFromC.h>

namespace {

class ScriptFromCTest : public TestSupport::LeakCheck {
private:
    TestSupport::ThreadSafeMode const mode_{false};
};

TEST_F(ScriptFromCTest, aCProgramUsesEveryFunction) {
    EXPECT_STREQ(scriptFromC(), nullptr);
}

}  // namespace
