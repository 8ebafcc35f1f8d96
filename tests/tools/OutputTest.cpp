#include <tests/tools/OutputWorld.h>

#include <thread>

namespace LpmTools {
namespace {

using namespace ToolsTest;

class OutputTest : public OutputWorld {};

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
