#include <tools/ByteSource.h>
#include <tools/Xoshiro.h>

#include <tests/tools/Descriptors.h>
#include <tests/tools/Packing.h>
#include <tests/tools/TemporaryFiles.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/socket.h>

#include <optional>

namespace LpmTools {
namespace {

using testing::StartsWith;
using ToolsTest::bzip2ed;
using ToolsTest::gzipped;

std::string readAll(ByteSource& source, std::size_t step) {
    std::string text;
    std::string block(step, '\0');
    for (;;) {
        std::size_t const count = source.read(block);
        if (count == 0) {
            return text;
        }
        EXPECT_LE(count, step);
        text.append(block, 0, count);
    }
}

/** Bytes that do not pack well, among them line feeds, zeros and all others. */
std::string noise(std::size_t size) {
    Xoshiro random(11);
    std::string bytes;
    while (bytes.size() < size) {
        bytes += static_cast<char>(random.below(256));
    }
    return bytes;
}

class ByteSourceTest : public testing::Test {
protected:
    std::string read(std::string_view bytes, std::size_t step = 4096) const {
        return readAll(*openInput(files_.write("table.txt", bytes)), step);
    }
    /** Nothing when it is refused with an error that names the file. */
    std::optional<std::string> readOrRefuse(std::string_view bytes) const {
        try {
            return read(bytes);
        } catch (InputError const& error) {
            EXPECT_THAT(error.what(), StartsWith(files_.path("table.txt") + ": "));
            return std::nullopt;
        }
    }
    std::string errorOf(std::string const& path) const {
        try {
            readAll(*openInput(path), 4096);
        } catch (InputError const& error) {
            return error.what();
        }
        return "no error";
    }
    std::string errorOfBytes(std::string_view bytes) const {
        return errorOf(files_.write("table.txt", bytes));
    }

