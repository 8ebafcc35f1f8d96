#include <tests/Support/Instrumented.h>
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

/**
 * Small streams are damaged at every so many bytes. Sanitizers make it ten times slower: with them,
 * every byte takes minutes, and is asked for by LPMTRIE_DAMAGE_STEP=1, as scripts/damaged-mrt does.
 */
std::size_t step() {
#if LPMTRIE_INSTRUMENTED
    constexpr std::size_t usual = 17;
#else
    constexpr std::size_t usual = 1;
#endif
    char const* const asked = std::getenv("LPMTRIE_DAMAGE_STEP");
    return asked != nullptr ? std::stoul(asked) : usual;
}

class MrtRealDamageTest : public ToolsTest::RealDataTest {
protected:
    Reading readFile(std::string const& bytes) const {
        MrtPeers peers;
        return ToolsTest::readMrt(openInput(directory_.write("bad", bytes)), peers);
    }

    ToolsTest::TemporaryDirectory const directory_;
};

INSTANTIATE_TEST_SUITE_P(Files, MrtRealDamageTest, testing::ValuesIn(ToolsTest::mrtFiles),
                         ToolsTest::mrtFileName);

/** Small streams everywhere, large ones around 300 places. */
TEST_P(MrtRealDamageTest, damagedStreamReadsUpToTheDamage) {
    constexpr std::size_t smallSize = 100'000;
    constexpr std::size_t around = 20'000;
    std::string const stream = unpacked(GetParam().name);
    if (stream.size() < smallSize) {
        ToolsTest::MrtDamage(stream).checkEverywhere(step());
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

/** Of a gzip file, only its end tells that bytes before it were wrong. */
TEST_P(MrtRealDamageTest, damagedPackedFileIsAnErrorOrReadsAsItWas) {
    std::string const good = bytesOf(realDataPath(GetParam().name));
    Reading const whole = ToolsTest::readMrt(unpacked(GetParam().name));
    unsigned const seed = ToolsTest::newSeed();
    SCOPED_TRACE(ToolsTest::traceOf(seed));
    std::mt19937 random(seed);
    for (int i = 0; i < 100 && !HasFatalFailure(); ++i) {
        std::size_t const place =
            std::uniform_int_distribution(std::size_t{1}, good.size() - 1)(random);
        std::string bad = good;
        if (i % 2 == 0) {
            bad.resize(place);
            Reading const reading = readFile(bad);
            ASSERT_NE(reading.error, "") << "cut to " << place;
            ASSERT_LE(reading.events.size(), whole.events.size()) << "cut to " << place;
            ASSERT_TRUE(std::ranges::equal(reading.events,
                                           std::span(whole.events).first(reading.events.size())))
                << "cut to " << place;
        } else {
            bad[place] = static_cast<char>(~bad[place]);
            Reading const reading = readFile(bad);
            ASSERT_TRUE(!reading.error.empty() || reading.events == whole.events)
                << "flipped at " << place;
        }
    }
}

}  // namespace
}  // namespace LpmTools
