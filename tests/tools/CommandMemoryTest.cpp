#include <tools/Command.h>

#include <tests/Support/AllocationFailure.h>
#include <tests/Support/LeakCheck.h>
#include <tests/tools/Descriptors.h>
#include <tests/tools/Packing.h>
#include <tests/tools/TemporaryFiles.h>

#include <gtest/gtest.h>

namespace ToolsTest {
namespace {

using TestSupport::AfterFailure;

class CommandMemoryTest : public TestSupport::LeakChecked<testing::TestWithParam<AfterFailure>> {
protected:
    /** How the command ends that runs in this process, its allocation number `site` failing. */
    struct Run {
        int status = -1;
        std::string told;
        bool failed = false;
    };
    Run run(Vexo::U64 site) const {
        std::array<char const*, 4> const arguments{"lpmtrie", "load", "--bucket=1", file_.c_str()};
        Run run;
        testing::internal::CaptureStderr();
        {
            Redirection const output(1, nowhere_.number());
            TestSupport::AllocationFailure const failure(site, GetParam());
            run.status = LpmTools::runCommand(static_cast<int>(arguments.size()), arguments.data());
            run.failed = failure.hasHappened();
        }
        run.told = testing::internal::GetCapturedStderr();
        return run;
    }

private:
    TemporaryDirectory const files_;
    std::string const file_ =
        files_.write("table", gzipped("10.0.0.0/8\n10.1.0.0/16\n2001:db8::/32\n"));
    Descriptor const nowhere_{::open("/dev/null", O_WRONLY | O_CLOEXEC)};
};

INSTANTIATE_TEST_SUITE_P(Failures, CommandMemoryTest,
                         testing::Values(AfterFailure::succeed, AfterFailure::fail));

TEST_P(CommandMemoryTest, wantOfItIsToldWhereverItStrikes) {
    // Trace handles are made once in a process, and go without when there is no memory.
    EXPECT_EQ(run(~Vexo::U64{0}).status, 0);
    for (Vexo::U64 site = 1;; ++site) {
        Run const ended = run(site);
        if (!ended.failed) {
            EXPECT_EQ(ended.status, 0);
            EXPECT_EQ(ended.told, "");
            EXPECT_GT(site, 100U);
            return;
        }
        ASSERT_EQ(ended.status, 1) << "failing allocation number " << site;
        ASSERT_EQ(ended.told, "lpmtrie: out of memory\n") << site;
    }
}

}  // namespace
}  // namespace ToolsTest