    ToolsTest::TemporaryDirectory const files_;
    std::string const text_ = "10.0.0.0/8\n2001:db8::/32\n";
};

TEST_F(ByteSourceTest, emptyFileHasNothing) {
    EXPECT_EQ(read(""), "");
}

TEST_F(ByteSourceTest, plainBytesComeAsTheyAre) {
    EXPECT_EQ(read(text_), text_);
    EXPECT_EQ(read(noise(300'000)), noise(300'000));
}

TEST_F(ByteSourceTest, filesShorterThanAMagicNumberArePlain) {
    for (std::string_view const bytes : {"\x1f", "B", "BZ", "\n", "10"}) {
        EXPECT_EQ(read(bytes), bytes);
    }
}

TEST_F(ByteSourceTest, packedFilesAreKnownByTheirFirstBytesWhateverTheyAreCalled) {
    for (char const* const name : {"plain.txt", "table.gz", "table.bz2", "table"}) {
        for (std::string const& bytes : {text_, gzipped(text_), bzip2ed(text_)}) {
            EXPECT_EQ(readAll(*openInput(files_.write(name, bytes)), 4096), text_) << name;
        }
    }
}

TEST_F(ByteSourceTest, unpackedBytesFitReadersOfAnySize) {
    std::string const text = noise(200'000) + std::string(500'000, 'a');
    for (std::size_t const step : {7U, 4096U, 65536U, 1'000'000U}) {
        EXPECT_EQ(read(gzipped(text), step), text) << step;
        EXPECT_EQ(read(bzip2ed(text), step), text) << step;
        EXPECT_EQ(read(text, step), text) << step;
    }
    EXPECT_EQ(read(gzipped(text_), 1), text_);
    EXPECT_EQ(read(bzip2ed(text_), 1), text_);
}

TEST_F(ByteSourceTest, emptyStreamsHaveNothing) {
    EXPECT_EQ(read(gzipped("")), "");
    EXPECT_EQ(read(bzip2ed("")), "");
    EXPECT_EQ(read(gzipped("") + gzipped(text_) + gzipped("")), text_);
    EXPECT_EQ(read(bzip2ed("") + bzip2ed(text_) + bzip2ed("")), text_);
}

TEST_F(ByteSourceTest, streamsBehindEachOtherAreOneText) {
    std::string const text = noise(100'000);
    EXPECT_EQ(read(gzipped(text) + gzipped(text_) + gzipped(text)), text + text_ + text);
    EXPECT_EQ(read(bzip2ed(text) + bzip2ed(text_) + bzip2ed(text)), text + text_ + text);
}

TEST_F(ByteSourceTest, otherBytesBehindAStreamAreDamage) {
    std::string const name = files_.path("table.txt");
    EXPECT_EQ(errorOfBytes(gzipped(text_) + text_), name + ": damaged gzip data");
    EXPECT_EQ(errorOfBytes(gzipped(text_) + bzip2ed(text_)), name + ": damaged gzip data");
    EXPECT_EQ(errorOfBytes(bzip2ed(text_) + text_), name + ": damaged bzip2 data");
    EXPECT_EQ(errorOfBytes(bzip2ed(text_) + gzipped(text_)), name + ": damaged bzip2 data");
}

// As copies from tapes and disks have them; longer than a block, too.
TEST_F(ByteSourceTest, zerosBehindAGzipStreamAreNothing) {
    for (std::size_t const zeros : {1U, 2U, 512U, 65'536U, 200'000U}) {
        std::string const padding(zeros, '\0');
        EXPECT_EQ(read(gzipped(text_) + padding), text_);
        EXPECT_EQ(read(gzipped(text_) + gzipped(text_) + padding), text_ + text_);
        for (std::string const& more : {std::string("x"), gzipped(text_)}) {
            EXPECT_EQ(errorOfBytes(gzipped(text_) + padding + more),
                      files_.path("table.txt") + ": damaged gzip data");
        }
        EXPECT_EQ(readOrRefuse(bzip2ed(text_) + padding), std::nullopt);
    }
    EXPECT_EQ(read(std::string(9, '\0')), std::string(9, '\0'));
}

// Each byte is a message of its own, so that no read ever gets more than one.
TEST_F(ByteSourceTest, standardInputMayComeByteByByte) {
    for (std::string const& bytes : {text_, gzipped(text_), bzip2ed(text_), std::string("1")}) {
        std::array<int, 2> ends{-1, -1};
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
        ToolsTest::Descriptor const reading(ends[0]);
        ToolsTest::Descriptor writing(ends[1]);
        for (char const byte : bytes) {
            ASSERT_EQ(::send(writing.number(), &byte, 1, MSG_DONTWAIT), 1);
        }
        writing.close();
        ToolsTest::Redirection const input(0, reading.number());
        EXPECT_EQ(readAll(*openInput("-"), 4096), bytes == "1" ? bytes : text_);
    }
}

TEST_F(ByteSourceTest, cutOffStreamIsRefused) {
    std::string const text = noise(2000);
    for (std::string const& packed : {gzipped(text), bzip2ed(text)}) {
        EXPECT_EQ(readOrRefuse(packed), text);
        for (std::size_t size = 3; size < packed.size(); ++size) {
            EXPECT_EQ(readOrRefuse(packed.substr(0, size)), std::nullopt) << size;
        }
    }
    EXPECT_EQ(errorOfBytes(gzipped(text_).substr(0, 20)),
              files_.path("table.txt") + ": gzip data ends too early");
    EXPECT_EQ(errorOfBytes(bzip2ed(text_).substr(0, 20)),
              files_.path("table.txt") + ": bzip2 data ends too early");
}

TEST_F(ByteSourceTest, cutOffSecondStreamIsRefused) {
    for (auto const& packed : {gzipped(text_), bzip2ed(text_)}) {
        EXPECT_EQ(readOrRefuse(packed + packed), text_ + text_);
        for (std::size_t size = 1; size < packed.size(); ++size) {
            EXPECT_EQ(readOrRefuse(packed + packed.substr(0, size)), std::nullopt) << size;
        }
    }
}

// A time stamp in a header does no harm, and without its magic number a file is plain.
TEST_F(ByteSourceTest, flippedBitIsRefusedOrDoesNoHarm) {
    std::string const text = noise(60);
    for (std::string const& packed : {gzipped(text), bzip2ed(text)}) {
        std::size_t refused = 0;
        for (std::size_t bit = 0; bit < 8 * packed.size(); ++bit) {
            std::string flipped = packed;
            flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
            auto const got = readOrRefuse(flipped);
            if (got) {
                EXPECT_EQ(*got, bit < 24 && *got == flipped ? flipped : text) << bit;
            } else {
                ++refused;
            }
        }
        EXPECT_GT(refused, 7 * packed.size());
    }
}

TEST_F(ByteSourceTest, damageIsNamed) {
    std::string gzip = gzipped(text_);
    gzip[gzip.size() - 8] = static_cast<char>(~gzip[gzip.size() - 8]);  // of the checksum
    EXPECT_EQ(errorOfBytes(gzip), files_.path("table.txt") + ": damaged gzip data");
    std::string bzip2 = bzip2ed(text_);
    bzip2[10] = static_cast<char>(~bzip2[10]);  // of the checksum
    EXPECT_EQ(errorOfBytes(bzip2), files_.path("table.txt") + ": damaged bzip2 data");
}

TEST_F(ByteSourceTest, whatCannotBeReadIsNamed) {
    EXPECT_EQ(errorOf(files_.path("missing")),
              files_.path("missing") + ": cannot open: No such file or directory");
    EXPECT_EQ(errorOf(files_.path("")), files_.path("") + ": cannot read: Is a directory");
    EXPECT_EQ(errorOf(""), ": cannot open: No such file or directory");
    EXPECT_EQ(errorOf(files_.path("new\nline")),
              files_.path("new\\x0aline") + ": cannot open: No such file or directory");
}

TEST_F(ByteSourceTest, standardInputIsNamedAsSuch) {
    EXPECT_EQ(inputName("-"), "standard input");
    EXPECT_EQ(inputName("./-"), "./-");
    ToolsTest::Descriptor const directory(::open("/", O_RDONLY | O_CLOEXEC));
    ToolsTest::Redirection const input(0, directory.number());
    EXPECT_EQ(errorOf("-"), "standard input: cannot read: Is a directory");
}

TEST_F(ByteSourceTest, everyDescriptorIsClosedAgain) {
    auto const before = ToolsTest::openDescriptors();
    EXPECT_EQ(readOrRefuse(gzipped(text_)), text_);
    EXPECT_EQ(readOrRefuse(bzip2ed(text_).substr(0, 9)), std::nullopt);
    EXPECT_EQ(read(text_), text_);
    EXPECT_EQ(errorOf("/"), "/: cannot read: Is a directory");
    EXPECT_EQ(ToolsTest::openDescriptors(), before);
}

}  // namespace
}  // namespace LpmTools
