#include <tests/tools/MrtDamage.h>
#include <tests/tools/MrtRealData.h>
#include <tests/tools/Seed.h>
#include <tests/tools/TemporaryFiles.h>

#include <gtest/gtest.h>

#include <random>

namespace LpmTools {
namespace {

using ToolsTest::Reading;
using ToolsTest::realDataPath;

std::string unpacked(char const* name) {
    return ToolsTest::allOf(*openInput(realDataPath(name)));
}

std::string bytesOf(std::string const& path) {
    std::string bytes(std::filesystem::file_size(path), '\0');
    std::ifstream(path, std::ios::binary)
        .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

// Sanitizers make it ten times slower: with them, every byte takes minutes.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t step = 17;
#else
constexpr std::size_t step = 1;
#endif

class MrtRealDamageTest : public ToolsTest::RealDataTest {};

INSTANTIATE_TEST_SUITE_P(Files, MrtRealDamageTest, testing::ValuesIn(ToolsTest::mrtFiles),
                         ToolsTest::mrtFileName);

/** Small streams everywhere, large ones around 300 places. */
TEST_P(MrtRealDamageTest, damagedStreamReadsUpToTheDamage) {
    constexpr std::size_t smallSize = 100'000;
    constexpr std::size_t around = 20'000;
    std::string const stream = unpacked(GetParam().name);
    if (stream.size() < smallSize) {
        ToolsTest::MrtDamage(stream).checkEverywhere(step);
        return;
    }
    unsigned const seed = ToolsTest::newSeed();
    SCOPED_TRACE(ToolsTest::traceOf(seed));
    std::mt19937 random(seed);
    // What is damaged and read is the first record, which may tell the peers, and those around a
    // place.
    auto const offsets = ToolsTest::recordOffsets(stream);
    for (int i = 0; i < 300 && !HasFatalFailure(); ++i) {
        std::size_t const place =
            std::uniform_int_distribution(offsets[1], stream.size() - 1)(random);
        auto const record = std::ranges::upper_bound(offsets, place) - 1;
        auto const first =
            std::max(offsets.begin() + 1,
                     std::ranges::upper_bound(offsets, place - std::min(place, around)));
        auto const last =
            std::max(record + 1, std::ranges::upper_bound(offsets, place + around) - 1);
        std::size_t const begin = std::min(*first, *record);
        ToolsTest::MrtDamage damage(stream.substr(0, offsets[1]) +
                                    stream.substr(begin, *last - begin));
        damage.check(offsets[1] + place - begin);
    }
}

TEST_P(MrtRealDamageTest, damagedPackedFileIsAnErrorOrReadsAsItWas) {
    std::string const good = bytesOf(realDataPath(GetParam().name));
    std::size_t const all = ToolsTest::readMrt(unpacked(GetParam().name)).events.size();
    unsigned const seed = ToolsTest::newSeed();
    SCOPED_TRACE(ToolsTest::traceOf(seed));
    std::mt19937 random(seed);
    ToolsTest::TemporaryDirectory const directory;
    int errors = 0;
    for (int i = 0; i < 100; ++i) {
        std::size_t const place =
            std::uniform_int_distribution(std::size_t{1}, good.size() - 1)(random);
        std::string bad = good;
        if (i % 2 == 0) {
            bad.resize(place);
        } else {
            bad[place] = static_cast<char>(~bad[place]);
        }
        MrtPeers peers;
        Reading reading;
        try {
            reading = ToolsTest::readMrt(openInput(directory.write("bad", bad)), peers);
        } catch (InputError const& error) {
            reading.error = error.what();
        }
        errors += reading.error.empty() ? 0 : 1;
        EXPECT_LE(reading.events.size(), all) << "place " << place;
        if (reading.error.empty()) {
            EXPECT_EQ(reading.events.size(), all) << "place " << place;
        }
    }
    EXPECT_GE(errors, 50) << "every cut is one";
}

}  // namespace
}  // namespace LpmTools
