#include <tests/Support/AllocationFailure.h>
#include <tests/tools/OutputWorld.h>

#include <future>

/* A writer runs in a thread of its own, beside the one that passes on what it writes. */

namespace LpmTools {
namespace {

using namespace ToolsTest;

class OutputThreadsTest : public OutputWorld {};

TEST_F(OutputThreadsTest, writerThatIgnoresErrorsRunsToItsEnd) {
    Descriptor const full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    int written = 0;
    EXPECT_EQ(outputErrorOf([&] {
                  writeThrough(full.number(), [&](int file) {
                      for (; written < 100'000; ++written) {
                          ::dprintf(file, "line %d\n", written);
                      }
                  });
              }),
              "cannot write standard output: No space left on device");
    EXPECT_EQ(written, 100'000);
}

TEST_F(OutputThreadsTest, whatAWriterWritesIsPassedOn) {
    Descriptor const file = openForWriting(path_);
    writeThrough(file.number(), [](int to) {
        ::dprintf(to, "%s", "| ");
        writeAll(to, largeText);
        ::dprintf(to, "%s", "end\n");
    });
    EXPECT_EQ(contentOf(path_), "| " + largeText + "end\n");
}

TEST_F(OutputThreadsTest, exceptionOfTheWriterComesAfterWhatItWrote) {
    Descriptor const file = openForWriting(path_);
    EXPECT_THROW(writeThrough(file.number(),
                              [](int to) {
                                  ::dprintf(to, "half");
                                  throw std::out_of_range("enough");
                              }),
                 std::out_of_range);
    EXPECT_EQ(contentOf(path_), "half");
}

TEST_F(OutputThreadsTest, lossOfTheOutputIsToldWhileTheWriterStillRuns) {
    Descriptor const full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    std::promise<std::string> loss;
    std::string heard;
    EXPECT_THROW(writeThrough(
                     full.number(),
                     [&](int to) {
                         ::dprintf(to, "x");
                         heard = loss.get_future().get();
                     },
                     [&](OutputError const& error) { loss.set_value(error.what()); }),
                 OutputError);
    EXPECT_EQ(heard, "cannot write standard output: No space left on device");
}

TEST_F(OutputThreadsTest, nothingIsToldOfAnOutputThatWorks) {
    Descriptor const file = openForWriting(path_);
    writeThrough(
        file.number(), [](int to) { ::dprintf(to, "x"); },
        [](OutputError const& error) { FAIL() << error.what(); });
    EXPECT_EQ(contentOf(path_), "x");
}

// A writer that hears of errors hears only that its pipe is not read any more.
TEST_F(OutputThreadsTest, errorOfTheOutputIsToldBeforeTheWriters) {
    Descriptor const full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(outputErrorOf([&] {
                  writeThrough(full.number(), [](int to) {
                      ::dprintf(to, "half");
                      throw std::out_of_range("enough");
                  });
              }),
              "cannot write standard output: No space left on device");
}

TEST_F(OutputThreadsTest, everyDescriptorIsClosedAgain) {
    Descriptor const full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    auto const before = openDescriptors();
    EXPECT_NO_THROW(writeThrough(full.number(), [](int) {}));
    EXPECT_THROW(writeThrough(full.number(), [](int to) { writeAll(to, "x"); }), OutputError);
    EXPECT_THROW(writeThrough(full.number(), [](int) { throw 1; }), int);
    TestSupport::failEachAllocation([&] { writeThrough(full.number(), [](int) {}); },
                                    [&] { EXPECT_EQ(openDescriptors(), before); });
    EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace LpmTools
