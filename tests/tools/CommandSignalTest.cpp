#include <tests/tools/RunCommand.h>
#include <tests/tools/TemporaryFiles.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <thread>

namespace ToolsTest {
namespace {

/** A plan that has begun its files and waits for its table. */
class CommandSignalTest : public testing::TestWithParam<int> {
protected:
    CommandSignalTest() {
        if (::mkfifo(fifo_.c_str(), 0600) != 0) {
            throw std::runtime_error("cannot make a pipe");
        }
    }
    std::size_t count() const {
        std::filesystem::directory_iterator const files(files_.path(""));
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }
    /** Runs it until both files are there, or for long. */
    pid_t start(std::vector<std::string> arguments) const {
        arguments.insert(arguments.end(), {commandPath, "plan", fifo_, "--html", page_, "--dot",
                                           files_.path("dot")});
        pid_t const process = detail::SpawnActions().spawn(arguments);
        for (int i = 0; i < 6'000 && count() < 4; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        EXPECT_EQ(count(), 4U);
        return process;
    }
    /** The signal by which the process has ended; 0 when it has ended by itself. */
    static int endOf(pid_t process) {
        int status = 0;
        EXPECT_EQ(::waitpid(process, &status, 0), process);
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

    TemporaryDirectory const files_;
    std::string const fifo_ = files_.path("fifo");
    std::string const page_ = files_.write("page", "before");
};

INSTANTIATE_TEST_SUITE_P(Signals, CommandSignalTest, testing::Values(SIGHUP, SIGINT, SIGTERM),
                         [](auto const& signal) {
                             return std::string(::sigabbrev_np(signal.param));
                         });

TEST_P(CommandSignalTest, filesBegunGoAndTheStatusTellsTheSignal) {
    pid_t const process = start({});
    ASSERT_EQ(::kill(process, GetParam()), 0);
    EXPECT_EQ(endOf(process), GetParam());
    EXPECT_EQ(count(), 2U);
    std::string content;
    std::getline(std::ifstream(page_), content);
    EXPECT_EQ(content, "before");
}

// As under nohup(1).
TEST_P(CommandSignalTest, ignoredSignalStaysIgnored) {
    std::string const name = ::sigabbrev_np(GetParam());
    pid_t const process =
        start({"/bin/sh", "-c", "trap '' " + name + "; exec \"$0\" \"$@\" >/dev/null"});
    ASSERT_EQ(::kill(process, GetParam()), 0);
    Descriptor(::open(fifo_.c_str(), O_WRONLY | O_CLOEXEC)).close();  // an empty table
    EXPECT_EQ(endOf(process), 0);
    EXPECT_EQ(count(), 3U);
    EXPECT_GT(std::filesystem::file_size(page_), 6U);
}

}  // namespace
}  // namespace ToolsTest
