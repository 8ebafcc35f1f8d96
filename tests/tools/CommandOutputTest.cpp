#include <tests/Support/Instrumented.h>
#include <tests/tools/FailingCalls.h>
#include <tests/tools/OutputWorld.h>
#include <tests/tools/RunCommand.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

/*
 * Outputs that cannot be written, or not to their ends, for every command and every way to report:
 * an error that names the output, an exit status that is not 0, and no file half written.
 */

namespace ToolsTest {
namespace {

using testing::EndsWith;

struct Call {
    char const* name;
    std::vector<std::string> arguments;  // TABLE stands for a table's file
    int failed = 1;                      // the exit status
    bool tellsTime = false;
};

std::vector<Call> const calls{
    {"help", {"--help"}},
    {"commandHelp", {"plan", "--help"}},
    {"plan", {"plan", "TABLE", "--check=9"}, 1, true},
    {"planJson", {"plan", "TABLE", "--check=9", "--json"}, 1, true},
    {"planCsv", {"plan", "TABLE", "--check=9", "--csv"}, 1, true},
    {"diff", {"diff", "TABLE", "/dev/null"}, 2},
    {"diffList", {"diff", "TABLE", "/dev/null", "--list"}, 2},
    {"lookup", {"lookup", "10.0.0.1", "--table", "TABLE"}},
    {"lookupJson", {"lookup", "10.0.0.1", "--table", "TABLE", "--json"}},
    {"load", {"load", "TABLE"}, 1, true},
    {"loadJson", {"load", "TABLE", "--json"}, 1, true},
    {"generate", {"generate", "--ipv4=10", "--ipv6=0"}},
    {"generateMuch", {"generate", "--ipv4=20000", "--ipv6=0"}},
    {"dump", {"dump", "TABLE"}},
    {"dumpMuch", {"dump", "--builtin", "--ipv4=2000", "--ipv6=0"}},
    {"dumpPartition", {"dump-partition", "TABLE"}},
    {"dumpPrefix", {"dump-prefix", "10.0.0.0/8", "TABLE"}},
};

// A sanitizer's runs take long: of many calls of the system some fail.
constexpr Vexo::U64 step = LPMTRIE_INSTRUMENTED ? 13 : 1;

constexpr int unharmed = 100;

/** The command while a call of the system fails; if none does, its status and `unharmed`. */
Ended runFailing(SystemCall call, Vexo::U64 number, int error, int out,
                 std::vector<std::string> const& arguments) {
    return runInChild(out, [&] {
        FailingCall const failing(call, number, error);
        int const status = CallHere(arguments).run();
        return failing.hasHappened() ? status : status + unharmed;
    });
}

class CommandOutputTest : public testing::TestWithParam<Call> {
protected:
    std::vector<std::string> arguments() const {
        std::vector<std::string> all = GetParam().arguments;
        std::ranges::replace(all, "TABLE", table_);
        return all;
    }
    void expectFailure(Ended const& ended, char const* why) const {
        EXPECT_EQ(ended.status, GetParam().failed);
        EXPECT_EQ(ended.err, std::string("lpmtrie: cannot write standard output: ") + why + "\n");
    }

