#include <tools/Output.h>

#include <tests/Support/AllocationFailure.h>
#include <tests/tools/Descriptors.h>
#include <tests/tools/TemporaryFiles.h>

#include <gtest/gtest.h>

#include <future>
#include <sstream>
#include <thread>

namespace LpmTools {
namespace {

using ToolsTest::Descriptor;
using ToolsTest::openForWriting;
using ToolsTest::PipeEnds;

template <class Action>
std::string outputErrorOf(Action const& action) {
    try {
        action();
    } catch (OutputError const& error) {
        return error.what();
    }
    return "no error";
}

std::string contentOf(std::string const& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

/** More than any pipe holds. */
std::string const largeText = [] {
    std::string text;
    for (int i = 0; i < 300'000; ++i) {
        text += std::to_string(i) + "\n";
    }
    return text;
}();

class OutputTest : public testing::Test {
protected:
    ToolsTest::TemporaryDirectory const files_;
    std::string const path_ = files_.path("out");
    ToolsTest::IgnoredBrokenPipe const noSignal_;
};

TEST_F(OutputTest, allOfATextIsWritten) {
    Descriptor const file = openForWriting(path_);
    writeAll(file.number(), "");
    writeAll(file.number(), "one\n");
    writeAll(file.number(), largeText);
    EXPECT_EQ(contentOf(path_), "one\n" + largeText);
}

TEST_F(OutputTest, readersOfAPipeGetAll) {
    PipeEnds pipe;
    std::string got;
    std::thread reader([&] { got = pipe.reading.readAll(); });
    writeAll(pipe.writing.number(), largeText);
    pipe.writing.close();
    reader.join();
    EXPECT_EQ(got, largeText);
}

TEST_F(OutputTest, fullDiskIsTold) {
    Descriptor const full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(outputErrorOf([&] { writeAll(full.number(), "x"); }),
              "cannot write standard output: No space left on device");
    EXPECT_EQ(outputErrorOf([&] {
                  writeThrough(full.number(), [](int file) { writeAll(file, largeText); });
              }),
              "cannot write standard output: No space left on device");
}

TEST_F(OutputTest, pipeThatNobodyReadsIsTold) {
    PipeEnds pipe;
    pipe.reading.close();
    EXPECT_EQ(outputErrorOf([&] { writeAll(pipe.writing.number(), "x"); }),
              "cannot write standard output: Broken pipe");
    EXPECT_EQ(outputErrorOf([&] {
                  writeThrough(pipe.writing.number(), [](int file) { ::dprintf(file, "x"); });
              }),
              "cannot write standard output: Broken pipe");
}

TEST_F(OutputTest, nothingWrittenNeedsNoReader) {
    PipeEnds pipe;
    pipe.reading.close();
    EXPECT_EQ(outputErrorOf([&] { writeAll(pipe.writing.number(), ""); }), "no error");
    EXPECT_EQ(outputErrorOf([&] { writeThrough(pipe.writing.number(), [](int) {}); }), "no error");
}

TEST_F(OutputTest, writerThatIgnoresErrorsRunsToItsEnd) {
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

TEST_F(OutputTest, whatAWriterWritesIsPassedOn) {
    Descriptor const file = openForWriting(path_);
    writeThrough(file.number(), [](int to) {
        ::dprintf(to, "%s", "| ");
        writeAll(to, largeText);
        ::dprintf(to, "%s", "end\n");
    });
    EXPECT_EQ(contentOf(path_), "| " + largeText + "end\n");
}

TEST_F(OutputTest, exceptionOfTheWriterComesAfterWhatItWrote) {
    Descriptor const file = openForWriting(path_);
    EXPECT_THROW(writeThrough(file.number(),
                              [](int to) {
                                  ::dprintf(to, "half");
                                  throw std::out_of_range("enough");
                              }),
                 std::out_of_range);
    EXPECT_EQ(contentOf(path_), "half");
}

TEST_F(OutputTest, lossOfTheOutputIsToldWhileTheWriterStillRuns) {
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

TEST_F(OutputTest, nothingIsToldOfAnOutputThatWorks) {
    Descriptor const file = openForWriting(path_);
    writeThrough(
        file.number(), [](int to) { ::dprintf(to, "x"); },
        [](OutputError const& error) { FAIL() << error.what(); });
    EXPECT_EQ(contentOf(path_), "x");
}

// A writer that hears of errors hears only that its pipe is not read any more.
TEST_F(OutputTest, errorOfTheOutputIsToldBeforeTheWriters) {
    Descriptor const full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(outputErrorOf([&] {
                  writeThrough(full.number(), [](int to) {
                      ::dprintf(to, "half");
                      throw std::out_of_range("enough");
                  });
              }),
              "cannot write standard output: No space left on device");
}

TEST_F(OutputTest, everyDescriptorIsClosedAgain) {
    Descriptor const full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    auto const before = ToolsTest::openDescriptors();
    EXPECT_NO_THROW(writeThrough(full.number(), [](int) {}));
    EXPECT_THROW(writeThrough(full.number(), [](int to) { writeAll(to, "x"); }), OutputError);
    EXPECT_THROW(writeThrough(full.number(), [](int) { throw 1; }), int);
    TestSupport::failEachAllocation([&] { writeThrough(full.number(), [](int) {}); },
                                    [&] { EXPECT_EQ(ToolsTest::openDescriptors(), before); });
    EXPECT_EQ(ToolsTest::openDescriptors(), before);
}

TEST(OneLineTest, controlCharactersAreShownAsTheirCodes) {
    EXPECT_EQ(onOneLine("a\nb\r\t\x1b[31m\x7f"), R"(a\x0ab\x0d\x09\x1b[31m\x7f)");
    EXPECT_EQ(onOneLine(std::string_view("a\0b", 3)), R"(a\x00b)");
}

TEST(OneLineTest, allOtherTextStaysAsItIs) {
    EXPECT_EQ(onOneLine(""), "");
    EXPECT_EQ(onOneLine(" ~\\'é\xff"), " ~\\'é\xff");
}

}  // namespace
}  // namespace LpmTools
