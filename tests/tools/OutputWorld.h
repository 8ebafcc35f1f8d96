#pragma once

#include <tools/Output.h>

#include <tests/tools/Descriptors.h>
#include <tests/tools/TemporaryFiles.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

/* What the tests of outputs share: files and pipes to write to, and what came out. */

namespace ToolsTest {

template <class Action>
std::string outputErrorOf(Action const& action) {
    try {
        action();
    } catch (LpmTools::OutputError const& error) {
        return error.what();
    }
    return "no error";
}

inline std::string contentOf(std::string const& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

/** More than any pipe holds. */
inline std::string const largeText = [] {
    std::string text;
    for (int i = 0; i < 300'000; ++i) {
        text += std::to_string(i) + "\n";
    }
    return text;
}();

class OutputWorld : public testing::Test {
protected:
    TemporaryDirectory const files_;
    std::string const path_ = files_.path("out");
    IgnoredBrokenPipe const noSignal_;
};

}  // namespace ToolsTest