    TemporaryDirectory const files_;
    std::string const table_ = files_.write("table", "10.0.0.0/8\n10.1.0.0/16\n2001:db8::/32\n");
};

INSTANTIATE_TEST_SUITE_P(Calls, CommandOutputTest, testing::ValuesIn(calls),
                         [](auto const& call) { return call.param.name; });

TEST_P(CommandOutputTest, fullDeviceIsTold) {
    Descriptor const full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    expectFailure(run(arguments(), {.out = full.number()}), "No space left on device");
}

TEST_P(CommandOutputTest, pipeThatNobodyReadsIsTold) {
    PipeEnds pipe;
    pipe.reading.close();
    expectFailure(run(arguments(), {.out = pipe.writing.number()}), "Broken pipe");
}

TEST_P(CommandOutputTest, closedOutputIsTold) {
    expectFailure(run(arguments(), {.closed = {1}}), "Bad file descriptor");
}

TEST_P(CommandOutputTest, outputThatIsOnlyForReadingIsTold) {
    Descriptor const reading(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    expectFailure(run(arguments(), {.out = reading.number()}), "Bad file descriptor");
}

/** Runs the command in a shell that lets no file grow beyond so many blocks of 512 bytes. */
Ended runWithin(int blocks, std::vector<std::string> const& arguments, std::string const& out) {
    std::vector<std::string> all{"/bin/sh", "-c",
                                 "ulimit -f " + std::to_string(blocks) +
                                     "; out=\"$1\"; shift; exec \"$0\" \"$@\" >\"$out\"",
                                 commandPath, out};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return runProgram(all);
}

/** Cut off at each block, of long outputs at some of them. */
TEST_P(CommandOutputTest, outputThatMayNotGrowIsTold) {
    std::string const out = files_.path("out");
    ASSERT_EQ(runWithin(20'000, arguments(), out).err, "");
    auto const size = std::filesystem::file_size(out);
    ASSERT_GT(size, 0U);
    for (unsigned blocks = 0; blocks * 512 < size; blocks = blocks < 8 ? blocks + 1 : blocks * 3) {
        expectFailure(runWithin(static_cast<int>(blocks), arguments(), out), "File too large");
        EXPECT_EQ(std::filesystem::file_size(out), blocks * 512);
    }
}

TEST_P(CommandOutputTest, writeThatFailsIsToldWhicheverItIs) {
    int const good = GetParam().failed == 2 ? 1 : 0;  // diff answers 1 where tables differ
    Vexo::U64 number = 1;
    // Each of the first ones; later ones are lines of one dump, all alike, of which some will do.
    for (;; number += number < 256 && step == 1 ? 1 : step + number / 8) {
        Descriptor const out = openForWriting(files_.path("out"));
        Ended const ended =
            runFailing(SystemCall::write, number, ENOSPC, out.number(), arguments());
        if (ended.status >= unharmed) {
            EXPECT_EQ(ended.status, good + unharmed);
            EXPECT_EQ(ended.err, "");
            break;
        }
        ASSERT_NO_FATAL_FAILURE(expectFailure(ended, "No space left on device")) << number;
    }
    EXPECT_GT(number, 1U);
}

TEST_P(CommandOutputTest, interruptedAndPartialWritesLoseNothing) {
    if (GetParam().tellsTime) {
        GTEST_SKIP() << "no two outputs are the same";
    }
    std::string const whole = run(arguments()).out;
    ASSERT_NE(whole, "");
    std::string const path = files_.path("out");
    std::vector<std::string> const all = arguments();
    runInChild(openForWriting(path).number(), [&] {
        TricklingWrites const trickling;
        return CallHere(all).run();
    });
    EXPECT_TRUE(contentOf(path) == whole);
}

class CommandOutputFileTest : public testing::TestWithParam<char const*> {
protected:
    Ended plan(std::string const& path) const {
        return run({"plan", table_, "--check=9", GetParam(), path});
    }
    void expectFailure(std::string const& path, char const* why) const {
        Ended const ended = plan(path);
        EXPECT_EQ(ended.status, 1);
        EXPECT_EQ(ended.err, "lpmtrie: " + path + ": cannot write: " + why + "\n");
    }
    /** The names of all files there, hidden and temporary ones too. */
    std::set<std::string> names() const {
        std::set<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(files_.path(""))) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

    TemporaryDirectory const files_;
    std::string const table_ = files_.write("table", "10.0.0.0/8\n2001:db8::/32\n");
};

INSTANTIATE_TEST_SUITE_P(Options, CommandOutputFileTest, testing::Values("--html", "--dot"),
                         [](auto const& option) { return std::string(option.param + 2); });

TEST_P(CommandOutputFileTest, placeWhereNothingCanBeWrittenIsToldBeforeAnyWork) {
    expectFailure(files_.path("no/file"), "No such file or directory");
    expectFailure(files_.path(""), "Is a directory");
    expectFailure(table_ + "/file", "Not a directory");
    EXPECT_EQ(names(), std::set<std::string>{"table"});
}

TEST_P(CommandOutputFileTest, fileWithoutPermissionIsTold) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "the superuser may write everything";
    }
    std::string const file = files_.write("file", "before");
    ASSERT_EQ(::chmod(file.c_str(), 0444), 0);
    expectFailure(file, "Permission denied");
}

TEST_P(CommandOutputFileTest, linkLeadsToTheNewFile) {
    TemporaryDirectory const elsewhere;
    std::string const file = elsewhere.write("file", "before");
    std::filesystem::create_symlink(file, files_.path("link"));
    EXPECT_EQ(plan(files_.path("link")).status, 0);
    EXPECT_EQ(std::filesystem::read_symlink(files_.path("link")), file);
    EXPECT_GT(std::filesystem::file_size(file), 6U);
    EXPECT_EQ(names(), (std::set<std::string>{"table", "link"}));
}

TEST_P(CommandOutputFileTest, fullDeviceIsTold) {
    expectFailure("/dev/full", "No space left on device");
}

TEST_P(CommandOutputFileTest, fileThatMayNotGrowStaysAsItWas) {
    std::string const file = files_.write("file", "before");
    int const blocks = std::string_view(GetParam()) == "--html" ? 16 : 0;  // the page is longer
    Ended const ended =
        runWithin(blocks, {"plan", table_, "--check=9", GetParam(), file}, "/dev/null");
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.err, "lpmtrie: " + file + ": cannot write: File too large\n");
    EXPECT_EQ(contentOf(file), "before");
    EXPECT_EQ(names(), (std::set<std::string>{"table", "file"}));
}

TEST_P(CommandOutputFileTest, callThatFailsIsToldWhicheverItIs) {
    Descriptor const nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    std::string const file = files_.path("file");
    for (auto const& [call, error] :
         {std::pair{SystemCall::write, ENOSPC}, std::pair{SystemCall::close, EDQUOT},
          std::pair{SystemCall::rename, EACCES}}) {
        Vexo::U64 number = 1;
        for (;; ++number) {
            files_.write("file", "before");
            Ended const ended = runFailing(call, number, error, nowhere.number(),
                                           {"plan", table_, "--check=9", GetParam(), file});
            EXPECT_EQ(names(), (std::set<std::string>{"table", "file"}));
            if (ended.status >= unharmed) {
                EXPECT_EQ(ended.status, unharmed);
                EXPECT_EQ(ended.err, "");
                EXPECT_NE(contentOf(file), "before");
                break;
            }
            ASSERT_EQ(ended.status, 1);
            EXPECT_EQ(ended.err,
                      "lpmtrie: " + file + ": cannot write: " + std::strerror(error) + "\n");
            EXPECT_EQ(contentOf(file), "before");
        }
        EXPECT_GT(number, 1U);
    }
}

}  // namespace
}  // namespace ToolsTest
