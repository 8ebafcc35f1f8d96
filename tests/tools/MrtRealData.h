#pragma once

#include <tools/ByteSource.h>

#include <Vexo/Types.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

/*
 * What collectors have really written, where LPMTRIE_DATA names the directory with the files. The
 * counts are those of the program bgpdump, an independent reader (`bgpdump -m -q FILE`, lines
 * counted by kind and family).
 */

namespace ToolsTest {

using Vexo::U64;

struct MrtFile {
    char const* name;
    U64 dumpEntries4;
    U64 dumpEntries6;
    U64 announcements4;
    U64 announcements6;
    U64 withdrawals4;
    U64 withdrawals6;
    U64 stateChanges;
};

inline void PrintTo(MrtFile const& file, std::ostream* out) {
    *out << file.name;
}

inline constexpr MrtFile mrtFiles[] = {
    {"rib.add-path.ipv4.mrt.gz", 62, 0, 0, 0, 0, 0, 0},
    {"rib.add-path.ipv6.mrt.gz", 0, 62, 0, 0, 0, 0, 0},
    {"rib.record-over-64k.mrt.gz", 0, 23, 0, 0, 0, 0, 0},
    {"rib.route-views.jinx.2014.mrt.bz2", 503'417, 173, 0, 0, 0, 0, 0},
    {"updates.host-bits-set.mrt.gz", 0, 0, 1, 0, 0, 0, 0},
    {"updates.long-withdrawal.mrt.gz", 0, 0, 0, 0, 0, 4'096, 0},
    {"updates.route-views.jinx.2014.mrt.bz2", 0, 0, 1'236, 2, 114, 2, 0},
    {"updates.rrc.2016.mrt.gz", 0, 0, 32'710, 6'546, 1'616, 340, 22},
    {"updates.rrc06.2014.mrt.gz", 0, 0, 3'665, 96, 68, 0, 4},
};

/** The name of a case for a file. */
inline std::string mrtFileName(testing::TestParamInfo<MrtFile> const& file) {
    std::string name = file.param.name;
    std::erase_if(name, [](char c) { return c == '.' || c == '-'; });
    return name;
}

inline std::string realDataPath(char const* name) {
    return std::string(std::getenv("LPMTRIE_DATA")) + "/" + name;
}

/** All bytes that a source has. */
inline std::string allOf(LpmTools::ByteSource& source) {
    std::string all;
    std::vector<char> block(65536);
    while (std::size_t const count = source.read(block)) {
        all.append(block.data(), count);
    }
    return all;
}

/** Cases that are skipped where there is no real data. */
class RealDataTest : public testing::TestWithParam<MrtFile> {
protected:
    void SetUp() override {
        if (std::getenv("LPMTRIE_DATA") == nullptr) {
            GTEST_SKIP() << "LPMTRIE_DATA names no directory with real data";
        }
    }
};

}  // namespace ToolsTest
