#pragma once

#include <cstdlib>
#include <random>
#include <string>

namespace ToolsTest {

/**
 * The seed of a random test: LPMTRIE_TOOLS_SEED repeats a run whose seed has been printed. It goes
 * into the trace of every failure as `traceOf` tells it.
 */
inline unsigned newSeed() {
    char const* const given = std::getenv("LPMTRIE_TOOLS_SEED");
    return given != nullptr ? static_cast<unsigned>(std::stoul(given)) : std::random_device()();
}
inline std::string traceOf(unsigned seed) {
    return "LPMTRIE_TOOLS_SEED=" + std::to_string(seed);
}

}  // namespace ToolsTest
