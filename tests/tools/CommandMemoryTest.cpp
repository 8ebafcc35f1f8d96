#include <tests/Support/AllocationFailure.h>
#include <tests/Support/Instrumented.h>
#include <tests/Support/LeakCheck.h>
#include <tests/tools/Descriptors.h>
#include <tests/tools/MrtBytes.h>
#include <tests/tools/Packing.h>
#include <tests/tools/RunCommand.h>
#include <tests/tools/TemporaryFiles.h>

#include <gtest/gtest.h>

#include <algorithm>

/*
 * Every command with its first allocation failing, then its second and so on: it ends as it should,
 * having got over it, or says that it is out of memory.
 */

namespace ToolsTest {
namespace {

using TestSupport::AfterFailure;

struct Call {
    char const* name;
    std::vector<std::string> arguments;  // TABLE, UPDATES, MRT and PAGE stand for files
    int good = 0;                        // the exit status when nothing fails
    int failed = 1;
};

std::vector<Call> const calls{
    {"load", {"load", "--bucket=1", "TABLE"}},
    {"loadJson", {"load", "--bucket=1", "--json", "TABLE"}},
    {"planText",
     {"plan", "TABLE", "MRT", "--updates", "UPDATES", "--bucket=1", "--buckets=9", "--bindings=9",
      "--check=2", "--optimum"}},
    {"planOneByOne",
     {"plan", "TABLE", "--one-by-one", "--policy=redistribute", "--bucket=1", "--buckets=9",
      "--bindings=9", "--check=2", "--csv"}},
    {"planJson", {"plan", "TABLE", "--buckets=9", "--bindings=9", "--check=2", "--json"}},
    {"planBuiltin",
     {"plan", "--builtin", "--ipv4=9", "--ipv6=9", "--replacements=3", "--buckets=9",
      "--bindings=9", "--check=2"}},
    {"planHtml", {"plan", "TABLE", "--buckets=9", "--bindings=9", "--check=2", "--html", "PAGE"}},
    {"planDot", {"plan", "TABLE", "--buckets=9", "--bindings=9", "--check=2", "--dot", "PAGE"}},
    {"planDotPrefix",
     {"plan", "TABLE", "--buckets=9", "--bindings=9", "--check=2", "--dot=/dev/null",
      "--dot-prefix=10.0.0.0/8"}},
    {"diff", {"diff", "TABLE", "UPDATES", "--bucket=1"}, 1, 2},
    {"diffList", {"diff", "TABLE", "UPDATES", "--list"}, 1, 2},
    {"lookup", {"lookup", "10.1.0.1", "--table", "TABLE", "--bucket=1"}},
    {"lookupJson", {"lookup", "10.1.0.1", "--table", "TABLE", "--json"}},
    {"generate", {"generate", "--ipv4=9", "--ipv6=9"}},
    {"dump", {"dump", "--bucket=1", "TABLE"}},
    {"dumpPartition", {"dump-partition", "--bucket=1", "TABLE"}},
    {"dumpPrefix", {"dump-prefix", "10.0.0.0/8", "TABLE"}},
};

// A sanitizer's runs take long, and longer in a child: of so many sites it gets one.
constexpr Vexo::U64 stepHere = LPMTRIE_INSTRUMENTED ? 13 : 1;
constexpr Vexo::U64 stepInChild = LPMTRIE_INSTRUMENTED ? 97 : 1;

class CommandMemoryTest
    : public TestSupport::LeakChecked<testing::TestWithParam<std::tuple<Call, AfterFailure>>> {
protected:
    /** How the command ends that runs in this process, its allocation number `site` failing. */
    struct Run {
        int status = -1;
        std::string told;
        bool failed = false;
    };
    Run run(Vexo::U64 site) const {
        if (inChild()) {
            return runInChild(site);
        }
        Run run;
        testing::internal::CaptureStderr();
        {
            Redirection const output(1, nowhere_.number());
            run.status = runHere(site, run.failed);
        }
        run.told = testing::internal::GetCapturedStderr();
        return run;
    }
    static Call const& call() { return std::get<0>(GetParam()); }
    static bool inChild() { return std::string_view(call().name).ends_with("Json"); }

private:
    int runHere(Vexo::U64 site, bool& failed) const {
        CallHere const command(arguments_);
        // The dumps are written by a thread of their own.
        TestSupport::AllocationFailure const failure(site, std::get<1>(GetParam()),
                                                     TestSupport::CountedThreads::all);
        int const status = command.run();
        failed = failure.hasHappened();
        return status;
    }
    /** Where the JSON library's destructors find no memory, the process ends. */
    Run runInChild(Vexo::U64 site) const {
        constexpr int unharmed = 100;
        Ended const ended = ToolsTest::runInChild(nowhere_.number(), [&] {
            bool failed = false;
            int const status = runHere(site, failed);
            return failed ? status : status + unharmed;
        });
        EXPECT_LT(ended.status, 1000) << "ended by a signal at allocation number " << site;
        Run run;
        run.told = ended.err;
        run.failed = ended.status < unharmed;
        run.status = ended.status % unharmed;
        return run;
    }
    std::vector<std::string> withFiles() const {
        std::vector<std::string> all = call().arguments;
        std::string const peer = updateRecord({}, origin() + nextHop("192.0.2.9"),
                                              routes({"12.0.0.0/8", "12.1.0.0/16"}));
        std::ranges::replace(
            all, "TABLE",
            files_.write("table", gzipped("10.0.0.0/8\n10.1.0.0/16\n2001:db8::/32\n")));
        std::ranges::replace(
            all, "UPDATES",
            files_.write("updates", "A 11.0.0.0/8 192.0.2.1\nW 10.0.0.0/8\nA 10.1.0.0/16 ::1\n"));
        std::ranges::replace(all, "MRT", files_.write("mrt", bzip2ed(peer)));
        std::ranges::replace(all, "PAGE", files_.path("page"));
        return all;
    }

    TemporaryDirectory const files_;
    std::vector<std::string> const arguments_ = withFiles();
    Descriptor const nowhere_{::open("/dev/null", O_WRONLY | O_CLOEXEC)};
};

INSTANTIATE_TEST_SUITE_P(Calls, CommandMemoryTest,
                         testing::Combine(testing::ValuesIn(calls),
                                          testing::Values(AfterFailure::succeed,
                                                          AfterFailure::fail)),
                         [](auto const& tested) {
                             bool const once = std::get<1>(tested.param) == AfterFailure::succeed;
                             return std::string(std::get<0>(tested.param).name) +
                                    (once ? "Once" : "Exhausted");
                         });

TEST_P(CommandMemoryTest, wantOfItIsToldOrGotOverWhereverItStrikes) {
    // Trace handles are made once in a process, and go without when there is no memory.
    EXPECT_EQ(run(~Vexo::U64{0}).status, call().good);
    Vexo::U64 const step = inChild() ? stepInChild : stepHere;
    Vexo::U64 told = 0;
    Vexo::U64 tried = 0;
    for (Vexo::U64 site = 1;; site += step) {
        ++tried;
        Run const ended = run(site);
        if (ended.told.empty()) {
            // The chip's want of memory is a refused write, which is tried again and then good.
            ASSERT_EQ(ended.status, call().good) << "failing allocation number " << site;
        } else {
            ASSERT_EQ(ended.status, call().failed) << "failing allocation number " << site;
            ASSERT_EQ(ended.told, "lpmtrie: out of memory\n") << site;
            ++told;
        }
        if (!ended.failed) {
            EXPECT_EQ(ended.told, "");
            EXPECT_GT(told * step, 100U);
            EXPECT_GT(told, tried * 9 / 10);
            return;
        }
    }
}

/** The unpackers' libraries ask for memory themselves, and are not damaged data when there is none.
 */
TEST(UnpackerMemoryTest, wantOfItIsNoDamage) {
    if (LPMTRIE_INSTRUMENTED != 0) {
        GTEST_SKIP() << "sanitizers take memory of their own";
    }
    TemporaryDirectory const files;
    int shortages = 0;
    for (std::string const& packed : {gzipped("10.0.0.0/8\n"), bzip2ed("10.0.0.0/8\n")}) {
        std::string const file = files.write("packed", packed);
        for (int limit = 6'000; limit < 30'000; limit += 250) {
            Ended const ended =
                runProgram({"/bin/sh", "-c", "ulimit -v \"$2\"; exec \"$0\" load \"$1\"",
                            commandPath, file, std::to_string(limit)});
            EXPECT_EQ(ended.err.find("damaged"), std::string::npos) << limit << ": " << ended.err;
            if (ended.err == "lpmtrie: out of memory\n") {
                EXPECT_EQ(ended.status, 1);
                ++shortages;
            }
        }
    }
    EXPECT_GT(shortages, 0);
}

}  // namespace
}  // namespace ToolsTest
